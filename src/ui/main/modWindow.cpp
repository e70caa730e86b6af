// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/modWindow.h"

#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "platform/parts/clsPlatformParts.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/main/clsEndRequests.h"
#include "ui/main/clsWindowParts.h"

#include <QCoreApplication>

ExitCode modWindow::RunWindow(clsPlatformParts& parts)
{
    clsWindowParts with(parts, nullptr);
    if (parts.Installed())
        // A folder that cannot be written, or a program without its share folder, still opens.
        ignoringErrors([&] { parts.Complete(); });
    else if (guarded("modBrambury", "Main", [&] { parts.LayDown(); }) != Guarded::Done)
        return ExitCode::Failed;

    const auto instance = modPlatformImpl::MakeInstance(parts.ProgramFolder(), [&] { with.Windows.RaiseMain(); });
    modBrambury::State().Platform.Instance = instance.get();
    const clsEndRequests endRequests([&] { with.Windows.EndSession(); });

    const modBrambury::ProcessState& state = modBrambury::State();
    bool started = false;
    do {
        modWidgets::AllowDialogs();
        started = modBrambury::Main();
        if (started && with.Windows.AnyLoaded())
            QCoreApplication::exec();
        with.Windows.Discard();
    } while (started && modBrambury::NextStep() == modBrambury::Next::Restart && !state.SessionEnding &&
             !state.Terminating);

    if (state.FileInUse)
        return ExitCode::InUse;
    if (state.Terminating)
        return ExitCode::Failed;
    // A copy that only brought the other one to the front has done its work.
    return started || state.OtherCopy || state.SessionEnding ? ExitCode::Done : ExitCode::Failed;
}
