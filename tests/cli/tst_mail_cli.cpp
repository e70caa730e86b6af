// SPDX-License-Identifier: GPL-3.0-or-later
// Mail by script: the real program queues, checks, previews and sends to a real server, and tells what it has sent.
#include "support/command_line.h"
#include "support/files.h"
#include "support/installation.h"
#include "support/scripted_smtp.h"
#include "support/table.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using commandLine::Outcome;

class tst_mail_cli : public QObject
{
    Q_OBJECT

private:
    clsTestInstallation m_installation;
    scriptedSmtp m_server;

    [[nodiscard]] Outcome Run(const QString& words, const QByteArray& input = {}) const
    {
        return commandLine::Run(m_installation.Folder(), words.split(u' '), input);
    }
    /// The lines of a log between its banners.
    static QStringList Inner(const QString& log)
    {
        QStringList lines = log.split(u'\n', Qt::SkipEmptyParts);
        return lines.size() < 2 ? lines : lines.mid(1, lines.size() - 2);
    }

private Q_SLOTS:
    void initTestCase()
    {
        const auto database = m_installation.Open();
        clsTestInstallation::AddSite(*database, u"Shop"_s,
                                     {{u"Sender"_s, u"Ann"_s},
                                      {u"HostName"_s, u"127.0.0.1"_s},
                                      {u"MailPort"_s, m_server.Port()},
                                      {u"EMessage4"_s, 4}});
        for (const auto& title : {u"Bob"_s, u"Carl"_s, u"Dora"_s})
            clsTestInstallation::AddLink(*database, u"Shop"_s, title,
                                         {{u"Email"_s, title.toLower() + u"@partner.example"_s},
                                          {u"Status"_s, title == u"Dora" ? 3 : 2},
                                          {u"FullName"_s, title}});
        const QString file = m_installation.Folder() + u"/banner.gif"_s;
        WriteAll(file, "GIF89a");
        database->UpdateRecords(u"tblMailMessages"_s, {4},
                                {{u"Subject"_s, u"Hello [Partner Name]"_s},
                                 {u"Body"_s, u"Dear [Partner Name],\r\nbye"_s},
                                 {u"AttachedFile"_s, file}});
    }

    void QueueIsRefused_data()
    {
        const testTable<QString, QString> row;
        row("everybody by mistake", u"--type 4"_s,
            u"queue mail: --link, --status or --site has to say which links\n"_s);
        row("no such type", u"--type 9 --link 1"_s, u"There is no message type 9.\n"_s);
        row("no such link", u"--type 4 --link 1 77"_s, u"There is no link 77.\n"_s);
        row("no such site", u"--type 4 --site None"_s, u"There is no site None.\n"_s);
    }
    void QueueIsRefused()
    {
        const auto [words, reason] = testRow<QString, QString>();
        const Outcome outcome = Run(u"queue mail "_s + words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.err, reason);
        const Outcome none = Run(u"send"_s);
        QCOMPARE(none.err, u"There are no records in the E-mail queue.  No messages were sent.\n"_s);
        QVERIFY(none.out.contains(u"There are no records in the E-mail queue. No messages not sent.\nEND MAIL"_s));
    }

    /// From the queue to the history, one command after the other.
    void WholeRound()
    {
        QCOMPARE(Run(u"queue mail --type 4 --status broken --site shop"_s).out,
                 u"1 link(s) added to the e-mail queue.\n"_s);
        QCOMPARE(Run(u"queue mail --type 4 --link 1 2"_s).out, u"2 link(s) added to the e-mail queue.\n"_s);
        const Outcome checked = Run(u"mail check"_s);
        QCOMPARE(checked.out, u"3 message(s) checked, 0 problem(s) found.\n"_s);
        QCOMPARE(checked.code, 0);

        const Outcome preview = Run(u"preview"_s, "ok\nskip\n");
        QCOMPARE(preview.code, 5); // the input ended
        QVERIFY2(
            preview.out.contains(u"\nPreview E-mail [Bob]\nFrom: Ann [me@mysite.example]\nTo: bob@partner.example\n"
                                 "Subject: Hello Bob\n\n\nDear Bob,\nbye\n"_s),
            qPrintable(preview.out));
        QCOMPARE(preview.err.count(u"Attachment: banner.gif, 6 bytes (6 bytes)\n"_s), 3);

        const QDir eml(m_installation.Folder() + u"/eml"_s);
        const Outcome sent = Run(u"send --eml "_s + eml.path());
        QCOMPARE(Inner(sent.out),
                 (QStringList{u"  \u2022 Connecting to mail server"_s, u"  \u2022 Current site: Shop"_s,
                              u"    \u2022 Sending mail to Bob  [bob@partner.example]....Done"_s,
                              u"    \u2022 Sending mail to Dora  [dora@partner.example]....Done"_s}));
        QCOMPARE(sent.code, 0);
        const auto messages = m_server.Messages();
        QCOMPARE(messages.size(), 2);
        const QStringList kept = eml.entryList({u"*.eml"_s}, QDir::Files);
        QCOMPARE(kept.size(), 2);
        QCOMPARE(ReadAll(eml.filePath(kept.first())), messages[0].Text());

        const QJsonArray history = Run(u"mail history --link 3 --json"_s).Json();
        QCOMPARE(history.size(), 1);
        QCOMPARE(history[0][u"Recipient"].toString(), u"dora@partner.example"_s);
        QCOMPARE(history[0][u"Outcome"].toString(), u"sent"_s);
        QVERIFY(messages[1].data.contains(history[0][u"MailID"].toString().toLatin1()));
        QCOMPARE(Run(u"mail history --csv"_s).out.count(u"\r\n"_s), 3);
    }

    void MessageInDoubtIsListed()
    {
        QCOMPARE(Run(u"queue mail --type 4 --link 1"_s).code, 0);
        m_server.At("end", serverReply().Close());
        QCOMPARE(Run(u"send"_s).code, 3);
        m_server.Forget("end");
        const auto before = m_server.Messages().size();
        const Outcome left = Run(u"--yes send"_s);
        QCOMPARE(left.code, 1);
        QVERIFY2(left.err.startsWith(u"It is not known whether these messages have arrived:\n  link 1, Bob  "
                                     "[bob@partner.example], sent "_s),
                 qPrintable(left.err));
        QCOMPARE(m_server.Messages().size(), before);
        QVERIFY2(left.out.contains(u"Could not send mail to Bob because it is in doubt whether the last message has "
                                   "arrived."_s),
                 qPrintable(left.out));
        QCOMPARE(Run(u"send --resend-in-doubt --drop-in-doubt"_s).code, 2);
        QCOMPARE(Run(u"queue mail --type 4 --link 2"_s).code, 0); // is not held up by it
        m_server.At("end", serverReply().Close());
        QCOMPARE(Run(u"send --resend-in-doubt"_s).code, 3); // in doubt again
        m_server.Forget("end");
        QCOMPARE(Run(u"send --drop-in-doubt"_s).code, 0);
        QCOMPARE(m_server.Messages().last().recipients, QByteArrayList{"TO:<carl@partner.example>"});
        const QString history = Run(u"mail history --link 1"_s).out;
        QVERIFY2(history.contains(u"resent"_s) && history.contains(u"dropped"_s) && !history.contains(u"in doubt"_s),
                 qPrintable(history));
    }
};

QTEST_GUILESS_MAIN(tst_mail_cli)
#include "tst_mail_cli.moc"
