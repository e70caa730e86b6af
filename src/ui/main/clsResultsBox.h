// SPDX-License-Identifier: GPL-3.0-or-later
// The box that shows the results log.
#pragma once

#include "log/clsStatusLog.h"

#include <QPlainTextEdit>
#include <QTimer>

/// Follows the log's text in batches, so that a run that writes fast is not held up by its own report.
class clsResultsBox : public QPlainTextEdit, public clsLogWindow
{
    Q_OBJECT

public:
    explicit clsResultsBox(QWidget* parent = nullptr);
    /// Shows at once what is still waiting.
    void ShowPending();

protected:
    void ShowAppended(const QString& text, qsizetype caret) override;
    void ShowCleared() override;
    void changeEvent(QEvent* event) override;

private:
    void UseFixedFont();

    QTimer m_timer;
    qsizetype m_shown = 0; ///< how much of Text() the box shows
    qsizetype m_caret = 0; ///< place in Text() where the newest message begins
};
