// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/clsSelectionDialog.h"

#include "ui/records/frmSelectionDialog.h"

QString clsSelectionDialog::GetSelection(QWidget* parent)
{
    frmSelectionDialog window(Caption, arraySelections, DefaultItem, parent);
    window.exec();
    m_selected = window.Selected();
    return window.SelectionMade();
}
