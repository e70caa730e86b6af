// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes of a page into UTF-8, whatever they were written in.
#pragma once

#include <QByteArray>

namespace modPageEncoding
{
/// Decided by byte order mark, then `charset`, then the page's own meta element, then by being valid UTF-8, else
/// windows-1252. A byte that does not decode becomes U+FFFD. No byte order mark is left.
/// @param charset  of the answer's Content-Type, may be empty or unknown.
QByteArray ToUtf8(const QByteArray& body, const QByteArray& charset);

/// The charset parameter of a Content-Type value; empty when there is none.
QByteArray CharsetOf(const QByteArray& contentType);
} // namespace modPageEncoding
