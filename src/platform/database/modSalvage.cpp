// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/modSalvage.h"

#include "platform/database/clsSqlStatement.h"
#include "platform/database/clsTreeReader.h"

#include <QFile>
#include <algorithm>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int UserVersionOffset = 60;
/// A line of the schema: type, name, table, first page, statement.
constexpr std::size_t SchemaFields = 5;

/// Tables whose records the program ships and nobody can add to.
bool IsProgramTable(const QString& name)
{
    static const QStringList tables{u"tblQueries"_s, u"tblTagList"_s, u"tblTips"_s, u"tblMailType"_s};
    return tables.contains(name, Qt::CaseInsensitive);
}

struct Definition
{
    QString type; ///< "table" or "index"
    QString name;
    QString table;
    quint32 root = 0; ///< 0: not known
    QString statement;
    [[nodiscard]] bool IsTable() const { return type == "table"_L1; }
    /// Made by the engine itself.
    [[nodiscard]] bool IsInternal() const { return name.startsWith("sqlite_"_L1, Qt::CaseInsensitive); }
};

struct Schema
{
    std::vector<Definition> definitions;
    bool whole = true;
    [[nodiscard]] const Definition* Find(const QString& name) const
    {
        const auto found = std::find_if(definitions.begin(), definitions.end(), [&](const Definition& one) {
            return one.name.compare(name, Qt::CaseInsensitive) == 0;
        });
        return found == definitions.end() ? nullptr : &*found;
    }
};

Schema ReadSchema(clsTreeReader& reader)
{
    Schema schema;
    const auto gaps = reader.ReadTable(1, [&](clsTreeRecord&& line) {
        schema.whole = schema.whole && !line.cut;
        line.values.resize(SchemaFields);
        Definition one{line.values[0].toString(),
                       line.values[1].toString(),
                       line.values[2].toString(),
                       line.values[3].toUInt(),
                       {}};
        if (!line.cut)
            one.statement = line.values[4].toString();
        if (one.type == "table"_L1 || one.type == "index"_L1)
            schema.definitions.push_back(one);
    });
    schema.whole = schema.whole && gaps.empty();
    return schema;
}

/// Adds what the file's schema has lost and the shipped one knows.
void Complete(Schema& schema, const Schema& shipped, std::set<QString>& fromShipped)
{
    for (const Definition& one : shipped.definitions) {
        if (one.IsInternal())
            continue;
        const Definition* own = schema.Find(one.name);
        if (own && !own->statement.isEmpty())
            continue;
        Definition taken = one;
        taken.root = own ? own->root : 0;
        if (own)
            schema.definitions.erase(schema.definitions.begin() + (own - schema.definitions.data()));
        schema.definitions.push_back(taken);
        fromShipped.insert(one.name);
    }
}

/// The shipped database, read in the same way: it may lie where nobody is allowed to write, as the engine wants to.
class clsShipped
{
public:
    clsShipped(const QString& path, const QString& key, const std::atomic<bool>& stop)
        : m_file(path, key), m_reader(m_file, stop), m_schema(ReadSchema(m_reader))
    {
    }
    [[nodiscard]] const Schema& Definitions() const { return m_schema; }
    void Read(const QString& table, const clsTreeReader::Sink& sink)
    {
        if (const Definition* found = m_schema.Find(table))
            m_reader.ReadTable(found->root, sink);
    }

private:
    clsPageFile m_file;
    clsTreeReader m_reader;
    Schema m_schema;
};

/// The new file as long as it is being written; deleted with it unless it was finished.
class clsTarget
{
public:
    explicit clsTarget(QString path) : m_path(std::move(path)) { Remove(); }
    ~clsTarget()
    {
        if (m_finished)
            return;
        m_connection.reset();
        Remove();
    }
    clsTarget(const clsTarget&) = delete;
    clsTarget& operator=(const clsTarget&) = delete;

    const std::shared_ptr<clsSqlConnection>& Begin(const QString& key)
    {
        m_connection = clsSqlConnection::Open(m_path, key, clsSqlConnection::Create::Yes);
        m_connection->Run(u"BEGIN IMMEDIATE"_s);
        return m_connection;
    }
    void Finish()
    {
        m_connection->Run(u"COMMIT"_s);
        m_connection->Close();
        m_finished = true;
    }

private:
    void Remove() const
    {
        QFile::remove(m_path);
        QFile::remove(m_path + "-journal"_L1);
    }

    QString m_path;
    std::shared_ptr<clsSqlConnection> m_connection;
    bool m_finished = false;
};

bool Before(const modSalvage::Range& a, const modSalvage::Range& b)
{
    return a.first < b.first;
}

/// Ranges of a set of numbers.
std::vector<modSalvage::Range> Ranges(const std::set<qint64>& numbers)
{
    std::vector<modSalvage::Range> ranges;
    for (const qint64 number : numbers) {
        if (!ranges.empty() && ranges.back().last + 1 == number)
            ranges.back().last = number;
        else
            ranges.push_back({number, number});
    }
    return ranges;
}

/// One table of the new file: takes records, and keeps account of them.
class clsSavedTable
{
public:
    clsSavedTable(std::shared_ptr<clsSqlConnection> connection, const QString& name)
        : m_connection(std::move(connection)), m_declared(m_connection->Table(name))
    {
    }

    [[nodiscard]] const QString& Name() const { return m_declared.name; }
    /// The highest number seen anywhere.
    [[nodiscard]] qint64 Highest() const { return std::max(m_highest, m_counter.value_or(0)); }
    [[nodiscard]] bool Damaged() const { return !m_gaps.empty() || !m_partial.empty() || !m_lost.empty(); }
    [[nodiscard]] bool Misses(qint64 number) const
    {
        const auto gap = std::lower_bound(m_gaps.begin(), m_gaps.end(), number,
                                          [](const clsTreeGap& one, qint64 sought) { return one.last < sought; });
        return gap != m_gaps.end() && gap->Holds(number);
    }
    void SetGaps(std::vector<clsTreeGap> gaps)
    {
        m_gaps = std::move(gaps);
        for (const clsTreeGap& gap : m_gaps) {
            Saw(gap.after);
            if (gap.last != clsTreeGap().last)
                Saw(gap.last);
        }
    }
    void SetCounter(std::optional<qint64> counter) { m_counter = counter; }
    [[nodiscard]] bool CounterKnown() const { return m_counter.has_value(); }
    void Saw(qint64 number) { m_highest = std::max(m_highest, number); }

    void Save(clsTreeRecord record)
    {
        Saw(record.number);
        // Half a comment is worth having; half an address may be somebody else's.
        if (const std::size_t last = record.values.size() - 1;
            record.half && last < m_declared.fields.size() && m_declared.fields[last].size > 0)
            record.values.pop_back();
        if (record.cut && IsProgramTable(Name())) {
            m_lost.insert(record.number); // half a statement is worse than none
            return;
        }
        const bool saved = Insert(record, true);
        if (!saved)
            m_lost.insert(record.number);
        else if (record.cut)
            m_partial.insert(record.number);
        else
            ++m_rows;
    }

    /// A page of records that hung on a damaged page; some may be none of this table's.
    void SaveStray(const std::vector<clsTreeRecord>& records)
    {
        for (const clsTreeRecord& record : records) {
            if (Misses(record.number) && !Has(record.number))
                Save(record);
        }
        m_found.push_back({records.front().number, records.back().number});
    }

    /// Fields of a record whose page is lost, as an index repeats them. @param places  of the values in the table, -1:
    /// its number
    void KnowFields(qint64 number, const std::vector<int>& places, const std::vector<QVariant>& values)
    {
        auto& known = m_fromIndexes[number];
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i] >= 0)
                known[places[i]] = values[i];
        }
    }
    /// Some index has an entry for every record.
    void KnowAllNumbers() { m_allKnown = true; }

    void SaveFromIndexes()
    {
        for (const auto& [number, fields] : m_fromIndexes) {
            if (Has(number))
                continue;
            QStringList names{u"rowid"_s};
            for (const auto& field : fields)
                names << SqlName(m_declared.fields[static_cast<std::size_t>(field.first)].name);
            clsSqlStatement& insert = Prepared(names);
            int parameter = 0;
            insert.Bind(++parameter, number);
            for (const auto& field : fields)
                insert.Bind(++parameter, field.second);
            (Run(insert) ? m_partial : m_lost).insert(number);
        }
    }

    /// @return how many of the shipped records the table did not have.
    qint64 SaveShipped(clsShipped& shipped)
    {
        qint64 added = 0;
        shipped.Read(Name(), [&](clsTreeRecord&& record) { added += Insert(record, !m_declared.key.isEmpty()); });
        return added;
    }

    /// How like this table's records these look: 0 not, 1 with fewer fields, 2 quite.
    [[nodiscard]] int Likeness(const std::vector<clsTreeRecord>& records) const
    {
        int likeness = 2;
        bool missed = false;
        for (const clsTreeRecord& record : records) {
            missed = missed || Misses(record.number);
            if (record.values.size() > m_declared.fields.size())
                return 0;
            if (!record.cut && record.values.size() < m_declared.fields.size())
                likeness = 1;
            for (std::size_t i = 0; i < record.values.size(); ++i) {
                if (!Suits(record.values[i], m_declared.fields[i]))
                    return 0;
            }
        }
        return missed ? likeness : 0;
    }

    [[nodiscard]] modSalvage::Table Told(bool otherPagesLost) const
    {
        modSalvage::Table told;
        told.name = Name();
        told.rows = m_rows;
        told.partial = Ranges(m_partial);
        if (IsProgramTable(Name())) // what they lost came from the shipped database
            return told;
        told.unread = Ranges(m_lost);
        if (!m_allKnown)
            TellGaps(otherPagesLost, told.unread);
        std::sort(told.unread.begin(), told.unread.end(), Before);
        return told;
    }

private:
    [[nodiscard]] bool Suits(const QVariant& value, const clsSqlField& field) const
    {
        if (field.name == m_declared.key) // stands in the record's number instead
            return !value.isValid();
        const bool number = value.metaType().id() == QMetaType::LongLong || value.metaType().id() == QMetaType::Double;
        return !value.isValid() || number == field.numeric;
    }
    [[nodiscard]] bool Has(qint64 number)
    {
        if (!m_exists)
            m_exists = std::make_unique<clsSqlStatement>(m_connection,
                                                         u"SELECT 1 FROM %1 WHERE rowid = ?"_s.arg(SqlName(Name())));
        m_exists->Bind(1, number);
        const bool has = m_exists->Step();
        m_exists->Reset();
        return has;
    }
    clsSqlStatement& Prepared(const QStringList& names)
    {
        auto& statement = m_inserts[names.join(u',')];
        if (!statement) {
            const QString values = QStringList(names.size(), u"?"_s).join(u',');
            statement = std::make_unique<clsSqlStatement>(
                m_connection,
                u"INSERT OR IGNORE INTO %1 (%2) VALUES (%3)"_s.arg(SqlName(Name()), names.join(u','), values));
        }
        return *statement;
    }
    bool Run(clsSqlStatement& insert)
    {
        insert.Step();
        insert.Reset();
        return sqlite3_changes(m_connection->Handle()) > 0;
    }
    /// @return false when the table's rules refuse the record.
    bool Insert(const clsTreeRecord& record, bool withNumber)
    {
        const std::size_t count = std::min(record.values.size(), m_declared.fields.size());
        auto& insert = m_byShape[{count, withNumber}];
        if (!insert) {
            QStringList names;
            if (withNumber)
                names << u"rowid"_s;
            for (std::size_t i = 0; i < count; ++i) {
                if (m_declared.fields[i].name != m_declared.key)
                    names << SqlName(m_declared.fields[i].name);
            }
            insert = &Prepared(names);
        }
        int parameter = 0;
        if (withNumber)
            insert->Bind(++parameter, record.number);
        for (std::size_t i = 0; i < count; ++i) {
            if (m_declared.fields[i].name != m_declared.key)
                insert->Bind(++parameter, record.values[i]);
        }
        return Run(*insert);
    }
    void TellGaps(bool otherPagesLost, std::vector<modSalvage::Range>& unread) const
    {
        std::vector<modSalvage::Range> strays = m_found;
        std::sort(strays.begin(), strays.end(), Before);
        std::vector<modSalvage::Range> found = Ranges(m_partial);
        found.insert(found.end(), strays.begin(), strays.end());
        std::sort(found.begin(), found.end(), Before);
        auto next = found.begin();
        for (const clsTreeGap& gap : m_gaps) {
            // A damaged page that led to others, and all of them were found.
            const auto stray = std::upper_bound(strays.begin(), strays.end(), modSalvage::Range{gap.after, 0}, Before);
            if (!otherPagesLost && stray != strays.end() && gap.Holds(stray->first))
                continue;
            // Numbers begin at 1; where they end, the counter knows.
            qint64 first = std::max<qint64>(gap.after, 0) + 1;
            const qint64 last = m_counter ? std::min(gap.last, Highest()) : gap.last;
            while (next != found.end() && next->last <= gap.after)
                ++next;
            for (auto known = next; known != found.end() && known->first <= last; ++known) {
                if (known->first > first)
                    unread.push_back({first, known->first - 1});
                first = std::max(first, known->last + 1);
            }
            if (first <= last)
                unread.push_back({first, last});
        }
    }

    std::shared_ptr<clsSqlConnection> m_connection;
    clsSqlTable m_declared;
    std::vector<clsTreeGap> m_gaps;
    std::map<QString, std::unique_ptr<clsSqlStatement>> m_inserts;
    std::map<std::pair<std::size_t, bool>, clsSqlStatement*> m_byShape;
    std::unique_ptr<clsSqlStatement> m_exists;
    std::map<qint64, std::map<int, QVariant>> m_fromIndexes;
    std::vector<modSalvage::Range> m_found;
    std::set<qint64> m_partial;
    std::set<qint64> m_lost;
    qint64 m_rows = 0;
    std::optional<qint64> m_counter;
    qint64 m_highest = 0;
    bool m_allKnown = false;
};

/// Fields that hold numbers of another table's records.
struct Reference
{
    QString referred;
    QString table;
    QString field;
};

std::vector<Reference> References()
{
    std::vector<Reference> references{{u"tblCategory"_s, u"tblLinkList"_s, u"CategoryID"_s}};
    for (int type = 1; type <= 8; ++type)
        references.push_back({u"tblMailMessages"_s, u"tblSites"_s, u"EMessage%1"_s.arg(type)});
    return references;
}

class clsSalvage
{
public:
    clsSalvage(clsPageFile& file, const std::shared_ptr<clsSqlConnection>& connection,
               std::function<clsShipped&()> shipped, const std::atomic<bool>& stop)
        : m_connection(connection), m_shipped(std::move(shipped)), m_stop(stop), m_reader(file, stop)
    {
    }

    [[nodiscard]] modSalvage::Report Run()
    {
        m_schema = ReadSchema(m_reader);
        if (!m_schema.whole && !m_stop)
            Complete(m_schema, m_shipped().Definitions(), m_fromShipped);
        Declare(true);
        const auto counters = ReadCounters();
        for (const Definition& one : m_schema.definitions) {
            if (one.IsTable() && !one.IsInternal() && !one.statement.isEmpty())
                ReadTable(one, counters);
        }
        Declare(false);
        bool otherPagesLost = false;
        const bool damaged = !m_schema.whole || std::any_of(m_tables.begin(), m_tables.end(),
                                                            [](const clsSavedTable& one) { return one.Damaged(); });
        if (damaged && !m_stop)
            otherPagesLost = LookElsewhere();
        SetCounters();
        m_connection->Run(u"PRAGMA user_version = %1"_s.arg(static_cast<qint32>(m_reader.Header(UserVersionOffset))));
        return Told(otherPagesLost);
    }

private:
    void Declare(bool tables)
    {
        for (const Definition& one : m_schema.definitions) {
            if (one.IsTable() == tables && !one.IsInternal() && !one.statement.isEmpty() &&
                (tables || m_connection->FindTable(one.table)))
                m_connection->Run(one.statement);
        }
    }

    QHash<QString, qint64> ReadCounters()
    {
        QHash<QString, qint64> counters;
        if (const Definition* table = m_schema.Find(u"sqlite_sequence"_s)) {
            m_reader.ReadTable(table->root, [&](clsTreeRecord&& record) {
                if (record.values.size() == 2)
                    counters.insert(record.values[0].toString().toLower(), record.values[1].toLongLong());
            });
        }
        return counters;
    }

    void ReadTable(const Definition& definition, const QHash<QString, qint64>& counters)
    {
        clsSavedTable& table = m_tables.emplace_back(m_connection, definition.name);
        if (const auto counter = counters.constFind(definition.name.toLower()); counter != counters.constEnd())
            table.SetCounter(*counter);
        table.SetGaps(
            m_reader.ReadTable(definition.root, [&](clsTreeRecord&& record) { table.Save(std::move(record)); }));
    }

    /// What the trees of the damaged tables did not lead to. @return whether more may be lost than the trees tell.
    bool LookElsewhere()
    {
        for (const Definition& one : m_schema.definitions) {
            if (!one.IsTable())
                ReadIndex(one);
        }
        m_reader.PassFreePages();
        const bool allSeen = m_reader.ReadStrayPages([&](std::vector<clsTreeRecord>&& records) { Place(records); });
        for (clsSavedTable& table : m_tables) {
            if (m_stop)
                break;
            if (!IsProgramTable(table.Name()))
                table.SaveFromIndexes();
            else if (table.Damaged())
                m_shippedRows[table.Name()] = table.SaveShipped(m_shipped());
        }
        return !allSeen;
    }

    void ReadIndex(const Definition& index)
    {
        const auto table = Find(index.table);
        std::vector<int> places; // -1: the record's number
        if (table != m_tables.end()) {
            clsSqlStatement info(m_connection, u"PRAGMA index_info(%1)"_s.arg(SqlName(index.name)));
            while (info.Step()) // seqno, cid, name
                places.push_back(static_cast<int>(info.Number(1)));
        }
        const bool all = m_reader.ReadIndex(index.root, [&](clsTreeRecord&& entry) {
            if (places.empty() || entry.values.size() != places.size() + 1)
                return;
            const qint64 number = entry.values.back().toLongLong();
            table->Saw(number);
            if (table->Misses(number))
                table->KnowFields(number, places, entry.values);
        });
        if (all && !places.empty() && !index.statement.contains(" WHERE "_L1, Qt::CaseInsensitive))
            table->KnowAllNumbers();
    }

    std::list<clsSavedTable>::iterator Find(const QString& table)
    {
        return std::find_if(m_tables.begin(), m_tables.end(), [&](const clsSavedTable& one) {
            return one.Name().compare(table, Qt::CaseInsensitive) == 0;
        });
    }

    /// Whether the records are the counters, whose place the schema no longer told: names of tables, and numbers.
    bool TakeCounters(const std::vector<clsTreeRecord>& records)
    {
        if (!std::all_of(records.begin(), records.end(), [&](const clsTreeRecord& record) {
                return record.values.size() == 2 && record.values[1].metaType().id() == QMetaType::LongLong &&
                       Find(record.values[0].toString()) != m_tables.end();
            }))
            return false;
        for (const clsTreeRecord& record : records)
            Find(record.values[0].toString())->SetCounter(record.values[1].toLongLong());
        return true;
    }

    /// Gives a page of records to the one table that they can belong to.
    void Place(const std::vector<clsTreeRecord>& records)
    {
        if (!m_schema.whole && TakeCounters(records))
            return;
        clsSavedTable* best = nullptr;
        int likeness = 0;
        bool unclear = false;
        for (clsSavedTable& table : m_tables) {
            const int here = table.Likeness(records);
            if (here == 0 || here < likeness)
                continue;
            unclear = here == likeness;
            likeness = here;
            best = &table;
        }
        if (best && !unclear)
            best->SaveStray(records);
    }

    void SetCounters()
    {
        for (const Reference& reference : References()) {
            const auto table = Find(reference.referred);
            const clsSqlTable* referring = m_connection->FindTable(reference.table);
            if (table == m_tables.end() || table->CounterKnown() || !referring || !referring->Field(reference.field))
                continue;
            clsSqlStatement highest(
                m_connection, u"SELECT max(%1) FROM %2"_s.arg(SqlName(reference.field), SqlName(reference.table)));
            if (highest.Step())
                table->Saw(highest.Number(0));
        }
        for (const clsSavedTable& table : m_tables) {
            const Definition* definition = m_schema.Find(table.Name());
            if (!definition->statement.contains("AUTOINCREMENT"_L1, Qt::CaseInsensitive) || table.Highest() == 0)
                continue;
            for (const QString& sql : {u"DELETE FROM sqlite_sequence WHERE name = ?1"_s,
                                       u"INSERT INTO sqlite_sequence (name, seq) VALUES (?1, ?2)"_s}) {
                clsSqlStatement statement(m_connection, sql);
                statement.Bind(1, QVariant(table.Name()));
                if (sql.contains("?2"_L1))
                    statement.Bind(2, table.Highest());
                statement.Step();
            }
        }
    }

    [[nodiscard]] modSalvage::Report Told(bool otherPagesLost) const
    {
        modSalvage::Report report;
        for (const clsSavedTable& table : m_tables) {
            modSalvage::Table told = table.Told(otherPagesLost);
            told.shippedDefinition = m_fromShipped.contains(table.Name());
            const auto rows = m_shippedRows.find(table.Name());
            told.shippedRows = rows == m_shippedRows.end() ? 0 : rows->second;
            report.tables.push_back(told);
        }
        return report;
    }

    std::shared_ptr<clsSqlConnection> m_connection;
    std::function<clsShipped&()> m_shipped;
    const std::atomic<bool>& m_stop;
    clsTreeReader m_reader;
    Schema m_schema;
    std::set<QString> m_fromShipped;
    std::list<clsSavedTable> m_tables;
    std::map<QString, qint64> m_shippedRows;
};
} // namespace

modSalvage::Report modSalvage::Salvage(const QString& source, const QString& target, const QString& key,
                                       const QString& shipped, const std::atomic<bool>& stop)
{
    clsPageFile file(source, key);
    std::optional<clsShipped> shippedDatabase;
    const auto openShipped = [&]() -> clsShipped& {
        if (!shippedDatabase)
            shippedDatabase.emplace(shipped, key, stop);
        return *shippedDatabase;
    };
    clsTarget made(target);
    // Its statements end before the file is closed.
    Report report = clsSalvage(file, made.Begin(key), openShipped, stop).Run();
    report.stopped = stop;
    if (!report.stopped)
        made.Finish();
    return report;
}
