// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsCategoryModel.h"

#include "shell/clsHourglass.h"
#include "shell/modErrorHandler.h"

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsCategoryModel";
} // namespace

clsCategoryModel::clsCategoryModel(clsDatabase& database, QObject* parent)
    : QAbstractTableModel(parent), m_database(database)
{
}

void clsCategoryModel::SetSite(const QString& siteID)
{
    beginResetModel();
    m_siteID.clear();
    m_categories.clear();
    guarded(Module, "SetSite", [&] {
        if (siteID.isEmpty())
            return;
        m_categories = modCategories::Of(m_database, siteID);
        m_siteID = siteID;
    });
    endResetModel();
}

void clsCategoryModel::Delete(const QList<int>& rows)
{
    std::vector<qint64> ids;
    for (const int row : rows)
        ids.push_back(m_categories.at(static_cast<std::size_t>(row)).ID);
    guardedAloud(Module, "Delete", [&] {
        const clsHourglass hourglass;
        modCategories::Delete(m_database, ids);
        QList<int> fromBelow = rows;
        std::sort(fromBelow.begin(), fromBelow.end(), std::greater());
        for (const int row : fromBelow) {
            beginRemoveRows({}, row, row);
            m_categories.erase(m_categories.begin() + row);
            endRemoveRows();
        }
        Q_EMIT Written();
    });
}

int clsCategoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() || m_siteID.isEmpty() ? 0 : static_cast<int>(m_categories.size()) + 1;
}

int clsCategoryModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant clsCategoryModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    if (index.column() == SiteID)
        return m_siteID;
    return IsNewRow(index.row()) ? QString() : m_categories.at(static_cast<std::size_t>(index.row())).Name;
}

bool clsCategoryModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    const QString text = value.toString();
    if (!index.isValid() || index.column() != Category || role != Qt::EditRole || text.trimmed().isEmpty())
        return false;
    const auto place = static_cast<std::size_t>(index.row());
    const Guarded written = guardedAloud(Module, "setData", [&] {
        const clsHourglass hourglass;
        if (IsNewRow(index.row())) {
            const qint64 id = modCategories::Add(m_database, m_siteID, text);
            beginInsertRows({}, index.row() + 1, index.row() + 1);
            m_categories.push_back({id, text});
            endInsertRows();
            Q_EMIT headerDataChanged(Qt::Vertical, index.row(), index.row());
        } else if (m_categories.at(place).Name != text) {
            modCategories::Rename(m_database, m_categories.at(place).ID, text);
            m_categories.at(place).Name = text;
        } else {
            return;
        }
        Q_EMIT dataChanged(index, index);
        Q_EMIT Written();
    });
    return written == Guarded::Done;
}

QVariant clsCategoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal)
        return role == Qt::DisplayRole ? QVariant(section == Category ? u"Category"_s : u"SiteID"_s) : QVariant();
    switch (role) {
    case Qt::DisplayRole:
        return IsNewRow(section) ? u"*"_s : QString::number(section + 1);
    case Qt::ToolTipRole:
        return IsNewRow(section) ? u"New category"_s : u"Click to highlight the row"_s;
    case Qt::TextAlignmentRole:
        return int{Qt::AlignCenter};
    default:
        return {};
    }
}

Qt::ItemFlags clsCategoryModel::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return index.isValid() && index.column() == Category ? flags | Qt::ItemIsEditable : flags;
}
