// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/system/clsEndSignals.h"

#include "platform/clsError.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};
/// The handler writes into the first, the event loop reads from the second: a handler may do little more than write.
std::array<int, 2> s_sockets{-1, -1};
std::array<struct sigaction, Signals.size()> s_before;

extern "C" void OnEndSignal(int /*signal*/)
{
    const int saved = errno;
    const char byte = 1;
    // A full buffer means that a request is waiting to be read already.
    static_cast<void>(!::write(s_sockets[0], &byte, 1));
    errno = saved;
}
} // namespace

clsEndSignals::clsEndSignals(std::function<void()> asked) : m_asked(std::move(asked))
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, s_sockets.data()) != 0)
        throw clsError(clsError::DeviceUnavailable, u"No socket pair for the signals to end."_s, u"Signals"_s, errno);
    m_notifier = std::make_unique<QSocketNotifier>(s_sockets[1], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        std::array<char, 16> bytes;
        while (::read(s_sockets[1], bytes.data(), bytes.size()) > 0) {
        }
        m_asked();
    });
    struct sigaction action = {};
    action.sa_handler = &OnEndSignal;
    // Nothing else is to notice: interrupted calls begin again.
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals[i], &action, &s_before[i]);
}

clsEndSignals::~clsEndSignals()
{
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals[i], &s_before[i], nullptr);
    m_notifier.reset();
    for (int& descriptor : s_sockets)
        ::close(std::exchange(descriptor, -1));
}
