// SPDX-License-Identifier: GPL-3.0-or-later
// The names in the site list as something that can be typed over.
#pragma once

#include "ui/parts/clsRowDelegate.h"

/// Hands what was typed to whoever renames sites, and leaves the list alone: a name is the site's once the database
/// has it.
class clsSiteLabel : public clsRowDelegate
{
    Q_OBJECT

public:
    using clsRowDelegate::clsRowDelegate;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

Q_SIGNALS:
    /// Comes when the editor is gone. @param row  of the list.
    void LabelEdited(int row, const QString& label) const;
};
