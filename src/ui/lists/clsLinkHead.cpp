// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsLinkHead.h"

#include <QEvent>
#include <QLineEdit>
#include <QTabBar>
#include <algorithm>

namespace
{
constexpr int Gap = 6;
constexpr int PictureSize = 16;
constexpr int NarrowestFilter = 120;
constexpr int WidestFilter = 280;
} // namespace

clsLinkHead::clsLinkHead(QTabBar* tabs, QLineEdit* filter, QWidget* parent)
    : QWidget(parent), m_tabs(tabs), m_filter(filter)
{
    m_tabs->setParent(this);
    m_filter->setParent(this);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

int clsLinkHead::TabsWidth(bool pictures) const
{
    int pictured = 0;
    for (int tab = 0; tab < m_tabs->count(); ++tab)
        pictured += m_tabs->tabIcon(tab).isNull() ? 0 : 1;
    const bool now = m_tabs->iconSize().width() > 0;
    return m_tabs->sizeHint().width() + pictured * PictureSize * (int{pictures} - int{now});
}

clsLinkHead::Plan clsLinkHead::PlanFor(int width) const
{
    const int left = width - Gap - NarrowestFilter;
    for (const bool pictures : {true, false}) {
        if (TabsWidth(pictures) <= left)
            return {pictures, true};
    }
    return {TabsWidth(true) <= width, false};
}

int clsLinkHead::heightForWidth(int width) const
{
    const int tabs = m_tabs->sizeHint().height();
    const int box = m_filter->sizeHint().height();
    return PlanFor(width).beside ? std::max(tabs, box + 2) : tabs + box + Gap;
}

QSize clsLinkHead::sizeHint() const
{
    const int width = TabsWidth(true) + Gap + WidestFilter;
    return {width, heightForWidth(width)};
}

QSize clsLinkHead::minimumSizeHint() const
{
    return {NarrowestFilter, m_tabs->sizeHint().height()};
}

void clsLinkHead::LayOut()
{
    const Plan plan = PlanFor(width());
    const int side = plan.pictures ? PictureSize : 0;
    if (m_tabs->iconSize().width() != side)
        m_tabs->setIconSize({side, side});
    const int tabsWidth = std::min(width(), m_tabs->sizeHint().width());
    const int tabsHeight = m_tabs->sizeHint().height();
    const int boxHeight = m_filter->sizeHint().height();
    if (plan.beside) {
        // The tabs stand on the list; the box keeps a little distance from it.
        m_tabs->setGeometry(0, height() - tabsHeight, tabsWidth, tabsHeight);
        const int boxWidth = std::min(WidestFilter, width() - tabsWidth - Gap);
        m_filter->setGeometry(width() - boxWidth, height() - boxHeight - 2, boxWidth, boxHeight);
    } else {
        m_filter->setGeometry(0, 0, width(), boxHeight);
        m_tabs->setGeometry(0, height() - tabsHeight, tabsWidth, tabsHeight);
    }
    QWidget* const first = plan.beside ? static_cast<QWidget*>(m_tabs) : m_filter;
    setTabOrder(first, plan.beside ? static_cast<QWidget*>(m_filter) : m_tabs);
}

void clsLinkHead::resizeEvent(QResizeEvent* /*event*/)
{
    LayOut();
}

bool clsLinkHead::event(QEvent* event)
{
    // Tabs come and go, and have other widths in another font.
    if (event->type() == QEvent::LayoutRequest) {
        updateGeometry();
        LayOut();
    }
    return QWidget::event(event);
}
