// SPDX-License-Identifier: GPL-3.0-or-later
// System errors of sockets as the numbers that the program knows (see modSocketErrors for their texts).
#pragma once

namespace modSocketCodes
{
constexpr int AddressNotAvailable = 49;
constexpr int ConnectionReset = 54;
constexpr int ConnectTimedOut = 60;
constexpr int HostNotFound = 1001;
constexpr int OtherBase = 900; ///< what has no number of its own: this and the library's code

/// Socket error number less 10000; 0 for a system error without one.
int Of(long systemError);
/// True for the errors that end a connection which stood. While connecting, one address of several may have failed
/// before another one answered; its error must not be taken for that of the transfer.
bool EndsAConnection(long systemError);
/// A server's status or reply code as an error number: 501 is a time-out's, so it becomes 500.
int OfStatus(long status);
} // namespace modSocketCodes
