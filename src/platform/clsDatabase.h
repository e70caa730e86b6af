// SPDX-License-Identifier: GPL-3.0-or-later
// Where the program keeps its records: workspace, database, stored queries and record sets, in the words of their
// callers. What engine stands behind them is known to platform/database alone.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

/// Names a record for as long as it exists, whatever the order of the set it was read from.
using clsBookmark = qint64;

/// Fields of a record by name, and the values they are given.
using clsFieldValues = std::vector<std::pair<QString, QVariant>>;

/// The rows of a table, stored query or statement: a set of keys taken when it is opened, whose rows are read when
/// they are asked for. A record that changes so that it no longer belongs stays in the set until Requery; a record
/// deleted elsewhere is skipped when stepping. No lock and no statement stays open between calls.
/// Every operation raises clsError (NoCurrentRecord, UnknownItem, RecordLocked, DuplicateKey, DatabaseClosed, ...).
class clsRecordset
{
public:
    virtual ~clsRecordset() = default;

    /// How many records the set holds.
    [[nodiscard]] virtual qint64 RecordCount() const = 0;
    /// True before the first record, and on an empty set.
    [[nodiscard]] virtual bool BeforeFirst() const = 0;
    /// True after the last record, and on an empty set.
    [[nodiscard]] virtual bool AfterLast() const = 0;

    /// A newly opened set stands on its first record. On an empty set these do nothing.
    virtual void MoveFirst() = 0;
    virtual void MoveLast() = 0;
    virtual void MoveNext() = 0;
    virtual void MovePrevious() = 0;

    /// The current record's bookmark. @throws NoCurrentRecord
    [[nodiscard]] virtual clsBookmark Bookmark() const = 0;
    /// Makes the record of `bookmark` current. @throws NoCurrentRecord when it is not in the set.
    virtual void MoveTo(clsBookmark bookmark) = 0;
    /// Bookmark of the record last added or updated through this set.
    [[nodiscard]] virtual clsBookmark LastModified() const = 0;
    /// Reads the current record anew. @return false when it has been deleted elsewhere. @throws NoCurrentRecord
    [[nodiscard]] virtual bool Refresh() = 0;
    /// 0-based place of a record in the set, -1 when it is not in it.
    [[nodiscard]] virtual qint64 PositionOf(clsBookmark bookmark) const = 0;
    /// Bookmark at a 0-based place. @throws NoCurrentRecord outside the set.
    [[nodiscard]] virtual clsBookmark BookmarkAt(qint64 position) const = 0;

    /// A field of the current record; Null is an invalid QVariant. Inside Edit or AddNew: the value assigned last.
    [[nodiscard]] virtual QVariant Field(const QString& name) const = 0;
    [[nodiscard]] virtual QStringList FieldNames() const = 0;
    /// Reads the given fields of `count` records from a 0-based place on, in the set's order, without moving; a
    /// record that no longer exists gives an empty row. For views that show many rows at once.
    [[nodiscard]] virtual std::vector<std::vector<QVariant>> Rows(qint64 first, qint64 count,
                                                                  const QStringList& fields) const = 0;

    /// Finds the first record for `criteria`, of the form  Field = number  or  Field = "text" (quotes inside the text
    /// doubled, letter case ignored), and makes it current. @return false, current record unchanged, when there is
    /// none.
    virtual bool FindFirst(const QString& criteria) = 0;

    /// Begin changing the current record / a new one; then SetField, then Update writes it (or CancelUpdate).
    virtual void Edit() = 0;
    virtual void AddNew() = 0;
    virtual void SetField(const QString& name, const QVariant& value) = 0;
    virtual void Update() = 0;
    virtual void CancelUpdate() = 0;
    /// Deletes the current record; the next one becomes current (after the last: the end).
    virtual void Delete() = 0;

    /// Takes the keys anew, same source, same parameters, same sort. The first record becomes current.
    virtual void Requery() = 0;
    /// Takes records out of the set, which stay in the database if they are there: for many that were deleted, or no
    /// longer belong, without Requery. The first record becomes current.
    virtual void Forget(const std::vector<clsBookmark>& bookmarks) = 0;
    /// A second set over the same keys with a current record of its own.
    [[nodiscard]] virtual std::unique_ptr<clsRecordset> Clone() const = 0;
    /// Sets the field by which a set opened from this one is ordered; empty: this set's own order.
    virtual void SetSort(const QString& field) = 0;
    /// A new set over the same keys in the order of SetSort: ascending, Null first, texts by the user's language
    /// without regard to case, ties in this set's order.
    [[nodiscard]] virtual std::unique_ptr<clsRecordset> OpenRecordset() const = 0;
};

/// A statement kept in the database file under a name, with parameters set by name.
class clsQueryDef
{
public:
    virtual ~clsQueryDef() = default;
    /// @throws UnknownItem when the statement has no such parameter.
    virtual void SetParameter(const QString& name, const QVariant& value) = 0;
    [[nodiscard]] virtual std::unique_ptr<clsRecordset> OpenRecordset() = 0;
    /// Runs a statement (or several, in one transaction) that changes data. @return rows changed by the last one.
    virtual qint64 Execute() = 0;
};

/// One open database file.
class clsDatabase
{
public:
    virtual ~clsDatabase() = default;
    [[nodiscard]] virtual QString Path() const = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;
    /// Every record set and query of it fails with DatabaseClosed from now on, until the same path is opened again.
    virtual void Close() = 0;

    /// @param source  a table's name, a stored query's name or a SELECT statement.
    [[nodiscard]] virtual std::unique_ptr<clsRecordset> OpenRecordset(const QString& source) = 0;
    /// @throws UnknownItem when no query of that name is stored.
    [[nodiscard]] virtual std::unique_ptr<clsQueryDef> QueryDef(const QString& name) = 0;

    /// A table's field names in stored order. @throws UnknownItem
    [[nodiscard]] virtual QStringList Fields(const QString& table) = 0;
    /// A text field's size in characters, 0 when it has none. @throws UnknownItem
    [[nodiscard]] virtual int FieldSize(const QString& table, const QString& field) = 0;
    /// Adds a field. @param type  10 = text of `size` characters (the empty text allowed), 4 = number, 8 = date, 12 =
    /// memo.
    virtual void AppendField(const QString& table, const QString& field, int type, int size,
                             const QVariant& defaultValue) = 0;

    /// Runs statements, divided by semicolons, that declare tables and indexes or add what is shipped: all or none.
    virtual void Declare(const QString& statements) = 0;

    /// Gives fields of many records of a table the same values, or deletes the records: all or none. A record that no
    /// longer exists is passed over. @param keys  numbers of the records, in any order.
    /// @return how many records were changed. @throws UnknownItem, TypeMismatch, RecordLocked, DiskFull, ...
    virtual qint64 UpdateRecords(const QString& table, const std::vector<clsBookmark>& keys,
                                 const clsFieldValues& values) = 0;
    virtual qint64 DeleteRecords(const QString& table, const std::vector<clsBookmark>& keys) = 0;

    /// How long a call waits on the thread for another program's lock before it fails with RecordLocked. Five seconds,
    /// unless somebody who can try again from the event loop sets less; for every record set and query of the file.
    static constexpr std::chrono::milliseconds UsualPatience{5000};
    virtual void SetPatience(std::chrono::milliseconds patience) noexcept = 0;

    /// Transactions nest: only the outermost commit writes. Use clsTransaction.
    virtual void BeginTrans() = 0;
    virtual void CommitTrans() = 0;
    virtual void Rollback() noexcept = 0;
};

/// A transaction that is rolled back unless it is committed.
class clsTransaction
{
public:
    explicit clsTransaction(clsDatabase& database) : m_database(&database) { database.BeginTrans(); }
    ~clsTransaction()
    {
        if (m_database)
            m_database->Rollback();
    }
    clsTransaction(const clsTransaction&) = delete;
    clsTransaction& operator=(const clsTransaction&) = delete;
    void Commit()
    {
        m_database->CommitTrans();
        m_database = nullptr;
    }

private:
    clsDatabase* m_database;
};

/// The engine session through which databases are opened.
class clsWorkspace
{
public:
    virtual ~clsWorkspace() = default;
    /// Opens an existing database file for shared reading and writing; it is never created.
    /// @param connect  connect string, ";pwd=" and the password.
    /// @throws DatabaseMissing, PasswordWrong, DatabaseDamaged, PermissionDenied, RecordLocked
    [[nodiscard]] virtual std::unique_ptr<clsDatabase> OpenDatabase(const QString& path, const QString& connect) = 0;
    /// Closes every database that is still open.
    virtual void Close() = 0;
};

/// Makes workspaces.
class clsDBEngine
{
public:
    virtual ~clsDBEngine() = default;
    [[nodiscard]] virtual std::unique_ptr<clsWorkspace> CreateWorkspace(const QString& name, const QString& user,
                                                                        const QString& password) = 0;
};
