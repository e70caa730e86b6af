// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/clsSiteLabel.h"

#include <QLineEdit>
#include <QTimer>

void clsSiteLabel::setModelData(QWidget* editor, QAbstractItemModel* /*model*/, const QModelIndex& index) const
{
    const auto* line = qobject_cast<const QLineEdit*>(editor);
    if (!line || line->text() == index.data(Qt::EditRole).toString())
        return;
    // A box above an open editor would make it report a second time.
    QTimer::singleShot(0, this, [this, row = index.row(), label = line->text()] { Q_EMIT LabelEdited(row, label); });
}
