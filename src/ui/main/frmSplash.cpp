// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/frmSplash.h"

#include "shell/modBrambury.h"
#include "ui/parts/modIcons.h"

#include <QPainter>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr QSize splashSize(460, 220);
constexpr int margin = 28;
constexpr int pictureSide = 148;
} // namespace

frmSplash::frmSplash(const QString& version, const QString& build)
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), m_version(u"Version %1"_s.arg(version)),
      m_build(u"Build %1"_s.arg(build))
{
    setObjectName(u"frmSplash"_s);
    setWindowTitle(modBrambury::ProgramTitle);
    setAccessibleName(u"%1, %2, %3"_s.arg(windowTitle(), m_version, m_build));
    setFixedSize(splashSize);
    move(screen()->availableGeometry().center() - rect().center());
}

void frmSplash::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const QColor window = palette().color(QPalette::Window);
    const QColor text = palette().color(QPalette::WindowText);
    QLinearGradient ground(rect().topLeft(), rect().bottomRight());
    ground.setColorAt(0, palette().color(QPalette::Base));
    ground.setColorAt(1, window);
    painter.fillRect(rect(), ground);
    painter.fillRect(QRect(0, height() - 6, width(), 6), QColor(0x9c, 0x4f, 0xa8));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    modIcons::Icon(u"brambury"_s)
        .paint(&painter, QRect(margin, (height() - 6 - pictureSide) / 2, pictureSide, pictureSide));

    QRect words(margin * 2 + pictureSide, 0, 0, 0);
    words.setRight(width() - margin);
    const auto line = [&](const QString& what, int top, qreal points, bool bold, const QColor& color) {
        QFont font = this->font();
        font.setPointSizeF(points);
        font.setBold(bold);
        painter.setFont(font);
        painter.setPen(color);
        const int tall = painter.fontMetrics().height();
        painter.drawText(QRect(words.left(), top, words.width(), tall), Qt::AlignLeft | Qt::AlignVCenter, what);
        return top + tall;
    };
    QColor quiet = text;
    quiet.setAlphaF(0.75F);
    int top = line(windowTitle(), 56, 26, true, text);
    top = line(u"Link exchange for webmasters"_s, top + 2, 10, false, quiet);
    top = line(m_version, top + 18, 10, false, text);
    line(m_build, top + 2, 10, false, text);
}
