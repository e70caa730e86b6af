// SPDX-License-Identifier: GPL-3.0-or-later
// The categories of one site as rows that can be edited; the last row is the empty one in which a new category is
// written. Every change is in the database when the call returns.
#pragma once

#include "data/modCategories.h"

#include <QAbstractTableModel>

class clsCategoryModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column : int
    {
        Category = 0,
        SiteID,
        ColumnCount
    };

    clsCategoryModel(clsDatabase& database, QObject* parent);

    /// Shows the categories of another site; an empty name: none, and no new one can be added.
    void SetSite(const QString& siteID);
    /// Whether this is the row of the category that does not exist yet.
    [[nodiscard]] bool IsNewRow(int row) const { return row == static_cast<int>(m_categories.size()); }
    /// Deletes these categories, all or none. A failure is reported.
    void Delete(const QList<int>& rows);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Writes the category. A failure is reported, and nothing has changed. A text that is blank is not written.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
    /// A category of the shown site has been added, renamed or deleted.
    void Written();

private:
    clsDatabase& m_database;
    QString m_siteID;
    std::vector<modCategories::Category> m_categories;
};
