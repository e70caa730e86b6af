// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsLogo.h"

#include "ui/parts/modIcons.h"

#include <QPainter>
#include <array>
#include <chrono>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// The drupelets of the berry in brambury.svg, on its grid of 64 by 64, in the order in which they light up.
constexpr std::array<QPointF, 12> drupelets{{{22, 33},
                                             {32, 31},
                                             {42, 33},
                                             {46.5, 41.5},
                                             {37, 40.5},
                                             {27, 40.5},
                                             {17.5, 41.5},
                                             {22.5, 49.5},
                                             {32, 49.5},
                                             {41.5, 49.5},
                                             {36.5, 57},
                                             {27.5, 57}}};
constexpr qreal grid = 64;
constexpr qreal drupeletRadius = 5.2;
/// How many drupelets glow at once, the newest brightest.
constexpr int trail = 5;
} // namespace

clsLogo::clsLogo(QWidget* parent) : QWidget(parent)
{
    setObjectName(u"Logo"_s);
    setAccessibleName(u"Brambury"_s);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_timer.setObjectName(u"LogoTimer"_s);
    m_timer.setInterval(90ms);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % static_cast<int>(drupelets.size());
        update();
    });
}

void clsLogo::Start()
{
    m_timer.start();
    setAccessibleDescription(u"At work"_s);
    update();
}

void clsLogo::Stop()
{
    m_timer.stop();
    m_step = 0;
    setAccessibleDescription({});
    update();
}

QSize clsLogo::sizeHint() const
{
    return {40, 40};
}

void clsLogo::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const int side = qMin(width(), height());
    const QRect place((width() - side) / 2, (height() - side) / 2, side, side);
    modIcons::Icon(u"brambury"_s).paint(&painter, place);
    if (!Running())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(place.topLeft());
    painter.scale(side / grid, side / grid);
    painter.setPen(Qt::NoPen);
    const int count = static_cast<int>(drupelets.size());
    for (int i = 0; i < trail; ++i) {
        const auto which = static_cast<std::size_t>((m_step - i + count) % count);
        painter.setBrush(QColor(255, 214, 120, 230 - 42 * i));
        painter.drawEllipse(drupelets[which], drupeletRadius, drupeletRadius);
    }
}
