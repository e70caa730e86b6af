// SPDX-License-Identifier: GPL-3.0-or-later
// A record set over one file: keys taken when it is opened, rows read by key when they are asked for.
#pragma once

#include "platform/clsDatabase.h"
#include "platform/database/clsKeySet.h"
#include "platform/database/clsSqlOpenFiles.h"

#include <chrono>
#include <optional>

/// Where a record set comes from; shared by its clones.
struct clsSqlSource
{
    struct Column
    {
        QString name;
        QString field;  ///< the field of the base table; empty when the value was read beside the key
        int other = -1; ///< which of the values beside the key
        bool numeric = false;
    };
    QString keyStatement; ///< gives the key (or, without a base table, nothing) and the values beside it
    QHash<QString, QVariant> parameters;
    QString table; ///< the base table, whose records the keys name; empty: a picture of the rows that cannot be changed
    bool byKey = false; ///< the order is that of the keys
    std::vector<Column> columns;

    /// @throws UnknownItem
    [[nodiscard]] const Column& At(const QString& name) const;
    [[nodiscard]] std::size_t Others() const;
};

class clsSqlRecordset : public clsRecordset
{
public:
    /// All records of a table, in the order in which they were stored.
    static std::unique_ptr<clsSqlRecordset> OfTable(const std::shared_ptr<clsSqlOpenFiles>& files, const QString& path,
                                                    const QString& table);
    /// The records that a SELECT names. They can be changed when the columns hold the number of a table's records.
    static std::unique_ptr<clsSqlRecordset> OfStatement(const std::shared_ptr<clsSqlOpenFiles>& files,
                                                        const QString& path, const QString& sql,
                                                        const QHash<QString, QVariant>& parameters);

    qint64 RecordCount() const override;
    bool BeforeFirst() const override;
    bool AfterLast() const override;
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override;
    void MovePrevious() override;
    clsBookmark Bookmark() const override;
    void MoveTo(clsBookmark bookmark) override;
    bool Refresh() override;
    clsBookmark LastModified() const override;
    qint64 PositionOf(clsBookmark bookmark) const override;
    clsBookmark BookmarkAt(qint64 position) const override;
    QVariant Field(const QString& name) const override;
    QStringList FieldNames() const override;
    std::vector<std::vector<QVariant>> Rows(qint64 first, qint64 count, const QStringList& fields) const override;
    bool FindFirst(const QString& criteria) override;
    void Edit() override;
    void AddNew() override;
    void SetField(const QString& name, const QVariant& value) override;
    void Update() override;
    void CancelUpdate() override;
    void Delete() override;
    void Requery() override;
    void Forget(const std::vector<clsBookmark>& bookmarks) override;
    std::unique_ptr<clsRecordset> Clone() const override;
    void SetSort(const QString& field) override;
    std::unique_ptr<clsRecordset> OpenRecordset() const override;

private:
    using Clock = std::chrono::steady_clock;
    enum class Change
    {
        None,
        Edit,
        New
    };
    /// Rows as they were read, without those of them that no longer exist.
    struct ReadRows
    {
        qint64 first = 0;
        std::vector<std::vector<QVariant>> rows;
        clsSqlConnection::ChangeMark mark;
        Clock::time_point time;
    };

    clsSqlRecordset(std::shared_ptr<clsSqlOpenFiles> files, QString path, std::shared_ptr<const clsSqlSource> source);

    [[nodiscard]] std::shared_ptr<clsSqlConnection> Connection() const;
    void TakeKeys();
    [[nodiscard]] clsKeySet ReadKeys(const std::shared_ptr<clsSqlConnection>& connection) const;
    [[nodiscard]] clsKeySet Sorted(const clsKeySet& keys, const QString& field) const;
    [[nodiscard]] std::vector<QVariant> ColumnValues(const clsKeySet& keys, const clsSqlSource::Column& column) const;
    [[nodiscard]] bool HasCurrent() const;
    void RequireCurrent() const;
    void RequireBaseTable() const;
    /// Whether the rows that were read are still the records' state.
    [[nodiscard]] bool TrustsRead(const clsSqlConnection& connection, Clock::time_point now) const;
    /// The row at a position, empty when its record no longer exists. @param ahead  how many rows to read at once,
    /// negative: backwards.
    [[nodiscard]] const std::vector<QVariant>& RowAt(qint64 position, int ahead) const;
    void Step(int direction);
    [[nodiscard]] std::vector<qint64> Matches(const clsSqlSource::Column& column, const QVariant& value) const;
    /// The keys, for changing: a copy of its own when they are shared.
    clsKeySet& OwnKeys();
    void WriteNew(const std::shared_ptr<clsSqlConnection>& connection);
    void WriteChange(const std::shared_ptr<clsSqlConnection>& connection);

    std::shared_ptr<clsSqlOpenFiles> m_files;
    QString m_path;
    std::shared_ptr<const clsSqlSource> m_source;
    std::shared_ptr<clsKeySet> m_keys;
    QString m_order; ///< the field by which the keys are sorted, empty: as the source gives them
    QString m_sort;  ///< the field for OpenRecordset
    qint64 m_position = 0;
    std::optional<clsBookmark> m_lastModified;
    Change m_change = Change::None;
    std::vector<std::pair<const clsSqlSource::Column*, QVariant>> m_assigned; ///< inside Edit or AddNew
    mutable ReadRows m_read;
    int m_readAhead = 1; ///< rows that a step reads at once when it has none
};
