// SPDX-License-Identifier: GPL-3.0-or-later
// Backup, restore, compact, repair and rescue on a real file: what is asked and told, and what is on the disk
// afterwards.
#include "data/modDBFunctions.h"
#include "data/modDatedBackups.h"
#include "platform/clsDatabase.h"
#include "platform/database/clsPageFile.h"
#include "platform/database/clsSqlConnection.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/program.h"
#include "support/table.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;
using modDBFunctions::Ending;
using namespace std::chrono_literals;

namespace
{
const QString Complete = u"Backup complete."_s;
const QString CompactQuestion = u"Brambury is about to compact your databases.\r\n\r\n"
                                "It is strongly recommended that you backup your databases\r\n"
                                "prior to running compact.  Be advised that a power failure\r\n"
                                "or a Windows error during compact may currupt your databases.\r\n\r\n"
                                "Do you wish to backup at this time?"_s;
const QString RepairQuestion = u"Brambury is about to repair any problems in your databases.\r\n\r\n"
                               "Would you like to backup your databases before repairing?"_s;

bool Exists(const QString& path)
{
    return QFile::exists(path);
}

/// Answers failures by doing something about them, and everything else with Yes.
struct helpingDialogs : fakeDialogs
{
    QStringList texts;
    std::function<void()> help;
    Answer MsgBox(const QString& text, Buttons buttons, Icon, const QString&) override
    {
        texts << text;
        if (buttons != Buttons::RetryCancel)
            return buttons == Buttons::OK ? Answer::OK : Answer::Yes;
        if (!help)
            return Answer::Cancel;
        std::exchange(help, {})();
        return Answer::Retry;
    }
};
} // namespace

class tst_safety : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    QTemporaryDir m_elsewhere;
    QStringList m_report; ///< of the last restores and repairs

    fakeDialogs& Dialogs() { return m_program->dialogs; }
    [[nodiscard]] QString DatabasePath() const { return m_program->installation.DatabasePath(); }
    [[nodiscard]] QString Beside(const QString& name) const { return m_program->installation.DataPath() + name; }
    [[nodiscard]] QString BackupFolder() const { return m_program->installation.Folder() + u"/Backup"_s; }
    /// How many links the open database has; -1 when none is open.
    static qint64 Links()
    {
        return State().Database ? State().Database->OpenRecordset(u"SELECT ID FROM tblLinkList"_s)->RecordCount() : -1;
    }
    static void AddLink() { clsTestInstallation::AddLink(*State().Database, u"Shop"_s, u"Partner"_s); }
    Ending Backup(const QString& folder) { return modDBFunctions::BackupDatabase(folder, {}); }
    Ending Restore(const QString& folder)
    {
        return modDBFunctions::RestoreDatabase(folder.isEmpty() ? folder : folder + u"/Bramdat.mdb"_s, {}, m_report);
    }
    /// Nothing but the database and its locks is in the data folder.
    [[nodiscard]] QStringList Leftovers() const
    {
        QStringList names = QDir(m_program->installation.DataPath()).entryList(QDir::Files);
        names.removeAll(u"Bramdat.mdb"_s);
        names.removeAll(u"Bramdat.use"_s);
        return names;
    }

private Q_SLOTS:
    void init()
    {
        m_program.reset(); // one at a time
        m_program = std::make_unique<clsTestProgram>();
        m_report.clear();
        clsTestInstallation::AddSite(*State().Database, u"Shop"_s);
        AddLink();
    }
    void cleanup()
    {
        QVERIFY2(Dialogs().expected.isEmpty(), qPrintable(m_program->windows.lastDetails));
        m_program.reset();
    }

    void BackupAndRestore()
    {
        const auto links = State().Database->OpenRecordset(u"tblLinkList"_s);
        Dialogs().Expect(Complete);
        QCOMPARE(Backup(BackupFolder()), Ending::Done); // the folder that is offered is made
        QCOMPARE(State().Settings.LastBackup, u"2026-01-05 15:07:09"_s);
        QCOMPARE(m_program->settings.values[u"General"_s][u"LastBackup"_s], State().Settings.LastBackup);
        QCOMPARE(QDir(BackupFolder()).entryList(QDir::Files), QStringList{u"Bramdat.mdb"_s});
        QCOMPARE(links->Field(u"Title"_s).toString(), u"Partner"_s); // record sets find the file again
        QVERIFY(m_program->windows.calls.contains(u"unload others"_s));

        // The old backup's own date, and the date of now.
        AddLink();
        QFile backup(BackupFolder() + u"/Bramdat.mdb"_s);
        QVERIFY(backup.open(QIODevice::ReadWrite) &&
                backup.setFileTime(QDateTime(QDate(2025, 12, 24), QTime(6, 5)), QFileDevice::FileModificationTime));
        backup.close();
        const QString question = u"Replace last backup Wednesday, December 24, 2025  06:05 AM\r\n"
                                 "with current database Bramdat.mdb Monday, January 5, 2026  03:07 PM"_s;
        const QByteArray before = ReadAll(backup.fileName());
        Dialogs().Expect(question, Answer::No, u"Backup Database"_s);
        QCOMPARE(Backup(BackupFolder()), Ending::Refused);
        QCOMPARE(ReadAll(backup.fileName()), before);
        Dialogs().Expect(question, Answer::Yes);
        Dialogs().Expect(Complete);
        QCOMPARE(Backup(BackupFolder()), Ending::Done);

        AddLink();
        QFile working(DatabasePath());
        QVERIFY(working.open(QIODevice::ReadWrite) &&
                working.setFileTime(QDateTime(QDate(2026, 1, 5), QTime(14, 0)), QFileDevice::FileModificationTime) &&
                backup.open(QIODevice::ReadWrite) &&
                backup.setFileTime(QDateTime(QDate(2026, 1, 4), QTime(0, 30)), QFileDevice::FileModificationTime));
        working.close();
        backup.close();
        const QString replace = u"Replace current database Monday, January 5, 2026  02:00 PM\r\n"
                                "with last backup Sunday, January 4, 2026  12:30 AM"_s;
        Dialogs().Expect(replace, Answer::No, u"Restore Database"_s);
        QCOMPARE(Restore(BackupFolder()), Ending::Refused);
        QCOMPARE(Links(), 3);
        Dialogs().Expect(replace, Answer::Yes);
        Dialogs().Expect(u"Restore complete."_s);
        QCOMPARE(Restore(BackupFolder()), Ending::Done);
        QCOMPARE(Links(), 2);
        QCOMPARE(Leftovers(), QStringList());
    }

    void Refusals()
    {
        const QByteArray before = ReadAll(DatabasePath());
        Dialogs().Expect(u"A destination path must be specified!"_s);
        QCOMPARE(Backup(u" "_s), Ending::Refused);
        const QString link = m_elsewhere.filePath(u"link"_s);
        QFile::remove(link);
        QVERIFY(QFile::link(m_program->installation.DataPath(), link));
        for (const QString& same : {m_program->installation.DataPath(), link}) {
            Dialogs().Expect(u"You cannot backup from the same directory.  Please select another destination path."_s);
            QCOMPARE(Backup(same), Ending::Refused);
            Dialogs().Expect(u"You cannot restore to the same directory.  Please select another source path."_s);
            QCOMPARE(Restore(same), Ending::Refused);
        }
        Dialogs().Expect(u"A destination path must be specified!"_s);
        QCOMPARE(Restore({}), Ending::Refused);
        const QString missing = m_elsewhere.filePath(u"missing"_s);
        Dialogs().Expect(u"Path not found: %1\r\nNumber: 76"_s.arg(missing), Answer::Retry);
        Dialogs().Expect(u"Path not found: %1\r\nNumber: 76"_s.arg(missing), Answer::Cancel);
        QCOMPARE(Backup(missing), Ending::Failed);
        Dialogs().Expect(u"Looking for %1/Bramdat.mdb: No such file or directory\r\nNumber: 53"_s.arg(missing),
                         Answer::Cancel);
        QCOMPARE(Restore(missing), Ending::Failed);
        QCOMPARE(ReadAll(DatabasePath()), before);
        QCOMPARE(Links(), 1);
        QVERIFY(State().Settings.LastBackup.isEmpty());
    }

    void BadBackupIsNotRestored()
    {
        Dialogs().Expect(Complete);
        QCOMPARE(Backup(BackupFolder()), Ending::Done);
        const QString backup = BackupFolder() + u"/Bramdat.mdb"_s;
        QByteArray content = ReadAll(backup);
        WriteAll(backup, content.replace(20 * 1024, 2048, QByteArray(2048, 'x')));
        AddLink();
        helpingDialogs any; // the text of damage is the engine's; the number is what counts
        State().Platform.Dialogs = &any;
        QCOMPARE(Restore(BackupFolder()), Ending::Failed);
        QVERIFY2(any.texts.last().endsWith(u"\r\nNumber: 3049"_s), qPrintable(any.texts.last()));
        QCOMPARE(Links(), 2);
        QCOMPARE(Leftovers(), QStringList());
        // Nor does a damaged database take the place of a backup.
        const QByteArray kept = ReadAll(backup);
        QByteArray damaged = ReadAll(DatabasePath());
        WriteAll(DatabasePath(), damaged.replace(20 * 1024, 2048, QByteArray(2048, 'x')));
        QCOMPARE(Backup(BackupFolder()), Ending::Failed);
        QVERIFY2(any.texts.last().endsWith(u"\r\nNumber: 3049"_s), qPrintable(any.texts.last()));
        QCOMPARE(ReadAll(backup), kept);
        QCOMPARE(QDir(BackupFolder()).entryList(QDir::Files), QStringList{u"Bramdat.mdb"_s});
        State().Platform.Dialogs = &Dialogs();
    }

    void Compact()
    {
        for (int i = 0; i < 400; ++i)
            AddLink();
        auto links = State().Database->OpenRecordset(u"SELECT * FROM tblLinkList ORDER BY ID"_s);
        links->MoveLast();
        const qint64 last = links->Bookmark();
        std::vector<clsBookmark> keys;
        for (qint64 id = 10; id <= last; ++id)
            keys.push_back(id);
        State().Database->DeleteRecords(u"tblLinkList"_s, keys);
        const qint64 size = QFileInfo(DatabasePath()).size();

        Dialogs().Expect(CompactQuestion, Answer::Cancel, u"Compact Database"_s);
        QCOMPARE(modDBFunctions::Compactdatabase({}), Ending::Refused);
        QVERIFY(!m_program->windows.calls.contains(u"unload others"_s) && State().Database);

        bool fromExit = false;
        m_program->windows.onBackup = [&] { return fromExit = State().BackupFromExit; };
        Dialogs().Expect(CompactQuestion, Answer::Yes, u"Compact Database"_s);
        Dialogs().Expect(u"The Brambury database was successfully compacted."_s, {}, u"Compact Database"_s);
        QList<int> percents;
        bool flagged = false;
        QCOMPARE(modDBFunctions::Compactdatabase([&](int percent) {
                     percents << percent;
                     flagged = State().DatabaseWork && !State().Database;
                     return true;
                 }),
                 Ending::Done);
        QVERIFY(fromExit && !State().BackupFromExit && flagged);
        QVERIFY(std::is_sorted(percents.begin(), percents.end()) && percents.size() > 2);
        QVERIFY(QFileInfo(DatabasePath()).size() < size);
        QCOMPARE(Leftovers(), QStringList());
        QCOMPARE(Links(), 9);
        // Numbers are not given a second time.
        QCOMPARE(clsTestInstallation::AddLink(*State().Database, u"Shop"_s, u"New"_s), last + 1);
    }

    void CompactMeetsLeftover()
    {
        WriteAll(Beside(u"_Bramdat.mdb"_s), "an older survivor");
        Dialogs().Expect(CompactQuestion, Answer::No);
        QCOMPARE(modDBFunctions::Compactdatabase({}), Ending::Failed);
        QVERIFY2(m_program->windows.lastDetails.contains(u"Error Number: \t58"_s) &&
                     m_program->windows.lastDetails.contains(u"modBrambury"_s) &&
                     m_program->windows.lastDetails.contains(u"Compactdatabase"_s),
                 qPrintable(m_program->windows.lastDetails));
        QCOMPARE(ReadAll(Beside(u"_Bramdat.mdb"_s)), QByteArray("an older survivor"));
        QCOMPARE(Links(), -1);
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QCOMPARE(Links(), 1);
    }

    void Repair()
    {
        Dialogs().Expect(RepairQuestion, Answer::No, u"Repair Database"_s);
        Dialogs().Expect(u"The Brambury database was successfully repaired."_s, {}, u"Repair Database"_s);
        QStringList report;
        QCOMPARE(modDBFunctions::Repairdatabase({}, report), Ending::Done);
        QCOMPARE(Links(), 1);
        QCOMPARE(Leftovers(), QStringList());
    }

    void RepairDamaged()
    {
        clsTestInstallation::AddLinks(*State().Database, u"Shop"_s, 500);
        modBrambury::CloseProcessDatabase();
        // A page of records in the middle of the file, where the links are.
        QByteArray content = ReadAll(DatabasePath());
        clsPageFile pages(DatabasePath(), u"SandDune"_s);
        quint32 page = pages.Count() / 2;
        while (pages.Page(page)->at(0) != '\r')
            ++page;
        WriteAll(DatabasePath(), content.replace((page - 1) * clsPageFile::PageSize + 300, 10, QByteArray(10, '\0')));
        const auto isDamaged = [&] {
            return !m_program->databaseFiles->Check(DatabasePath(), modBrambury::ConnectString, {}).isEmpty();
        };
        QVERIFY(isDamaged());
        Dialogs().Expect(RepairQuestion, Answer::No);
        Dialogs().Expect(u"The Brambury database was successfully repaired."_s);
        QStringList report;
        QCOMPARE(modDBFunctions::Repairdatabase({}, report), Ending::Done);
        QVERIFY2(Links() > 470 && Links() <= 501, qPrintable(QString::number(Links())));
        QVERIFY(!isDamaged());
        const QString kept = u"Bramdat-2026-01-05-150709-damaged.mdb"_s;
        QCOMPARE(Leftovers(), QStringList{kept});
        QCOMPARE(ReadAll(Beside(kept)), content);
        QCOMPARE(report.size(), 2);
        QCOMPARE(report[0], u"The damaged database is kept as "_s + Beside(kept));
        QVERIFY2(report[1].startsWith(u"tblLinkList: "_s), qPrintable(report[1]));

        // Nothing to begin with: the file stays as it is.
        modBrambury::CloseProcessDatabase();
        const QByteArray foreign = QByteArray("This is no database at all.\r\n").repeated(200);
        WriteAll(DatabasePath(), foreign);
        Dialogs().Expect(RepairQuestion, Answer::No);
        QCOMPARE(modDBFunctions::Repairdatabase({}, report), Ending::Failed);
        QVERIFY2(m_program->windows.lastDetails.contains(u"please restore the newest backup"_s),
                 qPrintable(m_program->windows.lastDetails));
        QCOMPARE(ReadAll(DatabasePath()), foreign);
        QCOMPARE(Leftovers(), QStringList{kept});
    }

    /// A start with a window on a file that cannot be opened leads out by itself: nobody gets at its menus.
    void StartMendsWhatCannotBeOpened()
    {
        modBrambury::CloseProcessDatabase();
        modDatedBackups::KeepAtEnd({});
        QByteArray content = ReadAll(DatabasePath());
        WriteAll(DatabasePath(), content.replace(500, 8, QByteArray(8, '\0'))); // the first page
        helpingDialogs any;
        State().Platform.Dialogs = &any;
        QVERIFY(modDBFunctions::OpenProcessDatabase(true));
        State().Platform.Dialogs = &Dialogs();
        QCOMPARE(any.texts.size(), 2);
        QVERIFY(any.texts[0].startsWith(u"The database cannot be opened.  "_s) &&
                any.texts[0].endsWith(u"Do you wish to save every record that can still be read?  The damaged file is "
                                      "kept."_s));
        QVERIFY2(any.texts[1].startsWith(u"The database cannot be repaired; please restore the newest backup, that of "
                                         "Monday, January 5, 2026  03:07 PM: "_s) &&
                     any.texts[1].contains(u"holds 1 site(s) and 1 link(s)."_s),
                 qPrintable(any.texts[1]));
        QCOMPARE(Links(), 1);
        QCOMPARE(Leftovers(), QStringList{u"Bramdat-2026-01-05-150709-damaged.mdb"_s});
        QCOMPARE(ReadAll(Beside(Leftovers().first())), content);
    }

    /// The end keeps a state that is not kept yet, the last ten of them, and a failure costs none.
    void DatedBackups()
    {
        const auto end = [] {
            modBrambury::CloseProcessDatabase();
            modDatedBackups::KeepAtEnd({});
            return modDatedBackups::All();
        };
        const auto change = [this] {
            m_program->clock.Advance(24h);
            QVERIFY(modDBFunctions::OpenProcessDatabase());
            AddLink();
        };
        for (int i = 1; i <= 12; ++i) {
            const auto all = end();
            QCOMPARE(int(all.size()), std::min(i, 10));
            QCOMPARE(all.front().made, m_program->clock.now);
            QCOMPARE(all.front().links, i);
            QCOMPARE(all.front().sites, 1);
            QCOMPARE(all.back().links, std::max(1, i - 9));
            QCOMPARE(int(end().size()), int(all.size())); // nothing has changed
            change();
        }
        const auto all = modDatedBackups::All();
        const QString folder = modDatedBackups::Folder();
        WriteAll(folder + u"/Bramdat-2026.mdb"_s, "somebody else's");
        {
            const fullDisk limit(20 * 1024);
            Dialogs().Expect(u"The dated backup could not be made.  The older ones are all kept.\r\n\r\n"
                             "Writing %1/Bramdat.tmp.new: File too large"_s.arg(folder));
            QCOMPARE(int(end().size()), 10);
        }
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 11);
        {
            const auto other = m_program->disk->Lock(Beside(u"Bramdat.use"_s), clsDisk::Share::Shared);
            QCOMPARE(end().front().path, all.front().path); // the other copy will do it
        }
        modDatedBackups::SetKept(false);
        QCOMPARE(end().front().path, all.front().path);

        helpingDialogs yes;
        State().Platform.Dialogs = &yes;
        QCOMPARE(modDBFunctions::RestoreDatabase(all[3].path, {}, m_report), Ending::Done);
        State().Platform.Dialogs = &Dialogs();
        QCOMPARE(Links(), all[3].links);
        modDatedBackups::SetKept(true);
        QCOMPARE(int(end().size()), 10); // a state that is kept needs no second file
    }

    /// What a restore replaces is among the dated backups, and what it takes from there stays, though it be the oldest.
    void RestoreCanBeUndone()
    {
        for (int i = 0; i < 10; ++i) {
            modBrambury::CloseProcessDatabase();
            modDatedBackups::KeepAtEnd({});
            m_program->clock.Advance(24h);
            QVERIFY(modDBFunctions::OpenProcessDatabase());
            AddLink();
        }
        const auto before = modDatedBackups::All();
        QCOMPARE(int(before.size()), 10);
        const auto has = [](const QString& path) {
            const auto all = modDatedBackups::All();
            return std::any_of(all.begin(), all.end(), [&](const auto& backup) { return backup.path == path; });
        };
        helpingDialogs any;
        State().Platform.Dialogs = &any;
        std::optional<fullDisk> full(std::in_place, 20 * 1024);
        const QByteArray content = ReadAll(DatabasePath());
        QCOMPARE(modDBFunctions::RestoreDatabase(before.back().path, {}, m_report), Ending::Failed);
        QVERIFY2(any.texts.last().startsWith(u"The current database could not be kept as a dated backup, and nothing "
                                             "has been replaced.  "_s) &&
                     any.texts.last().endsWith(u"\r\nNumber: 61"_s),
                 qPrintable(any.texts.last()));
        QVERIFY(ReadAll(DatabasePath()) == content && m_report.isEmpty());
        any.help = [&] { full.reset(); };
        QCOMPARE(modDBFunctions::RestoreDatabase(before.back().path, {}, m_report), Ending::Done);
        QCOMPARE(Links(), 1);
        const auto after = modDatedBackups::All();
        QCOMPARE(int(after.size()), 10);
        QCOMPARE(after.front().links, 11);
        QCOMPARE(m_report, QStringList{u"The replaced database is kept as "_s + after.front().path});
        QVERIFY(has(before.back().path) && !has(before[8].path));
        QCOMPARE(modDBFunctions::RestoreDatabase(after.front().path, {}, m_report), Ending::Done);
        QCOMPARE(Links(), 11);
        QCOMPARE(int(modDatedBackups::All().size()), 10); // the state that this replaced is there already

        // What is damaged is no backup, but it is kept.
        AddLink();
        modBrambury::CloseProcessDatabase();
        QByteArray damaged = ReadAll(DatabasePath());
        WriteAll(DatabasePath(), damaged.replace(20 * 1024, 2048, QByteArray(2048, 'x')));
        QCOMPARE(modDBFunctions::RestoreDatabase(before.front().path, {}, m_report), Ending::Done);
        State().Platform.Dialogs = &Dialogs();
        QCOMPARE(Links(), 10);
        QCOMPARE(int(Leftovers().size()), 1);
        QCOMPARE(m_report.last(), u"The damaged database is kept as "_s + Beside(Leftovers().first()));
        QCOMPARE(ReadAll(Beside(Leftovers().first())), damaged);
    }

    /// What is in the way is told with Retry; when it is gone, the same work goes on.
    void RetryWhenTheCauseIsGone_data()
    {
        const testTable<QString, int> row; // what is in the way
        row("no folder", u"no folder"_s, clsError::PathNotFound);
        row("a place that cannot be written", u"no place"_s, clsError::PermissionDenied);
        row("another program at work", u"lock"_s, clsError::RecordLocked);
    }
    void RetryWhenTheCauseIsGone()
    {
        const auto [cause, number] = testRow<QString, int>();
        const QString folder = m_elsewhere.filePath(u"caf\u00e9 \U0001F600 of %1"_s.arg(number)); // blanks and all
        helpingDialogs dialogs;
        State().Platform.Dialogs = &dialogs;
        const QString place = folder + u"/Bramdat.mdb.new"_s; // where the copy is made
        std::shared_ptr<clsSqlConnection> other;
        if (cause == u"no folder"_s) {
            dialogs.help = [&] { QDir().mkpath(folder); };
        } else if (cause == u"no place"_s) {
            QDir().mkpath(place);
            dialogs.help = [&] { QDir().rmdir(place); };
        } else {
            QDir().mkpath(folder);
            other = clsSqlConnection::Open(DatabasePath(), u"SandDune"_s);
            other->Run(u"BEGIN EXCLUSIVE"_s);
            dialogs.help = [&] { other->Close(); };
        }
        QCOMPARE(Backup(folder), Ending::Done);
        State().Platform.Dialogs = &Dialogs();
        QVERIFY2(dialogs.texts.first().endsWith(u"\r\nNumber: %1"_s.arg(number)), qPrintable(dialogs.texts.first()));
        QCOMPARE(dialogs.texts.size(), 2);
        QVERIFY(Exists(folder + u"/Bramdat.mdb"_s));
    }

    /// Stop, in the middle of any of them: the database is as it was, open, under its own name.
    void Stopped_data()
    {
        const testTable<int> row; // percent at which Stop is pressed
        row("at once", 0);
        row("in the middle", 45);
    }
    void Stopped()
    {
        const auto [at] = testRow<int>();
        clsTestInstallation::AddLinks(*State().Database, u"Shop"_s, 2000);
        const auto stop = [until = at](int percent) { return percent < until; };
        Dialogs().Expect(CompactQuestion, Answer::No);
        QCOMPARE(modDBFunctions::Compactdatabase(stop), Ending::Stopped);
        QCOMPARE(modDBFunctions::BackupDatabase(BackupFolder(), stop), Ending::Stopped);
        QCOMPARE(Links(), 2001);
        QCOMPARE(Leftovers(), QStringList());
        QCOMPARE(QDir(BackupFolder()).entryList(QDir::Files), QStringList());
        QVERIFY(!State().DatabaseWork);
    }

    void OthersHaveItOpen()
    {
        const auto other = m_program->disk->Lock(Beside(u"Bramdat.use"_s), clsDisk::Share::Shared);
        const QString inUse =
            u"The database is in use by another copy of Brambury.  Close its window and end its runs first."_s;
        Dialogs().Expect(inUse);
        QCOMPARE(Backup(BackupFolder()), Ending::InUse);
        Dialogs().Expect(CompactQuestion, Answer::No);
        Dialogs().Expect(inUse);
        QCOMPARE(modDBFunctions::Compactdatabase({}), Ending::InUse);
        QVERIFY(modBrambury::State().FileInUse);
        QCOMPARE(Links(), 1);
    }

    void Rescue()
    {
        const QString temporary = Beside(u"_Bramdat.mdb"_s);
        QString told;
        QCOMPARE(modDBFunctions::RescueDatabase(told), Ending::Done);
        QCOMPARE(told, u"There is nothing to put back."_s);
        QVERIFY(QFile::copy(DatabasePath(), temporary));
        const QString question =
            u"The database is sound.  A compact or repair that did not end has left an older state of it as %1.\r\n\r\n"
            "Do you wish to delete that file?"_s.arg(temporary);
        Dialogs().Expect(question, Answer::No);
        QCOMPARE(modDBFunctions::RescueDatabase(told), Ending::Refused);
        QVERIFY(Exists(temporary));
        Dialogs().Expect(question, Answer::Yes);
        QCOMPARE(modDBFunctions::RescueDatabase(told), Ending::Done);
        QVERIFY(!Exists(temporary));

        // The start offers the same, after the message that it has always given.
        modBrambury::CloseProcessDatabase();
        QVERIFY(QFile::rename(DatabasePath(), temporary));
        const QString missing = u"Brambury could not locate the database file %1."_s.arg(DatabasePath());
        const QString offer = u"A compact or repair that did not end has left the database as %1.\r\n\r\n"
                              "Do you wish to put it back?"_s.arg(temporary);
        Dialogs().Expect(missing);
        Dialogs().Expect(offer, Answer::No);
        QVERIFY(!modBrambury::LocateDatabase());
        QVERIFY(!Exists(DatabasePath()));
        Dialogs().Expect(missing);
        Dialogs().Expect(offer, Answer::Yes);
        QVERIFY(modBrambury::LocateDatabase());
        // What was being made when the process was killed takes no room any more.
        const QStringList half{Beside(u"Bramdat.new"_s), Beside(u"Bramdat.new-journal"_s), DatabasePath() + u".new"_s};
        for (const QString& path : half)
            WriteAll(path, "half");
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QVERIFY(std::none_of(half.begin(), half.end(), &Exists));
        QCOMPARE(Links(), 1);

        // What is not whole is left where it is.
        modBrambury::CloseProcessDatabase();
        QVERIFY(QFile::rename(DatabasePath(), temporary));
        QFile file(temporary);
        QVERIFY(file.resize(file.size() / 2));
        QVERIFY(ErrorOf([&] { (void)modDBFunctions::RescueDatabase(told); }) != 0);
        QVERIFY(!Exists(DatabasePath()) && Exists(temporary));
    }
};

QTEST_GUILESS_MAIN(tst_safety)
#include "tst_safety.moc"
