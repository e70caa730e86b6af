// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsConsoleWindows.h"

#include "cli/modConsole.h"

void clsConsoleWindows::ShowError(ErrorIcon /*icon*/, const QString& message, const QString& details)
{
    modConsole::ErrorLine(message);
    modConsole::ErrorLine(details);
}
