// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/impl/modHTTPErrors.h"

#include <cerrno>

namespace
{
/// 0 for a system error without a number.
int SocketCode(long systemError)
{
    switch (systemError) {
    case EACCES:
        return 13;
    case ENETDOWN:
        return 50;
    case ENETUNREACH:
        return 51;
    case ENETRESET:
        return 52;
    case ECONNABORTED:
        return 53;
    case ECONNRESET:
    case EPIPE:
        return 54;
    case ENOBUFS:
        return 55;
    case EADDRNOTAVAIL:
        return modHTTPErrors::AddressNotAvailable;
    case ETIMEDOUT:
        return modHTTPErrors::ConnectTimedOut;
    case ECONNREFUSED:
        return 61;
    case EHOSTDOWN:
        return 64;
    case EHOSTUNREACH:
        return 65;
    default:
        return 0;
    }
}

/// While connecting, one address of several may have failed before another one answered; its error must not be taken
/// for that of the transfer.
bool EndsATransfer(long systemError)
{
    return systemError == ECONNRESET || systemError == EPIPE || systemError == ECONNABORTED ||
           systemError == ENETRESET || systemError == ETIMEDOUT;
}

/// 501 as a status would be taken for a time-out.
int StatusCode(long status)
{
    return status == modHTTPErrors::TransferTimedOut ? 500 : static_cast<int>(status);
}
} // namespace

int modHTTPErrors::Code(const Ending& ending)
{
    if (ending.status >= 400)
        return StatusCode(ending.status);
    const int other = OtherBase + ending.result;
    switch (ending.result) {
    case CURLE_OK:
        return 0;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return 1001;
    case CURLE_OPERATION_TIMEDOUT:
        return ending.connected ? TransferTimedOut : ConnectTimedOut;
    case CURLE_URL_MALFORMAT:
        return AddressNotAvailable;
    case CURLE_COULDNT_CONNECT:
        return SocketCode(ending.systemError) != 0 ? SocketCode(ending.systemError) : other;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        if (ending.proxyStatus >= 400)
            return StatusCode(ending.proxyStatus);
        return EndsATransfer(ending.systemError) ? SocketCode(ending.systemError) : other;
    default:
        return other;
    }
}
