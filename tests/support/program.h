// SPDX-License-Identifier: GPL-3.0-or-later
// The process as it stands once the program has started, on a temporary installation: real database, disk, event loop
// and HTTP control; scripted clock, boxes, windows, connection and sound.
#pragma once

#include "platform/clsDatabaseFiles.h"
#include "platform/clsDisk.h"
#include "platform/clsLinkFiles.h"
#include "platform/frmResources.h"
#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "support/fakes.h"
#include "support/installation.h"

/// One at a time: it fills modBrambury::State() and empties it again.
class clsTestProgram
{
public:
    clsTestProgram()
    {
        modBrambury::ProcessState& state = modBrambury::State();
        state = {};
        state.Platform = {.DBEngine = engine.get(),
                          .DatabaseFiles = databaseFiles.get(),
                          .LinkFiles = linkFiles.get(),
                          .Settings = &settings,
                          .EventLoop = eventLoop.get(),
                          .Clock = &clock,
                          .Dialogs = &dialogs,
                          .Windows = &windows,
                          .Connection = &connection,
                          .Sound = &sound,
                          .Disk = disk.get(),
                          .Resources = &resources};
        modBrambury::SetProgramFolder(installation.Folder());
        modBrambury::LoadProgramSettings();
        state.Workspace = engine->CreateWorkspace({}, QStringLiteral("admin"), {});
        state.Database = state.Workspace->OpenDatabase(installation.DatabasePath(), QStringLiteral(";pwd=SandDune"));
        modBrambury::LoadStatusNames();
    }
    ~clsTestProgram()
    {
        modBrambury::CloseProcessDatabase();
        modBrambury::State() = {};
    }
    clsTestProgram(const clsTestProgram&) = delete;
    clsTestProgram& operator=(const clsTestProgram&) = delete;

    clsTestInstallation installation;
    fakeSettings settings;
    fakeClock clock;
    fakeDialogs dialogs;
    fakeWindows windows;
    fakeConnection connection;
    fakeSound sound;

    const std::unique_ptr<clsDBEngine> engine = modPlatformImpl::MakeDBEngine();
    const std::unique_ptr<clsDisk> disk = modPlatformImpl::MakeDisk();
    const std::unique_ptr<clsEventLoop> eventLoop = modPlatformImpl::MakeEventLoop();
    const std::unique_ptr<clsDatabaseFiles> databaseFiles = modPlatformImpl::MakeDatabaseFiles(*eventLoop, *disk);
    const std::unique_ptr<clsLinkFiles> linkFiles = modPlatformImpl::MakeLinkFiles(*eventLoop, *disk);
    frmResources resources{modPlatformImpl::MakeHTTPControl(*disk), modPlatformImpl::MakeSmtpControl(*eventLoop),
                           modPlatformImpl::MakeMimeControl()};
};
