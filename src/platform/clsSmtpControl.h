// SPDX-License-Identifier: GPL-3.0-or-later
// The internet components that carry mail: an SMTP client (RFC 5321) and a MIME encoder (RFC 2045).
#pragma once

#include <QString>

/// What the SMTP control reports; calls come out of the event loop.
class clsSmtpEvents
{
public:
    virtual ~clsSmtpEvents() = default;
    /// @param code  socket error number less 10000.
    virtual void Error(int code) = 0;
    virtual void ConnectionClosed() = 0;
};

/// Sends one message a session; the protocol operations follow each other in the order of their declaration.
class clsSmtpControl
{
public:
    struct Message
    {
        QString fromHeader; ///< text of the From header
        QString sender;     ///< envelope sender
        QString host;
        int port = 25;
        QString mailer; ///< X-Mailer value; further header lines may follow it after CR LF
        QString recipient;
        QString subject;
        QString text;
    };
    virtual ~clsSmtpControl() = default;
    virtual void SetEvents(clsSmtpEvents* events) = 0;
    virtual void SetMessage(const Message& message) = 0;
    [[nodiscard]] virtual bool Connect() = 0;
    [[nodiscard]] virtual bool SendGreeting() = 0;
    [[nodiscard]] virtual bool SendSender() = 0;
    [[nodiscard]] virtual bool SendRecipient() = 0;
    [[nodiscard]] virtual bool SendData() = 0;
    virtual void Disconnect() = 0;
};

/// What the encoder reports.
class clsMimeEvents
{
public:
    virtual ~clsMimeEvents() = default;
    virtual void Complete() = 0;
    /// @param code  1 = no error.
    virtual void Error(int code) = 0;
};

/// Encodes a file as one MIME part, part headers included.
class clsMimeControl
{
public:
    virtual ~clsMimeControl() = default;
    virtual void SetEvents(clsMimeEvents* events) = 0;
    virtual void Encode(const QString& inputFile, const QString& outputFile) = 0;
};
