// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modTemplateList.h"

#include "mail/clsMailTemplate.h"
#include "shell/modBrambury.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QStyledItemDelegate>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Holds the title of an entry's message type where names alone would not tell entries apart.
constexpr int TypeRole = Qt::UserRole + 1;

class clsWithType final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (const QString type = index.data(TypeRole).toString(); !type.isEmpty())
            option->text += u"  \u2013  "_s + type;
    }
};

QString TitleOf(qint16 type)
{
    for (const modBrambury::MessageType& known : modBrambury::State().MessageTypes) {
        if (known.ID == type)
            return known.Title;
    }
    return {};
}
} // namespace

void modTemplateList::Fill(QComboBox& list, const clsMailTemplate& templates, qint16 type, bool emptyFirst)
{
    std::vector<clsMailTemplate::Name> names(emptyFirst ? 1 : 0);
    templates.LoadMessageNames(names, type, emptyFirst);
    list.clear();
    for (const auto& [name, id, its] : names) {
        list.addItem(name, id == 0 ? QVariant() : QVariant(id));
        if (type < 1)
            list.setItemData(list.count() - 1, TitleOf(its), TypeRole);
    }
    if (type < 1) {
        if (!dynamic_cast<clsWithType*>(list.itemDelegate()))
            list.setItemDelegate(new clsWithType(&list));
        list.view()->setMinimumWidth(list.view()->sizeHintForColumn(0));
    }
}
