// SPDX-License-Identifier: GPL-3.0-or-later
// The program killed in the middle of sending mail: no partner ever gets a message twice or none, and what is not known
// is asked for, at most one message a kill.
#include "mail/clsSendLedger.h"
#include "suites/suite_program.h"
#include "support/scripted_smtp.h"
#include "support/suite_report.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int MessageCount = 50;
/// Which part of the steps a process kills at, and of how many parts.
constexpr char PartVariable[] = "BRAMBURY_MAIL_KILL_PART";
constexpr char PartMark[] = "part: ";

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
    /// Waits until the server has seen the end of everything that a dead program has sent. @return whether it has
    [[nodiscard]] bool Settled()
    {
        const QDeadlineTimer limit(30'000);
        while (m_server.Connections() > 0 && !limit.hasExpired())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        m_server.StopAt(0);
        return m_server.Connections() == 0;
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
    /// What the kills came to.
    struct Tally
    {
        int kills = 0;
        int halfway = 0; ///< when something was sent, and something not
        int doubts = 0;  ///< messages that a kill has put in doubt
        int most = 0;    ///< of them after one kill
    };
    Tally m_tally;
    // What can be killed in a whole run.
    int m_calls = 0;    ///< that change files
    int m_commands = 0; ///< that the server hears

    /// Starts a run with these words and sees to its end.
    using Kill = std::function<void(suiteProgram& program, const QStringList& words)>;

    static Kill AtCall(int number)
    {
        return [number](suiteProgram& program, const QStringList& words) {
            program.SetFault(u"kill"_s, number);
            program.Start(words);
        };
    }
    /// When the server has heard so many commands and `moment` has passed.
    static Kill AtCommand(const scriptedSmtp& server, int number, std::chrono::microseconds moment)
    {
        return [&server, number, moment](suiteProgram& program, const QStringList& words) {
            const qsizetype until = server.Heard() + number;
            program.Start(words);
            while (server.Heard() < until && !program.Process().waitForFinished(1)) {
            }
            std::this_thread::sleep_for(moment);
            program.Process().kill();
        };
    }
    /// At the command, which the server has heard and does nothing for.
    static Kill InsteadOfCommand(scriptedSmtp& server, int number)
    {
        return [&server, number](suiteProgram& program, const QStringList& words) {
            server.StopAt(server.Heard() + number);
            AtCommand(server, number, {})(program, words);
        };
    }

    /// Counts what a whole run does.
    void Count(mailQueue& queue)
    {
        suiteProgram whole(queue.Home());
        whole.SetFault(u"count"_s, 0);
        const qsizetype before = queue.Server().Heard();
        const programRun run = whole.Run({u"send"_s});
        QVERIFY2(run.code == 0, run.Story().constData());
        m_calls = whole.Calls();
        m_commands = static_cast<int>(queue.Server().Heard() - before);
        QVERIFY2(m_calls > 10 * MessageCount && m_commands > 4 * MessageCount, qPrintable(QString::number(m_calls)));
        QCOMPARE(mailQueue::Losses(queue.Read()), QString());
        queue.Restore();
    }

    /// Kills a run that begins as `links` say, and looks at what it leaves.
    void Round(mailQueue& queue, mailQueue::Links& links, const QString& what, const Kill& kill)
    {
        const auto doubtful = mailQueue::Doubtful(links);
        // Whoever is asked looks at the server.
        QStringList words{u"send"_s};
        if (!doubtful.isEmpty())
            words << (doubtful.first().taken > 0 ? u"--drop-in-doubt"_s : u"--resend-in-doubt"_s);
        const QString doing = u"seed %1, %2: "_s.arg(suiteReport::Seed()).arg(what) + words.join(u' ');
        suiteProgram program(queue.Home());
        kill(program, words);
        const programRun run = program.Finish();
        QVERIFY2(!run.hung, (doing.toUtf8() + run.Story()).constData());
        if (run.killed)
            ++m_tally.kills;
        else
            QVERIFY2(run.code == 0, (doing.toUtf8() + run.Story()).constData());
        QVERIFY2(queue.Settled(), qPrintable(doing));
        links = queue.Read();
        const QString losses = mailQueue::Losses(links);
        QVERIFY2(losses.isEmpty(), (doing + u'\n' + losses).toUtf8() + run.Story());
        // One message is on its way at a time. What was in doubt before may still be, when the kill came first.
        const int inDoubt = static_cast<int>(mailQueue::Doubtful(links).size());
        QVERIFY2(inDoubt <= 1, qPrintable(doing));
        const auto left = mailQueue::Queued(links);
        m_tally.most = std::max(m_tally.most, inDoubt);
        m_tally.doubts += inDoubt > doubtful.size() ? 1 : 0;
        m_tally.halfway += left > 0 && left < MessageCount ? 1 : 0;
    }

    /// What is left is sent by a run that nobody kills; then the queue is as it was.
    static void SendTheRest(mailQueue& queue, mailQueue::Links& links)
    {
        QCOMPARE(ContentOf(queue.DatabasePath()).complaint, QByteArray());
        if (mailQueue::Queued(links) > 0) {
            const auto open = mailQueue::Doubtful(links);
            const bool taken = !open.isEmpty() && open.first().taken > 0;
            const programRun rest =
                suiteProgram(queue.Home()).Run({u"send"_s, taken ? u"--drop-in-doubt"_s : u"--resend-in-doubt"_s});
            QVERIFY2(rest.code == 0, rest.Story().constData());
            links = queue.Read();
        }
        QCOMPARE(mailQueue::Queued(links), 0);
        QCOMPARE(mailQueue::Losses(links), QString());
        queue.Restore();
        links = queue.Read();
    }

    /// Kills runs of the whole queue at these steps: each call that changes a file, then each command of the server.
    void KillAtSteps(mailQueue& queue, const QList<int>& steps)
    {
        mailQueue::Links links = queue.Read();
        for (const int step : steps) {
            if (step < m_calls)
                Round(queue, links, u"file call %1"_s.arg(step + 1), AtCall(step + 1));
            else
                Round(queue, links, u"command %1"_s.arg(step - m_calls + 1),
                      InsteadOfCommand(queue.Server(), step - m_calls + 1));
            if (QTest::currentTestFailed())
                return;
            constexpr int one = 10;
            if (mailQueue::Doubtful(links).isEmpty() && step % one != 0) {
                queue.Restore();
                links = queue.Read();
            } else {
                SendTheRest(queue, links);
            }
        }
    }

    /// One part of all steps, in a process that KillEverywhere has started.
    void KillInPart(int part, int parts)
    {
        mailQueue queue;
        Count(queue);
        QList<int> steps;
        for (int step = part; step < m_calls + m_commands; step += parts)
            steps << step;
        KillAtSteps(queue, steps);
        std::printf("%s%d %d %d %d\n", PartMark, m_tally.kills, m_tally.halfway, m_tally.doubts, m_tally.most);
    }

    /// Kills a run at each of its steps; several at a time, since a run mostly waits.
    void KillEverywhere()
    {
        const int parts = 4 * std::max(1, QThread::idealThreadCount());
        std::vector<std::unique_ptr<QProcess>> processes;
        for (int part = 0; part < parts; ++part) {
            auto& process = *processes.emplace_back(std::make_unique<QProcess>());
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QString::fromLatin1(PartVariable), u"%1 %2"_s.arg(part).arg(parts));
            process.setProcessEnvironment(environment);
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(QTest::currentTestFunction())});
        }
        for (const auto& process : processes) {
            process->waitForFinished(-1);
            const QByteArray said = process->readAll();
            QVERIFY2(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0, said.constData());
            const qsizetype mark = said.indexOf(PartMark);
            QVERIFY2(mark >= 0, said.constData());
            const QByteArrayList numbers = said.mid(mark + qstrlen(PartMark)).split('\n').first().split(' ');
            m_tally.kills += numbers.at(0).toInt();
            m_tally.halfway += numbers.at(1).toInt();
            m_tally.doubts += numbers.at(2).toInt();
            m_tally.most = std::max(m_tally.most, numbers.at(3).toInt());
        }
    }

    /// Kills runs that begin where a killed one has ended, at any moment.
    void KillOneAfterAnother(mailQueue& queue, QRandomGenerator& random)
    {
        const int rounds = suiteReport::Long() ? 100 : 8;
        const Tally before = m_tally;
        mailQueue::Links links = queue.Read();
        // On a busy machine many kills fall before the work: then there are more of them.
        const auto enough = [&](int round) {
            return round >= rounds && (m_tally.halfway - before.halfway >= rounds / 4 || round >= 5 * rounds);
        };
        for (int round = 0; !enough(round); ++round) {
            const auto left = [&](int ofAll) {
                const auto queued = static_cast<int>(mailQueue::Queued(links));
                return random.bounded(std::max(1, ofAll * queued / MessageCount));
            };
            const QString what = u"round %1"_s.arg(round);
            if (round % 2 == 0)
                Round(queue, links, what, AtCall(1 + left(m_calls)));
            else
                Round(queue, links, what,
                      AtCommand(queue.Server(), left(m_commands), std::chrono::microseconds(random.bounded(4000))));
            if (QTest::currentTestFailed())
                return;
            if (mailQueue::Queued(links) <= MessageCount / 4 || enough(round + 1))
                SendTheRest(queue, links);
        }
        // Kills that all fall before or after the work would prove nothing.
        QVERIFY2(m_tally.kills - before.kills >= rounds / 2 && m_tally.halfway - before.halfway >= rounds / 4,
                 qPrintable(u"%1 kills, %2 halfway"_s.arg(m_tally.kills).arg(m_tally.halfway)));
    }

private Q_SLOTS:
    void NobodyGetsAMessageTwiceOrNone()
    {
        if (const QByteArrayList part = qgetenv(PartVariable).split(' '); part.size() == 2)
            return KillInPart(part[0].toInt(), part[1].toInt());

        QRandomGenerator random(suiteReport::Seed());
        mailQueue queue;
        Count(queue);
        if (QTest::currentTestFailed())
            return;
        if (suiteReport::Long()) {
            KillEverywhere();
        } else {
            QList<int> steps;
            for (int i = 0; i < 4; ++i)
                steps << random.bounded(m_calls) << m_calls + random.bounded(m_commands);
            KillAtSteps(queue, steps);
        }
        if (QTest::currentTestFailed())
            return;
        const int atSteps = m_tally.kills;
        KillOneAfterAnother(queue, random);
        if (QTest::currentTestFailed())
            return;
        suiteReport::Report(u"kill (mail)"_s,
                            u"%1 kills (%2 of the %3 file calls and %4 commands of a run of 50 messages, the others at "
                            "any moment of runs after killed ones), %5 in the middle of the work, 0 doubles, 0 losses, "
                            "%6 in doubt, at most %7 after a kill"_s.arg(m_tally.kills)
                                .arg(atSteps)
                                .arg(m_calls)
                                .arg(m_commands)
                                .arg(m_tally.halfway)
                                .arg(m_tally.doubts)
                                .arg(m_tally.most));
    }
};

QTEST_GUILESS_MAIN(tst_mail_kill)
#include "tst_mail_kill.moc"
