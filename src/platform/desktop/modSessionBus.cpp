// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/modSessionBus.h"

#include "platform/modPlatformImpl.h"

#include <QFileInfo>
#include <QLocalSocket>
#include <QUrl>
#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr auto Variable = "DBUS_SESSION_BUS_ADDRESS";
constexpr int LimitMs = 2000;
} // namespace

QString modSessionBus::Address()
{
    const QString told = qEnvironmentVariable(Variable);
    if (!told.isEmpty())
        return told;
#ifdef Q_OS_UNIX
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR", u"/run/user/%1"_s.arg(getuid()));
    if (QFileInfo::exists(folder + u"/bus"_s))
        return u"unix:path=%1/bus"_s.arg(folder);
#endif
    return {};
}

bool modSessionBus::Answers(const QString& address)
{
    constexpr auto start = "unix:path="_L1;
    if (!address.startsWith(start))
        return true;
    QLocalSocket bus;
    bus.connectToServer(QUrl::fromPercentEncoding(address.section(u',', 0, 0).mid(start.size()).toUtf8()));
    // One that refuses is told of at once by whoever asks next. A full queue of callers is not looked at by anybody.
    if (!bus.waitForConnected(LimitMs))
        return bus.state() == QLocalSocket::UnconnectedState;
    // The first words of every caller; a bus answers with the ways in which it may be proved who is calling.
    bus.write(QByteArrayLiteral("\0AUTH\r\n"));
    return bus.waitForReadyRead(LimitMs) || bus.error() != QLocalSocket::SocketTimeoutError;
}

void modPlatformImpl::LeaveSilentSession()
{
    const QString address = modSessionBus::Address();
    if (!address.isEmpty() && !modSessionBus::Answers(address))
        qputenv(Variable, "unix:path=/dev/null");
}
