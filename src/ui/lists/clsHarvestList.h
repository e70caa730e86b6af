// SPDX-License-Identifier: GPL-3.0-or-later
// The wizard's page on which harvested links are picked: the list, its search, and what picks many at once.
#pragma once

#include "ui/lists/clsHarvestModel.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QTreeView;

class clsHarvestList : public QWidget
{
    Q_OBJECT

public:
    explicit clsHarvestList(QWidget* parent = nullptr);

    /// Shows what a run has brought; nothing is chosen and nothing searched for.
    void Show(const clsHarvest& harvest);
    [[nodiscard]] std::vector<std::size_t> Chosen() const { return m_links->Chosen(); }
    [[nodiscard]] int ChosenCount() const { return m_links->ChosenCount(); }
    /// Puts the focus where choosing begins.
    void Begin();

Q_SIGNALS:
    void ChoiceChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum Button
    {
        All = 0,
        None = 1,
        New = 2
    };
    void ButtonPressed(int index);
    /// Turns the selected rows round, all to what the current one is not.
    void ToggleSelected();
    void UpdateCounts();
    void FitColumns();

    clsHarvestModel* m_links;
    QSortFilterProxyModel* m_shown;
    QLabel* m_count;
    QLineEdit* m_search;
    QTreeView* m_list;
    QLabel* m_chosen;
    std::vector<QPushButton*> m_buttons;
};
