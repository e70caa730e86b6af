// SPDX-License-Identifier: GPL-3.0-or-later
// Hears the system ask the program to end: signals to end, and the end of the desktop session.
#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

/// One at a time. While it lives SIGTERM, SIGINT and SIGHUP no longer kill the process.
class clsEndRequests : public QObject
{
    Q_OBJECT

public:
    /// @param asked  called from the event loop, once for each request.
    explicit clsEndRequests(std::function<void()> asked);
    ~clsEndRequests() override;

private:
    std::function<void()> m_asked;
    QSocketNotifier* m_notifier = nullptr;
};
