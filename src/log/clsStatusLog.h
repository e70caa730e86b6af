// SPDX-License-Identifier: GPL-3.0-or-later
// The results log: indented, bulleted lines that long runs write, and what can be done with them afterwards.
#pragma once

#include <QString>

class clsDisk;
class clsEventLoop;
class clsPrinter;

/// Where log lines are shown: the main window's results box, or the standard output. The text itself is kept here (the
/// whole of it, with CR LF), the view only follows it.
class clsLogWindow
{
public:
    virtual ~clsLogWindow() = default;
    /// The whole text. Lines are separated by CR LF.
    [[nodiscard]] const QString& Text() const { return m_text; }
    /// Appends and shows. @param caret  place in Text() where the newest message begins.
    void Append(const QString& text, qsizetype caret);
    void Clear();

protected:
    virtual void ShowAppended(const QString& text, qsizetype caret) = 0;
    virtual void ShowCleared() = 0;

private:
    QString m_text;
};

/// One object for each run; all write into the same window. Until a window is set every call is ignored. Errors inside
/// are ignored.
class clsStatusLog
{
public:
    /// @param eventLoop  yields after every line so that the window repaints; may be null.
    explicit clsStatusLog(clsEventLoop* eventLoop) : m_eventLoop(eventLoop) {}

    void SetLogWindow(clsLogWindow* window) { m_window = window; }
    [[nodiscard]] clsLogWindow* LogWindow() const { return m_window; }

    /// Appends a line. @param indent  two blanks each, the sign is ignored; -1 continues the last line.
    void LogItem(const QString& text, qint16 indent = 0, bool bullet = true);
    void Clear();
    /// Nothing happens: saving and printing are the main window's (modResultsLog).
    void PrintLog() {}
    void SaveLog() {}

private:
    clsEventLoop* m_eventLoop;
    clsLogWindow* m_window = nullptr;
};

/// What the buttons beside the results log do.
namespace modResultsLog
{
/// The column at which saved and printed lines are wrapped.
inline constexpr int WrapColumn = 110;
/// Appends the wrapped text to a file, UTF-8, each line ended by CR LF. @throws clsError
void SaveLog(const QString& text, const QString& path, clsDisk& disk);
/// Prints title and wrapped text. @throws clsError
void PrintLog(const QString& text, clsPrinter& printer);
} // namespace modResultsLog
