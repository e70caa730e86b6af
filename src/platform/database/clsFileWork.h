// SPDX-License-Identifier: GPL-3.0-or-later
// What the worker and the event loop know together of a piece of work on a file: how far it is, and whether it is to
// stop.
#pragma once

#include <QObject>
#include <algorithm>
#include <atomic>

class clsFileWork
{
public:
    // On the worker thread.
    /// The part of the whole, in percent, that the next stretch of work counts for.
    void SetPart(int from, int to)
    {
        m_from = from;
        m_to = to;
        Advance(0, 1);
    }
    void Advance(qint64 done, qint64 total)
    {
        const qint64 share = total > 0 ? std::min(done, total) * (m_to - m_from) / total : 0;
        const int percent = m_from + static_cast<int>(share);
        if (m_percent.exchange(percent) != percent) // whoever waits asks after every event: this is one
            QMetaObject::invokeMethod(
                &m_home, [] {}, Qt::QueuedConnection);
    }
    [[nodiscard]] bool Stopped() const { return m_stop; }
    [[nodiscard]] const std::atomic<bool>& StopFlag() const { return m_stop; }

    // On the program's thread.
    [[nodiscard]] int Percent() const { return m_percent; }
    void Stop() { m_stop = true; }

private:
    QObject m_home;
    int m_from = 0;
    int m_to = 100;
    std::atomic<int> m_percent{0};
    std::atomic<bool> m_stop{false};
};
