// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog that prints the report of the current site, or of all of them.
#pragma once

#include <QDialog>

class QCheckBox;

/// Caption "Site Report". It closes when something has been printed.
class frmSiteReport : public QDialog
{
    Q_OBJECT

public:
    explicit frmSiteReport(QWidget* parent = nullptr);

private:
    enum Button
    {
        PrintCurrent = 0,
        PrintAll = 1,
        Cancel = 2
    };
    void ButtonPressed(int index);
    void Print(const QStringList& siteIDs);

    QCheckBox* m_chkPreview;
};
