// SPDX-License-Identifier: GPL-3.0-or-later
// Asks the user to pick one entry of a list.
#pragma once

#include <QStringList>

class QWidget;

class clsSelectionDialog
{
public:
    QString Caption;
    QStringList arraySelections; ///< what is offered; texts may stand there more than once
    int DefaultItem = 0;         ///< the place of the entry that is selected at first

    /// Asks. @return the text chosen; empty when the user cancels.
    QString GetSelection(QWidget* parent);
    /// The place of the entry that was chosen last, which tells entries with the same text apart; -1 when the user
    /// cancelled.
    [[nodiscard]] int Selected() const { return m_selected; }

private:
    int m_selected = -1;
};
