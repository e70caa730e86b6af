// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsFieldList.h"

#include <QDropEvent>

clsFieldList::clsFieldList(QWidget* parent) : QListWidget(parent)
{
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
}

void clsFieldList::Add(const QString& caption, int column)
{
    auto* item = new QListWidgetItem(caption, this);
    item->setData(Qt::UserRole, column);
    // Entries are dropped between others, not on them.
    item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
}

std::vector<int> clsFieldList::Columns() const
{
    std::vector<int> columns;
    for (int row = 0; row < count(); ++row)
        columns.push_back(item(row)->data(Qt::UserRole).toInt());
    return columns;
}

void clsFieldList::Take(clsFieldList& from, int row)
{
    const int before = from.currentRow();
    if (before < 0)
        return;
    // What stands behind an entry moves up when it is taken out.
    const int place = &from == this && before < row ? row - 1 : row;
    QListWidgetItem* taken = from.takeItem(before);
    insertItem(place, taken);
    setCurrentItem(taken);
    Q_EMIT Moved();
}

void clsFieldList::DropAt(clsFieldList& from, QPoint place)
{
    const QModelIndex at = indexAt(place);
    Take(from, !at.isValid() ? count() : place.y() < visualRect(at).center().y() ? at.row() : at.row() + 1);
}

clsFieldList* clsFieldList::SourceOf(const QDropEvent& event) const
{
    auto* source = qobject_cast<clsFieldList*>(event.source());
    return source && source->window() == window() ? source : nullptr;
}

void clsFieldList::dragEnterEvent(QDragEnterEvent* event)
{
    if (SourceOf(*event))
        QListWidget::dragEnterEvent(event);
    else
        event->ignore();
}

void clsFieldList::dragMoveEvent(QDragMoveEvent* event)
{
    if (SourceOf(*event))
        QListWidget::dragMoveEvent(event);
    else
        event->ignore();
}

void clsFieldList::dropEvent(QDropEvent* event)
{
    clsFieldList* source = SourceOf(*event);
    if (!source) {
        event->ignore();
        return;
    }
    DropAt(*source, event->position().toPoint());
    // Done here: after a move the source would remove its selected entry, which is another one now.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    setState(NoState);
    viewport()->update();
}
