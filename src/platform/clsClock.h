// SPDX-License-Identifier: GPL-3.0-or-later
// The time of day and a clock that never jumps.
#pragma once

#include <QDateTime>
#include <chrono>

class clsClock
{
public:
    virtual ~clsClock() = default;
    /// Local time.
    [[nodiscard]] virtual QDateTime Now() const = 0;
    /// Time since an arbitrary start; unaffected by changes of the clock.
    [[nodiscard]] virtual std::chrono::milliseconds Monotonic() const = 0;
};
