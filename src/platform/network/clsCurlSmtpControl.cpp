// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsCurlSmtpControl.h"

#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/modMailAddress.h"
#include "platform/modPlatformImpl.h"
#include "platform/network/modMailText.h"
#include "platform/network/modSocketCodes.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using std::chrono::milliseconds;

namespace
{
constexpr int TooLarge = 552; ///< RFC 1870: what the server itself would say

/// An envelope address, ready to stand between angle brackets.
QString EnvelopeAddress(const QString& address)
{
    const QString ascii = modMailAddress::MayTravel(address) ? modMailAddress::WithAsciiDomain(address) : QString();
    if (ascii.isEmpty())
        throw clsError(clsError::TypeMismatch, u"\"%1\" is no mail address."_s.arg(address.simplified()), u"smtp"_s);
    return ascii;
}
} // namespace

clsCurlSmtpControl::clsCurlSmtpControl(clsEventLoop& eventLoop, milliseconds graceAfterStop)
    : m_eventLoop(eventLoop), m_graceAfterStop(graceAfterStop)
{
}

void clsCurlSmtpControl::SetLimits(const Limits& limits)
{
    m_limit = std::chrono::seconds(std::clamp(limits.timeoutSeconds, 1, 3600));
    m_authorities.Set(limits.caFile);
}

void clsCurlSmtpControl::SetMessage(const Message& message)
{
    m_sender = EnvelopeAddress(message.sender);
    m_recipients = {EnvelopeAddress(message.recipient)};
    if (!message.blindCopy.isEmpty())
        m_recipients += EnvelopeAddress(message.blindCopy);
    m_utf8 = !modMailAddress::IsAscii(m_sender + m_recipients.join(QString()));
    m_message = message;
    QString headers;
    const auto add = [&headers](const char* name, const QString& value) {
        headers += modMailText::HeaderLine(QString::fromLatin1(name), value);
    };
    add("From", message.fromHeader);
    add("To", m_recipients[0]);
    add("Subject", message.subject);
    add("Date", message.date);
    add("Message-ID", message.messageID);
    // MIME headers come behind the last ordinary one, and bring the empty line along that ends them all.
    headers += u"X-Mailer: "_s + modMailText::WithCrLf(message.mailer);
    while (!headers.endsWith(u"\r\n\r\n"))
        headers += u"\r\n"_s;
    m_bytes = headers.toUtf8() + modMailText::WithCrLf(message.text).toUtf8();
    if (!m_bytes.endsWith("\r\n"))
        m_bytes += "\r\n";
    m_message.text.clear(); // an attachment makes it large
}

bool clsCurlSmtpControl::Fail(int code, const QString& text)
{
    m_failure = text;
    if (m_events)
        m_events->Error(code);
    return false;
}

bool clsCurlSmtpControl::WaitFor(const std::function<bool()>& done)
{
    if (!m_session)
        return false;
    switch (m_session->Wait(
        m_eventLoop, done, [this] { return Stopped(); }, m_limit)) {
    case clsSmtpSession::Waited::Done:
        return true;
    case clsSmtpSession::Waited::Stopped:
        m_failure = u"Stopped"_s;
        return false;
    default:
        return Fail(m_session->Problem().code, m_session->Problem().text);
    }
}

/// Takes the answer that is there. @param expectedHundreds  2: done, 3: go on.
bool clsCurlSmtpControl::Accepted(int expectedHundreds)
{
    const clsSmtpReply reply = *m_session->Answer();
    if (reply.code / 100 == expectedHundreds)
        return true;
    const bool refused = reply.code >= 400;
    return Fail(refused ? modSocketCodes::OfStatus(reply.code) : modSocketCodes::OtherBase + CURLE_WEIRD_SERVER_REPLY,
                (refused ? u"The server refused: "_s : u"The server replied something else than expected: "_s) +
                    reply.text);
}

bool clsCurlSmtpControl::Ask(const QByteArray& command, int expectedHundreds)
{
    if (!m_session)
        return false;
    m_session->Command(command);
    return WaitFor([this] { return m_session->Answer().has_value(); }) && Accepted(expectedHundreds);
}

bool clsCurlSmtpControl::Connect()
{
    Disconnect();
    m_lastReply.clear();
    m_failure.clear();
    m_inDoubt = false;
    m_session = std::make_unique<clsSmtpSession>(
        m_multi, clsSmtpSession::Target{.host = m_message.host,
                                        .port = m_message.port,
                                        .helloName = modMailAddress::Domain(m_message.sender),
                                        .login = m_message.login,
                                        .caFile = m_authorities.File(),
                                        .timeLimit = std::chrono::ceil<std::chrono::seconds>(m_limit)});
    return WaitFor([this] { return m_session->Connected(); });
}

/// What the server said about itself, against what this message needs.
bool clsCurlSmtpControl::MaySend()
{
    const clsSmtpSession::Abilities& offers = m_session->Offers();
    if (!m_message.login.user.isEmpty() && !m_session->LoggedIn())
        return Fail(modSocketCodes::OtherBase + CURLE_LOGIN_DENIED,
                    u"The server offers no log-in, but this site has a user name."_s);
    if (m_utf8 && !offers.utf8)
        return Fail(modSocketCodes::OtherBase + CURLE_BAD_FUNCTION_ARGUMENT,
                    u"The server carries no mail addresses with letters beyond ASCII (SMTPUTF8)."_s);
    if (offers.sizeLimit > 0 && m_bytes.size() > offers.sizeLimit)
        return Fail(TooLarge,
                    u"The message has %1 bytes, the server takes %2."_s.arg(m_bytes.size()).arg(offers.sizeLimit));
    return true;
}

bool clsCurlSmtpControl::SendGreeting()
{
    if (!WaitFor([this] { return m_session->Ready(); }))
        return false;
    m_quits = true;
    if (!MaySend())
        return false;
    QByteArray command = "MAIL FROM:<" + m_sender.toUtf8() + '>';
    if (m_session->Offers().size)
        command += " SIZE=" + QByteArray::number(m_bytes.size());
    if (m_utf8)
        command += " SMTPUTF8";
    return Ask(command, 2);
}

bool clsCurlSmtpControl::SendSender()
{
    return std::all_of(m_recipients.cbegin(), m_recipients.cend(),
                       [this](const QString& recipient) { return Ask("RCPT TO:<" + recipient.toUtf8() + '>', 2); });
}

bool clsCurlSmtpControl::SendRecipient()
{
    const bool accepted = Ask("DATA", 3);
    // From here on a line would be a part of the message.
    m_quits = m_quits && !accepted;
    return accepted;
}

/// Waits for the final reply. After Stop the server has a little time left, for the rest of the message as well: what
/// it has not got whole, it drops.
bool clsCurlSmtpControl::WaitForTheEnd()
{
    const auto answered = [this] { return m_session->Answer().has_value(); };
    auto waited = m_session->Wait(
        m_eventLoop, answered, [this] { return Stopped(); }, m_limit);
    if (waited == clsSmtpSession::Waited::Stopped) {
        const auto outcome = m_eventLoop.Wait([&] { return answered() || m_session->Failed(); }, m_graceAfterStop);
        if (answered())
            waited = clsSmtpSession::Waited::Done;
        else if (outcome == clsEventLoop::Outcome::Done)
            waited = clsSmtpSession::Waited::Failed;
    }
    const bool whole = m_session->AllSent();
    if (waited == clsSmtpSession::Waited::Done) {
        // A server that speaks before it has everything has refused it, or cannot be understood.
        if (whole || m_session->Answer()->code >= 400)
            return true;
        m_inDoubt = m_session->Answer()->code / 100 == 2;
        return Fail(modSocketCodes::OtherBase + CURLE_WEIRD_SERVER_REPLY,
                    u"The server replied before it had the whole message: "_s + m_session->LastReply());
    }
    m_inDoubt = whole;
    if (waited == clsSmtpSession::Waited::Stopped) {
        m_failure = whole ? u"Stopped before the server had confirmed the message"_s : u"Stopped"_s;
        return false;
    }
    return Fail(m_session->Problem().code, m_session->Problem().text);
}

bool clsCurlSmtpControl::SendData()
{
    if (!m_session)
        return false;
    if (Stopped()) {
        m_failure = u"Stopped"_s;
        return false;
    }
    m_session->Data(m_bytes);
    if (!WaitForTheEnd())
        return false;
    m_quits = true;
    if (Accepted(2))
        return true;
    m_inDoubt = m_session->Answer()->code < 400; // neither yes nor no
    return false;
}

void clsCurlSmtpControl::Disconnect()
{
    if (!m_session)
        return;
    m_lastReply = m_session->LastReply();
    if (m_quits && !m_session->Failed() && !Stopped())
        m_session->Quit(
            m_eventLoop, [this] { return Stopped(); }, m_limit);
    m_quits = false;
    m_session.reset();
    if (m_events)
        m_events->ConnectionClosed();
}

QString clsCurlSmtpControl::LastReply() const
{
    return m_session ? m_session->LastReply() : m_lastReply;
}

std::unique_ptr<clsSmtpControl> modPlatformImpl::MakeSmtpControl(clsEventLoop& eventLoop)
{
    return std::make_unique<clsCurlSmtpControl>(eventLoop);
}
