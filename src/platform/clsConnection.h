// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the machine is connected to the Internet.
#pragma once

class clsConnection
{
public:
    virtual ~clsConnection() = default;
    /// True unless the system reports positively that it is disconnected.
    [[nodiscard]] virtual bool Connected() const = 0;
    /// Dials the default connection. @return false where nothing can be dialled.
    virtual bool Dial() = 0;
    virtual void HangUp() = 0;
};
