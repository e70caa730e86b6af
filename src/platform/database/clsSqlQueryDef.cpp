// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlQueryDef.h"

#include "platform/database/clsSqlRecordset.h"
#include "platform/database/clsSqlStatement.h"
#include "platform/database/modSqlErrors.h"

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The single statements of a text, as the engine's own parser divides it.
QStringList Divide(clsSqlConnection& connection, const QString& sql)
{
    QStringList statements;
    const QByteArray text = sql.toUtf8();
    const char* rest = text.constData();
    while (*rest) {
        const char* start = rest;
        sqlite3_stmt* statement = nullptr;
        const int code = sqlite3_prepare_v2(connection.Handle(), start, -1, &statement, &rest);
        const bool empty = !statement; // blanks or a comment after the last semicolon
        sqlite3_finalize(statement);
        if (code != SQLITE_OK)
            modSqlErrors::Raise(connection.Handle(), code, sql);
        if (!empty)
            statements << QString::fromUtf8(start, rest - start);
    }
    return statements;
}
} // namespace

clsSqlQueryDef::clsSqlQueryDef(std::shared_ptr<clsSqlOpenFiles> files, QString path, const QString& sql)
    : m_files(std::move(files)), m_path(std::move(path))
{
    const auto connection = m_files->At(m_path);
    m_statements = Divide(*connection, sql);
    for (const QString& statement : std::as_const(m_statements))
        m_parameters += clsSqlStatement(connection, statement).Parameters();
}

void clsSqlQueryDef::SetParameter(const QString& name, const QVariant& value)
{
    static_cast<void>(m_files->At(m_path));
    if (!m_parameters.contains(name))
        modSqlErrors::Raise(clsError::UnknownItem, u"The query has no parameter \"%1\"."_s.arg(name));
    m_values.insert(name, value);
}

std::unique_ptr<clsRecordset> clsSqlQueryDef::OpenRecordset()
{
    QString statement = m_statements.value(0);
    if (statement.endsWith(u';'))
        statement.chop(1);
    return clsSqlRecordset::OfStatement(m_files, m_path, statement, m_values);
}

qint64 clsSqlQueryDef::Execute()
{
    const auto connection = m_files->At(m_path);
    clsSqlTransaction transaction(*connection);
    int changed = 0;
    for (const QString& sql : std::as_const(m_statements)) {
        clsSqlStatement statement(connection, sql);
        statement.Bind(m_values);
        statement.Step();
        changed = sqlite3_changes(connection->Handle());
    }
    transaction.Commit();
    return changed;
}
