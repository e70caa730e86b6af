// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/system/modKernelLock.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
class clsKernelLock final : public clsFileLock
{
public:
    /// @param removed  the file to delete while the lock is still held; empty: it stays.
    clsKernelLock(int descriptor, QByteArray removed) : m_descriptor(descriptor), m_removed(std::move(removed)) {}
    ~clsKernelLock() override
    {
        if (!m_removed.isEmpty())
            ::unlink(m_removed.constData());
        ::close(m_descriptor);
    }
    clsKernelLock(const clsKernelLock&) = delete;
    clsKernelLock& operator=(const clsKernelLock&) = delete;

private:
    int m_descriptor;
    QByteArray m_removed;
};

/// False when the file was deleted between opening and locking it: a lock on it would keep nobody out.
bool StillThere(int descriptor, const QByteArray& name)
{
    struct stat held = {};
    struct stat named = {};
    return ::fstat(descriptor, &held) == 0 && ::stat(name.constData(), &named) == 0 && held.st_ino == named.st_ino &&
           held.st_dev == named.st_dev;
}
} // namespace

modKernelLock::Attempt modKernelLock::Try(const QString& path, clsDisk::Share share, Afterwards afterwards)
{
    const QByteArray name = QFile::encodeName(path);
    const int kind = share == clsDisk::Share::Shared ? LOCK_SH : LOCK_EX;
    for (;;) {
        const int descriptor = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor < 0)
            return {nullptr, errno};
        if (::flock(descriptor, kind | LOCK_NB) != 0) {
            const int error = errno;
            ::close(descriptor);
            if (error == EINTR)
                continue;
            return {nullptr, error == EWOULDBLOCK ? 0 : error};
        }
        if (StillThere(descriptor, name))
            return {std::make_unique<clsKernelLock>(descriptor, afterwards == Afterwards::Remove ? name : QByteArray()),
                    0};
        ::close(descriptor);
    }
}
