// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/frmResources.h"

frmResources::frmResources(std::unique_ptr<clsHTTPControl> http, std::unique_ptr<clsSmtpControl> smtpControl,
                           std::unique_ptr<clsMimeControl> mimeControl)
    : HTTPControl(std::move(http)), smtp(std::move(smtpControl)), MimeControl(std::move(mimeControl))
{
    if (HTTPControl)
        HTTPControl->SetEvents(this);
}

frmResources::~frmResources()
{
    if (HTTPControl)
        HTTPControl->SetEvents(nullptr);
}

void frmResources::RegisterHTTPEngine(clsHTTPEvents* engine)
{
    m_engine = engine;
}

void frmResources::UnregisterHTTPEngine(const clsHTTPEvents* engine)
{
    if (m_engine == engine)
        m_engine = nullptr;
}

void frmResources::RegisterMailEngine(clsSmtpEvents* smtpEvents, clsMimeEvents* mimeEvents)
{
    m_mailEngine = smtpEvents;
    smtp->SetEvents(smtpEvents);
    MimeControl->SetEvents(mimeEvents);
}

void frmResources::UnregisterMailEngine(const clsSmtpEvents* smtpEvents)
{
    if (m_mailEngine == smtpEvents)
        RegisterMailEngine(nullptr, nullptr);
}

void frmResources::ServerActive(bool active)
{
    if (m_engine)
        m_engine->ServerActive(active);
}

void frmResources::TransferComplete()
{
    if (m_engine)
        m_engine->TransferComplete();
}

void frmResources::ConnectionClosed()
{
    if (m_engine)
        m_engine->ConnectionClosed();
}

void frmResources::Error(int code)
{
    if (m_engine)
        m_engine->Error(code);
}
