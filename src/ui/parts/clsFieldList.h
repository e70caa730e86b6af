// SPDX-License-Identifier: GPL-3.0-or-later
// A list of fields that can be dragged to another place, also to another such list of the same window.
#pragma once

#include <QListWidget>

class clsFieldList final : public QListWidget
{
    Q_OBJECT

public:
    explicit clsFieldList(QWidget* parent = nullptr);

    /// @param column  a column of the link grid.
    void Add(const QString& caption, int column);
    [[nodiscard]] std::vector<int> Columns() const;
    /// Moves the selected entry of `from` before the entry at `row` of this list, or to the end; it stays selected.
    void Take(clsFieldList& from, int row);
    /// The same by the place in the viewport where it is dropped: above or below the entry that stands there.
    void DropAt(clsFieldList& from, QPoint place);

Q_SIGNALS:
    /// An entry has come, gone or moved.
    void Moved();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    [[nodiscard]] clsFieldList* SourceOf(const QDropEvent& event) const;
};
