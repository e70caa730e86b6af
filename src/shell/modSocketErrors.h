// SPDX-License-Identifier: GPL-3.0-or-later
// Socket error numbers to code names and messages, for link test, mail and import.
#pragma once

#include <QString>

namespace modSocketErrors
{
/// @param number    socket error less 10000 (host look-up errors 1001 to 1004), 501 for a time-out.
/// @param codeName  receives the code's name, empty for an unknown number; may be null.
/// @param advice    the two-line form with advice, where there is one.
QString SocketErrorText(int number, QString* codeName = nullptr, bool advice = false);
} // namespace modSocketErrors
