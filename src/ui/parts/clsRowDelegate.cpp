// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsRowDelegate.h"

#include "ui/parts/modTips.h"

#include <QAbstractItemView>
#include <QIcon>
#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Margin = 5;
constexpr int PictureSize = 16;
/// Above and below a row's text.
constexpr int Air = 4;

/// `part` of one colour over the rest of another.
QColor Blend(const QColor& over, const QColor& under, qreal part)
{
    const auto mix = [part](int a, int b) { return qRound(a * part + b * (1 - part)); };
    return {mix(over.red(), under.red()), mix(over.green(), under.green()), mix(over.blue(), under.blue())};
}
} // namespace

clsRowDelegate::clsRowDelegate(QAbstractItemView& view) : QStyledItemDelegate(&view), m_view(view) {}

QString clsRowDelegate::RowStyle(const QAbstractItemView& view, int row)
{
    if (row != view.currentIndex().row())
        return {};
    return view.hasFocus() ? u"ActiveRow"_s : u"ActiveRowWithoutFocus"_s;
}

void clsRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QPalette& palette = option.palette;
    const QColor highlight = palette.color(QPalette::Active, QPalette::Highlight);
    const QColor text = palette.color(m_view.isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::Text);
    const QColor base = palette.color(
        option.features.testFlag(QStyleOptionViewItem::Alternate) ? QPalette::AlternateBase : QPalette::Base);
    const QString rowStyle = RowStyle(m_view, index.row());
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    if (rowStyle == "ActiveRow"_L1) {
        painter->fillRect(option.rect, Blend(highlight, base, 0.40));
        QRect line = option.rect;
        line.setHeight(1);
        painter->fillRect(line, highlight);
        line.moveBottom(option.rect.bottom());
        painter->fillRect(line, highlight);
    } else if (rowStyle == "ActiveRowWithoutFocus"_L1) {
        painter->fillRect(option.rect, Blend(selected ? highlight : text, base, selected ? 0.30 : 0.14));
    } else if (selected) {
        painter->fillRect(option.rect, Blend(highlight, base, 0.22));
    }

    QRect room = option.rect.adjusted(Margin, 0, -Margin, 0);
    const QIcon picture = index.data(Qt::DecorationRole).value<QIcon>();
    // One line, whatever the record holds; no column is wide enough for more letters than these.
    constexpr int enough = 2000;
    const QString shown = modTips::OneLine(index.data(Qt::DisplayRole).toString().left(enough));
    if (!picture.isNull()) {
        const int left = shown.isEmpty() ? room.center().x() - PictureSize / 2 + 1 : room.left();
        painter->save();
        painter->setClipRect(option.rect);
        picture.paint(painter, {left, room.center().y() - PictureSize / 2 + 1, PictureSize, PictureSize},
                      Qt::AlignCenter, m_view.isEnabled() ? QIcon::Normal : QIcon::Disabled);
        painter->restore();
        room.setLeft(room.left() + PictureSize + Margin + 1);
    }
    if (shown.isEmpty() || room.width() <= 0)
        return;
    const QVariant wanted = index.data(Qt::TextAlignmentRole);
    const auto alignment = wanted.isValid() ? wanted.value<Qt::Alignment>() : Qt::AlignLeft | Qt::AlignVCenter;
    painter->setPen(text);
    painter->setFont(option.font);
    painter->drawText(room, static_cast<int>(alignment) | Qt::TextSingleLine,
                      option.fontMetrics.elidedText(shown, Qt::ElideRight, room.width()));
}

QSize clsRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const int height = std::max(option.fontMetrics.height(), PictureSize) + 2 * Air;
    return {QStyledItemDelegate::sizeHint(option, index).width() + 2 * Margin, height};
}
