// SPDX-License-Identifier: GPL-3.0-or-later
// A look at a mail server, by the same connection that sends mail.
#pragma once

#include "platform/clsMailServer.h"
#include "platform/network/clsAuthorities.h"
#include "platform/network/clsCurlMulti.h"

class clsEventLoop;

class clsCurlMailProbe final : public clsMailProbe
{
public:
    explicit clsCurlMailProbe(clsEventLoop& eventLoop) : m_eventLoop(eventLoop) {}
    [[nodiscard]] clsMailServerReport Probe(const QString& host, int port, const clsMailLogin& login,
                                            int timeoutSeconds, const QString& caFile,
                                            const std::function<bool()>& stopped) override;

private:
    clsEventLoop& m_eventLoop;
    clsCurlMulti m_multi;
};
