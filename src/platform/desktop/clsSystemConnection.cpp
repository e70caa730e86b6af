// SPDX-License-Identifier: GPL-3.0-or-later
// The machine's network as its connection manager sees it.
#include "platform/clsConnection.h"
#include "platform/modPlatformImpl.h"

#include <QNetworkInformation>

using namespace Qt::Literals::StringLiterals;

namespace
{
class clsSystemConnection final : public clsConnection
{
public:
    bool Connected() const override
    {
        if (qEnvironmentVariable("BRAMBURY_OFFLINE") == u"1"_s)
            return false;
        // Only a manager that looks after the connections can tell that there is none. A back end that merely looks
        // for a default route would call a machine disconnected that reaches its own servers and its local network.
        static const bool managed = QNetworkInformation::loadBackendByName(u"networkmanager"_s);
        return !managed ||
               QNetworkInformation::instance()->reachability() != QNetworkInformation::Reachability::Disconnected;
    }
    // Nothing dials on the systems of today, so there is never anything to hang up.
    bool Dial() override { return false; }
    void HangUp() override {}
};
} // namespace

std::unique_ptr<clsConnection> modPlatformImpl::MakeConnection()
{
    return std::make_unique<clsSystemConnection>();
}
