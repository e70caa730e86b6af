// SPDX-License-Identifier: GPL-3.0-or-later
// The program killed in the middle of sending mail: no partner ever gets a message twice or none, and what is not known
// is asked for, at most one message a kill.
#include "mail/clsSendLedger.h"
#include "suites/suite_program.h"
#include "support/scripted_smtp.h"
#include "support/suite_report.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int MessageCount = 50;

/// An installation with one site and partners queued for mail, and the server that they are sent by.
class mailQueue
{
public:
    /// A link as a run left it.
    struct Link
    {
        bool queued = false;
        int doubts = 0; ///< open rows of the ledger
        int rows = 0;
        int taken = 0; ///< messages that the server has
    };
    using Links = QMap<qint64, Link>;

    mailQueue()
    {
        const auto database = m_installation.Open();
        clsTransaction transaction(*database);
        clsTestInstallation::AddSite(*database, u"Shop"_s,
                                     {{u"Sender"_s, u"Ann"_s},
                                      {u"HostName"_s, u"127.0.0.1"_s},
                                      {u"MailPort"_s, m_server.Port()},
                                      {u"EMessage1"_s, 1}});
        for (int i = 0; i < MessageCount; ++i)
            m_ids << clsTestInstallation::AddLink(
                *database, u"Shop"_s, u"Partner %1"_s.arg(i),
                {{u"Email"_s, u"p%1@partner.example"_s.arg(i)}, {u"Message"_s, 1}, {u"EmailQueue"_s, 1}});
        transaction.Commit();
        QFile file(m_installation.DatabasePath());
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no database was made");
        m_untouched = file.readAll();
    }
    [[nodiscard]] QString Home() const { return m_installation.Folder(); }
    [[nodiscard]] QString DatabasePath() const { return m_installation.DatabasePath(); }
    [[nodiscard]] scriptedSmtp& Server() { return m_server; }
    void Restore()
    {
        for (const auto& name : {u"Bramdat.mdb-journal"_s, u"Bramdat.use"_s, u"Bramdat.run"_s})
            QFile::remove(m_installation.DataPath() + name);
        QFile file(DatabasePath());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(m_untouched) != m_untouched.size())
            qFatal("the database could not be restored");
        m_forgotten = m_server.Messages().size();
    }
    /// Links, ledger and server as they stand now.
    [[nodiscard]] Links Read() const
    {
        Links links;
        const auto database = m_installation.Open();
        const auto records = database->OpenRecordset(u"tblLinkList"_s);
        for (; !records->AfterLast(); records->MoveNext())
            links[records->Field(u"ID"_s).toLongLong()].queued = records->Field(u"EmailQueue"_s).toInt() == 1;
        const auto ledger = clsSendLedger::History(*database, 0);
        for (; !ledger->AfterLast(); ledger->MoveNext()) {
            Link& link = links[ledger->Field(u"LinkID"_s).toLongLong()];
            ++link.rows;
            link.doubts += ledger->Field(u"Outcome"_s).isNull() ? 1 : 0;
        }
        const auto messages = m_server.Messages();
        for (qsizetype i = m_forgotten; i < messages.size(); ++i) {
            const QByteArray name = messages[i].recipients.value(0);
            const qsizetype at = name.indexOf("<p");
            ++links[m_ids.at(name.mid(at + 2, name.indexOf('@') - at - 2).toInt())].taken;
        }
        return links;
    }
    static qsizetype Queued(const Links& links)
    {
        return std::count_if(links.cbegin(), links.cend(), [](const Link& link) { return link.queued; });
    }
    /// The messages of which a kill has left it open whether they have arrived.
    static QList<Link> Doubtful(const Links& links)
    {
        QList<Link> doubtful;
        std::copy_if(links.cbegin(), links.cend(), std::back_inserter(doubtful),
                     [](const Link& link) { return link.queued && link.doubts > 0; });
        return doubtful;
    }
    /// What may not be, however a run ended; empty: nothing is lost or doubled.
    static QString Losses(const Links& links)
    {
        QString losses;
        for (auto it = links.cbegin(); it != links.cend(); ++it) {
            const bool doubtful = it->queued && it->doubts > 0;
            const bool right = doubtful     ? it->taken <= 1
                               : it->queued ? it->taken == 0
                                            : it->taken == 1 && it->doubts == 0;
            if (!right)
                losses += u"link %1: queued %2, in doubt %3, taken by the server %4\n"_s.arg(it.key())
                              .arg(it->queued)
                              .arg(it->doubts)
                              .arg(it->taken);
        }
        return losses;
    }

private:
    scriptedSmtp m_server;
    clsTestInstallation m_installation;
    QList<qint64> m_ids;
    QByteArray m_untouched;
    qsizetype m_forgotten = 0; ///< messages of earlier rounds
};
} // namespace

class tst_mail_kill : public QObject
{
    Q_OBJECT

private:
    /// Lets the run go on until the server has heard `commands` more commands and `moment` has passed, then kills it.
    static void KillAfter(suiteProgram& program, const scriptedSmtp& server, qsizetype commands,
                          std::chrono::microseconds moment)
    {
        const qsizetype until = server.Commands().size() + commands;
        QElapsedTimer patience;
        patience.start();
        while (server.Commands().size() < until && patience.elapsed() < 30000 &&
               !program.Process().waitForFinished(1)) {
        }
        std::this_thread::sleep_for(moment);
        program.Process().kill();
    }

private Q_SLOTS:
    void NobodyGetsAMessageTwiceOrNone()
    {
        QRandomGenerator random(suiteReport::Seed());
        mailQueue queue;

        // How many calls a whole run makes, to choose among.
        suiteProgram whole(queue.Home());
        whole.SetFault(u"count"_s, 0);
        const qsizetype before = queue.Server().Commands().size();
        const programRun counted = whole.Run({u"send"_s});
        QVERIFY2(counted.code == 0, counted.Story().constData());
        const int calls = whole.Calls();
        const auto commands = queue.Server().Commands().size() - before;
        QVERIFY2(calls > 10 * MessageCount && commands > 4 * MessageCount, qPrintable(QString::number(calls)));
        if (suiteReport::Long())
            qInfo("%d calls, %d commands", calls, static_cast<int>(commands));
        QCOMPARE(mailQueue::Losses(queue.Read()), QString());
        queue.Restore();

        // A sample. Whole: each call that changes a file up to the end of the fifth message, and every tenth after
        // that, each on a fresh queue; and as many moments as the server hears commands.
        QList<int> chosen;
        for (int call = 1; suiteReport::Long() && call <= calls; call += call <= calls / 10 ? 1 : 10)
            chosen << call;
        const int rounds = suiteReport::Long() ? static_cast<int>(chosen.size() + commands) : 12;
        int kills = 0;
        int halfway = 0;
        int doubts = 0;
        mailQueue::Links links = queue.Read();
        // On a busy machine many kills fall before the work: then there are more of them.
        const auto enough = [&](int round) {
            return round >= rounds && (halfway >= rounds / 4 || round >= 5 * rounds);
        };
        for (int round = 0; !enough(round); ++round) {
            const qsizetype queued = mailQueue::Queued(links);
            const auto doubtful = mailQueue::Doubtful(links);
            // Whoever is asked looks at the server.
            QStringList words{u"send"_s};
            if (!doubtful.isEmpty())
                words << (doubtful.first().taken > 0 ? u"--drop-in-doubt"_s : u"--resend-in-doubt"_s);
            const QString doing = u"seed %1, round %2: "_s.arg(suiteReport::Seed()).arg(round) + words.join(u' ');
            suiteProgram program(queue.Home());
            const bool everyCall = round < chosen.size();
            if (everyCall || (!suiteReport::Long() && round % 2 == 0)) {
                const int left = std::max<int>(1, static_cast<int>(calls * queued / MessageCount));
                program.SetFault(u"kill"_s, everyCall ? chosen[round] : 1 + random.bounded(left));
                program.Start(words);
            } else {
                const auto left = std::max<qsizetype>(1, commands * queued / MessageCount);
                program.Start(words);
                KillAfter(program, queue.Server(), random.bounded(static_cast<int>(left)),
                          std::chrono::microseconds(random.bounded(4000)));
            }
            const programRun run = program.Finish();
            QVERIFY2(!run.hung, (doing.toUtf8() + run.Story()).constData());
            if (run.killed)
                ++kills;
            else
                QVERIFY2(run.code == 0, (doing.toUtf8() + run.Story()).constData());

            links = queue.Read();
            const QString losses = mailQueue::Losses(links);
            QVERIFY2(losses.isEmpty(), (doing + u'\n' + losses).toUtf8() + run.Story());
            QCOMPARE(ContentOf(queue.DatabasePath()).complaint, QByteArray());
            const auto left = mailQueue::Queued(links);
            const auto inDoubt = mailQueue::Doubtful(links).size();
            // One message is on its way at a time. What was in doubt before may still be, when the kill came first.
            QVERIFY2(inDoubt <= 1, qPrintable(doing));
            doubts += inDoubt > doubtful.size() ? 1 : 0;
            halfway += left > 0 && left < queued ? 1 : 0;
            if (everyCall && inDoubt == 0 && round % 10 != 0) {
                queue.Restore();
                links = queue.Read();
                continue;
            }
            if (!everyCall && left > MessageCount / 4 && !enough(round + 1))
                continue;
            // What is left is sent by runs that nobody kills.
            if (left > 0) {
                const auto open = mailQueue::Doubtful(links);
                const bool taken = !open.isEmpty() && open.first().taken > 0;
                const programRun rest =
                    suiteProgram(queue.Home()).Run({u"send"_s, taken ? u"--drop-in-doubt"_s : u"--resend-in-doubt"_s});
                QVERIFY2(rest.code == 0, (doing.toUtf8() + rest.Story()).constData());
                links = queue.Read();
            }
            QCOMPARE(mailQueue::Queued(links), 0);
            QCOMPARE(mailQueue::Losses(links), QString());
            queue.Restore();
            links = queue.Read();
        }
        // Kills that all fall before or after the work would prove nothing.
        QVERIFY2(kills >= rounds / 2 && halfway >= rounds / 4,
                 qPrintable(u"%1 kills, %2 halfway"_s.arg(kills).arg(halfway)));
        suiteReport::Report(
            u"kill (mail)"_s,
            u"%1 kills (%2 in the middle of a run of 50 messages), 0 doubles, 0 losses, %3 in doubt"_s.arg(kills)
                .arg(halfway)
                .arg(doubts));
    }
};

QTEST_GUILESS_MAIN(tst_mail_kill)
#include "tst_mail_kill.moc"
