// SPDX-License-Identifier: GPL-3.0-or-later
// Pages that the program serves to itself, on the loopback address alone.
#pragma once

/// Serves for as long as it lives, while the event loop runs.
class clsPageServer
{
public:
    virtual ~clsPageServer() = default;
    /// False when somebody else has the port: then whoever asks is answered there.
    [[nodiscard]] virtual bool Serving() const = 0;
};
