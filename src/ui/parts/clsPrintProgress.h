// SPDX-License-Identifier: GPL-3.0-or-later
// How far a long printout is, and the button that gives it up.
#pragma once

#include <QDialog>

class QProgressBar;

/// Comes up with the first call of Show, so that a short printout passes without it. From then on it takes all input.
class clsPrintProgress : public QDialog
{
    Q_OBJECT

public:
    explicit clsPrintProgress(QWidget* parent);
    /// @param done  of the whole, from 0 to 1.  @return false when the user has cancelled, or the program ends.
    [[nodiscard]] bool Show(double done);

private:
    QProgressBar* m_bar;
    bool m_shown = false;
};
