// SPDX-License-Identifier: GPL-3.0-or-later
// The results log on the standard output.
#pragma once

#include "log/clsStatusLog.h"

/// Everything is written and flushed when it is logged. Clearing takes nothing back.
class clsConsoleLog final : public clsLogWindow
{
public:
    /// When a line's end is written.
    enum class LineEnd
    {
        AtOnce, ///< a reader of whole lines sees each as it comes; what continues one stands on a line of its own
        Late    ///< with the next line, so that a line can be continued: it reads as in the window
    };
    explicit clsConsoleLog(LineEnd lineEnd = LineEnd::AtOnce) : m_lineEnd(lineEnd) {}
    ~clsConsoleLog() override { EndLine(); }
    clsConsoleLog(const clsConsoleLog&) = delete;
    clsConsoleLog& operator=(const clsConsoleLog&) = delete;

protected:
    void ShowAppended(const QString& text, qsizetype caret) override;
    void ShowCleared() override { EndLine(); }

private:
    void EndLine();

    const LineEnd m_lineEnd;
    bool m_open = false; ///< a line has begun whose end is not written
};
