// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsConsoleLog.h"

#include "cli/modConsole.h"

using namespace Qt::Literals::StringLiterals;

void clsConsoleLog::ShowAppended(const QString& text, qsizetype /*caret*/)
{
    // The log separates its lines; here the end of the last one has been written already.
    modConsole::WriteLine(text.startsWith("\r\n"_L1) ? text.mid(2) : text);
}
