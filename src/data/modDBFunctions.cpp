// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modDBFunctions.h"

#include "data/clsDAO.h"
#include "data/modDatabaseCheck.h"
#include "data/modDatedBackups.h"
#include "data/modOlderFiles.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsWindows.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QDir>
#include <QFileInfo>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;
using modDatabaseCheck::IsDamage;
using modDBFunctions::Ending;

namespace
{
void TellInUse()
{
    MsgBox(u"The database is being backed up, restored, compacted or repaired by another copy of "
           u"Brambury.  Please try again when that has ended."_s,
           clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

bool Mend(const clsError& failure);
void RemoveHalfFiles();

/// @return whether the database is open; false without an error when somebody else needs the file to himself.
bool Open(bool mending)
{
    modBrambury::ProcessState& state = modBrambury::State();
    state.DatabaseInUse =
        state.Platform.Disk->Lock(state.Settings.DataPath + modBrambury::DatabaseLockFile, clsDisk::Share::Shared);
    if (!state.DatabaseInUse) {
        state.FileInUse = true;
        TellInUse();
        return false;
    }
    RemoveHalfFiles();
    if (!state.Workspace)
        state.Workspace = state.Platform.DBEngine->CreateWorkspace(QString(), u"admin"_s, QString());
    clsDAO dao(state.Workspace.get());
    if (mending) {
        const auto failure = failureOf([&] {
            state.Database = state.Workspace->OpenDatabase(modBrambury::DatabasePath(), modBrambury::ConnectString);
        });
        if (failure && IsDamage(*failure)) {
            state.DatabaseInUse.reset();
            return Mend(*failure) && Open(false);
        }
    }
    if (!state.Database)
        state.Database = dao.OpenDB(modBrambury::DatabasePath());
    if (!state.Database) {
        state.DatabaseInUse.reset();
        return false;
    }
    modOlderFiles::Complete(dao, *state.Database);
    return true;
}
} // namespace

bool modDBFunctions::OpenProcessDatabase(bool mending)
{
    State().FileInUse = false;
    bool open = false;
    guarded("modDBFunctions", "OpenProcessDatabase", [&] { open = Open(mending); });
    if (!open)
        return false;
    modBrambury::LoadStatusNames();
    modBrambury::LoadMessageTypes();
    return true;
}

namespace
{
constexpr char Module[] = "modBrambury"; // by this name the error log has always known these routines
/// General sort order and code page of a compacted file; the engine of today has but one of each.
const QString Locale = u";LANGID=0x0409;CP=1252;COUNTRY=0"_s;

clsDisk& Disk()
{
    return *modBrambury::Platform().Disk;
}

clsDatabaseFiles& Files()
{
    return *modBrambury::Platform().DatabaseFiles;
}

clsWindows& Windows()
{
    return *modBrambury::Platform().Windows;
}

QString DataFolder()
{
    return State().Settings.DataPath;
}

QString TemporaryPath()
{
    return DataFolder() + modBrambury::TemporaryDatabaseFile;
}

/// Where a new database file is written before it gets its name.
QString NewPath()
{
    return DataFolder() + u"Bramdat.new"_s;
}

/// Deletes what work on the whole file left half done when the process was killed: it takes the room of a second
/// database. The caller holds Bramdat.use, so nobody is at such work now.
void RemoveHalfFiles()
{
    for (const QString& path :
         {NewPath(), NewPath() + u"-journal"_s, clsDatabaseFiles::UnfinishedCopy(modBrambury::DatabasePath())}) {
        if (Disk().FileExists(path))
            ignoringErrors([&path] { Disk().RemoveFile(path); });
    }
}

QString BackupIn(const QString& folder)
{
    return QDir(folder).filePath(modBrambury::DatabaseFile);
}

QString DateAndTime(const QDateTime& time)
{
    return modCommonFunctions::LongDate(time) + u"  "_s + modCommonFunctions::MediumTime(time);
}

/// A step's own percents as its part of the whole.
modDBFunctions::Progress PartOf(const modDBFunctions::Progress& whole, int from, int to)
{
    return [&whole, from, to](int percent) { return !whole || whole(from + percent * (to - from) / 100); };
}

bool IsStop(const std::optional<clsError>& failure)
{
    return failure && failure->Number() == clsError::WorkStopped;
}

/// Opens the database again, unless nothing is to touch it any more.
bool Reopen()
{
    return !State().Terminating && !State().SessionEnding && modDBFunctions::OpenProcessDatabase();
}

/// The file for this process alone, closed. @return empty when it cannot be had; the database is open again then.
std::unique_ptr<clsFileLock> CloseForWork()
{
    modBrambury::ProcessState& state = State();
    const bool wasOpen = state.Database != nullptr;
    // The workspace stays: record sets find the file through it again.
    if (state.Database)
        state.Database->Close();
    state.Database.reset();
    state.DatabaseInUse.reset();
    std::unique_ptr<clsFileLock> lock;
    const std::optional<clsError> failure = failureOf([&] { lock = modBrambury::LockDatabase(); });
    if (!lock && wasOpen && Reopen())
        state.FileInUse = !failure;
    if (failure)
        throw clsError(*failure);
    return lock;
}

/// What the backup and restore window says of a failure. @return whether to try again.
bool RetryAfter(const clsError& failure)
{
    const QString text =
        failure.Number() == clsError::DeviceUnavailable
            ? u"A Drive Unavailable error has occured.  Make sure a floppy diskette is placed securely in your drive."_s
            : failure.Description() + u"\r\nNumber: "_s + QString::number(failure.Number());
    return MsgBox(text, clsDialogs::Buttons::RetryCancel, clsDialogs::Icon::Critical) == clsDialogs::Answer::Retry;
}

/// Does a step of a backup or restore until it succeeds, or nobody wants to try again.
Ending Trying(const std::function<void()>& step)
{
    for (;;) {
        const std::optional<clsError> failure = failureOf(step);
        if (!failure)
            return Ending::Done;
        if (IsStop(failure))
            return Ending::Stopped;
        if (!RetryAfter(*failure))
            return Ending::Failed;
    }
}

/// Does the copying of a backup or restore with the database closed, and opens it again whatever came of it.
Ending CopyClosed(const std::function<void()>& step)
{
    modBrambury::UnloadAllForms(true);
    std::unique_ptr<clsFileLock> lock;
    Ending ending = Trying([&lock] { lock = CloseForWork(); });
    if (!lock)
        return ending == Ending::Done ? Ending::InUse : ending;
    ending = Trying(step);
    lock.reset();
    return Reopen() || ending == Ending::Stopped ? ending : Ending::Failed;
}

bool EnoughSpace(qint64 free, qint64 needed)
{
    if (free >= needed)
        return true;
    MsgBox(u"There is not enough disk space to perform this backup.\r\n\r\n"
           "Below are some suggestions to help you overcome this problem:\r\n"
           " 1. Delete unnecessary files on your destination disk.\r\n"
           " 2. Use the \"Compact Database\" service in the Tools Menu\r\n"
           "     This may reduce the size of your database file.\r\n"
           " 3. Select a different drive with more disk space."_s,
           clsDialogs::Buttons::OK, clsDialogs::Icon::Critical);
    return false;
}

/// Where the state that a restore replaces can be found again.
struct Kept
{
    QString path; ///< empty when it is not kept
    bool damaged = false;
};

Kept KeepReplaced(const modDBFunctions::Progress& progress)
{
    Kept kept;
    const auto failure = failureOf([&] { kept.path = modDatedBackups::Add(progress); });
    if (!failure)
        return kept;
    if (IsDamage(*failure)) {
        kept = {.path = modDBFunctions::DatedPath(modBrambury::DatabasePath(), u"damaged"_s), .damaged = true};
        Disk().KeepAs(modBrambury::DatabasePath(), kept.path);
        return kept;
    }
    if (IsStop(failure))
        throw clsError(*failure);
    throw clsError(failure->Number(),
                   u"The current database could not be kept as a dated backup, and nothing has been replaced.  "
                   "To restore without keeping it, switch dated backups off first.\r\n\r\n"_s +
                       failure->Description(),
                   failure->Source(), failure->SystemError());
}

void NoteBackup()
{
    modBrambury::ProcessState& state = State();
    state.Settings.LastBackup = modCommonFunctions::StoredDateTime(state.Platform.Clock->Now());
    // A command saves no settings at its end, and the window's end may never come.
    state.Platform.Settings->SaveSetting(u"General"_s, u"LastBackup"_s, state.Settings.LastBackup);
    state.Platform.Settings->Flush();
}

/// Has `make` write a new database file from the old one, which stands under its temporary name until the new one is
/// complete. A half-written new file is removed; when the work was stopped the old one gets its name back.
void ThroughTemporaryName(const std::function<void(const QString& from, const QString& to)>& make)
{
    const QString path = modBrambury::DatabasePath();
    const QString made = NewPath();
    Disk().RenameFile(path, TemporaryPath());
    Disk().Flush(DataFolder());
    const std::optional<clsError> failure = failureOf([&] {
        make(TemporaryPath(), made);
        Disk().RenameFile(made, path);
        Disk().Flush(DataFolder());
    });
    if (failure) {
        ignoringErrors([&] { Disk().RemoveFile(made); });
        if (IsStop(failure)) {
            Disk().RenameFile(TemporaryPath(), path);
            Disk().Flush(DataFolder());
        }
        throw clsError(*failure);
    }
    Disk().RemoveFile(TemporaryPath());
    Disk().Flush(DataFolder());
}

void Compact(const modDBFunctions::Progress& progress)
{
    // Damage is met here, before any name has changed.
    const auto rows = Files().Read(modBrambury::DatabasePath(), modBrambury::ConnectString, PartOf(progress, 0, 20));
    ThroughTemporaryName([&](const QString& from, const QString& to) {
        Files().Compact(from, to, modBrambury::ConnectString, Locale, rows, PartOf(progress, 20, 100));
    });
}

/// @return what is to be told of it. A salvaged file has no gaps: it needs no compacting.
QStringList Salvage(const modDBFunctions::Progress& progress)
{
    const QString path = modBrambury::DatabasePath();
    const QString kept = modDBFunctions::DatedPath(path, u"damaged"_s);
    QStringList report;
    const auto failure =
        failureOf([&] { report = Files().Salvage(path, NewPath(), kept, modBrambury::ConnectString, progress); });
    if (failure && IsDamage(*failure)) {
        const QString newest = modDatedBackups::NewestText();
        throw clsError(clsError::DatabaseDamaged,
                       u"The database cannot be repaired; please restore the newest backup%1.  (%2)"_s.arg(
                           newest.isEmpty() ? QString() : u", that of "_s + newest, failure->Description()),
                       modBrambury::ProgramTitle);
    }
    if (failure)
        throw clsError(*failure);
    if (report.isEmpty())
        report << u"Every record of the damaged database was saved."_s;
    report.prepend(u"The damaged database is kept as "_s + kept);
    return report;
}

/// Offers to mend the database file that nobody has open. @return whether it is to be opened again.
bool Mend(const clsError& failure)
{
    const auto lock = modBrambury::LockDatabase();
    if (!lock)
        return false;
    const QString path = modBrambury::DatabasePath();
    const QString opening = u"The database cannot be opened.  "_s + failure.Description() + u"\r\n\r\n"_s;
    const auto agreed = [](const QString& text) {
        return MsgBox(text, clsDialogs::Buttons::YesNo, clsDialogs::Icon::Exclamation) == clsDialogs::Answer::Yes;
    };
    const auto pointing = [](const std::function<void()>& work) {
        modBrambury::ShowSplash(); // the main window is not there yet, and a large file takes its time
        Windows().SetPointer(clsWindows::Pointer::Hourglass);
        const auto failed = failureOf(work);
        Windows().SetPointer(clsWindows::Pointer::Default);
        return failed;
    };
    QString told = opening;
    if (agreed(opening + u"Do you wish to save every record that can still be read?  The damaged file is kept."_s)) {
        const auto failed = pointing([] { State().RepairReport = Salvage({}); });
        if (!failed)
            return true;
        told = failed->Description() + u"\r\n\r\n"_s;
    }
    for (const modDatedBackups::Backup& backup : modDatedBackups::All()) {
        if (!agreed(told + u"The backup of %1 holds %2 site(s) and %3 link(s).\r\nDo you wish to put it in the "
                           "database's place?  The damaged file is kept."_s.arg(DateAndTime(backup.made))
                               .arg(backup.sites)
                               .arg(backup.links)))
            return true; // the file is as it was, and what is wrong with it is told as ever
        const QString kept = modDBFunctions::DatedPath(path, u"damaged"_s);
        const auto failed = pointing([&] {
            Disk().KeepAs(path, kept);
            Files().Copy(backup.path, path, modBrambury::ConnectString, {});
        });
        if (!failed) {
            State().RepairReport = {u"The damaged database is kept as "_s + kept};
            return true;
        }
        told = failed->Description() + u"\r\n\r\n"_s;
    }
    return true;
}

/// What differs between compact and repair.
struct Rewriting
{
    const char* routine;
    QString caption;
    QString question;
    QString success;
    const modDBFunctions::Progress& progress;
    std::function<void()> work;
};

Ending Rewrite(const Rewriting& how)
{
    modBrambury::ProcessState& state = State();
    const auto answer =
        MsgBox(how.question, clsDialogs::Buttons::YesNoCancel, clsDialogs::Icon::Exclamation, how.caption);
    if (answer == clsDialogs::Answer::Cancel)
        return Ending::Refused;
    if (answer == clsDialogs::Answer::Yes) {
        state.Platform.EventLoop->Yield();
        state.BackupFromExit = true;
        state.Platform.Windows->ShowBackupRestore();
        state.BackupFromExit = false;
    }
    state.Platform.EventLoop->Yield();
    if (state.Terminating || state.SessionEnding)
        return Ending::Stopped;
    modBrambury::UnloadAllForms(true);
    // Whoever watches is to know before the database is closed.
    if (how.progress && !how.progress(0))
        return Ending::Stopped;
    auto lock = CloseForWork();
    if (!lock)
        return Ending::InUse;
    const std::optional<clsError> failure = failureOf(how.work);
    lock.reset();
    if (IsStop(failure)) {
        Reopen();
        return Ending::Stopped;
    }
    if (failure)
        throw clsError(*failure);
    if (!Reopen())
        return Ending::Failed;
    MsgBox(how.success, clsDialogs::Buttons::OK, clsDialogs::Icon::Information, how.caption);
    return Ending::Done;
}

/// The same with its error trap, and the flag that says what is going on. It stays set for the restart to clear.
Ending RewriteGuarded(const Rewriting& how)
{
    Ending ending = Ending::Failed;
    State().DatabaseWork = true;
    guarded(Module, how.routine, [&] { ending = Rewrite(how); });
    if (ending != Ending::Done)
        State().DatabaseWork = false;
    return ending;
}
} // namespace

QString modDBFunctions::DefaultBackupFolder()
{
    return modBrambury::FolderPath(u"\\Backup"_s);
}

QString modDBFunctions::BackupAt(const QString& path)
{
    if (path.isEmpty() || Disk().FileExists(path))
        return path;
    const QString dated = QDir(modDatedBackups::Folder()).filePath(path);
    return Disk().FileExists(dated) ? dated : BackupIn(path);
}

QString modDBFunctions::DatedPath(const QString& database, const QString& what)
{
    const QFileInfo file(database);
    const QString stem = file.completeBaseName() + u'-' +
                         modBrambury::Platform().Clock->Now().toString(u"yyyy-MM-dd-HHmmss"_s) +
                         (what.isEmpty() ? QString() : u'-' + what);
    QString name = stem;
    const auto path = [&] { return file.path() + u'/' + name + u'.' + file.suffix(); };
    for (int i = 2; Disk().FileExists(path()); ++i)
        name = u"%1-%2"_s.arg(stem).arg(i);
    return path();
}

Ending modDBFunctions::BackupDatabase(const QString& folder, const Progress& progress)
{
    if (folder.trimmed().isEmpty()) {
        MsgBox(u"A destination path must be specified!"_s);
        return Ending::Refused;
    }
    if (Disk().SameFolder(folder, DataFolder())) {
        MsgBox(u"You cannot backup from the same directory.  Please select another destination path."_s);
        return Ending::Refused;
    }
    const QString database = modBrambury::DatabasePath();
    const QString backup = BackupIn(folder);
    qint64 size = 0;
    qint64 leftOver = 0; // goes before the copy is made
    std::optional<clsDisk::FileFacts> old;
    const Ending looked = Trying([&] {
        if (QDir::cleanPath(folder) == QDir::cleanPath(DefaultBackupFolder()))
            Disk().MakeFolder(folder);
        if (!Disk().FolderExists(folder))
            throw clsError(clsError::PathNotFound, u"Path not found: "_s + folder, u"Disk"_s);
        size = Disk().Facts(database).size;
        if (Disk().FileExists(backup))
            old = Disk().Facts(backup);
        if (const QString half = clsDatabaseFiles::UnfinishedCopy(backup); Disk().FileExists(half))
            leftOver = Disk().Facts(half).size;
    });
    if (looked != Ending::Done)
        return looked;
    const QString space = modCommonFunctions::DiskSpaceText(folder);
    bool known = false;
    const qint64 free = space.toLongLong(&known) + leftOver;
    if (!known) {
        MsgBox(space, clsDialogs::Buttons::OK, clsDialogs::Icon::Critical);
        return Ending::Refused;
    }
    if (!EnoughSpace(free + (old ? old->size : 0), size))
        return Ending::Refused;
    const QDateTime now = modBrambury::Platform().Clock->Now();
    if (old && MsgBox(u"Replace last backup "_s + DateAndTime(old->changed) + u"\r\nwith current database "_s +
                          modBrambury::DatabaseFile + u' ' + DateAndTime(now),
                      clsDialogs::Buttons::YesNo, clsDialogs::Icon::Exclamation,
                      u"Backup Database"_s) != clsDialogs::Answer::Yes)
        return Ending::Refused;

    bool damaged = false;
    const Ending ending = CopyClosed([&] {
        if (old && free < size) {
            // There is room for one of the two only. The old one goes when the database itself is seen to be sound.
            if (const auto damage = Files().Check(database, modBrambury::ConnectString, PartOf(progress, 0, 50));
                !damage.isEmpty())
                throw clsError(clsError::DatabaseDamaged, damage.first(), modBrambury::ProgramTitle);
            Disk().RemoveFile(backup);
        }
        const auto failure = failureOf([&] { Files().Copy(database, backup, modBrambury::ConnectString, progress); });
        // Before it is repaired even a damaged database is worth a copy, where that is not in the place of a better
        // one.
        damaged = failure && IsDamage(*failure) && !Disk().FileExists(backup);
        if (damaged)
            Disk().CopyFile(database, backup);
        else if (failure)
            throw clsError(*failure);
    });
    if (ending != Ending::Done)
        return ending;
    if (damaged) {
        MsgBox(u"The database is damaged, and so is this backup of it.  The \"Repair Database\" service in the Tools "
               u"Menu saves what can still be read."_s,
               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return Ending::Done;
    }
    NoteBackup();
    MsgBox(u"Backup complete."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
    return Ending::Done;
}

Ending modDBFunctions::RestoreDatabase(const QString& backup, const Progress& progress, QStringList& report)
{
    if (backup.trimmed().isEmpty()) {
        MsgBox(u"A destination path must be specified!"_s);
        return Ending::Refused;
    }
    if (Disk().SameFolder(QFileInfo(backup).path(), DataFolder())) {
        MsgBox(u"You cannot restore to the same directory.  Please select another source path."_s);
        return Ending::Refused;
    }
    const QString database = modBrambury::DatabasePath();
    if (!Disk().FileExists(database)) {
        MsgBox(u"Could not locate the Active database."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return Ending::Refused;
    }
    clsDisk::FileFacts working;
    clsDisk::FileFacts saved;
    const Ending looked = Trying([&] {
        working = Disk().Facts(database);
        saved = Disk().Facts(backup);
    });
    if (looked != Ending::Done)
        return looked;
    if (MsgBox(u"Replace current database "_s + DateAndTime(working.changed) + u"\r\nwith last backup "_s +
                   DateAndTime(saved.changed),
               clsDialogs::Buttons::YesNo, clsDialogs::Icon::Exclamation,
               u"Restore Database"_s) != clsDialogs::Answer::Yes)
        return Ending::Refused;

    Kept kept;
    const Ending ending = CopyClosed([&] {
        if (kept.path.isEmpty() && modDatedBackups::AreKept() && !Files().SameState(database, backup))
            kept = KeepReplaced(PartOf(progress, 0, 50));
        Files().Copy(backup, database, modBrambury::ConnectString,
                     kept.path.isEmpty() ? progress : PartOf(progress, 50, 100));
        modDatedBackups::Drop({kept.path, backup});
    });
    if (ending != Ending::Done)
        return ending;
    if (!kept.path.isEmpty())
        report << (kept.damaged ? u"The damaged database is kept as "_s : u"The replaced database is kept as "_s) +
                      kept.path;
    MsgBox(u"Restore complete."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
    return Ending::Done;
}

Ending modDBFunctions::Compactdatabase(const Progress& progress)
{
    const QString& title = modBrambury::ProgramTitle;
    return RewriteGuarded({.routine = "Compactdatabase",
                           .caption = u"Compact Database"_s,
                           .question = title + u" is about to compact your databases.\r\n\r\n"
                                               "It is strongly recommended that you backup your databases\r\n"
                                               "prior to running compact.  Be advised that a power failure\r\n"
                                               "or a Windows error during compact may currupt your databases.\r\n\r\n"
                                               "Do you wish to backup at this time?"_s,
                           .success = u"The %1 database was successfully compacted."_s.arg(title),
                           .progress = progress,
                           .work = [&] { Compact(progress); }});
}

Ending modDBFunctions::Repairdatabase(const Progress& progress, QStringList& report)
{
    const QString& title = modBrambury::ProgramTitle;
    const auto work = [&] {
        const QString path = modBrambury::DatabasePath();
        if (modDatabaseCheck::DamageOf(path, PartOf(progress, 0, 30)).isEmpty()) {
            Files().Reindex(path, modBrambury::ConnectString, PartOf(progress, 30, 40));
            Compact(PartOf(progress, 40, 100));
        } else {
            report = Salvage(PartOf(progress, 30, 100));
        }
    };
    return RewriteGuarded({.routine = "Repairdatabase",
                           .caption = u"Repair Database"_s,
                           .question = title + u" is about to repair any problems in your databases.\r\n\r\n"
                                               "Would you like to backup your databases before repairing?"_s,
                           .success = u"The %1 database was successfully repaired."_s.arg(title),
                           .progress = progress,
                           .work = work});
}

Ending modDBFunctions::RescueDatabase(QString& told)
{
    const QString database = modBrambury::DatabasePath();
    if (!Disk().FileExists(TemporaryPath())) {
        told = u"There is nothing to put back."_s;
        return Ending::Done;
    }
    const auto lock = CloseForWork();
    if (!lock)
        return Ending::InUse;
    if (!Disk().FileExists(database)) {
        modBrambury::PutBackDatabase();
        told = u"The database is back under its name: "_s + database;
        return Ending::Done;
    }
    if (const QStringList damage = Files().Check(database, modBrambury::ConnectString, {}); !damage.isEmpty())
        throw clsError(
            clsError::DatabaseDamaged,
            u"Both %1 and %2 are there, and the first is damaged: %3"_s.arg(database, TemporaryPath(), damage.first()),
            modBrambury::ProgramTitle);
    if (MsgBox(u"The database is sound.  A compact or repair that did not end has left an older state of it as "_s +
                   TemporaryPath() + u".\r\n\r\nDo you wish to delete that file?"_s,
               clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) != clsDialogs::Answer::Yes)
        return Ending::Refused;
    Disk().RemoveFile(TemporaryPath());
    Disk().Flush(DataFolder());
    told = u"The left-over is deleted: "_s + TemporaryPath();
    return Ending::Done;
}
