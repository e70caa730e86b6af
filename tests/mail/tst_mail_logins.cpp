// SPDX-License-Identifier: GPL-3.0-or-later
// Log-ins at mail servers without a window: where a password is kept and taken from, what happens to it when its site
// is saved, copied or deleted, and what a look at a server comes to.
#include "data/clsSiteRecord.h"
#include "data/modMailSecurity.h"
#include "data/modSites.h"
#include "mail/clsMailLogins.h"
#include "mail/modMailAdvice.h"
#include "shell/modErrorHandler.h"
#include "support/mail_fakes.h"
#include "support/program.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using modBrambury::State;
using modMailSecrets::Place;
using Saved = clsRecordEditor::Saved;

class tst_mail_logins : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        clsTestProgram program;
        fakeKeyring keyring;
        fakePrograms programs;
        Fixture()
        {
            State().Platform.Keyring = &keyring;
            State().Platform.Programs = &programs;
            clsTestInstallation::AddSite(*State().Database, u"Shop"_s, {{u"HostName"_s, u"mail.example"_s}});
        }
    };
    std::unique_ptr<Fixture> f;

    static std::unique_ptr<clsRecordset> Site(const QString& siteID = u"Shop"_s)
    {
        auto sites = State().Database->OpenRecordset(u"tblSites"_s);
        return modSites::Find(*sites, siteID) ? std::move(sites) : nullptr;
    }
    static void Set(const clsFieldValues& values)
    {
        State().Database->UpdateRecords(u"tblSites"_s, {Site()->Bookmark()}, values);
    }
    /// Saves the site with a password at this place; Nowhere forgets it.
    static Saved Keep(Place place, const QByteArray& secret)
    {
        clsSiteRecord site(*State().Database);
        if (!site.Open(u"Shop"_s))
            return Saved::Failed;
        site.SetValue(u"MailUser"_s, u"ann"_s);
        if (place == Place::Nowhere)
            site.ForgetMailSecret();
        else
            site.SetMailSecret(place, secret);
        return site.Save();
    }
    static QString Key() { return Site()->Field(u"MailKey"_s).toString(); }
    static qint64 InFile() { return State().Database->OpenRecordset(u"tblMailSecrets"_s)->RecordCount(); }
    /// "security user secret", with "token" behind a token, or why there is none.
    static QString LoginOf(clsMailLogins& logins)
    {
        clsMailLogin login;
        if (const auto failure = failureOf([&] { login = logins.Of(*Site()); }))
            return u"error: "_s + failure->Description();
        return modMailSecurity::WordOf(login.security) + u' ' + login.user + u' ' + QString::fromUtf8(login.secret) +
               (login.token ? u" token"_s : QString());
    }

private Q_SLOTS:
    void init() { f = std::make_unique<Fixture>(); }
    void cleanup() { f.reset(); }

    void whereTheSecretComesFrom();
    void aTokenIsOneWord_data();
    void aTokenIsOneWord();
    void aCommandIsAgreedToFirst();
    void keptWithTheSiteAlone();
    void aKeyringThatFails();
    void copiedAndDeleted();
    void tokenCommandsAreBounded();
    void advice_data();
    void advice();
};

void tst_mail_logins::whereTheSecretComesFrom()
{
    clsMailLogins logins;
    QCOMPARE(LoginOf(logins), u"none  "_s);
    Set({{u"MailSecurity"_s, u"tls"_s}});
    QCOMPARE(LoginOf(logins), u"tls  "_s);
    QCOMPARE(Keep(Place::Keyring, "k\xc3\xa4se"), Saved::Yes);
    QCOMPARE(LoginOf(logins), u"tls ann k\u00e4se"_s);
    QCOMPARE(Keep(Place::Database, "Topf \"x\""), Saved::Yes);
    QCOMPARE(LoginOf(logins), u"tls ann Topf \"x\""_s);

    // Asked once for a user at a server, until it may have been wrong.
    QCOMPARE(Keep(Place::Nowhere, {}), Saved::Yes);
    f->program.dialogs.passwords = {u"asked"_s, u"again"_s};
    QCOMPARE(LoginOf(logins), u"tls ann asked"_s);
    QCOMPARE(LoginOf(logins), u"tls ann asked"_s);
    logins.ForgetAsked();
    QCOMPARE(LoginOf(logins), u"tls ann again"_s);
    QVERIFY(!State().StopFlag);
    Set({{u"MailUser"_s, u"bob"_s}});
    QCOMPARE(LoginOf(logins), u"tls bob "_s); // cancelled
    QVERIFY(State().StopFlag);
    QCOMPARE(f->program.dialogs.shown.last(), u"Log-in: Password of bob at mail.example:"_s);

    // What was wanted is not known, so nothing less is taken for it.
    Set({{u"MailSecurity"_s, u"TLS2"_s}});
    QVERIFY(LoginOf(logins).startsWith(u"error: The connection security \"TLS2\""_s));
}

void tst_mail_logins::aTokenIsOneWord_data()
{
    const testTable<QByteArray, QString> row;
    row("plain", " ya29.a0_-~+/=\r\n", u"none ann ya29.a0_-~+/= token"_s);
    row("nothing", " \n", u"error: The token command prints nothing."_s);
    row("two lines", "Warning: x\ntoken", u"error: The token command prints something else than one token."_s);
    row("control", "tok\x01host=x", u"error: The token command prints something else than one token."_s);
}

void tst_mail_logins::aTokenIsOneWord()
{
    const auto [output, expected] = testRow<QByteArray, QString>();
    f->programs.output = output;
    Set({{u"MailUser"_s, u"ann"_s}, {u"MailTokenCommand"_s, u"get-token ann"_s}});
    modTokenCommand::Agree({.command = u"get-token ann"_s, .host = u"MAIL.example"_s, .siteID = {}});
    clsMailLogins logins;
    QCOMPARE(LoginOf(logins), expected);
    QCOMPARE(f->programs.commands, QStringList{u"get-token ann"_s});
}

void tst_mail_logins::aCommandIsAgreedToFirst()
{
    const QString command = u"get-token \"ann\""_s;
    Set({{u"MailUser"_s, u"ann"_s}, {u"MailTokenCommand"_s, command}});
    f->programs.output = "token";
    clsMailLogins nobody;
    const QString refused = LoginOf(nobody);
    QVERIFY2(!refused.contains(command) && refused.endsWith(u"brambury site login \"Shop\" --token-command COMMAND"_s),
             qPrintable(refused));

    clsMailLogins logins(&modTokenCommand::Ask);
    f->program.dialogs.Expect(u"*"_s, clsDialogs::Answer::No);
    QCOMPARE(LoginOf(logins), u"none ann  token"_s);
    QVERIFY(State().StopFlag && f->programs.commands.isEmpty() && f->program.settings.values.isEmpty());
    State().StopFlag = false;
    f->program.dialogs.Expect(u"*"_s, clsDialogs::Answer::Yes);
    QCOMPARE(LoginOf(logins), u"none ann token token"_s);
    QCOMPARE(LoginOf(nobody), u"none ann token token"_s);
    QVERIFY(!State().StopFlag && !f->program.settings.values.value(u"TokenCommands"_s).contains(command));

    // Another command, and another server that would get the token, are another matter.
    Set({{u"HostName"_s, u"mail.elsewhere"_s}});
    QVERIFY(LoginOf(nobody).startsWith(u"error: "_s));
    Set({{u"HostName"_s, u"mail.example"_s}, {u"MailTokenCommand"_s, u"get-token \"bob\""_s}});
    QVERIFY(LoginOf(nobody).startsWith(u"error: "_s));
    // What cannot be judged by its looks is not even asked about.
    for (const QString& hidden : {command + u'\n', u"get \u202enekot"_s, u"get\u00a0token"_s, QString(1001, u'x')}) {
        Set({{u"MailTokenCommand"_s, u"a "_s + hidden + u" b"_s}});
        QVERIFY2(LoginOf(logins).contains(u"characters that cannot be seen"_s), qPrintable(hidden));
    }
    QCOMPARE(f->programs.commands.size(), 2);
}

void tst_mail_logins::keptWithTheSiteAlone()
{
    clsMailLogins logins;
    clsSiteRecord site(*State().Database);
    QVERIFY(site.Open(u"Shop"_s));
    site.SetValue(u"MailUser"_s, u"ann"_s);
    site.SetMailSecret(Place::Keyring, "one");
    QVERIFY(site.Changed() && f->keyring.entries.isEmpty());
    QCOMPARE(site.MailSecret().value_or("none"), "one");
    // Another record is shown: what was entered for this one is gone.
    QVERIFY(site.Open(u"Shop"_s));
    QCOMPARE(site.Save(), Saved::Yes);
    QVERIFY(f->keyring.entries.isEmpty() && Key().isEmpty());

    // A record that cannot be written leaves nothing in the keyring.
    site.SetValue(u"MailUser"_s, u"ann"_s);
    site.SetMailSecret(Place::Keyring, "one");
    modSites::Delete(*f->program.installation.Open(), u"Shop"_s);
    f->program.dialogs.Expect(clsRecordEditor::MissingRecordText());
    QCOMPARE(site.Save(), Saved::Failed);
    QVERIFY(f->keyring.entries.isEmpty());

    // A new password has the key of the old one, so that a backup still finds it; at another place it has another.
    clsTestInstallation::AddSite(*State().Database, u"Shop"_s);
    QCOMPARE(Keep(Place::Keyring, "two"), Saved::Yes);
    const QString key = Key();
    QCOMPARE(Keep(Place::Keyring, "three"), Saved::Yes);
    QCOMPARE(Key(), key);
    QCOMPARE(f->keyring.entries, (QMap<QString, QByteArray>{{key, "three"}}));
    QCOMPARE(Keep(Place::Database, "four"), Saved::Yes);
    QVERIFY(f->keyring.entries.isEmpty());
    QCOMPARE(InFile(), 1);
    QCOMPARE(Keep(Place::Nowhere, {}), Saved::Yes);
    QVERIFY(Key().isEmpty() && InFile() == 0);
}

void tst_mail_logins::aKeyringThatFails()
{
    clsMailLogins logins;
    f->keyring.fault = u"It is locked."_s;
    f->program.dialogs.Expect(u"The password of the mail server could not be kept, and nothing was saved: "
                              "It is locked.\r\nChoose another place for it."_s);
    QCOMPARE(Keep(Place::Keyring, "one"), Saved::Refused);
    QVERIFY(Key().isEmpty() && Site()->Field(u"MailUser"_s).isNull());

    f->keyring.fault.clear();
    QCOMPARE(Keep(Place::Keyring, "one"), Saved::Yes);
    f->keyring.fault = u"It is locked."_s;
    f->program.dialogs.passwords = {u"typed"_s};
    QCOMPARE(LoginOf(logins), u"none ann typed"_s);
    QVERIFY(f->program.dialogs.shown.last().contains(u"It is locked."_s));
    // The site goes all the same.
    modSites::Delete(*State().Database, u"Shop"_s);
    QVERIFY(!Site());
}

void tst_mail_logins::copiedAndDeleted()
{
    Set({{u"MailSecurity"_s, u"starttls"_s}, {u"MailPerDay"_s, 7}});
    QCOMPARE(Keep(Place::Database, "secret"), Saved::Yes);
    const QString copy = modSites::Copy(*State().Database, u"Shop"_s);
    const auto copied = Site(copy);
    QCOMPARE(copied->Field(u"MailSecurity"_s), u"starttls"_s);
    QCOMPARE(copied->Field(u"MailUser"_s), u"ann"_s);
    QCOMPARE(copied->Field(u"MailPerDay"_s), 7);
    QVERIFY(copied->Field(u"MailKey"_s).isNull());
    modSites::Delete(*State().Database, copy);
    QCOMPARE(InFile(), 1);
    modSites::Delete(*State().Database, u"Shop"_s);
    QCOMPARE(InFile(), 0);
}

void tst_mail_logins::tokenCommandsAreBounded()
{
    const auto programs = modPlatformImpl::MakePrograms(*f->program.eventLoop);
    const auto run = [&](const QString& command, std::chrono::milliseconds limit = 30s,
                         const std::function<bool()>& stopped = {}) {
        QByteArray output;
        const auto failure = failureOf([&] { output = programs->Output(command, limit, stopped); });
        return failure ? u"error: "_s + failure->Description() : QString::fromUtf8(output);
    };
    QCOMPARE(run(u"printf \"%s|\" \"two words\" $HOME"_s), u"two words|$HOME|"_s); // no shell is between
    QCOMPARE(run(u"sh -c \"read line || echo none; echo secret >&2\""_s), u"none\n"_s);
    QCOMPARE(run(u"sh -c \"echo secret; exit 3\""_s), u"error: The program sh ended with the exit code 3."_s);
    QCOMPARE(run(u"/no/such/program secret"_s), u"error: The program /no/such/program could not be started."_s);
    QCOMPARE(run(u" "_s), u"error: The command names no program."_s);
    QCOMPARE(run(u"yes secret"_s), u"error: The program yes says too much."_s);
    // With what it has started itself, which holds the output open.
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(run(u"sh -c \"sleep 60 & wait\""_s, 200ms), u"error: The program sh did not end in time."_s);
    bool stop = false;
    QTimer::singleShot(100, this, [&] { stop = true; });
    QCOMPARE(run(u"sleep 60"_s, 30s, [&] { return stop; }), u"error: Stopped."_s);
    QVERIFY(timer.elapsed() < 10000);
}

void tst_mail_logins::advice_data()
{
    using Change = std::function<void(clsMailServerReport&)>;
    const testTable<clsMailSecurity, bool, Change, QString> row; // security, user, what is found, advice
    const Change nobody = [](auto& r) { r.connected = false; };
    const Change failed = [](auto& r) { r.failure = u"a\x1b[2Jb"_s; }; // what a terminal obeys
    const Change offered = [](auto& r) { r.offersStartTLS = true; };
    const Change tokens = [](auto& r) {
        r.encrypted = true;
        r.methods = QStringList{u"XOAUTH2"_s};
    };
    using enum clsMailSecurity;
    row("nobody there", None, false, nobody, u"2 was not reached at port 25: *Many providers block port 25"_s);
    row("no STARTTLS", StartTLS, false, failed, u"1 offers no STARTTLS at port 25: choose TLS"_s);
    row("log-in after encryption", None, true, offered, u"1 no log-in without encryption: choose STARTTLS"_s);
    row("tokens only", TLS, true, tokens, u"1 use a token command"_s);
    row("failed otherwise", None, false, failed, u"1 a [2Jb"_s);
}

void tst_mail_logins::advice()
{
    const auto [security, user, change, expected] =
        testRow<clsMailSecurity, bool, std::function<void(clsMailServerReport&)>, QString>();
    clsMailServerReport report;
    report.connected = true;
    report.dialogue = {u"< 220 mail"_s};
    change(report);
    const modMailAdvice::Target target{.host = u"mail.example"_s, .port = 25, .security = security, .user = user};
    const QString said = QString::number(static_cast<int>(modMailAdvice::VerdictOf(report, target))) + u' ' +
                         modMailAdvice::Advice(report, target).join(u'|');
    QCOMPARE(said.left(2), expected.left(2));
    for (const QString& part : expected.mid(2).split(u'*'))
        QVERIFY2(said.contains(part), qPrintable(said));
}

QTEST_GUILESS_MAIN(tst_mail_logins)
#include "tst_mail_logins.moc"
