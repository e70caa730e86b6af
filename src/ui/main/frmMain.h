// SPDX-License-Identifier: GPL-3.0-or-later
// The main window: the sites, the links of the selected one, the results log, and every command of the program.
#pragma once

#include "data/modDBFunctions.h"
#include "data/modDataModel.h"
#include "log/clsRun.h"
#include "platform/clsDialogs.h"

#include <QMainWindow>
#include <QTimer>
#include <array>
#include <memory>

class QAction;
class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QPushButton;
class QTabBar;
class QToolBar;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;
class clsButtonRow;
class clsDeletedLinks;
class clsInvitation;
class clsLinkGrid;
class clsLogo;
class clsMailLogins;
class clsPanes;
class clsQueryDef;
class clsRecordset;
class clsResultsBox;
class clsRunProgress;
class clsSampleBar;

class frmMain final : public QMainWindow, public clsRunParent
{
    Q_OBJECT

public:
    explicit frmMain(QWidget* parent = nullptr);
    ~frmMain() override;

    /// Settings, database, lists, menus; then the window is shown. Each step reports its own failure; an end that is
    /// asked for meanwhile is carried out by whoever loads the window.
    void Load();
    /// True once a close request has been carried out.
    [[nodiscard]] bool Unloaded() const { return m_unloaded; }

    // What other windows and runs ask of this one.
    /// One node for each site; the current one is selected.
    void FillSiteList();
    /// Makes a site current. @return false, with a warning and nothing changed, when its record is missing.
    bool LoadSite(const QString& siteID);
    /// The links of the current site in the current status view.
    void FillLinkGrid();
    void FillCategoryList();
    /// @param code  a sort code of the data model.
    void SortLinkGrid(int code);
    [[nodiscard]] clsLogWindow* ResultsLog() const;

    void HighLightLink(qint64 linkID, const QString& siteName = {}) override;
    void RunProgress(qint64 done, qint64 total) override;
    void RunWaits(std::chrono::milliseconds left, const QString& why) override;

Q_SIGNALS:
    /// A close request has been carried out; the window can be deleted once the event loop is left.
    void Closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class clsInside;
    /// Entry of the sort menu for the category, whose sort code is another one.
    static constexpr int CategoryEntry = 12;

    // Building (frmMainControls.cpp)
    void BuildMenus();
    QWidget* BuildToolbar();
    QWidget* BuildSitePane();
    QWidget* BuildLinkPane();
    QWidget* BuildBottomPane();
    void AddStatusTabs(int from, int to);
    void SetIconSize(int choice);

    // Loading and closing (frmMain.cpp)
    void RestoreSettings();
    void RestorePlacement();
    void SavePlacement();
    void ShowInState();
    [[nodiscard]] bool IsNormal() const;
    void FirstStart();
    void CloseIfPending();
    [[nodiscard]] bool MayHangUp() const;
    void KeepDatedBackup();

    // Lists (frmMainLists.cpp)
    void OpenLists();
    void SelectSiteNode(const QString& siteID);
    /// Shows the sites that another program has added, renamed or deleted since the list was filled, if any. A selected
    /// site that has another name now stays selected.
    void FollowOtherPrograms();
    /// Null when the list has no such site.
    [[nodiscard]] QTreeWidgetItem* SiteNode(const QString& siteID) const;
    void SiteNodeChosen();
    [[nodiscard]] static QString SiteOf(const QTreeWidgetItem& node);
    [[nodiscard]] modDataModel::StatusBounds Bounds() const;
    void ShowLinks(std::unique_ptr<clsRecordset> links);
    void UpdateCounter();
    void UpdateEmptyState();
    void UpdateSort();
    void StatusViewChosen(int tab);
    /// Whether a status view has a tab now; those of two can be hidden.
    [[nodiscard]] bool HasTab(int view) const;
    void ShowView(int view);
    void HideInactiveDeclinedClicked(bool hide);
    void ShowPendingLink();
    void ReportReadFailure();
    bool SiteListKey(int key);
    bool FilterKey(int key);
    bool GridKey(int key);

    // Commands (frmMainCommands.cpp)
    /// Runs a command under its routine's trap, unless a run is busy.
    void Command(const char* routine, const std::function<void()>& body);
    void ServicesMenuElement(int index);
    void SitesMenuElement(int index);
    void LinkMenuElement(int index);
    void LinkMenuElementSub(int index);
    void ToolsMenuElement(int index);
    void HelpMenuElement(int index);
    void BryOnline(int index);
    void ResultButton(int index);
    void ShowLegend();
    void ToggleTips();
    /// Shows in the Help menu whether tips come at the start.
    void TickTips();
    void TestLinks();
    void SetForTest();
    void SetMultipleTests();
    /// A link test or mail run, from the button that is pressed to the list that is filled anew.
    void RunSession(const char* routine, const std::function<void(const clsRun::Collaborators&)>& session);
    void StopRun();
    void SetBusy(bool busy);
    [[nodiscard]] bool HasSite() const;
    [[nodiscard]] bool HasLinks() const;
    void SaveLog();
    void PrintLog();
    void BackupRestore();
    /// Compact or repair, then the restart. @param caption  of the restart's box.
    void RewriteDatabase(const QString& caption,
                         const std::function<modDBFunctions::Ending(const modDBFunctions::Progress&)>& rewrite);
    /// What the last repair has to say goes into the results log.
    void TellRepair();
    /// The rows that could not be read while the file was closed.
    void ReadAnew();

    // Mail (frmMainMail.cpp)
    void SendMail(bool preview);
    void SetEmail();
    void EditTemplates();
    /// What is wrong with the queued messages goes into the results log.
    void CheckMail();

    // Commands on records (frmMainRecords.cpp)
    /// Brings the site list up to date and selects a site; another one when it is missing.
    void ShowSite(const QString& siteID);
    /// Follows an editor that has saved a site, or has come to one.
    void FollowSite(const QString& siteID);
    void NewSite();
    void EditSite();
    void CopySite();
    void BeginRename();
    void RenameSite(const QString& siteID, const QString& label);
    void DeleteSite();
    void AddSample();
    void RemoveSample();
    /// @param linkID  clsLinks::NewLink for a new one.
    void EditLink(qint64 linkID);
    /// Links have left the view by being edited. @param added  one of them that is new; 0: none.
    void ShowWhereFiled(const std::vector<qint64>& links, qint64 added);
    /// Says below the list where links have gone. @param status  modDataModel::ViewAll: several.
    void TellFiled(int status, qint64 count, const QString& title);
    void DeleteLinks();
    void UndoDelete();
    void ChangeStatus();
    void ImportLinks();
    void EditCategories();
    void CustomizeList();
    void SetOptions();

    QMenu* m_fileMenu = nullptr;
    QMenu* m_sitesMenu = nullptr;
    QMenu* m_linksMenu = nullptr;
    QMenu* m_sortMenu = nullptr;
    QMenu* m_toolsMenu = nullptr;
    QMenu* m_helpMenu = nullptr;
    QMenu* m_onlineMenu = nullptr;
    QMenu* m_toolbarMenu = nullptr;
    clsPanes* m_panes = nullptr;
    QWidget* m_topToolbar = nullptr;
    QToolBar* m_bigToolBar = nullptr;
    clsLogo* m_logo = nullptr;
    QTreeWidget* m_siteList = nullptr;
    QListWidget* m_lstCategory = nullptr;
    std::array<QToolButton*, 4> m_siteButtons{};
    QCheckBox* m_hideInactiveDeclined = nullptr;
    QLabel* m_lblLinksInView = nullptr;
    QLabel* m_lblFiled = nullptr; ///< where the links are that have just left the view
    QTabBar* m_linksTab = nullptr;
    QLineEdit* m_txtFilter = nullptr;
    clsLinkGrid* m_gridLinkList = nullptr;
    clsInvitation* m_invitation = nullptr;
    clsSampleBar* m_sampleBar = nullptr;
    clsButtonRow* m_linkButtonContainer = nullptr;
    std::array<QToolButton*, 8> m_linkButtons{};
    clsRunProgress* m_progress = nullptr;
    QCheckBox* m_chkShowURL = nullptr;
    clsResultsBox* m_txtResults = nullptr;
    std::array<QPushButton*, 3> m_resultButtons{};
    QAction* m_stop = nullptr;

    std::unique_ptr<clsRecordset> m_sites;       ///< tblSites
    std::unique_ptr<clsMailLogins> m_mailLogins; ///< remembers the passwords asked for
    std::unique_ptr<clsQueryDef> m_linkQuery;    ///< qryLinkList
    std::unique_ptr<clsDeletedLinks> m_deletedLinks;
    int m_view = -1;             ///< the current status view
    bool m_busy = false;         ///< a run is in progress
    int m_inside = 0;            ///< routines of this window that have not returned
    bool m_closePending = false; ///< a close request waits for them
    bool m_unloaded = false;
    QPoint m_frame; ///< from the corner of the frame of the normal window to that of its inside
    QTimer m_highlightTimer;
    qint64 m_highlight = 0;   ///< the link being worked on
    qint64 m_highlighted = 0; ///< the link shown as such
};
