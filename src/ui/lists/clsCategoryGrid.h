// SPDX-License-Identifier: GPL-3.0-or-later
// The grid in which categories are edited. A row is highlighted by its button on the left (or by Shift+Space), never
// by a click into its text: what is highlighted can be deleted.
#pragma once

#include <QTableView>

class clsCategoryDelegate;
class clsCategoryModel;

class clsCategoryGrid final : public QTableView
{
    Q_OBJECT

public:
    /// @param size  the most characters of a category.
    clsCategoryGrid(clsCategoryModel& categories, int size, QWidget* parent = nullptr);

    /// The rows of existing categories that are highlighted.
    [[nodiscard]] QList<int> HighlightedRows() const;
    /// Puts the cursor into the empty row at the end.
    void GoToNewRow();
    /// Opens a category's box anew after it could not be written.
    void EditAgain(const QModelIndex& index);
    /// Writes what is being typed, if anything is. @return false when it could not be written, which the user has been
    /// told; it can still be edited then.
    bool CommitEdit();

Q_SIGNALS:
    /// The key stands for the button "&Delete".
    void DeleteWanted();

protected:
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                                       const QEvent* event) const override;
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    clsCategoryModel& m_categories;
    clsCategoryDelegate* m_delegate;
};
