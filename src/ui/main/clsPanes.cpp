// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsPanes.h"

#include "shell/modCommonFunctions.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::TwipsPerPixel;

namespace
{
/// How far an arrow key moves a bar.
constexpr int KeyStep = 8;
/// What the list of sites gets of a larger window's width before its names are long enough, and the upper panes of a
/// height that is gained or lost.
constexpr double LeftShare = 0.25;
constexpr int LargestGrowth = 150;
constexpr double TopShare = 0.67;

/// What a screen reader calls a bar.
QAccessibleInterface* MakeAccessible(const QString& /*className*/, QObject* object)
{
    auto* bar = qobject_cast<clsSplitterBar*>(object);
    return bar ? new QAccessibleWidget(bar, QAccessible::Splitter) : nullptr;
}
} // namespace

clsSplitterBar::clsSplitterBar(Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent), m_orientation(orientation)
{
    setCursor(orientation == Qt::Horizontal ? Qt::SplitHCursor : Qt::SplitVCursor);
    setFocusPolicy(Qt::TabFocus);
    [[maybe_unused]] static const bool once = (QAccessible::installFactory(&MakeAccessible), true);
}

void clsSplitterBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint place = event->position().toPoint();
    m_grip = m_orientation == Qt::Horizontal ? place.x() : place.y();
}

void clsSplitterBar::mouseMoveEvent(QMouseEvent* event)
{
    if (m_grip < 0)
        return;
    const QPoint place = mapToParent(event->position().toPoint());
    Q_EMIT MoveWanted((m_orientation == Qt::Horizontal ? place.x() : place.y()) - m_grip);
}

void clsSplitterBar::mouseReleaseEvent(QMouseEvent* /*event*/)
{
    m_grip = -1;
    update();
}

void clsSplitterBar::keyPressEvent(QKeyEvent* event)
{
    const bool sideways = m_orientation == Qt::Horizontal;
    const int here = sideways ? x() : y();
    if (event->key() == (sideways ? Qt::Key_Left : Qt::Key_Up))
        Q_EMIT MoveWanted(here - KeyStep);
    else if (event->key() == (sideways ? Qt::Key_Right : Qt::Key_Down))
        Q_EMIT MoveWanted(here + KeyStep);
    else
        QWidget::keyPressEvent(event);
}

void clsSplitterBar::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const bool lit = hasFocus() || m_grip >= 0 || underMouse();
    if (hasFocus() || m_grip >= 0) {
        QColor light = palette().color(QPalette::Highlight);
        light.setAlpha(90);
        painter.fillRect(rect(), light);
    }
    // Three dots in the middle say that the bar can be taken hold of.
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor dot = palette().color(lit ? QPalette::Highlight : QPalette::WindowText);
    if (!lit)
        dot.setAlpha(90);
    painter.setBrush(dot);
    const QPointF middle = QRectF(rect()).center();
    for (int i = -1; i <= 1; ++i) {
        const QPointF away = m_orientation == Qt::Horizontal ? QPointF(0, i * 6.0) : QPointF(i * 6.0, 0);
        painter.drawEllipse(middle + away, 1.4, 1.4);
    }
}

void clsSplitterBar::enterEvent(QEnterEvent* /*event*/)
{
    update();
}

void clsSplitterBar::leaveEvent(QEvent* /*event*/)
{
    update();
}

clsPanes::clsPanes(QWidget* header, QWidget* topLeft, QWidget* topRight, QWidget* bottom, QWidget* parent)
    : QWidget(parent), m_header(header), m_topLeft(topLeft), m_topRight(topRight), m_bottom(bottom)
{
    m_header->setParent(this);
    m_topLeft->setParent(this);
    m_vertical = new clsSplitterBar(Qt::Horizontal, this);
    m_topRight->setParent(this);
    m_horizontal = new clsSplitterBar(Qt::Vertical, this);
    m_bottom->setParent(this);
    m_vertical->setObjectName(u"imgVertSplitter"_s);
    m_vertical->setAccessibleName(u"Bar between sites and links"_s);
    m_horizontal->setObjectName(u"imgHorzSplitter"_s);
    m_horizontal->setAccessibleName(u"Bar between links and results log"_s);
    connect(m_vertical, &clsSplitterBar::MoveWanted, this, [this](int x) { MoveVertical(x * TwipsPerPixel); });
    connect(m_horizontal, &clsSplitterBar::MoveWanted, this, [this](int y) { MoveHorizontal(y * TwipsPerPixel); });
}

int clsPanes::LargestLeft() const
{
    return width() * TwipsPerPixel - RightMargin;
}

int clsPanes::LargestTop() const
{
    return height() * TwipsPerPixel - BottomMargin;
}

bool clsPanes::TopMoved() const
{
    return m_top != FirstTop || m_topHeight != FirstSize.height();
}

int clsPanes::TopAt(int height) const
{
    const int more = TwipsPerPixel * qRound((height - m_topHeight) * TopShare);
    return m_top + (TopMoved() ? more : std::max(0, more));
}

int clsPanes::PaneTop(int height) const
{
    return TopMoved() ? TopAt(height) : FirstTop;
}

void clsPanes::SetPositions(int left, int top)
{
    m_left = left;
    m_top = top;
    m_topHeight = top == FirstTop ? FirstSize.height() : height();
    LayOut();
}

void clsPanes::MoveVertical(int left)
{
    if (left < LeftMargin || left > LargestLeft())
        return;
    m_left = left;
    LayOut();
}

void clsPanes::MoveHorizontal(int top)
{
    if (top < TopMargin || top > LargestTop())
        return;
    m_top = top;
    m_topHeight = height();
    LayOut();
}

int clsPanes::LeastTop(int rightWidth) const
{
    return m_header->sizeHint().height() + m_topRight->layout()->totalMinimumHeightForWidth(rightWidth);
}

QSize clsPanes::minimumSizeHint() const
{
    // Everything is to be seen while the bars are where they were first, but the window must fit any screen.
    constexpr QSize most(760, 540);
    constexpr int bar = clsSplitterBar::Thickness;
    constexpr int left = FirstLeft / TwipsPerPixel + bar;
    const int width = std::max(left + m_topRight->minimumSizeHint().width(), FirstSize.width());
    const int upper = std::max(LeastTop(width - left), TopMargin / TwipsPerPixel);
    const int lower = std::max(bar + m_bottom->minimumSizeHint().height(), BottomMargin / TwipsPerPixel);
    return QSize(width, upper + lower).boundedTo(most);
}

void clsPanes::LayOut()
{
    constexpr int bar = clsSplitterBar::Thickness;
    int left = m_left;
    if (left == FirstLeft) {
        const int spare = width() - FirstLeft / TwipsPerPixel - bar - m_topRight->minimumSizeHint().width();
        const int growth = std::min(qRound((width() - FirstSize.width()) * LeftShare), spare);
        left += TwipsPerPixel * std::clamp(growth, 0, LargestGrowth);
    }
    const int x = std::max(LeftMargin, std::min(left, LargestLeft())) / TwipsPerPixel;
    // With large letters the lower pane needs more than its margin.
    const int lowest = std::min(LargestTop() / TwipsPerPixel, height() - bar - m_bottom->minimumSizeHint().height());
    int top = TopAt(height()) / TwipsPerPixel;
    if (!TopMoved()) // a narrow window has its buttons in more rows
        top = std::max(top, LeastTop(width() - x - bar));
    const int y = std::max(TopMargin / TwipsPerPixel, std::min(top, lowest));
    const int head = m_header->sizeHint().height();
    m_header->setGeometry(0, 0, width(), head);
    m_topLeft->setGeometry(0, head, x, y - head);
    m_vertical->setGeometry(x, head, bar, y - head);
    m_topRight->setGeometry(x + bar, head, width() - x - bar, y - head);
    m_horizontal->setGeometry(0, y, width(), bar);
    m_bottom->setGeometry(0, y + bar, width(), height() - y - bar);
}

void clsPanes::resizeEvent(QResizeEvent* /*event*/)
{
    LayOut();
}

bool clsPanes::event(QEvent* event)
{
    // The header has another height once its icons are of another size.
    if (event->type() == QEvent::LayoutRequest) {
        LayOut();
        updateGeometry();
    }
    return QWidget::event(event);
}
