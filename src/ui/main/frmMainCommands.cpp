// SPDX-License-Identifier: GPL-3.0-or-later
// What the menus, buttons and keys of the main window do.
#include "ui/main/frmMain.h"

#include "data/modDataModel.h"
#include "data/modSample.h"
#include "linktest/clsHTTP.h"
#include "linktest/modTestQueue.h"
#include "log/clsStatusLog.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsPageServer.h"
#include "platform/clsPrinter.h"
#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "platform/modPlatformImpl.h"
#include "publish/modLinksPage.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/help/frmAbout.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/main/clsInvitation.h"
#include "ui/main/clsLogo.h"
#include "ui/main/clsResultsBox.h"
#include "ui/main/clsSampleBar.h"
#include "ui/main/frmMainInside.h"
#include "ui/parts/clsRunProgress.h"
#include "ui/parts/modMenus.h"
#include "ui/parts/modPrintJob.h"
#include "ui/records/clsLinks.h"
#include "ui/records/frmExportOption.h"
#include "ui/records/frmSetTest.h"
#include "ui/records/frmSiteReport.h"

#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QMenu>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVersionNumber>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;
using modMenus::EntryOf;

namespace
{
constexpr char Module[] = "frmMain";
const QString OnlineHome = u"https://www.example.com/brambury/"_s;
/// The entry that stays while a run is busy.
constexpr int ExitEntry = 10;

void Tell(const QString& text)
{
    MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
}

QString UpdatePage()
{
    const QVersionNumber version = QVersionNumber::fromString(QLatin1String(BRAMBURY_VERSION));
    return u"%1update?maj=%2&min=%3&rev=%4"_s.arg(OnlineHome)
        .arg(version.majorVersion())
        .arg(version.minorVersion())
        .arg(version.microVersion());
}
} // namespace

void frmMain::Command(const char* routine, const std::function<void()>& body)
{
    // While the end asks its last questions the window still stands, but its lists are closed; and a command that works
    // on the whole database file keeps the window live, but has the file to itself.
    if (m_busy || m_unloaded || m_inside > 0)
        return;
    const clsInside inside(*this);
    const clsHourglass hourglass; // another program's lock is waited for, up to the first window that opens
    guardedAloud(Module, routine, body);
}

bool frmMain::HasSite() const
{
    return !State().CurrentSite.isEmpty();
}

bool frmMain::HasLinks() const
{
    if (m_gridLinkList->Links().rowCount() > 0)
        return true;
    Tell(u"There are no links available."_s);
    return false;
}

clsLogWindow* frmMain::ResultsLog() const
{
    return m_txtResults;
}

void frmMain::ServicesMenuElement(int index)
{
    if (index == ExitEntry) {
        close();
        return;
    }
    Command("ServicesMenuElement_Click", [&] {
        modBrambury::OpenDatabase();
        const bool needsSite = index == 0 || index == 1 || index == 2 || index == 5 || index == 7;
        if (needsSite && !HasSite()) {
            Tell(u"There are no sites available."_s);
            return;
        }
        switch (index) {
        case 0:
            return SendMail(true);
        case 1:
            return SendMail(false);
        case 2:
            return TestLinks();
        case 4:
            return ImportLinks();
        case 5:
            modIO::WriteLinksPage(*State().Database, State().CurrentSite,
                                  [this] { return frmExportOption::Ask(this); });
            return;
        case 7:
            frmSiteReport(this).exec();
            return;
        case 8:
            return Platform().Printer->SetUp();
        default:
            return;
        }
    });
}

void frmMain::SitesMenuElement(int index)
{
    Command("SitesMenuElement_Click", [&] {
        modBrambury::OpenDatabase();
        const bool needsSite = index == 1 || index == 2 || index == 3 || index == 5;
        if (needsSite && !HasSite()) {
            Tell(u"There are no sites available."_s);
            return;
        }
        switch (index) {
        case 0:
            return NewSite();
        case 1:
            return EditSite();
        case 2:
            return CopySite();
        case 3:
            return BeginRename();
        case 5:
            return DeleteSite();
        default:
            return;
        }
    });
    QTimer::singleShot(0, this, &frmMain::FollowOtherPrograms);
}

void frmMain::LinkMenuElement(int index)
{
    Command("LinkMenuElement_Click", [&] {
        modBrambury::OpenDatabase();
        if (index == 0) {
            if (HasSite())
                EditLink(clsLinks::NewLink);
            else
                Tell(u"You must create a site before adding a new link."_s);
            return;
        }
        const bool needsLinks = index == 1 || index == 2 || index == 4 || index == 6 || index == 7 || index == 9;
        if (needsLinks && !HasLinks())
            return;
        switch (index) {
        case 1:
            return EditLink(m_gridLinkList->CurrentLink());
        case 2:
            return DeleteLinks();
        case 4:
            return m_gridLinkList->selectAll();
        case 6:
            return SetEmail();
        case 7:
            return SetForTest();
        case 8:
            return SetMultipleTests();
        case 9:
            return ChangeStatus();
        case 13:
            return CustomizeList();
        default:
            return;
        }
    });
}

void frmMain::LinkMenuElementSub(int index)
{
    Command("LinkMenuElementSub_Click",
            [&] { SortLinkGrid(index == CategoryEntry ? int{clsLinkModel::Category} : index); });
}

void frmMain::ToolsMenuElement(int index)
{
    constexpr int backupRestore = 2; // the way out of a database that cannot be opened
    Command("ToolsMenuElement_Click", [&] {
        if (index != backupRestore)
            modBrambury::OpenDatabase();
        switch (index) {
        case 0:
            return EditTemplates();
        case 2:
            return BackupRestore();
        case 3:
            return RewriteDatabase(u"Repair Completed"_s, [](const modDBFunctions::Progress& progress) {
                return modDBFunctions::Repairdatabase(progress, State().RepairReport);
            });
        case 4:
            return RewriteDatabase(u"Compact Completed"_s, &modDBFunctions::Compactdatabase);
        case 6:
            return EditCategories();
        case 8:
            return SetOptions();
        case 10:
            return CheckMail();
        default:
            return;
        }
    });
}

void frmMain::HelpMenuElement(int index)
{
    Command("HelpMenuElement_Click", [&] {
        switch (index) {
        case 0:
            return Platform().Windows->ShowHelp(modHelpTopics::MainWindow);
        case 1:
            return Platform().Windows->ShowHelp(modHelpTopics::Search);
        case 2:
            return Platform().Windows->ShowHelp(modHelpTopics::UsingHelp);
        case 4:
            return ToggleTips();
        case 7:
            return modCommonFunctions::OpenWebBrowser(UpdatePage());
        case 11:
            return static_cast<void>(frmAbout(this).exec());
        default:
            return;
        }
    });
}

void frmMain::BryOnline(int index)
{
    Command("BryOnline_Click", [&] {
        switch (index) {
        case 0:
            return modCommonFunctions::OpenWebBrowser(OnlineHome);
        case 1:
            return modCommonFunctions::OpenWebBrowser(OnlineHome + u"support"_s);
        case 2:
            return modCommonFunctions::OpenWebBrowser(UpdatePage());
        default:
            return;
        }
    });
}

void frmMain::ShowLegend()
{
    Command("LinkButtons_Click", [] { Platform().Windows->ShowHelp(modHelpTopics::Legend); });
}

void frmMain::ToggleTips()
{
    State().Settings.ShowTips = IsOn(State().Settings.ShowTips) ? u"No"_s : u"Yes"_s;
    TickTips();
}

void frmMain::TickTips()
{
    EntryOf(*m_helpMenu, 4)->setChecked(IsOn(State().Settings.ShowTips));
}

void frmMain::TestLinks()
{
    RunSession("TestLinks", [](const clsRun::Collaborators& with) {
        const auto pages = modSample::There(*with.Database)
                               ? modPlatformImpl::MakePageServer(modSample::Pages(), modSample::PagesPort)
                               : nullptr;
        if (pages && !pages->Serving())
            modSample::TellPortTaken();
        clsHTTP(with).CheckLinks();
    });
}

void frmMain::SetForTest()
{
    const clsHourglass hourglass;
    modTestQueue::Toggle(*State().Database, m_gridLinkList->ChosenLinks());
    m_gridLinkList->Links().RefreshAll();
}

void frmMain::SetMultipleTests()
{
    frmSetTest dialog(this);
    dialog.exec();
    if (dialog.Chosen() == frmSetTest::Choice::Cancel)
        return;
    const clsHourglass hourglass;
    modTestQueue::Choice choice{.queue = dialog.Chosen() == frmSetTest::Choice::Select ? modTestQueue::Queue::Select
                                                                                       : modTestQueue::Queue::Unselect,
                                .statuses = {},
                                .allSites = dialog.SelectAllSites(),
                                .site = State().CurrentSite};
    for (int status = 0; status < modDataModel::StatusCount; ++status) {
        if (dialog.StatusToTest(status))
            choice.statuses.insert(status);
    }
    if (!modTestQueue::SetTests(*State().Database, choice).anyLinks) {
        Tell(u"There are no links available."_s);
        return;
    }
    FillLinkGrid();
}

void frmMain::RunSession(const char* routine, const std::function<void(const clsRun::Collaborators&)>& session)
{
    auto run = modBrambury::LockRunAloud();
    if (!run)
        return;
    State().StopFlag = false;
    modErrorHandler::ForgetHiddenErrors();
    SetBusy(true);
    guarded(Module, routine, [&] { session({this, m_txtResults, Platform(), State().Database.get()}); });
    SetBusy(false);
    run.reset(); // other copies need not wait until the boxes that follow are answered
    // After an end that was forced upon the run nothing touches the database any more.
    if (State().Terminating)
        return;
    guarded(Module, routine, [this] { FillLinkGrid(); });
    modErrorHandler::TellHiddenErrors();
}

void frmMain::BackupRestore()
{
    if (Platform().Windows->ShowBackupRestore())
        modBrambury::RestartProgram(u"Backup/Restore Completed"_s);
    else
        ReadAnew();
}

void frmMain::RewriteDatabase(const QString& caption,
                              const std::function<modDBFunctions::Ending(const modDBFunctions::Progress&)>& rewrite)
{
    State().StopFlag = false;
    modErrorHandler::ForgetHiddenErrors();
    const modDBFunctions::Ending ending = rewrite([this](int percent) {
        if (!m_busy)
            SetBusy(true);
        RunProgress(percent, 100);
        return !State().StopFlag;
    });
    if (m_busy)
        SetBusy(false);
    if (ending == modDBFunctions::Ending::Done)
        return modBrambury::RestartProgram(caption);
    TellRepair();
    ReadAnew();
    modErrorHandler::TellHiddenErrors();
}

void frmMain::TellRepair()
{
    clsStatusLog log(nullptr);
    log.SetLogWindow(ResultsLog());
    for (const QString& line : std::exchange(State().RepairReport, {}))
        log.LogItem(line);
}

void frmMain::ReadAnew()
{
    if (State().Database && !State().Terminating && !State().SessionEnding)
        FillLinkGrid();
}

void frmMain::StopRun()
{
    if (m_busy)
        State().StopFlag = true;
}

void frmMain::RunProgress(qint64 done, qint64 total)
{
    m_progress->Show(done, total);
}

void frmMain::RunWaits(std::chrono::milliseconds left, const QString& why)
{
    m_progress->ShowWait(left, why);
}

void frmMain::SetBusy(bool busy)
{
    m_busy = busy;
    for (QMenu* menu : {m_fileMenu, m_sitesMenu, m_linksMenu, m_sortMenu, m_toolsMenu, m_helpMenu, m_onlineMenu}) {
        for (QAction* entry : menu->actions())
            entry->setEnabled(!busy);
    }
    // To close the window is to stop the run.
    EntryOf(*m_fileMenu, ExitEntry)->setEnabled(true);
    for (QAction* action : m_bigToolBar->actions())
        action->setEnabled(!busy);
    m_stop->setEnabled(busy);
    for (QToolButton* button : m_siteButtons)
        button->setEnabled(!busy);
    for (QToolButton* button : m_linkButtons)
        button->setEnabled(!busy);
    m_siteList->setEnabled(!busy);
    m_invitation->setEnabled(!busy);
    m_sampleBar->setEnabled(!busy);
    m_linksTab->setEnabled(!busy);
    m_txtFilter->setEnabled(!busy);
    m_hideInactiveDeclined->setEnabled(!busy);
    m_chkShowURL->setEnabled(!busy);
    if (busy) {
        Platform().Windows->SetPointer(clsWindows::Pointer::Default);
        m_highlight = 0;
        m_highlighted = 0;
        m_logo->Start();
        m_progress->Start();
        return;
    }
    m_logo->Stop();
    m_progress->Stop();
    if (!State().Terminating)
        ShowPendingLink();
    m_highlight = 0;
    m_txtResults->ShowPending();
}

void frmMain::ResultButton(int index)
{
    // These act during a run too.
    const clsInside inside(*this);
    guarded(Module, "ResultButtons_Click", [&] {
        if (m_txtResults->Text().isEmpty()) {
            Tell(u"The results log is empty."_s);
            return;
        }
        switch (index) {
        case 0:
            return SaveLog();
        case 1:
            return PrintLog();
        case 2:
            return m_txtResults->Clear();
        default:
            return;
        }
    });
}

void frmMain::SaveLog()
{
    const QString path = Platform().Dialogs->SaveFile({.title = u"Save To"_s,
                                                       .filter = u"Log File (*.log)|*.log"_s,
                                                       .fileName = u"Results.log"_s,
                                                       .folder = modBrambury::ProgramFolder(),
                                                       .confirmOverwrite = false});
    modResultsLog::SaveLog(m_txtResults->Text(), path, *Platform().Disk);
}

void frmMain::PrintLog()
{
    const modPrintJob::Job job = [this] {
        modResultsLog::PrintLog(m_txtResults->Text(), *Platform().Printer);
        return true;
    };
    modPrintJob::OnUsualPrinter(job, u"the results log"_s, u"Results.pdf"_s);
}
