// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlStatement.h"

#include "platform/database/modSqlErrors.h"

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

clsSqlStatement::clsSqlStatement(std::shared_ptr<clsSqlConnection> connection, QString sql)
    : m_connection(std::move(connection)), m_sql(std::move(sql)), m_statement(m_connection->Take(m_sql))
{
}

clsSqlStatement::~clsSqlStatement()
{
    m_connection->GiveBack(m_sql, m_statement);
}

void clsSqlStatement::Fail(int code) const
{
    modSqlErrors::Raise(m_connection->Handle(), code, m_sql);
}

void clsSqlStatement::Bind(int index, qint64 value)
{
    if (const int code = sqlite3_bind_int64(m_statement, index, value); code != SQLITE_OK)
        Fail(code);
}

void clsSqlStatement::Bind(int index, const QVariant& value)
{
    int code = SQLITE_OK;
    if (value.isNull()) {
        code = sqlite3_bind_null(m_statement, index);
    } else {
        switch (value.metaType().id()) {
        case QMetaType::Bool:
            code = sqlite3_bind_int64(m_statement, index, value.toBool() ? 1 : 0);
            break;
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::LongLong:
            code = sqlite3_bind_int64(m_statement, index, value.toLongLong());
            break;
        case QMetaType::Float:
        case QMetaType::Double:
            code = sqlite3_bind_double(m_statement, index, value.toDouble());
            break;
        case QMetaType::QString: {
            const QByteArray text = value.toString().toUtf8();
            code = sqlite3_bind_text(m_statement, index, text.constData(), static_cast<int>(text.size()),
                                     SQLITE_TRANSIENT);
            break;
        }
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            code = sqlite3_bind_blob(m_statement, index, bytes.constData(), static_cast<int>(bytes.size()),
                                     SQLITE_TRANSIENT);
            break;
        }
        default:
            modSqlErrors::Raise(clsError::TypeMismatch,
                                u"A value of type %1 cannot be stored."_s.arg(QLatin1String(value.typeName())));
        }
    }
    if (code != SQLITE_OK)
        Fail(code);
}

QStringList clsSqlStatement::Parameters() const
{
    QStringList names;
    for (int index = 1; index <= sqlite3_bind_parameter_count(m_statement); ++index)
        names << QString::fromUtf8(sqlite3_bind_parameter_name(m_statement, index)).mid(1);
    return names;
}

void clsSqlStatement::Bind(const QHash<QString, QVariant>& values)
{
    int index = 0;
    const QStringList names = Parameters();
    for (const QString& name : names) {
        const auto value = values.constFind(name);
        if (value == values.constEnd())
            modSqlErrors::Raise(clsError::EngineFailure, u"The parameter %1 has no value."_s.arg(name));
        Bind(++index, *value);
    }
}

bool clsSqlStatement::Step()
{
    const int code = sqlite3_step(m_statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        Fail(code);
    return code == SQLITE_ROW;
}

void clsSqlStatement::Reset()
{
    sqlite3_reset(m_statement);
}

int clsSqlStatement::ColumnCount() const
{
    return sqlite3_column_count(m_statement);
}

QString clsSqlStatement::ColumnName(int column) const
{
    return QString::fromUtf8(sqlite3_column_name(m_statement, column));
}

QString clsSqlStatement::ColumnTable(int column) const
{
    return QString::fromUtf8(sqlite3_column_table_name(m_statement, column));
}

QString clsSqlStatement::ColumnField(int column) const
{
    return QString::fromUtf8(sqlite3_column_origin_name(m_statement, column));
}

QVariant clsSqlStatement::Value(int column) const
{
    switch (sqlite3_column_type(m_statement, column)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qlonglong>(sqlite3_column_int64(m_statement, column));
    case SQLITE_FLOAT:
        return sqlite3_column_double(m_statement, column);
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, column));
    }
    case SQLITE_BLOB: {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
        return QByteArray(bytes, sqlite3_column_bytes(m_statement, column));
    }
    default:
        return {};
    }
}

qint64 clsSqlStatement::Number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}
