// SPDX-License-Identifier: GPL-3.0-or-later
// The windowless home of the internet components: one of each for the process, and the engine that hears them now.
#pragma once

#include "platform/clsHTTPControl.h"
#include "platform/clsMimeControl.h"
#include "platform/clsSmtpControl.h"

#include <memory>

/// Owns `HTTPControl`, `smtp` and `MimeControl`, and turns their events into calls on the engine registered last.
class frmResources final : private clsHTTPEvents
{
public:
    frmResources(std::unique_ptr<clsHTTPControl> http, std::unique_ptr<clsSmtpControl> smtpControl,
                 std::unique_ptr<clsMimeControl> mimeControl);
    ~frmResources() override;
    frmResources(const frmResources&) = delete;
    frmResources& operator=(const frmResources&) = delete;

    /// From now on `engine` hears the HTTP control; null: nobody. Only one at a time.
    void RegisterHTTPEngine(clsHTTPEvents* engine);
    /// Takes `engine` off if it is the one that is registered.
    void UnregisterHTTPEngine(const clsHTTPEvents* engine);
    /// The same for the engine that sends mail, by its two sides.
    void RegisterMailEngine(clsSmtpEvents* smtpEvents, clsMimeEvents* mimeEvents);
    void UnregisterMailEngine(const clsSmtpEvents* smtpEvents);

    const std::unique_ptr<clsHTTPControl> HTTPControl;
    const std::unique_ptr<clsSmtpControl> smtp;
    const std::unique_ptr<clsMimeControl> MimeControl;

private:
    void ServerActive(bool active) override;
    void TransferComplete() override;
    void ConnectionClosed() override;
    void Error(int code) override;

    clsHTTPEvents* m_engine = nullptr;
    const clsSmtpEvents* m_mailEngine = nullptr;
};
