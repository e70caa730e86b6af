// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/system/clsQtEventLoop.h"

#include "platform/modPlatformImpl.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

clsEventLoop::Outcome clsQtEventLoop::Wait(const std::function<bool()>& done, std::chrono::milliseconds limit)
{
    const bool limited = limit.count() > 0;
    const QDeadlineTimer deadline = limited ? QDeadlineTimer(limit) : QDeadlineTimer(QDeadlineTimer::Forever);
    // Sleeping for more events ends with an event only, so the deadline has to be one.
    QTimer alarm;
    alarm.setTimerType(Qt::PreciseTimer);
    alarm.setSingleShot(true);
    if (limited)
        alarm.start(limit);
    while (true) {
        if (m_interrupted)
            return Outcome::Ending;
        if (done())
            return Outcome::Done;
        if (deadline.hasExpired())
            return Outcome::TimedOut;
        // An alarm that went off inside a nested wait, or a hair before the deadline, must not leave this one asleep.
        if (limited && !alarm.isActive())
            alarm.start(std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()));
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
}

void clsQtEventLoop::Yield()
{
    QCoreApplication::processEvents();
}

void clsQtEventLoop::Interrupt()
{
    m_interrupted = true;
    if (auto* dispatcher = QAbstractEventDispatcher::instance())
        dispatcher->wakeUp();
}

std::unique_ptr<clsEventLoop> modPlatformImpl::MakeEventLoop()
{
    return std::make_unique<clsQtEventLoop>();
}
