// SPDX-License-Identifier: GPL-3.0-or-later
// How to log in at the mail server of a site: what its record says, and the password from where it is kept.
#pragma once

#include "mail/modTokenCommand.h"
#include "platform/clsMailServer.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <functional>

class clsRecordset;

/// Remembers passwords that the user was asked for as long as it lives, and wipes them then.
class clsMailLogins
{
public:
    /// @param agree  asks the user about a token command, as modTokenCommand::Ask; empty: nobody can be asked.
    explicit clsMailLogins(std::function<bool(const modTokenCommand::Use&)> agree = {});
    ~clsMailLogins();
    clsMailLogins(const clsMailLogins&) = delete;
    clsMailLogins& operator=(const clsMailLogins&) = delete;

    /// @param site  its record in tblSites. A password that is not kept, or that the keyring does not give, is asked
    /// for, once for a user at a server; the user who cancels then, or does not agree to a token command, has pressed
    /// Stop. After Stop the login has no password.
    /// @throws clsError  for a security of no known name, a token command that fails, and where nobody can be asked.
    [[nodiscard]] clsMailLogin Of(const clsRecordset& site);
    /// Those that were asked for are asked for again: a server may have refused one.
    void ForgetAsked();

private:
    [[nodiscard]] QByteArray Asked(const QString& siteID, const QString& host, const QString& user, const QString& why);

    std::function<bool(const modTokenCommand::Use&)> m_agree;
    QHash<QString, QByteArray> m_asked; ///< by host and user
};
