// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modTokenCommand.h"

#include "platform/clsError.h"
#include "platform/clsPrograms.h"
#include "platform/clsSettingsStore.h"
#include "platform/modSecrets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <QCryptographicHash>
#include <QSysInfo>
#include <algorithm>
#include <chrono>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modTokenCommand::Use;

namespace
{
constexpr std::chrono::seconds TokenLimit(60);
const QString Source = u"modTokenCommand"_s;
const QString Section = u"TokenCommands"_s;
/// What the field of the database has room for, and the longest name that a host can have.
constexpr qsizetype MostLetters = 1000;
constexpr qsizetype MostLettersOfHost = 255;

/// Under this name an agreement is kept. Settings that somebody brings along from another computer agree to nothing.
QString KeyOf(const Use& use)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QByteArray& part :
         {QSysInfo::machineUniqueId(), use.host.toLower().toUtf8(), use.command.trimmed().toUtf8()}) {
        hash.addData(QByteArray::number(part.size()) + ' ');
        hash.addData(part);
    }
    return QString::fromLatin1(hash.result().toHex());
}

bool Agreed(const Use& use)
{
    return Platform().Settings->HasSetting(Section, KeyOf(use));
}

/// Whether what is seen of a text is all there is: nothing hides, moves or breaks letters, and it has room in a box.
bool Plain(const QString& text, qsizetype most)
{
    const QList<uint> letters = text.toUcs4();
    return letters.size() <= most && std::all_of(letters.cbegin(), letters.cend(), [](char32_t letter) {
               return letter == U' ' || (QChar::isPrint(letter) && !QChar::isSpace(letter));
           });
}

/// In lines that a box has room for: it wraps none without blanks.
QString Wrapped(const QString& text)
{
    constexpr qsizetype letters = 60;
    QStringList lines;
    for (qsizetype at = 0; at < text.size(); at += letters)
        lines << text.mid(at, letters);
    return lines.join("\r\n"_L1);
}
} // namespace

void modTokenCommand::Agree(const Use& use)
{
    if (Agreed(use))
        return;
    Platform().Settings->SaveSetting(Section, KeyOf(use), u"Yes"_s);
    Platform().Settings->Flush();
}

bool modTokenCommand::Ask(const Use& use)
{
    const auto answer = modCommonFunctions::MsgBox(
        u"To log in at this mail server:\r\n\r\n%1\r\n\r\nthis command is to be run:\r\n\r\n%2\r\n\r\n"
        "It comes from the database file, and you have not agreed to it on this computer.  It will run a program on "
        "this computer that can do whatever you can, and the server gets what it prints.  Agree only if you know where "
        "it comes from.\r\n\r\nDo you wish to run it, now and whenever mail is sent by this server?"_s.arg(
            Wrapped(use.host), Wrapped(use.command.trimmed())),
        clsDialogs::Buttons::YesNo, clsDialogs::Icon::Exclamation, u"Log-in"_s);
    if (answer != clsDialogs::Answer::Yes)
        return false;
    Agree(use);
    return true;
}

bool modTokenCommand::Permitted(const Use& use, const std::function<bool(const Use&)>& ask)
{
    if (!Plain(use.command.trimmed(), MostLetters) || !Plain(use.host, MostLettersOfHost))
        throw clsError(clsError::DeviceUnavailable,
                       u"The token command of the site %1 is not run: it, or the mail server's name, is too long or "
                       "holds characters that cannot be seen."_s.arg(use.siteID),
                       Source);
    if (Agreed(use))
        return true;
    if (ask)
        return ask(use);
    // Without the command: an error is written down, and who knows what stands in it.
    throw clsError(
        clsError::DeviceUnavailable,
        u"The token command of the site %1 is not run: it comes from the database file, and you have not "
        "agreed to it on this computer.  Look at it with brambury site show \"%1\", and if you know where it "
        "comes from, agree to it with brambury site login \"%1\" --token-command COMMAND"_s.arg(use.siteID),
        Source);
}

QByteArray modTokenCommand::Token(const QString& command)
{
    QByteArray output = Platform().Programs->Output(command, TokenLimit, [] { return State().StopFlag; });
    QByteArray token = output.trimmed();
    modSecrets::Wipe(output);
    // Tokens are printable (RFC 6750): anything else would break out of the line that carries it.
    const bool whole =
        std::all_of(token.cbegin(), token.cend(), [](char letter) { return letter > ' ' && letter < 127; });
    if (!token.isEmpty() && whole)
        return token;
    const bool nothing = token.isEmpty();
    modSecrets::Wipe(token);
    throw clsError(clsError::DeviceUnavailable,
                   nothing ? u"The token command prints nothing."_s
                           : u"The token command prints something else than one token."_s,
                   Source);
}
