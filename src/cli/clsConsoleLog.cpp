// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsConsoleLog.h"

#include "cli/modConsole.h"

using namespace Qt::Literals::StringLiterals;

void clsConsoleLog::ShowAppended(const QString& text, qsizetype /*caret*/)
{
    const bool newLine = text.startsWith("\r\n"_L1);
    if (newLine)
        EndLine();
    const QString line = newLine ? text.mid(2) : text;
    if (m_lineEnd == LineEnd::AtOnce)
        return modConsole::WriteLine(line);
    modConsole::WritePart(line);
    m_open = true;
}

void clsConsoleLog::EndLine()
{
    if (m_open)
        modConsole::WriteLine({});
    m_open = false;
}
