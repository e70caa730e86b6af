// SPDX-License-Identifier: GPL-3.0-or-later
// A corpus of damaged database files: every kind of page flipped, emptied and exchanged, files cut short, files that
// are none. What is saved is compared with what was there before, record by record.
#include "platform/database/clsPageFile.h"
#include "platform/database/clsSqlStatement.h"
#include "platform/database/modDatabaseMaker.h"
#include "platform/database/modSalvage.h"
#include "support/faults.h"
#include "support/installation.h"
#include "support/suite_report.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString Key = u"SandDune"_s;
const QStringList ProgramTables{u"tblMailType"_s, u"tblTagList"_s, u"tblTips"_s, u"tblQueries"_s};
constexpr qint64 PageSize = 1024;

using Rows = std::map<qint64, QVariantList>;
using Content = std::map<QString, Rows>;

/// Every record of every table; the counters are a table too. Fails when the file is not sound.
Content ContentOf(const QString& path)
{
    const auto connection = clsSqlConnection::Open(path, Key);
    clsSqlStatement check(connection, u"PRAGMA integrity_check"_s);
    if (!check.Step() || check.Value(0) != QVariant(u"ok"_s))
        qFatal("%s is not sound", qPrintable(path));
    Content content;
    clsSqlStatement tables(connection, u"SELECT name FROM sqlite_master WHERE type = 'table'"_s);
    while (tables.Step()) {
        Rows& rows = content[tables.Value(0).toString()];
        clsSqlStatement all(connection, u"SELECT rowid, * FROM %1"_s.arg(SqlName(tables.Value(0).toString())));
        while (all.Step()) {
            QVariantList& row = rows[all.Number(0)];
            for (int column = 1; column < all.ColumnCount(); ++column)
                row << all.Value(column);
        }
    }
    return content;
}

bool Holds(const std::vector<modSalvage::Range>& ranges, qint64 number)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const modSalvage::Range& range) { return number >= range.first && number <= range.last; });
}

/// How many bytes of a page that is lost a record needs to have had there: one that goes on elsewhere has at least 97.
qint64 BytesOnItsPage(const QVariantList& row)
{
    qint64 bytes = 0;
    for (const QVariant& value : row)
        bytes += value.metaType().id() == QMetaType::QString ? value.toString().toUtf8().size() : 0;
    return std::min<qint64>(bytes, 97);
}
} // namespace

class tst_salvage : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestInstallation> m_installation;
    QByteArray m_file; ///< the undamaged file
    Content m_before;
    std::map<int, QList<qint64>> m_pages; ///< 0-based, by the kind that their first byte tells
    std::atomic<bool> m_stop = false;
    qint64 m_cases = 0, m_rows = 0, m_whole = 0, m_partial = 0, m_shippedDefinitions = 0, m_countersLost = 0;

    [[nodiscard]] QString Path(const QString& name) const { return m_installation->DataPath() + name; }
    [[nodiscard]] qint64 PageCount() const { return m_file.size() / PageSize; }

    modSalvage::Report Salvage(const QByteArray& damaged)
    {
        QFile file(Path(u"_Bramdat.mdb"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(damaged) != damaged.size())
            qFatal("%s", qPrintable(file.errorString()));
        file.close();
        return modSalvage::Salvage(file.fileName(), Path(u"Bramdat.new"_s), Key, Path(u"Shipped.mdb"_s), m_stop);
    }

    /// Salvages, and holds what came out against what was there. @param lostPages  how many were damaged
    /// @return what is wrong, nothing when all is well.
    QString Verdict(const QByteArray& damaged, qint64 lostPages)
    {
        const modSalvage::Report report = Salvage(damaged);
        const Content after = ContentOf(Path(u"Bramdat.new"_s));
        qint64 lostBytes = 0;
        ++m_cases;
        for (const auto& [name, rows] : m_before) {
            const auto table = after.find(name);
            if (table == after.end())
                return name + " is missing"_L1;
            if (name == "sqlite_sequence"_L1) {
                if (const QString wrong = OfCounters(Counters(rows), Counters(table->second), lostPages);
                    !wrong.isEmpty())
                    return wrong;
                continue;
            }
            const auto told = std::find_if(report.tables.begin(), report.tables.end(),
                                           [&](const modSalvage::Table& one) { return one.name == name; });
            if (told == report.tables.end())
                return name + " is not told of"_L1;
            m_shippedDefinitions += told->shippedDefinition ? 1 : 0;
            QString wrong;
            if (ProgramTables.contains(name))
                wrong = OfProgramTable(rows, table->second);
            else
                wrong = OfUserTable(rows, table->second, *told, lostBytes);
            if (!wrong.isEmpty())
                return name + ": "_L1 + wrong;
        }
        // What is lost must have been on the damaged pages.
        if (lostBytes > lostPages * clsPageFile::UsableSize)
            return u"%1 bytes of records lost with %2 pages"_s.arg(lostBytes).arg(lostPages);
        return {};
    }

    static QHash<QString, qint64> Counters(const Rows& rows)
    {
        QHash<QString, qint64> counters;
        for (const auto& row : rows)
            counters[row.second[0].toString()] = row.second[1].toLongLong();
        return counters;
    }

    /// With one page damaged either the counter was readable or all the numbers were.
    QString OfCounters(const QHash<QString, qint64>& before, const QHash<QString, qint64>& after, qint64 lostPages)
    {
        bool same = true;
        for (auto counter = before.cbegin(); counter != before.cend(); ++counter) {
            same = same && after[counter.key()] == counter.value();
            if (lostPages < 2 && after[counter.key()] < m_before[counter.key()].rbegin()->first)
                return u"numbers of %1 would be given out again"_s.arg(counter.key());
        }
        m_countersLost += same ? 0 : 1;
        return same || lostPages > 0 ? QString() : u"counters are not what they were"_s;
    }

    static QString OfProgramTable(const Rows& before, const Rows& after)
    {
        const auto values = [](const Rows& rows) {
            QStringList all;
            for (const auto& row : rows)
                all << QVariant(row.second).toStringList().join(u'|');
            all.sort();
            return all;
        };
        return values(before) == values(after) ? QString() : u"not restored"_s;
    }

    QString OfUserTable(const Rows& before, const Rows& after, const modSalvage::Table& told, qint64& lostBytes)
    {
        qint64 whole = 0;
        for (const auto& [number, row] : before) {
            const auto saved = after.find(number);
            const bool partial = Holds(told.partial, number);
            if (saved == after.end() && !Holds(told.unread, number))
                return u"%1 is lost in silence"_s.arg(number);
            if (saved != after.end() && Holds(told.unread, number))
                return u"%1 is called lost"_s.arg(number);
            if (saved == after.end() || partial)
                lostBytes += BytesOnItsPage(row);
            if (saved == after.end())
                continue;
            if (!partial && saved->second != row)
                return u"%1 is not what it was"_s.arg(number);
            for (int i = 0; partial && i < row.size(); ++i) {
                const QString field = saved->second[i].toString();
                const bool memo = row[i].toString().contains(u' '); // half of it is better than nothing
                if (!field.isEmpty() && field != "0"_L1 && field != row[i].toString() &&
                    !(memo && row[i].toString().startsWith(field)))
                    return u"%1 has a wrong field"_s.arg(number);
            }
            ++(partial ? m_partial : whole);
        }
        m_rows += static_cast<qint64>(before.size());
        m_whole += whole;
        if (after.size() > before.size() || told.rows != whole)
            return u"%1 records instead of %2, %3 told"_s.arg(whole).arg(before.size()).arg(told.rows);
        return {};
    }

    /// Page numbers to damage: all of them, or some of every kind.
    QList<qint64> Chosen(QRandomGenerator& random) const
    {
        QList<qint64> chosen;
        for (const auto& [kind, pages] : m_pages) {
            if (suiteReport::Long()) {
                chosen << pages;
                continue;
            }
            chosen << pages.first() << pages.last();
            for (int i = 0; i < 2; ++i)
                chosen << pages[random.bounded(pages.size())];
        }
        return chosen;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_installation = std::make_unique<clsTestInstallation>(clsTestInstallation::Content::Sample);
        {
            const auto file = m_installation->Open();
            clsTestInstallation::AddSite(*file, u"Shop"_s);
            clsTestInstallation::AddLinks(*file, u"Shop"_s, 700);
            for (int i = 0; i < 60; ++i) {
                clsTestInstallation::AddCategory(*file, u"Shop"_s, u"Category %1 of many"_s.arg(i));
                const QString comments = u"Wrote on day %1, no answer, äöü. "_s.arg(i).repeated(20 + 3 * i);
                clsTestInstallation::AddLink(*file, u"Shop"_s, u"Talker %1"_s.arg(i), {{u"Comments"_s, comments}});
            }
            // Deleted records leave free pages, holes in the numbers, and counters above the last number.
            std::vector<clsBookmark> deleted;
            for (clsBookmark id = 300; id < 420; ++id)
                deleted.push_back(id);
            const auto links = file->OpenRecordset(u"tblLinkList"_s);
            links->MoveLast();
            deleted.push_back(links->Bookmark());
            file->DeleteRecords(u"tblLinkList"_s, deleted);
        }
        modDatabaseMaker::MakeDatabase(Path(u"Shipped.mdb"_s), Key,
                                       clsTestInstallation::Statements(clsTestInstallation::Content::Empty));
        m_before = ContentOf(m_installation->DatabasePath());
        QFile file(m_installation->DatabasePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_file = file.readAll();

        clsPageFile pages(m_installation->DatabasePath(), Key);
        QCOMPARE(qint64{pages.Count()}, PageCount());
        for (qint64 page = 1; page < PageCount(); ++page) {
            const auto content = pages.Page(static_cast<quint32>(page + 1));
            QVERIFY(content);
            m_pages[static_cast<quint8>(content->at(0))] << page;
        }
        // Branches and leaves of indexes and of tables; overflow and free pages.
        QVERIFY(m_pages.size() == 5 && m_pages[5].size() > 3 && m_pages[2].size() > 1 && m_pages[0].size() > 60);
        QCOMPARE(Verdict(m_file, 0), QString());
    }
    void cleanupTestCase()
    {
        suiteReport::Report(
            u"salvage"_s,
            u"%1 damaged files; of %2 records %3 saved whole, %4 in part"_s.arg(m_cases).arg(m_rows).arg(m_whole).arg(
                m_partial));
        m_installation.reset();
    }

    void nothingIsLostButWhatTheDamagedPageHeld()
    {
        QRandomGenerator random(suiteReport::Seed());
        const QList<qint64> pages = Chosen(random);
        for (const qint64 page : pages) {
            QByteArray flipped = m_file;
            const qint64 byte = page * PageSize + random.bounded(1000);
            flipped[byte] = static_cast<char>(flipped[byte] ^ (1 << random.bounded(8)));
            QByteArray emptied = m_file;
            emptied.replace(page * PageSize, PageSize, QByteArray(PageSize, '\0'));
            QByteArray exchanged = m_file;
            exchanged.replace(page * PageSize, PageSize, m_file.mid((page == 1 ? 2 : 1) * PageSize, PageSize));
            for (const QByteArray& damaged : {flipped, emptied, exchanged}) {
                const QString verdict = Verdict(damaged, 1);
                QVERIFY2(verdict.isEmpty(), qPrintable(u"page %1: %2"_s.arg(page + 1).arg(verdict)));
            }
        }
        QVERIFY(m_shippedDefinitions > 0); // the schema's second page was among them,
        QVERIFY(m_countersLost <= 3);      // and that of the counters at most once
        std::printf("one damaged page: of %lld records %lld saved whole, %lld in part\n", qlonglong{m_rows},
                    qlonglong{m_whole}, qlonglong{m_partial});
    }

    void aTableWhoseFirstPageIsNotToldRight_data()
    {
        const testTable<QString> row;
        row("an index", u"(SELECT rootpage FROM sqlite_master WHERE name = 'idxLinkListTitle')"_s);
        row("the schema", u"1"_s);
        row("nowhere", u"999999"_s);
    }
    void aTableWhoseFirstPageIsNotToldRight()
    {
        const auto [page] = testRow<QString>();
        const QString path = Path(u"Misled.mdb"_s);
        QFile::remove(path);
        QVERIFY(QFile::copy(m_installation->DatabasePath(), path));
        const auto connection = clsSqlConnection::Open(path, Key);
        connection->Run(u"PRAGMA writable_schema = ON"_s);
        connection->Run(u"UPDATE sqlite_master SET rootpage = %1 WHERE name = 'tblLinkList'"_s.arg(page));
        connection->Close();
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const qint64 before = m_whole;
        QCOMPARE(Verdict(file.readAll(), 1), QString());
        QVERIFY(m_whole - before > 600);
    }

    void aFileCutShortGivesWhatIsLeft()
    {
        QRandomGenerator random(suiteReport::Seed());
        for (qint64 left = 1; left < PageCount(); left += suiteReport::Long() ? 1 : 1 + random.bounded(60)) {
            const qint64 inPage = random.bounded(2) * random.bounded(1024);
            const QString verdict = Verdict(m_file.left(left * PageSize + inPage), PageCount() - left);
            QVERIFY2(verdict.isEmpty(), qPrintable(u"%1 pages left: %2"_s.arg(left).arg(verdict)));
        }
    }

    void manyDamagedPagesAtOnce()
    {
        QRandomGenerator random(suiteReport::Seed());
        for (int round = 0; round < (suiteReport::Long() ? 500 : 10); ++round) {
            QByteArray damaged = m_file;
            const int count = 2 + random.bounded(40);
            for (int i = 0; i < count; ++i)
                damaged[random.bounded(PageSize, m_file.size())] ^= 0x55;
            const QString verdict = Verdict(damaged, count);
            QVERIFY2(verdict.isEmpty(), qPrintable(u"round %1: %2"_s.arg(round).arg(verdict)));
        }
    }

    /// What is refused from the start is met on the command line and in the window, by tst_damage.
    void aFullDiskLeavesNoFile()
    {
        const QString target = Path(u"Refused.new"_s);
        const fullDisk limit(20 * PageSize);
        QCOMPARE(ErrorOf([&] {
                     (void)modSalvage::Salvage(m_installation->DatabasePath(), target, Key, Path(u"Shipped.mdb"_s),
                                               m_stop);
                 }),
                 clsError::DiskFull);
        QVERIFY(!QFile::exists(target) && !QFile::exists(target + "-journal"_L1));
    }

    void stoppedLeavesNoFile()
    {
        m_stop = true;
        const bool stopped = Salvage(m_file).stopped;
        m_stop = false;
        QVERIFY(stopped && !QFile::exists(Path(u"Bramdat.new"_s)));
    }
};

QTEST_GUILESS_MAIN(tst_salvage)
#include "tst_salvage.moc"
