// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C, SIGTERM and a terminal that is closed, heard in the event loop: Stop for a run, the end for the window.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

/// While it lives, SIGINT, SIGTERM and SIGHUP call `asked` out of the event loop instead of ending the process. One at
/// a time. @throws clsError DeviceUnavailable
class clsEndSignals
{
public:
    explicit clsEndSignals(std::function<void()> asked);
    ~clsEndSignals();
    clsEndSignals(const clsEndSignals&) = delete;
    clsEndSignals& operator=(const clsEndSignals&) = delete;

private:
    std::function<void()> m_asked;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
