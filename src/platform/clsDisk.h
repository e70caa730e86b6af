// SPDX-License-Identifier: GPL-3.0-or-later
// Files and folders outside the database, and the locks by which copies of the program keep out of each other's way.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

/// A lock on a file, given back when this is destroyed or the process dies.
class clsFileLock
{
public:
    virtual ~clsFileLock() = default;
};

/// Paths are native paths. Failures raise clsError: FileNotFound, PathNotFound, PermissionDenied, DiskFull,
/// FileExists, DeviceUnavailable, DeviceIOError.
class clsDisk
{
public:
    enum class Share
    {
        Shared,
        Exclusive
    };

    virtual ~clsDisk() = default;
    /// True for an existing file (not a folder).
    [[nodiscard]] virtual bool FileExists(const QString& path) const = 0;
    [[nodiscard]] virtual bool FolderExists(const QString& path) const = 0;
    /// The names of the files in a folder, sorted; none when there is no such folder.
    [[nodiscard]] virtual QStringList FileNames(const QString& folder) const = 0;
    /// The names of the folders in a folder, sorted without regard to case; no hidden ones.
    [[nodiscard]] virtual QStringList FolderNames(const QString& folder) const = 0;
    /// Where files can be kept: the uppermost folder of each drive, sorted.
    [[nodiscard]] virtual QStringList Drives() const = 0;
    /// The drive that holds `path`, as Drives has it.
    [[nodiscard]] virtual QString DriveOf(const QString& path) const = 0;
    /// Makes the folder and what is missing above it; one that exists is left alone.
    virtual void MakeFolder(const QString& path) = 0;
    /// Free bytes on the drive that holds `path`.
    [[nodiscard]] virtual qint64 FreeBytes(const QString& path) const = 0;
    [[nodiscard]] virtual QByteArray ReadFile(const QString& path) const = 0;
    /// Replaces the file's content.
    virtual void WriteFile(const QString& path, const QByteArray& content) = 0;
    /// Opens for appending (created if absent), writes, closes.
    virtual void AppendFile(const QString& path, const QByteArray& content) = 0;
    /// Copies through a file beside `to`, waits until the medium has all of it, then puts it in the place of `to`: that
    /// is the old file or the whole new one, whatever fails.
    virtual void CopyFile(const QString& from, const QString& to) = 0;
    /// Writes `content` as safely as CopyFile writes its copy.
    virtual void ReplaceContent(const QString& path, const QByteArray& content) = 0;
    /// Renames within one drive. @throws FileExists when there is a `to`
    virtual void RenameFile(const QString& from, const QString& to) = 0;
    /// Renames within one drive over a `to` that may be there.
    virtual void ReplaceFile(const QString& from, const QString& to) = 0;
    /// Gives a file a second name on the same drive; where the drive knows no such thing, the second name is a copy.
    virtual void KeepAs(const QString& path, const QString& name) = 0;
    /// Deletes a file; one that is not there is no error.
    virtual void RemoveFile(const QString& path) = 0;
    /// Copies into `to` itself, and returns when the medium has all of it; whatever stops it, what was made is deleted.
    /// @param goesOn  told now and then how many bytes are done; false stops the copying.  @return false when stopped.
    virtual bool CopyContent(const QString& from, const QString& to, const std::function<bool(qint64)>& goesOn) = 0;
    /// Waits until the medium has what was written to a file, or the names that were changed in a folder.
    virtual void Flush(const QString& path) = 0;
    struct FileFacts
    {
        qint64 size = 0; ///< bytes
        QDateTime changed;
    };
    [[nodiscard]] virtual FileFacts Facts(const QString& path) const = 0;
    /// Whether two paths lead to the same existing folder, through links and different spellings too.
    [[nodiscard]] virtual bool SameFolder(const QString& one, const QString& other) const = 0;
    /// A lock of the kernel on `path` (created if absent), without waiting. @return empty when somebody else holds it,
    /// in this process or in another.
    [[nodiscard]] virtual std::unique_ptr<clsFileLock> Lock(const QString& path, Share share) = 0;
};

/// One running window for each program folder.
class clsInstance
{
public:
    virtual ~clsInstance() = default;
    /// True when another copy already shows a window for this program folder; otherwise this copy is now that one.
    [[nodiscard]] virtual bool PrevInstance() = 0;
    /// Asks that copy to come to the front.
    virtual void ActivatePrev() = 0;
    /// Gives the place up.
    virtual void Release() = 0;
};
