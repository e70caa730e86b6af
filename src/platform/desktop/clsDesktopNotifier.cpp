// SPDX-License-Identifier: GPL-3.0-or-later
// Notes by the notification service of the user's session bus.
#include "platform/clsEventLoop.h"
#include "platform/clsNotifier.h"
#include "platform/desktop/modSessionBus.h"
#include "platform/modPlatformImpl.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QScopeGuard>
#include <QVariantMap>
#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString Service = u"org.freedesktop.Notifications"_s;
const QString Connection = u"Brambury notes"_s;
/// The program's desktop file, and its icon.
const QString Program = u"org.brambury.Brambury"_s;
constexpr std::chrono::seconds Limit(5);

class clsDesktopNotifier final : public clsNotifier
{
public:
    explicit clsDesktopNotifier(clsEventLoop& eventLoop) : m_eventLoop(eventLoop) {}

    bool Notify(const QString& title, const QString& text) override
    {
        const QString address = modSessionBus::Address();
        if (address.isEmpty() || !modSessionBus::Answers(address))
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
