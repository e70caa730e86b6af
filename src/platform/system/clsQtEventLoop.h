// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting in Qt's event loop.
#pragma once

#include "platform/clsEventLoop.h"

/// Waits may be nested: an inner one runs inside the events of an outer one, and each keeps its own deadline.
class clsQtEventLoop final : public clsEventLoop
{
public:
    [[nodiscard]] Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds limit) override;
    void Yield() override;
    void Interrupt() override;
    void Resume() override { m_interrupted = false; }

private:
    bool m_interrupted = false;
};
