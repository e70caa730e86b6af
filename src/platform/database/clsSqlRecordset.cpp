// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlRecordset.h"

#include "platform/database/clsSqlStatement.h"
#include "platform/database/modSortOrder.h"
#include "platform/database/modSqlErrors.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <algorithm>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// How long a row that was read is taken for the record's present state: other programs may change it.
constexpr std::chrono::milliseconds RowTrust{100};
/// Most rows read at once by somebody who steps through the set quickly and changes nothing.
constexpr int MostReadAhead = 64;
/// A sort reads a whole column when the set holds at least one in this many of the table's records.
constexpr qint64 WholeColumnShare = 4;

struct Criteria
{
    QString field;
    QVariant value;
};

Criteria Parse(const QString& criteria)
{
    static const QRegularExpression form(u"^\\s*(\\w+)\\s*=\\s*(?:\"((?:[^\"]|\"\")*)\"|(-?\\d+(?:\\.\\d+)?))\\s*$"_s,
                                         QRegularExpression::UseUnicodePropertiesOption);
    const auto match = form.match(criteria);
    if (!match.hasMatch())
        modSqlErrors::Raise(clsError::EngineFailure, u"The criteria \"%1\" are not understood."_s.arg(criteria));
    if (!match.hasCaptured(3))
        return {match.captured(1), match.captured(2).replace("\"\""_L1, "\""_L1)};
    const QString number = match.captured(3);
    return {match.captured(1), number.contains(u'.') ? QVariant(number.toDouble()) : QVariant(number.toLongLong())};
}

/// A value as its field takes it: a field of numbers takes texts that are numbers.
QVariant Fitting(const clsSqlSource::Column& column, const QVariant& value)
{
    if (!column.numeric || value.isNull() || value.metaType().id() != QMetaType::QString)
        return value;
    bool isWhole = false;
    bool isNumber = false;
    const qlonglong whole = value.toString().trimmed().toLongLong(&isWhole);
    const double number = value.toString().trimmed().toDouble(&isNumber);
    if (!isNumber)
        modSqlErrors::Raise(clsError::TypeMismatch,
                            u"\"%1\" is no number for the field %2."_s.arg(value.toString(), column.name));
    return isWhole ? QVariant(whole) : QVariant(number);
}
} // namespace

const clsSqlSource::Column& clsSqlSource::At(const QString& name) const
{
    for (const Column& column : columns) {
        if (column.name.compare(name, Qt::CaseInsensitive) == 0)
            return column;
    }
    modSqlErrors::Raise(clsError::UnknownItem, u"The record set has no field \"%1\"."_s.arg(name));
}

std::size_t clsSqlSource::Others() const
{
    return static_cast<std::size_t>(
        std::count_if(columns.begin(), columns.end(), [](const Column& column) { return column.other >= 0; }));
}

std::unique_ptr<clsSqlRecordset> clsSqlRecordset::OfTable(const std::shared_ptr<clsSqlOpenFiles>& files,
                                                          const QString& path, const QString& table)
{
    const clsSqlTable& declared = files->At(path)->Table(table);
    auto source = std::make_shared<clsSqlSource>();
    source->table = declared.name;
    source->keyStatement = u"SELECT rowid FROM %1"_s.arg(SqlName(declared.name));
    source->byKey = true;
    for (const clsSqlField& field : declared.fields)
        source->columns.push_back({field.name, field.name, -1, field.numeric});
    return std::unique_ptr<clsSqlRecordset>(new clsSqlRecordset(files, path, std::move(source)));
}

std::unique_ptr<clsSqlRecordset> clsSqlRecordset::OfStatement(const std::shared_ptr<clsSqlOpenFiles>& files,
                                                              const QString& path, const QString& sql,
                                                              const QHash<QString, QVariant>& parameters)
{
    const auto connection = files->At(path);
    const clsSqlStatement statement(connection, sql);
    auto source = std::make_shared<clsSqlSource>();
    source->parameters = parameters;

    // The base table is the first whose record number is among the columns.
    QStringList selected;
    for (int i = 0; i < statement.ColumnCount() && source->table.isEmpty(); ++i) {
        const QString table = statement.ColumnTable(i);
        if (table.isEmpty() || connection->Table(table).key != statement.ColumnField(i))
            continue;
        source->table = table;
        selected << SqlName(statement.ColumnName(i));
    }
    int others = 0;
    for (int i = 0; i < statement.ColumnCount(); ++i) {
        clsSqlSource::Column column{statement.ColumnName(i), {}, -1, false};
        if (!source->table.isEmpty() && statement.ColumnTable(i) == source->table) {
            column.field = statement.ColumnField(i);
            column.numeric = connection->Table(source->table).Field(column.field)->numeric;
        } else {
            column.other = others++;
            selected << SqlName(column.name);
        }
        source->columns.push_back(std::move(column));
    }
    source->keyStatement = u"SELECT %1 FROM (%2)"_s.arg(selected.join(", "_L1), sql);
    return std::unique_ptr<clsSqlRecordset>(new clsSqlRecordset(files, path, std::move(source)));
}

clsSqlRecordset::clsSqlRecordset(std::shared_ptr<clsSqlOpenFiles> files, QString path,
                                 std::shared_ptr<const clsSqlSource> source)
    : m_files(std::move(files)), m_path(std::move(path)), m_source(std::move(source))
{
    TakeKeys();
}

std::shared_ptr<clsSqlConnection> clsSqlRecordset::Connection() const
{
    return m_files->At(m_path);
}

void clsSqlRecordset::TakeKeys()
{
    const auto connection = Connection();
    const clsSqlReading reading(*connection);
    clsKeySet keys = ReadKeys(connection);
    m_keys = std::make_shared<clsKeySet>(m_order.isEmpty() ? std::move(keys) : Sorted(keys, m_order));
    m_position = 0;
    m_read = {};
}

clsKeySet clsSqlRecordset::ReadKeys(const std::shared_ptr<clsSqlConnection>& connection) const
{
    const std::size_t others = m_source->Others();
    clsKeySet keys(others);
    clsSqlStatement statement(connection, m_source->keyStatement);
    statement.Bind(m_source->parameters);
    const bool keyed = !m_source->table.isEmpty();
    while (statement.Step()) {
        const qint64 position = keys.Count();
        keys.Append(keyed ? statement.Number(0) : position + 1);
        for (std::size_t other = 0; other < others; ++other)
            keys.SetOther(other, position, statement.Value(static_cast<int>(other) + (keyed ? 1 : 0)));
    }
    if (m_source->byKey)
        keys.SortByKey();
    return keys;
}

qint64 clsSqlRecordset::RecordCount() const
{
    static_cast<void>(Connection());
    return m_keys->Count();
}

bool clsSqlRecordset::BeforeFirst() const
{
    static_cast<void>(Connection());
    return m_keys->Count() == 0 || m_position < 0;
}

bool clsSqlRecordset::AfterLast() const
{
    static_cast<void>(Connection());
    return m_keys->Count() == 0 || m_position >= m_keys->Count();
}

bool clsSqlRecordset::HasCurrent() const
{
    return m_position >= 0 && m_position < m_keys->Count();
}

void clsSqlRecordset::RequireCurrent() const
{
    static_cast<void>(Connection());
    if (!HasCurrent())
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"There is no current record."_s);
}

void clsSqlRecordset::RequireBaseTable() const
{
    static_cast<void>(Connection());
    if (m_source->table.isEmpty())
        modSqlErrors::Raise(clsError::EngineFailure, u"The records of this set cannot be changed."_s);
}

bool clsSqlRecordset::TrustsRead(const clsSqlConnection& connection, Clock::time_point now) const
{
    return m_read.mark == connection.Changes() && now - m_read.time < RowTrust;
}

const std::vector<QVariant>& clsSqlRecordset::RowAt(qint64 position, int ahead) const
{
    const auto connection = Connection();
    const auto now = Clock::now();
    const bool held = position >= m_read.first && position < m_read.first + static_cast<qint64>(m_read.rows.size());
    if (!held || !TrustsRead(*connection, now)) {
        const qint64 first = ahead < 0 ? std::max<qint64>(0, position + ahead + 1) : position;
        const qint64 count = ahead < 0 ? position + 1 - first : ahead;
        m_read.rows = Rows(first, count, FieldNames());
        m_read.first = first;
        m_read.mark = connection->Changes();
        m_read.time = now;
    }
    return m_read.rows[static_cast<std::size_t>(position - m_read.first)];
}

void clsSqlRecordset::Step(int direction)
{
    // Every change makes what was read ahead worthless, so rows are read ahead only as long as none happens.
    const bool undisturbed = TrustsRead(*Connection(), Clock::now());
    CancelUpdate();
    m_readAhead = undisturbed ? std::min(2 * m_readAhead, MostReadAhead) : 1;
    const qint64 count = m_keys->Count();
    // A step that fails, because the file is locked, has not been made: whoever tries again skips no record.
    auto stay = qScopeGuard([this, before = m_position] { m_position = before; });
    m_position = std::clamp<qint64>(m_position + direction, -1, count);
    while (HasCurrent() && RowAt(m_position, direction * m_readAhead).empty())
        m_position += direction;
    stay.dismiss();
}

void clsSqlRecordset::MoveFirst()
{
    m_position = -1;
    Step(1);
}

void clsSqlRecordset::MoveLast()
{
    m_position = m_keys->Count();
    Step(-1);
}

void clsSqlRecordset::MoveNext()
{
    Step(1);
}

void clsSqlRecordset::MovePrevious()
{
    Step(-1);
}

clsBookmark clsSqlRecordset::Bookmark() const
{
    RequireCurrent();
    return m_keys->KeyAt(m_position);
}

void clsSqlRecordset::MoveTo(clsBookmark bookmark)
{
    CancelUpdate();
    const qint64 position = PositionOf(bookmark);
    if (position < 0)
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"The record is not in the record set."_s);
    m_position = position;
}

bool clsSqlRecordset::Refresh()
{
    RequireCurrent();
    m_read = {};
    return !RowAt(m_position, 1).empty();
}

clsBookmark clsSqlRecordset::LastModified() const
{
    static_cast<void>(Connection());
    if (!m_lastModified)
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"No record was changed through this record set."_s);
    return *m_lastModified;
}

qint64 clsSqlRecordset::PositionOf(clsBookmark bookmark) const
{
    static_cast<void>(Connection());
    return m_keys->PositionOf(bookmark);
}

clsBookmark clsSqlRecordset::BookmarkAt(qint64 position) const
{
    static_cast<void>(Connection());
    if (position < 0 || position >= m_keys->Count())
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"There is no record at this place of the record set."_s);
    return m_keys->KeyAt(position);
}

QVariant clsSqlRecordset::Field(const QString& name) const
{
    static_cast<void>(Connection());
    const clsSqlSource::Column& column = m_source->At(name);
    for (const auto& [assigned, value] : m_assigned) {
        if (assigned == &column)
            return value;
    }
    if (m_change == Change::New)
        return {};
    RequireCurrent();
    const std::vector<QVariant>& row = RowAt(m_position, 1);
    if (row.empty())
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"The record has been deleted."_s);
    return row[static_cast<std::size_t>(&column - m_source->columns.data())];
}

QStringList clsSqlRecordset::FieldNames() const
{
    static_cast<void>(Connection());
    QStringList names;
    for (const auto& column : m_source->columns)
        names << column.name;
    return names;
}

std::vector<std::vector<QVariant>> clsSqlRecordset::Rows(qint64 first, qint64 count, const QStringList& fields) const
{
    const auto connection = Connection();
    std::vector<const clsSqlSource::Column*> columns;
    QStringList selected;
    for (const QString& name : fields) {
        columns.push_back(&m_source->At(name));
        if (columns.back()->other < 0)
            selected << SqlName(columns.back()->field);
    }
    const qint64 begin = std::max<qint64>(first, 0);
    const qint64 end = std::min(first + count, m_keys->Count());
    std::vector<std::vector<QVariant>> rows;
    if (begin >= end)
        return rows;
    rows.reserve(static_cast<std::size_t>(end - begin));

    const clsSqlReading reading(*connection);
    std::optional<clsSqlStatement> statement;
    if (!m_source->table.isEmpty()) {
        selected << u"rowid"_s; // so that a record can be told from none when only other tables' fields are wanted
        statement.emplace(
            connection, u"SELECT %1 FROM %2 WHERE rowid = ?1"_s.arg(selected.join(", "_L1), SqlName(m_source->table)));
    }
    for (qint64 position = begin; position < end; ++position) {
        std::vector<QVariant>& row = rows.emplace_back();
        if (statement) {
            statement->Reset();
            statement->Bind(1, m_keys->KeyAt(position));
            if (!statement->Step())
                continue;
        }
        row.reserve(columns.size());
        int read = 0;
        for (const auto* column : columns) {
            if (column->other < 0)
                row.push_back(statement->Value(read++));
            else
                row.push_back(m_keys->OtherAt(static_cast<std::size_t>(column->other), position));
        }
    }
    return rows;
}

std::vector<qint64> clsSqlRecordset::Matches(const clsSqlSource::Column& column, const QVariant& value) const
{
    std::vector<qint64> positions;
    if (column.other >= 0) {
        for (qint64 position = 0; position < m_keys->Count(); ++position) {
            const QVariant& held = m_keys->OtherAt(static_cast<std::size_t>(column.other), position);
            const bool same = value.metaType().id() == QMetaType::QString
                                  ? held.toString().compare(value.toString(), Qt::CaseInsensitive) == 0
                                  : held.toDouble() == value.toDouble();
            if (same && !held.isNull())
                positions.push_back(position);
        }
        return positions;
    }
    clsSqlStatement statement(Connection(), u"SELECT rowid FROM %1 WHERE %2 = ?1 COLLATE NOCASE"_s.arg(
                                                SqlName(m_source->table), SqlName(column.field)));
    statement.Bind(1, value);
    while (statement.Step()) {
        if (const qint64 position = m_keys->PositionOf(statement.Number(0)); position >= 0)
            positions.push_back(position);
    }
    return positions;
}

bool clsSqlRecordset::FindFirst(const QString& criteria)
{
    static_cast<void>(Connection());
    const Criteria wanted = Parse(criteria);
    const std::vector<qint64> positions = Matches(m_source->At(wanted.field), wanted.value);
    if (positions.empty())
        return false;
    CancelUpdate();
    m_position = *std::min_element(positions.begin(), positions.end());
    return true;
}

void clsSqlRecordset::Edit()
{
    RequireBaseTable();
    RequireCurrent();
    CancelUpdate();
    m_read = {};
    if (RowAt(m_position, 1).empty())
        modSqlErrors::Raise(clsError::NoCurrentRecord, u"The record has been deleted."_s);
    m_change = Change::Edit;
}

void clsSqlRecordset::AddNew()
{
    RequireBaseTable();
    CancelUpdate();
    m_change = Change::New;
}

void clsSqlRecordset::SetField(const QString& name, const QVariant& value)
{
    static_cast<void>(Connection());
    if (m_change == Change::None)
        modSqlErrors::Raise(clsError::EngineFailure, u"A field can be set after Edit or AddNew only."_s);
    const clsSqlSource::Column& column = m_source->At(name);
    if (column.other >= 0)
        modSqlErrors::Raise(clsError::EngineFailure, u"The field %1 belongs to another table."_s.arg(name));
    const QVariant fitting = Fitting(column, value);
    for (auto& [assigned, held] : m_assigned) {
        if (assigned == &column) {
            held = fitting;
            return;
        }
    }
    m_assigned.emplace_back(&column, fitting);
}

clsKeySet& clsSqlRecordset::OwnKeys()
{
    if (m_keys.use_count() > 1)
        m_keys = std::make_shared<clsKeySet>(*m_keys);
    return *m_keys;
}

void clsSqlRecordset::WriteNew(const std::shared_ptr<clsSqlConnection>& connection)
{
    QStringList names;
    QStringList places;
    for (const auto& assigned : m_assigned) {
        names << SqlName(assigned.first->field);
        places << u"?"_s;
    }
    const QString values =
        names.isEmpty() ? u"DEFAULT VALUES"_s : u"(%1) VALUES (%2)"_s.arg(names.join(", "_L1), places.join(", "_L1));
    clsSqlStatement insert(connection, u"INSERT INTO %1 %2"_s.arg(SqlName(m_source->table), values));
    int index = 0;
    for (const auto& assigned : m_assigned)
        insert.Bind(++index, assigned.second);
    insert.Step();
    m_lastModified = sqlite3_last_insert_rowid(connection->Handle());
    const bool wasAfterLast = m_keys->Count() > 0 && m_position >= m_keys->Count();
    OwnKeys().Append(*m_lastModified);
    if (wasAfterLast)
        m_position = m_keys->Count();
}

void clsSqlRecordset::WriteChange(const std::shared_ptr<clsSqlConnection>& connection)
{
    const qint64 key = m_keys->KeyAt(m_position);
    if (!m_assigned.empty()) {
        QStringList sets;
        for (const auto& assigned : m_assigned)
            sets << SqlName(assigned.first->field) + " = ?"_L1;
        clsSqlStatement update(connection,
                               u"UPDATE %1 SET %2 WHERE rowid = ?"_s.arg(SqlName(m_source->table), sets.join(", "_L1)));
        int index = 0;
        for (const auto& assigned : m_assigned)
            update.Bind(++index, assigned.second);
        update.Bind(++index, key);
        update.Step();
        if (sqlite3_changes(connection->Handle()) == 0)
            modSqlErrors::Raise(clsError::NoCurrentRecord, u"The record has been deleted."_s);
    }
    m_lastModified = key;
}

void clsSqlRecordset::Update()
{
    const auto connection = Connection();
    switch (m_change) {
    case Change::None:
        modSqlErrors::Raise(clsError::EngineFailure, u"Update needs Edit or AddNew before it."_s);
    case Change::Edit:
        WriteChange(connection);
        break;
    case Change::New:
        WriteNew(connection);
        break;
    }
    CancelUpdate();
}

void clsSqlRecordset::CancelUpdate()
{
    m_change = Change::None;
    m_assigned.clear();
}

void clsSqlRecordset::Delete()
{
    RequireBaseTable();
    RequireCurrent();
    CancelUpdate();
    const auto connection = Connection();
    {
        clsSqlStatement remove(connection, u"DELETE FROM %1 WHERE rowid = ?1"_s.arg(SqlName(m_source->table)));
        remove.Bind(1, m_keys->KeyAt(m_position));
        remove.Step();
    }
    OwnKeys().RemoveAt(m_position);
    --m_position;
    Step(1);
}

void clsSqlRecordset::Requery()
{
    CancelUpdate();
    TakeKeys();
}

void clsSqlRecordset::Forget(const std::vector<clsBookmark>& bookmarks)
{
    static_cast<void>(Connection());
    CancelUpdate();
    OwnKeys().Remove(bookmarks);
    m_position = 0;
    m_read = {};
}

std::unique_ptr<clsRecordset> clsSqlRecordset::Clone() const
{
    static_cast<void>(Connection());
    std::unique_ptr<clsSqlRecordset> clone(new clsSqlRecordset(*this));
    clone->CancelUpdate();
    clone->m_lastModified.reset();
    clone->m_position = 0;
    return clone;
}

void clsSqlRecordset::SetSort(const QString& field)
{
    static_cast<void>(Connection());
    if (!field.isEmpty())
        static_cast<void>(m_source->At(field));
    m_sort = field;
}

std::vector<QVariant> clsSqlRecordset::ColumnValues(const clsKeySet& keys, const clsSqlSource::Column& column) const
{
    std::vector<QVariant> values(static_cast<std::size_t>(keys.Count()));
    if (column.other >= 0) {
        for (qint64 position = 0; position < keys.Count(); ++position)
            values[static_cast<std::size_t>(position)] = keys.OtherAt(static_cast<std::size_t>(column.other), position);
        return values;
    }
    const auto connection = Connection();
    const clsSqlReading reading(*connection);
    const QString table = SqlName(m_source->table);
    clsSqlStatement newest(connection, u"SELECT max(rowid) FROM %1"_s.arg(table));
    newest.Step();
    if (keys.Count() >= newest.Number(0) / WholeColumnShare) {
        clsSqlStatement all(connection, u"SELECT rowid, %1 FROM %2"_s.arg(SqlName(column.field), table));
        while (all.Step()) {
            if (const qint64 position = keys.PositionOf(all.Number(0)); position >= 0)
                values[static_cast<std::size_t>(position)] = all.Value(1);
        }
        return values;
    }
    clsSqlStatement one(connection, u"SELECT %1 FROM %2 WHERE rowid = ?1"_s.arg(SqlName(column.field), table));
    for (qint64 position = 0; position < keys.Count(); ++position) {
        one.Reset();
        one.Bind(1, keys.KeyAt(position));
        if (one.Step())
            values[static_cast<std::size_t>(position)] = one.Value(0);
    }
    return values;
}

clsKeySet clsSqlRecordset::Sorted(const clsKeySet& keys, const QString& field) const
{
    return keys.Arranged(modSortOrder::Ascending(ColumnValues(keys, m_source->At(field))));
}

std::unique_ptr<clsRecordset> clsSqlRecordset::OpenRecordset() const
{
    static_cast<void>(Connection());
    std::unique_ptr<clsSqlRecordset> sorted(new clsSqlRecordset(*this));
    sorted->CancelUpdate();
    sorted->m_lastModified.reset();
    sorted->m_sort.clear();
    sorted->m_position = 0;
    sorted->m_read = {};
    if (!m_sort.isEmpty()) {
        sorted->m_keys = std::make_shared<clsKeySet>(Sorted(*m_keys, m_sort));
        sorted->m_order = m_sort;
    }
    return sorted;
}
