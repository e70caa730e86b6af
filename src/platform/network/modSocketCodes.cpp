// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/modSocketCodes.h"

#include <cerrno>

int modSocketCodes::Of(long systemError)
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
        return ConnectionReset;
    case ENOBUFS:
        return 55;
    case EADDRNOTAVAIL:
        return AddressNotAvailable;
    case ETIMEDOUT:
        return ConnectTimedOut;
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

bool modSocketCodes::EndsAConnection(long systemError)
{
    return systemError == ECONNRESET || systemError == EPIPE || systemError == ECONNABORTED ||
           systemError == ENETRESET || systemError == ETIMEDOUT;
}

int modSocketCodes::OfStatus(long status)
{
    return status == 501 ? 500 : static_cast<int>(status);
}
