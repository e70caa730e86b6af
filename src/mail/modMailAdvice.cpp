// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modMailAdvice.h"

#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;
using modMailAdvice::Target;
using modMailAdvice::Verdict;

namespace
{
constexpr int Relay = 25;
constexpr int Submissions = 465; // encrypted from the start (RFC 8314)
constexpr int Submission = 587;  // RFC 6409
constexpr int Alternative = 2525;

bool LacksEncryption(const clsMailServerReport& report, const Target& target)
{
    return target.security != clsMailSecurity::None && !report.encrypted;
}

/// Without what a terminal would obey: much of it is the server's word.
QStringList Plain(QStringList lines)
{
    for (QString& line : lines) {
        for (QChar& letter : line) {
            if (letter.category() == QChar::Other_Control)
                letter = u' ';
        }
    }
    return lines;
}

QStringList NotReached(const clsMailServerReport& report, const Target& target)
{
    QStringList lines{u"The server %1 was not reached at port %2: %3"_s.arg(target.host)
                          .arg(target.port)
                          .arg(report.failure.isEmpty() ? u"it does not answer."_s : report.failure)};
    if (target.security == clsMailSecurity::TLS && target.port != Submissions)
        lines << u"Port %1 usually goes with STARTTLS; TLS from the start is usually at port 465."_s.arg(target.port);
    else if (target.security != clsMailSecurity::TLS && target.port == Submissions)
        lines << u"Port 465 expects TLS from the start: choose TLS."_s;
    else if (target.port == Relay)
        lines << u"Many providers block port 25: try port 587 with STARTTLS, or port 465 with TLS."_s;
    lines << u"See whether the server's name is right; your provider's help pages name it, and the port."_s;
    return lines;
}

QStringList AboutEncryption(const clsMailServerReport& report, const Target& target)
{
    if (!report.certificateFlaw.isEmpty())
        return {u"The server's certificate is not trusted: "_s + report.certificateFlaw,
                u"No message and no password is sent to it.  See whether the server's name is the one in the "
                "certificate.  If the server is your own, put the authority that signed it into the setting "
                "Network/CaFile."_s};
    if (!LacksEncryption(report, target))
        return {};
    if (target.security == clsMailSecurity::TLS)
        return {u"The server does not speak TLS from the start at port %1: choose STARTTLS, or port 465."_s.arg(
            target.port)};
    if (report.dialogue.isEmpty())
        return {u"The server said nothing at port %1, as one does that expects TLS from the start: choose TLS."_s.arg(
            target.port)};
    if (!report.offersStartTLS)
        return {u"The server offers no STARTTLS at port %1: choose TLS with port 465, or port 587."_s.arg(target.port)};
    return {u"The server offers STARTTLS, but the encryption failed."_s};
}

QStringList AboutLogin(const clsMailServerReport& report, const Target& target)
{
    if (report.loginAccepted)
        return {};
    if (report.methods.isEmpty())
        return {target.security == clsMailSecurity::None && report.offersStartTLS
                    ? u"The server offers no log-in without encryption: choose STARTTLS."_s
                    : u"The server offers no log-in at port %1: leave the user empty, or try port 587 or 465."_s.arg(
                          target.port)};
    if (target.security == clsMailSecurity::None && !report.triedLogin)
        return {u"Without encryption no password is sent to another machine: choose STARTTLS or TLS."_s};
    if (target.token)
        return {report.methods.contains(u"XOAUTH2"_s)
                    ? u"The server refused the token: see whether the command prints one for this user, and for mail."_s
                    : u"The server takes no token (XOAUTH2): use a password."_s};
    if (!report.triedLogin)
        return {u"The server offers no method to log in with a password (it offers %1): use a token command."_s.arg(
            report.methods.join(", "_L1))};
    return {u"The server refused user or password."_s,
            u"Many providers want an app password here, which you make for Brambury in your account's security "
            "settings, and not the password of the account."_s};
}

QStringList AdviceOn(const clsMailServerReport& report, const Target& target)
{
    if (!report.connected)
        return NotReached(report, target);
    QStringList lines = AboutEncryption(report, target);
    if (lines.isEmpty() && target.user)
        lines = AboutLogin(report, target);
    if (lines.isEmpty() && !report.failure.isEmpty())
        lines << u"The server does not answer as it should: "_s + report.failure;
    if (!lines.isEmpty())
        return lines;
    lines << (target.user ? u"All is well: the server takes messages from this user."_s : u"The server answers."_s);
    if (target.security == clsMailSecurity::None && report.offersStartTLS)
        lines << u"It offers encryption: choose STARTTLS."_s;
    else if (target.security == clsMailSecurity::None)
        lines << u"The connection is not encrypted: whoever is on the way can read along."_s;
    if (!target.user && !report.methods.isEmpty())
        lines << u"It offers a log-in, and most servers want one before they take a message: enter a user."_s;
    return lines;
}
} // namespace

Verdict modMailAdvice::VerdictOf(const clsMailServerReport& report, const Target& target)
{
    if (!report.connected)
        return Verdict::NotReached;
    const bool lacksLogin = target.user && !report.loginAccepted;
    return !report.failure.isEmpty() || !report.certificateFlaw.isEmpty() || LacksEncryption(report, target) ||
                   lacksLogin
               ? Verdict::Wanting
               : Verdict::Well;
}

QStringList modMailAdvice::Advice(const clsMailServerReport& report, const Target& target)
{
    return Plain(AdviceOn(report, target));
}

QStringList modMailAdvice::Facts(const clsMailServerReport& report, const Target& target)
{
    const auto yes = [](bool is) { return is ? u"yes"_s : u"no"_s; };
    QStringList lines{u"Server: %1, port %2"_s.arg(target.host).arg(target.port),
                      u"Connected: "_s + yes(report.connected)};
    if (report.connected) {
        lines << u"Encrypted: "_s + yes(report.encrypted);
        if (target.security != clsMailSecurity::TLS)
            lines << u"Offers STARTTLS: "_s + yes(report.offersStartTLS);
        if (!report.certificate.isEmpty())
            lines << u"Certificate: "_s + report.certificate.simplified();
        if (!report.certificateFlaw.isEmpty())
            lines << u"Certificate's flaw: "_s + report.certificateFlaw;
        lines << u"Log-in methods: "_s + (report.methods.isEmpty() ? u"none"_s : report.methods.join(", "_L1));
        if (report.sizeLimit > 0)
            lines << u"Largest message: "_s + modCommonFunctions::ByteSizeText(report.sizeLimit);
        if (target.user)
            lines << u"Log-in: "_s + (report.loginAccepted ? u"accepted"_s
                                      : report.triedLogin  ? u"refused"_s
                                                           : u"not tried"_s);
    }
    if (!report.failure.isEmpty())
        lines << u"Failure: "_s + report.failure;
    if (!report.dialogue.isEmpty())
        lines << QString() << u"What was said (< the server, > Brambury):"_s << report.dialogue;
    return Plain(lines);
}

QList<int> modMailAdvice::UsualPorts()
{
    return {Relay, Submissions, Submission, Alternative};
}

int modMailAdvice::PortFor(clsMailSecurity security, int port)
{
    if (port != 0 && !UsualPorts().contains(port))
        return port;
    switch (security) {
    case clsMailSecurity::TLS:
        return Submissions;
    case clsMailSecurity::StartTLS:
        return port == Alternative ? port : Submission;
    case clsMailSecurity::None:
        break;
    }
    return port == Alternative ? port : Relay;
}
