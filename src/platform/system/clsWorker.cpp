// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/system/clsWorker.h"

#include <QMetaObject>

clsWorker::clsWorker() : m_thread([this] { Run(); }) {}

clsWorker::~clsWorker()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_entries.clear();
    }
    m_wake.notify_one();
    m_thread.join();
}

clsWorker::Ticket clsWorker::Enqueue(Job job)
{
    auto abandoned = std::make_shared<std::atomic<bool>>(false);
    {
        const std::lock_guard lock(m_mutex);
        m_entries.push_back({std::move(job), abandoned});
    }
    m_wake.notify_one();
    return Ticket(std::move(abandoned));
}

void clsWorker::Run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_wake.wait(lock, [this] { return m_ending || !m_entries.empty(); });
        if (m_ending)
            return;
        Entry entry = std::move(m_entries.front());
        m_entries.pop_front();
        lock.unlock();
        if (!entry.abandoned->load()) {
            const auto deliver = [abandoned = entry.abandoned, done = entry.job()] {
                if (!abandoned->load())
                    done();
            };
            QMetaObject::invokeMethod(&m_home, deliver, Qt::QueuedConnection);
        }
        entry = {};
        lock.lock();
    }
}
