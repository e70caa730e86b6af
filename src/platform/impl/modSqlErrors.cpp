// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/impl/modSqlErrors.h"

#include <cerrno>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr auto Source = "Brambury.Database";

struct Meaning
{
    qint32 number;
    QString text;
};

bool NoSpace(int systemError)
{
    return systemError == ENOSPC || systemError == EFBIG || systemError == EDQUOT;
}

Meaning OfInputOutput(int systemError)
{
    if (NoSpace(systemError))
        return {clsError::DiskFull, u"The disk is full."_s};
    if (systemError == EACCES || systemError == EPERM || systemError == EROFS)
        return {clsError::PermissionDenied, u"The database file or its folder may not be written."_s};
    return {clsError::DeviceIOError, u"The database file could not be read or written."_s};
}

Meaning OfCannotOpen(int systemError)
{
    if (systemError == EACCES || systemError == EPERM || systemError == EROFS)
        return {clsError::PermissionDenied, u"No permission to open the database file, or to write beside it."_s};
    if (NoSpace(systemError))
        return {clsError::DiskFull, u"The disk is full."_s};
    return {clsError::DatabaseMissing, u"The database file could not be found or opened."_s};
}

Meaning OfConstraint(int code)
{
    switch (code) {
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID:
        return {clsError::DuplicateKey, u"A record with this key exists already."_s};
    case SQLITE_CONSTRAINT_NOTNULL:
        // Not InvalidNull: that number is passed over in silence, and a record that was not saved must be told.
        return {clsError::EngineFailure, u"A field that needs a value has none."_s};
    default:
        return {clsError::EngineFailure, u"A value is not allowed in its field."_s};
    }
}

Meaning OfStatement(const QString& message)
{
    for (const auto start : {"no such table"_L1, "no such column"_L1, "no such view"_L1}) {
        if (message.startsWith(start))
            return {clsError::UnknownItem, u"A table or field of this name does not exist."_s};
    }
    return {clsError::EngineFailure, u"The database could not carry out a statement."_s};
}

Meaning Of(int code, int systemError, const QString& message)
{
    switch (code & 0xff) {
    case SQLITE_CANTOPEN:
        return OfCannotOpen(systemError);
    case SQLITE_NOTADB:
        return {clsError::PasswordWrong, u"The password is wrong, or the file is no database of this program."_s};
    case SQLITE_CORRUPT:
        return {clsError::DatabaseDamaged, u"The database file is damaged."_s};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return {clsError::RecordLocked, u"The database is locked by another program."_s};
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return {clsError::PermissionDenied, u"The database file may not be written."_s};
    case SQLITE_FULL:
        return {clsError::DiskFull, u"The disk is full."_s};
    case SQLITE_IOERR:
        return OfInputOutput(systemError);
    case SQLITE_CONSTRAINT:
        return OfConstraint(code);
    case SQLITE_INTERRUPT:
        return {clsError::WorkStopped, u"The work on the database file was stopped."_s};
    case SQLITE_MISMATCH:
        return {clsError::TypeMismatch, u"A value does not suit its field."_s};
    case SQLITE_ERROR:
        return OfStatement(message);
    default:
        return {clsError::EngineFailure, u"The database failed."_s};
    }
}
} // namespace

void modSqlErrors::Raise(sqlite3* handle, int code, const QString& doing)
{
    const QString message = QString::fromUtf8(handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
    const int systemError = handle ? sqlite3_system_errno(handle) : 0;
    const Meaning meaning = Of(code, systemError, message);
    throw clsError(meaning.number, u"%1 (%2; %3)"_s.arg(meaning.text, message, doing), QLatin1String(Source),
                   systemError);
}

void modSqlErrors::Raise(qint32 number, const QString& description)
{
    throw clsError(number, description, QLatin1String(Source));
}
