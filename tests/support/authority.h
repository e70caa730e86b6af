// SPDX-License-Identifier: GPL-3.0-or-later
// A certificate authority for tests, and certificates of it for servers on the loopback address.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class testAuthority
{
public:
    testAuthority()
    {
        Run({QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("rsa:2048"),
             QStringLiteral("-nodes"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-keyout"),
             QStringLiteral("ca.key"), QStringLiteral("-out"), QStringLiteral("ca.pem"), QStringLiteral("-subj"),
             QStringLiteral("/CN=Test authority")});
        Make(QStringLiteral("good"), QStringLiteral("IP:127.0.0.1,DNS:localhost"), 2);
    }
    /// A certificate for these names. @param days  negative: it has run out.
    void Make(const QString& file, const QString& names, int days)
    {
        QFile extension(Path(QStringLiteral("names")));
        if (!extension.open(QIODevice::WriteOnly) || extension.write("subjectAltName=" + names.toLatin1()) < 0)
            qFatal("no room for a certificate");
        extension.close();
        Run({QStringLiteral("req"), QStringLiteral("-newkey"), QStringLiteral("rsa:2048"), QStringLiteral("-nodes"),
             QStringLiteral("-keyout"), file + QStringLiteral(".key"), QStringLiteral("-out"),
             QStringLiteral("request"), QStringLiteral("-subj"), QStringLiteral("/CN=Test server")});
        Run({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"), QStringLiteral("request"),
             QStringLiteral("-CA"), QStringLiteral("ca.pem"), QStringLiteral("-CAkey"), QStringLiteral("ca.key"),
             QStringLiteral("-CAcreateserial"), QStringLiteral("-days"), QString::number(days),
             QStringLiteral("-extfile"), QStringLiteral("names"), QStringLiteral("-out"),
             file + QStringLiteral(".pem")});
    }
    [[nodiscard]] QString Path(const QString& file) const { return m_folder.filePath(file); }
    [[nodiscard]] QString CaFile() const { return Path(QStringLiteral("ca.pem")); }
    [[nodiscard]] QByteArray Read(const QString& file) const
    {
        QFile from(Path(file));
        return from.open(QIODevice::ReadOnly) ? from.readAll() : QByteArray();
    }

private:
    void Run(const QStringList& arguments)
    {
        QProcess openssl;
        openssl.setWorkingDirectory(m_folder.path());
        openssl.start(QStringLiteral("openssl"), arguments);
        if (!openssl.waitForFinished() || openssl.exitCode() != 0)
            qFatal("openssl: %s", openssl.readAllStandardError().constData());
    }
    QTemporaryDir m_folder;
};
