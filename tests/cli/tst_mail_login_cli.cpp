// SPDX-License-Identifier: GPL-3.0-or-later
// site login and site probe: the real program against a mail server, and what it lets be seen of a password.
#include "support/authority.h"
#include "support/command_line.h"
#include "support/files.h"
#include "support/installation.h"
#include "support/scripted_smtp.h"
#include "support/table.h"

#include <QDirIterator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using commandLine::Outcome;

namespace
{
const QByteArray Secret = "n0-Ooone-sees-\xc3\xa4";
} // namespace

class tst_mail_login_cli : public QObject
{
    Q_OBJECT

private:
    testAuthority m_authority;
    std::unique_ptr<clsTestInstallation> m_installation;
    std::unique_ptr<scriptedSmtp> m_server;

    [[nodiscard]] Outcome Run(const QStringList& words, const QByteArray& input = {}) const
    {
        return commandLine::Run(m_installation->Folder(), words, input);
    }
    [[nodiscard]] Outcome Login(const QStringList& words, const QByteArray& input = {}) const
    {
        return Run(QStringList{u"site"_s, u"login"_s, u"Shop"_s} + words, input);
    }
    [[nodiscard]] Outcome Probe() const { return Run({u"site"_s, u"probe"_s, u"Shop"_s}); }

private Q_SLOTS:
    void init()
    {
        scriptedSmtp::Options options;
        options.certificate = m_authority.Read(u"good.pem"_s);
        options.key = m_authority.Read(u"good.key"_s);
        options.offers = {"STARTTLS"};
        options.encryptedOffers = {"AUTH PLAIN LOGIN XOAUTH2"};
        options.user = "ann";
        options.secret = Secret;
        m_server = std::make_unique<scriptedSmtp>(options);
        m_installation = std::make_unique<clsTestInstallation>();
        clsTestInstallation::AddSite(*m_installation->Open(), u"Shop"_s,
                                     {{u"HostName"_s, u"127.0.0.1"_s},
                                      {u"MailPort"_s, m_server->Port()},
                                      {u"Email"_s, u"ann@shop.example"_s},
                                      {u"LinkPage"_s, u"http://shop.example/l"_s}});
        QCOMPARE(Run({u"settings"_s, u"set"_s, u"Network"_s, u"CaFile"_s, m_authority.CaFile()}).code, 0);
    }

    void probing();
    void sending();
    void tokens();
    void refusals_data();
    void refusals();
};

void tst_mail_login_cli::probing()
{
    Outcome outcome = Probe();
    QVERIFY2(outcome.code == 0 && outcome.out.contains(u"It offers encryption: choose STARTTLS."_s),
             qPrintable(outcome.out + outcome.err));
    QCOMPARE(Login({u"--security"_s, u"starttls"_s, u"--user"_s, u"ann"_s, u"--password-stdin"_s, u"--store"_s,
                    u"database"_s},
                   Secret + "\r\n")
                 .code,
             0);
    outcome = Probe();
    QVERIFY2(outcome.code == 0 && outcome.out.contains(u"All is well"_s) &&
                 outcome.out.contains(u"Log-in methods: PLAIN, LOGIN, XOAUTH2"_s) &&
                 outcome.out.contains(u"Test authority"_s),
             qPrintable(outcome.out + outcome.err));

    // Nobody sees the password: no list, no report, no log, no settings. The words for it in Base64 neither.
    QString shown = outcome.out + outcome.err;
    for (const QStringList& words : {QStringList{u"site"_s, u"show"_s, u"Shop"_s},
                                     {u"site"_s, u"show"_s, u"Shop"_s, u"--json"_s},
                                     {u"sites"_s, u"--csv"_s},
                                     {u"settings"_s, u"list"_s, u"--all"_s},
                                     {u"site"_s, u"probe"_s, u"Shop"_s}}) {
        const Outcome said = Run(words);
        QVERIFY(said.code == 0);
        shown += said.out + said.err;
    }
    QVERIFY(shown.contains(u"MailUser: ann"_s));
    const QByteArray plain = QByteArray("\0ann\0", 5) + Secret;
    QDirIterator files(m_installation->Folder(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        shown += QString::fromUtf8(ReadAll(files.next()));
    for (const QByteArray& hidden : {Secret, Secret.toBase64(), plain.toBase64()})
        QVERIFY2(!shown.contains(QString::fromUtf8(hidden)), hidden);

    m_server->At("AUTH", serverReply::Bytes("535 no\r\n"));
    outcome = Probe();
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.out.contains(u"The server refused user or password."_s), qPrintable(outcome.out));
    // A certificate that is not trusted: no password goes out.
    const qsizetype before = m_server->Commands().size();
    QCOMPARE(Run({u"settings"_s, u"unset"_s, u"Network"_s, u"CaFile"_s}).code, 0);
    outcome = Probe();
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.out.contains(u"certificate is not trusted"_s), qPrintable(outcome.out));
    QVERIFY(!m_server->Commands().mid(before).join(" ").contains("AUTH"));
    m_server.reset();
    QCOMPARE(Probe().code, 3);
}

void tst_mail_login_cli::sending()
{
    const auto opened = m_installation->Open();
    const auto sites = opened->OpenRecordset(u"tblSites"_s);
    opened->UpdateRecords(u"tblSites"_s, {sites->Bookmark()}, {{u"Sender"_s, u"Ann"_s}, {u"EMessage1"_s, 1}});
    clsTestInstallation::AddLink(*opened, u"Shop"_s, u"Bob"_s,
                                 {{u"Email"_s, u"bob@b.example"_s}, {u"Message"_s, 1}, {u"EmailQueue"_s, 1}});
    const QStringList words{u"--security"_s, u"starttls"_s, u"--user"_s, u"ann"_s};
    QCOMPARE(Login(words + QStringList{u"--store"_s, u"ask"_s}).code, 0);
    Outcome outcome = Run({u"send"_s});
    QCOMPARE(outcome.code, 3);
    QVERIFY2(outcome.err.contains(u"brambury site login \"Shop\" --user \"ann\" --password-stdin"_s),
             qPrintable(outcome.err));
    QVERIFY(m_server->Commands().isEmpty());
    QCOMPARE(Login(words + QStringList{u"--password-stdin"_s, u"--store"_s, u"database"_s}, Secret).code, 0);
    outcome = Run({u"send"_s});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.out + outcome.err));
    QCOMPARE(m_server->Messages().size(), 1);
    QVERIFY(m_server->Commands().join(" ").contains("AUTH"));
}

void tst_mail_login_cli::tokens()
{
    // The site's own address is the user where none is named.
    QCOMPARE(
        Login({u"--security"_s, u"starttls"_s, u"--user"_s, u"ann"_s, u"--token-command"_s, u"printf tok-1"_s}).code,
        0);
    Outcome outcome = Probe();
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.out.contains(u"The server refused the token"_s) && !outcome.out.contains(u"tok-1"_s),
             qPrintable(outcome.out + outcome.err));
    QCOMPARE(Login({u"--token-command"_s, u"false"_s}).code, 0);
    outcome = Probe();
    QCOMPARE(outcome.code, 3);
    QCOMPARE(outcome.err, u"The program false ended with the exit code 1.\n"_s);
    // What the file brings along is run for nobody, however much is agreed to beforehand.
    const QString mark = m_installation->Folder() + u"/run"_s;
    const auto opened = m_installation->Open();
    opened->UpdateRecords(u"tblSites"_s, {opened->OpenRecordset(u"tblSites"_s)->Bookmark()},
                          {{u"MailTokenCommand"_s, u"touch "_s + mark}});
    for (const QString& words : {u"site probe Shop"_s, u"--yes site probe Shop"_s}) {
        outcome = Run(words.split(u' '));
        QCOMPARE(outcome.code, 3);
        QVERIFY2(outcome.err.contains(u"agree to it with brambury site login \"Shop\" --token-command"_s),
                 qPrintable(outcome.err));
        QVERIFY(!QFile::exists(mark));
    }
    // Forgotten is forgotten, and the encryption stays required.
    QCOMPARE(Login({u"--forget"_s}).code, 0);
    QCOMPARE(Login({u"--token-command"_s, u"false"_s}).code, 0);
    const QString shown = Run({u"site"_s, u"show"_s, u"Shop"_s}).out;
    QVERIFY2(shown.contains(u"MailUser: ann@shop.example\n"_s) && shown.contains(u"MailSecurity: starttls\n"_s),
             qPrintable(shown));
}

void tst_mail_login_cli::refusals_data()
{
    const testTable<QStringList, QByteArray, QString> row;
    row("nothing to do", {}, {}, u"nothing is given that could be changed"_s);
    row("password without a user", {u"--password-stdin"_s}, "x\n", u"A password needs a user"_s);
    row("no keyring", {u"--user"_s, u"a"_s, u"--password-stdin"_s}, "x\n", u"There is no keyring"_s);
    row("no password", {u"--user"_s, u"a"_s, u"--password-stdin"_s, u"--store"_s, u"database"_s}, {},
        u"There is no password on the standard input."_s);
    row("nobody to ask", {u"--user"_s, u"a"_s, u"--store"_s, u"database"_s}, {}, u"--password-stdin"_s);
    row("user with a line end", {u"--user"_s, u"a\nb"_s, u"--store"_s, u"ask"_s}, {},
        u"contains a character that no name can hold"_s);
}

void tst_mail_login_cli::refusals()
{
    const auto [words, input, text] = testRow<QStringList, QByteArray, QString>();
    const Outcome outcome = Login(words, input);
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(text), qPrintable(outcome.err));
    QVERIFY(!Run({u"site"_s, u"show"_s, u"Shop"_s}).out.contains(u"MailUser: a"_s));
}

QTEST_GUILESS_MAIN(tst_mail_login_cli)
#include "tst_mail_login_cli.moc"
