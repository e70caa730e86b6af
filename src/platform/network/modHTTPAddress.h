// SPDX-License-Identifier: GPL-3.0-or-later
// Addresses of records and of redirects, made fit for a request line.
#pragma once

#include <QByteArray>
#include <QString>

/// An address as it is requested. All parts are plain ASCII without blanks or control characters.
struct clsHTTPAddress
{
    QByteArray url;  ///< with the port unless it is the scheme's default; no fragment, no user name
    QByteArray host; ///< value of the Host line: the host, with ":port" unless it is the scheme's default
    QByteArray name; ///< the host alone, lower case, brackets included
    bool operator==(const clsHTTPAddress& other) const = default;
};

/// Where a proxy listens.
struct clsHTTPProxy
{
    QByteArray url; ///< empty: direct
    bool valid = true;
};

namespace modHTTPAddress
{
/// Blanks, control and non-ASCII characters are percent-encoded (UTF-8), the fragment and a user name are dropped,
/// a host of other letters becomes its ASCII form (RFC 5891), an IPv6 host keeps its brackets.
/// @param defaultPort  port of an http address that names none; https has 443.
/// @return empty `url` when it is no http or https address that could be requested.
clsHTTPAddress Prepare(const QString& address, int defaultPort);

/// @param proxy  host or host:port.  @param port  the proxy's port when the text names none.
clsHTTPProxy PrepareProxy(const QString& proxy, int port);
} // namespace modHTTPAddress
