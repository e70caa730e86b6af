// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsConsoleWindows.h"

#include "cli/modConsole.h"

using namespace Qt::Literals::StringLiterals;

void clsConsoleWindows::ShowError(ErrorIcon /*icon*/, const QString& message, const QString& details)
{
    modConsole::ErrorLine(message);
    modConsole::ErrorLine(details);
}

QString clsConsoleWindows::ShowPreview(const QString& caption, const QString& text, const QString& attachment)
{
    modConsole::WriteLine(caption);
    modConsole::WriteLine(text);
    if (!attachment.isEmpty())
        modConsole::ErrorLine(u"Attachment: "_s + attachment);
    const bool asks = modConsole::CanAsk();
    for (;;) {
        const QString word = modConsole::Ask(asks ? u"[ok/skip/cancel] "_s : QString()).toLower();
        if (word == u"ok")
            return u"1"_s;
        if (word == u"skip")
            return u"2"_s;
        if (word.isNull() || word == u"cancel")
            return u"3"_s;
        if (!asks) {
            modConsole::ErrorLine(u"\"%1\" is none of ok, skip and cancel: canceled."_s.arg(word));
            return u"3"_s;
        }
    }
}
