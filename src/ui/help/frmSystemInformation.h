// SPDX-License-Identifier: GPL-3.0-or-later
// What a report of a fault needs to know of the machine and of this installation.
#pragma once

#include <QDialog>

/// Plain text to be copied. It names no site, partner, address or password.
class frmSystemInformation final : public QDialog
{
    Q_OBJECT

public:
    explicit frmSystemInformation(QWidget* parent = nullptr);
    /// The text, one fact a line, "Name: value". A fact that cannot be had says so in its line.
    static QString Facts();
};
