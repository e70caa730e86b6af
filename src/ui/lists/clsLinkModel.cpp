// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsLinkModel.h"

#include "data/modDataModel.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modIcons.h"
#include "ui/parts/modTips.h"

#include <QIcon>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// How many rows are read at once, and how many batches are kept: enough for the largest screen and its surroundings.
/// Small, because of the rows that a filter leaves each may lie in another batch.
constexpr int BatchSize = 32;
constexpr std::size_t BatchesKept = 256;
/// How long the search for a filter's rows holds the window up at a time.
constexpr auto FilterTurn = 12ms;

struct ColumnInfo
{
    const char16_t* caption;
    const char16_t* name;
    const char16_t* field;
};

constexpr std::array<ColumnInfo, clsLinkModel::ColumnCount> Columns{{
    {u"E-mail Queue", u"*EmailQueue", u"EmailQueue"},
    {u"Test Queue", u"*TestQueue", u"TestQueue"},
    {u"Website", u"Title", u"Title"},
    {u"Description", u"Description", u"Description"},
    {u"Home Page", u"HomePage", u"HomePage"},
    {u"Link Page", u"LinkPage", u"LinkPage"},
    {u"Image", u"ImageFile", u"ImageFile"},
    {u"Webmaster", u"FullName", u"FullName"},
    {u"E-mail Address", u"Email", u"Email"},
    {u"Offers", u"*Offers", u"Offers"},
    {u"Status", u"*Status", u"Status"},
    {u"Results", u"*TestResults", u"Results"},
    {u"SiteName", u"~SiteName", u"SiteName"},
    {u"~LinkID", u"~LinkID", u"ID"},
    {u"Note", u"Notes", u"Comments"},
    {u"~EmailQueueValue", u"~EmailQueueValue", u"EmailQueue"},
    {u"~TestQueueValue", u"~TestQueueValue", u"TestQueue"},
    {u"~StatusValue", u"~StatusValue", u"Status"},
    {u"~ResultsValue", u"~ResultsValue", u"Results"},
    {u"~CommentsValue", u"~CommentsValue", u"Comments"},
    {u"Category", u"Category", u"CategoryID"},
}};

const ColumnInfo& Info(int column)
{
    return Columns.at(static_cast<std::size_t>(column));
}

/// The fields that a row is read with, each once.
const QStringList& Fields()
{
    static const QStringList fields = [] {
        QStringList list;
        for (const ColumnInfo& column : Columns) {
            if (const QString field = QString::fromUtf16(column.field); !list.contains(field))
                list.append(field);
        }
        return list;
    }();
    return fields;
}

/// Where a column's field stands in a row.
std::size_t FieldIndex(int column)
{
    static const auto indexes = [] {
        std::array<std::size_t, clsLinkModel::ColumnCount> list{};
        for (int i = 0; i < clsLinkModel::ColumnCount; ++i)
            list.at(static_cast<std::size_t>(i)) =
                static_cast<std::size_t>(Fields().indexOf(QString::fromUtf16(Info(i).field)));
        return list;
    }();
    return indexes.at(static_cast<std::size_t>(column));
}

/// Columns of pictures, and of small numbers, stand in the middle.
Qt::Alignment AlignmentOf(int column)
{
    switch (column) {
    case clsLinkModel::EmailQueue:
    case clsLinkModel::TestQueue:
    case clsLinkModel::Offers:
    case clsLinkModel::TestResults:
    case clsLinkModel::Notes:
        return Qt::AlignCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

// The list's own word for status 1 is not the status's name.
constexpr std::array StatusStyles{u"Offer", u"Pending", u"Active", u"Broken", u"Inactive", u"Declined"};

/// The picture of a style; made once, because cells ask for it whenever they are painted.
QIcon PictureOf(const QString& style)
{
    static const QHash<QString, QString> names{
        {u"GreenBall"_s, u"ball-green"_s}, {u"YellowBall"_s, u"ball-yellow"_s}, {u"RedBall"_s, u"ball-red"_s},
        {u"Checked"_s, u"checked"_s},      {u"YellowFlag"_s, u"yellow-flag"_s}, {u"Notes"_s, u"notes"_s},
        {u"NoNotes"_s, u"no-notes"_s},
    };
    static QHash<QString, QIcon> pictures;
    auto known = pictures.find(style);
    if (known == pictures.end()) {
        const auto* const status = std::find(StatusStyles.begin(), StatusStyles.end(), style);
        known = pictures.insert(style, status == StatusStyles.end()
                                           ? modIcons::Picture(names.value(style))
                                           : modIcons::Status(static_cast<int>(status - StatusStyles.begin())));
    }
    return *known;
}
} // namespace

clsLinkModel::clsLinkModel(QObject* parent)
    : QAbstractTableModel(parent), m_filter([this](int first, int count) { return FilterTexts(first, count); })
{
    m_filterTimer.setSingleShot(true);
    connect(&m_filterTimer, &QTimer::timeout, this, &clsLinkModel::GoOnFiltering);
}

clsLinkModel::~clsLinkModel() = default;

QString clsLinkModel::NameOf(int column)
{
    return QString::fromUtf16(Info(column).name);
}

int clsLinkModel::ColumnOf(const QString& name)
{
    for (int i = 0; i < ColumnCount; ++i) {
        if (name == NameOf(i))
            return i;
    }
    return -1;
}

clsLinkModel::Rows clsLinkModel::SetRecordset(std::unique_ptr<clsRecordset> links)
{
    const int count = links ? static_cast<int>(links->RecordCount()) : 0;
    bool same = count == m_count;
    // A set whose database is closed gives no keys any more; its rows count as changed.
    if (same && count > 0)
        same = ignoringErrors([&] {
                   for (int i = 0; i < count && same; ++i)
                       same = links->BookmarkAt(i) == m_links->BookmarkAt(i);
               }) &&
               same;
    m_failedBatch = -1;
    if (same) {
        m_links = std::move(links);
        RefreshAll();
        if (Filtered())
            StartFilter(&m_rows);
        return Rows::Same;
    }
    // Until the filter has gone through the new set, those stay that it found before.
    std::vector<int> stay;
    if (m_narrowed && links)
        ignoringErrors([&] {
            for (const int before : m_rows) {
                if (const auto now = static_cast<int>(links->PositionOf(m_links->BookmarkAt(before))); now >= 0)
                    stay.push_back(now);
            }
        });
    std::sort(stay.begin(), stay.end());
    beginResetModel();
    m_links = std::move(links);
    m_count = count;
    m_batches.clear();
    m_rows = std::move(stay);
    endResetModel();
    if (Filtered())
        StartFilter(nullptr);
    return Rows::Changed;
}

void clsLinkModel::RefreshAll()
{
    m_batches.clear();
    m_filter.Forget();
    if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

void clsLinkModel::RefreshLink(qint64 linkID)
{
    const int position = m_links ? static_cast<int>(m_links->PositionOf(linkID)) : -1;
    if (position < 0)
        return;
    m_batches.erase(position / BatchSize);
    m_filter.ForgetRow(position);
    if (const int row = RowAtPosition(position); row >= 0)
        Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void clsLinkModel::ReadFailedRows() const
{
    if (m_links && m_failedBatch >= 0) [[maybe_unused]]
        const auto rows = m_links->Rows(m_failedBatch * BatchSize, 1, Fields());
}

clsBookmark clsLinkModel::LinkAt(int row) const
{
    return m_links->BookmarkAt(PositionOf(row));
}

int clsLinkModel::RowOf(qint64 linkID) const
{
    const int position = m_links ? static_cast<int>(m_links->PositionOf(linkID)) : -1;
    return position < 0 ? -1 : RowAtPosition(position);
}

int clsLinkModel::RowAtPosition(int position) const
{
    if (!m_narrowed)
        return position;
    const auto found = std::lower_bound(m_rows.begin(), m_rows.end(), position);
    return found != m_rows.end() && *found == position ? static_cast<int>(found - m_rows.begin()) : -1;
}

void clsLinkModel::SetCategories(QHash<qint64, QString> categories)
{
    m_categories = std::move(categories);
    m_filter.Forget();
    if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, Category), index(rowCount() - 1, Category));
}

void clsLinkModel::SetFilter(const QString& words)
{
    m_filter.SetText(words);
    StartFilter(&m_rows);
}

void clsLinkModel::SetFilterColumns(std::vector<int> columns)
{
    if (columns == m_filterColumns)
        return;
    m_filterColumns = std::move(columns);
    m_filter.Forget();
    if (Filtered())
        StartFilter(&m_rows);
}

void clsLinkModel::StartFilter(const std::vector<int>* shown)
{
    m_filterTimer.stop();
    if (Filtered()) {
        m_filter.Start(m_count, shown);
        GoOnFiltering(); // most lists are short: nobody sees a step between
    } else {
        Q_EMIT FilterReady();
    }
}

void clsLinkModel::GoOnFiltering()
{
    if (!m_filter.Turn(QDeadlineTimer(FilterTurn)))
        m_filterTimer.start(0);
    else
        Q_EMIT FilterReady();
}

clsLinkModel::Rows clsLinkModel::ShowFiltered()
{
    std::vector<int> found = m_filter.TakeFound();
    if (m_narrowed == Filtered() && m_rows == found)
        return Rows::Same;
    beginResetModel();
    m_narrowed = Filtered();
    m_rows = std::move(found);
    endResetModel();
    return Rows::Changed;
}

std::vector<QString> clsLinkModel::FilterTexts(int first, int count) const
{
    QStringList fields;
    for (const int column : m_filterColumns)
        fields.append(QString::fromUtf16(Info(column).field));
    std::vector<QString> texts;
    if (!ignoringErrors([&] {
            for (const auto& row : m_links->Rows(first, count, fields)) {
                QString& text = texts.emplace_back();
                for (std::size_t i = 0; i < row.size(); ++i)
                    text += TextOf(m_filterColumns[i], row[i]) + u'\n'; // no word goes on in the next column
            }
        }))
        ReadingFailed(first / BatchSize);
    return texts;
}

int clsLinkModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_narrowed ? static_cast<int>(m_rows.size()) : m_count;
}

int clsLinkModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int{ColumnCount};
}

clsLinkModel::Batch clsLinkModel::ReadBatch(int number) const
{
    const int first = number * BatchSize;
    const int count = std::min(BatchSize, m_count - first);
    Batch batch;
    if (!ignoringErrors([&] { batch = m_links->Rows(first, count, Fields()); }))
        ReadingFailed(number);
    batch.resize(static_cast<std::size_t>(count));
    return batch;
}

void clsLinkModel::ReadingFailed(int batch) const
{
    // Cells are read while they are painted: a report has to wait until the painting is over, and one is enough.
    if (m_failedBatch >= 0)
        return;
    m_failedBatch = batch;
    QTimer::singleShot(0, this, &clsLinkModel::ReadFailed);
}

const clsLinkModel::Row& clsLinkModel::RowAt(int row) const
{
    const int position = PositionOf(row);
    const int number = position / BatchSize;
    auto batch = m_batches.find(number);
    if (batch == m_batches.end()) {
        if (m_batches.size() >= BatchesKept)
            m_batches.clear();
        batch = m_batches.emplace(number, ReadBatch(number)).first;
    }
    return batch->second[static_cast<std::size_t>(position % BatchSize)];
}

QVariant clsLinkModel::Field(int row, int column) const
{
    const Row& fields = RowAt(row);
    return fields.empty() ? QVariant() : fields[FieldIndex(column)];
}

QString clsLinkModel::TextOf(int column, const QVariant& field) const
{
    switch (column) {
    case EmailQueue:
    case TestQueue:
    case TestResults:
    case Notes:
        return {};
    case Status:
        return field.isNull() ? QString() : modBrambury::State().StatusNames.value(field.toInt());
    case Category:
        return m_categories.value(field.toLongLong());
    default:
        return modCommonFunctions::TextOf(field);
    }
}

QString clsLinkModel::Shown(int row, int column) const
{
    return TextOf(column, Field(row, column));
}

QString clsLinkModel::Style(int row, int column) const
{
    switch (column) {
    case EmailQueue: {
        const int queue = Field(row, column).toInt();
        if (queue == modDataModel::EmailNotToBeSent)
            return u"YellowFlag"_s;
        return modDataModel::EmailQueued(queue) ? u"Checked"_s : QString();
    }
    case TestQueue:
        return Field(row, column).toInt() != 0 ? u"Checked"_s : QString();
    case Status: {
        const QVariant status = Field(row, column);
        const int code = status.toInt();
        const bool known = !status.isNull() && code >= 0 && code < modDataModel::StatusCount;
        return known ? QString::fromUtf16(StatusStyles.at(static_cast<std::size_t>(code))) : QString();
    }
    case TestResults:
        switch (modDataModel::BallOf(Field(row, column).toInt())) {
        case modDataModel::Ball::Green:
            return u"GreenBall"_s;
        case modDataModel::Ball::Yellow:
            return u"YellowBall"_s;
        case modDataModel::Ball::Red:
            return u"RedBall"_s;
        case modDataModel::Ball::None:
            return {};
        }
        return {};
    case Notes:
        return modCommonFunctions::TextOf(Field(row, column)).isEmpty() ? u"NoNotes"_s : u"Notes"_s;
    default:
        return {};
    }
}

QString clsLinkModel::Spoken(int row, int column) const
{
    const QString style = Style(row, column);
    switch (column) {
    case EmailQueue:
        if (style == "YellowFlag"_L1)
            return u"E-mail not to be sent"_s;
        return style.isEmpty() ? u"No e-mail queued"_s : u"Queued for e-mail"_s;
    case TestQueue:
        return style.isEmpty() ? u"Not queued for testing"_s : u"Queued for testing"_s;
    case Status:
        return u"Status: %1"_s.arg(Shown(row, column));
    case TestResults:
        if (style == "GreenBall"_L1)
            return u"Passed the last test"_s;
        if (style == "RedBall"_L1)
            return u"Failed the last test"_s;
        if (style == "YellowBall"_L1)
            return u"A page's address could not be used in the last test"_s;
        return u"No test result"_s;
    case Notes:
        return style == "Notes"_L1 ? u"Has comments"_s : u"No comments"_s;
    default:
        return Shown(row, column);
    }
}

QVariant clsLinkModel::data(const QModelIndex& index, int role) const
{
    // The view itself asks for the current cell of an empty list, when that is to be copied.
    if (!index.isValid() || !checkIndex(index, CheckIndexOption::ParentIsInvalid))
        return {};
    const int row = index.row();
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        return Shown(row, column);
    case Qt::DecorationRole: {
        const QString style = Style(row, column);
        return style.isEmpty() ? QVariant() : QVariant(PictureOf(style));
    }
    case Qt::ToolTipRole:
        return modTips::Plain(Spoken(row, column));
    case Qt::AccessibleTextRole:
        return Spoken(row, column);
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(AlignmentOf(column));
    case ValueRole:
        return Field(row, column);
    case StyleRole:
        return Style(row, column);
    default:
        return {};
    }
}

QVariant clsLinkModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromUtf16(Info(section).caption);
    case Qt::ToolTipRole:
        return u"%1: click to sort"_s.arg(QString::fromUtf16(Info(section).caption));
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(AlignmentOf(section));
    default:
        return {};
    }
}
