// SPDX-License-Identifier: GPL-3.0-or-later
// One running window for each program folder: a lock in the folder says who it is, a local socket reaches it.
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "platform/system/modKernelLock.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int PatienceMs = 1000;
constexpr int RetryMs = 20;
/// What a later copy sends; its content is of no account.
constexpr char Greeting = '!';

class clsLocalInstance final : public clsInstance
{
public:
    clsLocalInstance(const QString& programFolder, std::function<void()> activated)
        : m_folder(programFolder), m_activated(std::move(activated))
    {
        m_server.setSocketOptions(QLocalServer::UserAccessOption);
        QObject::connect(&m_server, &QLocalServer::newConnection, &m_server, [this] { Welcome(); });
    }
    ~clsLocalInstance() override { Release(); }
    clsLocalInstance(const clsLocalInstance&) = delete;
    clsLocalInstance& operator=(const clsLocalInstance&) = delete;

    bool PrevInstance() override
    {
        if (m_lock)
            return false; // a restart inside this process
        modKernelLock::Attempt attempt = modKernelLock::Try(
            QDir(m_folder).filePath(u"Brambury.lock"_s), clsDisk::Share::Exclusive, modKernelLock::Afterwards::Remove);
        if (!attempt.lock)
            // A folder that is missing or cannot be written holds no running copy either; what is wrong with it is
            // reported by the start-up's next steps.
            return attempt.error == 0;
        m_lock = std::move(attempt.lock);
        // The lock is ours, so a socket of this name can only be what a killed copy left behind; a server that only its
        // user may reach replaces it. Where it cannot listen, later copies still end, but do not raise this one.
        m_server.listen(ServerName());
        return false;
    }

    void ActivatePrev() override
    {
        QLocalSocket socket;
        // Between taking the lock and listening the other copy needs a moment.
        QDeadlineTimer deadline(PatienceMs);
        for (;;) {
            socket.connectToServer(ServerName());
            if (socket.waitForConnected(PatienceMs) || deadline.hasExpired())
                break;
            QThread::msleep(RetryMs);
        }
        socket.write(&Greeting, sizeof Greeting);
        socket.waitForBytesWritten(PatienceMs);
    }

    void Release() override
    {
        m_server.close();
        m_lock.reset();
    }

private:
    /// Short, because socket names are limited to about a hundred bytes and folders are not.
    QString ServerName() const
    {
        const QString canonical = QFileInfo(m_folder).canonicalFilePath();
        const QString folder = canonical.isEmpty() ? QDir::cleanPath(m_folder) : canonical;
        const QByteArray hash = QCryptographicHash::hash(folder.toUtf8(), QCryptographicHash::Sha256).toHex().first(32);
        return u"brambury-"_s + QString::fromLatin1(hash);
    }

    void Welcome()
    {
        while (QLocalSocket* visitor = m_server.nextPendingConnection()) {
            QObject::connect(visitor, &QLocalSocket::disconnected, visitor, &QObject::deleteLater);
            QObject::connect(visitor, &QLocalSocket::readyRead, &m_server, [this, visitor] {
                visitor->readAll();
                visitor->disconnectFromServer();
                m_activated();
            });
        }
    }

    QString m_folder;
    std::function<void()> m_activated;
    std::unique_ptr<clsFileLock> m_lock;
    QLocalServer m_server;
};
} // namespace

std::unique_ptr<clsInstance> modPlatformImpl::MakeInstance(const QString& programFolder,
                                                           std::function<void()> activated)
{
    return std::make_unique<clsLocalInstance>(programFolder, std::move(activated));
}
