// SPDX-License-Identifier: GPL-3.0-or-later
// A mail server on the loopback address: well-behaved by itself, and at any step as odd as a test wants it.
#pragma once

#include "support/scripted_server.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QStringList>
#include <QThread>
#include <memory>

/// Runs in a thread of its own. The steps have these names: greeting, EHLO, HELO, STARTTLS, AUTH (the answer to right
/// credentials), MAIL, RCPT, DATA, data (once, when the first of it is there), end (after the final dot). A scripted
/// STARTTLS is not followed by encryption, unless "then TLS" is scripted too.
class scriptedSmtp
{
public:
    struct Options
    {
        QByteArray certificate; ///< PEM
        QByteArray key;         ///< PEM, RSA
        bool tls = false;       ///< encrypted from the start
        QByteArrayList offers;  ///< after EHLO
        QByteArrayList encryptedOffers;
        QByteArray user;
        QByteArray secret;
    };
    /// One message that was taken.
    struct Message
    {
        QByteArray sender; ///< what stood behind MAIL
        QByteArrayList recipients;
        QByteArray data; ///< as it came over the wire, without the final dot
        /// Without the dots that were put before others.
        [[nodiscard]] QByteArray Text() const;
    };

    scriptedSmtp() : scriptedSmtp(Options()) {}
    explicit scriptedSmtp(const Options& options);
    ~scriptedSmtp();
    scriptedSmtp(const scriptedSmtp&) = delete;
    scriptedSmtp& operator=(const scriptedSmtp&) = delete;

    [[nodiscard]] quint16 Port() const { return m_port; }
    /// What is done at a step instead of the usual reply.
    void At(const QByteArray& step, const serverReply& reply)
    {
        const QMutexLocker lock(&m_shared->mutex);
        m_shared->replies[step] = reply;
    }
    /// The usual reply again.
    void Forget(const QByteArray& step)
    {
        const QMutexLocker lock(&m_shared->mutex);
        m_shared->replies.remove(step);
    }
    /// Nothing is done or answered any more from this command on, counted over all connections; 0: from none.
    void StopAt(qsizetype command)
    {
        const QMutexLocker lock(&m_shared->mutex);
        m_shared->stopAt = command;
    }
    /// Connections that have not been seen to end.
    [[nodiscard]] int Connections() const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->connections;
    }
    /// How many commands have come.
    [[nodiscard]] qsizetype Heard() const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->commands.size();
    }
    /// Every command line that came, of all connections; "." for the end of data.
    [[nodiscard]] QByteArrayList Commands() const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->commands;
    }
    [[nodiscard]] QList<Message> Messages() const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->messages;
    }
    /// Bytes of message data that came, taken or not.
    [[nodiscard]] qsizetype DataBytes() const
    {
        const QMutexLocker lock(&m_shared->mutex);
        return m_shared->dataBytes;
    }

private:
    friend class smtpConnection;
    struct Shared
    {
        QMutex mutex;
        QHash<QByteArray, serverReply> replies;
        QByteArrayList commands;
        QList<Message> messages;
        qsizetype dataBytes = 0;
        qsizetype stopAt = 0;
        int connections = 0;
        Options options;
    };
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
    QThread m_thread;
    QObject m_home; ///< lives in the thread; owns the listening socket and with it every connection
    quint16 m_port = 0;
};
