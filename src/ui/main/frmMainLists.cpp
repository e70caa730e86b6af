// SPDX-License-Identifier: GPL-3.0-or-later
// The lists of the main window: sites, categories, status views and links.
#include "ui/main/frmMain.h"

#include "data/clsDeletedLinks.h"
#include "data/modCategories.h"
#include "data/modDataModel.h"
#include "data/modSample.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/main/clsInvitation.h"
#include "ui/main/clsSampleBar.h"
#include "ui/main/frmMainInside.h"
#include "ui/parts/modIcons.h"
#include "ui/parts/modMenus.h"
#include "ui/parts/modTips.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QScopeGuard>
#include <QSignalBlocker>
#include <QTabBar>
#include <QToolBar>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "frmMain";
/// Where a node of the site list keeps the site's key.
constexpr int SiteRole = Qt::UserRole;
/// The same for the number of its record, by which it is known when another program renames it.
constexpr int RecordRole = Qt::UserRole + 1;
/// The tab of the first status; the one before it shows all.
constexpr int FirstStatusTab = 1;
/// How long a look at what other programs have changed waits for their locks.
constexpr std::chrono::milliseconds FollowPatience{100};

struct StatusTab
{
    const char16_t* caption;
    const char16_t* tip;
};
// The tip of the second one calls the status by the word that the list's styles have for it.
constexpr std::array<StatusTab, modDataModel::StatusCount> StatusTabs{{
    {u"Offer", u"Show links in Offer status"},
    {u"In-Process", u"Show links in Pending status"},
    {u"Active", u"Show links in Active status"},
    {u"Broken", u"Show links in Broken status"},
    {u"Inactive", u"Show links in Inactive status"},
    {u"Declined", u"Show links in Declined status"},
}};

QString MissingSiteText(const QString& site)
{
    return u"Settings for site \"%1\" could not be retrieved.\r\n"
           "\r\n"
           "If this problem persists, exit Brambury and restart \r\n"
           "the program.  If it still persists, try repairing the \r\n"
           "database by selecting the Repair Database option in \r\n"
           "the Tools menu."_s.arg(site);
}
} // namespace

void frmMain::OpenLists()
{
    clsDatabase& database = modBrambury::OpenDatabase();
    m_sites = database.OpenRecordset(u"tblSites"_s);
    m_linkQuery = database.QueryDef(u"qryLinkList"_s);
}

void frmMain::FillSiteList()
{
    if (!m_sites)
        OpenLists(); // they could not be read at the start
    {
        const QSignalBlocker quiet(m_siteList);
        m_siteList->clear();
        m_sites->Requery();
        for (m_sites->MoveFirst(); !m_sites->AfterLast(); m_sites->MoveNext()) {
            const QString site = modCommonFunctions::TextOf(m_sites->Field(u"SiteID"_s));
            auto* node = new QTreeWidgetItem(m_siteList, {site});
            node->setData(0, SiteRole, site);
            node->setData(0, RecordRole, m_sites->Bookmark());
            node->setFlags(node->flags() | Qt::ItemIsEditable);
            node->setToolTip(0, modTips::Plain(site));
            node->setIcon(0, modIcons::Icon(u"site"_s));
        }
    }
    m_sampleBar->setVisible(modSample::There(modBrambury::OpenDatabase()));
    if (modSites::MoveToLastUsed(*m_sites, State().Settings.Site)) {
        LoadSite(modCommonFunctions::TextOf(m_sites->Field(u"SiteID"_s)));
        return;
    }
    State().CurrentSite.clear();
    setWindowTitle(modBrambury::ProgramTitle);
    FillCategoryList();
    FillLinkGrid();
}

void frmMain::FollowOtherPrograms()
{
    if (m_busy || m_inside > 0 || m_unloaded || !m_sites || !State().Database || QApplication::activeModalWidget() ||
        m_siteList->findChild<QLineEdit*>())
        return;
    const clsInside inside(*this);
    const clsHourglass hourglass;
    ignoringErrors([this] {
        const auto stored = [this] {
            // Nobody has asked for this: what is locked for longer is looked at when somebody comes back again.
            State().Database->SetPatience(FollowPatience);
            const auto usual = qScopeGuard([] { State().Database->SetPatience(clsDatabase::UsualPatience); });
            m_sites->Requery();
            return m_sites->Rows(0, m_sites->RecordCount(), {u"SiteID"_s});
        }();
        bool same = std::ssize(stored) == m_siteList->topLevelItemCount();
        for (int i = 0; same && i < m_siteList->topLevelItemCount(); ++i) {
            const auto& row = stored[static_cast<std::size_t>(i)];
            same = !row.empty() && modCommonFunctions::TextOf(row[0]) == SiteOf(*m_siteList->topLevelItem(i));
        }
        if (same)
            return;
        const QString before = State().CurrentSite;
        const QTreeWidgetItem* node = SiteNode(before);
        const clsBookmark record = node ? node->data(0, RecordRole).toLongLong() : 0;
        if (node && !modSites::Find(*m_sites, before) && m_sites->PositionOf(record) >= 0) {
            m_sites->MoveTo(record);
            State().Settings.Site = modCommonFunctions::TextOf(m_sites->Field(u"SiteID"_s));
            m_deletedLinks->SiteRenamed(before, State().Settings.Site);
        }
        FillSiteList();
    });
}

void frmMain::SelectSiteNode(const QString& siteID)
{
    const QSignalBlocker quiet(m_siteList);
    if (QTreeWidgetItem* node = SiteNode(siteID))
        m_siteList->setCurrentItem(node);
    m_siteList->viewport()->update();
}

QTreeWidgetItem* frmMain::SiteNode(const QString& siteID) const
{
    for (int i = 0; i < m_siteList->topLevelItemCount(); ++i) {
        QTreeWidgetItem* node = m_siteList->topLevelItem(i);
        if (SiteOf(*node).compare(siteID, Qt::CaseInsensitive) == 0)
            return node;
    }
    return nullptr;
}

QString frmMain::SiteOf(const QTreeWidgetItem& node)
{
    return node.data(0, SiteRole).toString();
}

void frmMain::SiteNodeChosen()
{
    const QTreeWidgetItem* node = m_siteList->currentItem();
    if (!node)
        return;
    const QString site = SiteOf(*node);
    Command("SiteList_NodeClick", [&] {
        if (site != State().CurrentSite && !LoadSite(site))
            SelectSiteNode(State().CurrentSite);
        // Not from here: the list is in the middle of its click.
        QTimer::singleShot(0, this, &frmMain::FollowOtherPrograms);
    });
}

bool frmMain::LoadSite(const QString& siteID)
{
    if (!m_sites)
        OpenLists();
    if (!modSites::Find(*m_sites, siteID)) {
        MsgBox(MissingSiteText(siteID), clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return false;
    }
    modSites::Select(*m_sites);
    State().Settings.Site = State().CurrentSite;
    setWindowTitle(u"%1    [Site: %2]"_s.arg(modBrambury::ProgramTitle, modTips::OneLine(State().CurrentSite)));
    SelectSiteNode(State().CurrentSite);
    FillCategoryList();
    FillLinkGrid();
    return true;
}

void frmMain::FillCategoryList()
{
    m_lstCategory->clear();
    QHash<qint64, QString> names;
    if (HasSite()) {
        for (const auto& [id, name] : modCategories::ByName(*State().Database, State().CurrentSite)) {
            (new QListWidgetItem(name, m_lstCategory))->setData(Qt::UserRole, id);
            names.insert(id, name);
        }
    }
    m_gridLinkList->Links().SetCategories(std::move(names));
}

modDataModel::StatusBounds frmMain::Bounds() const
{
    return modDataModel::BoundsOf(m_view, m_hideInactiveDeclined->isChecked());
}

void frmMain::FillLinkGrid()
{
    m_lblFiled->hide();
    std::unique_ptr<clsRecordset> links;
    if (HasSite() && m_linkQuery) {
        const modDataModel::StatusBounds bounds = Bounds();
        m_linkQuery->SetParameter(u"Site"_s, State().CurrentSite);
        m_linkQuery->SetParameter(u"StatusLow"_s, bounds.low);
        m_linkQuery->SetParameter(u"StatusHigh"_s, bounds.high);
        links = m_linkQuery->OpenRecordset();
    }
    // The order that is ticked in the menu holds for every view.
    const QString field = modDataModel::SortField(State().Settings.Sort);
    if (links && State().Settings.Sort != modDataModel::SortNatural && !field.isEmpty()) {
        links->SetSort(field);
        links = links->OpenRecordset();
    }
    ShowLinks(std::move(links));
}

void frmMain::ShowLinks(std::unique_ptr<clsRecordset> links)
{
    m_gridLinkList->SetLinks(std::move(links));
    UpdateCounter();
    UpdateEmptyState();
}

void frmMain::UpdateCounter()
{
    m_lblLinksInView->setText(u"[ %1 link(s) in current view ]"_s.arg(m_gridLinkList->Links().rowCount()));
}

void frmMain::UpdateEmptyState()
{
    clsLinkModel& links = m_gridLinkList->Links();
    m_invitation->setVisible(m_sites && !HasSite());
    if (links.Filtering())
        m_gridLinkList->SetEmptyState(u"Searching the links..."_s, {});
    else if (links.Filtered() && !links.Empty())
        m_gridLinkList->SetEmptyState(u"No link in this view matches the filter"_s,
                                      u"Press Esc to clear the filter."_s);
    else if (!HasSite())
        m_gridLinkList->SetEmptyState({}, {}); // the invitation lies over it
    else if (m_view >= 0)
        m_gridLinkList->SetEmptyState(
            u"No link of this site has the status \"%1\""_s.arg(State().StatusNames.value(m_view)),
            u"The tab \"All\" shows the others."_s);
    else if (m_hideInactiveDeclined->isChecked())
        m_gridLinkList->SetEmptyState(u"There are no links to show"_s,
                                      u"Choose \"New Link\", or \"Import Links...\" in the File menu.  Links that are "
                                      "inactive or declined are hidden."_s);
    else
        m_gridLinkList->SetEmptyState(
            u"This site has no links yet"_s,
            u"Choose \"New Link\" below the list, or \"Import Links...\" in the File menu, to add "
            "your first partners."_s);
}

void frmMain::SortLinkGrid(int code)
{
    if (!HasLinks()) {
        UpdateSort();
        return;
    }
    const qint16 before = std::exchange(State().Settings.Sort, static_cast<qint16>(code));
    auto failed = qScopeGuard([&] {
        State().Settings.Sort = before;
        UpdateSort();
    });
    const QString field = modDataModel::SortField(code);
    if (code == modDataModel::SortNatural || field.isEmpty()) {
        FillLinkGrid();
    } else {
        const auto clone = m_gridLinkList->Links().Recordset()->Clone();
        clone->SetSort(field);
        ShowLinks(clone->OpenRecordset());
    }
    failed.dismiss();
    UpdateSort();
}

void frmMain::UpdateSort()
{
    const int code = State().Settings.Sort;
    const bool sorted = code != modDataModel::SortNatural && !modDataModel::SortField(code).isEmpty();
    int entry = sorted ? code : modDataModel::SortNatural;
    if (entry == clsLinkModel::Category)
        entry = CategoryEntry;
    for (QAction* action : m_sortMenu->actions())
        action->setChecked(!action->isSeparator() && action->data().toInt() == entry);
    m_gridLinkList->ShowSort(sorted ? code : -1);
}

void frmMain::AddStatusTabs(int from, int to)
{
    for (int i = from; i < to; ++i) {
        const StatusTab& tab = StatusTabs.at(static_cast<std::size_t>(i));
        m_linksTab->addTab(modIcons::Status(i), QString::fromUtf16(tab.caption));
        m_linksTab->setTabToolTip(i + FirstStatusTab, QString::fromUtf16(tab.tip));
    }
}

void frmMain::StatusViewChosen(int tab)
{
    // The strip shows the new tab before anyone is asked; during a run it keeps the old one.
    const int view = tab - FirstStatusTab;
    if (m_busy || m_inside > 0) {
        const QSignalBlocker quiet(m_linksTab);
        m_linksTab->setCurrentIndex(m_view + FirstStatusTab);
        return;
    }
    if (view == m_view)
        return;
    Command("LinksTab_Click", [this, view] { ShowView(view); });
}

bool frmMain::HasTab(int view) const
{
    return view + FirstStatusTab < m_linksTab->count();
}

void frmMain::ShowView(int view)
{
    const int before = std::exchange(m_view, view);
    const auto show = qScopeGuard([this] {
        const QSignalBlocker quiet(m_linksTab);
        m_linksTab->setCurrentIndex(m_view + FirstStatusTab);
    });
    auto failed = qScopeGuard([&] { m_view = before; });
    FillLinkGrid();
    failed.dismiss();
}

void frmMain::HideInactiveDeclinedClicked(bool hide)
{
    State().Settings.HideInactiveDeclined = hide ? 1 : 0;
    {
        const QSignalBlocker quiet(m_linksTab);
        if (hide) {
            // A view whose tab goes away gives way to all links.
            if (m_view >= modDataModel::Inactive) {
                m_view = modDataModel::ViewAll;
                m_linksTab->setCurrentIndex(0);
            }
            while (m_linksTab->count() > modDataModel::Inactive + FirstStatusTab)
                m_linksTab->removeTab(m_linksTab->count() - 1);
        } else if (m_linksTab->count() == modDataModel::Inactive + FirstStatusTab) {
            AddStatusTabs(modDataModel::Inactive, modDataModel::StatusCount);
        }
    }
    Command("HideInactiveDeclined_Click", [this] { FillLinkGrid(); });
}

void frmMain::HighLightLink(qint64 linkID, const QString& /*siteName*/)
{
    m_highlight = linkID;
    if (!m_highlightTimer.isActive())
        m_highlightTimer.start();
}

void frmMain::ShowPendingLink()
{
    m_highlightTimer.stop();
    if (m_highlight == 0)
        return;
    guarded(Module, "HighLightLink", [this] {
        // What has been judged since last time shows its verdict.
        if (m_highlight != m_highlighted)
            m_gridLinkList->Links().RefreshAll();
        m_highlighted = m_highlight;
        m_gridLinkList->MakeCurrent(m_highlight);
    });
}

void frmMain::ReportReadFailure()
{
    // During a run a lock is no news: the run waits for it, and reports it. At its end the rows are read anew. Nor is
    // it news that a database which is being copied or rewritten cannot be read.
    if (m_busy || !State().Database)
        return;
    const clsInside inside(*this);
    guarded(Module, "gridLinkList_UnboundReadData", [this] { m_gridLinkList->Links().ReadFailedRows(); });
}

bool frmMain::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if ((watched == m_siteList && SiteListKey(key)) || (watched == m_txtFilter && FilterKey(key)) ||
            (watched == m_gridLinkList && GridKey(key)))
            return true;
    }
    // A grey button keeps this to itself, and does nothing with it.
    if (event->type() == QEvent::ContextMenu && watched->parent() == m_bigToolBar && !m_busy) {
        m_toolbarMenu->popup(static_cast<QContextMenuEvent*>(event)->globalPos());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

bool frmMain::SiteListKey(int key)
{
    // The key that ends the typing of a name comes by here too.
    if (focusWidget() != m_siteList)
        return false;
    switch (key) {
    case Qt::Key_Insert:
        SitesMenuElement(0);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        SitesMenuElement(1);
        return true;
    case Qt::Key_Delete:
        SitesMenuElement(5);
        return true;
    default:
        return false;
    }
}

bool frmMain::FilterKey(int key)
{
    switch (key) {
    case Qt::Key_Escape:
        if (m_txtFilter->text().isEmpty())
            m_gridLinkList->setFocus();
        m_txtFilter->clear();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        m_gridLinkList->setFocus();
        return true;
    default:
        return false;
    }
}

bool frmMain::GridKey(int key)
{
    // During a run the key is that of the stop button.
    if (key != Qt::Key_Escape || m_busy || m_txtFilter->text().isEmpty())
        return false;
    m_txtFilter->clear();
    return true;
}
