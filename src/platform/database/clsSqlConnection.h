// SPDX-License-Identifier: GPL-3.0-or-later
// One open encrypted file: its handle, the statements prepared on it, what is known of its tables, its transactions.
#pragma once

#include <QHash>
#include <QString>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// A field of a table as the file declares it.
struct clsSqlField
{
    QString name;
    int size = 0;         ///< characters of a text field, 0 when none is declared
    bool numeric = false; ///< holds numbers only
};

/// A table as the file declares it.
struct clsSqlTable
{
    QString name;
    std::vector<clsSqlField> fields;
    QString key; ///< the field that is the record's number, empty when no field is

    /// The field of that name in any letter case, null when there is none.
    [[nodiscard]] const clsSqlField* Field(const QString& fieldName) const;
};

class clsSqlConnection : public std::enable_shared_from_this<clsSqlConnection>
{
public:
    enum class Create
    {
        No,
        Yes
    };

    /// Opens the file and reads from it once, which proves the key.
    /// @throws clsError as clsWorkspace::OpenDatabase tells.
    static std::shared_ptr<clsSqlConnection> Open(const QString& path, const QString& key, Create create = Create::No);
    ~clsSqlConnection();
    clsSqlConnection(const clsSqlConnection&) = delete;
    clsSqlConnection& operator=(const clsSqlConnection&) = delete;

    [[nodiscard]] const QString& Key() const { return m_key; }
    /// Gives the file back; whatever was not committed is rolled back.
    void Close();
    [[nodiscard]] bool IsOpen() const { return m_handle != nullptr; }
    [[nodiscard]] sqlite3* Handle() const { return m_handle; }

    /// Differs whenever this connection has changed a record since, and between connections.
    using ChangeMark = std::pair<quint64, int>;
    [[nodiscard]] ChangeMark Changes() const;

    /// A prepared statement from the store, or a new one. Give it back reset.
    sqlite3_stmt* Take(const QString& sql);
    void GiveBack(const QString& sql, sqlite3_stmt* statement) noexcept;

    /// Runs statements that need no values and give no rows.
    void Run(const QString& sql);
    /// The table's declaration. @throws UnknownItem
    const clsSqlTable& Table(const QString& name);
    /// The same, null when there is no such table.
    const clsSqlTable* FindTable(const QString& name);
    /// Forgets the declarations and the statements that were prepared by them, after one was changed.
    void ForgetTables()
    {
        FinalizeStatements();
        m_tables.clear();
    }
    /// The text of a stored query, none when there is no query of that name.
    std::optional<QString> StoredQuery(const QString& name);

    /// How long a statement waits for another program's lock.
    void SetPatience(std::chrono::milliseconds patience) noexcept;

    void BeginTrans();
    void CommitTrans();
    void Rollback() noexcept;
    [[nodiscard]] bool InTransaction() const;

private:
    explicit clsSqlConnection(QString key);
    void Prove(const QString& path, Create create);
    void FinalizeStatements();

    QString m_key;
    quint64 m_serial;
    sqlite3* m_handle = nullptr;
    QHash<QString, sqlite3_stmt*> m_statements;
    std::map<QString, clsSqlTable> m_tables;
    int m_depth = 0;
};

/// Statements that belong together: rolled back unless committed.
class clsSqlTransaction
{
public:
    explicit clsSqlTransaction(clsSqlConnection& connection) : m_connection(&connection) { connection.BeginTrans(); }
    ~clsSqlTransaction()
    {
        if (m_connection)
            m_connection->Rollback();
    }
    clsSqlTransaction(const clsSqlTransaction&) = delete;
    clsSqlTransaction& operator=(const clsSqlTransaction&) = delete;
    void Commit()
    {
        m_connection->CommitTrans();
        m_connection = nullptr;
    }

private:
    clsSqlConnection* m_connection;
};

/// Holds off the file's lock changes while many small reads are made; inside a transaction it does nothing.
class clsSqlReading
{
public:
    explicit clsSqlReading(clsSqlConnection& connection);
    ~clsSqlReading();
    clsSqlReading(const clsSqlReading&) = delete;
    clsSqlReading& operator=(const clsSqlReading&) = delete;

private:
    clsSqlConnection* m_connection;
};

/// A name as a quoted identifier, a text as a literal.
QString SqlName(const QString& name);
QString SqlText(const QString& text);
