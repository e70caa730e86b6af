// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/modLater.h"

#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

void modLater::TellLater(const QString& what)
{
    modCommonFunctions::MsgBox(u"%1 comes with a later version of Brambury."_s.arg(what), clsDialogs::Buttons::OK,
                               clsDialogs::Icon::Information);
}
