// SPDX-License-Identifier: GPL-3.0-or-later
// Token commands: programs that give what a site logs in with. Their words stand in the database, which may come from
// anybody, so none is run that the user has not agreed to on this computer.
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace modTokenCommand
{
/// What a token command is agreed to for: the server gets what it prints.
struct Use
{
    QString command; ///< blanks around it do not count
    QString host;    ///< name of the mail server; letter case does not count
    QString siteID;  ///< for messages alone
};

/// Keeps that the user agrees, in the program's settings, as a digest that counts on this computer only.
/// @throws clsError when the settings cannot be written.
void Agree(const Use& use);
/// Shows the user the whole command and asks. Yes is kept. @throws clsError as Agree
[[nodiscard]] bool Ask(const Use& use);
/// Whether the command may be run: the user has agreed to it for this server, or does so now.
/// @param ask  as Ask; empty: nobody can be asked. @throws clsError then, and for a command that nobody can judge by
/// looking at it.
[[nodiscard]] bool Permitted(const Use& use, const std::function<bool(const Use&)>& ask);

/// Runs a command that is permitted, for at most a minute or until the process-wide stop flag is set.
/// @return its output without the blanks around it. @throws clsError, also when that is no token.
[[nodiscard]] QByteArray Token(const QString& command);
} // namespace modTokenCommand
