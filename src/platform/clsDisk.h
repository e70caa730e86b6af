// SPDX-License-Identifier: GPL-3.0-or-later
// Files and folders outside the database, and the locks by which copies of the program keep out of each other's way.
#pragma once

#include <QByteArray>
#include <QString>
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
    /// Renames within one drive. @throws FileExists when there is a `to`
    virtual void RenameFile(const QString& from, const QString& to) = 0;
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
