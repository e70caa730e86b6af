// SPDX-License-Identifier: GPL-3.0-or-later
// A web server of a few fixed pages by QTcpServer: HTTP/1.1, GET, one request a connection (RFC 9112).
#include "platform/clsPageServer.h"
#include "platform/modPlatformImpl.h"

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Longer requests are none of the link test's.
constexpr qsizetype LongestRequest = 16 * 1024;

QByteArray PageOf(const QList<QByteArray>& fields)
{
    const auto escaped = [](const QByteArray& text) { return QString::fromUtf8(text).toHtmlEscaped().toUtf8(); };
    const auto each = [&](const QByteArray& list, const auto& element) {
        QByteArray elements;
        if (list != "-") {
            for (const QByteArray& one : list.split(' '))
                elements += element(escaped(one));
        }
        return elements;
    };
    return "<!DOCTYPE html>\n<html>\n<head><meta charset=\"utf-8\"><title>" + escaped(fields[3]) +
           "</title></head>\n<body>\n<h1>" + escaped(fields[3]) + "</h1>\n" +
           each(fields[5], [](const QByteArray& src) { return "<img src=\"" + src + "\" alt=\"\">\n"; }) +
           each(fields[4],
                [](const QByteArray& href) { return "<p><a href=\"" + href + "\">" + href + "</a></p>\n"; }) +
           "</body>\n</html>\n";
}

class clsLoopbackPages final : public clsPageServer
{
public:
    clsLoopbackPages(const QByteArray& pages, quint16 port)
    {
        for (const QByteArray& line : pages.split('\n')) {
            constexpr qsizetype columns = 6;
            const QList<QByteArray> fields = line.split('\t');
            if (!line.startsWith('#') && fields.size() == columns)
                m_pages.insert(fields[0] + fields[1], {fields[2], fields[2] == "200" ? PageOf(fields) : QByteArray()});
        }
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket* caller = m_server.nextPendingConnection())
                Serve(*caller);
        });
        m_server.listen(QHostAddress::LocalHost, port);
    }
    [[nodiscard]] bool Serving() const override { return m_server.isListening(); }

private:
    struct Page
    {
        QByteArray status = "404";
        QByteArray body;
    };

    void Serve(QTcpSocket& caller)
    {
        QObject::connect(&caller, &QTcpSocket::disconnected, &caller, &QObject::deleteLater);
        QObject::connect(&caller, &QTcpSocket::readyRead, &caller, [this, &caller] {
            const QByteArray request = caller.peek(LongestRequest);
            if (request.contains("\r\n\r\n"))
                Answer(caller, request);
            else if (request.size() == LongestRequest)
                caller.abort();
        });
    }

    void Answer(QTcpSocket& caller, const QByteArray& request)
    {
        caller.readAll();
        const QList<QByteArray> lines = request.split('\n');
        QByteArray host;
        for (const QByteArray& line : lines) {
            if (line.toLower().startsWith("host:"))
                host = line.mid(5).trimmed().split(':').first().toLower();
        }
        const Page page = m_pages.value(host + lines.first().split(' ').value(1));
        caller.write("HTTP/1.1 " + page.status + " \r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
                     QByteArray::number(page.body.size()) + "\r\nConnection: close\r\n\r\n" + page.body);
        caller.disconnectFromHost();
    }

    QHash<QByteArray, Page> m_pages; ///< by host and path
    QTcpServer m_server;
};
} // namespace

std::unique_ptr<clsPageServer> modPlatformImpl::MakePageServer(const QByteArray& pages, quint16 port)
{
    return std::make_unique<clsLoopbackPages>(pages, port);
}
