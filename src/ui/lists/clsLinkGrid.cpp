// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsLinkGrid.h"

#include "platform/clsDatabase.h"
#include "platform/clsSettingsStore.h"
#include "shell/clsHourglass.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/clsRowDelegate.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <unordered_set>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::TwipsPerPixel;

namespace
{
const QString LayoutSection = u"LinkGrid"_s;
const QString OrderKey = u"Order"_s;
constexpr QChar OrderMark = u',';
/// Narrower than this a column can hardly be found again.
constexpr int SmallestWidth = 16;
constexpr int LargestWidth = 4000;

constexpr std::array DefaultColumns{clsLinkModel::EmailQueue,  clsLinkModel::TestQueue, clsLinkModel::Title,
                                    clsLinkModel::HomePage,    clsLinkModel::Offers,    clsLinkModel::Status,
                                    clsLinkModel::TestResults, clsLinkModel::Notes};
} // namespace

/// What a refill keeps: the links that are selected, current, and at the top.
struct clsLinkGrid::Place
{
    std::vector<qint64> selected;
    qint64 current = 0;
    int currentColumn = 0;
    qint64 top = 0;
    int topOffset = 0; ///< pixels of the top row that are scrolled out
    int scroll = 0;
};

clsLinkGrid::clsLinkGrid(QWidget* parent) : QTableView(parent), m_links(new clsLinkModel(this))
{
    setObjectName(u"gridLinkList"_s);
    setAccessibleName(u"Reciprocal Links"_s);
    setModel(m_links);
    setItemDelegate(new clsRowDelegate(*this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setTabKeyNavigation(false);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setCornerButtonEnabled(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView* header = horizontalHeader();
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    header->setHighlightSections(false);
    header->setMinimumSectionSize(SmallestWidth);
    header->setMaximumSectionSize(LargestWidth);
    header->setAccessibleName(u"Columns"_s);
    SetRowHeight();

    m_empty = new QWidget(this);
    m_empty->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_emptyTitle = new QLabel;
    m_emptyTitle->setObjectName(u"lblEmptyTitle"_s);
    QFont bold = font();
    bold.setBold(true);
    m_emptyTitle->setFont(bold);
    m_emptyAdvice = new QLabel;
    m_emptyAdvice->setObjectName(u"lblEmptyAdvice"_s);
    for (QLabel* label : {m_emptyTitle, m_emptyAdvice}) {
        label->setTextFormat(Qt::PlainText);
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
    }
    auto* column = new QVBoxLayout(m_empty);
    column->addStretch();
    column->addWidget(m_emptyTitle);
    column->addWidget(m_emptyAdvice);
    column->addStretch();

    connect(this, &QTableView::doubleClicked, this, [this] { Q_EMIT LinkCommand(1); });
    connect(header, &QHeaderView::sectionClicked, this, &clsLinkGrid::SortWanted);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QWidget::customContextMenuRequested, this,
            [this, header](QPoint place) { Q_EMIT MenuWanted(header->viewport()->mapToGlobal(place)); });
    connect(header, &QHeaderView::sectionResized, this, [this](int /*column*/, int before, int now) {
        if (!m_fitsNow)
            m_fitting = false;
        // Columns come and go by the dozen when a layout is restored.
        if ((before == 0) != (now == 0) && !std::exchange(m_columnsChanged, true))
            QTimer::singleShot(0, this, &clsLinkGrid::UpdateFilterColumns);
    });
    connect(m_links, &clsLinkModel::FilterReady, this, &clsLinkGrid::FollowFilter);
    connect(header, &QHeaderView::geometriesChanged, this, &clsLinkGrid::ShowEmptyState);
    connect(m_links, &QAbstractItemModel::modelReset, this, &clsLinkGrid::ShowEmptyState);
    SetDefaultLayout();
}

void clsLinkGrid::SetRowHeight()
{
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(std::max(fontMetrics().height(), 16) + 8);
}

std::vector<int> clsLinkGrid::SelectedRows() const
{
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

std::vector<qint64> clsLinkGrid::ChosenLinks() const
{
    std::vector<int> rows = SelectedRows();
    if (rows.empty() && currentIndex().isValid())
        rows.push_back(currentIndex().row());
    std::vector<qint64> links(rows.size());
    std::transform(rows.begin(), rows.end(), links.begin(), [this](int row) { return m_links->LinkAt(row); });
    return links;
}

qint64 clsLinkGrid::CurrentLink() const
{
    return currentIndex().isValid() ? m_links->LinkAt(currentIndex().row()) : 0;
}

clsLinkGrid::Place clsLinkGrid::TakePlace() const
{
    Place place;
    if (m_links->rowCount() == 0)
        return place;
    for (const int row : SelectedRows())
        place.selected.push_back(m_links->LinkAt(row));
    if (currentIndex().isValid()) {
        place.current = CurrentLink();
        place.currentColumn = currentIndex().column();
    }
    place.scroll = verticalScrollBar()->value();
    if (const int top = rowAt(0); top >= 0) {
        place.top = m_links->LinkAt(top);
        place.topOffset = -rowViewportPosition(top);
    }
    return place;
}

void clsLinkGrid::GoTo(const Place& place)
{
    std::vector<int> rows;
    for (const qint64 link : place.selected) {
        if (const int row = m_links->RowOf(link); row >= 0)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    // Neighbours make one range: a selection of everything is one range, not a hundred thousand.
    QItemSelection selection;
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1)
            ++last;
        selection.append(QItemSelectionRange(m_links->index(rows[first], 0),
                                             m_links->index(rows[last], clsLinkModel::ColumnCount - 1)));
        first = last + 1;
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    const int current = std::max(0, place.current ? m_links->RowOf(place.current) : 0);
    if (m_links->rowCount() > 0) {
        int column = place.currentColumn;
        if (isColumnHidden(column))
            column = horizontalHeader()->logicalIndexAt(0);
        selectionModel()->setCurrentIndex(m_links->index(current, std::max(0, column)), QItemSelectionModel::NoUpdate);
    }
    // Last, because making a row current scrolls to it.
    updateGeometries();
    const int top = place.top ? m_links->RowOf(place.top) : -1;
    if (top >= 0)
        verticalScrollBar()->setValue(verticalHeader()->sectionPosition(top) + place.topOffset);
    else if (place.current && m_links->RowOf(place.current) >= 0)
        verticalScrollBar()->setValue(place.scroll);
    else
        scrollToTop(); // other links altogether
}

void clsLinkGrid::SetLinks(std::unique_ptr<clsRecordset> links)
{
    Place place;
    // The set shown until now may belong to a database that is closed: then there is no place to keep.
    ignoringErrors([&] { place = TakePlace(); });
    if (m_links->SetRecordset(std::move(links)) == clsLinkModel::Rows::Changed)
        GoTo(place);
}

void clsLinkGrid::SetFilter(const QString& words)
{
    UpdateFilterColumns();
    m_links->SetFilter(words);
}

void clsLinkGrid::UpdateFilterColumns()
{
    m_columnsChanged = false;
    std::vector<int> columns;
    for (int column = 0; column < clsLinkModel::ColumnCount; ++column) {
        if (!isColumnHidden(column))
            columns.push_back(column);
    }
    m_links->SetFilterColumns(std::move(columns));
}

void clsLinkGrid::FollowFilter()
{
    Place place;
    ignoringErrors([&] { place = TakePlace(); });
    if (m_links->ShowFiltered() == clsLinkModel::Rows::Changed)
        ignoringErrors([&] { GoTo(place); }); // what cannot be read, the list tells of by itself
    Q_EMIT FilterApplied();
}

void clsLinkGrid::RemoveLinks(const std::vector<qint64>& links)
{
    if (!m_links->Recordset())
        return;
    Place place = TakePlace();
    const std::unordered_set<qint64> gone(links.begin(), links.end());
    const auto neighbour = [&](qint64 link) {
        const int from = std::max(0, m_links->RowOf(link));
        for (int row = from; row < m_links->rowCount(); ++row) {
            if (!gone.contains(m_links->LinkAt(row)))
                return m_links->LinkAt(row);
        }
        for (int row = from; row > 0; --row) {
            if (!gone.contains(m_links->LinkAt(row - 1)))
                return m_links->LinkAt(row - 1);
        }
        return qint64{0};
    };
    place.current = neighbour(place.current);
    place.top = neighbour(place.top);
    const bool any = !place.selected.empty();
    std::erase_if(place.selected, [&](qint64 link) { return gone.contains(link); });
    if (any && place.selected.empty())
        place.selected = {place.current};
    auto rest = m_links->Recordset()->Clone();
    rest->Forget(links);
    if (m_links->SetRecordset(std::move(rest)) == clsLinkModel::Rows::Changed)
        GoTo(place);
}

bool clsLinkGrid::MakeCurrent(qint64 linkID)
{
    const int row = m_links->RowOf(linkID);
    if (row < 0)
        return false;
    int column = currentIndex().isValid() ? currentIndex().column() : horizontalHeader()->logicalIndexAt(0);
    const QModelIndex index = m_links->index(row, std::max(0, column));
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    scrollTo(index);
    return true;
}

bool clsLinkGrid::GoToLink(qint64 linkID)
{
    if (!MakeCurrent(linkID))
        return false;
    // One of several selected ones leaves it at that.
    if (!selectionModel()->isRowSelected(currentIndex().row()))
        selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    return true;
}

void clsLinkGrid::SetEmptyState(const QString& title, const QString& advice)
{
    m_emptyTitle->setText(title);
    m_emptyAdvice->setText(advice);
    ShowEmptyState();
}

void clsLinkGrid::ShowEmptyState()
{
    m_empty->setGeometry(viewport()->geometry());
    m_empty->setVisible(m_links->rowCount() == 0);
}

void clsLinkGrid::ShowSort(int column)
{
    QHeaderView* header = horizontalHeader();
    header->setSortIndicatorShown(column >= 0);
    header->setSortIndicator(column, Qt::AscendingOrder);
}

void clsLinkGrid::SetDefaultLayout()
{
    QHeaderView* header = horizontalHeader();
    m_fitsNow = true;
    for (int column = 0; column < clsLinkModel::ColumnCount; ++column) {
        header->moveSection(header->visualIndex(column), column);
        const QString caption = m_links->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
        header->resizeSection(column, fontMetrics().horizontalAdvance(caption) + 22);
        header->setSectionHidden(column, std::find(DefaultColumns.begin(), DefaultColumns.end(), column) ==
                                             DefaultColumns.end());
    }
    const int letter = fontMetrics().averageCharWidth();
    header->resizeSection(clsLinkModel::Status, 16 * letter);
    for (const int wide : {clsLinkModel::Title, clsLinkModel::Description, clsLinkModel::HomePage,
                           clsLinkModel::LinkPage, clsLinkModel::Email})
        header->resizeSection(wide, 26 * letter);
    m_fitsNow = false;
    m_fitting = true;
    FitColumns();
}

void clsLinkGrid::SetDefault(clsSettingsStore& settings)
{
    settings.DeleteSection(LayoutSection);
    SetDefaultLayout();
}

std::vector<int> clsLinkGrid::ColumnsInOrder() const
{
    std::vector<int> columns;
    for (int place = 0; place < horizontalHeader()->count(); ++place) {
        const int column = horizontalHeader()->logicalIndex(place);
        if (!clsLinkModel::IsInternal(column))
            columns.push_back(column);
    }
    return columns;
}

void clsLinkGrid::ShowColumns(const std::vector<int>& columns)
{
    QHeaderView* header = horizontalHeader();
    for (int column = 0; column < clsLinkModel::ColumnCount; ++column)
        header->setSectionHidden(column, std::find(columns.begin(), columns.end(), column) == columns.end());
    int place = 0;
    for (const int column : columns)
        header->moveSection(header->visualIndex(column), place++);
}

void clsLinkGrid::FitColumns()
{
    if (!m_fitting)
        return;
    QHeaderView* header = horizontalHeader();
    int others = 0;
    for (const int column : DefaultColumns) {
        if (column != clsLinkModel::Title && column != clsLinkModel::HomePage)
            others += header->sectionSize(column);
    }
    const int least = 18 * fontMetrics().averageCharWidth();
    const int left = std::max(2 * least, viewport()->width() - others);
    m_fitsNow = true;
    header->resizeSection(clsLinkModel::Title, left / 2);
    header->resizeSection(clsLinkModel::HomePage, left - left / 2);
    m_fitsNow = false;
}

void clsLinkGrid::RestoreLayout(const clsSettingsStore& settings)
{
    QStringList order;
    QHash<QString, int> widths;
    for (const auto& [name, value] : settings.GetAllSettings(LayoutSection)) {
        if (name == OrderKey) {
            order = value.split(OrderMark, Qt::SkipEmptyParts);
            continue;
        }
        const int column = clsLinkModel::ColumnOf(name);
        if (column < 0 || clsLinkModel::IsInternal(column))
            continue;
        bool number = false;
        const float twips = value.toFloat(&number);
        // A width that is none leaves the column as wide as it is by default.
        const int pixels = number ? qRound(twips / TwipsPerPixel) : horizontalHeader()->sectionSize(column);
        widths.insert(name, std::clamp(pixels, SmallestWidth, LargestWidth));
    }
    SetDefaultLayout();
    if (widths.isEmpty())
        return;
    m_fitting = false;
    QHeaderView* header = horizontalHeader();
    for (int column = 0; column < clsLinkModel::ColumnCount; ++column) {
        const QString name = clsLinkModel::NameOf(column);
        header->setSectionHidden(column, !widths.contains(name));
        if (!widths.contains(name))
            continue;
        header->resizeSection(column, widths.value(name));
        if (!order.contains(name))
            order.append(name);
    }
    int place = 0;
    for (const QString& name : order) {
        if (widths.contains(name))
            header->moveSection(header->visualIndex(clsLinkModel::ColumnOf(name)), place++);
    }
}

void clsLinkGrid::SaveLayout(clsSettingsStore& settings) const
{
    const QHeaderView* header = horizontalHeader();
    settings.DeleteSection(LayoutSection);
    QStringList order;
    for (int place = 0; place < header->count(); ++place) {
        const int column = header->logicalIndex(place);
        if (header->isSectionHidden(column))
            continue;
        order.append(clsLinkModel::NameOf(column));
        const auto twips = static_cast<float>(header->sectionSize(column) * TwipsPerPixel);
        settings.SaveSetting(LayoutSection, order.last(), QString::number(twips));
    }
    settings.SaveSetting(LayoutSection, OrderKey, order.join(OrderMark));
}

void clsLinkGrid::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Insert:
        Q_EMIT LinkCommand(0);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Q_EMIT LinkCommand(1);
        return;
    case Qt::Key_Delete:
        Q_EMIT LinkCommand(2);
        return;
    default:
        QTableView::keyPressEvent(event);
    }
}

QModelIndex clsLinkGrid::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    // Rows are gone through, not cells: these keys go to the ends of the list.
    return QTableView::moveCursor(action, action == MoveHome || action == MoveEnd ? modifiers | Qt::ControlModifier
                                                                                  : modifiers);
}

void clsLinkGrid::keyboardSearch(const QString& search)
{
    const clsHourglass hourglass;
    // By name, whichever cell has been clicked.
    selectionModel()->setCurrentIndex(currentIndex().siblingAtColumn(clsLinkModel::Title),
                                      QItemSelectionModel::NoUpdate);
    QTableView::keyboardSearch(search);
}

void clsLinkGrid::contextMenuEvent(QContextMenuEvent* event)
{
    QPoint place = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard && currentIndex().isValid())
        place = viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft());
    Q_EMIT MenuWanted(place);
}

void clsLinkGrid::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    FitColumns();
    ShowEmptyState();
}

void clsLinkGrid::UpdateRow(int row)
{
    if (row >= 0)
        viewport()->update(0, rowViewportPosition(row), viewport()->width(), rowHeight(row));
}

void clsLinkGrid::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    UpdateRow(currentIndex().row());
}

void clsLinkGrid::focusOutEvent(QFocusEvent* event)
{
    QTableView::focusOutEvent(event);
    UpdateRow(currentIndex().row());
}

void clsLinkGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTableView::currentChanged(current, previous);
    // The whole row changes its look, not only the cell.
    if (current.row() != previous.row()) {
        UpdateRow(previous.row());
        UpdateRow(current.row());
    }
}

void clsLinkGrid::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        SetRowHeight();
}
