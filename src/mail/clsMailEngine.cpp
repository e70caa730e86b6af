// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailEngine.h"

#include "platform/clsClock.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/frmResources.h"
#include "platform/modMailAddress.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "shell/modSocketErrors.h"

#include <QLocale>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QUuid>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr std::chrono::seconds EncoderLimit{60};
constexpr int NoEncodeError = 1;
/// Socket errors of a connection that was not made, which the user can do something about.
constexpr int Refused = 61;
constexpr int TimedOut = 60;
constexpr int NoHost = 38;

QString RightTrimmed(QString text)
{
    while (text.endsWith(u' '))
        text.chop(1);
    return text;
}

QString Rfc5322Date(const QDateTime& local)
{
    const int minutes = local.offsetFromUtc() / 60;
    const QChar sign = minutes < 0 ? u'-' : u'+';
    const int offset = std::abs(minutes);
    return QLocale::c().toString(local, u"ddd, d MMM yyyy HH:mm:ss "_s) + sign +
           u"%1%2"_s.arg(offset / 60, 2, 10, QChar(u'0')).arg(offset % 60, 2, 10, QChar(u'0'));
}

/// A boundary that occurs in none of the texts it is to part.
QString NewBoundary(const QString& body, const QString& part)
{
    QString boundary;
    do {
        boundary = u"PART_BOUNDARY_"_s;
        for (int i = 0; i < 10; ++i)
            boundary += QChar(static_cast<char16_t>(64 + QRandomGenerator::global()->bounded(26) + 1));
    } while (body.contains(boundary) || part.contains(boundary));
    return boundary;
}

QString Lines(const QStringList& lines)
{
    return lines.join(u"\r\n"_s) + u"\r\n"_s;
}
} // namespace

clsMailEngine::clsMailEngine(Collaborators collaborators) : m_with(std::move(collaborators))
{
    m_with.Resources->RegisterMailEngine(this, this);
}

clsMailEngine::~clsMailEngine()
{
    m_with.Resources->UnregisterMailEngine(this);
}

QString clsMailEngine::NewMessageID() const
{
    const QString domain = modMailAddress::Domain(RightTrimmed(DomainName));
    return u'<' + QUuid::createUuid().toString(QUuid::WithoutBraces) + u'@' +
           (domain.isEmpty() ? u"localhost"_s : domain) + u'>';
}

clsMailEngine::Missing clsMailEngine::InitSMTP()
{
    const auto missing = [this](const QString& text, Missing status) {
        if (m_log)
            m_log->LogItem(text, 2);
        return status;
    };
    if (Sender.isEmpty())
        return missing(u"Missing sender's e-mail address."_s, Missing::Sender);
    if (DomainName.isEmpty())
        return missing(u"Missing domain name."_s, Missing::Domain);
    if (HostName.isEmpty())
        return missing(u"Missing host name."_s, Missing::Host);
    if (MailPort == 0)
        return missing(u"Missing mail port setting."_s, Missing::Port);
    const clsMimeControl& mime = *m_with.Resources->MimeControl;
    m_message = {}; // without a trace of any message before
    m_message.sender = RightTrimmed(DomainName);
    m_message.fromHeader = mime.EncodeAddress(RightTrimmed(Sender), m_message.sender);
    m_message.host = HostName;
    m_message.port = MailPort;
    m_message.mailer = mime.EncodeHeader(XMailer);
    m_message.login = Login;
    m_with.Resources->smtp->SetLimits(m_with.Limits);
    m_with.Resources->smtp->SetStopped(m_with.Stopped);
    return Missing::Nothing;
}

/// Adds the message to the sender's settings.
void clsMailEngine::Compose(clsSmtpControl::Message& message) const
{
    const clsMimeControl& mime = *m_with.Resources->MimeControl;
    const clsMimeControl::Text body = mime.EncodeText(MessageBody);
    const QString encoding = body.encoding.isEmpty() ? QString() : u"\r\nContent-Transfer-Encoding: "_s + body.encoding;
    const QString type = u"Content-Type: text/plain; charset="_s + body.charset + encoding;
    const bool plain = body.charset == u"us-ascii" && encoding.isEmpty();
    message.text = body.text;
    if (!m_attachedPart.isEmpty()) {
        const QString boundary = NewBoundary(body.text, m_attachedPart);
        message.mailer +=
            u"\r\nMime-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\""_s + boundary + u"\"\r\n\r\n"_s;
        message.text = Lines({u"--"_s + boundary,
                              type,
                              {},
                              body.text,
                              {},
                              u"--"_s + boundary,
                              m_attachedPart,
                              {},
                              u"--"_s + boundary + u"--"_s});
    } else if (!plain) {
        message.mailer += u"\r\nMime-Version: 1.0\r\n"_s + type + u"\r\n\r\n"_s;
    }
    message.recipient = Recipient;
    message.blindCopy = BlindCopy;
    message.subject = mime.EncodeHeader(MessageSubject);
    message.messageID = MessageID.isEmpty() ? NewMessageID() : MessageID;
    message.date = Rfc5322Date(m_with.Clock->Now());
}

bool clsMailEngine::EncodeAttachment(const QString& fileName)
{
    m_attachedPart.clear();
    m_encodeComplete = m_encodeFailed = false;
    m_with.Resources->MimeControl->Encode(fileName, m_with.TemporaryFile);
    const auto outcome = m_with.EventLoop->Wait([this] { return m_encodeComplete || Stopped(); }, EncoderLimit);
    if (outcome != clsEventLoop::Outcome::Done || !m_encodeComplete || m_encodeFailed)
        return false;
    const auto failure =
        failureOf([this] { m_attachedPart = QString::fromLatin1(m_with.Disk->ReadFile(m_with.TemporaryFile)); });
    ignoringErrors([this] { m_with.Disk->RemoveFile(m_with.TemporaryFile); });
    // Its last line's end is that of the line that it makes in the body.
    if (m_attachedPart.endsWith(u"\r\n"))
        m_attachedPart.chop(2);
    return !failure && !m_attachedPart.isEmpty();
}

/// Encodes the attachment, if there is one. What goes wrong is told; the message goes out without it.
void clsMailEngine::TakeAttachment()
{
    const QString path = std::exchange(Attachment, {});
    m_attachedPart.clear();
    if (path.isEmpty() || !m_with.Disk->FileExists(path) || EncodeAttachment(path) || Stopped())
        return;
    const QString text = u"An error occurred writing the encoded attachment."_s;
    if (m_log)
        m_log->LogItem(text, 2);
    modCommonFunctions::MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation, u"Send Attachment"_s);
}

bool clsMailEngine::SendMessage()
{
    clsSmtpControl& control = *m_with.Resources->smtp;
    m_errNumber = 0;
    m_sent = true;
    TakeAttachment();
    if (Stopped())
        return false;
    clsSmtpControl::Message message = m_message;
    Compose(message);
    m_attachedPart.clear();
    if (m_log)
        m_log->LogItem(u"Sending mail to "_s + Title + u"  ["_s + Recipient + u']', 2);
    control.SetMessage(message);
    message = {};
    return Carry(control);
}

/// Takes the message that the control holds through the steps.
bool clsMailEngine::Carry(clsSmtpControl& control)
{
    {
        const auto endSession = qScopeGuard([&control] { control.Disconnect(); });
        m_socketOpen = control.Connect();
        if (!m_socketOpen) {
            const int code = Code();
            if (code != NoHost && code != TimedOut && code != Refused) {
                RaiseError();
                return false; // stopped
            }
            const QString text = modSocketErrors::SocketErrorText(code);
            if (m_log)
                m_log->LogItem(text, 2);
            modCommonFunctions::MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Critical);
            return false;
        }
        const auto step = [this](bool done) {
            RaiseError();
            if (done && m_log)
                m_log->LogItem(u"."_s, -1);
            return done;
        };
        if (!step(control.SendGreeting()) || !step(control.SendSender()) || !step(control.SendRecipient()))
            return false;
        if (m_with.BeforeData)
            m_with.BeforeData();
        if (!step(control.SendData()))
            return false;
    }
    m_with.EventLoop->Yield();
    if (m_log)
        m_log->LogItem(u"Done"_s, -1);
    return true;
}

int clsMailEngine::Code() const
{
    return m_errNumber == 0 ? 0 : m_errNumber - clsError::ComponentBase;
}

void clsMailEngine::RaiseError() const
{
    if (m_errNumber == 0)
        return;
    QString description = modSocketErrors::SocketErrorText(Code());
    if (const QString failure = m_with.Resources->smtp->Failure(); !failure.isEmpty())
        description += u" ("_s + failure + u')';
    throw clsError(m_errNumber, description, u"smtp"_s);
}

QString clsMailEngine::LastReply() const
{
    return m_sent ? m_with.Resources->smtp->LastReply() : QString();
}

bool clsMailEngine::InDoubt() const
{
    return m_sent && m_with.Resources->smtp->InDoubt();
}

void clsMailEngine::Error(int code)
{
    if (code > 0)
        m_errNumber = clsError::ComponentBase + code;
}

void clsMailEngine::EncodeError(int code)
{
    m_encodeComplete = true;
    if (code == NoEncodeError)
        return;
    m_encodeFailed = true;
    // The box that follows tells the user; this is for the error log.
    modErrorHandler::ErrorHandler(
        u"frmResources"_s, u"MimeControl_EncodeError"_s,
        clsError(clsError::ComponentBase + code, u"An error occurred, unable to encode message."_s, u"MimeControl"_s),
        0, true);
}
