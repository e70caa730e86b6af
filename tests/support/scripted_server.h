// SPDX-License-Identifier: GPL-3.0-or-later
// A web server on the loopback address whose every answer is scripted: right, wrong, late, broken off or never ending.
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QString>
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
                            const QByteArray& status = "200 OK");
    static serverReply Redirect(const QByteArray& location, const QByteArray& status = "302 Found");
    /// An answer that starts with these bytes, whatever they are.
    static serverReply Bytes(const QByteArray& bytes) { return serverReply().Send(bytes); }

    /// Puts a wait before everything else.
    serverReply& After(std::chrono::milliseconds wait);
    serverReply& Send(const QByteArray& bytes);
    serverReply& Pause(std::chrono::milliseconds wait);
    /// `piece` bytes at a time, with a wait before each.
    serverReply& Drip(const QByteArray& bytes, int piece, std::chrono::milliseconds wait);
    /// These bytes for ever, as fast as the other side takes them.
    serverReply& Endless(const QByteArray& bytes);
    /// Nothing more, connection left open.
    serverReply& Silent();
    /// Ends the connection in an orderly way, once everything was sent.
    serverReply& Close();
    /// Ends the connection with a reset.
    serverReply& Reset();

private:
    friend class scriptedConnection;
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

    scriptedServer();
    explicit scriptedServer(const Options& options);
    ~scriptedServer();
    scriptedServer(const scriptedServer&) = delete;
    scriptedServer& operator=(const scriptedServer&) = delete;

    [[nodiscard]] quint16 Port() const;
    /// Address of a path ("/x") on this server, its host as a number.
    [[nodiscard]] QString Url(const QString& path = QStringLiteral("/")) const;

    /// The answer to this request target; others get a 404.
    void Answer(const QByteArray& target, const serverReply& reply);
    /// Asked (in the server's thread) for targets without an answer of their own.
    void AnswerOthers(Handler handler);
    /// What happens to each new connection before its first request.
    void Greet(const serverReply& greeting);

    [[nodiscard]] QList<serverRequest> Requests() const;
    /// How many requests named this target.
    [[nodiscard]] int Count(const QByteArray& target) const;
    [[nodiscard]] int Connections() const;     ///< accepted so far
    [[nodiscard]] int OpenConnections() const; ///< at this moment
    [[nodiscard]] int PeakRequests() const;    ///< most requests being answered at one moment
    void Forget();                             ///< empties the records, keeps the answers

    struct Shared;

private:
    std::shared_ptr<Shared> m_shared;
    struct Running;
    std::unique_ptr<Running> m_running;
};

namespace serverBody
{
QByteArray Gzip(const QByteArray& plain);
/// @param raw  a bare deflate stream, else one in a zlib wrapping; servers send both under the same name.
QByteArray Deflate(const QByteArray& plain, bool raw);
/// The body in chunks of `piece` bytes, last chunk included.
QByteArray Chunked(const QByteArray& body, int piece = 1000);
} // namespace serverBody
