// SPDX-License-Identifier: GPL-3.0-or-later
// Paints the rows of the main window's lists.
#pragma once

#include <QStyledItemDelegate>

class QAbstractItemView;

/// The current row stands out as a whole, other selected rows less, both as a tint on which every picture keeps its
/// colours. A cell that has a picture and no text centres it.
class clsRowDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit clsRowDelegate(QAbstractItemView& view);
    /// "ActiveRow" for the current row while the view has the focus, "ActiveRowWithoutFocus" while it has not, else
    /// empty.
    [[nodiscard]] static QString RowStyle(const QAbstractItemView& view, int row);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    QAbstractItemView& m_view;
};
