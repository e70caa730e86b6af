// SPDX-License-Identifier: GPL-3.0-or-later
// The one place where failures of a download become the numbers that the program knows.
#pragma once

#include "platform/network/modSocketCodes.h"

#include <curl/curl.h>

namespace modHTTPErrors
{
using modSocketCodes::AddressNotAvailable; ///< also a malformed address and a scheme other than http and https
using modSocketCodes::ConnectTimedOut;
using modSocketCodes::OtherBase;
constexpr int TransferTimedOut = 501;

/// What is known of a transfer that ended.
struct Ending
{
    CURLcode result = CURLE_OK;
    long systemError = 0;   ///< errno of the last socket call that failed, 0 unknown
    bool connected = false; ///< the request could be sent
    long status = 0;        ///< HTTP status of the answer, 0 none
    long proxyStatus = 0;   ///< HTTP status of a proxy's answer to CONNECT, 0 none
};

/// Socket error number less 10000, 501, an HTTP status, or a number from 900 on. 0: no error.
int Code(const Ending& ending);
} // namespace modHTTPErrors
