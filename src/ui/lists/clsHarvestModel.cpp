// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsHarvestModel.h"

#include "ui/parts/modTips.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
/// No column is wide enough for more letters than these.
constexpr int MostShown = 500;
} // namespace

void clsHarvestModel::SetLinks(const std::vector<clsHarvest::Link>& links)
{
    beginResetModel();
    m_links = &links;
    m_chosen.assign(links.size(), false);
    m_chosenCount = 0;
    endResetModel();
    Q_EMIT ChoiceChanged();
}

void clsHarvestModel::Choose(const std::vector<int>& rows, bool chosen)
{
    if (rows.empty())
        return;
    for (const int row : rows) {
        auto one = m_chosen[static_cast<std::size_t>(row)];
        if (one != chosen)
            m_chosenCount += chosen ? 1 : -1;
        one = chosen;
    }
    // One word to the view, however many they are.
    const auto [first, last] = std::minmax_element(rows.begin(), rows.end());
    Q_EMIT dataChanged(index(*first, Address), index(*last, Address), {Qt::CheckStateRole});
    Q_EMIT ChoiceChanged();
}

std::vector<std::size_t> clsHarvestModel::Chosen() const
{
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < m_chosen.size(); ++i) {
        if (m_chosen[i])
            chosen.push_back(i);
    }
    return chosen;
}

int clsHarvestModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_chosen.size());
}

int clsHarvestModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int{ColumnCount};
}

QVariant clsHarvestModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const clsHarvest::Link& link = LinkAt(index.row());
    if (role == Qt::CheckStateRole)
        return index.column() == Address ? QVariant(IsChosen(index.row()) ? Qt::Checked : Qt::Unchecked) : QVariant();
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    const QString text = index.column() == Address      ? link.address
                         : index.column() == Suggestion ? link.suggestion
                                                        : link.marks.join(", "_L1);
    return role == Qt::ToolTipRole ? modTips::Plain(text) : modTips::OneLine(text.left(MostShown));
}

bool clsHarvestModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::CheckStateRole || index.column() != Address)
        return false;
    Choose({index.row()}, value.toInt() == Qt::Checked);
    return true;
}

QVariant clsHarvestModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Address:
        return u"Address"_s;
    case Suggestion:
        return u"Title on the Page"_s;
    default:
        return u"Known As"_s;
    }
}

Qt::ItemFlags clsHarvestModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
    if (index.column() == Address)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}
