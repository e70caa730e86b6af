// SPDX-License-Identifier: GPL-3.0-or-later
// Stand-ins for what logs in at a mail server: a keyring with scripted faults, a token command, a server to look at.
#pragma once

#include "platform/clsError.h"
#include "platform/clsKeyring.h"
#include "platform/clsMailServer.h"
#include "platform/clsPrograms.h"

#include <QMap>
#include <QStringList>

class fakeKeyring : public clsKeyring
{
public:
    QMap<QString, QByteArray> entries;
    QString fault; ///< why every call fails; empty: none does
    QString Unavailable() override { return fault; }
    std::optional<QByteArray> Read(const QString& key) override
    {
        Answer();
        return entries.contains(key) ? std::optional(entries[key]) : std::nullopt;
    }
    void Write(const QString& key, const QByteArray& secret) override
    {
        Answer();
        entries[key] = secret;
    }
    void Remove(const QString& key) override
    {
        Answer();
        entries.remove(key);
    }

private:
    void Answer() const
    {
        if (!fault.isEmpty())
            throw clsError(clsError::DeviceUnavailable, fault, QStringLiteral("Keyring"));
    }
};

class fakePrograms : public clsPrograms
{
public:
    QStringList commands;
    QByteArray output;
    QByteArray Output(const QString& command, std::chrono::milliseconds, const std::function<bool()>&) override
    {
        commands << command;
        return output;
    }
};

class fakeMailProbe : public clsMailProbe
{
public:
    QStringList asked; ///< "host port security user secret"
    clsMailServerReport report;
    std::function<void()> during;
    clsMailServerReport Probe(const QString& host, int port, const clsMailLogin& login, int, const QString&,
                              const std::function<bool()>& stopped) override
    {
        asked << QStringLiteral("%1 %2 %3 %4 %5")
                     .arg(host)
                     .arg(port)
                     .arg(static_cast<int>(login.security))
                     .arg(login.user, QString::fromUtf8(login.secret));
        if (during)
            during();
        clsMailServerReport found = report;
        if (stopped())
            found.failure = QStringLiteral("Stopped");
        return found;
    }
};
