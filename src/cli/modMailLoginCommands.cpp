// SPDX-License-Identifier: GPL-3.0-or-later
// site login, site probe: how a site logs in at its mail server, and what that server says to it.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "cli/modRecordWords.h"
#include "data/clsSiteRecord.h"
#include "data/modMailSecurity.h"
#include "mail/clsMailLogins.h"
#include "mail/modMailAdvice.h"
#include "platform/clsKeyring.h"
#include "platform/modSecrets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>
#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommands::InDatabase;
using modCommands::Word;
using modMailSecrets::Place;

namespace
{
struct Words
{
    Word site;
    Word security;
    Word user;
    Word tokenCommand;
    Word store;
    bool passwordStdin = false;
    bool forget = false;
};

/// Where the password goes. @return why it cannot go there; empty when it can.
QString ChoosePlace(const QString& store, Place& place)
{
    place = store == u"database" ? Place::Database : store == u"ask" ? Place::Nowhere : Place::Keyring;
    if (place != Place::Keyring)
        return {};
    const QString problem = Platform().Keyring->Unavailable();
    return problem.isEmpty() ? QString()
                             : u"There is no keyring to keep the password in: %1\r\n--store database keeps it in the "
                               "database file, --store ask has you asked for it."_s.arg(problem);
}

/// Gives the log-in a password. @return why it cannot: a sentence; empty when it could.
QString TakePassword(clsSiteRecord& site, const Words& words, bool sameUser)
{
    Place place = site.MailSecretPlace();
    if (!words.store.Text().isNull() || place == Place::Nowhere || words.passwordStdin) {
        const QString problem = ChoosePlace(words.store.Text(), place);
        if (!problem.isEmpty())
            return problem;
    }
    if (place == Place::Nowhere) {
        site.ForgetMailSecret();
        return words.passwordStdin ? u"With --store ask no password is kept."_s : QString();
    }
    QByteArray secret;
    const auto wipe = qScopeGuard([&] { modSecrets::Wipe(secret); });
    if (!words.passwordStdin && sameUser) {
        // The kept one goes to another place.
        if (place == site.MailSecretPlace())
            return {};
        secret = site.MailSecret().value_or(QByteArray());
    }
    if (secret.isEmpty()) {
        if (!words.passwordStdin && !modConsole::CanAsk())
            return u"Give the password on the standard input (--password-stdin), or have it asked for (--store ask)."_s;
        const clsEndSignals signals = clsCommandSession::StopBySignals(); // the terminal gets its echo back
        QString typed = modConsole::AskSecret(words.passwordStdin ? QString() : u"Password: "_s);
        if (typed.isNull() && !words.passwordStdin) {
            State().StopFlag = true;
            return {};
        }
        secret = typed.toUtf8();
        modSecrets::Wipe(typed);
        while (secret.endsWith('\r'))
            secret.chop(1);
    }
    if (secret.isEmpty() || secret.contains('\0'))
        return u"There is no password on the standard input."_s;
    site.SetMailSecret(place, secret);
    return {};
}

/// Changes the record as the words say. @return why it cannot be: a sentence; empty when it could.
QString Apply(clsSiteRecord& site, const Words& words)
{
    if (!words.security.Text().isNull())
        site.SetValue(u"MailSecurity"_s, words.security.Text());
    if (words.forget) {
        site.SetValue(u"MailUser"_s, QVariant());
        site.SetValue(u"MailTokenCommand"_s, QVariant());
        site.ForgetMailSecret();
        return {};
    }
    const QString before = site.Text(u"MailUser"_s);
    const QString user = words.user.Text().isNull() ? before : words.user.Text();
    if (const QString command = words.tokenCommand.Text(); !command.isNull()) {
        site.SetValue(u"MailUser"_s, user.isEmpty() ? site.Text(u"Email"_s) : user);
        site.SetValue(u"MailTokenCommand"_s, command);
        site.ForgetMailSecret();
        return {};
    }
    if (words.user.Text().isNull() && !words.passwordStdin && words.store.Text().isNull())
        return {};
    if (user.isEmpty())
        return u"A password needs a user: --user NAME."_s;
    const bool sameUser = user == before && site.Text(u"MailTokenCommand"_s).isEmpty();
    site.SetValue(u"MailUser"_s, user);
    site.SetValue(u"MailTokenCommand"_s, QVariant());
    return TakePassword(site, words, sameUser);
}

ExitCode Login(clsDatabase& database, const Words& words)
{
    clsSiteRecord site(database);
    {
        const auto sites = database.OpenRecordset(u"tblSites"_s);
        if (const ExitCode found = clsCommandSession::FindSite(*sites, words.site.Text()); found != ExitCode::Done)
            return found;
        if (!site.Open(modCommonFunctions::TextOf(sites->Field(u"SiteID"_s))))
            return ExitCode::Failed;
    }
    const QString problem = Apply(site, words);
    if (State().StopFlag)
        return ExitCode::Stopped;
    if (!problem.isEmpty())
        return clsCommandSession::Refuse(problem);
    const ExitCode saved = modRecordWords::Save(site);
    if (const QString command = words.tokenCommand.Text(); saved == ExitCode::Done && !command.isNull())
        modTokenCommand::Agree(
            {.command = command, .host = site.Text(u"HostName"_s), .siteID = site.Text(u"SiteID"_s)});
    const bool open = modMailSecurity::Of(site.Text(u"MailSecurity"_s)) == clsMailSecurity::None;
    if (saved == ExitCode::Done && open && !site.Text(u"MailUser"_s).isEmpty())
        modConsole::ErrorLine(
            u"Without encryption (--security starttls or tls) no password is sent to another machine."_s);
    return saved;
}

ExitCode Probe(clsDatabase& database, const QString& name)
{
    const clsEndSignals signals = clsCommandSession::StopBySignals();
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (const ExitCode found = clsCommandSession::FindSite(*sites, name); found != ExitCode::Done)
        return found;
    clsMailLogins logins;
    clsMailLogin login;
    if (const auto failure = failureOf([&] { login = logins.Of(*sites); })) {
        modConsole::ErrorLine(failure->Description());
        return ExitCode::Failed;
    }
    if (State().StopFlag)
        return ExitCode::Stopped;
    const QVariant port = sites->Field(u"MailPort"_s);
    const modMailAdvice::Target target{.host = modCommonFunctions::TextOf(sites->Field(u"HostName"_s)),
                                       .port = port.isNull() ? clsSiteRecord::UsualMailPort : port.toInt(),
                                       .security = login.security,
                                       .user = !login.user.isEmpty(),
                                       .token = login.token};
    const clsMailServerReport report =
        Platform().MailProbe->Probe(target.host, target.port, login, State().Settings.Timeout, State().Settings.CaFile,
                                    [] { return State().StopFlag; });
    if (State().StopFlag)
        return ExitCode::Stopped;
    for (const QString& line :
         modMailAdvice::Facts(report, target) + QStringList{QString()} + modMailAdvice::Advice(report, target))
        modConsole::WriteLine(line);
    switch (modMailAdvice::VerdictOf(report, target)) {
    case modMailAdvice::Verdict::Well:
        return ExitCode::Done;
    case modMailAdvice::Verdict::Wanting:
        return ExitCode::Findings;
    case modMailAdvice::Verdict::NotReached:
        break;
    }
    return ExitCode::Failed;
}

void AddSiteWord(CLI::App& command, const std::shared_ptr<Words>& words)
{
    words->site.option = command.add_option("name", words->site.text, "The site")->required()->type_name("NAME");
}
} // namespace

void modCommands::AddMailLogin(CLI::App& app, clsCommand& chosen)
{
    CLI::App* site = app.get_subcommand("site");
    const auto words = std::make_shared<Words>();
    std::vector<std::string> securities;
    for (const QString& word : modMailSecurity::Words())
        securities.push_back(word.toStdString());
    CLI::App* login =
        site->add_subcommand("login", "Say how a site connects to its mail server, and who logs in there");
    AddSiteWord(*login, words);
    words->security.option = login
                                 ->add_option("--security", words->security.text,
                                              "none, starttls (required before anything else is said) or tls (from the "
                                              "start)")
                                 ->check(CLI::IsMember(securities))
                                 ->type_name("WORD");
    words->user.option = login->add_option("--user", words->user.text, "Who logs in")->type_name("NAME");
    CLI::Option* password = login->add_flag("--password-stdin", words->passwordStdin,
                                            "Read the password from the standard input; else it is asked for on a "
                                            "terminal");
    words->tokenCommand.option = login
                                     ->add_option("--token-command", words->tokenCommand.text,
                                                  "A command that prints a token for each run, instead of a password "
                                                  "(XOAUTH2)")
                                     ->type_name("CMD")
                                     ->excludes(password);
    words->store.option = login
                              ->add_option("--store", words->store.text,
                                           "Where the password is kept: keyring (the usual one), database (this "
                                           "encrypted file) or ask (nowhere)")
                              ->check(CLI::IsMember({"keyring", "database", "ask"}))
                              ->type_name("WHERE")
                              ->excludes(words->tokenCommand.option);
    login->add_flag("--forget", words->forget, "Nobody logs in any more; forget user and password")
        ->excludes(words->user.option)
        ->excludes(password)
        ->excludes(words->tokenCommand.option)
        ->excludes(words->store.option);
    login->callback([&chosen, words] {
        if (words->security.option->count() == 0 && !words->forget && words->user.option->count() == 0 &&
            words->tokenCommand.option->count() == 0 && words->store.option->count() == 0 && !words->passwordStdin)
            throw CLI::ValidationError("site login", "nothing is given that could be changed");
        chosen = InDatabase([words](clsDatabase& database) { return Login(database, *words); });
    });

    const auto probed = std::make_shared<Words>();
    CLI::App* probe = site->add_subcommand("probe", "Connect and log in at a site's mail server, send nothing, and "
                                                    "show what it says");
    AddSiteWord(*probe, probed);
    probe->callback([&chosen, probed] {
        chosen = InDatabase([probed](clsDatabase& database) { return Probe(database, probed->site.Text()); });
    });
}
