// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsCurlMailProbe.h"

#include "platform/clsEventLoop.h"
#include "platform/modPlatformImpl.h"
#include "platform/network/clsSmtpSession.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

clsMailServerReport clsCurlMailProbe::Probe(const QString& host, int port, const clsMailLogin& login,
                                            int timeoutSeconds, const QString& caFile,
                                            const std::function<bool()>& stopped)
{
    const std::chrono::seconds limit(std::clamp(timeoutSeconds, 1, 3600));
    const auto isStopped = [&] { return stopped && stopped(); };
    clsAuthorities authorities;
    authorities.Set(caFile);
    clsSmtpSession::Target target{.host = host,
                                  .port = port,
                                  .helloName = {},
                                  .login = login,
                                  .caFile = authorities.File(),
                                  .wantsCertificate = true,
                                  .timeLimit = limit};
    clsMailServerReport report;
    {
        clsSmtpSession session(m_multi, target);
        const auto waited = session.Wait(
            m_eventLoop, [&] { return session.Ready(); }, isStopped, limit);
        report.connected = session.Connected() || !session.Dialogue().isEmpty();
        report.encrypted = session.Encrypted();
        report.certificate = session.Certificate();
        report.offersStartTLS = session.Offers().startTLS;
        report.methods = session.Offers().methods;
        report.sizeLimit = session.Offers().sizeLimit;
        report.loginAccepted = session.LoggedIn();
        if (waited == clsSmtpSession::Waited::Done) {
            if (!login.user.isEmpty() && !report.loginAccepted)
                report.failure = u"The server offers no log-in."_s;
            session.Quit(m_eventLoop, isStopped, limit);
        } else {
            report.failure = waited == clsSmtpSession::Waited::Stopped ? u"Stopped"_s : session.Problem().text;
        }
        report.dialogue = session.Dialogue();
        report.triedLogin = !report.dialogue.filter(u"> AUTH"_s).isEmpty();
        if (session.Result() != CURLE_PEER_FAILED_VERIFICATION)
            return report;
        report.certificateFlaw = session.Problem().text;
    }
    // The certificate was turned down before it could be read; a second connection reads it, and tells it nothing.
    target.checkCertificate = false;
    clsSmtpSession session(m_multi, target);
    static_cast<void>(session.Wait(
        m_eventLoop, [&] { return session.Encrypted(); }, isStopped, limit));
    report.certificate = session.Certificate();
    return report;
}

std::unique_ptr<clsMailProbe> modPlatformImpl::MakeMailProbe(clsEventLoop& eventLoop)
{
    return std::make_unique<clsCurlMailProbe>(eventLoop);
}
