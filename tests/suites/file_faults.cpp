// SPDX-License-Identifier: GPL-3.0-or-later
// A library to be preloaded into the program under test: counts every call that changes a file below one folder, and
// makes the one with a given number fail, or kills the process in the middle of it.
//
// FILE_FAULTS="KIND:NUMBER:FOLDER", numbers from 1; FILE_FAULTS_COUNT names a file that receives the number of calls
// when the process ends by itself. Kinds:
//   count  nothing fails
//   kill   the process dies: half of a write has been done, anything else has not
//   full   from this call on there is no space: half of the first write is done, files cannot grow or be created
//   io     this call alone fails with an input/output error
//   gone   from this call on the medium is not there: every call fails, and no file can be opened
//   locked no file can be opened for writing, as on a medium mounted read-only (NUMBER is not looked at)
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

static_assert(sizeof(long) == 8, "the raw calls below take their offsets in one register");

namespace
{
enum class Kind
{
    Off,
    Count,
    Kill,
    Full,
    Io,
    Gone,
    Locked
};
enum class Call
{
    Grow,
    Change
};

Kind s_kind = Kind::Off;
long s_at = 0;
long s_calls = 0;
std::string& Folder()
{
    static std::string folder;
    return folder;
}

bool Below(std::string_view path)
{
    return path.substr(0, Folder().size()) == Folder();
}

bool Watched(int descriptor)
{
    if (s_kind == Kind::Off)
        return false;
    char link[64];
    char path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = ::readlink(link, path, sizeof path);
    return length > 0 && Below(std::string_view(path, static_cast<std::size_t>(length)));
}

bool Watched(const char* path)
{
    return s_kind != Kind::Off && Below(path);
}

/// Counts the call. @return true when it must fail; errno says why.
bool Fails(Call call)
{
    ++s_calls;
    switch (s_kind) {
    case Kind::Kill:
        if (s_calls == s_at)
            ::raise(SIGKILL);
        return false;
    case Kind::Full:
        errno = ENOSPC;
        return call == Call::Grow && s_calls >= s_at;
    case Kind::Io:
        errno = EIO;
        return s_calls == s_at;
    case Kind::Gone:
        errno = ENXIO;
        return s_calls >= s_at;
    default:
        return false;
    }
}

/// How much of a write is done before its fault.
std::size_t Half(std::size_t size)
{
    const bool torn = (s_kind == Kind::Kill || s_kind == Kind::Full) && s_calls + 1 == s_at;
    return torn ? size / 2 : 0;
}

template <class Do> ssize_t Write(int descriptor, std::size_t size, Do write)
{
    if (!Watched(descriptor))
        return write(size);
    if (const std::size_t half = Half(size); half > 0) {
        const ssize_t done = write(half);
        if (Fails(Call::Grow) && done <= 0)
            return -1;
        return done;
    }
    return Fails(Call::Grow) ? -1 : write(size);
}

int Open(const char* path, int flags, mode_t mode)
{
    if (Watched(path)) {
        if (s_kind == Kind::Locked && (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0) {
            errno = EROFS;
            return -1;
        }
        if (s_kind == Kind::Gone && s_calls >= s_at) {
            errno = ENXIO;
            return -1;
        }
        const bool creates = (flags & O_CREAT) != 0 && ::access(path, F_OK) != 0;
        if (creates && Fails(Call::Grow))
            return -1;
    }
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

__attribute__((constructor)) void Begin()
{
    const char* plan = std::getenv("FILE_FAULTS");
    if (!plan)
        return;
    const std::string text = plan;
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    Folder() = text.substr(second + 1);
    s_at = std::atol(text.c_str() + first + 1);
    const std::string kind = text.substr(0, first);
    s_kind = kind == "kill"     ? Kind::Kill
             : kind == "full"   ? Kind::Full
             : kind == "io"     ? Kind::Io
             : kind == "gone"   ? Kind::Gone
             : kind == "locked" ? Kind::Locked
                                : Kind::Count;
    ::unsetenv("LD_PRELOAD");
}

__attribute__((destructor)) void End()
{
    const char* counted = std::getenv("FILE_FAULTS_COUNT");
    if (std::exchange(s_kind, Kind::Off) == Kind::Off || !counted)
        return;
    if (std::FILE* file = std::fopen(counted, "w")) {
        std::fprintf(file, "%ld", s_calls);
        std::fclose(file);
    }
}
} // namespace

extern "C" {
ssize_t write(int descriptor, const void* data, size_t size)
{
    return Write(descriptor, size, [&](size_t part) { return ::syscall(SYS_write, descriptor, data, part); });
}

ssize_t pwrite(int descriptor, const void* data, size_t size, off_t place)
{
    return Write(descriptor, size, [&](size_t part) { return ::syscall(SYS_pwrite64, descriptor, data, part, place); });
}

ssize_t pwrite64(int, const void*, size_t, off64_t) __attribute__((alias("pwrite")));

int fsync(int descriptor)
{
    if (Watched(descriptor) && Fails(Call::Grow))
        return -1;
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int fdatasync(int) __attribute__((alias("fsync")));

int ftruncate(int descriptor, off_t size) noexcept
{
    if (Watched(descriptor) && Fails(Call::Change))
        return -1;
    return static_cast<int>(::syscall(SYS_ftruncate, descriptor, size));
}

int ftruncate64(int, off64_t) noexcept __attribute__((alias("ftruncate")));

int unlink(const char* path) noexcept
{
    if (Watched(path) && Fails(Call::Change))
        return -1;
    return static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

int rename(const char* from, const char* to) noexcept
{
    if (Watched(to) && Fails(Call::Change))
        return -1;
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return Open(path, flags, mode);
}

int open64(const char*, int, ...) __attribute__((alias("open")));
}
