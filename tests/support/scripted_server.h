// SPDX-License-Identifier: GPL-3.0-or-later
// A web server on the loopback address whose every answer is scripted: right, wrong, late, broken off or never ending.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>
#include <chrono>
#include <functional>
#include <memory>

/// One request as it came in.
struct serverRequest
{
    QByteArray raw; ///< request line and headers to the blank line, every byte
    QByteArray method;
    QByteArray target;  ///< second word of the request line
    QByteArray host;    ///< value of the Host line
    int connection = 0; ///< which connection, from 1
};

/// What the server does with one request (or, as a greeting, with a connection): steps, carried out in order.
/// After the last step the connection waits for the next request, unless a step ended or silenced it.
class serverReply
{
public:
    /// A whole answer with a right Content-Length. `headers` are further lines, each ended by CR LF.
    static serverReply Page(const QByteArray& body, const QByteArray& headers = "Content-Type: text/html\r\n",
                            const QByteArray& status = "200 OK")
    {
        return Bytes("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) +
                     "\r\n\r\n" + body);
    }
    static serverReply Redirect(const QByteArray& location, const QByteArray& status = "302 Found")
    {
        return Page({}, "Location: " + location + "\r\n", status);
    }
    /// An answer that starts with these bytes, whatever they are.
    static serverReply Bytes(const QByteArray& bytes) { return serverReply().Send(bytes); }

    /// Puts a wait before everything else.
    serverReply& After(std::chrono::milliseconds wait) { return Put(0, {Kind::Pause, {}, wait}); }
    serverReply& Send(const QByteArray& bytes) { return Add({Kind::Send, bytes}); }
    serverReply& Pause(std::chrono::milliseconds wait) { return Add({Kind::Pause, {}, wait}); }
    /// `piece` bytes at a time, with a wait before each.
    serverReply& Drip(const QByteArray& bytes, int piece, std::chrono::milliseconds wait)
    {
        for (qsizetype at = 0; at < bytes.size(); at += piece)
            Pause(wait).Send(bytes.mid(at, piece));
        return *this;
    }
    /// These bytes for ever, as fast as the other side takes them.
    serverReply& Endless(const QByteArray& bytes) { return Add({Kind::Endless, bytes}); }
    /// Nothing more, connection left open.
    serverReply& Silent() { return Add({Kind::Silent, {}}); }
    /// Ends the connection in an orderly way, once everything was sent.
    serverReply& Close() { return Add({Kind::Close, {}}); }
    /// Ends the connection with a reset.
    serverReply& Reset() { return Add({Kind::Reset, {}}); }

private:
    friend class scriptedSteps;
    enum class Kind
    {
        Send,
        Pause,
        Endless,
        Silent,
        Close,
        Reset
    };
    struct Step
    {
        Kind kind;
        QByteArray bytes;
        std::chrono::milliseconds wait{0};
    };
    serverReply& Put(qsizetype place, const Step& step)
    {
        m_steps.insert(place, step);
        return *this;
    }
    serverReply& Add(const Step& step) { return Put(m_steps.size(), step); }
    QList<Step> m_steps;
};

/// Runs in a thread of its own, so that the program under test may block. Every function may be called from the test's
/// thread at any time.
class scriptedServer
{
public:
    using Handler = std::function<serverReply(const serverRequest&)>;
    struct Options
    {
        QHostAddress address = QHostAddress(QHostAddress::LocalHost);
        quint16 port = 0;       ///< 0: a free one
        QByteArray certificate; ///< PEM; with it the server speaks TLS
        QByteArray key;         ///< PEM, RSA
    };

    scriptedServer() : scriptedServer(Options()) {}
    explicit scriptedServer(const Options& options);
    ~scriptedServer();
    scriptedServer(const scriptedServer&) = delete;
    scriptedServer& operator=(const scriptedServer&) = delete;

    [[nodiscard]] quint16 Port() const { return m_port; }
    /// Address of a path ("/x") on this server, its host as a number.
    [[nodiscard]] QString Url(const QString& path = QStringLiteral("/")) const { return m_root + path; }

    /// The answer to this request target; others get a 404.
    void Answer(const QByteArray& target, const serverReply& reply) { Locked()->answers.insert(target, reply); }
    /// Asked (in the server's thread) for targets without an answer of their own.
    void AnswerOthers(const Handler& handler) { Locked()->others = handler; }
    /// What happens to each new connection before its first request.
    void Greet(const serverReply& greeting) { Locked()->greeting = greeting; }

    [[nodiscard]] QList<serverRequest> Requests() const { return Locked()->requests; }
    /// How many requests named this target.
    [[nodiscard]] int Count(const QByteArray& target) const;
    [[nodiscard]] int OpenConnections() const { return Locked()->open; } ///< at this moment
    [[nodiscard]] int PeakRequests() const { return Locked()->peak; }    ///< most being answered at one moment
    void Forget();                                                       ///< empties the records, keeps the answers

private:
    friend class scriptedConnection;
    /// What the test's thread and the server's thread both use.
    struct Shared
    {
        QMutex mutex;
        QHash<QByteArray, serverReply> answers;
        Handler others = [](const serverRequest&) {
            return serverReply::Page("gone", "Content-Type: text/plain\r\n", "404 Not Found");
        };
        serverReply greeting;
        QList<serverRequest> requests;
        int connections = 0;
        int open = 0;
        int answering = 0;
        int peak = 0;
    };
    /// The shared values, locked as long as this lives: to the end of the statement.
    struct Access
    {
        Shared* shared;
        QMutexLocker<QMutex> lock{&shared->mutex};
        Shared* operator->() const { return shared; }
    };
    [[nodiscard]] Access Locked() const { return Access{m_shared.get()}; }

    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
    QThread m_thread;
    QObject m_home; ///< lives in the thread; owns the listening socket and with it every connection
    quint16 m_port = 0;
    QString m_root;
};

namespace serverBody
{
QByteArray Gzip(const QByteArray& plain);
/// @param raw  a bare deflate stream, else one in a zlib wrapping; servers send both under the same name.
QByteArray Deflate(const QByteArray& plain, bool raw);
/// The body in chunks of `piece` bytes, last chunk included.
QByteArray Chunked(const QByteArray& body, int piece = 1000);
} // namespace serverBody
