// SPDX-License-Identifier: GPL-3.0-or-later
// Failures of the operating system as the program's own error numbers.
#pragma once

#include "platform/clsError.h"

#include <QString>

namespace modSystemError
{
/// The number of a failure of the operating system. @param code  errno
qint32 NumberOf(int code);
/// @param code    errno of the failed call.  @param doing  what was being done, "Writing /home/x/a.txt".
/// @param source  the part of the program's surroundings that failed, "Disk".
clsError FromErrno(int code, const QString& doing, const QString& source);
} // namespace modSystemError
