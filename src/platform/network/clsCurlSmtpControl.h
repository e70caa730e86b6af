// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that carries mail, on libcurl: composes the message and takes it through the steps of SMTP.
#pragma once

#include "platform/clsSmtpControl.h"
#include "platform/network/clsAuthorities.h"
#include "platform/network/clsCurlMulti.h"
#include "platform/network/clsSmtpSession.h"

#include <chrono>
#include <memory>

class clsEventLoop;

/// Stop ends every step at once, but for the message itself: once that is going out it is finished if that takes no
/// longer than `graceAfterStop`.
class clsCurlSmtpControl final : public clsSmtpControl
{
public:
    explicit clsCurlSmtpControl(clsEventLoop& eventLoop,
                                std::chrono::milliseconds graceAfterStop = std::chrono::seconds(5));

    void SetEvents(clsSmtpEvents* events) override { m_events = events; }
    void SetLimits(const Limits& limits) override;
    void SetStopped(std::function<bool()> stopped) override { m_stopped = std::move(stopped); }
    void SetMessage(const Message& message) override;
    [[nodiscard]] QByteArray Bytes() const override { return m_bytes; }

    [[nodiscard]] bool Connect() override;
    [[nodiscard]] bool SendGreeting() override;
    [[nodiscard]] bool SendSender() override;
    [[nodiscard]] bool SendRecipient() override;
    [[nodiscard]] bool SendData() override;
    void Disconnect() override;

    [[nodiscard]] QString LastReply() const override;
    [[nodiscard]] QString Failure() const override { return m_failure; }
    [[nodiscard]] bool InDoubt() const override { return m_inDoubt; }

private:
    [[nodiscard]] bool Stopped() const { return m_stopped && m_stopped(); }
    [[nodiscard]] bool WaitFor(const std::function<bool()>& done);
    [[nodiscard]] bool WaitForTheEnd();
    [[nodiscard]] bool Ask(const QByteArray& command, int expectedHundreds);
    [[nodiscard]] bool Accepted(int expectedHundreds);
    [[nodiscard]] bool MaySend();
    bool Fail(int code, const QString& text);

    clsEventLoop& m_eventLoop;
    const std::chrono::milliseconds m_graceAfterStop;
    clsSmtpEvents* m_events = nullptr;
    std::chrono::milliseconds m_limit{std::chrono::seconds(60)};
    std::function<bool()> m_stopped;
    clsAuthorities m_authorities;
    clsCurlMulti m_multi;

    Message m_message;
    QString m_sender; ///< the envelope's addresses, their domains in ASCII
    QStringList m_recipients;
    bool m_utf8 = false; ///< an address is not ASCII even so
    QByteArray m_bytes;

    std::unique_ptr<clsSmtpSession> m_session;
    QString m_lastReply;
    QString m_failure;
    bool m_inDoubt = false;
    bool m_quits = false; ///< the server listens to commands: the session may be ended with QUIT
};
