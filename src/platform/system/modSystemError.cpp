// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/system/modSystemError.h"

#include <cerrno>
#include <system_error>

qint32 modSystemError::NumberOf(int code)
{
    switch (code) {
    case ENOENT:
        return clsError::FileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        return clsError::PathNotFound;
    case EEXIST:
        return clsError::FileExists;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
        return clsError::PermissionDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: // a limit on the size of files leaves no more room than a full disk
        return clsError::DiskFull;
    case ENODEV:
    case ENXIO:
    case ENOMEDIUM:
    case ESTALE:
    case ENOTCONN: // so does a drive of another machine end
    case EHOSTDOWN:
        return clsError::DeviceUnavailable;
    default:
        return clsError::DeviceIOError;
    }
}

clsError modSystemError::FromErrno(int code, const QString& doing, const QString& source)
{
    const QString reason = QString::fromStdString(std::generic_category().message(code));
    return {NumberOf(code), doing + QStringLiteral(": ") + reason, source, code};
}
