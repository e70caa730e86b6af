// SPDX-License-Identifier: GPL-3.0-or-later
// The database engine's result codes as the program's error numbers.
#pragma once

#include "platform/clsError.h"

#include <QString>

struct sqlite3;

namespace modSqlErrors
{
/// Raises the clsError that stands for a result code.
/// @param handle  the connection the code came from, for its message and the system's error code; may be null.
/// @param code    extended result code.  @param doing  what was tried, for the description: "open \"/x/y.mdb\"".
[[noreturn]] void Raise(sqlite3* handle, int code, const QString& doing);
/// Raises an error of the program's own making, under the database's name.
[[noreturn]] void Raise(qint32 number, const QString& description);
} // namespace modSqlErrors
