// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsCommandBar.h"

#include <QApplication>
#include <QEvent>
#include <QLayout>
#include <QScopeGuard>

namespace
{
/// Below this share of its size a caption is no longer easy to read.
constexpr qreal SmallCaption = 0.85;
} // namespace

clsCommandBar::clsCommandBar(QWidget* parent) : QToolBar(parent)
{
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
}

int clsCommandBar::WantedWidth() const
{
    int width = layout()->contentsMargins().left() + layout()->contentsMargins().right();
    for (QAction* action : actions())
        width += widgetForAction(action)->sizeHint().width() + std::max(0, layout()->spacing());
    return width;
}

void clsCommandBar::ChooseLook()
{
    // What is chosen here comes back as a change of font, style and layout.
    if (m_choosing || actions().isEmpty())
        return;
    m_choosing = true;
    const auto done = qScopeGuard([this] { m_choosing = false; });
    QFont small = QApplication::font();
    small.setPointSizeF(small.pointSizeF() * SmallCaption);
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    for (const QFont& font : {QApplication::font(), small}) {
        for (QAction* action : actions())
            widgetForAction(action)->setFont(font);
        if (WantedWidth() <= width())
            return;
    }
    setToolButtonStyle(Qt::ToolButtonIconOnly);
}

void clsCommandBar::resizeEvent(QResizeEvent* event)
{
    ChooseLook();
    QToolBar::resizeEvent(event);
}

void clsCommandBar::changeEvent(QEvent* event)
{
    QToolBar::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        ChooseLook();
}
