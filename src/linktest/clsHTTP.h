// SPDX-License-Identifier: GPL-3.0-or-later
// The link test run: whether each promised link and image is really there, in both directions.
#pragma once

#include "log/clsRun.h"

#include <QString>

/// One session over every link queued for testing. Reports through the log, message boxes and the records.
class clsHTTP
{
public:
    using Collaborators = clsRun::Collaborators;

    /// How a session ended, for callers that have an exit code to choose.
    enum class Ending
    {
        Done,         ///< every queued link was judged
        Empty,        ///< nothing was queued
        Stopped,      ///< the stop flag
        NoConnection, ///< not connected to the Internet
        UnknownSite,  ///< a link's site was not found
        Failed,       ///< an error that was reported
    };

    explicit clsHTTP(Collaborators collaborators) : m_with(collaborators) {}
    clsHTTP(const clsHTTP&) = delete;
    clsHTTP& operator=(const clsHTTP&) = delete;

    /// Runs one session; the four switches and the site whose results are cleared are those of modBrambury::State().
    void CheckLinks();
    [[nodiscard]] Ending LastEnding() const { return m_ending; }
    /// Links of the last session that failed a test.
    [[nodiscard]] qint64 FailedLinks() const { return m_failed; }

    /// Removes the first "www." of an address; empty when there is none. The caller's copy becomes lower case.
    static QString StripWww(QString& address);
    /// The address with its host replaced by `ip`; the caller's copy becomes lower case unless `ip` is empty.
    static QString IpForm(QString& address, const QString& ip);
    /// The address that is requested: "/" is appended unless it ends like a page.
    static QString PageAddress(const QString& linkPage);

private:
    struct Session;
    Collaborators m_with;
    Ending m_ending = Ending::Done;
    qint64 m_failed = 0;
};
