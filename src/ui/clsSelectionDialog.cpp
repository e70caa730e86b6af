// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/clsSelectionDialog.h"

#include "ui/frmSelectionDialog.h"

QString clsSelectionDialog::GetSelection(QWidget* parent)
{
    frmSelectionDialog window(Caption, arraySelections, DefaultItem, parent);
    window.exec();
    m_selected = window.Selected();
    return window.SelectionMade();
}
