// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsHarvestList.h"

#include "ui/parts/modDialogParts.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Above and below a row's text.
constexpr int Air = 3;
/// Seen at once, the heading among them.
constexpr int LeastLines = 5;

/// Rows with some air, and check boxes that are seen in dark colours too, where the style draws them dark on dark.
class clsCheckRows final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 2 * Air);
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        // The frame of the box is made of the colour of windows.
        option->palette.setColor(QPalette::Window, option->palette.color(QPalette::PlaceholderText));
    }
};
} // namespace

clsHarvestList::clsHarvestList(QWidget* parent)
    : QWidget(parent), m_links(new clsHarvestModel(this)), m_shown(new QSortFilterProxyModel(this)),
      m_count(new QLabel), m_search(new QLineEdit), m_list(new QTreeView), m_chosen(new QLabel)
{
    m_shown->setSourceModel(m_links);
    m_shown->setFilterKeyColumn(-1);
    m_shown->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_shown->setSortCaseSensitivity(Qt::CaseInsensitive);
    // A click on a check box is no reason to search anew.
    m_shown->setDynamicSortFilter(false);

    m_count->setObjectName(u"lblCount"_s);
    m_count->setTextFormat(Qt::PlainText);
    m_count->setWordWrap(true);
    m_search->setObjectName(u"txtSearch"_s);
    m_search->setClearButtonEnabled(true);
    m_search->setPlaceholderText(u"Address, title or mark"_s);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_shown->setFilterFixedString(text.trimmed());
        UpdateCounts();
    });

    m_list->setObjectName(u"LinkList"_s);
    m_list->setAccessibleName(u"Harvested links"_s);
    m_list->setModel(m_shown);
    m_list->setItemDelegate(new clsCheckRows(m_list));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAlternatingRowColors(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setTextElideMode(Qt::ElideRight);
    m_list->setMinimumHeight(LeastLines * (fontMetrics().lineSpacing() + 2 * Air));
    m_list->setSortingEnabled(true);
    // The page's own order, until a heading is clicked; a third click brings it back.
    m_list->header()->setSortIndicatorClearable(true);
    m_list->sortByColumn(-1, Qt::AscendingOrder);
    m_list->header()->setStretchLastSection(true);
    m_list->installEventFilter(this);
    m_search->installEventFilter(this);

    auto* search = new QHBoxLayout;
    search->addWidget(modDialogParts::LabelFor(m_search, u"&Search:"_s));
    search->addWidget(m_search, 1);

    auto* row = new QHBoxLayout;
    const QStringList captions{u"Select &All"_s, u"Select N&one"_s, u"Select Ne&w Ones"_s};
    const QStringList tips{u"Chooses every link that the list shows"_s,
                           u"Chooses none of the links that the list shows"_s,
                           u"Chooses the shown links that nothing is known of yet"_s};
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(u"SelectButton_%1"_s.arg(i));
        button->setToolTip(tips[i]);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
        row->addWidget(button);
        m_buttons.push_back(button);
    }
    row->addStretch();
    m_chosen->setObjectName(u"lblChosen"_s);
    row->addWidget(m_chosen);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(m_count);
    all->addLayout(search);
    all->addWidget(m_list, 1);
    all->addLayout(row);
    connect(m_links, &clsHarvestModel::ChoiceChanged, this, [this] {
        UpdateCounts();
        Q_EMIT ChoiceChanged();
    });
}

void clsHarvestList::Show(const clsHarvest& harvest)
{
    // First, because the search and the order look at the rows that the model has.
    m_links->SetLinks(harvest.Links());
    m_search->clear();
    m_list->sortByColumn(-1, Qt::AscendingOrder);
    m_list->setCurrentIndex(m_shown->index(0, 0));
    m_count->setText(harvest.CountText() +
                     u"\nSelect the links you wish to add to your site's link list and click the Next button to "
                     "complete the import."_s);
    FitColumns();
}

void clsHarvestList::Begin()
{
    m_list->setFocus();
}

void clsHarvestList::UpdateCounts()
{
    QString text = u"%1 of %2 chosen"_s.arg(m_links->ChosenCount()).arg(m_links->rowCount());
    if (m_shown->rowCount() < m_links->rowCount())
        text += u", %1 shown"_s.arg(m_shown->rowCount());
    m_chosen->setText(text);
    for (QPushButton* button : m_buttons)
        button->setEnabled(m_shown->rowCount() > 0);
}

void clsHarvestList::ButtonPressed(int index)
{
    std::vector<int> rows;
    for (int i = 0; i < m_shown->rowCount(); ++i) {
        const int row = m_shown->mapToSource(m_shown->index(i, 0)).row();
        if (index != New || !m_links->HasMarks(row))
            rows.push_back(row);
    }
    m_links->Choose(rows, index != None);
}

void clsHarvestList::ToggleSelected()
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid())
        return;
    std::vector<int> rows;
    const QModelIndexList selected = m_list->selectionModel()->selectedRows();
    for (const QModelIndex& index : selected)
        rows.push_back(m_shown->mapToSource(index).row());
    const int row = m_shown->mapToSource(current).row();
    if (rows.empty())
        rows.push_back(row);
    m_links->Choose(rows, !m_links->IsChosen(row));
}

bool clsHarvestList::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<QKeyEvent*>(event);
        if (watched == m_list && press->key() == Qt::Key_Space && press->modifiers() == Qt::NoModifier) {
            ToggleSelected();
            return true;
        }
        const bool leavesSearch =
            press->key() == Qt::Key_Down || press->key() == Qt::Key_Return || press->key() == Qt::Key_Enter;
        if (watched == m_search && leavesSearch) {
            m_list->setFocus();
            if (!m_list->currentIndex().isValid())
                m_list->setCurrentIndex(m_shown->index(0, 0));
            return true;
        }
        // Esc asks whether to cancel; first it clears what is searched for.
        if (watched == m_search && press->key() == Qt::Key_Escape && !m_search->text().isEmpty()) {
            m_search->clear();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void clsHarvestList::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    FitColumns();
}

void clsHarvestList::FitColumns()
{
    const int width = m_list->viewport()->width();
    for (const auto& [column, percent] : {std::pair(clsHarvestModel::Address, 48), {clsHarvestModel::Suggestion, 28}})
        m_list->setColumnWidth(column, std::max(width * percent / 100, m_list->header()->sectionSizeHint(column)));
}
