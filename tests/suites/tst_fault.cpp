// SPDX-License-Identifier: GPL-3.0-or-later
// The program where its surroundings fail: no space, no permission, a file that is none of its own, a lock that stays.
// It says what happened, ends with the exit code for it, and loses nothing.
#define SQLITE_HAS_CODEC // declares sqlite3_key
#include "suites/suite_program.h"
#include "support/files.h"
#include "support/suite_report.h"
#include "support/table.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <functional>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int LinkCount = 8;
constexpr int Failed = 3;

bool ToldError(const programRun& run)
{
    return run.err.contains("An error has occured in this application.");
}

/// Another program's hold on the database file.
class foreignLock
{
public:
    foreignLock(const QString& path, const char* begin)
    {
        sqlite3_open_v2(path.toUtf8().constData(), &m_handle, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_key(m_handle, "SandDune", 8);
        if (sqlite3_exec(m_handle, begin, nullptr, nullptr, nullptr) != SQLITE_OK)
            qFatal("%s: %s", begin, sqlite3_errmsg(m_handle));
    }
    ~foreignLock() { sqlite3_close(m_handle); }
    foreignLock(const foreignLock&) = delete;
    foreignLock& operator=(const foreignLock&) = delete;

private:
    sqlite3* m_handle = nullptr;
};

QByteArray CallStory(const QString& call, const programRun& run)
{
    return call.toUtf8() + ' ' + run.Story();
}
} // namespace

class tst_fault : public QObject
{
    Q_OBJECT

private:
    /// A command whose calls fail one after the other.
    struct Job
    {
        QString home;
        QStringList words;
        int usualCode;
        int sample;
        QString paths = {};            ///< below which calls fail; empty: the whole home
        std::function<void()> prepare; ///< before each run
        std::function<void()> whole;   ///< after the run without a fault
        std::function<void(const programRun& run, const QByteArray& story)> check; ///< after each other one
    };

    QRandomGenerator m_random{suiteReport::Seed()};
    int m_faults = 0;
    int m_reported = 0;
    bool m_failed = false;

    void Count(const programRun& run)
    {
        ++m_faults;
        m_reported += run.code == Failed ? 1 : 0;
    }
    /// Numbers of calls to fail: all of them, or a sample that always has the first.
    QList<int> Places(int calls, int sample)
    {
        QList<int> places;
        for (int call = 1; suiteReport::Long() && call <= calls; ++call)
            places << call;
        for (int i = 0; !suiteReport::Long() && i < sample; ++i) {
            const int from = 1 + calls * i / sample;
            const int to = 1 + calls * (i + 1) / sample;
            places << (i == 0 ? 1 : from + m_random.bounded(std::max(1, to - from)));
        }
        return places;
    }
    void FailCalls(const QString& kind, const Job& job)
    {
        job.prepare();
        suiteProgram whole(job.home);
        whole.SetFault(u"count"_s, 0, job.paths);
        const programRun counted = whole.Run(job.words);
        QVERIFY2(counted.code == job.usualCode && whole.Calls() > 2, counted.Story());
        job.whole();
        for (const int call : Places(whole.Calls(), job.sample)) {
            job.prepare();
            suiteProgram program(job.home);
            program.SetFault(kind, call, job.paths);
            const programRun run = program.Run(job.words);
            const QByteArray story = CallStory(u"call %1"_s.arg(call), run);
            Count(run);
            QVERIFY2(!run.hung && !run.killed, story);
            // Told or done: what did not hinder the work is no error.
            QVERIFY2(run.code == Failed ? !run.err.isEmpty() : run.code == job.usualCode && !ToldError(run), story);
            job.check(run, story);
            if (QTest::currentTestFailed())
                return;
        }
    }
    static void Kinds()
    {
        const testTable<QString> row;
        row("no space from one write on", u"full"_s);
        row("one call fails", u"io"_s);
    }

private Q_SLOTS:
    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }

    void WritesFailInRun_data() { Kinds(); }
    void WritesFailInRun()
    {
        const auto [kind] = testRow<QString>();
        suiteQueue queue(LinkCount);
        suiteQueue::Links before;
        const auto prepare = [&] {
            queue.Restore();
            before = queue.Read();
        };
        const auto check = [&](const programRun& run, const QByteArray& story) {
            const suiteQueue::Links after = queue.Read();
            const QString losses = queue.Losses(before, after);
            QVERIFY2(losses.isEmpty(), losses.toUtf8() + story);
            QCOMPARE(ContentOf(queue.DatabasePath()).complaint, QByteArray());
            QCOMPARE(queue.HeldLocks(), QString());
            QVERIFY2(run.code == Failed || suiteQueue::Queued(after) == 0, story);
            QVERIFY2(run.out.contains("BEGIN LINK TEST") == run.out.contains("END LINK TEST"), story);
            const programRun rest = suiteProgram(queue.Home()).Run({u"test"_s});
            QVERIFY2(rest.code < 2 && suiteQueue::Queued(queue.Read()) == 0, story + rest.Story());
        };
        FailCalls(kind, {.home = queue.Home(),
                         .words = {u"test"_s},
                         .usualCode = 1,
                         .sample = 8,
                         .paths = queue.Home() + u"/Data/"_s,
                         .prepare = prepare,
                         .whole = [] {},
                         .check = check});

        // A page that cannot be kept counts as one that could not be had; the run goes on without a box.
        queue.Restore();
        suiteProgram program(queue.Home());
        program.SetFault(kind, 2, queue.Home() + u"/$$$http.tmp"_s);
        const programRun run = program.Run({u"test"_s});
        ++m_faults;
        ++m_reported;
        QVERIFY2(run.code == 1 && run.err.isEmpty(), run.Story());
        QVERIFY2(run.out.contains("Unknown Error") && run.out.contains("END LINK TEST SESSION"), run.Story());
        QCOMPARE(suiteQueue::Queued(queue.Read()), 0);
    }

    void WritesFailInInit_data() { Kinds(); }
    void WritesFailInInit()
    {
        const auto [kind] = testRow<QString>();
        for (const bool over : {false, true}) {
            const QTemporaryDir place;
            const QString home = place.filePath(u"home"_s);
            const QString database = home + u"/Data/Bramdat.mdb"_s;
            const QStringList words = over ? QStringList{u"init"_s, u"--force"_s} : QStringList{u"init"_s};
            QByteArray old;
            QByteArray made;
            const auto prepare = [&] {
                QDir(home).removeRecursively();
                if (over)
                    suiteProgram(home).Run({u"init"_s, u"--sample"_s});
                old = ReadAll(database);
            };
            const auto check = [&](const programRun& run, const QByteArray& story) {
                // The database is the old one, or it is whole, or there is none.
                const QByteArray left = ReadAll(database);
                QVERIFY2(left == made || (run.code == Failed && left == old), story);
                // With space again the same words do their work.
                if (run.code != Failed)
                    return;
                const programRun again = suiteProgram(home).Run(words);
                QVERIFY2(again.code == 0 && ReadAll(database) == made, story + again.Story());
            };
            FailCalls(kind, {.home = home,
                             .words = words,
                             .usualCode = 0,
                             .sample = 3,
                             .prepare = prepare,
                             .whole = [&] { made = ReadAll(database); },
                             .check = check});
            QCOMPARE(old.isEmpty(), !over);
        }
    }

    void WritesFailInSettings_data() { Kinds(); }
    void WritesFailInSettings()
    {
        const auto [kind] = testRow<QString>();
        const QTemporaryDir place;
        const QString home = place.filePath(u"home"_s);
        const QString file = home + u"/Brambury.ini"_s;
        const QStringList set{u"settings"_s, u"set"_s, u"General"_s};
        suiteProgram(home).Run({u"init"_s});
        suiteProgram(home).Run(set + QStringList{u"DefaultEmail"_s, u"me@example.org"_s});
        const QByteArray old = ReadAll(file);
        QVERIFY(old.contains("me@example.org"));
        const auto check = [&](const programRun& run, const QByteArray& story) {
            const QByteArray now = ReadAll(file);
            QVERIFY2(now.contains("me@example.org"), story + now);
            QVERIFY2(run.code == Failed || now.contains("DaysToReminder=30"), story + now);
        };
        FailCalls(kind, {.home = home,
                         .words = set + QStringList{u"DaysToReminder"_s, u"30"_s},
                         .usualCode = 0,
                         .sample = 6,
                         .prepare = [&] { WriteAll(file, old); },
                         .whole = [] {},
                         .check = check});
    }

    void NotWritable_data()
    {
        const testTable<QString, QString, bool> row; // path below the home, words, whether they only read
        row("database, run", u"/Data/Bramdat.mdb"_s, u"test"_s, false);
        row("database, queue", u"/Data/Bramdat.mdb"_s, u"queue test --status active --remove"_s, false);
        row("database, list", u"/Data/Bramdat.mdb"_s, u"links"_s, true);
        row("data folder, run", u"/Data/"_s, u"test"_s, false);
        row("data folder, list", u"/Data/"_s, u"links"_s, true);
        row("everything, run", u"/"_s, u"test"_s, false);
        row("everything, settings", u"/"_s, u"settings set General DaysToReminder 3"_s, false);
        row("everything, init", u"/"_s, u"init --force"_s, false);
    }
    void NotWritable()
    {
        const auto [path, words, reads] = testRow<QString, QString, bool>();
        suiteQueue queue(LinkCount);
        const suiteQueue::Links before = queue.Read();
        suiteProgram program(queue.Home());
        program.SetFault(u"locked"_s, 0, queue.Home() + path);
        const programRun run = program.Run(words.split(u' '));
        Count(run);
        QVERIFY2((run.code == Failed || (reads && run.code == 0)) && !run.hung, run.Story());
        QVERIFY2(run.code == 0 ? !ToldError(run) : !run.err.isEmpty(), run.Story());
        QCOMPARE(queue.Read(), before);
    }

    void ErrorLogCannotBeWritten()
    {
        // A path below a file: nothing can be made there, whoever asks.
        const QTemporaryDir place;
        WriteAll(place.filePath(u"file"_s), "x");
        for (const auto& words : {u"init"_s, u"sites"_s, u"test"_s, u"settings set General Sort 2"_s}) {
            const programRun run = suiteProgram(place.filePath(u"file/home"_s)).Run(words.split(u' '));
            Count(run);
            QVERIFY2(run.code == Failed && !run.err.isEmpty(), CallStory(words, run));
        }
        // An error that usually goes to the log alone is told when there is none; settings can still be put right.
        suiteQueue queue(2);
        QDir(queue.Home()).mkdir(u"Error.log"_s);
        WriteAll(queue.Home() + u"/Brambury.ini"_s, "[Brambury]\nGeneral\\DaysToReminder=often\n");
        const programRun run = suiteProgram(queue.Home()).Run({u"sites"_s});
        Count(run);
        QVERIFY2(ToldError(run) && run.err.contains("Error Number: \t13"), run.Story());
        QVERIFY(ReadAll(queue.Home() + u"/Brambury.ini"_s).contains("often"));
    }

    void LockedByAnother()
    {
        suiteQueue reading(LinkCount);
        suiteQueue writing(LinkCount);
        suiteQueue brief(LinkCount);
        suiteQueue whole(LinkCount);
        const suiteQueue::Links before = writing.Read();
        const QByteArray untouched = ReadAll(whole.DatabasePath());
        auto everything = std::make_unique<foreignLock>(reading.DatabasePath(), "BEGIN EXCLUSIVE");
        auto writes = std::make_unique<foreignLock>(writing.DatabasePath(), "BEGIN IMMEDIATE");
        auto unfinished = std::make_unique<foreignLock>(whole.DatabasePath(), "BEGIN IMMEDIATE");
        auto soonGone = std::make_unique<foreignLock>(brief.DatabasePath(), "BEGIN EXCLUSIVE");
        QElapsedTimer clock;
        clock.start();
        suiteProgram reader(reading.Home());
        suiteProgram writer(writing.Home());
        suiteProgram patient(brief.Home());
        suiteProgram compacter(whole.Home());
        reader.Start({u"links"_s});
        writer.Start({u"test"_s});
        patient.Start({u"test"_s});
        compacter.Start({u"compact"_s});
        QTest::qWait(1000);
        soonGone.reset();

        const programRun waited = patient.Finish();
        QVERIFY2(waited.code == 1 && !ToldError(waited), waited.Story());
        const programRun read = reader.Finish();
        QVERIFY2(read.code == Failed && read.err.contains("Error Number: \t3260"), read.Story());
        const programRun written = writer.Finish();
        QVERIFY2(written.code == Failed && written.err.contains("Error Number: \t3260"), written.Story());
        QVERIFY2(written.out.contains("END LINK TEST SESSION"), written.Story());
        // What another program has not finished is not left behind in the old file.
        const programRun compacted = compacter.Finish();
        QVERIFY2(compacted.code == Failed && compacted.err.contains("Error Number: \t3260"), compacted.Story());
        QCOMPARE(ReadAll(whole.DatabasePath()), untouched);
        QVERIFY2(clock.elapsed() >= 4500, "the lock was not waited for");
        for (const programRun& run : {waited, read, written, compacted})
            Count(run);
        everything.reset();
        writes.reset();
        QCOMPARE(writing.Losses(before, writing.Read()), QString());
    }

    void NotTheDatabase_data()
    {
        using Damage = std::function<QByteArray(QByteArray)>;
        const testTable<Damage, QString, int> row; // bytes, or statement; error, 0: as the library sees the damage
        const auto bytes = [](const QByteArray& content) { return [content](const QByteArray&) { return content; }; };
        row("empty", bytes({}), {}, 0);
        row("text", bytes(QByteArray("This is no database at all.\r\n").repeated(200)), {}, 3031);
        row("another program's database",
            bytes(QByteArray::fromHex("00010000") + "Standard Jet DB" + QByteArray(65536, '\0')), {}, 3031);
        row(
            "cut in the first page", [](const QByteArray& whole) { return whole.left(700); }, {}, 0);
        row(
            "cut in the middle", [](const QByteArray& whole) { return whole.left(whole.size() / 2); }, {}, 0);
        row(
            "overwritten in the middle",
            [](QByteArray whole) {
                return whole.replace(1024, whole.size() - 2048, QByteArray(whole.size() - 2048, 'x'));
            },
            {}, 0);
        row("another password", {}, u"PRAGMA rekey = 'another'"_s, 3031);
        row("no links", {}, u"DROP TABLE tblLinkList"_s, 3265);
        row("no sites", {}, u"DROP TABLE tblSites"_s, 3265);
        row("no queries", {}, u"DROP TABLE tblQueries"_s, 0);
        row("no query for the run", {}, u"DELETE FROM tblQueries WHERE Name = 'qryTestLinks'"_s, 3265);
        row("a query that is none", {}, u"UPDATE tblQueries SET SQL = 'SELEKT 1'"_s, 0);
        row("no message types", {}, u"DROP TABLE tblMailType"_s, 3265);
    }
    void NotTheDatabase()
    {
        using Damage = std::function<QByteArray(QByteArray)>;
        const auto [damage, statement, error] = testRow<Damage, QString, int>();
        suiteQueue queue(LinkCount);
        const QString path = queue.DatabasePath();
        if (damage)
            WriteAll(path, damage(ReadAll(path)));
        else
            foreignLock(path, statement.toUtf8().constData()); // with the library's own tools

        const QByteArray damaged = ReadAll(path);
        QByteArray stories;
        int failed = 0;
        bool named = false;
        for (const auto& words :
             {u"test"_s, u"sites"_s, u"links"_s, u"categories"_s, u"templates"_s, u"queue test --status active"_s}) {
            const programRun run = suiteProgram(queue.Home()).Run(words.split(u' '));
            const QByteArray story = CallStory(words, run);
            stories += story;
            Count(run);
            QVERIFY2(!run.hung && !run.killed && run.code <= Failed, story);
            QVERIFY2(run.code == Failed ? !run.err.isEmpty() : !ToldError(run), story);
            // Without the message types the links can still be tested: the error is told, and the work is done.
            const bool workable = statement.contains(u"tblMailType"_s);
            if ((run.code == Failed && !workable) || !words.contains(u"test"_s))
                QVERIFY2(ReadAll(path) == damaged, story);
            WriteAll(path, damaged);
            failed += run.code == Failed ? 1 : 0;
            named = named || run.err.contains("Error Number: \t" + QByteArray::number(error));
            QCOMPARE(run.out.contains("BEGIN LINK TEST"), run.out.contains("END LINK TEST"));
        }
        QVERIFY2(failed > 0 && (error == 0 || named), stories);
    }

    void WindowWithoutItsDatabase()
    {
        suiteQueue queue(2);
        WriteAll(queue.DatabasePath(), QByteArray("This is no database at all.\r\n").repeated(200));
        suiteProgram window(queue.Home());
        window.Start({});
        // It asks whether to mend the file, which it has for itself. Told to end, it asks no longer.
        QTRY_VERIFY2_WITH_TIMEOUT(!queue.HeldLocks().isEmpty(), "the file was not opened", 20000);
        window.Process().terminate();
        const programRun run = window.Finish();
        Count(run);
        QVERIFY2(!run.hung && run.code == Failed, run.Story());
        QVERIFY(!QFile::exists(queue.Home() + u"/Brambury.ini"_s));
    }

    void StandardOutputFails()
    {
        suiteQueue queue(LinkCount);
        const suiteQueue::Links before = queue.Read();
        // A full disk behind the redirection: the work is done, and the exit code says that its report is not.
        suiteProgram full(queue.Home());
        full.Process().setStandardOutputFile(u"/dev/full"_s);
        const programRun run = full.Run({u"test"_s});
        Count(run);
        QVERIFY2(run.code == Failed && !run.err.isEmpty(), run.Story());
        QCOMPARE(queue.Losses(before, queue.Read()), QString());
        QCOMPARE(suiteQueue::Queued(queue.Read()), 0);

        // A reader that goes away in the middle of the log.
        queue.Restore();
        suiteProgram unread(queue.Home());
        unread.Start({u"test"_s});
        QVERIFY(unread.Process().waitForStarted());
        unread.Process().closeReadChannel(QProcess::StandardOutput);
        const programRun alone = unread.Finish();
        Count(alone);
        QVERIFY2(!alone.hung && !alone.killed, alone.Story());
        QCOMPARE(queue.Losses(before, queue.Read()), QString());
        QCOMPARE(ContentOf(queue.DatabasePath()).complaint, QByteArray());
    }

    void cleanupTestCase()
    {
        if (!m_failed)
            suiteReport::Report(
                u"fault"_s,
                u"%1 faults, %2 of them hindered the work and were reported, 0 losses"_s.arg(m_faults).arg(m_reported));
    }
};

QTEST_GUILESS_MAIN(tst_fault)
#include "tst_fault.moc"
