// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog in which the user chooses the columns of the link grid and their order.
#pragma once

#include <QDialog>

class QPushButton;
class clsFieldList;
class clsLinkGrid;

/// Caption "Customize". Show it with exec(). "&Apply" and the Enter key change the grid and close the dialog;
/// "&Default" changes the grid at once and leaves the dialog open. The main window saves the grid's layout when it
/// closes.
class frmCustomizeGrid final : public QDialog
{
    Q_OBJECT

public:
    explicit frmCustomizeGrid(clsLinkGrid& grid, QWidget* parent = nullptr);

private:
    enum Move
    {
        ToCurrent = 0,
        ToAvailable = 1,
        Up = 2,
        Down = 3
    };
    enum Button
    {
        Default = 0,
        Apply = 1,
        Cancel = 2,
        Help = 3
    };
    void FillLists();
    void MoveEntry(Move move);
    void ButtonPressed(int index);

    clsLinkGrid& m_grid;
    clsFieldList* m_available; ///< Available
    clsFieldList* m_current;   ///< Current
    QPushButton* m_apply = nullptr;
};
