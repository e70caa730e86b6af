// SPDX-License-Identifier: GPL-3.0-or-later
// The program killed in the middle of a link test: what it had judged is kept, what it had not is still queued, and the
// next run goes on from there.
#include "suites/suite_program.h"
#include "support/suite_report.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>
#include <chrono>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int LinkCount = 60;

/// How many links a log says have been begun.
int Begun(const QByteArray& log)
{
    return static_cast<int>(log.count("reference to Shop\n"));
}
} // namespace

class tst_kill : public QObject
{
    Q_OBJECT

private:
    /// Waits until the run has told `lines` lines of its log and `moment` has passed, or until it has ended.
    static void KillAfter(suiteProgram& program, int lines, std::chrono::microseconds moment, QByteArray& log)
    {
        QProcess& process = program.Process();
        QElapsedTimer patience;
        patience.start();
        while (log.count('\n') < lines && process.state() != QProcess::NotRunning && patience.elapsed() < 30000) {
            process.waitForReadyRead(1000);
            log += process.readAllStandardOutput();
        }
        std::this_thread::sleep_for(moment);
        process.kill();
    }

    static QString LossesOf(const suiteQueue& queue, const suiteQueue::Links& before, const suiteQueue::Links& after,
                            const QByteArray& log)
    {
        QString losses = queue.Losses(before, after);
        // Verdicts reach the file together, some at a time: fewer than the log speaks of, never more.
        const int judged = suiteQueue::Queued(before) - suiteQueue::Queued(after);
        if (const int begun = Begun(log); judged > begun)
            losses += u"%1 links were begun and %2 verdicts kept\n"_s.arg(begun).arg(judged);
        if (const QByteArray complaint = ContentOf(queue.DatabasePath()).complaint; !complaint.isEmpty())
            losses += u"integrity: "_s + QString::fromUtf8(complaint) + u'\n';
        if (const QString locks = queue.HeldLocks(); !locks.isEmpty())
            losses += u"still locked: "_s + locks + u'\n';
        return losses;
    }

private Q_SLOTS:
    void KilledRunsLoseNothing()
    {
        const int rounds = suiteReport::Long() ? 300 : 10;
        QRandomGenerator random(suiteReport::Seed());
        suiteQueue queue(LinkCount);

        // How many calls a whole run makes, to choose among.
        suiteProgram whole(queue.Home());
        whole.SetFault(u"count"_s, 0);
        const programRun counted = whole.Run({u"test"_s});
        QVERIFY2(counted.code == 1, counted.Story().constData());
        const int calls = whole.Calls();
        QVERIFY2(calls > 20, qPrintable(QString::number(calls) + u" calls"_s));
        queue.Restore();

        int kills = 0;
        int halfway = 0;
        suiteQueue::Links before = queue.Read();
        // On a busy machine many kills fall before the work: then there are more of them.
        const auto enough = [&](int round) {
            return round >= rounds && (halfway >= rounds / 4 || round >= 5 * rounds);
        };
        for (int round = 0; !enough(round); ++round) {
            suiteProgram program(queue.Home());
            QByteArray log;
            const int queued = suiteQueue::Queued(before);
            const QString doing = u"seed %1, round %2"_s.arg(suiteReport::Seed()).arg(round);
            if (round % 2 == 0) {
                // At a chosen call: half a page written, a journal not yet deleted.
                program.SetFault(u"kill"_s, 1 + random.bounded(std::max(1, calls * queued / LinkCount)));
                program.Start({u"test"_s});
            } else {
                // From outside, at any time: while starting, waiting, searching.
                const int lines = random.bounded(2 * queued);
                const std::chrono::microseconds moment(random.bounded(lines == 0 ? 300000 : 8000));
                program.Start({u"test"_s});
                KillAfter(program, lines, moment, log);
            }
            programRun run = program.Finish();
            run.out.prepend(log);
            QVERIFY2(!run.hung, (doing.toUtf8() + run.Story()).constData());
            if (!run.killed) { // it was faster than the kill
                QVERIFY2(run.code == 1 || run.code == 0, (doing.toUtf8() + run.Story()).constData());
            } else {
                ++kills;
            }
            const suiteQueue::Links after = queue.Read();
            const QString losses = LossesOf(queue, before, after, run.out);
            QVERIFY2(losses.isEmpty(), (doing + u'\n' + losses).toUtf8() + run.Story());
            const int left = suiteQueue::Queued(after);
            halfway += left > 0 && left < queued ? 1 : 0;
            before = after;
            if (left > LinkCount / 4 && !enough(round + 1))
                continue;
            // What is left is finished by a run that nobody kills.
            const programRun rest = suiteProgram(queue.Home()).Run({u"test"_s});
            QVERIFY2(rest.code == 1 || (left == 0 && rest.code == 0), (doing.toUtf8() + rest.Story()).constData());
            const suiteQueue::Links finished = queue.Read();
            QCOMPARE(suiteQueue::Queued(finished), 0);
            const QString lost = queue.Losses(before, finished);
            QVERIFY2(lost.isEmpty(), qPrintable(doing + u'\n' + lost));
            queue.Restore();
            before = queue.Read();
        }
        // Kills that all fall before or after the work would prove nothing.
        QVERIFY2(kills >= rounds / 2 && halfway >= rounds / 4,
                 qPrintable(u"%1 kills, %2 halfway"_s.arg(kills).arg(halfway)));
        suiteReport::Report(u"kill"_s, u"%1 kills (%2 in the middle of a run), 0 losses"_s.arg(kills).arg(halfway));
    }
};

QTEST_GUILESS_MAIN(tst_kill)
#include "tst_kill.moc"
