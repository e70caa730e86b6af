// SPDX-License-Identifier: GPL-3.0-or-later
// The process: its entry routine, its end, its restart, and the values that live as long as it does.
#pragma once

#include "platform/clsPlatform.h"
#include "shell/clsProgramSettings.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class clsDatabase;
class clsFileLock;
class clsWorkspace;

namespace modBrambury
{
inline const QString ProgramTitle = QStringLiteral("Brambury");
inline const QString DatabaseFile = QStringLiteral("Bramdat.mdb");
inline const QString TemporaryDatabaseFile = QStringLiteral("_Bramdat.mdb");
/// Locked shared by whoever has the database open, exclusively for work on the whole file.
inline const QString DatabaseLockFile = QStringLiteral("Bramdat.use");
/// What the database file is opened with.
inline const QString ConnectString = QStringLiteral(";pwd=SandDune");
/// Where a site being created stands before it has a name.
inline const QString NewSiteID = QStringLiteral("*New");

/// One of the eight kinds of message, a row of tblMailType.
struct MessageType
{
    int ID = 0;
    QString Title;
    bool Offer = false;
};

/// The four tests of a site, as its record switches them.
struct TestSwitches
{
    bool MyLinkAtRecipSite = false;
    bool MyImageAtRecipSite = false;
    bool RecipLinkAtMySite = false;
    bool RecipImageAtMySite = false;
};

/// Values that live for the whole process; Main sets them anew at a restart.
struct ProcessState
{
    clsPlatform Platform;
    clsProgramSettings Settings;
    std::unique_ptr<clsWorkspace> Workspace;
    std::unique_ptr<clsDatabase> Database;      ///< the one open database; empty while it is closed
    std::unique_ptr<clsFileLock> DatabaseInUse; ///< shared lock on Bramdat.use while the database is open

    bool Terminating = false;    ///< end without the normal closing work
    bool OtherCopy = false;      ///< another copy runs already and was brought to the front
    bool Restarting = false;     ///< the next Main shows no splash
    bool BackupFromExit = false; ///< the backup window was opened from an offer
    bool DatabaseWork = false;   ///< compact or repair is at work on the file
    bool Dialled = false;        ///< the program itself dialled the connection
    bool SessionEnding = false;  ///< end without questions, settings saved all the same: log-out, SIGTERM
    bool FileInUse = false;      ///< the last attempt to get at the database met somebody who needs it alone
    bool StopFlag = false;       ///< the Stop button was pressed; cleared by whoever starts a run

    /// What a repair or restore has to say; the window that the restart loads puts it into its results log. The entry
    /// routine leaves it alone.
    QStringList RepairReport;

    QString CurrentSite;                   ///< SiteID of the selected site
    TestSwitches Tests;                    ///< of the selected site
    QStringList StatusNames;               ///< index = status code
    std::vector<MessageType> MessageTypes; ///< in stored order
};

/// The one instance.
ProcessState& State();
inline clsPlatform& Platform()
{
    return State().Platform;
}

/// Which program this is, as people are told.
struct ProgramVersion
{
    QString Number; ///< "1.0"
    QString Build;  ///< three digits, "012"
};
ProgramVersion Version();

/// What the process does when the event loop is left.
enum class Next
{
    End,
    Restart
};
/// Reset by Main; set by RestartProgram. Read by the entry function after the event loop.
Next NextStep();

/// The entry routine: second copy, settings, database file, workspace, splash, main window.
/// @return false when the program ends at once (another copy runs, no database file, or it was aborted).
bool Main();
/// The normal end, called by the main window's close request only: backup reminder, settings, windows, database.
/// @param bAbort  an end without saving: only sets the terminating flag, then windows and database.
void EndProgram(bool bAbort = false);
/// Ends without the closing work: inside a run or dialog it sets its flags and every wait returns; the rest follows
/// when they have returned.
void AbortProgram();
/// Tells the user, unloads every window and runs Main again (the entry function does, when the event loop is left).
/// @param caption  of the message box.
void RestartProgram(const QString& caption);
/// Shows which program this is while it has no other window; the first box or the main window takes its place.
void ShowSplash();
void UnloadAllForms(bool bKeepMain);

/// Fills every settings value from the store, in the table's order; a text that does not convert stops it there.
void LoadProgramSettings();
/// Writes every value but DataPath. @return whether the store has them.
bool SaveProgramSettings();

/// Closes database and workspace; harmless when nothing is open.
void CloseProcessDatabase();
/// Full path of the database file.
QString DatabasePath();
/// The open database. @throws DatabaseClosed
clsDatabase& OpenDatabase();
/// Looks for the database file and tells the user when it is not there; when an unfinished compact or repair left its
/// temporary file, offers to put that back. @return whether the database file is there.
bool LocateDatabase();
/// Puts the temporary file back as the database file, if it is whole. The caller holds Bramdat.use alone.
/// @throws clsError
void PutBackDatabase();
/// Bramdat.use for this process alone. @return empty when others have the database open, or work on the file; the user
/// has been told, and FileInUse is set.
std::unique_ptr<clsFileLock> LockDatabase();
/// Bramdat.run for this process alone: one run at a time, whichever copy of the program has started it. @return empty
/// while another run is under way.
std::unique_ptr<clsFileLock> LockRun();
/// The same; the user is told of the other run.
std::unique_ptr<clsFileLock> LockRunAloud();

/// Clears the results of one site's links.
void ClearResults(const QString& siteID);
/// Reads tblMailType into MessageTypes.
void LoadMessageTypes();
/// Fills StatusNames: "Offer", "In-Process", "Active", "Broken", "Inactive", "Declined".
void LoadStatusNames();

/// The folder of this installation: database, Error.log, temporary files, sound. Set by SetProgramFolder at start.
QString ProgramFolder();
void SetProgramFolder(const QString& folder);
/// A path inside the program folder, from one of the fixed literals ("\Data\", "\$$$http.tmp"), native separators.
QString FolderPath(const QString& literal);
} // namespace modBrambury
