// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsTreeReader.h"

#include <QtEndian>
#include <algorithm>
#include <bit>

using namespace Qt::Literals::StringLiterals;

// The layout of pages, cells and records is that of the SQLite file format, version 3.

namespace
{
constexpr int FileHeaderSize = 100;
constexpr int FreePagesOffset = 32;
/// More levels than a file of the greatest size has.
constexpr int DeepestLevel = 40;
constexpr int PageNumberSize = 4;
/// Bytes of a record that an overflow page holds behind the number of the next one.
constexpr int OverflowSize = clsPageFile::UsableSize - PageNumberSize;

enum NodeKind : quint8
{
    IndexBranch = 2,
    TableBranch = 5,
    IndexLeaf = 10,
    TableLeaf = 13
};

quint32 PageNumber(const QByteArray& bytes, qsizetype offset)
{
    return qFromBigEndian<quint32>(bytes.constData() + offset);
}

/// Reads numbers one after the other; once it has run off the end, it stays bad and gives 0.
class clsByteReader
{
public:
    clsByteReader(const QByteArray& bytes, qsizetype position) : m_bytes(&bytes), m_position(position) {}

    [[nodiscard]] bool Bad() const { return m_bad; }
    [[nodiscard]] qsizetype Position() const { return m_position; }

    /// Big-endian, with its sign. @param size  up to 8 bytes
    qint64 Integer(int size)
    {
        if (!Has(size))
            return 0;
        quint64 value = (m_bytes->at(m_position) & 0x80) ? ~quint64{0} : 0;
        for (int i = 0; i < size; ++i)
            value = (value << 8) | static_cast<quint8>(m_bytes->at(m_position++));
        return static_cast<qint64>(value);
    }
    /// Seven bits a byte, the ninth byte whole.
    quint64 Varint()
    {
        quint64 value = 0;
        for (int i = 0; i < 9; ++i) {
            if (!Has(1))
                return 0;
            const auto byte = static_cast<quint8>(m_bytes->at(m_position++));
            if (i == 8)
                return (value << 8) | byte;
            value = (value << 7) | (byte & 0x7fu);
            if (byte < 0x80)
                break;
        }
        return value;
    }

private:
    bool Has(int size)
    {
        m_bad = m_bad || m_position + size > m_bytes->size();
        return !m_bad;
    }

    const QByteArray* m_bytes;
    qsizetype m_position;
    bool m_bad = false;
};

/// How many bytes a value of this serial type has.
quint64 SizeOf(quint64 type)
{
    static constexpr quint8 Sizes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0, 0, 0};
    return type < std::size(Sizes) ? Sizes[type] : (type - 12) / 2;
}

/// Bytes of a text whose end is lost: without a character that was cut through.
QByteArray WholeCharacters(QByteArray text)
{
    qsizetype begin = text.size();
    while (begin > 0 && text.size() - begin < 4 && (text.at(begin - 1) & 0xc0) == 0x80)
        --begin;
    if (begin > 0 && (text.at(begin - 1) & 0x80))
        text.truncate(begin - 1);
    return text;
}

QVariant ValueOf(quint64 type, const QByteArray& payload, qsizetype position, qsizetype size, bool cut)
{
    clsByteReader reader(payload, position);
    if (type == 0)
        return {};
    if (type == 7)
        return std::bit_cast<double>(reader.Integer(8));
    if (type == 8 || type == 9)
        return QVariant::fromValue<qlonglong>(type == 9 ? 1 : 0);
    if (type < 7)
        return QVariant::fromValue<qlonglong>(reader.Integer(static_cast<int>(size)));
    const QByteArray bytes = payload.mid(position, size);
    if (type % 2 == 0)
        return bytes;
    return QString::fromUtf8(cut ? WholeCharacters(bytes) : bytes);
}

/// Takes a record apart; `cut` when its payload is not all there.
clsTreeRecord Decoded(const QByteArray& payload, bool cut)
{
    clsTreeRecord record;
    record.cut = cut;
    clsByteReader header(payload, 0);
    const quint64 headerSize = header.Varint();
    quint64 position = headerSize;
    while (!header.Bad() && static_cast<quint64>(header.Position()) < headerSize) {
        const quint64 type = header.Varint();
        const quint64 size = SizeOf(type);
        const auto there = static_cast<quint64>(payload.size());
        const bool incomplete = header.Bad() || position > there || size > there - position;
        if (incomplete) {
            record.cut = true;
            record.half = !header.Bad() && type >= 13 && type % 2 == 1 && position < there;
            if (record.half)
                record.values.push_back(ValueOf(type, payload, static_cast<qsizetype>(position), payload.size(), true));
            break;
        }
        record.values.push_back(
            ValueOf(type, payload, static_cast<qsizetype>(position), static_cast<qsizetype>(size), false));
        position += size;
    }
    return record;
}
} // namespace

struct clsTreeReader::Node
{
    quint8 kind = 0;
    std::vector<int> cells; ///< their offsets in the page
    quint32 lastChild = 0;  ///< of a branch
};

struct clsTreeReader::Cell
{
    quint32 child = 0;
    qint64 number = 0;    ///< of a table's record
    quint64 payload = 0;  ///< bytes of the record in all
    qsizetype local = 0;  ///< how many of them are in this page
    qsizetype begin = 0;  ///< where they begin
    quint32 overflow = 0; ///< the page that goes on
};

clsTreeReader::clsTreeReader(clsPageFile& file, const std::atomic<bool>& stop)
    : m_file(file), m_stop(stop), m_entered(std::size_t{file.Count()} + 1)
{
}

quint32 clsTreeReader::Header(int offset)
{
    const auto page = m_file.Page(1);
    return page ? PageNumber(*page, offset) : 0;
}

std::optional<QByteArray> clsTreeReader::Enter(quint32 number)
{
    if (number < 1 || number > m_file.Count() || m_entered[number])
        return std::nullopt;
    m_entered[number] = true;
    return m_file.Page(number);
}

std::optional<clsTreeReader::Node> clsTreeReader::NodeOf(const QByteArray& page, quint32 number) const
{
    const int begin = number == 1 ? FileHeaderSize : 0;
    Node node;
    node.kind = static_cast<quint8>(page.at(begin));
    const bool branch = node.kind == IndexBranch || node.kind == TableBranch;
    if (!branch && node.kind != IndexLeaf && node.kind != TableLeaf)
        return std::nullopt;
    const int count = qFromBigEndian<quint16>(page.constData() + begin + 3);
    const int pointers = begin + (branch ? 12 : 8);
    if (pointers + 2 * count > page.size())
        return std::nullopt;
    if (branch)
        node.lastChild = PageNumber(page, begin + 8);
    for (int i = 0; i < count; ++i)
        node.cells.push_back(qFromBigEndian<quint16>(page.constData() + pointers + 2 * i));
    return node;
}

std::optional<clsTreeReader::Cell> clsTreeReader::CellOf(const QByteArray& page, const Node& node, int offset) const
{
    constexpr int U = clsPageFile::UsableSize;
    Cell cell;
    clsByteReader reader(page, offset);
    if (node.kind == IndexBranch || node.kind == TableBranch)
        cell.child = static_cast<quint32>(reader.Integer(PageNumberSize));
    if (node.kind != TableBranch)
        cell.payload = reader.Varint();
    if (node.kind == TableBranch || node.kind == TableLeaf)
        cell.number = static_cast<qint64>(reader.Varint());
    cell.begin = reader.Position();
    if (reader.Bad() || cell.payload > quint64{m_file.Count()} * U)
        return std::nullopt;

    const auto payload = static_cast<qsizetype>(cell.payload);
    const qsizetype most = node.kind == TableLeaf ? U - 35 : (U - 12) * 64 / 255 - 23;
    const qsizetype least = (U - 12) * 32 / 255 - 23;
    cell.local = payload;
    if (payload > most) {
        const qsizetype filling = least + (payload - least) % OverflowSize;
        cell.local = filling <= most ? filling : least;
    }
    const qsizetype end = cell.begin + cell.local + (cell.local < payload ? PageNumberSize : 0);
    if (end > page.size())
        return std::nullopt;
    if (cell.local < payload)
        cell.overflow = PageNumber(page, cell.begin + cell.local);
    return cell;
}

clsTreeRecord clsTreeReader::RecordOf(const QByteArray& page, const Cell& cell)
{
    const auto size = static_cast<qsizetype>(cell.payload);
    QByteArray payload = page.mid(cell.begin, cell.local);
    quint32 next = cell.overflow;
    while (payload.size() < size) {
        const auto more = Enter(next);
        if (!more)
            break;
        payload += more->mid(PageNumberSize, std::min<qsizetype>(OverflowSize, size - payload.size()));
        next = PageNumber(*more, 0);
    }
    clsTreeRecord record = Decoded(payload, payload.size() < size);
    record.number = cell.number;
    return record;
}

std::vector<clsTreeGap> clsTreeReader::ReadTable(quint32 root, const Sink& sink)
{
    std::vector<clsTreeGap> gaps;
    ReadTablePage(root, {}, 0, sink, gaps);
    return gaps;
}

void clsTreeReader::ReadTablePage(quint32 number, clsTreeGap range, int depth, const Sink& sink,
                                  std::vector<clsTreeGap>& gaps)
{
    if (m_stop)
        return;
    const auto page = Enter(number);
    const auto node = page && depth < DeepestLevel ? NodeOf(*page, number) : std::nullopt;
    if (!node || (node->kind != TableBranch && node->kind != TableLeaf)) {
        gaps.push_back(range);
        return;
    }
    for (const int offset : node->cells) {
        if (m_stop)
            return;
        const auto cell = CellOf(*page, *node, offset);
        if (!cell || !range.Holds(cell->number)) {
            gaps.push_back(range); // the rest of the page is not to be trusted
            return;
        }
        if (node->kind == TableBranch)
            ReadTablePage(cell->child, {range.after, cell->number}, depth + 1, sink, gaps);
        else
            sink(RecordOf(*page, *cell));
        range.after = cell->number;
    }
    if (node->kind == TableBranch)
        ReadTablePage(node->lastChild, range, depth + 1, sink, gaps);
}

bool clsTreeReader::ReadIndex(quint32 root, const Sink& sink)
{
    return ReadIndexPage(root, 0, sink);
}

bool clsTreeReader::ReadIndexPage(quint32 number, int depth, const Sink& sink)
{
    if (m_stop)
        return false;
    const auto page = Enter(number);
    const auto node = page && depth < DeepestLevel ? NodeOf(*page, number) : std::nullopt;
    if (!node || (node->kind != IndexBranch && node->kind != IndexLeaf))
        return false;
    bool all = true;
    for (const int offset : node->cells) {
        const auto cell = CellOf(*page, *node, offset);
        if (!cell)
            return false;
        if (node->kind == IndexBranch)
            all = ReadIndexPage(cell->child, depth + 1, sink) && all;
        clsTreeRecord entry = RecordOf(*page, *cell);
        all = all && !entry.cut;
        if (!entry.cut)
            sink(std::move(entry));
    }
    if (node->kind == IndexBranch)
        all = ReadIndexPage(node->lastChild, depth + 1, sink) && all;
    return all;
}

void clsTreeReader::PassFreePages()
{
    for (quint32 trunk = Header(FreePagesOffset); trunk != 0;) {
        const auto page = Enter(trunk);
        if (!page)
            return;
        const auto leaves = std::min<quint32>(PageNumber(*page, PageNumberSize), OverflowSize / PageNumberSize - 1);
        for (quint32 i = 0; i < leaves; ++i) {
            const quint32 leaf = PageNumber(*page, (2 + qsizetype{i}) * PageNumberSize);
            if (leaf <= m_file.Count())
                m_entered[leaf] = true;
        }
        trunk = PageNumber(*page, 0);
    }
}

std::vector<clsTreeRecord> clsTreeReader::StrayRecords(quint32 number)
{
    const auto page = m_file.Page(number);
    const auto node = page ? NodeOf(*page, number) : std::nullopt;
    std::vector<clsTreeRecord> records;
    if (!node || node->kind != TableLeaf)
        return records;
    m_entered[number] = true;
    for (const int offset : node->cells) {
        const auto cell = CellOf(*page, *node, offset);
        if (!cell)
            return {};
        records.push_back(RecordOf(*page, *cell));
    }
    return records;
}

bool clsTreeReader::ReadStrayPages(const std::function<void(std::vector<clsTreeRecord>&&)>& leaf)
{
    for (quint32 number = 2; number <= m_file.Count() && !m_stop; ++number) {
        if (m_entered[number])
            continue;
        if (auto records = StrayRecords(number); !records.empty())
            leaf(std::move(records));
    }
    // Overflow pages have been entered by now; a damaged page among the rest may have held anything.
    for (quint32 number = 2; number <= m_file.Count() && !m_stop; ++number) {
        if (!m_entered[number] && !m_file.Page(number))
            return false;
    }
    return true;
}
