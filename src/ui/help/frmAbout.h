// SPDX-License-Identifier: GPL-3.0-or-later
// The About box: which program this is, whose, and what it stands on.
#pragma once

#include <QDialog>

/// Its button "System Info..." shows what a report of a fault needs.
class frmAbout final : public QDialog
{
    Q_OBJECT

public:
    explicit frmAbout(QWidget* parent = nullptr);
};
