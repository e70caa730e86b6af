// SPDX-License-Identifier: GPL-3.0-or-later
#include "log/clsStatusLog.h"

#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsPrinter.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QStringList>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qint16 ContinueLine = -1;
/// 0.7 inch, in twips.
constexpr int PrintMargin = 1008;
} // namespace

void clsLogWindow::Append(const QString& text, qsizetype caret)
{
    m_text += text;
    ShowAppended(text, caret);
}

void clsLogWindow::Clear()
{
    m_text.clear();
    ShowCleared();
}

void clsStatusLog::LogItem(const QString& text, qint16 indent, bool bullet)
{
    if (!m_window)
        return;
    ignoringErrors([&] {
        const bool first = m_window->Text().isEmpty();
        QString added;
        if (indent == ContinueLine) {
            added = text;
        } else if (!first && text.isEmpty()) {
            added = u"\r\n"_s;
        } else {
            // A bulleted line that opens the log starts with one blank more than those that follow.
            added = first ? (bullet ? u" "_s : QString()) : u"\r\n"_s;
            added += u"  "_s.repeated(std::abs(indent));
            if (bullet)
                added += u"\u2022 "_s;
            added += text;
        }
        m_window->Append(added, m_window->Text().size() + added.size() - text.size());
        if (m_eventLoop)
            m_eventLoop->Yield();
    });
}

void clsStatusLog::Clear()
{
    if (m_window)
        ignoringErrors([&] { m_window->Clear(); });
}

void modResultsLog::SaveLog(const QString& text, const QString& path, clsDisk& disk)
{
    QString lines = modCommonFunctions::WrapText(text, WrapColumn) + u'\n';
    disk.AppendFile(path, lines.replace(u'\n', u"\r\n"_s).toUtf8());
}

void modResultsLog::PrintLog(const QString& text, clsPrinter& printer)
{
    const QString title = u"Results Log"_s;
    clsPrintDocument document(printer, title, PrintMargin, PrintMargin);
    printer.SetFont(u"Arial"_s, 12, true);
    printer.PrintLine(title);
    printer.PrintLine(QString());
    printer.SetFont(u"Arial"_s, 10, false);
    const QStringList lines = modCommonFunctions::WrapText(text, WrapColumn).split(u'\n');
    for (const QString& line : lines)
        printer.PrintLine(line);
    document.End();
}
