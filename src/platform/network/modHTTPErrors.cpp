// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/modHTTPErrors.h"

int modHTTPErrors::Code(const Ending& ending)
{
    if (ending.status >= 400)
        return modSocketCodes::OfStatus(ending.status);
    const int other = OtherBase + ending.result;
    switch (ending.result) {
    case CURLE_OK:
        return 0;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return modSocketCodes::HostNotFound;
    case CURLE_OPERATION_TIMEDOUT:
        return ending.connected ? TransferTimedOut : ConnectTimedOut;
    case CURLE_URL_MALFORMAT:
        return AddressNotAvailable;
    case CURLE_COULDNT_CONNECT:
        return modSocketCodes::Of(ending.systemError) != 0 ? modSocketCodes::Of(ending.systemError) : other;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        if (ending.proxyStatus >= 400)
            return modSocketCodes::OfStatus(ending.proxyStatus);
        return modSocketCodes::EndsAConnection(ending.systemError) ? modSocketCodes::Of(ending.systemError) : other;
    default:
        return other;
    }
}
