// SPDX-License-Identifier: GPL-3.0-or-later
// A prepared statement for the time of one call; reset and given back to its connection when it goes out of scope, so
// that no lock stays behind.
#pragma once

#include "platform/database/clsSqlConnection.h"

#include <QVariant>

class clsSqlStatement
{
public:
    clsSqlStatement(std::shared_ptr<clsSqlConnection> connection, QString sql);
    ~clsSqlStatement();
    clsSqlStatement(const clsSqlStatement&) = delete;
    clsSqlStatement& operator=(const clsSqlStatement&) = delete;

    /// @param index  1-based. @throws TypeMismatch for a value that is no number, text, truth value, bytes or Null.
    void Bind(int index, const QVariant& value);
    void Bind(int index, qint64 value);
    /// Sets every parameter that the statement has from `values` (names without a colon); a missing one is an error.
    void Bind(const QHash<QString, QVariant>& values);
    [[nodiscard]] QStringList Parameters() const;

    /// @return whether there is a row.
    bool Step();
    /// Ready to be bound and stepped again.
    void Reset();

    [[nodiscard]] int ColumnCount() const;
    [[nodiscard]] QString ColumnName(int column) const;
    /// Table and field that a column stands for; empty for an expression.
    [[nodiscard]] QString ColumnTable(int column) const;
    [[nodiscard]] QString ColumnField(int column) const;
    [[nodiscard]] QVariant Value(int column) const;
    [[nodiscard]] qint64 Number(int column) const;

private:
    [[noreturn]] void Fail(int code) const;

    std::shared_ptr<clsSqlConnection> m_connection;
    QString m_sql;
    sqlite3_stmt* m_statement;
};
