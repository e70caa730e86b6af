// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scripted_server.h"

#include <QHash>
#include <QMutex>
#include <QSemaphore>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <sys/socket.h>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;

serverReply serverReply::Page(const QByteArray& body, const QByteArray& headers, const QByteArray& status)
{
    return Bytes("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) +
                 "\r\n\r\n" + body);
}

serverReply serverReply::Redirect(const QByteArray& location, const QByteArray& status)
{
    return Page({}, "Location: " + location + "\r\n", status);
}

serverReply& serverReply::After(std::chrono::milliseconds wait)
{
    m_steps.prepend({Kind::Pause, {}, wait});
    return *this;
}

serverReply& serverReply::Send(const QByteArray& bytes)
{
    m_steps.append({Kind::Send, bytes});
    return *this;
}

serverReply& serverReply::Pause(std::chrono::milliseconds wait)
{
    m_steps.append({Kind::Pause, {}, wait});
    return *this;
}

serverReply& serverReply::Drip(const QByteArray& bytes, int piece, std::chrono::milliseconds wait)
{
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        Pause(wait).Send(bytes.mid(at, piece));
    return *this;
}

serverReply& serverReply::Endless(const QByteArray& bytes)
{
    m_steps.append({Kind::Endless, bytes});
    return *this;
}

serverReply& serverReply::Silent()
{
    m_steps.append({Kind::Silent, {}});
    return *this;
}

serverReply& serverReply::Close()
{
    m_steps.append({Kind::Close, {}});
    return *this;
}

serverReply& serverReply::Reset()
{
    m_steps.append({Kind::Reset, {}});
    return *this;
}

struct scriptedServer::Shared
{
    mutable QMutex mutex;
    QHash<QByteArray, serverReply> answers;
    Handler others;
    serverReply greeting;
    QList<serverRequest> requests;
    int connections = 0;
    int open = 0;
    int answering = 0;
    int peak = 0;
    quint16 port = 0;
    QString host;
    bool tls = false;
};

/// One accepted connection; deletes itself with its socket.
class scriptedConnection : public QObject
{
public:
    scriptedConnection(QTcpSocket* socket, std::shared_ptr<scriptedServer::Shared> shared)
        : QObject(socket), m_socket(socket), m_shared(std::move(shared))
    {
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_number = ++m_shared->connections;
            ++m_shared->open;
            m_steps = m_shared->greeting.m_steps;
        }
        m_wait.setSingleShot(true);
        m_wait.setTimerType(Qt::PreciseTimer);
        connect(&m_wait, &QTimer::timeout, this, [this] { Go(); });
        connect(socket, &QTcpSocket::readyRead, this, [this] { Read(); });
        connect(socket, &QTcpSocket::bytesWritten, this, [this] { Feed(); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        Go();
    }
    ~scriptedConnection() override
    {
        const QMutexLocker lock(&m_shared->mutex);
        --m_shared->open;
        if (m_answering)
            --m_shared->answering;
    }

private:
    void Read()
    {
        m_input += m_socket->readAll();
        if (!m_busy)
            NextRequest();
    }

    void NextRequest()
    {
        const qsizetype end = m_input.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        serverRequest request;
        request.raw = m_input.left(end + 4);
        m_input.remove(0, end + 4);
        const QList<QByteArray> words = request.raw.left(request.raw.indexOf("\r\n")).split(' ');
        request.method = words.value(0);
        request.target = words.value(1);
        request.connection = m_number;
        for (const QByteArray& line : request.raw.split('\n')) {
            if (line.toLower().startsWith("host:"))
                request.host = line.mid(5).trimmed();
        }
        scriptedServer::Handler others;
        bool known = false;
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_shared->requests.append(request);
            m_answering = true;
            m_shared->peak = qMax(m_shared->peak, ++m_shared->answering);
            const auto answer = m_shared->answers.constFind(request.target);
            known = answer != m_shared->answers.cend();
            if (known)
                m_steps = answer->m_steps;
            else
                others = m_shared->others;
        }
        if (!known)
            m_steps =
                (others ? others(request) : serverReply::Page("gone", "Content-Type: text/plain\r\n", "404 Not Found"))
                    .m_steps;
        Go();
    }

    void Go()
    {
        m_busy = true;
        while (!m_steps.isEmpty()) {
            const serverReply::Step step = m_steps.takeFirst();
            switch (step.kind) {
            case serverReply::Kind::Send:
                m_socket->write(step.bytes);
                break;
            case serverReply::Kind::Pause:
                m_wait.start(step.wait);
                return;
            case serverReply::Kind::Endless:
                m_endless = step.bytes;
                Feed();
                return;
            case serverReply::Kind::Silent:
                return;
            case serverReply::Kind::Close:
                m_socket->disconnectFromHost();
                return;
            case serverReply::Kind::Reset: {
                m_socket->flush();
                const linger now{1, 0};
                setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof now);
                m_socket->abort();
                return;
            }
            }
        }
        m_busy = false;
        if (m_answering) {
            const QMutexLocker lock(&m_shared->mutex);
            --m_shared->answering;
            m_answering = false;
        }
        if (!m_input.isEmpty())
            NextRequest();
    }

    void Feed()
    {
        while (!m_endless.isEmpty() && m_socket->state() == QAbstractSocket::ConnectedState &&
               m_socket->bytesToWrite() < 1 << 18)
            m_socket->write(m_endless);
    }

    QTcpSocket* m_socket;
    std::shared_ptr<scriptedServer::Shared> m_shared;
    QList<serverReply::Step> m_steps;
    QTimer m_wait;
    QByteArray m_input;
    QByteArray m_endless;
    int m_number = 0;
    bool m_busy = false;
    bool m_answering = false;
};

struct scriptedServer::Running
{
    QThread thread;
    QObject home; ///< lives in the thread; owns the listening socket and with it every connection
};

scriptedServer::scriptedServer() : scriptedServer(Options()) {}

scriptedServer::scriptedServer(const Options& options)
    : m_shared(std::make_shared<Shared>()), m_running(std::make_unique<Running>())
{
    m_shared->tls = !options.certificate.isEmpty();
    m_shared->host = options.address.protocol() == QAbstractSocket::IPv6Protocol ? u"[%1]"_s : u"%1"_s;
    m_shared->host = m_shared->host.arg(
        options.address == QHostAddress(QHostAddress::Any) ? u"127.0.0.1"_s : options.address.toString());
    m_running->home.moveToThread(&m_running->thread);
    m_running->thread.start();
    const auto listen = [this, options] {
        QTcpServer* server = nullptr;
        if (m_shared->tls) {
            auto* tls = new QSslServer(&m_running->home);
            QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
            configuration.setLocalCertificate(QSslCertificate(options.certificate));
            configuration.setPrivateKey(QSslKey(options.key, QSsl::Rsa));
            configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
            tls->setSslConfiguration(configuration);
            server = tls;
        } else {
            server = new QTcpServer(&m_running->home);
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
        m_shared->port = server->serverPort();
    };
    QMetaObject::invokeMethod(&m_running->home, listen, Qt::BlockingQueuedConnection);
}

scriptedServer::~scriptedServer()
{
    const auto end = [this] { qDeleteAll(m_running->home.findChildren<QTcpServer*>()); };
    QMetaObject::invokeMethod(&m_running->home, end, Qt::BlockingQueuedConnection);
    m_running->thread.quit();
    m_running->thread.wait();
}

quint16 scriptedServer::Port() const
{
    return m_shared->port;
}

QString scriptedServer::Url(const QString& path) const
{
    return u"%1://%2:%3%4"_s.arg(m_shared->tls ? u"https"_s : u"http"_s, m_shared->host, QString::number(Port()), path);
}

void scriptedServer::Answer(const QByteArray& target, const serverReply& reply)
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->answers.insert(target, reply);
}

void scriptedServer::AnswerOthers(Handler handler)
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->others = std::move(handler);
}

void scriptedServer::Greet(const serverReply& greeting)
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->greeting = greeting;
}

QList<serverRequest> scriptedServer::Requests() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->requests;
}

int scriptedServer::Count(const QByteArray& target) const
{
    const QMutexLocker lock(&m_shared->mutex);
    return static_cast<int>(std::count_if(m_shared->requests.cbegin(), m_shared->requests.cend(),
                                          [&](const serverRequest& r) { return r.target == target; }));
}

int scriptedServer::Connections() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->connections;
}

int scriptedServer::OpenConnections() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->open;
}

int scriptedServer::PeakRequests() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->peak;
}

void scriptedServer::Forget()
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->requests.clear();
    m_shared->connections = 0;
    m_shared->peak = 0;
}

namespace
{
QByteArray Deflated(const QByteArray& plain, int windowBits)
{
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    QByteArray packed(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(plain.size()))),
                      Qt::Uninitialized);
    QByteArray input = plain;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return packed;
}
} // namespace

QByteArray serverBody::Gzip(const QByteArray& plain)
{
    return Deflated(plain, MAX_WBITS + 16);
}

QByteArray serverBody::Deflate(const QByteArray& plain, bool raw)
{
    return Deflated(plain, raw ? -MAX_WBITS : MAX_WBITS);
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
