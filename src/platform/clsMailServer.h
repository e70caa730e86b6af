// SPDX-License-Identifier: GPL-3.0-or-later
// How a mail server is reached and who we are there; and a look at a server without sending anything.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

enum class clsMailSecurity
{
    None,     ///< clear text
    StartTLS, ///< clear text at first, encrypted before anything else is said, or not at all (RFC 3207)
    TLS,      ///< encrypted from the start (RFC 8314)
};

/// A log-in (RFC 4954). Without a user: none.
struct clsMailLogin
{
    clsMailSecurity security = clsMailSecurity::None;
    QString user;
    QByteArray secret;  ///< password or app password, UTF-8; an OAuth token when `token` is set. In no log or message
    bool token = false; ///< `secret` is a bearer token (XOAUTH2)
};

/// What a look at a mail server found.
struct clsMailServerReport
{
    bool connected = false;
    bool encrypted = false;
    bool offersStartTLS = false;
    QStringList methods;     ///< log-in methods offered after encryption, in capitals
    qint64 sizeLimit = 0;    ///< bytes; 0: none told
    QStringList dialogue;    ///< the server's own lines and our commands ("< 220 ...", "> EHLO ..."), no secrets
    QString certificate;     ///< subject, issuer and dates for people; empty without encryption
    QString certificateFlaw; ///< why it is not trusted; empty when it is
    bool triedLogin = false;
    bool loginAccepted = false;
    QString failure; ///< what stopped it; empty when the server answered everything
};

class clsMailProbe
{
public:
    virtual ~clsMailProbe() = default;
    /// Connects, encrypts as told, says EHLO, logs in when there is a user, and says QUIT; sends no mail. Waits in the
    /// event loop. @param stopped  asked in every wait.
    [[nodiscard]] virtual clsMailServerReport Probe(const QString& host, int port, const clsMailLogin& login,
                                                    int timeoutSeconds, const QString& caFile,
                                                    const std::function<bool()>& stopped) = 0;
};
