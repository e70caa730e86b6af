// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsEndRequests.h"

#include <QGuiApplication>
#include <QSessionManager>

clsEndRequests::clsEndRequests(const std::function<void()>& asked) : m_signals(asked)
{
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, [asked](QSessionManager& manager) {
        // The window saves what there is to save and asks nothing.
        manager.setRestartHint(QSessionManager::RestartIfRunning);
        asked();
    });
}
