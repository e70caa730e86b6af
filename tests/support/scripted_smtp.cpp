// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scripted_smtp.h"

#include "support/scripted_steps.h"

#include <QMessageAuthenticationCode>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>

namespace
{
const QByteArray Challenge = "<1.2@test>";

class listeningServer : public QTcpServer
{
public:
    using QTcpServer::QTcpServer;
    std::function<void(qintptr)> accept;

protected:
    void incomingConnection(qintptr handle) override { accept(handle); }
};
} // namespace

/// One session.
class smtpConnection : public scriptedSteps
{
public:
    smtpConnection(QSslSocket* socket, std::shared_ptr<scriptedSmtp::Shared> shared)
        : scriptedSteps(socket), m_secure(socket), m_shared(std::move(shared)), m_options(m_shared->options)
    {
        if (!m_options.certificate.isEmpty()) {
            socket->setLocalCertificate(QSslCertificate(m_options.certificate));
            socket->setPrivateKey(QSslKey(m_options.key, QSsl::Rsa));
            socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        }
        Count(1);
        socket->setReadBufferSize(1 << 20); // a server that stands still takes no more than this
        connect(socket, &QTcpSocket::readyRead, this, [this] { NextLine(); });
        if (m_options.tls) {
            connect(socket, &QSslSocket::encrypted, this, [this] { Answer("greeting", "220 test ready"); });
            socket->startServerEncryption();
        } else {
            Answer("greeting", "220 test ready");
        }
    }

    ~smtpConnection() override { Count(-1); }
    smtpConnection(const smtpConnection&) = delete;
    smtpConnection& operator=(const smtpConnection&) = delete;

private:
    void Count(int more)
    {
        const QMutexLocker lock(&m_shared->mutex);
        m_shared->connections += more;
    }

    /// Counts a command. @return whether it is one of those that nothing is done for.
    [[nodiscard]] bool Stopped(const QByteArray& line)
    {
        const QMutexLocker lock(&m_shared->mutex);
        m_shared->commands += line;
        return m_shared->stopAt > 0 && m_shared->commands.size() >= m_shared->stopAt;
    }

    void Answer(const QByteArray& step, const QByteArray& usual)
    {
        serverReply reply = serverReply::Bytes(usual + "\r\n");
        {
            const QMutexLocker lock(&m_shared->mutex);
            reply = m_shared->replies.value(step, reply);
        }
        Run(reply);
    }

    [[nodiscard]] bool Scripted(const QByteArray& step) const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->replies.contains(step);
    }

    void StepsDone() override
    {
        if (std::exchange(m_startTls, false)) {
            m_socket->flush();
            m_secure->startServerEncryption();
        }
        NextLine();
    }

    void NextLine()
    {
        while (!Busy()) {
            m_input += m_socket->readAll();
            if (m_inData)
                return TakeData();
            const qsizetype end = m_input.indexOf("\r\n");
            if (end < 0)
                return;
            const QByteArray line = m_input.left(end);
            m_input.remove(0, end + 2);
            if (Stopped(line))
                return Run(serverReply().Silent());
            if (m_auth.isEmpty())
                Command(line);
            else
                Credentials(line);
        }
    }

    void Command(const QByteArray& line)
    {
        const QByteArray verb = line.split(' ')[0].toUpper();
        if (verb == "EHLO" || verb == "HELO") {
            QByteArrayList lines{"test"};
            if (verb == "EHLO")
                lines += m_secure->isEncrypted() ? m_options.encryptedOffers : m_options.offers;
            QByteArray reply;
            for (qsizetype i = 0; i < lines.size(); ++i)
                reply += (i > 0 ? "\r\n" : "") + QByteArray(i + 1 < lines.size() ? "250-" : "250 ") + lines[i];
            Answer(verb, reply);
        } else if (verb == "STARTTLS") {
            m_startTls = !Scripted("STARTTLS") || Scripted("then TLS");
            Answer("STARTTLS", "220 go on");
        } else if (verb == "AUTH") {
            m_auth = line.split(' ').value(1).toUpper();
            m_credentials.clear();
            Run(serverReply::Bytes(m_auth == "LOGIN"      ? "334 " + QByteArray("Username:").toBase64() + "\r\n"
                                   : m_auth == "CRAM-MD5" ? "334 " + Challenge.toBase64() + "\r\n"
                                                          : QByteArray("334 \r\n")));
        } else if (verb == "MAIL") {
            m_message = {line.mid(5), {}, {}};
            Answer(verb, "250 sender ok");
        } else if (verb == "RCPT") {
            m_message.recipients += line.mid(5);
            Answer(verb, "250 recipient ok");
        } else if (verb == "DATA") {
            m_inData = !Scripted("DATA") || Scripted("data");
            Answer("DATA", "354 go ahead");
        } else if (verb == "QUIT") {
            Run(serverReply::Bytes("221 bye\r\n").Close());
        } else {
            Run(serverReply::Bytes("500 unknown\r\n"));
        }
    }

    void Credentials(const QByteArray& line)
    {
        const QByteArray said = QByteArray::fromBase64(line);
        m_credentials += said;
        if (m_auth == "LOGIN" && m_credentials.size() == 1)
            return Run(serverReply::Bytes("334 " + QByteArray("Password:").toBase64() + "\r\n"));
        const QByteArray sum = QMessageAuthenticationCode::hash(Challenge, m_options.secret, QCryptographicHash::Md5);
        const bool right = m_auth == "PLAIN"   ? said == '\0' + m_options.user + '\0' + m_options.secret
                           : m_auth == "LOGIN" ? m_credentials == QByteArrayList{m_options.user, m_options.secret}
                           : m_auth == "CRAM-MD5"
                               ? said == m_options.user + ' ' + sum.toHex()
                               : said == "user=" + m_options.user + "\1auth=Bearer " + m_options.secret + "\1\1";
        m_auth.clear();
        if (right)
            Answer("AUTH", "235 welcome");
        else // a server that repeats what it was told, as some do
            Run(serverReply::Bytes("535 5.7.8 not you: " + said.right(30).replace('\0', ' ') + ' ' + line + "\r\n"));
    }

    void TakeData()
    {
        const qsizetype end = m_input.startsWith(".\r\n") ? 0 : m_input.indexOf("\r\n.\r\n");
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_shared->dataBytes += m_input.size() - m_counted;
            m_counted = m_input.size();
        }
        if (!m_input.isEmpty() && Scripted("data") && !std::exchange(m_spoke, true))
            return Answer("data", {});
        if (end < 0)
            return;
        m_inData = false;
        m_message.data = m_input.left(end == 0 ? 0 : end + 2);
        m_input.remove(0, end == 0 ? 3 : end + 5);
        m_counted = 0;
        if (Stopped("."))
            return Run(serverReply().Silent());
        {
            const QMutexLocker lock(&m_shared->mutex);
            m_shared->messages += m_message;
        }
        Answer("end", "250 taken as 4711");
    }

    QSslSocket* m_secure;
    std::shared_ptr<scriptedSmtp::Shared> m_shared;
    const scriptedSmtp::Options m_options;
    QByteArray m_input;
    QByteArray m_auth;
    QByteArrayList m_credentials;
    scriptedSmtp::Message m_message;
    qsizetype m_counted = 0;
    bool m_inData = false;
    bool m_startTls = false;
    bool m_spoke = false; ///< in the middle of the data
};

QByteArray scriptedSmtp::Message::Text() const
{
    QByteArray text = "\n" + data;
    return text.replace("\n.", "\n").mid(1);
}

scriptedSmtp::scriptedSmtp(const Options& options)
{
    m_shared->options = options;
    m_home.moveToThread(&m_thread);
    m_thread.start();
    const auto listen = [&] {
        auto* server = new listeningServer(&m_home);
        server->accept = [this, server](qintptr handle) {
            auto* socket = new QSslSocket(server);
            socket->setSocketDescriptor(handle);
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            new smtpConnection(socket, m_shared);
        };
        if (!server->listen(QHostAddress::LocalHost))
            qFatal("the scripted server cannot listen: %s", qPrintable(server->errorString()));
        m_port = server->serverPort();
    };
    QMetaObject::invokeMethod(&m_home, listen, Qt::BlockingQueuedConnection);
}

scriptedSmtp::~scriptedSmtp()
{
    const auto end = [this] { qDeleteAll(m_home.findChildren<QTcpServer*>()); };
    QMetaObject::invokeMethod(&m_home, end, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}
