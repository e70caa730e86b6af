// SPDX-License-Identifier: GPL-3.0-or-later
// What a run asks of whoever started it: the main window, or the command line.
#pragma once

#include <QString>
#include <chrono>

/// Does nothing about it by itself.
class clsRunParent
{
public:
    virtual ~clsRunParent() = default;
    /// Makes the link being worked on visible and current, if the current view shows it.
    virtual void HighLightLink(qint64 /*linkID*/, const QString& /*siteName*/ = {}) {}
    /// Progress of a run. @param done  links dealt with. @param total  links in the run.
    virtual void RunProgress(qint64 /*done*/, qint64 /*total*/) {}
    /// The run waits of its own accord; told at least every second while it does. @param left  zero: it goes on.
    /// @param why  for people.
    virtual void RunWaits(std::chrono::milliseconds /*left*/, const QString& /*why*/) {}
};
