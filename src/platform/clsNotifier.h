// SPDX-License-Identifier: GPL-3.0-or-later
// Notes on the user's desktop, from work that nobody watches.
#pragma once

#include <QString>

class clsNotifier
{
public:
    virtual ~clsNotifier() = default;
    /// Shows a note where the user has a desktop that shows any; elsewhere nothing happens. Waits a few seconds at most
    /// for the desktop to take it. @param text  plain, one line each.
    /// @return whether the desktop has taken it.
    virtual bool Notify(const QString& title, const QString& text) = 0;
};
