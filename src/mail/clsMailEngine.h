// SPDX-License-Identifier: GPL-3.0-or-later
// Sends one plain-text message, with at most one attached file, to one recipient through the SMTP control.
#pragma once

#include "log/clsStatusLog.h"
#include "platform/clsMimeControl.h"
#include "platform/clsSmtpControl.h"

#include <QString>
#include <functional>

class clsClock;
class clsDisk;
class clsEventLoop;
class frmResources;

/// One engine for each run. Waits in the event loop. While it is alive and was registered last it hears the events of
/// `smtp` and `MimeControl`.
class clsMailEngine final : private clsSmtpEvents, private clsMimeEvents
{
public:
    /// What the engine works with; not owned.
    struct Collaborators
    {
        frmResources* Resources = nullptr;
        clsEventLoop* EventLoop = nullptr;
        clsClock* Clock = nullptr;
        clsDisk* Disk = nullptr;
        std::function<bool()> Stopped; ///< the process-wide stop flag
        QString TemporaryFile;         ///< receives the encoded attachment
        clsSmtpControl::Limits Limits;
        /// Called when the server waits for the message and nothing of it is out; what it throws ends the sending
        /// before anything is. May be empty.
        std::function<void()> BeforeData = {};
    };

    explicit clsMailEngine(Collaborators collaborators);
    ~clsMailEngine() override;
    clsMailEngine(const clsMailEngine&) = delete;
    clsMailEngine& operator=(const clsMailEngine&) = delete;

    void SetLog(clsStatusLog* log) { m_log = log; }
    QString DomainName; ///< the sender's e-mail address
    QString HostName;
    int MailPort = 25;
    QString Sender; ///< display name
    QString XMailer;
    QString Recipient;
    QString Title; ///< recipient's name, for the log
    QString MessageSubject;
    QString MessageBody;
    QString Attachment; ///< path; empty again after every SendMessage
    QString BlindCopy;  ///< see clsSmtpControl::Message
    QString MessageID;  ///< of the message to come, see NewMessageID; empty: a new one
    clsMailLogin Login;

    /// A new Message-ID in the domain of DomainName.
    [[nodiscard]] QString NewMessageID() const;

    enum class Missing : qint16
    {
        Nothing = 0,
        Sender = 1,
        Domain = 2,
        Host = 3,
        Port = 4
    };
    /// Checks the settings, logs what is missing, and hands them to the control.
    [[nodiscard]] Missing InitSMTP();
    /// Sends the message, once InitSMTP has answered Nothing. @return false when the connection was not made (told in
    /// log and message box) or the run was stopped. @throws clsError for every other failure, with ErrNumber and the
    /// socket error text.
    [[nodiscard]] bool SendMessage();
    /// MIME-encodes a file into the temporary file and keeps the part. @return false on failure or after 60 seconds.
    bool EncodeAttachment(const QString& fileName);

    [[nodiscard]] bool SocketOpen() const { return m_socketOpen; }
    [[nodiscard]] qint32 ErrNumber() const { return m_errNumber; } ///< 0 = none, else 0x80040000 + the control's
    [[nodiscard]] bool EncodeComplete() const { return m_encodeComplete; }
    /// After SendMessage: the server's final reply, and whether the message may have been taken without a word.
    [[nodiscard]] QString LastReply() const;
    [[nodiscard]] bool InDoubt() const;

private:
    void Error(int code) override;
    void ConnectionClosed() override { m_socketOpen = false; }
    void Complete() override { m_encodeComplete = true; }
    void EncodeError(int code) override;
    [[nodiscard]] bool Stopped() const { return m_with.Stopped && m_with.Stopped(); }
    void Compose(clsSmtpControl::Message& message) const;
    void TakeAttachment();
    [[nodiscard]] bool Carry(clsSmtpControl& control);
    [[nodiscard]] int Code() const;
    void RaiseError() const;

    Collaborators m_with;
    clsSmtpControl::Message m_message; ///< what InitSMTP has set
    clsStatusLog* m_log = nullptr;
    qint32 m_errNumber = 0;
    bool m_socketOpen = false;
    bool m_encodeComplete = false;
    bool m_encodeFailed = false;
    bool m_sent = false; ///< the control's last reply and doubt are about a message of this engine
    QString m_attachedPart;
};
