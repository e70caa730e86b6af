// SPDX-License-Identifier: GPL-3.0-or-later
// Programs of the user's own that this one asks something of.
#pragma once

#include <QByteArray>
#include <QString>
#include <chrono>
#include <functional>

class clsPrograms
{
public:
    virtual ~clsPrograms() = default;
    /// Runs a command as the user, without a shell, and waits in the event loop for its end. It gets no input, and what
    /// it says of errors is dropped.
    /// @param command  the program and its words, divided by blanks; double quotes keep a word with blanks together.
    /// @param limit  it is ended after this time, and when the wait is stopped.  @param stopped  asked in every wait.
    /// @return its standard output, at most 64 kB. @throws clsError FileNotFound when it cannot be started,
    /// DeviceUnavailable when it fails, takes too long or says too much, WorkStopped. Its words and its output stand in
    /// no error.
    [[nodiscard]] virtual QByteArray Output(const QString& command, std::chrono::milliseconds limit,
                                            const std::function<bool()>& stopped) = 0;
};
