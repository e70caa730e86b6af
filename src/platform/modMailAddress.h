// SPDX-License-Identifier: GPL-3.0-or-later
// Mail addresses as they travel (RFC 5321, RFC 5891).
#pragma once

#include <QString>

namespace modMailAddress
{
/// True when an address can stand in a command: not empty, without blanks, control characters or angle brackets.
bool MayTravel(const QString& address);
/// The address with its domain in ASCII (punycode). A part before the "@" that is not ASCII stays.
/// @return empty when the domain has no such form.
QString WithAsciiDomain(const QString& address);
/// The domain in ASCII; empty when there is none.
QString Domain(const QString& address);
bool IsAscii(const QString& text);
} // namespace modMailAddress
