// SPDX-License-Identifier: GPL-3.0-or-later
// One thread for work that would hold the window up. It takes values and returns values; what it works on belongs to it
// alone.
#pragma once

#include <QObject>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

/// Jobs run one after the other, in the order they were given. Results arrive on the thread that made the worker, out
/// of its event loop.
class clsWorker
{
public:
    /// A job that was given. Letting go of it abandons the job: if it has not begun it never will, and its result is
    /// dropped.
    class Ticket
    {
    public:
        Ticket() = default;
        explicit Ticket(std::shared_ptr<std::atomic<bool>> abandoned) : m_abandoned(std::move(abandoned)) {}
        ~Ticket() { Abandon(); }
        Ticket(Ticket&& other) noexcept = default;
        Ticket& operator=(Ticket&& other) noexcept
        {
            Abandon();
            m_abandoned = std::move(other.m_abandoned);
            return *this;
        }
        void Abandon()
        {
            if (m_abandoned)
                m_abandoned->store(true);
            m_abandoned.reset();
        }

    private:
        std::shared_ptr<std::atomic<bool>> m_abandoned;
    };

    clsWorker();
    /// Drops what has not begun and waits for the job that has: a thread may not outlive what it works with.
    ~clsWorker();
    clsWorker(const clsWorker&) = delete;
    clsWorker& operator=(const clsWorker&) = delete;

    /// @param work  runs on the worker thread; must own what it needs and may not throw.
    /// @param done  gets what `work` returned, on the program's thread.
    template <class Work, class Done> [[nodiscard]] Ticket Give(Work work, Done done)
    {
        return Enqueue([work = std::move(work), done = std::move(done)]() mutable -> std::function<void()> {
            return [done = std::move(done), result = work()]() mutable { done(std::move(result)); };
        });
    }

private:
    using Job = std::function<std::function<void()>()>;
    Ticket Enqueue(Job job);
    void Run();

    struct Entry
    {
        Job job;
        std::shared_ptr<std::atomic<bool>> abandoned;
    };
    QObject m_home; ///< results are events of this object: they die with it
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Entry> m_entries;
    bool m_ending = false;
    std::thread m_thread;
};
