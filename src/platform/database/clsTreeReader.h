// SPDX-License-Identifier: GPL-3.0-or-later
// Reads the trees of a database file page by page and goes round what is damaged: every record whose pages prove whole
// is found, and it is known between which numbers records are missing. Each page is entered once, so it comes to an end
// whatever the pages say.
#pragma once

#include "platform/database/clsPageFile.h"

#include <QVariant>
#include <atomic>
#include <functional>
#include <limits>
#include <vector>

/// A record of a table, or an entry of an index (fields of the index, then the record's number).
struct clsTreeRecord
{
    qint64 number = 0;            ///< of a table's record
    std::vector<QVariant> values; ///< may be fewer than the table has fields
    bool cut = false;             ///< its end is lost: values are missing
    bool half = false;            ///< the last one there is the beginning of a text
};

/// Numbers above `after` up to and with `last`: records in between hang on a page that cannot be read.
struct clsTreeGap
{
    qint64 after = std::numeric_limits<qint64>::min();
    qint64 last = std::numeric_limits<qint64>::max();
    [[nodiscard]] bool Holds(qint64 number) const { return number > after && number <= last; }
};

class clsTreeReader
{
public:
    using Sink = std::function<void(clsTreeRecord&&)>;

    /// @param stop  looked at before every page and record; when it is set, nothing more is read.
    clsTreeReader(clsPageFile& file, const std::atomic<bool>& stop);

    /// A number of the file's first page. @param offset  of its four bytes
    [[nodiscard]] quint32 Header(int offset);
    /// Gives every readable record of the table that begins at `root` to `sink`, in order.
    /// @return where records are missing, in order.
    std::vector<clsTreeGap> ReadTable(quint32 root, const Sink& sink);
    /// Gives every readable entry of an index to `sink`. @return whether that is all of them.
    bool ReadIndex(quint32 root, const Sink& sink);
    /// Marks the free pages as known, so that they are not taken for lost ones.
    void PassFreePages();
    /// Whether something has led to a page.
    [[nodiscard]] bool Known(quint32 number) const { return number < m_entered.size() && m_entered[number]; }

    /// What is found on the pages to which nothing led. To be called when every tree has been read.
    /// @param leaf  gets the records of each page that belongs to some table.
    /// @return whether every page of the file was readable or had been missed by a tree already: then no page of
    /// records is lost behind another one.
    bool ReadStrayPages(const std::function<void(std::vector<clsTreeRecord>&&)>& leaf);

private:
    struct Cell;
    struct Node;

    /// The page, unless it is damaged or has been entered before.
    std::optional<QByteArray> Enter(quint32 number);
    [[nodiscard]] std::optional<Node> NodeOf(const QByteArray& page, quint32 number) const;
    [[nodiscard]] std::optional<Cell> CellOf(const QByteArray& page, const Node& node, int offset) const;
    clsTreeRecord RecordOf(const QByteArray& page, const Cell& cell);
    void ReadTablePage(quint32 number, clsTreeGap range, int depth, const Sink& sink, std::vector<clsTreeGap>& gaps);
    bool ReadIndexPage(quint32 number, int depth, const Sink& sink);
    /// The page's records; none when it is no page of a table's records, or one of them is nonsense.
    std::vector<clsTreeRecord> StrayRecords(quint32 number);

    clsPageFile& m_file;
    const std::atomic<bool>& m_stop;
    std::vector<bool> m_entered; ///< by page number
};
