// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsButtonRow.h"

#include <QEvent>
#include <QToolButton>
#include <algorithm>
#include <numeric>

namespace
{
constexpr int Gap = 2;
constexpr int PictureSize = 16;
/// Around a caption, so that it does not touch the button's edge.
constexpr int Margins = 16;
/// Columns of one width may take so many rows; beyond that, room counts for more than calm.
constexpr int MostRows = 3;
} // namespace

clsButtonRow::clsButtonRow(QWidget* parent) : QWidget(parent)
{
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void clsButtonRow::Add(QToolButton* button)
{
    button->setParent(this);
    button->setAutoRaise(true);
    button->setIconSize({PictureSize, PictureSize});
    button->setFocusPolicy(Qt::TabFocus);
    m_buttons.push_back(button);
    updateGeometry();
}

int clsButtonRow::WidthOf(const QToolButton& button, Look look) const
{
    const int caption = button.fontMetrics().size(Qt::TextShowMnemonic, button.text()).width() + Margins;
    return look == Look::Caption ? caption : caption + PictureSize + 4;
}

int clsButtonRow::ButtonHeight() const
{
    return std::max(fontMetrics().height(), PictureSize) + 10;
}

clsButtonRow::Plan clsButtonRow::PlanFor(int width) const
{
    const int count = static_cast<int>(m_buttons.size());
    for (const Look look : {Look::PictureAndCaption, Look::Caption}) {
        const int wanted = std::accumulate(m_buttons.begin(), m_buttons.end(), Gap * (count - 1),
                                           [&](int sum, QToolButton* button) { return sum + WidthOf(*button, look); });
        if (wanted <= width)
            return {look, count, 0};
    }
    const auto widest = [&](Look look) {
        int width_ = 1;
        for (const QToolButton* button : m_buttons)
            width_ = std::max(width_, WidthOf(*button, look));
        return width_;
    };
    // Rows of equal length look calm: four and four rather than seven and one.
    for (int rows = 2; rows < count; ++rows) {
        const int columns = (count + rows - 1) / rows;
        const int columnWidth = (width - Gap * (columns - 1)) / columns;
        if (columnWidth >= widest(Look::PictureAndCaption))
            return {Look::PictureAndCaption, columns, columnWidth};
        if (columnWidth >= widest(Look::Caption))
            return {Look::Caption, columns, columnWidth};
        if (rows == MostRows)
            break;
    }
    return {Look::Caption, 0, 0};
}

int clsButtonRow::PlaceButtons(int width, const std::function<void(QToolButton&, const QRect&)>& place) const
{
    const Plan plan = PlanFor(width);
    const int height = ButtonHeight();
    QRect at(0, 0, 0, height);
    int inRow = 0;
    for (QToolButton* button : m_buttons) {
        at.setWidth(plan.columnWidth > 0 ? plan.columnWidth : WidthOf(*button, plan.look));
        if (plan.columns > 0 ? inRow == plan.columns : inRow > 0 && at.right() >= width) {
            at.moveTo(0, at.bottom() + 1 + Gap);
            inRow = 0;
        }
        place(*button, at);
        at.moveLeft(at.right() + 1 + Gap);
        ++inRow;
    }
    return at.bottom() + 1;
}

int clsButtonRow::heightForWidth(int width) const
{
    return m_buttons.empty() ? 0 : PlaceButtons(width, [](QToolButton&, const QRect&) {});
}

QSize clsButtonRow::sizeHint() const
{
    int width = 0;
    for (const QToolButton* button : m_buttons)
        width += WidthOf(*button, Look::PictureAndCaption) + Gap;
    return {width, ButtonHeight()};
}

QSize clsButtonRow::minimumSizeHint() const
{
    return {100, ButtonHeight()};
}

void clsButtonRow::LayOut()
{
    const bool pictures = PlanFor(width()).look == Look::PictureAndCaption;
    PlaceButtons(width(), [pictures](QToolButton& button, const QRect& place) {
        button.setToolButtonStyle(pictures ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonTextOnly);
        button.setGeometry(place);
    });
}

void clsButtonRow::resizeEvent(QResizeEvent* /*event*/)
{
    LayOut();
}

void clsButtonRow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        updateGeometry();
        LayOut();
    }
}
