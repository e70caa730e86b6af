// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsFocusFrame.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QPainter>

clsFocusFrame::clsFocusFrame(QAbstractScrollArea& text) : QWidget(&text), m_text(text)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    text.installEventFilter(this);
}

bool clsFocusFrame::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (watched == &m_text && (type == QEvent::FocusIn || type == QEvent::FocusOut || type == QEvent::Resize)) {
        setGeometry(m_text.rect());
        setVisible(m_text.hasFocus());
        raise();
    }
    return QWidget::eventFilter(watched, event);
}

void clsFocusFrame::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Highlight));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}
