// SPDX-License-Identifier: GPL-3.0-or-later
// The platform's parts that need a window system: message boxes and file dialogs, the printer, the browser.
#pragma once

#include "platform/clsDialogs.h"

#include <functional>
#include <memory>

class QIcon;
class QWidget;
class clsBrowser;
class clsPrinter;
class clsSettingsStore;

namespace modWidgets
{
/// @param owner     the window that boxes belong to at the time of asking; may return null.
/// @param pictures  what message boxes show; without it, or for an empty icon, the style's own pictures.
std::unique_ptr<clsDialogs> MakeDialogs(std::function<QWidget*()> owner,
                                        std::function<QIcon(clsDialogs::Icon)> pictures = {});
/// @param settings  keeps what is set up; null: nothing is.  @param owner  as above, for its dialogs.
std::unique_ptr<clsPrinter> MakePrinter(clsSettingsStore* settings = nullptr, std::function<QWidget*()> owner = {});
std::unique_ptr<clsBrowser> MakeBrowser();

/// The program is told to end: rejects every open modal dialog, newest first. From now on message boxes are answered
/// and file dialogs cancelled at once, as if closed, until AllowDialogs.
void CloseDialogs();
/// Dialogs are shown again; for a restart within the process.
void AllowDialogs();
} // namespace modWidgets
