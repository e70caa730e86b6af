// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsElidedLabel.h"

#include "ui/parts/modTips.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

clsElidedLabel::clsElidedLabel(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize clsElidedLabel::minimumSizeHint() const
{
    return {std::min(sizeHint().width(), 4 * fontMetrics().averageCharWidth()), sizeHint().height()};
}

void clsElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter), palette(),
                          isEnabled(), fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width()),
                          foregroundRole());
}

bool clsElidedLabel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    const bool whole = fontMetrics().horizontalAdvance(text()) <= contentsRect().width();
    const QString tip = !toolTip().isEmpty() ? toolTip() : whole ? QString() : modTips::Plain(text());
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), tip, this);
    return true;
}
