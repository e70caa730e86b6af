// SPDX-License-Identifier: GPL-3.0-or-later
// Carries out the steps of a scripted reply on one connection, for every scripted server.
#pragma once

#include "support/scripted_server.h"

#include <QTcpSocket>
#include <QTimer>
#include <sys/socket.h>
#include <utility>

/// Lives in the server's thread and dies with its socket.
class scriptedSteps : public QObject
{
protected:
    explicit scriptedSteps(QTcpSocket* socket) : QObject(socket), m_socket(socket)
    {
        m_wait.setSingleShot(true);
        m_wait.setTimerType(Qt::PreciseTimer);
        m_wait.callOnTimeout(this, [this] { Go(); });
        connect(socket, &QTcpSocket::bytesWritten, this, [this] { Feed(); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
    void Run(const serverReply& reply)
    {
        m_steps = reply.m_steps;
        Go();
    }
    /// A reply is under way, or has ended the talk for good.
    [[nodiscard]] bool Busy() const { return m_busy; }
    /// Every step was carried out.
    virtual void StepsDone() = 0;

    QTcpSocket* const m_socket;

private:
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
                return m_wait.start(step.wait);
            case serverReply::Kind::Endless:
                m_endless = step.bytes;
                return Feed();
            case serverReply::Kind::Silent:
                return;
            case serverReply::Kind::Close:
                return m_socket->disconnectFromHost();
            case serverReply::Kind::Reset: {
                m_socket->flush();
                const linger now{1, 0};
                setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof now);
                return m_socket->abort();
            }
            }
        }
        m_busy = false;
        StepsDone();
    }

    void Feed()
    {
        while (!m_endless.isEmpty() && m_socket->state() == QAbstractSocket::ConnectedState &&
               m_socket->bytesToWrite() < 1 << 18)
            m_socket->write(m_endless);
    }

    QList<serverReply::Step> m_steps;
    QTimer m_wait;
    QByteArray m_endless;
    bool m_busy = false;
};
