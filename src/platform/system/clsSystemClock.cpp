// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/clsClock.h"
#include "platform/modPlatformImpl.h"

namespace
{
class clsSystemClock final : public clsClock
{
public:
    QDateTime Now() const override { return QDateTime::currentDateTime(); }
    std::chrono::milliseconds Monotonic() const override
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
    }
};
} // namespace

std::unique_ptr<clsClock> modPlatformImpl::MakeClock()
{
    return std::make_unique<clsSystemClock>();
}
