// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/clsEndRequests.h"

#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr std::array Signals{SIGTERM, SIGINT, SIGHUP};
/// A handler may do next to nothing: it writes a byte here, and the event loop reads it there.
std::array<int, 2> s_pair{-1, -1};

void Wake(int)
{
    const char byte = 1;
    // A full socket means that a request is waiting already.
    [[maybe_unused]] const ssize_t written = ::write(s_pair[0], &byte, sizeof byte);
}
} // namespace
#endif

clsEndRequests::clsEndRequests(std::function<void()> asked) : m_asked(std::move(asked))
{
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, [this](QSessionManager& manager) {
        // The window saves what there is to save and asks nothing.
        manager.setRestartHint(QSessionManager::RestartIfRunning);
        m_asked();
    });
#ifdef Q_OS_UNIX
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, s_pair.data()) != 0)
        return;
    m_notifier = new QSocketNotifier(s_pair[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> bytes{};
        while (::read(s_pair[1], bytes.data(), bytes.size()) > 0) {
        }
        m_asked();
    });
    for (const int number : Signals) {
        struct sigaction action = {};
        action.sa_handler = Wake;
        action.sa_flags = SA_RESTART;
        ::sigaction(number, &action, nullptr);
    }
#endif
}

clsEndRequests::~clsEndRequests()
{
#ifdef Q_OS_UNIX
    for (const int number : Signals)
        ::signal(number, SIG_DFL);
    delete m_notifier;
    for (int& end : s_pair) {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
#endif
}
