// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailLogins.h"

#include "data/modMailSecrets.h"
#include "data/modMailSecurity.h"
#include "platform/clsDatabase.h"
#include "platform/clsDialogs.h"
#include "platform/modSecrets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;

namespace
{
const QString Source = u"clsMailLogins"_s;
} // namespace

clsMailLogins::clsMailLogins(std::function<bool(const modTokenCommand::Use&)> agree) : m_agree(std::move(agree)) {}

clsMailLogins::~clsMailLogins()
{
    ForgetAsked();
}

void clsMailLogins::ForgetAsked()
{
    for (QByteArray& secret : m_asked)
        modSecrets::Wipe(secret);
    m_asked.clear();
}

clsMailLogin clsMailLogins::Of(const clsRecordset& site)
{
    const auto text = [&](const QString& field) { return modCommonFunctions::TextOf(site.Field(field)); };
    const QString siteID = text(u"SiteID"_s);
    const QString word = text(u"MailSecurity"_s);
    const auto security = modMailSecurity::Of(word);
    // Nothing less than what was wanted will do, and what that was is not known.
    if (!security)
        throw clsError(clsError::DeviceUnavailable,
                       u"The connection security \"%1\" of the site %2 is none that is known."_s.arg(word, siteID),
                       Source);
    clsMailLogin login;
    login.security = *security;
    login.user = text(u"MailUser"_s);
    if (login.user.isEmpty())
        return login;
    if (const QString command = text(u"MailTokenCommand"_s); !command.isEmpty()) {
        login.token = true;
        if (!modTokenCommand::Permitted({.command = command, .host = text(u"HostName"_s), .siteID = siteID}, m_agree)) {
            State().StopFlag = true;
            return login;
        }
        const auto failure = failureOf([&] { login.secret = modTokenCommand::Token(command); });
        if (failure && !(failure->Number() == clsError::WorkStopped && State().StopFlag))
            throw clsError(*failure);
        return login;
    }
    const QString key = text(u"MailKey"_s);
    std::optional<QByteArray> kept;
    const auto failure = failureOf([&] { kept = modMailSecrets::Read(modBrambury::OpenDatabase(), key); });
    // A keyring that does not answer can be done without. A file that does not is waited for by whoever asks.
    if (failure && modMailSecrets::PlaceOf(key) != modMailSecrets::Place::Keyring)
        throw clsError(*failure);
    QString why;
    if (failure)
        why = u"The keyring does not give it: "_s + failure->Description();
    else if (!key.isEmpty())
        why = modMailSecrets::PlaceOf(key) == modMailSecrets::Place::Keyring
                  ? u"The keyring does not have it any more, or is locked."_s // it tells no difference
                  : u"It is not where it was kept any more."_s;
    login.secret = kept ? *kept : Asked(siteID, text(u"HostName"_s), login.user, why);
    return login;
}

QByteArray clsMailLogins::Asked(const QString& siteID, const QString& host, const QString& user, const QString& why)
{
    const QString asked = host.toLower() + u'\n' + user;
    if (const auto known = m_asked.constFind(asked); known != m_asked.cend())
        return *known;
    QString prompt = u"Password of %1 at %2:"_s.arg(user, host);
    if (!why.isEmpty())
        prompt += u"\n("_s + why + u')';
    QString typed;
    const auto failure = failureOf([&] { typed = Platform().Dialogs->PasswordBox(prompt, u"Log-in"_s); });
    if (failure)
        throw clsError(clsError::DeviceUnavailable,
                       u"The password of %1 at %2 is not kept, and nobody can be asked for it.  Store it: "
                       "brambury site login \"%3\" --user \"%1\" --password-stdin  %4"_s.arg(user, host, siteID, why)
                           .trimmed(),
                       Source);
    if (typed.isNull()) {
        State().StopFlag = true;
        return {};
    }
    const QByteArray secret = typed.toUtf8();
    modSecrets::Wipe(typed);
    m_asked.insert(asked, secret);
    return secret;
}
