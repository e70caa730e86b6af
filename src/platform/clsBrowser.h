// SPDX-License-Identifier: GPL-3.0-or-later
// The user's web browser.
#pragma once

#include <QString>

class clsBrowser
{
public:
    enum class Outcome
    {
        Opened,
        NoBrowser, ///< no program is registered for web pages
        Failed,    ///< there is one, but it did not take the address
    };
    virtual ~clsBrowser() = default;
    /// Opens an http, https or local file address, never through a shell; any other address fails.
    [[nodiscard]] virtual Outcome Open(const QString& address) = 0;
};
