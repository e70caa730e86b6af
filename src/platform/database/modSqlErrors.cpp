// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/modSqlErrors.h"

#include "platform/system/modSystemError.h"

#include <QFile>
#include <cerrno>
#include <optional>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr auto Source = "Brambury.Database";
/// So much of a statement is told: what goes wrong with a longer one is not to be looked for behind pages of it.
constexpr qsizetype MostOfStatement = 200;

struct Meaning
{
    qint32 number;
    QString text;
};

/// What the operating system's failure means, whatever the engine was doing.
std::optional<Meaning> OfSystem(int systemError)
{
    switch (const qint32 number = modSystemError::NumberOf(systemError)) {
    case clsError::DiskFull:
        return Meaning{number, u"The disk is full."_s};
    case clsError::DeviceUnavailable:
        return Meaning{number, u"The drive is not available."_s};
    case clsError::PermissionDenied:
        return Meaning{number, u"The database file or its folder may not be written."_s};
    default:
        return std::nullopt;
    }
}

Meaning OfInputOutput(int systemError)
{
    return OfSystem(systemError)
        .value_or(Meaning{clsError::DeviceIOError, u"The database file could not be read or written."_s});
}

Meaning OfCannotOpen(int systemError)
{
    return OfSystem(systemError)
        .value_or(Meaning{clsError::DatabaseMissing, u"The database file could not be found or opened."_s});
}

/// Whether the file of a connection exists.
bool IsThere(sqlite3* handle)
{
    const char* file = sqlite3_db_filename(handle, "main");
    return file && *file && QFile::exists(QString::fromUtf8(file));
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
    // What a damaged page says the tables are need not even be a statement.
    if (message.startsWith("malformed database schema"_L1))
        return {clsError::DatabaseDamaged, u"The database file is damaged."_s};
    return {clsError::EngineFailure, u"The database could not carry out a statement."_s};
}

/// What a plain error stands for: of a statement inside another one, as an export's, only its text comes out.
int InnerCode(int code, const QString& message)
{
    if ((code & 0xff) != SQLITE_ERROR)
        return code;
    for (const int inner : {SQLITE_FULL, SQLITE_IOERR, SQLITE_CORRUPT}) {
        if (message == QLatin1String(sqlite3_errstr(inner)))
            return inner;
    }
    return code;
}

Meaning Of(int code, int systemError, const QString& message)
{
    switch (InnerCode(code, message) & 0xff) {
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
    int systemError = handle ? sqlite3_system_errno(handle) : 0;
    // A journal that may not be written is looked for once more, to be read, and then only this is known of it.
    if ((code & 0xff) == SQLITE_CANTOPEN && systemError == ENOENT && IsThere(handle))
        systemError = EACCES;
    const Meaning meaning = Of(code, systemError, message);
    const QString told = doing.size() > MostOfStatement ? doing.left(MostOfStatement) + u"..."_s : doing;
    throw clsError(meaning.number, u"%1 (%2; %3)"_s.arg(meaning.text, message, told), QLatin1String(Source),
                   systemError);
}

void modSqlErrors::Raise(qint32 number, const QString& description)
{
    throw clsError(number, description, QLatin1String(Source));
}
