// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that carries mail: an SMTP client (RFC 5321).
#pragma once

#include "platform/clsMailServer.h"

#include <QByteArray>
#include <QString>
#include <functional>

/// What the SMTP control reports; calls come out of the event loop, while one of its operations waits.
class clsSmtpEvents
{
public:
    virtual ~clsSmtpEvents() = default;
    /// @param code  socket error number less 10000 (61 refused, 60 time-out, 38 and 1001 host not found, ...), the
    /// server's reply code of 400 and above (501 as 500), or a number from 900 on for everything else (TLS, log-in).
    virtual void Error(int code) = 0;
    virtual void ConnectionClosed() = 0;
};

/// Sends one message a session. The operations follow each other in the order of their declaration; each waits in the
/// event loop until the server has answered, and returns whether all is well. After a failure Error has been called,
/// unless the wait was stopped; then only Disconnect is left.
class clsSmtpControl
{
public:
    struct Message
    {
        QString fromHeader; ///< text of the From header
        QString sender;     ///< envelope sender
        QString host;
        int port = 25;
        QString mailer;    ///< X-Mailer value; further header lines may follow it after CR LF
        QString recipient; ///< envelope recipient, and the To header
        QString blindCopy; ///< a second envelope recipient that no header names; empty: none
        QString subject;
        QString text;       ///< the body, or the multipart body when `mailer` brings MIME headers along
        QString messageID;  ///< RFC 5322, with its angle brackets
        QString date;       ///< RFC 5322
        clsMailLogin login; ///< how to connect and who we are
    };
    struct Limits
    {
        int timeoutSeconds = 60; ///< for connecting, and for each answer; 1 to 3600
        QString caFile;          ///< PEM file of further authorities; empty: the system's alone
    };
    virtual ~clsSmtpControl() = default;
    /// Who hears the events; null: nobody.
    virtual void SetEvents(clsSmtpEvents* events) = 0;
    virtual void SetLimits(const Limits& limits) = 0;
    /// Asked in every wait; true ends it and the operation. Empty: never stopped.
    virtual void SetStopped(std::function<bool()> stopped) = 0;
    /// The message to come. A header value keeps no line break but those of `mailer`.
    /// @throws clsError TypeMismatch for an envelope address with blanks, control characters or angle brackets.
    virtual void SetMessage(const Message& message) = 0;
    /// The header section and body that Connect would send, byte for byte, without dot-stuffing.
    [[nodiscard]] virtual QByteArray Bytes() const = 0;

    [[nodiscard]] virtual bool Connect() = 0;      ///< connected, encrypted where required
    [[nodiscard]] virtual bool SendGreeting() = 0; ///< greeting, EHLO, log-in and MAIL are answered
    [[nodiscard]] virtual bool SendSender() = 0;   ///< RCPT is answered
    [[nodiscard]] virtual bool
    SendRecipient() = 0;                       ///< DATA is answered: the server waits, nothing of the message is out
    [[nodiscard]] virtual bool SendData() = 0; ///< the message is out, and its end answered
    virtual void Disconnect() = 0;             ///< ends the session, complete or not

    /// The server's newest reply, its lines joined by blanks; empty when there was none.
    [[nodiscard]] virtual QString LastReply() const = 0;
    /// What went wrong, for the error log: the library's words and the server's. No secrets.
    [[nodiscard]] virtual QString Failure() const = 0;
    /// The whole message was handed over, and no final reply arrived: the server may have taken it.
    [[nodiscard]] virtual bool InDoubt() const = 0;
};
