// SPDX-License-Identifier: GPL-3.0-or-later
// Notes by the notification service of the user's session bus.
#include "platform/clsEventLoop.h"
#include "platform/clsNotifier.h"
#include "platform/modPlatformImpl.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
#include <QScopeGuard>
#include <QVariantMap>
#include <chrono>
#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString Service = u"org.freedesktop.Notifications"_s;
const QString Connection = u"Brambury notes"_s;
/// The program's desktop file, and its icon.
const QString Program = u"org.brambury.Brambury"_s;
constexpr std::chrono::seconds Limit(5);

/// The session's bus; empty where there is none. Timed jobs are not told of it, but it has its usual place. Nothing is
/// asked of the library here: it would start a bus of its own for the asking.
QString BusAddress()
{
    const QString told = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!told.isEmpty())
        return told;
#ifdef Q_OS_UNIX
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR", u"/run/user/%1"_s.arg(getuid()));
    if (QFileInfo::exists(folder + u"/bus"_s))
        return u"unix:path=%1/bus"_s.arg(folder);
#endif
    return {};
}

class clsDesktopNotifier final : public clsNotifier
{
public:
    explicit clsDesktopNotifier(clsEventLoop& eventLoop) : m_eventLoop(eventLoop) {}

    bool Notify(const QString& title, const QString& text) override
    {
        const QString address = BusAddress();
        if (address.isEmpty())
            return false;
        const QDBusConnection bus = QDBusConnection::connectToBus(address, Connection);
        const auto disconnect = qScopeGuard([] { QDBusConnection::disconnectFromBus(Connection); });
        if (!bus.isConnected())
            return false;
        QDBusMessage note =
            QDBusMessage::createMethodCall(Service, u"/org/freedesktop/Notifications"_s, Service, u"Notify"_s);
        constexpr uint nothingReplaced = 0;
        constexpr int asLongAsUsual = -1;
        // The service may take the text for markup.
        note << u"Brambury"_s << nothingReplaced << Program << title << text.toHtmlEscaped() << QStringList()
             << QVariantMap{{u"desktop-entry"_s, Program}} << asLongAsUsual;
        QDBusPendingCallWatcher answer(bus.asyncCall(note));
        static_cast<void>(m_eventLoop.Wait([&answer] { return answer.isFinished(); }, Limit));
        return answer.isFinished() && !answer.isError();
    }

private:
    clsEventLoop& m_eventLoop;
};
} // namespace

std::unique_ptr<clsNotifier> modPlatformImpl::MakeNotifier(clsEventLoop& eventLoop)
{
    return std::make_unique<clsDesktopNotifier>(eventLoop);
}
