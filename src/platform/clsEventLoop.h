// SPDX-License-Identifier: GPL-3.0-or-later
// The one place where a run waits while the window stays live.
#pragma once

#include <chrono>
#include <functional>

/// Waiting and yielding on the program's one thread.
class clsEventLoop
{
public:
    enum class Outcome
    {
        Done,     ///< the condition came true
        TimedOut, ///< the deadline passed first
        Ending,   ///< the program is told to end (Interrupt was called)
    };
    virtual ~clsEventLoop() = default;

    /// Sleeps in the event loop until `done` returns true (asked after every event), `limit` has passed, or the
    /// program is told to end. A limit of zero or below means none. No polling.
    [[nodiscard]] virtual Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds limit) = 0;
    /// Lets the events that are pending run once.
    virtual void Yield() = 0;
    /// Makes every Wait, present and to come, return Ending, newest first, until Resume.
    virtual void Interrupt() = 0;
    virtual void Resume() = 0;
};
