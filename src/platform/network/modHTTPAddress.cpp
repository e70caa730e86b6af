// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/modHTTPAddress.h"

#include <QHostAddress>
#include <QUrl>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int HttpPort = 80;
constexpr int HttpsPort = 443;

/// Host in its ASCII form, lower case; empty when it cannot be one.
QByteArray HostName(const QString& host)
{
    if (host.startsWith(u'[')) {
        const QHostAddress number(host.mid(1, host.size() - 2));
        if (!host.endsWith(u']') || number.protocol() != QAbstractSocket::IPv6Protocol || host.contains(u'%'))
            return {};
        return host.toLower().toLatin1();
    }
    bool plain = true;
    for (const QChar c : host) {
        if (c.unicode() >= 0x80)
            plain = false;
        else if (!c.isLetterOrNumber() && c != u'.' && c != u'-' && c != u'_')
            return {};
    }
    return plain ? host.toLower().toLatin1() : QUrl::toAce(host);
}

/// Splits "host", "host:port", "[v6]" or "[v6]:port". A missing port stays `defaultPort`.
std::optional<std::pair<QByteArray, int>> HostAndPort(const QString& text, int defaultPort)
{
    const qsizetype bracket = text.lastIndexOf(u']');
    const qsizetype colon = text.indexOf(u':', bracket + 1);
    const QByteArray host = HostName(text.left(colon));
    int port = defaultPort;
    if (const QString digits = colon < 0 ? QString() : text.mid(colon + 1); !digits.isEmpty()) {
        for (const QChar c : digits) {
            if (c < u'0' || c > u'9')
                return {};
        }
        bool fits = false;
        port = digits.toInt(&fits);
        if (!fits)
            return {};
    }
    if (host.isEmpty() || port < 1 || port > 65535)
        return {};
    return std::pair(host, port);
}

QByteArray Encoded(const QString& pathAndQuery)
{
    static const char hex[] = "0123456789ABCDEF";
    const QByteArray bytes = pathAndQuery.toUtf8();
    QByteArray encoded;
    encoded.reserve(bytes.size() + 16);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && byte < 0x7F)
            encoded.append(c);
        else
            encoded.append('%').append(hex[byte >> 4]).append(hex[byte & 15]);
    }
    return encoded;
}
} // namespace

clsHTTPAddress modHTTPAddress::Prepare(const QString& address, int defaultPort)
{
    QString rest = address.trimmed();
    const bool secure = rest.startsWith("https://"_L1, Qt::CaseInsensitive);
    if (!secure && !rest.startsWith("http://"_L1, Qt::CaseInsensitive))
        return {};
    rest.remove(0, secure ? 8 : 7);
    if (const qsizetype fragment = rest.indexOf(u'#'); fragment >= 0)
        rest.truncate(fragment);
    qsizetype end = 0;
    while (end < rest.size() && rest[end] != u'/' && rest[end] != u'?')
        ++end;
    QString authority = rest.left(end);
    authority.remove(0, authority.lastIndexOf(u'@') + 1);
    const auto server = HostAndPort(authority, secure ? HttpsPort : defaultPort);
    if (!server)
        return {};

    clsHTTPAddress prepared;
    prepared.name = server->first;
    prepared.host = server->first;
    if (server->second != (secure ? HttpsPort : HttpPort))
        prepared.host += ':' + QByteArray::number(server->second);
    QByteArray path = Encoded(rest.mid(end));
    if (!path.startsWith('/'))
        path.prepend('/');
    prepared.url = (secure ? "https://" : "http://") + prepared.host + path;
    return prepared;
}

clsHTTPProxy modHTTPAddress::PrepareProxy(const QString& proxy, int port)
{
    const QString text = proxy.trimmed();
    if (text.isEmpty())
        return {};
    const auto server = HostAndPort(text, port);
    if (!server)
        return {{}, false};
    return {"http://" + server->first + ':' + QByteArray::number(server->second), true};
}
