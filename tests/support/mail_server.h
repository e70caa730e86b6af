// SPDX-License-Identifier: GPL-3.0-or-later
// A real mail server (Postfix) for one test: its own folder, a free port of the loopback address, STARTTLS with a
// certificate of the test authority, log-in after it, and one mailbox for everybody.
#pragma once

#include "support/authority.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// Postfix can be started by root alone. Ends with its object.
class realMailServer
{
public:
    static constexpr int MostBytes = 40'000'000; ///< of a message

    explicit realMailServer(const testAuthority& authority);
    ~realMailServer();
    realMailServer(const realMailServer&) = delete;
    realMailServer& operator=(const realMailServer&) = delete;

    /// Empty when it runs, else why not.
    [[nodiscard]] const QString& Trouble() const { return m_trouble; }
    [[nodiscard]] int Port() const { return m_port; }
    [[nodiscard]] static QString User() { return QStringLiteral("ann@mail.test"); }
    [[nodiscard]] static QByteArray Secret() { return "open-Sesame/42"; }
    /// The files of the messages that were delivered.
    [[nodiscard]] QStringList Delivered() const;
    /// What the server itself wrote down.
    [[nodiscard]] QByteArray Log() const;

private:
    [[nodiscard]] QString Path(const QString& name) const { return m_folder.filePath(name); }
    void Write(const QString& name, const QByteArray& content);

    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_trouble;
    int m_port = 0;
};
