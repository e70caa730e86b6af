// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlDatabaseFiles.h"

#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/database/clsFileWork.h"
#include "platform/database/clsPageFile.h"
#include "platform/database/clsSqlConnection.h"
#include "platform/database/clsSqlStatement.h"
#include "platform/database/clsSqlWorkspace.h"
#include "platform/database/clsTreeReader.h"
#include "platform/database/modSalvage.h"
#include "platform/database/modSqlErrors.h"
#include "platform/modPlatformImpl.h"
#include "platform/system/clsWorker.h"

#include <QFile>
#include <QFileInfo>
#include <future>
#include <limits>
#include <optional>
#include <sqlite3.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Steps of the engine between two looks at the stop flag: some thousandths of a second.
constexpr int StepsBetweenLooks = 20000;

/// The engine's own account of changes that are not finished, beside the file.
QString JournalOf(const QString& path)
{
    return path + u"-journal"_s;
}

/// A connection whose statements end when the work is to stop.
class clsWorkConnection
{
public:
    clsWorkConnection(const QString& path, const QString& connect, clsFileWork& work)
        : m_key(clsSqlWorkspace::PasswordOf(connect)), m_connection(clsSqlConnection::Open(path, m_key)), m_work(work)
    {
        // How many pages a statement has read is all that the engine tells of how far it is.
        const qint64 pages = QFileInfo(path).size() / clsPageFile::PageSize;
        WatchWith([this, pages] { m_work.Advance(PagesRead() - m_before, pages * m_rounds); });
    }
    ~clsWorkConnection() { m_connection->Close(); }
    clsWorkConnection(const clsWorkConnection&) = delete;
    clsWorkConnection& operator=(const clsWorkConnection&) = delete;

    clsSqlConnection* operator->() const { return m_connection.get(); }
    [[nodiscard]] const QString& Key() const { return m_key; }
    [[nodiscard]] clsSqlStatement Statement(const QString& sql) const { return {m_connection, sql}; }
    /// Begins the next stretch of work. @param rounds  how often it reads the file.
    void SetPart(int from, int to, int rounds)
    {
        m_work.SetPart(from, to);
        m_before = PagesRead();
        m_rounds = rounds;
    }
    /// @param look  called now and then while a statement runs.
    void WatchWith(std::function<void()> look)
    {
        m_look = std::move(look);
        sqlite3_progress_handler(
            m_connection->Handle(), StepsBetweenLooks,
            [](void* self) {
                auto& connection = *static_cast<clsWorkConnection*>(self);
                connection.m_look();
                return connection.m_work.Stopped() ? 1 : 0;
            },
            this);
    }

private:
    [[nodiscard]] int PagesRead() const
    {
        int read = 0;
        int highest = 0;
        sqlite3_db_status(m_connection->Handle(), SQLITE_DBSTATUS_CACHE_MISS, &read, &highest, 0);
        return read;
    }

    QString m_key;
    std::shared_ptr<clsSqlConnection> m_connection;
    clsFileWork& m_work;
    std::function<void()> m_look;
    qint64 m_before = 0; ///< pages read before this stretch of work
    int m_rounds = 1;
};

QStringList TablesOf(const clsWorkConnection& connection)
{
    QStringList names;
    clsSqlStatement tables = connection.Statement(u"SELECT name FROM sqlite_master WHERE type = 'table'"_s);
    while (tables.Step())
        names << tables.Value(0).toString();
    return names;
}

/// Of the engine's check: every page, and then every row with what the indexes have of it.
constexpr int CheckRounds = 2;

/// Reads every row, fields that run over several pages included; by the table itself, not by an index.
clsDatabaseFiles::RowCounts RowsOf(const clsWorkConnection& connection)
{
    clsDatabaseFiles::RowCounts counts;
    const QStringList tables = TablesOf(connection);
    for (const QString& table : tables) {
        qint64& count = counts[table];
        clsSqlStatement rows = connection.Statement(u"SELECT * FROM %1 NOT INDEXED"_s.arg(SqlName(table)));
        while (rows.Step())
            ++count;
    }
    return counts;
}

/// Pages without a single byte that ought to have some. The encryption takes such a page for a new one, and the engine
/// is content with it as the end of a long field.
QStringList EmptyPagesOf(const clsWorkConnection& connection, const QString& path, const clsFileWork& work)
{
    // By the engine's own hands: to close the file would give up its locks.
    sqlite3_file* file = nullptr;
    sqlite3_int64 size = 0;
    sqlite3_file_control(connection->Handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
    file->pMethods->xFileSize(file, &size);
    const QByteArray nothing(clsPageFile::PageSize, '\0');
    QByteArray page = nothing;
    std::vector<quint32> empty;
    for (sqlite3_int64 place = 0; place + clsPageFile::PageSize <= size; place += clsPageFile::PageSize) {
        if (file->pMethods->xRead(file, page.data(), clsPageFile::PageSize, place) == SQLITE_OK && page == nothing &&
            place != sqlite3_int64{0x40000000}) // where the locks are, no page is ever written
            empty.push_back(static_cast<quint32>(place / clsPageFile::PageSize + 1));
    }
    QStringList complaints;
    if (empty.empty())
        return complaints;
    // One that was free before it was ever written may be empty.
    clsPageFile pages(path, connection.Key());
    clsTreeReader reader(pages, work.StopFlag());
    reader.PassFreePages();
    for (const quint32 number : empty) {
        if (!reader.Known(number))
            complaints << u"Page %1 is empty."_s.arg(number);
    }
    return complaints;
}

/// What the engine finds wrong with pages and indexes. It tells of damage by rows, until a page is too bad to go on.
QStringList ComplaintsOf(const clsWorkConnection& connection, const QString& path, const clsFileWork& work)
{
    QStringList complaints;
    sqlite3_stmt* check = connection->Take(u"PRAGMA integrity_check"_s);
    int code = SQLITE_OK;
    while ((code = sqlite3_step(check)) == SQLITE_ROW) {
        const QString line = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)));
        if (line != u"ok"_s)
            complaints << line;
    }
    sqlite3_finalize(check);
    // A page that cannot be decrypted is a plain error to the check.
    if (const int kind = code & 0xff; kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || kind == SQLITE_ERROR)
        complaints << QString::fromUtf8(sqlite3_errstr(code));
    else if (code != SQLITE_DONE)
        modSqlErrors::Raise(connection->Handle(), code, u"PRAGMA integrity_check"_s);
    return complaints + EmptyPagesOf(connection, path, work);
}

/// @return the rows of a file that is sound. @throws DatabaseDamaged
clsDatabaseFiles::RowCounts Prove(const QString& path, const QString& connect, clsFileWork& work, int from)
{
    const int middle = (from + 100) / 2;
    clsWorkConnection connection(path, connect, work);
    connection.SetPart(from, middle, CheckRounds);
    if (const QStringList complaints = ComplaintsOf(connection, path, work); !complaints.isEmpty())
        modSqlErrors::Raise(clsError::DatabaseDamaged,
                            u"The database file \"%1\" is damaged: %2"_s.arg(path, complaints.first()));
    connection.SetPart(middle, 100, 1);
    return RowsOf(connection);
}

/// Deletes a file that is being made, and what the engine may have put beside it, unless it is kept.
class clsNewFile
{
public:
    clsNewFile(clsDisk& disk, QString path) : m_path(std::move(path))
    {
        disk.RemoveFile(m_path);
        disk.RemoveFile(JournalOf(m_path));
    }
    ~clsNewFile()
    {
        if (!m_kept)
            QFile::remove(m_path);
    }
    clsNewFile(const clsNewFile&) = delete;
    clsNewFile& operator=(const clsNewFile&) = delete;
    void Keep() { m_kept = true; }

private:
    QString m_path;
    bool m_kept = false;
};

QString RangesText(const std::vector<modSalvage::Range>& ranges)
{
    QStringList texts;
    for (const modSalvage::Range& range : ranges) {
        const bool open = range.last == std::numeric_limits<qint64>::max();
        if (range.first == range.last)
            texts << QString::number(range.first);
        else if (range.first == std::numeric_limits<qint64>::min())
            texts << (open ? u"all"_s : u"up to %1"_s.arg(range.last));
        else
            texts << (open ? u"from %1 on"_s.arg(range.first) : u"%1 to %2"_s.arg(range.first).arg(range.last));
    }
    return texts.join(u", "_s);
}

/// What of a table is not as it was; empty when everything is.
QString LossText(const modSalvage::Table& table)
{
    QStringList losses;
    if (!table.unread.empty())
        losses << u"records that could not be read: %1"_s.arg(RangesText(table.unread));
    if (!table.partial.empty())
        losses << u"records of which some fields were lost: %1"_s.arg(RangesText(table.partial));
    if (table.shippedRows > 0)
        losses << u"records of the program's own that were laid down anew: %1"_s.arg(table.shippedRows);
    return losses.isEmpty() ? QString()
                            : u"%1: %2 record(s) saved; %3"_s.arg(table.name).arg(table.rows).arg(losses.join(u"; "_s));
}

/// @throws WorkStopped when the work is to stop.
void GoOn(const clsFileWork& work)
{
    if (work.Stopped())
        modSqlErrors::Raise(clsError::WorkStopped, u"The work on the database file was stopped."_s);
}
} // namespace

void clsSqlDatabaseFiles::Do(const Progress& progress, const std::function<void(clsFileWork&)>& job)
{
    clsFileWork work;
    std::packaged_task<void()> task([&] { job(work); });
    std::future<void> result = task.get_future();
    {
        clsWorker worker; // at the end of this block its thread is gone, whatever made the wait return
        bool ended = false;
        const auto ticket = worker.Give([&task] { return task(), true; }, [&ended](bool) { ended = true; });
        const auto outcome = m_eventLoop.Wait(
            [&] {
                // For the first time before any event: whoever watches locks its buttons.
                if (progress && !progress(work.Percent()))
                    work.Stop();
                return ended;
            },
            std::chrono::milliseconds(0));
        if (outcome != clsEventLoop::Outcome::Done)
            work.Stop();
        result.wait(); // letting go of the ticket would drop a job that has not begun
    }
    try {
        result.get();
    } catch (const clsError&) {
        // A statement that is cut short inside another one fails by the other's name.
        GoOn(work);
        throw;
    }
}

clsDatabaseFiles::RowCounts clsSqlDatabaseFiles::Read(const QString& path, const QString& connect,
                                                      const Progress& progress)
{
    RowCounts rows;
    Do(progress, [&](clsFileWork& work) {
        const clsWorkConnection connection(path, connect, work);
        connection->Run(u"BEGIN IMMEDIATE"_s); // whoever is writing is waited for
        rows = RowsOf(connection);
    });
    return rows;
}

QStringList clsSqlDatabaseFiles::Check(const QString& path, const QString& connect, const Progress& progress)
{
    QStringList complaints;
    Do(progress, [&](clsFileWork& work) {
        clsWorkConnection connection(path, connect, work);
        connection.SetPart(0, 50, CheckRounds);
        complaints = ComplaintsOf(connection, path, work);
        connection.SetPart(50, 100, 1);
        if (complaints.isEmpty())
            RowsOf(connection);
    });
    return complaints;
}

void clsSqlDatabaseFiles::Reindex(const QString& path, const QString& connect, const Progress& progress)
{
    Do(progress, [&](clsFileWork& work) { clsWorkConnection(path, connect, work)->Run(u"REINDEX"_s); });
}

void clsSqlDatabaseFiles::Compact(const QString& source, const QString& destination, const QString& connect,
                                  const QString& /*locale*/, const RowCounts& rows, const Progress& progress)
{
    Do(progress, [&](clsFileWork& work) {
        clsNewFile made(m_disk, destination);
        {
            work.SetPart(0, 50);
            clsWorkConnection connection(source, connect, work);
            const qint64 size = QFileInfo(source).size();
            m_disk.WriteFile(destination, {}); // the engine attaches what is there, and makes nothing
            connection.WatchWith([&] { work.Advance(QFileInfo(destination).size(), size); });
            clsSqlStatement version = connection.Statement(u"PRAGMA user_version"_s);
            version.Step();
            const qint64 userVersion = version.Number(0);
            version.Reset();
            connection->Run(
                u"ATTACH DATABASE %1 AS compacted KEY %2"_s.arg(SqlText(destination), SqlText(connection.Key())));
            connection->Run(u"PRAGMA compacted.cipher_compatibility = 3"_s);
            // A file that is not finished is thrown away: it needs no account of its changes, and one flush at its end.
            connection->Run(u"PRAGMA compacted.journal_mode = OFF"_s);
            connection->Run(u"PRAGMA compacted.synchronous = OFF"_s);
            connection->Run(u"BEGIN IMMEDIATE"_s); // what another program has begun must not be left behind
            connection->Run(u"SELECT sqlcipher_export('compacted')"_s);
            connection->Run(u"PRAGMA compacted.user_version = %1"_s.arg(userVersion));
            connection->Run(u"COMMIT"_s);
            connection->Run(u"DETACH DATABASE compacted"_s);
        }
        m_disk.Flush(destination);
        GoOn(work);
        if (Prove(destination, connect, work, 50) != rows)
            modSqlErrors::Raise(clsError::DatabaseDamaged,
                                u"The new file \"%1\" does not hold what the old one holds."_s.arg(destination));
        made.Keep();
    });
}

QStringList clsSqlDatabaseFiles::Salvage(const QString& path, const QString& made, const QString& kept,
                                         const QString& connect, const Progress& progress)
{
    QStringList losses;
    Do(progress, [&](clsFileWork& work) {
        work.SetPart(0, 60);
        clsNewFile file(m_disk, made);
        const QString shipped = modPlatformImpl::ShareFolder() + u"/Bramdat.mdb"_s;
        const modSalvage::Report report =
            modSalvage::Salvage(path, made, clsSqlWorkspace::PasswordOf(connect), shipped, work.StopFlag());
        GoOn(work);
        m_disk.Flush(made);
        Prove(made, connect, work, 60);
        GoOn(work);
        for (const modSalvage::Table& table : report.tables) {
            if (const QString loss = LossText(table); !loss.isEmpty())
                losses << loss;
        }
        m_disk.KeepAs(path, kept);
        m_disk.RemoveFile(JournalOf(path));
        m_disk.ReplaceFile(made, path);
        file.Keep();
        m_disk.Flush(QFileInfo(path).path());
    });
    return losses;
}

clsDatabaseFiles::RowCounts clsSqlDatabaseFiles::Copy(const QString& source, const QString& destination,
                                                      const QString& connect, const Progress& progress)
{
    RowCounts rows;
    Do(progress, [&](clsFileWork& work) {
        // To open it takes back what an interrupted change left: the copy would lack what that takes. And while it is
        // being read, no other program writes it. A medium that cannot be written needs neither.
        std::optional<clsWorkConnection> held;
        if (QFileInfo(source).isWritable())
            held.emplace(source, connect, work)->Run(u"BEGIN; SELECT count(*) FROM sqlite_master"_s);
        const QString copy = UnfinishedCopy(destination);
        clsNewFile made(m_disk, copy);
        work.SetPart(0, 50);
        const qint64 size = m_disk.Facts(source).size;
        if (!m_disk.CopyContent(source, copy, [&](qint64 done) {
                work.Advance(done, size);
                return !work.Stopped();
            }))
            GoOn(work);
        held.reset();
        rows = Prove(copy, connect, work, 50);
        GoOn(work);
        // The account of changes to the old file would spoil the new one.
        m_disk.RemoveFile(JournalOf(destination));
        m_disk.ReplaceFile(copy, destination);
        made.Keep();
        m_disk.Flush(QFileInfo(destination).path());
    });
    return rows;
}

bool clsSqlDatabaseFiles::SameState(const QString& one, const QString& other) const
{
    // Every change writes the counter of changes, and with it the first page under a new random number.
    const auto beginning = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.read(clsPageFile::PageSize) : QByteArray();
    };
    const QByteArray first = beginning(one);
    return !first.isEmpty() && QFileInfo(one).size() == QFileInfo(other).size() && first == beginning(other);
}

std::unique_ptr<clsDatabaseFiles> modPlatformImpl::MakeDatabaseFiles(clsEventLoop& eventLoop, clsDisk& disk)
{
    return std::make_unique<clsSqlDatabaseFiles>(eventLoop, disk);
}
