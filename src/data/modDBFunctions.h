// SPDX-License-Identifier: GPL-3.0-or-later
// The process's database file as a whole: opened, compacted, repaired, backed up and restored.
#pragma once

#include "platform/clsDatabaseFiles.h"

#include <QString>
#include <QStringList>

namespace modDBFunctions
{
/// Opens DataPath + "Bramdat.mdb" as the process's database under a shared lock on Bramdat.use, adds the fields that
/// older files lack, loads status names and message types: what the main window's load and every command without a
/// window do alike. @return whether the database is open afterwards; failures have been reported.
/// @param mending  offers first to mend a file that is too damaged to be opened: by saving its records, or by putting
/// the newest dated backup in its place. Whoever has commands for that wants no questions.
bool OpenProcessDatabase(bool mending = false);

/// How work on the whole file ended. The user has been told of everything but Stopped.
enum class Ending
{
    Done,
    Refused, ///< the input is refused, or a question was answered with No or Cancel; nothing was changed
    Failed,
    InUse,  ///< others have the database open, or work on it; nothing was changed
    Stopped ///< `progress` asked for it, or the program is told to end; nothing was changed
};
using Progress = clsDatabaseFiles::Progress;

/// Each of the following closes the process's database while it works on the file, has Bramdat.use for itself
/// meanwhile, and opens the database again. Windows but the main window and the backup and restore window are unloaded.

/// Copies the database file into `folder`, and notes the date in the setting LastBackup.
Ending BackupDatabase(const QString& folder, const Progress& progress);
/// Puts a copy of the file `backup` in the database file's place. While dated backups are kept, the state that it
/// replaces becomes one of them first; a damaged one stays beside the new one under a dated name.
/// @param report  where the replaced state is kept; a line for the results log.
Ending RestoreDatabase(const QString& backup, const Progress& progress, QStringList& report);
/// Writes the database file anew, without its gaps. Failures go to the error report; the database may then be left
/// closed, and under its temporary name.
Ending Compactdatabase(const Progress& progress);
/// Makes the indexes of a sound file anew and compacts it; of a damaged one it saves every row that can still be read,
/// and keeps that file beside the new one under a dated name.
/// @param report  of a damaged file: where it is kept, and what could not be saved, table by table; lines for the
/// results log.
Ending Repairdatabase(const Progress& progress, QStringList& report);
/// Puts the database back that an unfinished compact or repair left under its temporary name; where a sound database
/// is there as well, offers to delete what was left. Failures are raised. @param told  what has been done.
Ending RescueDatabase(QString& told);

/// The folder that is offered for backups; it is made when it is used.
QString DefaultBackupFolder();
/// The backup that a path means: the file itself, a dated backup by its mere name, or Bramdat.mdb in the folder. Empty
/// stays empty.
QString BackupAt(const QString& path);
/// A free name beside a database file for keeping it: "Bramdat-2026-01-05-150709.mdb". @param what  is put after the
/// date.
QString DatedPath(const QString& database, const QString& what = {});
} // namespace modDBFunctions
