// SPDX-License-Identifier: GPL-3.0-or-later
// The command line: understands the words, and runs the one command they name, or opens the window.
#pragma once

#include "shell/modExitCode.h"

#include <QString>
#include <functional>
#include <memory>

class QCoreApplication;
class clsPlatformParts;
class clsPrinter;
class clsSettingsStore;

/// What needs a window system, handed in by the entry function: commands must start without one.
struct clsWindowEntry
{
    /// Makes the application object for a window, or for pictures.
    std::function<std::unique_ptr<QCoreApplication>(int& argc, char** argv)> MakeApplication;
    /// Makes the printer of a command that prints, for which MakeApplication has been called.
    std::function<std::unique_ptr<clsPrinter>(clsSettingsStore* settings)> MakePrinter;
    /// Opens the window and runs until the program ends.
    std::function<ExitCode(clsPlatformParts& parts)> OpenWindow;
    /// Renders the windows into PNG files, light ones of single size or all.
    std::function<ExitCode(clsPlatformParts& parts, const QString& folder, bool lightOnly)> RenderPictures;
};

/// @return the process's exit code, the number of an ExitCode.
int RunCommandLine(int argc, char** argv, const clsWindowEntry& window);
