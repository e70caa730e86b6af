// SPDX-License-Identifier: GPL-3.0-or-later
#define SQLITE_HAS_CODEC // declares sqlite3_key
#include "platform/database/clsSqlConnection.h"

#include "platform/clsDatabase.h"
#include "platform/database/clsSqlStatement.h"
#include "platform/database/modSqlErrors.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <atomic>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Pages kept in memory, in KiB; grows only as far as the file is read.
constexpr int CacheKiB = 12 * 1024;
/// Statements kept prepared.
constexpr qsizetype StatementStore = 48;

quint64 NextSerial()
{
    static std::atomic<quint64> serial = 0;
    return ++serial;
}

/// The declared type says the rest: VARCHAR(50), INTEGER, BOOLEAN, TEXT.
clsSqlField FieldOf(const QString& name, const QString& declaredType)
{
    static const QRegularExpression sized(u"^\\w*CHAR\\w*\\s*\\((\\d+)\\)$"_s,
                                          QRegularExpression::CaseInsensitiveOption);
    clsSqlField field{name, 0, false};
    if (const auto match = sized.match(declaredType.trimmed()); match.hasMatch())
        field.size = match.captured(1).toInt();
    field.numeric = declaredType.contains("INT"_L1, Qt::CaseInsensitive) ||
                    declaredType.contains("BOOL"_L1, Qt::CaseInsensitive) ||
                    declaredType.contains("REAL"_L1, Qt::CaseInsensitive);
    return field;
}
} // namespace

QString SqlName(const QString& name)
{
    QString quoted = name;
    return u'"' + quoted.replace(u'"', "\"\""_L1) + u'"';
}

QString SqlText(const QString& text)
{
    QString quoted = text;
    return u'\'' + quoted.replace(u'\'', "''"_L1) + u'\'';
}

const clsSqlField* clsSqlTable::Field(const QString& fieldName) const
{
    for (const clsSqlField& field : fields) {
        if (field.name.compare(fieldName, Qt::CaseInsensitive) == 0)
            return &field;
    }
    return nullptr;
}

clsSqlConnection::clsSqlConnection(QString key) : m_key(std::move(key)), m_serial(NextSerial()) {}

clsSqlConnection::~clsSqlConnection()
{
    Close();
}

std::shared_ptr<clsSqlConnection> clsSqlConnection::Open(const QString& path, const QString& key, Create create)
{
    const QString doing = u"open \"%1\""_s.arg(path);
    if (create == Create::No && !QFileInfo(path).isFile())
        modSqlErrors::Raise(clsError::DatabaseMissing, u"Could not find the database file \"%1\"."_s.arg(path));

    std::shared_ptr<clsSqlConnection> connection(new clsSqlConnection(key));
    const int flags = SQLITE_OPEN_READWRITE | (create == Create::Yes ? SQLITE_OPEN_CREATE : 0);
    int code = sqlite3_open_v2(path.toUtf8().constData(), &connection->m_handle, flags, nullptr);
    if (code != SQLITE_OK)
        modSqlErrors::Raise(connection->m_handle, code, doing);
    sqlite3_extended_result_codes(connection->m_handle, 1);
    connection->SetPatience(clsDatabase::UsualPatience);
    const QByteArray passphrase = key.toUtf8();
    code = sqlite3_key(connection->m_handle, passphrase.constData(), static_cast<int>(passphrase.size()));
    if (code != SQLITE_OK)
        modSqlErrors::Raise(connection->m_handle, code, doing);
    connection->Prove(path, create);
    return connection;
}

void clsSqlConnection::Prove(const QString& path, Create create)
{
    // A later version of the library must read the same file; this version ignores the line.
    Run(u"PRAGMA cipher_compatibility = 3"_s);
    Run(u"PRAGMA cache_size = -%1"_s.arg(CacheKiB));
    // The key is looked at when a page is read, not before. An empty file holds no page and would pass.
    Run(u"SELECT count(*) FROM sqlite_master"_s);
    if (create == Create::No && QFileInfo(path).size() == 0)
        modSqlErrors::Raise(clsError::PasswordWrong, u"The file \"%1\" is empty; it is no database."_s.arg(path));
    // Without write permission the engine opens the file for reading only and says nothing.
    if (sqlite3_db_readonly(m_handle, "main") == 1)
        modSqlErrors::Raise(clsError::PermissionDenied, u"No permission to write the file \"%1\"."_s.arg(path));
    // One file, whole whenever nobody is writing: no write-ahead log beside it.
    Run(u"PRAGMA journal_mode = DELETE"_s);
    Run(u"PRAGMA foreign_keys = OFF"_s);
}

void clsSqlConnection::FinalizeStatements()
{
    for (sqlite3_stmt* statement : std::as_const(m_statements))
        sqlite3_finalize(statement);
    m_statements.clear();
}

void clsSqlConnection::Close()
{
    FinalizeStatements();
    m_tables.clear();
    m_depth = 0;
    sqlite3_close_v2(m_handle);
    m_handle = nullptr;
}

clsSqlConnection::ChangeMark clsSqlConnection::Changes() const
{
    return {m_serial, sqlite3_total_changes(m_handle)};
}

sqlite3_stmt* clsSqlConnection::Take(const QString& sql)
{
    if (sqlite3_stmt* stored = m_statements.take(sql))
        return stored;
    sqlite3_stmt* statement = nullptr;
    const QByteArray text = sql.toUtf8();
    const int code =
        sqlite3_prepare_v2(m_handle, text.constData(), static_cast<int>(text.size()) + 1, &statement, nullptr);
    if (code != SQLITE_OK)
        modSqlErrors::Raise(m_handle, code, sql);
    if (!statement)
        modSqlErrors::Raise(clsError::EngineFailure, u"A statement is empty."_s);
    return statement;
}

void clsSqlConnection::GiveBack(const QString& sql, sqlite3_stmt* statement) noexcept
{
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (!m_handle || m_statements.contains(sql)) {
        sqlite3_finalize(statement);
        return;
    }
    if (m_statements.size() >= StatementStore)
        FinalizeStatements();
    m_statements.insert(sql, statement);
}

void clsSqlConnection::Run(const QString& sql)
{
    const int code = sqlite3_exec(m_handle, sql.toUtf8().constData(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        modSqlErrors::Raise(m_handle, sqlite3_extended_errcode(m_handle), sql);
}

const clsSqlTable* clsSqlConnection::FindTable(const QString& name)
{
    const QString id = name.toLower();
    if (const auto known = m_tables.find(id); known != m_tables.end())
        return &known->second;
    clsSqlTable table{name, {}, {}};
    clsSqlStatement columns(shared_from_this(), u"PRAGMA table_info(%1)"_s.arg(SqlName(name)));
    int keyFields = 0;
    while (columns.Step()) { // cid, name, type, notnull, dflt_value, pk
        const QString field = columns.Value(1).toString();
        const QString type = columns.Value(2).toString();
        table.fields.push_back(FieldOf(field, type));
        if (columns.Number(5) > 0) {
            ++keyFields;
            if (type.compare("INTEGER"_L1, Qt::CaseInsensitive) == 0)
                table.key = field;
        }
    }
    if (keyFields > 1)
        table.key.clear();
    if (table.fields.empty())
        return nullptr;
    return &m_tables.emplace(id, std::move(table)).first->second;
}

const clsSqlTable& clsSqlConnection::Table(const QString& name)
{
    const clsSqlTable* table = FindTable(name);
    if (!table)
        modSqlErrors::Raise(clsError::UnknownItem, u"There is no table \"%1\" in the database."_s.arg(name));
    return *table;
}

std::optional<QString> clsSqlConnection::StoredQuery(const QString& name)
{
    clsSqlStatement query(shared_from_this(), u"SELECT SQL FROM tblQueries WHERE Name = ?1"_s);
    query.Bind(1, QVariant(name));
    if (!query.Step())
        return std::nullopt;
    return query.Value(0).toString();
}

void clsSqlConnection::SetPatience(std::chrono::milliseconds patience) noexcept
{
    sqlite3_busy_timeout(m_handle, static_cast<int>(patience.count()));
}

bool clsSqlConnection::InTransaction() const
{
    return sqlite3_get_autocommit(m_handle) == 0;
}

void clsSqlConnection::BeginTrans()
{
    // Immediate: a lock that another program holds is met here, not in the middle of the work.
    Run(m_depth == 0 ? u"BEGIN IMMEDIATE"_s : u"SAVEPOINT level%1"_s.arg(m_depth));
    ++m_depth;
}

void clsSqlConnection::CommitTrans()
{
    Run(m_depth <= 1 ? u"COMMIT"_s : u"RELEASE level%1"_s.arg(m_depth - 1));
    --m_depth;
}

void clsSqlConnection::Rollback() noexcept
{
    if (m_depth == 0)
        return;
    --m_depth;
    // After some failures (a full disk) the engine has rolled back by itself; then there is nothing left to do.
    if (!m_handle || !InTransaction())
        return;
    const QByteArray level = QByteArray::number(m_depth);
    const QByteArray sql =
        m_depth == 0 ? QByteArray("ROLLBACK") : "ROLLBACK TO level" + level + "; RELEASE level" + level;
    sqlite3_exec(m_handle, sql.constData(), nullptr, nullptr, nullptr);
}

clsSqlReading::clsSqlReading(clsSqlConnection& connection) : m_connection(&connection)
{
    if (m_connection->InTransaction())
        m_connection = nullptr;
    else
        m_connection->Run(u"BEGIN"_s);
}

clsSqlReading::~clsSqlReading()
{
    if (m_connection && m_connection->InTransaction())
        sqlite3_exec(m_connection->Handle(), "COMMIT", nullptr, nullptr, nullptr);
}
