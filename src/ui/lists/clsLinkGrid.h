// SPDX-License-Identifier: GPL-3.0-or-later
// The list of links: how rows and cells look, keys and clicks, and the layout of its columns.
#pragma once

#include "ui/lists/clsLinkModel.h"

#include <QTableView>

class QLabel;
class clsSettingsStore;

class clsLinkGrid : public QTableView
{
    Q_OBJECT

public:
    explicit clsLinkGrid(QWidget* parent = nullptr);

    [[nodiscard]] clsLinkModel& Links() const { return *m_links; }
    /// Shows another set of links; null: none. Selection, current row and scroll place are kept, by link.
    void SetLinks(std::unique_ptr<clsRecordset> links);
    /// Takes links out of the view that were deleted, or belong to another view now; nothing is read or sorted anew.
    /// If the current one goes, its next neighbour becomes current; if all selected ones go, it is selected too.
    void RemoveLinks(const std::vector<qint64>& links);
    /// Shows only the links in whose shown columns every word stands. See clsLinkModel::SetFilter.
    void SetFilter(const QString& words);

    /// The selected links in the order of the view; without a selection the current row's, if there is one.
    [[nodiscard]] std::vector<qint64> ChosenLinks() const;
    /// The current row's link, 0 when there is none.
    [[nodiscard]] qint64 CurrentLink() const;
    /// Makes a link's row current and visible; the selection stays. @return false when the view does not show it.
    bool MakeCurrent(qint64 linkID);
    /// The same as the user does it: the row is selected as well, and no other, unless it was among those selected.
    bool GoToLink(qint64 linkID);

    /// What stands in the place of the rows when there are none: what is missing, and what to do.
    void SetEmptyState(const QString& title, const QString& advice);
    /// Marks the heading that the links are ordered by; -1: none.
    void ShowSort(int column);

    /// Columns, their order and widths (twips) from and to the settings section LinkGrid. An empty or unusable section
    /// gives the default layout.
    void RestoreLayout(const clsSettingsStore& settings);
    void SaveLayout(clsSettingsStore& settings) const;
    void SetDefaultLayout();
    /// The default layout, and none saved.
    void SetDefault(clsSettingsStore& settings);
    /// Every column that may be shown, in the order of their headings.
    [[nodiscard]] std::vector<int> ColumnsInOrder() const;
    /// Shows these columns in this order, and no others.
    void ShowColumns(const std::vector<int>& columns);

    void keyboardSearch(const QString& search) override;

Q_SIGNALS:
    /// A key or double click stands for an entry of the Links menu.
    void LinkCommand(int index);
    void MenuWanted(QPoint globalPosition);
    void SortWanted(int column);
    /// The rows follow the filter.
    void FilterApplied();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    struct Place;
    [[nodiscard]] Place TakePlace() const;
    void GoTo(const Place& place);
    [[nodiscard]] std::vector<int> SelectedRows() const;
    void SetRowHeight();
    void FitColumns();
    void ShowEmptyState();
    void FollowFilter();
    void UpdateFilterColumns();
    void UpdateRow(int row);

    clsLinkModel* m_links;
    QWidget* m_empty;
    QLabel* m_emptyTitle;
    QLabel* m_emptyAdvice;
    bool m_fitting = false;        ///< the default layout stands: its texts take the width that is left
    bool m_columnsChanged = false; ///< the filter is to be told of it
    bool m_fitsNow = false;        ///< section sizes are being changed by FitColumns itself
};
