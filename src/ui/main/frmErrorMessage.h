// SPDX-License-Identifier: GPL-3.0-or-later
// The error window: what to do next, and the facts for those who ask.
#pragma once

#include "platform/clsWindows.h"

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

/// Caption: the program's title and " error". The details are hidden at first; their button grows and shrinks the
/// window.
class frmErrorMessage : public QDialog
{
    Q_OBJECT

public:
    frmErrorMessage(clsWindows::ErrorIcon icon, const QString& message, const QString& details,
                    QWidget* parent = nullptr);

private:
    void ToggleDetails();

    QPlainTextEdit* m_details = nullptr;
    QPushButton* m_toggle = nullptr;
    int m_detailsHeight = 0;
};
