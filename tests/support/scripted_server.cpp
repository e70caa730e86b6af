// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scripted_server.h"

#include "support/scripted_steps.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QtEndian>
#include <algorithm>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;

/// One accepted connection; deletes itself with its socket.
class scriptedConnection : public scriptedSteps
{
public:
    scriptedConnection(QTcpSocket* socket, std::shared_ptr<scriptedServer::Shared> shared)
        : scriptedSteps(socket), m_shared(std::move(shared))
    {
        serverReply greeting;
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_number = ++m_shared->connections;
            ++m_shared->open;
            greeting = m_shared->greeting;
        }
        connect(socket, &QTcpSocket::readyRead, this, [this] {
            m_input += m_socket->readAll();
            if (!Busy())
                NextRequest();
        });
        Run(greeting);
    }
    ~scriptedConnection() override
    {
        const QMutexLocker lock(&m_shared->mutex);
        --m_shared->open;
        m_shared->answering -= m_answering ? 1 : 0;
    }

private:
    void NextRequest()
    {
        const qsizetype end = m_input.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        serverRequest request;
        request.connection = m_number;
        request.raw = m_input.left(end + 4);
        m_input.remove(0, end + 4);
        const QList<QByteArray> lines = request.raw.split('\n');
        request.method = lines[0].split(' ').value(0);
        request.target = lines[0].trimmed().split(' ').value(1);
        for (const QByteArray& line : lines) {
            if (line.toLower().startsWith("host:"))
                request.host = line.mid(5).trimmed();
        }
        serverReply reply;
        scriptedServer::Handler others;
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_shared->requests.append(request);
            m_answering = true;
            m_shared->peak = qMax(m_shared->peak, ++m_shared->answering);
            reply = m_shared->answers.value(request.target);
            if (!m_shared->answers.contains(request.target))
                others = m_shared->others;
        }
        Run(others ? others(request) : reply);
    }

    void StepsDone() override
    {
        if (std::exchange(m_answering, false)) {
            const QMutexLocker lock(&m_shared->mutex);
            --m_shared->answering;
        }
        NextRequest();
    }

    std::shared_ptr<scriptedServer::Shared> m_shared;
    QByteArray m_input;
    int m_number = 0;
    bool m_answering = false;
};

scriptedServer::scriptedServer(const Options& options)
{
    m_home.moveToThread(&m_thread);
    m_thread.start();
    const bool tls = !options.certificate.isEmpty();
    const auto listen = [&] {
        QTcpServer* server = tls ? new QSslServer(&m_home) : new QTcpServer(&m_home);
        if (tls) {
            QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
            configuration.setLocalCertificate(QSslCertificate(options.certificate));
            configuration.setPrivateKey(QSslKey(options.key, QSsl::Rsa));
            configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
            static_cast<QSslServer*>(server)->setSslConfiguration(configuration);
        }
        server->setListenBacklogSize(1024);
        QObject::connect(server, &QTcpServer::pendingConnectionAvailable, server, [this, server] {
            while (QTcpSocket* socket = server->nextPendingConnection()) {
                socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                new scriptedConnection(socket, m_shared);
            }
        });
        if (!server->listen(options.address, options.port))
            qFatal("the scripted server cannot listen: %s", qPrintable(server->errorString()));
        m_port = server->serverPort();
    };
    QMetaObject::invokeMethod(&m_home, listen, Qt::BlockingQueuedConnection);
    const bool any = options.address == QHostAddress(QHostAddress::Any);
    const QString host = any ? u"127.0.0.1"_s : options.address.toString();
    m_root =
        u"%1://%2:%3"_s.arg(tls ? u"https"_s : u"http"_s, host.contains(u':') ? u"[%1]"_s.arg(host) : host).arg(m_port);
}

scriptedServer::~scriptedServer()
{
    const auto end = [this] { qDeleteAll(m_home.findChildren<QTcpServer*>()); };
    QMetaObject::invokeMethod(&m_home, end, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

int scriptedServer::Count(const QByteArray& target) const
{
    const QList<serverRequest> requests = Requests();
    return static_cast<int>(std::ranges::count(requests, target, &serverRequest::target));
}

void scriptedServer::Forget()
{
    const Access shared = Locked();
    shared->requests.clear();
    shared->connections = 0;
    shared->peak = 0;
}

QByteArray serverBody::Gzip(const QByteArray& plain)
{
    const auto size = static_cast<quint32>(plain.size());
    const auto sum = static_cast<quint32>(crc32(0, reinterpret_cast<const Bytef*>(plain.data()), size));
    const quint32 end[] = {qToLittleEndian(sum), qToLittleEndian(size)};
    return QByteArray("\x1F\x8B\x08\0\0\0\0\0\0\3", 10) + Deflate(plain, true) +
           QByteArray(reinterpret_cast<const char*>(end), sizeof end);
}

QByteArray serverBody::Deflate(const QByteArray& plain, bool raw)
{
    const QByteArray packed = qCompress(plain, 9).sliced(4); // what Qt puts before the zlib wrapping
    return raw ? packed.sliced(2, packed.size() - 6) : packed;
}

QByteArray serverBody::Chunked(const QByteArray& body, int piece)
{
    QByteArray chunks;
    for (qsizetype at = 0; at < body.size(); at += piece) {
        const QByteArray part = body.mid(at, piece);
        chunks += QByteArray::number(part.size(), 16) + "\r\n" + part + "\r\n";
    }
    return chunks + "0\r\n\r\n";
}
