// SPDX-License-Identifier: GPL-3.0-or-later
// The program where its surroundings fail: no space, no permission, a file that is none of its own, a lock that stays.
// It says what happened, ends with the exit code for it, and loses nothing.
#define SQLITE_HAS_CODEC // declares sqlite3_key
#include "suites/suite_program.h"
#include "suites/suite_report.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <sqlite3.h>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int LinkCount = 8;
constexpr int Findings = 1;
constexpr int Failed = 3;

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteAll(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(path));
}

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

/// Changes the database as somebody could with the library's own tools.
void Execute(const QString& path, const char* sql)
{
    const foreignLock change(path, sql);
}
} // namespace

class tst_fault : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void WritesFailInRun_data();
    void WritesFailInRun();
    void PageFileCannotBeWritten_data() { WritesFailInRun_data(); }
    void PageFileCannotBeWritten();
    void WritesFailInQueueChange_data() { WritesFailInRun_data(); }
    void WritesFailInQueueChange();
    void WritesFailInInit_data() { WritesFailInRun_data(); }
    void WritesFailInInit();
    void WritesFailInSettings_data() { WritesFailInRun_data(); }
    void WritesFailInSettings();
    void FileSizeLimit();
    void NotWritable_data();
    void NotWritable();
    void ErrorLogCannotBeWritten();
    void LockedByAnother();
    void NotTheDatabase_data();
    void NotTheDatabase();
    void SettingsThatDoNotConvert_data();
    void SettingsThatDoNotConvert();
    void WindowWithoutItsDatabase();
    void StandardOutputFails();
    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }
    void cleanupTestCase();

private:
    /// Numbers of calls to fail: all of them, or a sample that always has the first.
    QList<int> Places(int calls, int sample);

    QRandomGenerator m_random{suiteReport::Seed()};
    int m_faults = 0;
    int m_reported = 0;
    bool m_failed = false;
};

QList<int> tst_fault::Places(int calls, int sample)
{
    QList<int> places;
    if (suiteReport::Long()) {
        for (int call = 1; call <= calls; ++call)
            places << call;
        return places;
    }
    for (int i = 0; i < sample; ++i) {
        const int from = 1 + calls * i / sample;
        const int to = 1 + calls * (i + 1) / sample;
        places << (i == 0 ? 1 : from + m_random.bounded(std::max(1, to - from)));
    }
    return places;
}

void tst_fault::WritesFailInRun_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("no space from one write on") << u"full"_s;
    QTest::newRow("one call fails") << u"io"_s;
}

void tst_fault::WritesFailInRun()
{
    QFETCH(const QString, kind);
    suiteQueue queue(LinkCount);
    const QString data = queue.Home() + u"/Data/"_s;
    suiteProgram whole(queue.Home());
    whole.SetFault(u"count"_s, 0, data);
    const programRun counted = whole.Run({u"test"_s});
    QVERIFY2(counted.code == 1, counted.Story().constData());
    const int calls = whole.Calls();
    QVERIFY2(calls > 20, qPrintable(QString::number(calls) + u" calls"_s));

    for (const int call : Places(calls, 8)) {
        queue.Restore();
        const suiteQueue::Links before = queue.Read();
        suiteProgram program(queue.Home());
        program.SetFault(kind, call, data);
        const programRun run = program.Run({u"test"_s});
        const QByteArray story = "call " + QByteArray::number(call) + ' ' + run.Story();
        ++m_faults;
        QVERIFY2(!run.hung && !run.killed, story);
        const suiteQueue::Links after = queue.Read();
        const QString losses = queue.Losses(before, after);
        QVERIFY2(losses.isEmpty(), losses.toUtf8() + story);
        QCOMPARE(suiteQueue::Integrity(queue.DatabasePath()), u"ok"_s);
        QCOMPARE(queue.HeldLocks(), QString());
        if (run.code == Failed) {
            ++m_reported;
            QVERIFY2(!run.err.isEmpty(), story);
        } else {
            // What did not hinder the work is no error.
            QVERIFY2(run.code == 1 && !ToldError(run) && suiteQueue::Queued(after) == 0, run.err + story);
        }
        if (run.out.contains("BEGIN LINK TEST SESSION"))
            QVERIFY2(run.out.contains("END LINK TEST SESSION"), story);
        const programRun rest = suiteProgram(queue.Home()).Run({u"test"_s});
        QVERIFY2(rest.code < 2 && suiteQueue::Queued(queue.Read()) == 0, story + rest.Story());
    }
}

void tst_fault::PageFileCannotBeWritten()
{
    // A page that cannot be kept counts as one that could not be had; the run goes on without a box.
    QFETCH(const QString, kind);
    suiteQueue queue(LinkCount);
    suiteProgram program(queue.Home());
    program.SetFault(kind, 2, queue.Home() + u"/$$$http.tmp"_s);
    const programRun run = program.Run({u"test"_s});
    ++m_faults;
    ++m_reported;
    QVERIFY2(run.code == Findings && run.err.isEmpty(), run.Story());
    QVERIFY2(run.out.contains("Unknown Error") && run.out.contains("END LINK TEST SESSION"), run.Story());
    const suiteQueue::Links links = queue.Read();
    QVERIFY(std::none_of(links.cbegin(), links.cend(), [](const suiteQueue::Link& link) { return link.queued; }));
}

void tst_fault::WritesFailInQueueChange()
{
    QFETCH(const QString, kind);
    const QStringList change{u"queue"_s, u"test"_s, u"--remove"_s, u"--status"_s, u"active,broken"_s};
    suiteQueue queue(LinkCount);
    const suiteQueue::Links before = queue.Read();
    suiteProgram whole(queue.Home());
    whole.SetFault(u"count"_s, 0);
    const programRun counted = whole.Run(change);
    QVERIFY2(counted.code == 0, counted.Story().constData());
    const suiteQueue::Links changed = queue.Read();
    QVERIFY(changed != before);
    for (const int call : Places(whole.Calls(), 4)) {
        queue.Restore();
        suiteProgram program(queue.Home());
        program.SetFault(kind, call);
        const programRun run = program.Run(change);
        const QByteArray story = "call " + QByteArray::number(call) + ' ' + run.Story();
        ++m_faults;
        const suiteQueue::Links after = queue.Read();
        QVERIFY2(!run.hung && !run.killed, story);
        if (run.code == Failed) {
            ++m_reported;
            QVERIFY2(!run.err.isEmpty(), story);
            QVERIFY2(after == before || after == changed, story);
        } else {
            QVERIFY2(run.code == 0 && after == changed && !ToldError(run), story);
        }
        QCOMPARE(suiteQueue::Integrity(queue.DatabasePath()), u"ok"_s);
    }
}

void tst_fault::WritesFailInInit()
{
    QFETCH(const QString, kind);
    for (const bool over : {false, true}) {
        const QStringList words = over ? QStringList{u"init"_s, u"--force"_s} : QStringList{u"init"_s};
        QTemporaryDir place;
        const QString home = place.filePath(u"home"_s);
        const QString database = home + u"/Data/Bramdat.mdb"_s;
        const auto prepare = [&] {
            QDir(home).removeRecursively();
            if (over)
                suiteProgram(home).Run({u"init"_s, u"--sample"_s});
        };
        prepare();
        const QByteArray old = ReadAll(database);
        QCOMPARE(old.isEmpty(), !over);
        suiteProgram whole(home);
        whole.SetFault(u"count"_s, 0);
        const programRun counted = whole.Run(words);
        QVERIFY2(counted.code == 0, counted.Story().constData());
        const QByteArray made = ReadAll(database);
        for (const int call : Places(whole.Calls(), 3)) {
            prepare();
            suiteProgram program(home);
            program.SetFault(kind, call);
            const programRun run = program.Run(words);
            const QByteArray story = "call " + QByteArray::number(call) + ' ' + run.Story();
            ++m_faults;
            QVERIFY2(!run.hung && !run.killed, story);
            if (run.code == 0) {
                QVERIFY2(ReadAll(database) == made, story);
                continue;
            }
            ++m_reported;
            QVERIFY2(run.code == Failed && !run.err.isEmpty(), story);
            // The database is the old one, or it is whole, or there is none.
            const QByteArray left = ReadAll(database);
            QVERIFY2(left == old || left == made, story);
            // With space again the same words do their work.
            const programRun again = suiteProgram(home).Run(words);
            QVERIFY2(again.code == 0 && ReadAll(database) == made, story + again.Story());
        }
    }
}

void tst_fault::WritesFailInSettings()
{
    QFETCH(const QString, kind);
    QTemporaryDir place;
    const QString home = place.filePath(u"home"_s);
    suiteProgram(home).Run({u"init"_s});
    QCOMPARE(
        suiteProgram(home).Run({u"settings"_s, u"set"_s, u"General"_s, u"DefaultEmail"_s, u"me@example.org"_s}).code,
        0);
    const QByteArray old = ReadAll(home + u"/Brambury.ini"_s);
    QVERIFY(!old.isEmpty());
    const QStringList words{u"settings"_s, u"set"_s, u"General"_s, u"DaysToReminder"_s, u"30"_s};
    suiteProgram whole(home);
    whole.SetFault(u"count"_s, 0);
    QCOMPARE(whole.Run(words).code, 0);
    for (const int call : Places(whole.Calls(), 2)) {
        WriteAll(home + u"/Brambury.ini"_s, old);
        suiteProgram program(home);
        program.SetFault(kind, call);
        const programRun run = program.Run(words);
        const QByteArray story = "call " + QByteArray::number(call) + ' ' + run.Story();
        ++m_faults;
        m_reported += run.code == Failed ? 1 : 0;
        const QByteArray now = ReadAll(home + u"/Brambury.ini"_s);
        const bool changed = now.contains("DaysToReminder=30");
        QVERIFY2(now.contains("me@example.org"), story + now);
        QVERIFY2(run.code == 0 ? changed : run.code == Failed && !run.err.isEmpty(), story + now);
    }
}

/// The same through the kernel's own limit instead of a library in between.
void tst_fault::FileSizeLimit()
{
    suiteQueue queue(LinkCount);
    const suiteQueue::Links before = queue.Read();
    suiteProgram program(queue.Home());
    program.InChild([] {
        std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {2048, 2048}; // less than a page of the journal
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    const programRun run = program.Run({u"test"_s});
    QVERIFY2(run.code == Failed && !run.hung, run.Story());
    QVERIFY2(run.err.contains("Error Number: \t61"), run.Story());
    QVERIFY2(run.out.contains("END LINK TEST SESSION"), run.Story());
    const suiteQueue::Links after = queue.Read();
    QCOMPARE(suiteQueue::Queued(after), LinkCount);
    QCOMPARE(queue.Losses(before, after), QString());
}

void tst_fault::NotWritable_data()
{
    QTest::addColumn<QString>("paths"); // below the home
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QList<int>>("codes");
    const QStringList test{u"test"_s};
    const QStringList queue{u"queue"_s, u"test"_s, u"--status"_s, u"active"_s, u"--remove"_s};
    QTest::newRow("database, run") << u"/Data/Bramdat.mdb"_s << test << QList<int>{Failed};
    QTest::newRow("database, queue") << u"/Data/Bramdat.mdb"_s << queue << QList<int>{Failed};
    QTest::newRow("database, list") << u"/Data/Bramdat.mdb"_s << QStringList{u"links"_s} << QList<int>{0, Failed};
    QTest::newRow("data folder, run") << u"/Data/"_s << test << QList<int>{Failed};
    QTest::newRow("data folder, list") << u"/Data/"_s << QStringList{u"links"_s} << QList<int>{0, Failed};
    QTest::newRow("everything, run") << u"/"_s << test << QList<int>{Failed};
    QTest::newRow("everything, settings")
        << u"/"_s << QStringList{u"settings"_s, u"set"_s, u"General"_s, u"DaysToReminder"_s, u"3"_s}
        << QList<int>{Failed};
    QTest::newRow("everything, init") << u"/"_s << QStringList{u"init"_s, u"--force"_s} << QList<int>{Failed};
}

void tst_fault::NotWritable()
{
    QFETCH(const QString, paths);
    QFETCH(const QStringList, words);
    QFETCH(const QList<int>, codes);
    suiteQueue queue(LinkCount);
    const suiteQueue::Links before = queue.Read();
    suiteProgram program(queue.Home());
    program.SetFault(u"locked"_s, 0, queue.Home() + paths);
    const programRun run = program.Run(words);
    ++m_faults;
    m_reported += run.code == Failed ? 1 : 0;
    QVERIFY2(codes.contains(run.code) && !run.hung, run.Story());
    QVERIFY2(run.code == 0 ? !ToldError(run) : !run.err.isEmpty(), run.Story());
    QCOMPARE(queue.Read(), before);
}

void tst_fault::ErrorLogCannotBeWritten()
{
    // A path below a file: nothing can be made there, whoever asks.
    QTemporaryDir place;
    WriteAll(place.filePath(u"file"_s), "x");
    for (const QStringList& words : {QStringList{u"init"_s}, QStringList{u"sites"_s}, QStringList{u"test"_s},
                                     QStringList{u"settings"_s, u"set"_s, u"General"_s, u"Sort"_s, u"2"_s}}) {
        const programRun run = suiteProgram(place.filePath(u"file/home"_s)).Run(words);
        ++m_faults;
        m_reported += run.code == Failed ? 1 : 0;
        QVERIFY2(run.code == Failed && !run.err.isEmpty(), words.join(u' ').toUtf8() + run.Story());
    }
    // An error that usually goes to the log alone is told when there is none.
    suiteQueue queue(LinkCount);
    QDir(queue.Home()).mkdir(u"Error.log"_s);
    WriteAll(queue.Home() + u"/Brambury.ini"_s, "[Brambury]\nGeneral\\DaysToReminder=often\n");
    const programRun run = suiteProgram(queue.Home()).Run({u"sites"_s});
    QVERIFY2(ToldError(run) && run.err.contains("Error Number: \t13"), run.Story());
    ++m_faults;
    ++m_reported;
}

void tst_fault::LockedByAnother()
{
    suiteQueue reading(LinkCount);
    suiteQueue writing(LinkCount);
    suiteQueue brief(LinkCount);
    const suiteQueue::Links before = writing.Read();
    auto everything = std::make_unique<foreignLock>(reading.DatabasePath(), "BEGIN EXCLUSIVE");
    auto writes = std::make_unique<foreignLock>(writing.DatabasePath(), "BEGIN IMMEDIATE");
    auto soonGone = std::make_unique<foreignLock>(brief.DatabasePath(), "BEGIN EXCLUSIVE");
    QElapsedTimer clock;
    clock.start();
    suiteProgram reader(reading.Home());
    suiteProgram writer(writing.Home());
    suiteProgram patient(brief.Home());
    reader.Start({u"links"_s});
    writer.Start({u"test"_s});
    patient.Start({u"test"_s});
    QTest::qWait(1000);
    soonGone.reset();

    const programRun waited = patient.Finish();
    QVERIFY2(waited.code == 1 && !ToldError(waited), waited.Story());
    const programRun read = reader.Finish();
    QVERIFY2(read.code == Failed && read.err.contains("Error Number: \t3260"), read.Story());
    const programRun written = writer.Finish();
    QVERIFY2(written.code == Failed && written.err.contains("Error Number: \t3260"), written.Story());
    QVERIFY2(written.out.contains("END LINK TEST SESSION"), written.Story());
    QVERIFY2(clock.elapsed() >= 4500, "the lock was not waited for");
    m_faults += 3;
    m_reported += 2;
    everything.reset();
    writes.reset();
    QCOMPARE(writing.Losses(before, writing.Read()), QString());
}

void tst_fault::NotTheDatabase_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<int>("error"); // 0: any, where the library decides how it sees the damage
    QTest::newRow("empty") << u"empty"_s << 0;
    QTest::newRow("text") << u"text"_s << 3031;
    QTest::newRow("another program's database") << u"foreign"_s << 3031;
    QTest::newRow("another password") << u"password"_s << 3031;
    QTest::newRow("cut in the first page") << u"cut 700"_s << 0;
    QTest::newRow("cut in the middle") << u"cut middle"_s << 0;
    QTest::newRow("overwritten in the middle") << u"overwritten"_s << 0;
    QTest::newRow("no links") << u"DROP TABLE tblLinkList"_s << 3265;
    QTest::newRow("no sites") << u"DROP TABLE tblSites"_s << 3265;
    QTest::newRow("no queries") << u"DROP TABLE tblQueries"_s << 0;
    QTest::newRow("no query for the run") << u"DELETE FROM tblQueries WHERE Name = 'qryTestLinks'"_s << 3265;
    QTest::newRow("a query that is none") << u"UPDATE tblQueries SET SQL = 'SELEKT 1'"_s << 0;
    QTest::newRow("no message types") << u"DROP TABLE tblMailType"_s << 3265;
}

void tst_fault::NotTheDatabase()
{
    QFETCH(const QString, damage);
    QFETCH(const int, error);
    suiteQueue queue(LinkCount);
    const QString path = queue.DatabasePath();
    QByteArray content = ReadAll(path);
    if (damage == u"empty"_s)
        WriteAll(path, {});
    else if (damage == u"text"_s)
        WriteAll(path, QByteArray("This is no database at all.\r\n").repeated(200));
    else if (damage == u"foreign"_s)
        WriteAll(path, QByteArray::fromHex("00010000") + "Standard Jet DB" + QByteArray(65536, '\0'));
    else if (damage == u"password"_s)
        Execute(path, "PRAGMA rekey = 'another'");
    else if (damage == u"cut 700"_s)
        WriteAll(path, content.left(700));
    else if (damage == u"cut middle"_s)
        WriteAll(path, content.left(content.size() / 2));
    else if (damage == u"overwritten"_s)
        WriteAll(path, content.replace(1024, content.size() - 2048, QByteArray(content.size() - 2048, 'x')));
    else
        Execute(path, damage.toUtf8().constData());

    const QByteArray damaged = ReadAll(path);
    QByteArray stories;
    int failed = 0;
    bool named = false;
    for (const QStringList& words :
         {QStringList{u"test"_s}, QStringList{u"sites"_s}, QStringList{u"links"_s}, QStringList{u"categories"_s},
          QStringList{u"templates"_s}, QStringList{u"queue"_s, u"test"_s, u"--status"_s, u"active"_s}}) {
        const bool readsOnly = words.size() == 1 && words.first() != u"test"_s;
        const programRun run = suiteProgram(queue.Home()).Run(words);
        const QByteArray story = words.join(u' ').toUtf8() + ' ' + run.Story();
        stories += story;
        ++m_faults;
        QVERIFY2(!run.hung && !run.killed && run.code <= Failed, story);
        // Told or done: never half of both.
        QVERIFY2(run.code == Failed ? !run.err.isEmpty() : !ToldError(run), run.err + story);
        // Without the message types the links can still be tested: the error is told, and the work is done.
        const bool workable = damage.contains(u"tblMailType"_s);
        if ((run.code == Failed && !workable) || readsOnly)
            QVERIFY2(ReadAll(path) == damaged, story);
        WriteAll(path, damaged);
        failed += run.code == Failed ? 1 : 0;
        named = named || run.err.contains("Error Number: \t" + QByteArray::number(error));
        // A run that has begun says where it ended.
        QCOMPARE(run.out.contains("BEGIN LINK TEST"), run.out.contains("END LINK TEST"));
    }
    m_reported += failed;
    QVERIFY2(failed > 0, stories);
    QVERIFY2(error == 0 || named, stories);
}

void tst_fault::SettingsThatDoNotConvert_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QByteArray>("logged");
    QTest::newRow("text for a number") << QByteArray("[Brambury]\nGeneral\\DaysToReminder=often\n")
                                       << QByteArray("\"13\"");
    QTest::newRow("too large") << QByteArray("[Brambury]\nGeneral\\BCC=40000\n") << QByteArray("\"6\"");
    QTest::newRow("no time-out") << QByteArray("[Brambury]\nNetwork\\Timeout=\n") << QByteArray("\"13\"");
    QTest::newRow("port out of range") << QByteArray("[Brambury]\nGeneral\\DefaultMailPort=70000\n")
                                       << QByteArray("\"6\"");
    QTest::newRow("not a settings file") << QByteArray(5000, '\xff') << QByteArray();
}

void tst_fault::SettingsThatDoNotConvert()
{
    QFETCH(const QByteArray, settings);
    QFETCH(const QByteArray, logged);
    suiteQueue queue(2);
    const QString file = queue.Home() + u"/Brambury.ini"_s;
    const QString log = queue.Home() + u"/Error.log"_s;
    WriteAll(file, settings);
    for (const QStringList& words : {QStringList{u"sites"_s}, QStringList{u"test"_s}}) {
        QFile::remove(log);
        const programRun run = suiteProgram(queue.Home()).Run(words);
        const QByteArray story = words.join(u' ').toUtf8() + ' ' + run.Story();
        ++m_faults;
        QVERIFY2(!run.hung && !run.killed, story);
        if (!logged.isEmpty()) {
            ++m_reported;
            QVERIFY2(run.code == Failed && !run.err.isEmpty(), story);
            QVERIFY2(ReadAll(log).contains(logged), story);
        }
        QCOMPARE(ReadAll(file), settings); // what is there can still be put right
    }
}

void tst_fault::WindowWithoutItsDatabase()
{
    suiteQueue queue(2);
    WriteAll(queue.DatabasePath(), QByteArray("This is no database at all.\r\n").repeated(200));
    suiteProgram window(queue.Home());
    window.Start({});
    QTRY_VERIFY2_WITH_TIMEOUT(ReadAll(queue.Home() + u"/Error.log"_s).contains("\"3031\""), "the error was not logged",
                              20000);
    // The error window waits for its button; told to end, it waits no longer.
    window.Process().terminate();
    const programRun run = window.Finish();
    ++m_faults;
    ++m_reported;
    QVERIFY2(!run.hung && run.code == Failed, run.Story());
    QVERIFY(!QFile::exists(queue.Home() + u"/Brambury.ini"_s));
}

void tst_fault::StandardOutputFails()
{
    suiteQueue queue(LinkCount);
    const suiteQueue::Links before = queue.Read();
    // A full disk behind the redirection: the work is done, and the exit code says that its report is not.
    suiteProgram full(queue.Home());
    full.Process().setStandardOutputFile(u"/dev/full"_s);
    const programRun run = full.Run({u"test"_s});
    QVERIFY2(run.code == Failed && !run.err.isEmpty(), run.Story());
    suiteQueue::Links after = queue.Read();
    QCOMPARE(queue.Losses(before, after), QString());
    QCOMPARE(suiteQueue::Queued(after), 0);

    // A reader that goes away in the middle of the log.
    queue.Restore();
    suiteProgram unread(queue.Home());
    unread.Start({u"test"_s});
    QVERIFY(unread.Process().waitForStarted());
    unread.Process().closeReadChannel(QProcess::StandardOutput);
    const programRun alone = unread.Finish();
    QVERIFY2(!alone.hung && !alone.killed, alone.Story());
    after = queue.Read();
    QCOMPARE(queue.Losses(before, after), QString());
    QCOMPARE(suiteQueue::Integrity(queue.DatabasePath()), u"ok"_s);
    m_faults += 2;
    ++m_reported;
}

void tst_fault::cleanupTestCase()
{
    if (m_failed)
        return;
    suiteReport::Report(
        u"fault"_s,
        u"%1 faults, %2 of them hindered the work and were reported, 0 losses"_s.arg(m_faults).arg(m_reported));
}

QTEST_GUILESS_MAIN(tst_fault)
#include "tst_fault.moc"
