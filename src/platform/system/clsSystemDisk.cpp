// SPDX-License-Identifier: GPL-3.0-or-later
// Files by the system's own calls, because only they say exactly why something failed.
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "platform/system/modKernelLock.h"
#include "platform/system/modSystemError.h"

#include <QByteArrayView>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <tuple>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr std::size_t BlockSize = 64 * 1024;
constexpr qint64 FlushSize = 4 * 1024 * 1024;

[[noreturn]] void Fail(int code, const QString& doing)
{
    throw modSystemError::FromErrno(code, doing, u"Disk"_s);
}

/// An open file, closed by the destructor at the latest.
class clsOpenFile
{
public:
    clsOpenFile(const QString& path, int flags, QString doing) : m_doing(std::move(doing) + path)
    {
        m_descriptor = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC, 0666);
        if (m_descriptor >= 0)
            return;
        // A file that could have been created was not missing: its folder was.
        const bool noFolder = errno == ENOENT && (flags & O_CREAT) != 0;
        Fail(noFolder ? ENOTDIR : errno, m_doing);
    }
    ~clsOpenFile()
    {
        if (m_descriptor < 0)
            return;
        Cut(); // a file that could not be written whole ends where writing did
        ::close(m_descriptor);
    }
    clsOpenFile(const clsOpenFile&) = delete;
    clsOpenFile& operator=(const clsOpenFile&) = delete;

    /// @return how much was read, 0 at the end.
    std::size_t Read(char* buffer, std::size_t size)
    {
        for (;;) {
            const ssize_t got = ::read(m_descriptor, buffer, size);
            if (got >= 0)
                return static_cast<std::size_t>(got);
            if (errno != EINTR)
                Fail(errno, m_doing);
        }
    }
    void Write(QByteArrayView data)
    {
        while (!data.isEmpty()) {
            const ssize_t done = ::write(m_descriptor, data.data(), static_cast<std::size_t>(data.size()));
            if (done >= 0)
                data = data.sliced(done);
            else if (errno != EINTR)
                Fail(errno, m_doing);
        }
    }
    /// Waits until the medium itself has the content.
    void Flush()
    {
        // Some file systems cannot do this for a folder; they keep its names in order without.
        if (::fsync(m_descriptor) != 0 && errno != EINVAL)
            Fail(errno, m_doing);
    }
    /// Has the file end where writing it did. Emptying it before instead would make some file systems put every
    /// rewritten file on the disk when it is closed, some milliseconds each time.
    void ReplaceContent() { m_replaces = true; }
    /// Gives the file the permissions of another one, if there is one and we may; its owner may always write.
    void TakeModeOf(const QString& path)
    {
        struct stat facts = {};
        if (::stat(QFile::encodeName(path).constData(), &facts) == 0)
            std::ignore = ::fchmod(m_descriptor, (facts.st_mode & 07777) | 0600);
    }
    /// Some file systems tell only here that the content did not fit.
    void Close()
    {
        if (!Cut())
            Fail(errno, m_doing);
        if (::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR)
            Fail(errno, m_doing);
    }

private:
    bool Cut() const
    {
        // Devices and pipes have no length to cut.
        return !m_replaces || ::ftruncate(m_descriptor, ::lseek(m_descriptor, 0, SEEK_CUR)) == 0 || errno == EINVAL;
    }

    int m_descriptor = -1;
    bool m_replaces = false;
    QString m_doing;
};

/// A file that is deleted unless it is kept.
class clsHalfFile
{
public:
    explicit clsHalfFile(const QString& path) : m_name(QFile::encodeName(path)) {}
    ~clsHalfFile()
    {
        if (!m_kept)
            ::unlink(m_name.constData());
    }
    clsHalfFile(const clsHalfFile&) = delete;
    clsHalfFile& operator=(const clsHalfFile&) = delete;
    /// Puts it in the place of `path`.
    void KeepAs(const QString& path)
    {
        if (::rename(m_name.constData(), QFile::encodeName(path).constData()) != 0)
            Fail(errno, u"Writing "_s + path);
        Keep();
    }
    void Keep() { m_kept = true; }

private:
    QByteArray m_name;
    bool m_kept = false;
};

/// @return false when stopped by `goesOn`, which may be empty.
bool Copy(clsOpenFile& source, clsOpenFile& target, const std::function<bool(qint64)>& goesOn)
{
    std::array<char, BlockSize> block;
    qint64 done = 0;
    while (const std::size_t got = source.Read(block.data(), block.size())) {
        target.Write(QByteArrayView(block.data(), static_cast<qsizetype>(got)));
        done += static_cast<qint64>(got);
        // Without a pause for the medium, memory would take it all at once, and the end would be a long silence.
        if (goesOn && done % FlushSize < static_cast<qint64>(got)) {
            target.Flush();
            if (!goesOn(done))
                return false;
        }
    }
    return true;
}

/// Folders of the system's own making look like drives.
bool IsOfSystem(const QString& root)
{
    return root.startsWith("/proc"_L1) || root.startsWith("/sys"_L1) || root.startsWith("/dev"_L1) ||
           root.startsWith("/snap"_L1) || root.startsWith("/boot"_L1) ||
           (root.startsWith("/run"_L1) && !root.startsWith("/run/media"_L1));
}

class clsSystemDisk final : public clsDisk
{
public:
    bool FileExists(const QString& path) const override { return QFileInfo(path).isFile(); }
    bool FolderExists(const QString& path) const override { return QFileInfo(path).isDir(); }

    QStringList FileNames(const QString& folder) const override
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QStringList FolderNames(const QString& folder) const override
    {
        return QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
    }

    QStringList Drives() const override
    {
        QStringList drives;
        const QList<QStorageInfo> volumes = QStorageInfo::mountedVolumes();
        for (const QStorageInfo& volume : volumes) {
            const QString root = volume.rootPath();
            if (volume.isReady() && !IsOfSystem(root) && FolderExists(root))
                drives << QDir::toNativeSeparators(root);
        }
        drives.removeDuplicates();
        drives.sort();
        return drives;
    }

    QString DriveOf(const QString& path) const override
    {
        return QDir::toNativeSeparators(QStorageInfo(path).rootPath());
    }

    void MakeFolder(const QString& path) override
    {
        if (path.isEmpty())
            Fail(ENOTDIR, u"Making a folder without a name"_s);
        if (FolderExists(path))
            return;
        const QString parent = QFileInfo(QDir::cleanPath(QFileInfo(path).absoluteFilePath())).path();
        if (!FolderExists(parent))
            MakeFolder(parent);
        // Somebody else may have made it meanwhile, and that serves as well.
        if (::mkdir(QFile::encodeName(path).constData(), 0777) != 0 && !(errno == EEXIST && FolderExists(path)))
            Fail(errno, u"Making the folder "_s + path);
    }

    qint64 FreeBytes(const QString& path) const override
    {
        struct statvfs space = {};
        if (::statvfs(QFile::encodeName(path).constData(), &space) != 0)
            Fail(errno, u"Finding the free space of "_s + path);
        return static_cast<qint64>(space.f_bavail) * static_cast<qint64>(space.f_frsize);
    }

    QByteArray ReadFile(const QString& path) const override
    {
        clsOpenFile file(path, O_RDONLY, u"Reading "_s);
        QByteArray content;
        std::array<char, BlockSize> block;
        while (const std::size_t got = file.Read(block.data(), block.size()))
            content.append(block.data(), static_cast<qsizetype>(got));
        return content;
    }

    void WriteFile(const QString& path, const QByteArray& content) override
    {
        clsOpenFile file(path, O_WRONLY | O_CREAT, u"Writing "_s);
        file.ReplaceContent();
        file.Write(content);
        file.Close();
    }

    void AppendFile(const QString& path, const QByteArray& content) override
    {
        clsOpenFile file(path, O_WRONLY | O_CREAT | O_APPEND, u"Writing "_s);
        file.Write(content);
        file.Close();
    }

    void CopyFile(const QString& from, const QString& to) override
    {
        clsOpenFile source(from, O_RDONLY, u"Reading "_s);
        Replace(to, [&source](clsOpenFile& target) { Copy(source, target, {}); });
    }

    bool CopyContent(const QString& from, const QString& to, const std::function<bool(qint64)>& goesOn) override
    {
        clsOpenFile source(from, O_RDONLY, u"Reading "_s);
        clsOpenFile target(to, O_WRONLY | O_CREAT | O_TRUNC, u"Writing "_s);
        clsHalfFile half(to);
        if (!Copy(source, target, goesOn))
            return false;
        target.Flush();
        target.Close();
        half.Keep();
        return true;
    }

    void ReplaceContent(const QString& path, const QByteArray& content) override
    {
        Replace(path, [&content](clsOpenFile& target) { target.Write(content); });
    }

    void RenameFile(const QString& from, const QString& to) override
    {
        const QString doing = u"Renaming "_s + from + u" to "_s + to;
        if (QFileInfo::exists(to))
            Fail(EEXIST, doing);
        if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
            Fail(errno == ENOENT && QFileInfo::exists(from) ? ENOTDIR : errno, doing);
    }

    void ReplaceFile(const QString& from, const QString& to) override
    {
        if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
            Fail(errno, u"Renaming "_s + from + u" to "_s + to);
    }

    void KeepAs(const QString& path, const QString& name) override
    {
        if (::link(QFile::encodeName(path).constData(), QFile::encodeName(name).constData()) == 0)
            return;
        if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK)
            Fail(errno, u"Naming "_s + path + u" also "_s + name);
        CopyFile(path, name);
    }

    void RemoveFile(const QString& path) override
    {
        if (::unlink(QFile::encodeName(path).constData()) != 0 && errno != ENOENT)
            Fail(errno, u"Deleting "_s + path);
    }

    void Flush(const QString& path) override
    {
        clsOpenFile file(path, O_RDONLY, u"Writing "_s);
        file.Flush();
        file.Close();
    }

    FileFacts Facts(const QString& path) const override
    {
        struct stat facts = {};
        if (::stat(QFile::encodeName(path).constData(), &facts) != 0)
            Fail(errno, u"Looking for "_s + path);
        return {facts.st_size, QDateTime::fromSecsSinceEpoch(facts.st_mtim.tv_sec)};
    }

    bool SameFolder(const QString& one, const QString& other) const override
    {
        struct stat first = {};
        struct stat second = {};
        return ::stat(QFile::encodeName(one).constData(), &first) == 0 &&
               ::stat(QFile::encodeName(other).constData(), &second) == 0 && first.st_ino == second.st_ino &&
               first.st_dev == second.st_dev;
    }

    std::unique_ptr<clsFileLock> Lock(const QString& path, Share share) override
    {
        modKernelLock::Attempt attempt = modKernelLock::Try(path, share, modKernelLock::Afterwards::Keep);
        if (attempt.error != 0)
            Fail(attempt.error == ENOENT ? ENOTDIR : attempt.error, u"Locking "_s + path);
        return std::move(attempt.lock);
    }

private:
    /// Has `write` fill a file beside `path`, which takes its place once the medium has all of it. Where `path` is a
    /// link, the file it leads to is replaced; the new file may be read and written by whom the old one could.
    static void Replace(const QString& path, const std::function<void(clsOpenFile&)>& write)
    {
        const QString led = QFileInfo(path).canonicalFilePath();
        if (!led.isEmpty() && led != path && QFileInfo(path).isSymLink())
            return Replace(led, write);
        const QString part = path + u".part"_s;
        clsOpenFile target(part, O_WRONLY | O_CREAT | O_TRUNC, u"Writing "_s);
        clsHalfFile half(part);
        target.TakeModeOf(path);
        write(target);
        target.Flush();
        target.Close();
        half.KeepAs(path);
    }
};
} // namespace

std::unique_ptr<clsDisk> modPlatformImpl::MakeDisk()
{
    return std::make_unique<clsSystemDisk>();
}
