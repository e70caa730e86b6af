// SPDX-License-Identifier: GPL-3.0-or-later
// The program with its window: from the entry routine to the last window closed, restarts included.
#pragma once

#include "shell/modExitCode.h"

#include <QString>
#include <functional>

class QWidget;
class clsPlatformParts;

namespace modWindow
{
/// Opens the main window and runs until the program ends. A QApplication must exist.
/// @return Done, Failed or InUse.
ExitCode RunWindow(clsPlatformParts& parts);
/// Renders every window offscreen into PNG files in `folder`, from the given installation: light and dark, 1x and 2x,
/// or `lightOnly` in single size, as the help shows them.
/// @return Done or Failed.
ExitCode RenderPictures(clsPlatformParts& parts, const QString& folder, bool lightOnly);
using Look = std::function<void(QWidget& window, const QString& name)>;
/// Shows everything that RenderPictures takes, one window and page after the other, and calls `look` meanwhile.
/// @return whether all could be shown.
bool EachWindow(clsPlatformParts& parts, const Look& look);
} // namespace modWindow
