// SPDX-License-Identifier: GPL-3.0-or-later
// The mail run as a user starts it: the real database, the real SMTP control, a real server; and what it leaves behind
// when something goes wrong at any step.
#include "mail/clsMailPace.h"
#include "mail/modMailCheck.h"
#include "mail_fixture.h"
#include "support/faults.h"
#include "support/table.h"

#include <QTcpServer>
#include <QTest>
#include <QTimer>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Ending = clsMail::Ending;

namespace
{
const QString Began = u"BEGIN MAIL SESSION - Monday, January 5, 2026 at 03:07 PM"_s;
const QString Ended = u"END MAIL SESSION - Monday, January 5, 2026 at 03:07 PM"_s;

QString Bulleted(int indent, const QString& text)
{
    return QString(2 * indent, u' ') + QChar(0x2022) + u' ' + text;
}

/// A log without the blanks and bullets before the lines.
QStringList Plain(QStringList lines)
{
    for (QString& line : lines) {
        while (line.startsWith(u' ') || line.startsWith(QChar(0x2022)))
            line.remove(0, 1);
    }
    return lines;
}

quint16 ClosedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}
} // namespace

class tst_mail_run : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { f = std::make_unique<mailFixture>(); }
    void cleanup()
    {
        QVERIFY2(f->program.dialogs.expected.isEmpty(), "a box did not come");
        f.reset();
    }
    void MixedRun();
    void MissingSettings();
    void AttachmentThatCannotBeEncoded();
    void Forgery();
    void AddressesBeyondAscii();
    void NotRecordedIsNotSent();
    void Ends_data();
    void Ends();
    void SentButNotRecorded_data();
    void SentButNotRecorded();
    void EndlessTagConcernsOneLink();
    void PaceIsCounted_data();
    void PaceIsCounted();
    void RunWaitsAndCanBeStopped();
    void CheckListsEverything();

private:
    std::unique_ptr<mailFixture> f;
};

void tst_mail_run::MixedRun()
{
    f->AddSite(u"Shop"_s);
    f->AddSite(u"Farm"_s, {{u"Sender"_s, u""_s}});
    f->SetTemplate(1, {{u"Subject"_s, u"Hello\r\n[Partner Title]"_s},
                       {u"Body"_s, u"Dear [partner name],\n[last successful test]"_s}});
    f->SetTemplate(3, {{u"Body"_s, QVariant()}});
    f->SetTemplate(4, {{u"Subject"_s, QVariant()}, {u"Body"_s, u"Thanks"_s}});
    f->Database().DeleteRecords(u"tblMailMessages"_s, {2});
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s,
                                  {{u"FullName"_s, u"Bobby"_s}, {u"LastSuccessfulTest"_s, u"2026-01-05 15:07:09"_s}});
    const qint64 carl = f->AddLink(u"shop"_s, u"Carl"_s, {{u"Message"_s, QVariant()}});
    f->AddLink(u"Shop"_s, u"Dora"_s, {{u"Message"_s, 2}});
    f->AddLink(u"Shop"_s, u"Emil"_s, {{u"Message"_s, 3}});
    f->AddLink(u"Shop"_s, u"Fay"_s, {{u"Email"_s, QVariant()}});
    f->AddLink(u"Farm"_s, u"Gus"_s);
    const qint64 hal = f->AddLink(u"Shop"_s, u"Hal"_s, {{u"Message"_s, 4}, {u"EmailQueue"_s, -1}, {u"Offers"_s, 5}});
    const qint64 kept = f->AddLink(u"Shop"_s, u"Kept"_s, {{u"EmailQueue"_s, 2}});
    f->AddLink(u"Nowhere"_s, u"Ida"_s);
    const qint64 jan = f->AddLink(u"Shop"_s, u"Jan"_s);
    const QString lost = u"Could not locate information for site Nowhere.  Process aborted."_s;
    f->program.dialogs.Expect(lost);
    f->server.At("end", serverReply::Bytes("250 2.0.0 taken\r\n"));

    f->Run();

    QCOMPARE(
        f->Lines(),
        (QStringList{Began, Bulleted(1, u"Connecting to mail server"_s), Bulleted(1, u"Current site: Shop"_s),
                     Bulleted(2, u"Sending mail to Bob  [bob@partner.example]....Done"_s),
                     Bulleted(2, u"Could not send mail to link Carl because the e-mail template assignment is "
                                 "missing in the E-Mail Assignments Tab of the Site properties for Shop."_s),
                     Bulleted(2, u"Could not send mail to Dora because the e-mail assingments for site Shop could "
                                 "not be found."_s),
                     Bulleted(2, u"Could not send mail to Emil because the e-mail body is empty."_s),
                     Bulleted(2, u"Could not send mail to Fay because the e-mail address is missing."_s),
                     Bulleted(1, u"Current site: Farm"_s), Bulleted(2, u"Missing sender's e-mail address."_s),
                     Bulleted(1, u"Current site: Shop"_s),
                     Bulleted(2, u"Sending mail to Hal  [hal@partner.example]....Done"_s), Bulleted(1, lost), Ended}));
    QCOMPARE(f->ending, Ending::UnknownSite);
    QCOMPARE(f->notSent, 5);
    QCOMPARE(f->questions, 0);
    const auto messages = f->server.Messages();
    QCOMPARE(messages.size(), 2);
    QVERIFY2(messages[0].data.contains("\r\nSubject: Hello Bob\r\n"), messages[0].data);
    QVERIFY2(messages[0].data.contains("\r\nFrom: Ann of Shop <ann@shop.example>\r\n") ||
                 messages[0].data.startsWith("From: Ann of Shop <ann@shop.example>\r\n"),
             messages[0].data);
    QVERIFY(messages[0].data.contains("\r\nX-Mailer: Generated by Brambury, the Internet reciprocal link "
                                      "manager.\r\n\r\nDear Bobby,\r\n1/5/2026 3:07:09 PM"));
    QCOMPARE(f->Queued(bob), 0);
    QCOMPARE(f->Queued(carl), 1);
    QCOMPARE(f->Queued(hal), 0);
    QCOMPARE(f->Queued(kept), 2);
    QCOMPARE(f->Queued(jan), 1);
    // The first type is an offer, the fourth is none.
    QCOMPARE(clsTestInstallation::LinkField(f->Database(), bob, u"Offers"_s).toInt(), 1);
    QCOMPARE(clsTestInstallation::LinkField(f->Database(), hal, u"Offers"_s).toInt(), 5);
    QCOMPARE(f->Ledger(),
             (QStringList{u"%1 sent: 250 2.0.0 taken"_s.arg(bob), u"%1 sent: 250 2.0.0 taken"_s.arg(hal)}));
    const auto row = clsSendLedger::History(f->Database(), bob);
    QVERIFY(messages[0].data.contains("Message-ID: " + row->Field(u"MailID"_s).toString().toLatin1()));
    QCOMPARE(row->Field(u"Server"_s).toString(), u"127.0.0.1:%1"_s.arg(f->server.Port()));
    QCOMPARE(f->parent.highlighted.first(), QString::number(bob) + u' ');
    QCOMPARE(f->parent.progress.last(), u"7/9"_s);
}

void tst_mail_run::MissingSettings()
{
    f->AddSite(u"A"_s, {{u"HostName"_s, u""_s}});
    f->AddSite(u"B"_s, {{u"MailPort"_s, 0}});
    f->AddSite(u"C"_s, {{u"Email"_s, u""_s}});
    for (const auto& site : {u"A"_s, u"B"_s, u"C"_s})
        f->AddLink(site, u"Bob"_s);
    f->Run();
    QCOMPARE(Plain(f->Lines()).filter(u"Missing"_s),
             (QStringList{u"Missing host name."_s, u"Missing mail port setting."_s, u"Missing domain name."_s}));
    QCOMPARE(f->notSent, 3);
}

void tst_mail_run::AttachmentThatCannotBeEncoded()
{
    const QString folder = f->program.installation.Folder();
    f->program.disk->MakeFolder(folder + u"/$$$mime.tmp"_s);
    f->program.disk->WriteFile(folder + u"/a.bin"_s, "x");
    f->AddSite(u"Shop"_s);
    f->AddLink(u"Shop"_s, u"Bob"_s);
    f->SetTemplate(1, {{u"Body"_s, u"Hello"_s}, {u"AttachedFile"_s, folder + u"/a.bin"_s}});
    const QString text = u"An error occurred writing the encoded attachment."_s;
    f->program.dialogs.Expect(text, clsDialogs::Answer::OK, u"Send Attachment"_s);
    f->Run();
    QCOMPARE(f->Lines().mid(3, 2),
             (QStringList{Bulleted(2, text), Bulleted(2, u"Sending mail to Bob  [bob@partner.example]....Done"_s)}));
    QVERIFY(!f->server.Messages().value(0).data.contains("Mime-Version"));
    QVERIFY(
        f->program.disk->ReadFile(folder + u"/Error.log"_s).contains("An error occurred, unable to encode message."));
}

/// A partner's data can forge no header, recipient or command.
void tst_mail_run::Forgery()
{
    const QString evil = u"x\r\nBcc: all@example.org\r\n\r\n.\r\nMAIL FROM:<evil@example.org>\n"_s;
    f->AddSite(u"Shop"_s, {{u"Sender"_s, evil}});
    f->SetTemplate(1, {{u"Subject"_s, evil}, {u"Body"_s, evil}});
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s);
    f->Run();
    const QByteArray text = f->server.Messages().value(0).Text();
    const QByteArray headers = text.left(text.indexOf("\r\n\r\n"));
    QCOMPARE(headers.count("\r\n") + 1, 6);
    QVERIFY(!headers.contains("\r\nBcc"));
    QVERIFY2(text.endsWith("\r\n\r\nx\r\nBcc: all@example.org\r\n\r\n.\r\nMAIL FROM:<evil@example.org>\r\n"), text);
    const qsizetype commands = f->server.Commands().size();
    for (const QString& address : {u"b@c.de>\r\nRCPT TO:<all@example.org"_s, u"a b@example.org"_s, u"a\t@x"_s,
                                   u"a@x\u00A0y"_s, u"a@x> SIZE=1"_s}) {
        f->Database().UpdateRecords(u"tblLinkList"_s, {bob}, {{u"Email"_s, address}, {u"EmailQueue"_s, 1}});
        f->Run();
        QCOMPARE(f->ending, Ending::Failed);
        QCOMPARE(f->Queued(bob), 1);
    }
    QCOMPARE(f->server.Commands().size(), commands);
}

void tst_mail_run::AddressesBeyondAscii()
{
    modBrambury::State().Settings.BCC = 1;
    f->AddSite(u"Shop"_s);
    f->AddLink(u"Shop"_s, u"Bob"_s, {{u"Email"_s, u"bob@b\u00FCcher.example"_s}});
    f->AddLink(u"Shop"_s, u"J\u00F6rg"_s, {{u"Email"_s, u"j\u00F6rg@b\u00FCcher.example"_s}});
    f->Run(); // this server takes no such name
    QCOMPARE(f->ending, Ending::Failed);
    f->server.At("EHLO", serverReply::Bytes("250-x\r\n250 SMTPUTF8\r\n"));
    f->Run();
    const auto messages = f->server.Messages();
    QCOMPARE(messages.size(), 2);
    QCOMPARE(messages[0].recipients, (QByteArrayList{"TO:<bob@xn--bcher-kva.example>", "TO:<ann@shop.example>"}));
    QVERIFY(!messages[0].data.toLower().contains("bcc"));
    QCOMPARE(messages[1].sender, QByteArray("FROM:<ann@shop.example> SMTPUTF8"));
    QCOMPARE(messages[1].recipients[0], QByteArray("TO:<j\xC3\xB6rg@xn--bcher-kva.example>"));
}

/// What must be written down first can hold the message back.
void tst_mail_run::NotRecordedIsNotSent()
{
    f->AddSite(u"Shop"_s);
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s);
    {
        const fullDisk full(100);
        f->Run();
    }
    QCOMPARE(f->ending, Ending::Failed);
    QVERIFY(f->server.Commands().contains("DATA") && f->server.DataBytes() == 0);
    QCOMPARE(f->Queued(bob), 1);
    QVERIFY(f->Ledger().isEmpty());
}

void tst_mail_run::Ends_data()
{
    const testTable<QByteArray, serverReply, QStringList, Ending, QString> row;
    const auto say = [](const char* text) { return serverReply::Bytes(text); };
    const QString sending = u"Sending mail to Bob  [bob@partner.example]"_s;
    const auto dots = [&](int count) { return QStringList{sending + QString(count, u'.')}; };
    // An outcome that begins with "-" has no row: nothing of the message went out.
    row("greeting refused", "greeting", say("554 no service\r\n"), dots(0), Ending::Failed, u"-"_s);
    row("sender refused", "MAIL", say("550-not\r\n550 you\r\n"), dots(0), Ending::Failed, u"-"_s);
    row("data refused", "DATA", say("451 later\r\n"), dots(2), Ending::Failed, u"-"_s);
    row("garbled after the message", "end", say("hm?\r\n").Close(), dots(3), Ending::Failed, u"in doubt"_s);
    row("silent before", "RCPT", serverReply().Silent(), dots(1), Ending::Failed, u"-"_s);
    row("recipient refused", "RCPT", say("550 no such user\r\n"), dots(1), Ending::Failed, u"-"_s);
    row("message deferred", "end", say("452 full\r\n"), dots(3), Ending::Failed, u"not sent"_s);
    row("hung up after the message", "end", serverReply().Close(), dots(3), Ending::Failed, u"in doubt"_s);
    row("silent after the message", "end", serverReply().Silent(), dots(3), Ending::Failed, u"in doubt"_s);
    row("stopped before", "RCPT", serverReply().Silent(), dots(1) << u"Stop button was pressed.  Process aborted."_s,
        Ending::Stopped, u"-"_s);
    row("stopped after the message", "end", serverReply().Silent(),
        dots(3) << u"Stop button was pressed.  Process aborted."_s, Ending::Stopped, u"in doubt"_s);
    row("nobody there", "port", {}, dots(0) << u"The SMTP server connection was refused"_s, Ending::NoServer, u"-"_s);
    row("not connected", "offline", {}, {u"Could not establish a connection to the Internet.  Process aborted."_s},
        Ending::NoConnection, u"-"_s);
}

/// Whatever happens at the first of two messages: the run says so, ends, and neither link has left the queue.
void tst_mail_run::Ends()
{
    const auto [step, reply, lines, ending, outcome] = testRow<QByteArray, serverReply, QStringList, Ending, QString>();
    clsRecordValues site;
    if (step == "port") {
        site.insert(u"MailPort"_s, ClosedPort());
        f->program.dialogs.Expect(u"The SMTP server connection was refused"_s);
    } else if (step == "offline") {
        f->program.connection.connected = false;
        f->program.dialogs.Expect(u"Could not establish a connected to the Internet."_s);
    } else {
        f->server.At(step, reply);
    }
    f->AddSite(u"Shop"_s, site);
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s);
    const qint64 carl = f->AddLink(u"Shop"_s, u"Carl"_s);
    if (ending == Ending::Stopped)
        QTimer::singleShot(300ms, [] { modBrambury::State().StopFlag = true; });

    f->Run();

    QCOMPARE(Plain(f->Lines()), (QStringList{Began, u"Connecting to mail server"_s, u"Current site: Shop"_s} + lines +
                                 QStringList{Ended}));
    QCOMPARE(f->ending, ending);
    QCOMPARE(f->Queued(bob), 1);
    QCOMPARE(f->Queued(carl), 1);
    const QStringList ledger = f->Ledger();
    if (outcome == u"-")
        QVERIFY2(ledger.isEmpty(), qPrintable(ledger.join(u'\n')));
    else
        QVERIFY2(ledger.size() == 1 && ledger[0].startsWith(u"%1 %2: "_s.arg(bob).arg(outcome)),
                 qPrintable(ledger.join(u'\n')));
    if (ending == Ending::Failed) {
        QVERIFY2(f->program.windows.lastDetails.contains(u"An error occured while sending mail.  "_s),
                 qPrintable(f->program.windows.lastDetails));
        QVERIFY(f->program.windows.lastDetails.contains(u"Module:     \tclsMail"_s));
    }
}

void tst_mail_run::SentButNotRecorded_data()
{
    const testTable<bool> row;
    row("the disk is full", true);
    row("another program holds the file", false);
}

/// The server has the message, but neither link nor ledger can say so: it is in doubt, and never sent by itself again.
void tst_mail_run::SentButNotRecorded()
{
    const auto [diskFull] = testRow<bool>();
    f->AddSite(u"Shop"_s);
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s);
    const auto other = f->program.installation.Open();
    std::optional<fullDisk> full;
    f->server.At("end", serverReply::Bytes("250 taken\r\n").After(300ms));
    QTimer watch;
    watch.callOnTimeout([&] {
        if (f->server.DataBytes() == 0)
            return;
        watch.stop();
        if (diskFull)
            full.emplace(100);
        else
            other->BeginTrans();
    });
    watch.start(5ms);
    if (!diskFull) // the user does not wait for the lock to go away
        QTimer::singleShot(900ms, [] { modBrambury::State().StopFlag = true; });

    f->Run();
    full.reset();
    if (!diskFull)
        other->Rollback();

    QCOMPARE(f->ending, Ending::Failed);
    QCOMPARE(f->server.Messages().size(), 1);
    QVERIFY2(f->program.windows.lastDetails.contains(u"was sent, but this could not be recorded"_s),
             qPrintable(f->program.windows.lastDetails));
    QCOMPARE(f->Ledger(), QStringList{u"%1 in doubt: "_s.arg(bob)});
    QCOMPARE(f->Queued(bob), 1);
    modBrambury::State().StopFlag = false;
    f->Run();
    QCOMPARE(f->questions, 1);
    QCOMPARE(f->server.Messages().size(), 1);
}

void tst_mail_run::EndlessTagConcernsOneLink()
{
    f->AddSite(u"Shop"_s);
    const qint64 bob = f->AddLink(u"Shop"_s, u"Bob"_s, {{u"FullName"_s, u"I am [Partner Name]"_s}});
    const qint64 carl = f->AddLink(u"Shop"_s, u"Carl"_s);
    f->Run();
    QCOMPARE(f->ending, Ending::Done);
    QCOMPARE(f->notSent, 1);
    QCOMPARE(f->Queued(bob), 1);
    QCOMPARE(f->Queued(carl), 0);
    QVERIFY2(f->program.windows.lastDetails.contains(u"Sub/Func: \tAddTags"_s),
             qPrintable(f->program.windows.lastDetails));
}

void tst_mail_run::PaceIsCounted_data()
{
    // Minutes before now at which messages were begun; limits; seconds left.
    const testTable<QList<double>, int, int, int, int> row;
    row("gap", {0.25, 50}, 60, 0, 0, 45);
    row("the hour is full", {10, 20, 30}, 0, 3, 0, 1800);
    row("older ones do not count", {10, 20, 61}, 0, 3, 0, 0);
    row("the day is full", {60, 120, 1439}, 0, 0, 3, 60);
    row("the longest wait counts", {0, 30, 1430}, 5, 2, 3, 1800);
    row("the clock was put back", {-30, -20}, 3600, 1, 1, 0);
}

void tst_mail_run::PaceIsCounted()
{
    const auto [begun, gap, perHour, perDay, left] = testRow<QList<double>, int, int, int, int>();
    clsSendLedger ledger(f->Database(), *f->program.disk);
    const QDateTime now = f->program.clock.now;
    for (const double minutes : begun) {
        const QDateTime then = now.addMSecs(-static_cast<qint64>(minutes * 60000));
        ledger.Begin({.LinkID = 1, .Server = u"mail.example:25"_s}, {}, then);
        ledger.Begin({.LinkID = 1, .Server = u"other.example:25"_s}, {}, now);
    }
    const auto delay = clsMailPace(ledger).Next(clsSendLedger::ServerName(u"Mail.Example"_s, 25),
                                                {std::chrono::seconds(gap), perHour, perDay}, now);
    QCOMPARE(std::chrono::duration_cast<std::chrono::seconds>(delay.Left).count(), left);
}

void tst_mail_run::RunWaitsAndCanBeStopped()
{
    f->AddSite(u"Shop"_s, {{u"MailGap"_s, 30}, {u"MailPerHour"_s, 2}});
    QList<qint64> ids;
    for (const auto& title : {u"Bob"_s, u"Carl"_s, u"Dora"_s})
        ids << f->AddLink(u"Shop"_s, title);
    f->parent.onWait = [this](std::chrono::milliseconds left) {
        if (left > 1h - 1min) // an hour is too long
            modBrambury::State().StopFlag = true;
        else
            f->program.clock.Advance(left);
    };
    f->Run();
    QCOMPARE(f->ending, Ending::Stopped);
    QCOMPARE(f->parent.waits, (QStringList{u"30000 the gap between two messages"_s, u"0 "_s,
                                           u"3570000 the limit of 2 message(s) an hour"_s, u"0 "_s}));
    QCOMPARE(f->server.Messages().size(), 2);
    QCOMPARE(f->Queued(ids[2]), 1);
    // Nothing of it is in the log.
    QCOMPARE(Plain(f->Lines()).filter(u"ait"_s), QStringList());
}

void tst_mail_run::CheckListsEverything()
{
    const QString file = f->program.installation.Folder() + u"/gone.txt"_s;
    f->AddSite(u"Shop"_s, {{u"EMessage3"_s, QVariant()}, {u"FullName"_s, u"I am [my name]"_s}});
    f->AddSite(u"Farm"_s, {{u"Sender"_s, QVariant()}, {u"Email"_s, u"ann at farm"_s}, {u"HostName"_s, u""_s}});
    f->SetTemplate(1, {{u"Subject"_s, u"[Partner Titel]"_s},
                       {u"Body"_s, u"[Partner Name] [My Name] [see 1]"_s},
                       {u"AttachedFile"_s, file}});
    f->SetTemplate(2, {{u"Subject"_s, u"Hello"_s}, {u"Body"_s, u"All is well"_s}});
    f->SetTemplate(4, {{u"Body"_s, u""_s}});
    f->AddLink(u"Shop"_s, u"Bob"_s);
    f->AddLink(u"Shop"_s, u"Carl"_s, {{u"FullName"_s, u"C [Partner Name]"_s}, {u"Email"_s, u"BOB@partner.example"_s}});
    f->AddLink(u"Shop"_s, u"Dora"_s, {{u"Message"_s, 3}});
    f->AddLink(u"Shop"_s, u"Dora 2"_s, {{u"Message"_s, 3}});
    f->AddLink(u"Shop"_s, u"Emil"_s, {{u"Message"_s, 4}});
    f->AddLink(u"Farm"_s, u"Fay"_s, {{u"Message"_s, 2}, {u"Email"_s, u"fay @partner.example"_s}});
    f->AddLink(u"Farm"_s, u"Gus"_s, {{u"Message"_s, 2}, {u"Email"_s, QVariant()}});
    f->AddLink(u"Nowhere"_s, u"Hal"_s);

    const auto report = modMailCheck::Check(f->Database(), modBrambury::Platform());
    QStringList lines;
    for (const auto& finding : report.Findings)
        lines << finding.Where + u": "_s + finding.What;
    QCOMPARE(
        lines,
        (QStringList{
            u"Template DEFAULT of message type 1: The attached file is missing; messages go out without it: "_s + file,
            u"Template DEFAULT of message type 1: [Partner Titel] is no field tag; it is sent as it stands."_s,
            u"Template DEFAULT of message type 1: [see 1] is no field tag; it is sent as it stands."_s,
            u"Site Shop: The value of the field tag [My Name] holds the tag itself: it would be replaced without end."_s,
            u"Bob: The field tag [Partner Name] is empty."_s,
            u"Carl: The message goes to the same address as that for Bob: BOB@partner.example"_s,
            u"Carl: The value of the field tag [Partner Name] holds the tag itself: it would be replaced without end."_s,
            u"Site Shop: No template is assigned to message type 3."_s,
            u"Template DEFAULT of message type 4: The text is empty."_s,
            u"Site Farm: The sender's name is missing."_s,
            u"Site Farm: The sender's e-mail address is malformed: ann at farm"_s,
            u"Site Farm: The mail server is missing."_s,
            u"Fay: The e-mail address is malformed: fay @partner.example"_s,
            u"Gus: The e-mail address is missing."_s,
            u"Site Nowhere: There is no such site; the run ends at its first link."_s,
        }));
    QCOMPARE(report.Messages, 8);
    QVERIFY(f->server.Commands().isEmpty());
}

QTEST_GUILESS_MAIN(tst_mail_run)
#include "tst_mail_run.moc"
