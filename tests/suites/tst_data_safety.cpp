// SPDX-License-Identifier: GPL-3.0-or-later
// The database file while it is compacted, repaired, backed up, restored and rescued: the process killed at any call
// that changes a file, and every such call failing. Afterwards there is the old state or the new one, whole, under a
// name that the program knows.
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "suites/suite_program.h"
#include "support/files.h"
#include "support/suite_report.h"
#include "support/table.h"

#include <QCryptographicHash>
#include <QDir>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Failed = 3;
constexpr int InUse = 4;

/// Everything that a database file holds as one short text; "none" without a file, and what is wrong with one that is
/// not sound.
QByteArray StateOf(const QString& path)
{
    const fileContent content = ContentOf(path);
    if (!content.complaint.isEmpty())
        return content.complaint;
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (auto table = content.tables.cbegin(); table != content.tables.cend(); ++table)
        hash.addData(table.key() + table->join('\n'));
    return hash.result().toHex();
}

/// A piece of work, the files that it starts from, and what may be there when it was cut short.
struct Work
{
    QString name;
    QStringList words;
    bool old = false;      ///< an older state is in the folder Backup
    bool dated = false;    ///< an older state is among the dated backups
    bool damaged = false;  ///< some of the database's rows cannot be read
    bool leftOver = false; ///< the older state is there under the temporary name too
    bool missing = false;  ///< the database is there under its temporary name alone
};

const QList<Work>& Works()
{
    static const QList<Work> works{
        {.name = u"compact"_s, .words = {u"compact"_s}},
        {.name = u"repair"_s, .words = {u"repair"_s}},
        {.name = u"repair, damaged"_s, .words = {u"repair"_s}, .damaged = true},
        {.name = u"backup"_s, .words = {u"backup"_s}, .old = true},
        {.name = u"backup by date"_s, .words = {u"backup"_s}, .dated = true},
        {.name = u"restore"_s, .words = {u"restore"_s}, .old = true},
        {.name = u"restore, damaged"_s, .words = {u"restore"_s}, .old = true, .damaged = true},
        {.name = u"rescue"_s, .words = {u"rescue"_s}, .missing = true},
        {.name = u"rescue, both"_s, .words = {u"rescue"_s}, .leftOver = true},
        {.name = u"save"_s, .words = {u"queue"_s, u"test"_s, u"--remove"_s, u"--status"_s, u"broken"_s}},
    };
    return works;
}
} // namespace

class tst_data_safety : public QObject
{
    Q_OBJECT

private:
    clsTestInstallation m_installation;
    QByteArray m_old;     ///< an older state of the database, as a file
    QByteArray m_now;     ///< the state of today
    QByteArray m_damaged; ///< today's with a page that cannot be read
    QRandomGenerator m_random{suiteReport::Seed()};
    QMap<QString, int> m_points; ///< by "work, kind"
    bool m_failed = false;

    [[nodiscard]] QString Database() const { return m_installation.DatabasePath(); }
    [[nodiscard]] QString Temporary() const { return m_installation.DataPath() + u"_Bramdat.mdb"_s; }
    [[nodiscard]] QString BackupFile() const { return m_installation.Folder() + u"/Backup/Bramdat.mdb"_s; }
    [[nodiscard]] QString Dated() const { return m_installation.Folder() + u"/Backup/Dated/"_s; }
    /// The states of the backup and of the dated ones.
    [[nodiscard]] QByteArray Backups() const
    {
        QByteArray states = StateOf(BackupFile());
        for (const QString& name : QDir(Dated()).entryList({u"Bramdat-*-links.mdb"_s}, QDir::Files, QDir::Name))
            states += ' ' + StateOf(Dated() + name);
        return states;
    }

    void Prepare(const Work& work)
    {
        QDir(m_installation.DataPath()).removeRecursively();
        QDir(m_installation.Folder() + u"/Backup"_s).removeRecursively();
        QDir(m_installation.Folder()).mkpath(u"Data"_s);
        QDir(m_installation.Folder()).mkpath(u"Backup/Dated"_s);
        QFile::remove(m_installation.Folder() + u"/Error.log"_s);
        WriteAll(work.missing ? Temporary() : Database(), work.damaged ? m_damaged : m_now);
        if (work.leftOver)
            WriteAll(Temporary(), m_old);
        if (work.old)
            WriteAll(BackupFile(), m_old);
        if (work.dated)
            WriteAll(Dated() + u"Bramdat-2025-12-31-120000-1-sites-60-links.mdb"_s, m_old);
    }
    [[nodiscard]] QStringList WordsOf(const Work& work) const
    {
        QStringList words = work.words;
        if (work.old)
            words << m_installation.Folder() + u"/Backup"_s;
        return words << u"--yes"_s;
    }
    programRun Run(const Work& work, const QString& kind, int call)
    {
        suiteProgram program(m_installation.Folder());
        program.SetFault(kind, call);
        return program.Run(WordsOf(work));
    }
    /// The states of database and backup. What was only put aside counts as there: rescue puts it back, which is tried.
    struct States
    {
        QByteArray database;
        QByteArray backup;
        bool operator==(const States&) const = default;
        [[nodiscard]] QByteArray Text() const { return database + ", backup " + backup; }
    };
    States Look(const Work& work, QByteArray& story)
    {
        // The damaged file itself is a state too: byte by byte.
        const auto stateOf = [&](const QString& path) {
            return work.damaged && ReadAll(path) == m_damaged ? QByteArray("damaged") : StateOf(path);
        };
        if (!QFile::exists(Database()) && QFile::exists(Temporary())) {
            const programRun rescued = suiteProgram(m_installation.Folder()).Run({u"rescue"_s});
            story += "-- rescue " + rescued.Story();
        }
        return {stateOf(Database()), Backups()};
    }

private Q_SLOTS:
    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }

    void initTestCase()
    {
        {
            const auto database = m_installation.Open();
            clsTestInstallation::AddSite(*database, u"Shop"_s);
            clsTestInstallation::AddLinks(*database, u"Shop"_s, 60);
        }
        m_old = ReadAll(Database());
        {
            const auto database = m_installation.Open();
            clsTestInstallation::AddLinks(*database, u"Shop"_s, 60);
            // Gaps for compact to close.
            std::vector<clsBookmark> gone;
            for (clsBookmark id = 20; id < 70; ++id)
                gone.push_back(id);
            database->DeleteRecords(u"tblLinkList"_s, gone);
        }
        m_now = ReadAll(Database());
        // A page of links: the engine cannot read it, what stands on the others can be saved.
        for (qsizetype page = 8; m_damaged.isEmpty() && page < m_now.size() / 1024; ++page) {
            QByteArray damaged = m_now;
            WriteAll(Database(), damaged.replace(page * 1024 + 200, 8, QByteArray(8, '\0')));
            const QByteArray state = StateOf(Database());
            if (state.size() != 40)
                m_damaged = damaged;
        }
        QVERIFY(!m_damaged.isEmpty());
    }

    void CutShort_data()
    {
        QTest::addColumn<int>("work");
        QTest::addColumn<QString>("kind");
        for (const auto& kind : {u"kill"_s, u"full"_s, u"io"_s, u"gone"_s}) {
            for (int i = 0; i < Works().size(); ++i)
                QTest::newRow(qPrintable(Works()[i].name + u", "_s + kind)) << i << kind;
        }
    }
    void CutShort()
    {
        QFETCH(const int, work);
        QFETCH(const QString, kind);
        const Work& what = Works()[work];
        QByteArray story;
        Prepare(what);
        const States before = what.missing ? States{StateOf(Temporary()), "none"} : Look(what, story);
        suiteProgram whole(m_installation.Folder());
        whole.SetFault(u"count"_s, 0);
        const programRun counted = whole.Run(WordsOf(what));
        const int calls = whole.Calls();
        QVERIFY2(counted.code <= 1 && !counted.killed && calls > 1, counted.Story());
        const States after = Look(what, story);
        QVERIFY2(after.database.size() == 40 && !QFile::exists(Temporary()), after.Text() + story);

        const int sample = 4;
        bool toldGone = false;
        const int points = suiteReport::Long() ? calls : std::min(calls, sample);
        for (int point = 0; point < points; ++point) {
            const int from = 1 + calls * point / points;
            const int to = 1 + calls * (point + 1) / points;
            const int call = from + m_random.bounded(std::max(1, to - from));
            Prepare(what);
            const programRun run = Run(what, kind, call);
            story = "call " + QByteArray::number(call) + " of " + QByteArray::number(calls) + ' ' + run.Story();
            QVERIFY2(!run.hung && run.killed == (kind == u"kill"_s), story);
            QVERIFY2(run.killed || run.code == counted.code || (run.code == Failed && !run.err.isEmpty()), story);
            toldGone = toldGone || run.err.contains("A Drive Unavailable error has occured.");
            const States left = Look(what, story);
            // Each file is the old one or the new one. Both are whole: no other state has these texts.
            QVERIFY2((left.database == before.database || left.database == after.database) &&
                         (left.backup == before.backup || left.backup == after.backup),
                     left.Text() + "\nbefore " + before.Text() + "\nafter " + after.Text() + '\n' + story);
            // With the cause gone the program goes on from there.
            if (QFile::exists(Temporary())) {
                const programRun tidied = suiteProgram(m_installation.Folder()).Run({u"rescue"_s, u"--yes"_s});
                QVERIFY2(tidied.code == 0 && !QFile::exists(Temporary()), story + tidied.Story());
            }
            const programRun again = suiteProgram(m_installation.Folder()).Run(WordsOf(what));
            QVERIFY2(again.code <= 1, story + again.Story());
            const States repeated = Look(what, story);
            QVERIFY2(repeated.database == after.database && repeated.backup == after.backup,
                     repeated.Text() + "\nwanted " + after.Text() + '\n' + story + again.Story());
            QCOMPARE(QDir(m_installation.DataPath()).entryList({u"*Bramdat.*"_s}, QDir::Files),
                     (QStringList{u"Bramdat.mdb"_s, u"Bramdat.use"_s}));
            if (what.damaged) {
                const QStringList kept = QDir(m_installation.DataPath()).entryList({u"*-damaged.mdb"_s}, QDir::Files);
                QVERIFY2(!kept.isEmpty() && ReadAll(m_installation.DataPath() + kept.last()) == m_damaged, story);
            }
            ++m_points[what.name + u" | "_s + kind];
        }
        QCOMPARE(toldGone, kind == u"gone"_s && what.old);
    }

    void NotWritable()
    {
        for (const Work& work : Works()) {
            Prepare(work);
            QByteArray story;
            const States before = work.missing ? States{StateOf(Temporary()), "none"} : Look(work, story);
            const programRun run = Run(work, u"locked"_s, 0);
            QVERIFY2(run.code == Failed && !run.err.isEmpty() && !run.hung, work.name.toUtf8() + run.Story());
            QVERIFY2(Look(work, story) == before, work.name.toUtf8() + story);
            ++m_points[work.name + u" | locked"_s];
        }
    }

    void InUseByAnother()
    {
        const auto disk = modPlatformImpl::MakeDisk();
        for (const Work& work : Works()) {
            Prepare(work);
            if (work.name == u"save"_s)
                continue; // works beside others
            const auto held = disk->Lock(m_installation.DataPath() + u"Bramdat.use"_s, clsDisk::Share::Shared);
            const QStringList files = QDir(m_installation.DataPath()).entryList(QDir::Files);
            const programRun run = suiteProgram(m_installation.Folder()).Run(WordsOf(work));
            QVERIFY2(run.code == InUse && run.err.contains("in use by another copy"), work.name.toUtf8() + run.Story());
            QCOMPARE(QDir(m_installation.DataPath()).entryList(QDir::Files), files);
        }
    }

    void Check()
    {
        const auto check = [&] { return suiteProgram(m_installation.Folder()).Run({u"check"_s}); };
        Prepare(Works()[0]);
        programRun run = check();
        QVERIFY2(run.code == 0 && run.out == "The database is sound.\n", run.Story());
        {
            const auto database = m_installation.Open();
            clsTestInstallation::AddLink(*database, u"Gone"_s, u"Orphan"_s);
        }
        run = check();
        QVERIFY2(run.code == 1 && run.out == "1 link(s) of a site that does not exist\n", run.Story());
        WriteAll(Database(), m_damaged);
        run = check();
        QVERIFY2(run.code == 1 && !run.out.isEmpty(), run.Story());
    }

    void cleanupTestCase()
    {
        int all = 0;
        QStringList rows;
        for (auto it = m_points.cbegin(); it != m_points.cend(); ++it) {
            all += *it;
            rows << u"| %1 | %2 |\n"_s.arg(it.key()).arg(*it);
        }
        std::printf("data safety: %d kills and faults, nothing half\n", all);
        if (suiteReport::Counts() && !m_failed)
            suiteReport::WritePart(
                u"Cut short"_s,
                u"%1: the program killed (kill) at every call that writes, flushes, renames, deletes or cuts a file,\n"
                "and the same with a full disk from that call on (full), one input/output error (io), a drive that is "
                "gone from then\non (gone), and no file writable at all (locked). After each the database and its "
                "backups were the old or the new ones,\nchecked page by page and compared row by row, and the same "
                "command then did its work. %2 points.\n\n| Work | Cut short by | Points |\n|---|---|---|\n%3"_s
                    .arg(QDate::currentDate().toString(Qt::ISODate))
                    .arg(all)
                    .arg(rows.join(QString())));
    }
};

QTEST_GUILESS_MAIN(tst_data_safety)
#include "tst_data_safety.moc"
