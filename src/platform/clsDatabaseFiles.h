// SPDX-License-Identifier: GPL-3.0-or-later
// Work on whole database files, none of which is open meanwhile: reading one through, writing it anew, copying it.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>

/// Each routine returns when its work is done; until then the event loop runs. Paths are native paths, `connect` is the
/// connect string of clsWorkspace::OpenDatabase. All raise clsError: DatabaseMissing, PasswordWrong, DatabaseDamaged,
/// PermissionDenied, RecordLocked, DiskFull, DeviceIOError, ..., and WorkStopped when Progress asked for it or the
/// program is told to end; then nothing is left of a file that was being made.
class clsDatabaseFiles
{
public:
    /// Told from the event loop how far the work is, 0 to 100. @return whether to go on. May be empty.
    using Progress = std::function<bool(int percent)>;
    /// How many rows each table has.
    using RowCounts = QMap<QString, qint64>;

    virtual ~clsDatabaseFiles() = default;
    /// Opens the file, which takes back what an interrupted change left, and reads every row of every table. Another
    /// program that is writing it is waited for.
    [[nodiscard]] virtual RowCounts Read(const QString& path, const QString& connect, const Progress& progress) = 0;
    /// The same, and the engine's own check of every page and index. @return what is wrong, nothing when it is sound.
    [[nodiscard]] virtual QStringList Check(const QString& path, const QString& connect, const Progress& progress) = 0;
    /// Makes every index anew, in the file itself: all of them or none.
    virtual void Reindex(const QString& path, const QString& connect, const Progress& progress) = 0;
    /// Writes the content of `source` into a new file without its gaps, and proves that it is sound, on the medium, and
    /// holds `rows`. @param destination  one that is there is replaced.
    /// @param locale  general sort order and code page of the new file; this engine has but one of each.
    virtual void Compact(const QString& source, const QString& destination, const QString& connect,
                         const QString& locale, const RowCounts& rows, const Progress& progress) = 0;
    /// Writes every row that can still be reached in a damaged file into `made`, proves that it is sound and on the
    /// medium, and puts it in the place of `path`; until then that is only read, and afterwards it is there as `kept`.
    /// @return what could not be saved, table by table; nothing when everything was.
    /// @throws clsError  PasswordWrong, DatabaseDamaged: there is nothing to begin with.
    [[nodiscard]] virtual QStringList Salvage(const QString& path, const QString& made, const QString& kept,
                                              const QString& connect, const Progress& progress) = 0;
    /// Copies beside `destination`, proves that the copy is sound and on the medium, and then puts it in the place of
    /// `destination`: that is the old file or the whole new one, whatever fails. @return the rows of the copy.
    virtual RowCounts Copy(const QString& source, const QString& destination, const QString& connect,
                           const Progress& progress) = 0;
    /// Where Copy writes until the copy is whole; one that was cut short by the end of the process is left there.
    [[nodiscard]] static QString UnfinishedCopy(const QString& destination)
    {
        return destination + QStringLiteral(".new");
    }
    /// Whether two files that nobody has open hold the same state. Only their beginnings are read: they differ after
    /// every change.
    [[nodiscard]] virtual bool SameState(const QString& one, const QString& other) const = 0;
};
