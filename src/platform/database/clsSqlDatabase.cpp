// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlDatabase.h"

#include "platform/database/clsSqlQueryDef.h"
#include "platform/database/clsSqlRecordset.h"
#include "platform/database/clsSqlStatement.h"
#include "platform/database/modSqlErrors.h"

#include <QRegularExpression>
#include <algorithm>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Callers write texts in double quotes. The engine takes such a text for a field's name when there is a field of that
/// name (a site called "Category"), so they become texts in single quotes before it sees them.
QString WithTextLiterals(const QString& statement)
{
    QString result;
    for (qsizetype i = 0; i < statement.size(); ++i) {
        const QChar quote = statement.at(i);
        if (quote != u'"' && quote != u'\'') {
            result += quote;
            continue;
        }
        QString text;
        for (++i; i < statement.size(); ++i) {
            if (statement.at(i) == quote) {
                if (i + 1 >= statement.size() || statement.at(i + 1) != quote)
                    break;
                ++i;
            }
            text += statement.at(i);
        }
        result += SqlText(text);
    }
    return result;
}

/// A default as the table declaration writes it.
QString Literal(const QVariant& value)
{
    return value.metaType().id() == QMetaType::QString ? SqlText(value.toString())
                                                       : QString::number(value.toLongLong());
}
} // namespace

clsSqlDatabase::clsSqlDatabase(std::shared_ptr<clsSqlOpenFiles> files, QString path,
                               std::shared_ptr<clsSqlConnection> connection)
    : m_files(std::move(files)), m_path(std::move(path)), m_connection(std::move(connection))
{
}

bool clsSqlDatabase::IsOpen() const
{
    return m_connection && m_connection->IsOpen();
}

void clsSqlDatabase::Close()
{
    m_connection.reset(); // the last handle on a file closes it
}

clsSqlConnection& clsSqlDatabase::Connection() const
{
    if (!IsOpen())
        modSqlErrors::Raise(clsError::DatabaseClosed, u"The database \"%1\" is not open."_s.arg(m_path));
    return *m_connection;
}

std::unique_ptr<clsRecordset> clsSqlDatabase::OpenRecordset(const QString& source)
{
    static const QRegularExpression select(u"^\\s*SELECT\\s"_s, QRegularExpression::CaseInsensitiveOption);
    clsSqlConnection& connection = Connection();
    if (source.contains(select))
        return clsSqlRecordset::OfStatement(m_files, m_path, WithTextLiterals(source), {});
    if (connection.FindTable(source))
        return clsSqlRecordset::OfTable(m_files, m_path, source);
    return QueryDef(source)->OpenRecordset();
}

std::unique_ptr<clsQueryDef> clsSqlDatabase::QueryDef(const QString& name)
{
    const auto sql = Connection().StoredQuery(name);
    if (!sql)
        modSqlErrors::Raise(clsError::UnknownItem, u"There is no stored query \"%1\" in the database."_s.arg(name));
    return std::make_unique<clsSqlQueryDef>(m_files, m_path, *sql);
}

QStringList clsSqlDatabase::Fields(const QString& table)
{
    QStringList names;
    for (const clsSqlField& field : Connection().Table(table).fields)
        names << field.name;
    return names;
}

int clsSqlDatabase::FieldSize(const QString& table, const QString& field)
{
    const clsSqlField* found = Connection().Table(table).Field(field);
    if (!found)
        modSqlErrors::Raise(clsError::UnknownItem, u"The table \"%1\" has no field \"%2\"."_s.arg(table, field));
    return found->size;
}

void clsSqlDatabase::AppendField(const QString& table, const QString& field, int type, int size,
                                 const QVariant& defaultValue)
{
    QString declaration;
    switch (type) {
    case 10:
        declaration = u"VARCHAR(%1) CHECK (length(%2) <= %1)"_s.arg(size).arg(SqlName(field));
        break;
    case 4:
        declaration = u"INTEGER"_s;
        break;
    case 8:
    case 12:
        declaration = u"TEXT"_s;
        break;
    default:
        modSqlErrors::Raise(clsError::TypeMismatch, u"There is no field type %1."_s.arg(type));
    }
    if (!defaultValue.isNull())
        declaration += u" DEFAULT "_s + Literal(defaultValue);
    clsSqlConnection& connection = Connection();
    const QString stored = connection.Table(table).name;
    connection.Run(u"ALTER TABLE %1 ADD COLUMN %2 %3"_s.arg(SqlName(stored), SqlName(field), declaration));
    connection.ForgetTables();
}

void clsSqlDatabase::Declare(const QString& statements)
{
    clsSqlTransaction transaction(Connection());
    m_connection->Run(statements);
    transaction.Commit();
    m_connection->ForgetTables();
}

qint64 clsSqlDatabase::ForEach(const QString& sql, const clsFieldValues& values, std::vector<clsBookmark> keys)
{
    // In the file's order each page is read and encrypted once.
    std::sort(keys.begin(), keys.end());
    clsSqlTransaction transaction(*m_connection);
    qint64 changed = 0;
    {
        clsSqlStatement statement(m_connection, sql);
        int index = 0;
        for (const auto& value : values)
            statement.Bind(++index, value.second);
        ++index;
        for (const clsBookmark key : keys) {
            statement.Bind(index, key); // the other values stay bound
            statement.Step();
            changed += sqlite3_changes(m_connection->Handle());
            statement.Reset();
        }
    }
    transaction.Commit();
    return changed;
}

qint64 clsSqlDatabase::UpdateRecords(const QString& table, const std::vector<clsBookmark>& keys,
                                     const clsFieldValues& values)
{
    const clsSqlTable& declared = Connection().Table(table);
    QStringList sets;
    for (const auto& [name, value] : values) {
        const clsSqlField* field = declared.Field(name);
        if (!field)
            modSqlErrors::Raise(clsError::UnknownItem, u"The table \"%1\" has no field \"%2\"."_s.arg(table, name));
        if (field->numeric && value.metaType().id() == QMetaType::QString)
            modSqlErrors::Raise(clsError::TypeMismatch, u"A text is no value for the field %1."_s.arg(name));
        sets << SqlName(field->name) + " = ?"_L1;
    }
    return ForEach(u"UPDATE %1 SET %2 WHERE rowid = ?"_s.arg(SqlName(declared.name), sets.join(", "_L1)), values, keys);
}

qint64 clsSqlDatabase::DeleteRecords(const QString& table, const std::vector<clsBookmark>& keys)
{
    return ForEach(u"DELETE FROM %1 WHERE rowid = ?"_s.arg(SqlName(Connection().Table(table).name)), {}, keys);
}

void clsSqlDatabase::SetPatience(std::chrono::milliseconds patience) noexcept
{
    if (IsOpen())
        m_connection->SetPatience(patience);
}

void clsSqlDatabase::BeginTrans()
{
    Connection().BeginTrans();
}

void clsSqlDatabase::CommitTrans()
{
    Connection().CommitTrans();
}

void clsSqlDatabase::Rollback() noexcept
{
    if (m_connection)
        m_connection->Rollback();
}
