// SPDX-License-Identifier: GPL-3.0-or-later
// What the main window does with the records themselves: adding, editing, copying, renaming, deleting sites and links.
#include "ui/main/frmMain.h"

#include "data/clsDeletedLinks.h"
#include "data/modDataModel.h"
#include "data/modLinks.h"
#include "data/modSample.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/lists/frmCustomizeGrid.h"
#include "ui/main/frmMainInside.h"
#include "ui/main/frmOptions.h"
#include "ui/parts/modTips.h"
#include "ui/records/clsLinks.h"
#include "ui/records/clsSelectionDialog.h"
#include "ui/records/clsSites.h"
#include "ui/records/frmCategories.h"
#include "ui/records/frmImportWizard.h"

#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "frmMain";
} // namespace

void frmMain::ShowSite(const QString& siteID)
{
    State().Settings.Site = siteID;
    FillSiteList();
}

void frmMain::NewSite()
{
    const QString before = State().CurrentSite;
    bool failed = false;
    clsSites sites(*State().Database, this);
    connect(&sites, &clsSites::SiteSaved, this, [&](const QString& siteID, bool added) {
        const bool shown = guarded(Module, "SitesMenuElement_Click", [&] { ShowSite(siteID); }) == Guarded::Done &&
                           State().CurrentSite == siteID;
        failed = failed || (added && !shown);
    });
    connect(&sites, &clsSites::SiteShown, this, &frmMain::FollowSite);
    const QString siteID = sites.SiteProperties(modBrambury::NewSiteID);
    if (siteID == modBrambury::NewSiteID && State().CurrentSite != before)
        FollowSite(before);
    if (!failed || State().Terminating || State().SessionEnding)
        return;
    MsgBox(u"An error was encountered while adding a new site.  %1\r\n"
           "will restart in an attempt to resolve this problem."_s.arg(modBrambury::ProgramTitle),
           clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    modBrambury::RestartProgram(modBrambury::ProgramTitle);
}

void frmMain::EditSite()
{
    clsSites sites(*State().Database, this);
    connect(&sites, &clsSites::SiteSaved, this, &frmMain::FollowSite);
    connect(&sites, &clsSites::SiteShown, this, &frmMain::FollowSite);
    sites.SiteProperties(State().CurrentSite);
}

void frmMain::FollowSite(const QString& siteID)
{
    guarded(Module, "SiteProperties", [&] {
        // Another program may have added or renamed it since the list was filled.
        if (SiteNode(siteID))
            LoadSite(siteID);
        else
            ShowSite(siteID);
    });
}

void frmMain::CopySite()
{
    QString copy;
    {
        const clsHourglass hourglass;
        copy = modSites::Copy(*State().Database, State().CurrentSite);
    }
    if (!copy.isEmpty())
        ShowSite(copy);
}

void frmMain::BeginRename()
{
    if (m_siteList->findChild<QLineEdit*>())
        return; // a name is being typed already
    m_siteList->setFocus();
    if (QTreeWidgetItem* node = m_siteList->currentItem())
        m_siteList->editItem(node);
}

void frmMain::RenameSite(const QString& siteID, const QString& label)
{
    Command("SiteList_AfterLabelEdit", [&] {
        const QString name = modSites::Trimmed(label);
        if (name.isEmpty() || name == siteID)
            return;
        clsDatabase& database = *State().Database;
        const QString problem = modSites::NameProblem(database, name, modSites::NameFor::Rename, siteID);
        if (!problem.isEmpty()) {
            MsgBox(problem, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
            return;
        }
        {
            const clsHourglass hourglass;
            modSites::Rename(database, siteID, name);
        }
        m_deletedLinks->SiteRenamed(siteID, name);
        FillSiteList();
    });
}

void frmMain::DeleteSite()
{
    const QString siteID = State().CurrentSite;
    if (!modSites::ConfirmDelete(siteID))
        return;
    // The neighbour takes the place of the one that goes.
    const QTreeWidgetItem* node = m_siteList->currentItem();
    const QTreeWidgetItem* next = node ? m_siteList->itemBelow(node) : nullptr;
    if (!next && node)
        next = m_siteList->itemAbove(node);
    {
        const clsHourglass hourglass;
        modSites::Delete(*State().Database, siteID);
    }
    ShowSite(next ? SiteOf(*next) : QString());
}

void frmMain::AddSample()
{
    Command("AddSample", [this] {
        clsDatabase& database = modBrambury::OpenDatabase();
        const clsHourglass hourglass;
        // Another copy of the program may have begun meanwhile.
        if (modSample::Problem(database).isEmpty())
            State().Settings.Site = modSample::Add(database);
        FillSiteList();
        m_gridLinkList->setFocus();
    });
}

void frmMain::RemoveSample()
{
    Command("RemoveSample", [this] {
        clsDatabase& database = modBrambury::OpenDatabase();
        if (!modSample::Remove(database))
            return;
        ShowSite(State().CurrentSite);
        m_gridLinkList->setFocus();
    });
}

void frmMain::EditLink(qint64 linkID)
{
    clsLinks links(*State().Database, this);
    const auto show = [this](qint64 id) { m_gridLinkList->GoToLink(id); };
    std::vector<qint64> saved;
    qint64 lastAdded = 0;
    connect(&links, &clsLinks::LinkSaved, this, [&](qint64 id, bool added) {
        std::erase(saved, id);
        saved.push_back(id);
        guarded(Module, "LinkProperties", [&] {
            if (added) {
                lastAdded = id;
                // A filter that is in the way would hide what has just been made.
                m_txtFilter->clear();
                FillLinkGrid();
            } else
                m_gridLinkList->Links().RefreshLink(id);
            show(id);
        });
    });
    connect(&links, &clsLinks::LinkShown, this, show);
    const bool shown = links.LinkProperties(linkID, Bounds()) != 0 || linkID == clsLinks::NewLink;
    if (State().Terminating)
        return;
    if (!shown)
        return FillLinkGrid(); // another program may have deleted it
    if (saved.empty())
        return;
    // Links that have left the view stay until here, so that they can be edited further.
    const auto inView = m_linkQuery->OpenRecordset();
    std::erase_if(saved, [&](qint64 id) { return inView->PositionOf(id) >= 0; });
    if (saved.empty())
        return UpdateCounter();
    m_gridLinkList->RemoveLinks(saved);
    FillLinkGrid();
    ShowWhereFiled(saved, lastAdded);
}

void frmMain::ShowWhereFiled(const std::vector<qint64>& links, qint64 added)
{
    QList<int> statuses;
    QString title;
    for (const qint64 id : links) {
        const auto link = modLinks::WhereFiled(*State().Database, id);
        if (!link)
            continue; // deleted meanwhile
        title = link->Title;
        statuses << link->Status;
        // Whoever has made a link wants to see it.
        if (id == added && HasTab(statuses.last())) {
            ShowView(statuses.last());
            m_gridLinkList->GoToLink(id);
            return;
        }
    }
    if (statuses.isEmpty())
        return;
    const bool together = statuses.count(statuses.first()) == statuses.size();
    TellFiled(together ? statuses.first() : modDataModel::ViewAll, statuses.size(), title);
}

void frmMain::TellFiled(int status, qint64 count, const QString& title)
{
    const QString what = count == 1 ? modTips::OneLine(title) : u"%1 links"_s.arg(count);
    const QString where = status == modDataModel::ViewAll ? u"other tabs"_s
                          : HasTab(status)
                              ? u"the tab \"%1\""_s.arg(State().StatusNames.value(status))
                              : u"the status \"%1\", whose tab is hidden"_s.arg(State().StatusNames.value(status));
    m_lblFiled->setText(u"Now in %1:  %2"_s.arg(where, what));
    m_lblFiled->show();
    QAccessibleEvent told(m_lblFiled, QAccessible::Alert);
    QAccessible::updateAccessibility(&told);
}

void frmMain::DeleteLinks()
{
    const std::vector<qint64> chosen = m_gridLinkList->ChosenLinks();
    const QString title = m_gridLinkList->currentIndex().siblingAtColumn(clsLinkModel::Title).data().toString();
    if (!modLinks::ConfirmDelete(title))
        return;
    const clsHourglass hourglass;
    m_deletedLinks->Delete(*State().Database, chosen);
    m_gridLinkList->RemoveLinks(chosen);
    FillLinkGrid();
}

void frmMain::UndoDelete()
{
    Command("UndoDelete", [this] {
        if (!m_deletedLinks->Any())
            return;
        const clsHourglass hourglass;
        const std::vector<qint64> restored = m_deletedLinks->Restore(*State().Database);
        FillLinkGrid();
        if (!restored.empty())
            m_gridLinkList->MakeCurrent(restored.front());
    });
}

void frmMain::ChangeStatus()
{
    // The filter may go on behind the dialog.
    const std::vector<qint64> chosen = m_gridLinkList->ChosenLinks();
    if (chosen.empty())
        return;
    const clsLinkModel& shown = m_gridLinkList->Links();
    const QString title = shown.index(shown.RowOf(chosen.front()), clsLinkModel::Title).data().toString();
    clsSelectionDialog dialog;
    dialog.Caption = u"Change Status"_s;
    dialog.arraySelections = State().StatusNames;
    dialog.GetSelection(this);
    const int status = dialog.Selected();
    if (status < 0)
        return;
    const clsHourglass hourglass;
    modLinks::SetFields(*State().Database, chosen, {{u"Status"_s, status}});
    // Links that leave the view do so first, so that a neighbour becomes the current one.
    const bool leave = status <= Bounds().low || status >= Bounds().high;
    if (leave)
        m_gridLinkList->RemoveLinks(chosen);
    FillLinkGrid();
    m_gridLinkList->Links().RefreshAll();
    if (leave)
        TellFiled(status, std::ssize(chosen), title);
}

void frmMain::ImportLinks()
{
    frmImportWizard({Platform(), State().Database.get()}, this).exec();
    if (HasSite() && !State().Terminating)
        LoadSite(State().CurrentSite);
}

void frmMain::EditCategories()
{
    frmCategories dialog(*State().Database, this);
    dialog.exec();
    if (!dialog.RefillMain() || State().Terminating)
        return;
    FillCategoryList();
    FillLinkGrid();
}

void frmMain::CustomizeList()
{
    frmCustomizeGrid(*m_gridLinkList, this).exec();
}

void frmMain::SetOptions()
{
    frmOptions(*State().Database, this).exec();
    TickTips();
}
