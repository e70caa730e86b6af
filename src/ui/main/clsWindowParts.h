// SPDX-License-Identifier: GPL-3.0-or-later
// The platform's parts that need a window system, made and joined to the others.
#pragma once

#include "ui/main/clsUIWindows.h"

#include <memory>

class clsBrowser;
class clsDialogs;
class clsPlatformParts;
class clsPrinter;

/// From its making to its end the process works on these parts: it fills modBrambury::State().Platform.
class clsWindowParts
{
public:
    /// @param dialogs  stands in for message boxes and file dialogs on the screen; may be null.
    clsWindowParts(const clsPlatformParts& parts, clsDialogs* dialogs);
    ~clsWindowParts();
    clsWindowParts(const clsWindowParts&) = delete;
    clsWindowParts& operator=(const clsWindowParts&) = delete;

    clsUIWindows Windows;

private:
    std::unique_ptr<clsDialogs> m_dialogs;
    std::unique_ptr<clsPrinter> m_printer;
    std::unique_ptr<clsBrowser> m_browser;
};
