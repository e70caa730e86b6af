// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsSiteLabel.h"

#include <QApplication>
#include <QLineEdit>
#include <QTimer>

QWidget* clsSiteLabel::createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    // A click on the selected name opens the editor a moment later; by then a command may have opened a dialog.
    return QApplication::activeModalWidget() ? nullptr : clsRowDelegate::createEditor(parent, option, index);
}

void clsSiteLabel::setModelData(QWidget* editor, QAbstractItemModel* /*model*/, const QModelIndex& index) const
{
    const auto* line = qobject_cast<const QLineEdit*>(editor);
    if (!line || line->text() == index.data(Qt::EditRole).toString())
        return;
    // A box above an open editor would make it report a second time.
    QTimer::singleShot(0, this, [this, row = index.row(), label = line->text()] { Q_EMIT LabelEdited(row, label); });
}
