// SPDX-License-Identifier: GPL-3.0-or-later
// The system's own place for passwords.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// Entries are named by a key of our choosing; all belong to this program. Calls wait in the event loop, at most a
/// minute (the system may ask the user to unlock it).
class clsKeyring
{
public:
    virtual ~clsKeyring() = default;
    /// Empty when the keyring answers, else why not.
    [[nodiscard]] virtual QString Unavailable() = 0;
    /// @return empty when there is no such entry. @throws clsError DeviceUnavailable when the keyring does not answer.
    [[nodiscard]] virtual std::optional<QByteArray> Read(const QString& key) = 0;
    /// @throws clsError DeviceUnavailable
    virtual void Write(const QString& key, const QByteArray& secret) = 0;
    /// One that is not there is no error. @throws clsError DeviceUnavailable
    virtual void Remove(const QString& key) = 0;
};
