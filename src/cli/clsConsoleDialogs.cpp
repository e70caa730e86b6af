// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsConsoleDialogs.h"

#include "cli/modConsole.h"
#include "platform/clsError.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
[[noreturn]] void Cancelled(const clsDialogs::FileRequest& request)
{
    throw clsError(clsError::DialogCancelled, u"No file can be chosen without a window: "_s + request.title,
                   u"Command line"_s);
}

/// Asks until one of the words comes. The end of the input, or a signal, counts as the safe answer.
clsDialogs::Answer AskOnTerminal(bool withCancel)
{
    const clsDialogs::Answer safe = withCancel ? clsDialogs::Answer::Cancel : clsDialogs::Answer::No;
    const QString prompt = withCancel ? u"[yes/no/cancel] "_s : u"[yes/no] "_s;
    for (;;) {
        const QString line = modConsole::Ask(prompt).toLower();
        if (line.isNull())
            return safe;
        if (line == u"y" || line == u"yes")
            return clsDialogs::Answer::Yes;
        if (line == u"n" || line == u"no")
            return clsDialogs::Answer::No;
        if (withCancel && (line == u"c" || line == u"cancel"))
            return clsDialogs::Answer::Cancel;
    }
}

QString NameOf(clsDialogs::Answer answer)
{
    switch (answer) {
    case clsDialogs::Answer::Yes:
        return u"Yes"_s;
    case clsDialogs::Answer::No:
        return u"No"_s;
    default:
        return u"Cancel"_s;
    }
}
} // namespace

clsDialogs::Answer clsConsoleDialogs::AnswerOf(Buttons buttons) const
{
    if (buttons == Buttons::RetryCancel)
        return Answer::Cancel;
    if (m_yes)
        return Answer::Yes;
    return modConsole::CanAsk() ? AskOnTerminal(buttons == Buttons::YesNoCancel) : Answer::No;
}

clsDialogs::Answer clsConsoleDialogs::MsgBox(const QString& text, Buttons buttons, Icon /*icon*/,
                                             const QString& /*caption*/)
{
    modConsole::ErrorLine(text);
    if (buttons == Buttons::OK)
        return Answer::OK;
    const Answer answer = m_next ? *std::exchange(m_next, std::nullopt) : AnswerOf(buttons);
    modConsole::ErrorLine(u"-> "_s + NameOf(answer));
    return answer;
}

QString clsConsoleDialogs::SaveFile(const FileRequest& request)
{
    Cancelled(request);
}

QString clsConsoleDialogs::OpenFile(const FileRequest& request)
{
    Cancelled(request);
}

QString clsConsoleDialogs::PasswordBox(const QString& prompt, const QString& /*title*/)
{
    if (!modConsole::CanAsk())
        throw clsError(clsError::DialogCancelled, u"No password can be asked for without a terminal."_s,
                       u"Command line"_s);
    modConsole::ErrorLine(prompt);
    return modConsole::AskSecret(u"Password: "_s);
}
