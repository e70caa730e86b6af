// SPDX-License-Identifier: GPL-3.0-or-later
// The harvested links as a list in which the user picks.
#pragma once

#include "publish/clsHarvest.h"

#include <QAbstractTableModel>

/// A row a link, in page order; the first column has a check box. Holds no copy of the links.
class clsHarvestModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column : int
    {
        Address,
        Suggestion,
        Marks,
        ColumnCount
    };

    using QAbstractTableModel::QAbstractTableModel;

    /// @param links  must stay as they are until the next call. None of them is chosen.
    void SetLinks(const std::vector<clsHarvest::Link>& links);
    /// Chooses links or takes them off. @param rows  in any order.
    void Choose(const std::vector<int>& rows, bool chosen);
    [[nodiscard]] bool IsChosen(int row) const { return m_chosen[static_cast<std::size_t>(row)]; }
    [[nodiscard]] bool HasMarks(int row) const { return !LinkAt(row).marks.isEmpty(); }
    /// Indices of the chosen links, in page order.
    [[nodiscard]] std::vector<std::size_t> Chosen() const;
    [[nodiscard]] int ChosenCount() const { return m_chosenCount; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
    void ChoiceChanged();

private:
    [[nodiscard]] const clsHarvest::Link& LinkAt(int row) const { return m_links->at(static_cast<std::size_t>(row)); }

    const std::vector<clsHarvest::Link>* m_links = nullptr;
    std::vector<bool> m_chosen;
    int m_chosenCount = 0;
};
