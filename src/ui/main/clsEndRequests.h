// SPDX-License-Identifier: GPL-3.0-or-later
// Hears the system ask the program to end: signals to end, and the end of the desktop session.
#pragma once

#include "platform/system/clsEndSignals.h"

#include <QObject>

/// One at a time.
class clsEndRequests : public QObject
{
    Q_OBJECT

public:
    /// @param asked  called from the event loop, once for each request.
    explicit clsEndRequests(const std::function<void()>& asked);

private:
    clsEndSignals m_signals;
};
