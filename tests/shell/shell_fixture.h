// SPDX-License-Identifier: GPL-3.0-or-later
// A process with scripted surroundings and a real, empty program folder.
#pragma once

#include "platform/clsBrowser.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "support/fakes.h"

#include <QFile>
#include <QTemporaryDir>

/// Another copy runs, or none does.
class fakeInstance : public clsInstance
{
public:
    bool running = false;
    int activated = 0;
    bool PrevInstance() override { return running; }
    void ActivatePrev() override { ++activated; }
    void Release() override {}
};

class fakeBrowser : public clsBrowser
{
public:
    Outcome outcome = Outcome::Opened;
    Outcome Open(const QString&) override { return outcome; }
};

/// Makes workspaces that only say when they are closed.
class fakeEngine : public clsDBEngine
{
public:
    int created = 0;
    int closed = 0;
    bool fails = false;
    std::unique_ptr<clsWorkspace> CreateWorkspace(const QString&, const QString&, const QString&) override
    {
        if (fails)
            throw clsError(clsError::EngineFailure, QStringLiteral("no engine"), QStringLiteral("Test"));
        ++created;
        return std::make_unique<Workspace>(closed);
    }

private:
    class Workspace : public clsWorkspace
    {
    public:
        explicit Workspace(int& count) : m_count(count) {}
        std::unique_ptr<clsDatabase> OpenDatabase(const QString&, const QString&) override { return nullptr; }
        void Close() override { ++m_count; }

    private:
        int& m_count;
    };
};

struct shellFixture
{
    QTemporaryDir dir;
    fakeSettings settings;
    fakeClock clock;
    fakeDialogs dialogs;
    fakeWindows windows;
    fakeEventLoop eventLoop;
    fakeConnection connection;
    fakeInstance instance;
    fakeBrowser browser;
    fakeEngine engine;
    std::unique_ptr<clsDisk> disk = modPlatformImpl::MakeDisk();

    shellFixture()
    {
        modBrambury::State() = {};
        clsPlatform& platform = modBrambury::Platform();
        platform.Settings = &settings;
        platform.Clock = &clock;
        platform.Dialogs = &dialogs;
        platform.Windows = &windows;
        platform.EventLoop = &eventLoop;
        platform.Connection = &connection;
        platform.Instance = &instance;
        platform.Browser = &browser;
        platform.DBEngine = &engine;
        platform.Disk = disk.get();
        modBrambury::SetProgramFolder(dir.path());
    }
    ~shellFixture()
    {
        // Boxes that were expected and never came.
        for (const auto& box : std::as_const(dialogs.expected))
            QTest::qFail(qPrintable(QStringLiteral("box did not come: ") + box.text), __FILE__, __LINE__);
        modBrambury::State() = {};
    }
    shellFixture(const shellFixture&) = delete;
    shellFixture& operator=(const shellFixture&) = delete;

    /// A file where the database is expected.
    void MakeDatabaseFile() const
    {
        disk->MakeFolder(dir.filePath(QStringLiteral("Data")));
        disk->WriteFile(dir.filePath(QStringLiteral("Data/Bramdat.mdb")), "x");
    }
    QString ErrorLogPath() const { return dir.filePath(QStringLiteral("Error.log")); }
    QByteArray ErrorLog() const
    {
        return disk->FileExists(ErrorLogPath()) ? disk->ReadFile(ErrorLogPath()) : QByteArray();
    }
    /// A folder in its place keeps the log from being written, for whatever user the tests run.
    void BlockErrorLog() const { disk->MakeFolder(ErrorLogPath()); }
};
