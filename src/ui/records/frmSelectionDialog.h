// SPDX-License-Identifier: GPL-3.0-or-later
// The window in which one entry of a list is picked. Used through clsSelectionDialog.
#pragma once

#include <QDialog>

class QListWidget;

class frmSelectionDialog final : public QDialog
{
    Q_OBJECT

public:
    /// @param selected  the place of the entry that is selected at first.
    frmSelectionDialog(const QString& caption, const QStringList& entries, int selected, QWidget* parent = nullptr);

    /// Place and text of the entry that was chosen; -1 and empty before, and when the user cancelled.
    [[nodiscard]] int Selected() const { return m_selected; }
    [[nodiscard]] const QString& SelectionMade() const { return m_selectionMade; }

    void done(int result) override;

private:
    QListWidget* m_lstSelections;
    int m_selected = -1;
    QString m_selectionMade; ///< txtSelectionMade
};
