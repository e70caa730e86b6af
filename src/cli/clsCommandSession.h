// SPDX-License-Identifier: GPL-3.0-or-later
// What every command works in: the platform without a window, the settings, and the database when it asks for it.
#pragma once

#include "cli/clsConsoleDialogs.h"
#include "cli/clsConsoleWindows.h"
#include "platform/system/clsEndSignals.h"
#include "shell/modExitCode.h"

#include <QString>
#include <functional>

class clsDatabase;
class clsPlatformParts;
class clsRecordset;

class clsCommandSession
{
public:
    /// Puts the parts into the process's hands and reads the settings. @param parts  must outlive this.
    /// @param yes  questions are answered with Yes.
    clsCommandSession(clsPlatformParts& parts, bool yes);
    /// Closes the database; nothing is saved.
    ~clsCommandSession();
    clsCommandSession(const clsCommandSession&) = delete;
    clsCommandSession& operator=(const clsCommandSession&) = delete;

    [[nodiscard]] clsPlatformParts& Parts() const { return m_parts; }
    [[nodiscard]] clsConsoleDialogs& Dialogs() { return m_dialogs; }

    /// Runs a command's body under the error trap. @return its code, Failed when an error ended it.
    ExitCode Run(const std::function<ExitCode(clsCommandSession&)>& command);

    /// Reads the settings and looks for the database file; tells the user when it is missing. @return Done,
    /// Failed, or InUse while somebody works on the file.
    [[nodiscard]] ExitCode LocateDatabase() const;
    /// Opens the process's database. @return Done, Failed, or InUse while somebody has it for himself alone; the user
    /// has been told.
    [[nodiscard]] ExitCode OpenDatabase() const;
    /// Does a run's work: one at a time on a database, and Ctrl-C sets the stop flag. Locates and opens the database
    /// and selects the site as FindSite does. @param body  works in Database() for State().CurrentSite.
    /// @return the body's code, or why it did not come to that; the user has been told.
    [[nodiscard]] ExitCode AsRun(const QString& siteID, const std::function<ExitCode()>& body) const;
    /// Clears the stop flag; while the result lives, Ctrl-C and SIGTERM set it instead of ending the process.
    [[nodiscard]] static clsEndSignals StopBySignals();
    /// The database that OpenDatabase has opened.
    [[nodiscard]] static clsDatabase& Database();

    /// Tells the user why nothing was done.
    static ExitCode Refuse(const QString& reason);
    /// The same, for what another process holds.
    static ExitCode InUse(const QString& reason);
    /// Moves to the site that a command is for: the one named, else the one selected last, else the first; tells the
    /// user when there is none. @param sites  records of tblSites.  @param siteID  Null: none is named.
    [[nodiscard]] static ExitCode FindSite(clsRecordset& sites, const QString& siteID);
    /// Makes that site the process's selected one, as it is in the window when its links are worked on.
    [[nodiscard]] static ExitCode SelectSite(clsDatabase& database, const QString& siteID);

private:
    clsPlatformParts& m_parts;
    clsConsoleDialogs m_dialogs;
    clsConsoleWindows m_windows;
};
