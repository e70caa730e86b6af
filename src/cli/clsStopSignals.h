// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C and SIGTERM as the Stop button of a run without a window.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

/// While it lives, SIGINT and SIGTERM call `stop` out of the event loop instead of ending the process. One at a time.
class clsStopSignals
{
public:
    explicit clsStopSignals(std::function<void()> stop);
    ~clsStopSignals();
    clsStopSignals(const clsStopSignals&) = delete;
    clsStopSignals& operator=(const clsStopSignals&) = delete;

private:
    std::function<void()> m_stop;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
