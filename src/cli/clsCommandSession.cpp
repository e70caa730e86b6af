// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/clsCommandSession.h"

#include "cli/modConsole.h"
#include "data/modDBFunctions.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/parts/clsPlatformParts.h"
#include "shell/clsErrorHandler.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;

clsCommandSession::clsCommandSession(clsPlatformParts& parts, bool yes) : m_parts(parts), m_dialogs(yes)
{
    State().Platform = parts.Bundle();
    State().Platform.Dialogs = &m_dialogs;
    State().Platform.Windows = &m_windows;
    modBrambury::SetProgramFolder(parts.ProgramFolder());
}

clsCommandSession::~clsCommandSession()
{
    modBrambury::CloseProcessDatabase();
    State().Platform = {};
}

ExitCode clsCommandSession::Run(const std::function<ExitCode(clsCommandSession&)>& command)
{
    ExitCode code = ExitCode::Failed;
    const int errorsBefore = clsErrorHandler::Instance().Count;
    const Guarded ending = guarded("modCommandLine", "RunCommandLine", [&] { code = command(*this); });
    modErrorHandler::TellHiddenErrors();
    if (ending != Guarded::Done || State().Terminating)
        return ExitCode::Failed;
    // A command may go on after an error, but it has not ended well.
    const bool well = code == ExitCode::Done || code == ExitCode::Findings;
    return well && clsErrorHandler::Instance().Count > errorsBefore ? ExitCode::Failed : code;
}

ExitCode clsCommandSession::LocateDatabase() const
{
    modBrambury::LoadProgramSettings();
    if (modBrambury::LocateDatabase())
        return ExitCode::Done;
    return State().FileInUse ? ExitCode::InUse : ExitCode::Failed;
}

ExitCode clsCommandSession::OpenDatabase() const
{
    if (modDBFunctions::OpenProcessDatabase())
        return ExitCode::Done;
    return State().FileInUse ? ExitCode::InUse : ExitCode::Failed;
}

ExitCode clsCommandSession::AsRun(const QString& siteID, const std::function<ExitCode()>& body) const
{
    const clsEndSignals signals = StopBySignals();
    if (const ExitCode located = LocateDatabase(); located != ExitCode::Done)
        return located;
    const auto lock = modBrambury::LockRun();
    if (!lock)
        return InUse(u"Another run is under way on this database."_s);
    if (const ExitCode opened = OpenDatabase(); opened != ExitCode::Done)
        return opened;
    const ExitCode selected = SelectSite(Database(), siteID);
    return selected == ExitCode::Done ? body() : selected;
}

clsEndSignals clsCommandSession::StopBySignals()
{
    State().StopFlag = false;
    return clsEndSignals([] { State().StopFlag = true; });
}

clsDatabase& clsCommandSession::Database()
{
    return *State().Database;
}

ExitCode clsCommandSession::Refuse(const QString& reason)
{
    modConsole::ErrorLine(reason);
    return ExitCode::Refused;
}

ExitCode clsCommandSession::InUse(const QString& reason)
{
    modConsole::ErrorLine(reason);
    return ExitCode::InUse;
}

ExitCode clsCommandSession::FindSite(clsRecordset& sites, const QString& siteID)
{
    if (!siteID.isNull() && !modSites::Find(sites, siteID))
        return Refuse(u"There is no site "_s + siteID + u'.');
    if (siteID.isNull() && !modSites::MoveToLastUsed(sites, State().Settings.Site)) {
        modCommonFunctions::MsgBox(u"There are no sites available."_s, clsDialogs::Buttons::OK,
                                   clsDialogs::Icon::Information);
        return ExitCode::Refused;
    }
    return ExitCode::Done;
}

ExitCode clsCommandSession::SelectSite(clsDatabase& database, const QString& siteID)
{
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    const ExitCode found = FindSite(*sites, siteID);
    if (found == ExitCode::Done)
        modSites::Select(*sites);
    return found;
}
