// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modIcons.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The shipped drawings draw their lines in `currentColor`; the palette decides what that is at the time of painting,
/// so a change from light to dark needs no one to make the icons anew.
class clsDrawing final : public QIconEngine
{
public:
    clsDrawing(QString name, QByteArray svg) : m_name(std::move(name)), m_svg(std::move(svg)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal scale = painter->device() ? painter->device()->devicePixelRatio() : qApp->devicePixelRatio();
        QPixmap picture = pixmap(rect.size() * scale, mode, state);
        picture.setDevicePixelRatio(scale);
        painter->drawPixmap(rect.topLeft(), picture);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        if (size.isEmpty())
            return {}; // a tab that has no room for its picture
        const QColor line = LineColor(mode);
        const QString key =
            u"brambury/%1/%2x%3/%4/%5"_s.arg(m_name).arg(size.width()).arg(size.height()).arg(mode).arg(line.name());
        QPixmap picture;
        if (QPixmapCache::find(key, &picture))
            return picture;
        QByteArray svg = m_svg;
        svg.replace("currentColor", line.name().toLatin1());
        QSvgRenderer renderer(svg);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        picture = QPixmap(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        if (mode == QIcon::Disabled)
            painter.setOpacity(0.4);
        renderer.render(&painter);
        painter.end();
        QPixmapCache::insert(key, picture);
        return picture;
    }

    QIconEngine* clone() const override { return new clsDrawing(*this); }

private:
    /// A little softer than the text, which would make the lines of two pixels look too heavy beside it.
    static QColor LineColor(QIcon::Mode mode)
    {
        const QPalette palette = QGuiApplication::palette();
        const bool selected = mode == QIcon::Selected;
        const QColor text =
            palette.color(QPalette::Active, selected ? QPalette::HighlightedText : QPalette::WindowText);
        const QColor ground = palette.color(QPalette::Active, selected ? QPalette::Highlight : QPalette::Window);
        const auto mix = [](int a, int b) { return (a * 4 + b) / 5; };
        return {mix(text.red(), ground.red()), mix(text.green(), ground.green()), mix(text.blue(), ground.blue())};
    }

    QString m_name;
    QByteArray m_svg;
};
} // namespace

// The drawings lie in a static library, whose resources nobody would register otherwise. Outside any namespace,
// as the macro demands.
static void registerDrawings()
{
    Q_INIT_RESOURCE(brambury);
}

QIcon modIcons::Picture(const QString& name)
{
    static const bool registered = (registerDrawings(), true);
    Q_UNUSED(registered)
    QFile file(u":/brambury/icons/"_s + name + u".svg"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QIcon(new clsDrawing(name, file.readAll()));
}

QIcon modIcons::Icon(const QString& name)
{
    // Only the buttons of the results log have standard names throughout. They change to the desktop's icons together
    // or not at all: one foreign icon in a row of drawings looks like a mistake.
    static const QHash<QString, QString> standardNames{
        {u"save"_s, u"document-save"_s}, {u"print"_s, u"document-print"_s}, {u"clear"_s, u"edit-clear"_s}};
    const auto standard = standardNames.constFind(name);
    if (standard != standardNames.cend() &&
        std::all_of(standardNames.cbegin(), standardNames.cend(), [](const auto& n) { return QIcon::hasThemeIcon(n); }))
        return QIcon::fromTheme(*standard);
    return Picture(name);
}

QIcon modIcons::Status(int status)
{
    static const QStringList names{u"status-offer"_s,  u"status-pending"_s,  u"status-active"_s,
                                   u"status-broken"_s, u"status-inactive"_s, u"status-declined"_s};
    return Picture(names.value(status));
}

QIcon modIcons::BoxPicture(clsDialogs::Icon icon)
{
    switch (icon) {
    case clsDialogs::Icon::Critical:
        return Picture(u"error-critical"_s);
    case clsDialogs::Icon::Exclamation:
        return Picture(u"error-exclamation"_s);
    case clsDialogs::Icon::Question:
        return Picture(u"box-question"_s);
    case clsDialogs::Icon::Information:
        return Picture(u"box-information"_s);
    case clsDialogs::Icon::None:
        break;
    }
    return {};
}
