// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsExplanation.h"

#include <QResizeEvent>

clsExplanation::clsExplanation(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
}

void clsExplanation::Tell(const QString& text)
{
    setText(text);
    TakeHeight();
}

void clsExplanation::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    if (event->oldSize().width() != event->size().width())
        TakeHeight();
}

void clsExplanation::TakeHeight()
{
    setMinimumHeight(heightForWidth(width()));
}
