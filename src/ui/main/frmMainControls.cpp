// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of the main window, their names and their places.
#include "ui/main/frmMain.h"

#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/lists/clsLinkHead.h"
#include "ui/lists/clsSiteLabel.h"
#include "ui/main/clsInvitation.h"
#include "ui/main/clsLogo.h"
#include "ui/main/clsPanes.h"
#include "ui/main/clsResultsBox.h"
#include "ui/main/clsSampleBar.h"
#include "ui/parts/clsButtonRow.h"
#include "ui/parts/clsCommandBar.h"
#include "ui/parts/clsElidedLabel.h"
#include "ui/parts/clsRunProgress.h"
#include "ui/parts/modIcons.h"
#include "ui/parts/modMenus.h"

#include <QAction>
#include <QActionGroup>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modMenus::EntryOf;

namespace
{
constexpr int Edge = 8;
constexpr int Gap = 6;
/// Toolbar icons in pixels, by the setting IconSize.
constexpr std::array IconSizes{16, 24, 32};

QString Numbered(const QString& name, std::size_t index)
{
    return u"%1_%2"_s.arg(name).arg(index);
}

/// A pane's heading; `control` is what it names.
QLabel* Heading(const QString& text, QWidget* control)
{
    auto* label = new clsElidedLabel(text);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    label->setBuddy(control);
    return label;
}

struct ButtonInfo
{
    const char16_t* caption;
    const char16_t* tip;
    const char* icon;
};
} // namespace

void frmMain::BuildMenus()
{
    using modMenus::Menu;
    const auto make = [this](const QString& title, const QString& name) {
        QMenu* menu = menuBar()->addMenu(title);
        menu->setObjectName(name);
        return menu;
    };
    m_fileMenu = make(u"&File"_s, u"ServicesMenu"_s);
    m_sitesMenu = make(u"&Sites"_s, u"SitesMenu"_s);
    m_linksMenu = make(u"&Links"_s, u"LinkMenu"_s);
    m_toolsMenu = make(u"&Tools"_s, u"ToolsMenu"_s);
    m_helpMenu = make(u"&Help"_s, u"HelpMenu"_s);
    modMenus::Fill(*m_fileMenu, Menu::File, [this](int index) { ServicesMenuElement(index); });
    modMenus::Fill(*m_sitesMenu, Menu::Sites, [this](int index) { SitesMenuElement(index); });
    modMenus::Fill(*m_linksMenu, Menu::Links, [this](int index) { LinkMenuElement(index); });
    modMenus::Fill(*m_toolsMenu, Menu::Tools, [this](int index) { ToolsMenuElement(index); });
    modMenus::Fill(*m_helpMenu, Menu::Help, [this](int index) { HelpMenuElement(index); });

    m_sortMenu = new QMenu(this);
    modMenus::Fill(*m_sortMenu, Menu::Sort, [this](int index) { LinkMenuElementSub(index); });
    for (QAction* entry : m_sortMenu->actions())
        entry->setCheckable(!entry->isSeparator());
    EntryOf(*m_linksMenu, 11)->setMenu(m_sortMenu);

    m_onlineMenu = new QMenu(this);
    modMenus::Fill(*m_onlineMenu, Menu::Online, [this](int index) { BryOnline(index); });
    EntryOf(*m_helpMenu, 9)->setMenu(m_onlineMenu);
    EntryOf(*m_helpMenu, 4)->setCheckable(true);

    m_toolbarMenu = new QMenu(u"Toolbar Menu"_s, this);
    m_toolbarMenu->setObjectName(u"ToolbarMenu"_s);
    modMenus::Fill(*m_toolbarMenu, Menu::Toolbar, [this](int index) { SetIconSize(index); });
    auto* sizes = new QActionGroup(this);
    for (QAction* entry : m_toolbarMenu->actions()) {
        entry->setCheckable(true);
        sizes->addAction(entry);
    }
}

QWidget* frmMain::BuildToolbar()
{
    struct Command
    {
        ButtonInfo look;
        std::function<void()> run;
    };
    const std::array<Command, 7> commands{{
        {{u"Preview E-Mail", u"Preview E-Mail", "preview"}, [this] { ServicesMenuElement(0); }},
        {{u"Send E-mail", u"Send E-mail", "send"}, [this] { ServicesMenuElement(1); }},
        {{u"Test Links", u"Test Links", "test"}, [this] { ServicesMenuElement(2); }},
        {{u"Stop", u"Stop sending e-mails or testing links", "stop"}, [this] { StopRun(); }},
        {{u"E-mail Templates", u"E-mail Templates", "templates"}, [this] { ToolsMenuElement(0); }},
        {{u"Program Options", u"Program Options", "options"}, [this] { ToolsMenuElement(8); }},
        {{u"Help", u"Help for main screen", "help"}, [this] { HelpMenuElement(0); }},
    }};
    m_bigToolBar = new clsCommandBar;
    m_bigToolBar->setObjectName(u"BigToolBar"_s);
    m_bigToolBar->setAccessibleName(u"Commands"_s);
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const ButtonInfo& look = commands[i].look;
        QAction* action = m_bigToolBar->addAction(modIcons::Icon(QString::fromLatin1(look.icon)),
                                                  QString::fromUtf16(look.caption), this, commands[i].run);
        action->setObjectName(Numbered(u"BigToolBar"_s, i));
        action->setToolTip(QString::fromUtf16(look.tip));
        // The shortcuts of the others stand in the menus.
        if (i == 3) {
            action->setShortcut(Qt::Key_Escape);
            m_stop = action;
        }
        QWidget* button = m_bigToolBar->widgetForAction(action);
        button->setFocusPolicy(Qt::TabFocus);
        button->installEventFilter(this);
        button->setAccessibleName(QString::fromUtf16(look.caption));
        button->setAccessibleDescription(QString::fromUtf16(look.tip));
        if (i == 3 || i == 5)
            m_bigToolBar->addSeparator();
    }
    m_logo = new clsLogo;

    m_topToolbar = new QWidget;
    m_topToolbar->setObjectName(u"TopToolbar"_s);
    auto* row = new QHBoxLayout(m_topToolbar);
    row->setContentsMargins(Edge - 4, 2, Edge, 2);
    row->addWidget(m_bigToolBar, 1);
    row->addWidget(m_logo);
    m_topToolbar->setContextMenuPolicy(Qt::CustomContextMenu);
    m_bigToolBar->setContextMenuPolicy(Qt::NoContextMenu); // the frame's is meant
    connect(m_topToolbar, &QWidget::customContextMenuRequested, this, [this](QPoint place) {
        if (!m_busy)
            m_toolbarMenu->popup(m_topToolbar->mapToGlobal(place));
    });
    m_sampleBar = new clsSampleBar;
    m_sampleBar->hide();
    connect(m_sampleBar, &clsSampleBar::RemoveWanted, this, &frmMain::RemoveSample);
    auto* header = new QWidget;
    auto* column = new QVBoxLayout(header);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_topToolbar);
    column->addWidget(m_sampleBar);
    return header;
}

QWidget* frmMain::BuildSitePane()
{
    m_siteList = new QTreeWidget;
    m_siteList->setObjectName(u"SiteList"_s);
    m_siteList->setAccessibleName(u"My Sites"_s);
    m_siteList->setHeaderHidden(true);
    m_siteList->setRootIsDecorated(false);
    m_siteList->setIndentation(0);
    m_siteList->setUniformRowHeights(true);
    auto* label = new clsSiteLabel(*m_siteList);
    m_siteList->setItemDelegate(label);
    connect(label, &clsSiteLabel::LabelEdited, this, [this](int row, const QString& text) {
        if (const QTreeWidgetItem* node = m_siteList->topLevelItem(row))
            RenameSite(SiteOf(*node), text);
    });
    m_siteList->setTextElideMode(Qt::ElideRight);
    m_siteList->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    m_siteList->setContextMenuPolicy(Qt::CustomContextMenu);
    m_siteList->setTabKeyNavigation(false);
    m_siteList->installEventFilter(this);
    connect(m_siteList, &QTreeWidget::currentItemChanged, this, &frmMain::SiteNodeChosen);
    connect(m_siteList, &QTreeWidget::itemDoubleClicked, this, [this] { SitesMenuElement(1); });
    connect(m_siteList, &QWidget::customContextMenuRequested, this,
            [this](QPoint place) { m_sitesMenu->popup(m_siteList->viewport()->mapToGlobal(place)); });

    constexpr std::array<ButtonInfo, 4> buttons{{{u"New Site", u"New Site", "site-new"},
                                                 {u"Edit Site", u"Edit Site", "site-edit"},
                                                 {u"Copy Site", u"Copy Site", "site-copy"},
                                                 {u"Delete Site", u"Delete Site", "site-delete"}}};
    constexpr std::array entries{0, 1, 2, 5};
    auto* coolBar = new QWidget;
    coolBar->setObjectName(u"SiteCoolBar"_s);
    auto* row = new QHBoxLayout(coolBar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        auto* button = new QToolButton;
        button->setObjectName(Numbered(u"SiteButtons"_s, i));
        button->setIcon(modIcons::Icon(QString::fromLatin1(buttons[i].icon)));
        button->setIconSize({16, 16});
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::TabFocus);
        button->setToolTip(QString::fromUtf16(buttons[i].tip));
        button->setAccessibleName(QString::fromUtf16(buttons[i].caption));
        connect(button, &QToolButton::clicked, this, [this, entry = entries[i]] { SitesMenuElement(entry); });
        row->addWidget(button);
        m_siteButtons[i] = button;
    }
    row->addStretch();

    auto* pane = new QWidget;
    pane->setObjectName(u"TopLeftPane"_s);
    // The names of the categories, by which the list of links finds them.
    m_lstCategory = new QListWidget(pane);
    m_lstCategory->setObjectName(u"lstCategory"_s);
    m_lstCategory->hide();
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(Edge, Gap, 0, 0);
    column->setSpacing(Gap);
    column->addWidget(Heading(u"My Sites"_s, m_siteList));
    column->addWidget(coolBar);
    column->addWidget(m_siteList, 1);
    return pane;
}

QWidget* frmMain::BuildLinkPane()
{
    m_gridLinkList = new clsLinkGrid;
    connect(m_gridLinkList, &clsLinkGrid::LinkCommand, this, &frmMain::LinkMenuElement);
    connect(m_gridLinkList, &clsLinkGrid::MenuWanted, this, [this](QPoint place) {
        if (!m_busy)
            m_linksMenu->popup(place);
    });
    connect(m_gridLinkList, &clsLinkGrid::SortWanted, this,
            [this](int column) { Command("gridLinkList_HeadClick", [this, column] { SortLinkGrid(column); }); });
    connect(&m_gridLinkList->Links(), &clsLinkModel::ReadFailed, this, &frmMain::ReportReadFailure);
    m_invitation = new clsInvitation(*m_gridLinkList);
    connect(m_invitation, &clsInvitation::SiteWanted, this, [this] { SitesMenuElement(0); });
    connect(m_invitation, &clsInvitation::FirstStepsWanted, this,
            [this] { Command("FirstSteps", [] { Platform().Windows->ShowHelp(modHelpTopics::FirstSteps); }); });
    connect(m_invitation, &clsInvitation::SampleWanted, this, &frmMain::AddSample);

    m_lblLinksInView = new clsElidedLabel;
    m_lblLinksInView->setObjectName(u"lblLinksInView"_s);
    m_lblFiled = new clsElidedLabel;
    m_lblFiled->setObjectName(u"lblFiled"_s);
    m_lblFiled->setContentsMargins(0, Gap - 2, 0, 0);
    m_lblFiled->hide();
    m_hideInactiveDeclined = new QCheckBox(u"Hide Inactive && Declined Tabs"_s);
    m_hideInactiveDeclined->setObjectName(u"HideInactiveDeclined"_s);
    m_hideInactiveDeclined->setToolTip(u"Leave out links that are not to be exchanged any more"_s);
    connect(m_hideInactiveDeclined, &QCheckBox::toggled, this, &frmMain::HideInactiveDeclinedClicked);

    m_linksTab = new QTabBar;
    m_linksTab->setObjectName(u"LinksTab"_s);
    m_linksTab->setAccessibleName(u"Status of the links shown"_s);
    m_linksTab->setExpanding(false);
    m_linksTab->setDrawBase(false);
    m_linksTab->setIconSize({16, 16});
    m_linksTab->setElideMode(Qt::ElideNone);
    m_linksTab->setUsesScrollButtons(true);
    m_linksTab->addTab(u"All"_s);
    m_linksTab->setTabToolTip(0, u"Show all links for selected site"_s);
    AddStatusTabs(0, 6);
    connect(m_linksTab, &QTabBar::currentChanged, this, &frmMain::StatusViewChosen);

    m_txtFilter = new QLineEdit;
    m_txtFilter->setObjectName(u"txtFilter"_s);
    m_txtFilter->setAccessibleName(u"Filter"_s);
    m_txtFilter->setAccessibleDescription(u"Shows only the links that have these words in a column of the list"_s);
    m_txtFilter->setToolTip(u"Show only the links that have these words in a column of the list (Ctrl+F)"_s);
    m_txtFilter->setPlaceholderText(u"Filter"_s);
    m_txtFilter->setClearButtonEnabled(true);
    m_txtFilter->addAction(modIcons::Icon(u"filter"_s), QLineEdit::LeadingPosition);
    m_txtFilter->installEventFilter(this);
    m_gridLinkList->installEventFilter(this);
    connect(m_txtFilter, &QLineEdit::textChanged, m_gridLinkList, &clsLinkGrid::SetFilter);
    connect(m_gridLinkList, &clsLinkGrid::FilterApplied, this, [this] {
        UpdateCounter();
        UpdateEmptyState();
    });
    auto* find = new QAction(this);
    find->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));
    connect(find, &QAction::triggered, this, [this] {
        m_txtFilter->setFocus(Qt::ShortcutFocusReason);
        m_txtFilter->selectAll();
    });
    addAction(find);
    auto* undo = new QAction(this);
    undo->setShortcut(QKeySequence::Undo);
    connect(undo, &QAction::triggered, this, &frmMain::UndoDelete);
    addAction(undo);

    constexpr std::array<ButtonInfo, 8> buttons{{
        {u"New Link", u"Add a link partner", "link-new"},
        {u"Edit Link", u"Edit the current link", "link-edit"},
        {u"Delete Link", u"Delete the selected links", "link-delete"},
        {u"Set E-mail", u"Select e-mail message to send", "set-email"},
        {u"Set for Test", u"Test for the presence of each specified link and image", "set-test"},
        {u"Change Status", u"Reassign status of link", "change-status"},
        {u"Set Multiple Tests", u"Select or unselect for testing all links of specified status", "set-multiple"},
        {u"Le&gend", u"What the pictures in the list mean", "legend"},
    }};
    constexpr std::array entries{0, 1, 2, 6, 7, 9, 8};
    m_linkButtonContainer = new clsButtonRow;
    m_linkButtonContainer->setObjectName(u"LinkButtonContainer"_s);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        auto* button = new QToolButton;
        button->setObjectName(Numbered(u"LinkButtons"_s, i));
        button->setText(QString::fromUtf16(buttons[i].caption));
        button->setIcon(modIcons::Icon(QString::fromLatin1(buttons[i].icon)));
        button->setToolTip(QString::fromUtf16(buttons[i].tip));
        button->setAccessibleName(modMenus::Plain(button->text()));
        button->setAccessibleDescription(button->toolTip());
        if (i < entries.size())
            connect(button, &QToolButton::clicked, this, [this, entry = entries[i]] { LinkMenuElement(entry); });
        else
            connect(button, &QToolButton::clicked, this, &frmMain::ShowLegend);
        m_linkButtonContainer->Add(button);
        m_linkButtons[i] = button;
    }

    auto* pane = new QWidget;
    pane->setObjectName(u"TopRightPane"_s);
    auto* head = new QHBoxLayout;
    head->setSpacing(Gap);
    auto* heading = Heading(u"Reciprocal Links"_s, m_gridLinkList);
    heading->setMinimumWidth(heading->sizeHint().width()); // the counter gives way first, wholly if need be
    m_lblLinksInView->setMinimumWidth(1);
    head->addWidget(heading);
    head->addWidget(m_lblLinksInView);
    head->addStretch();
    head->addWidget(m_hideInactiveDeclined);
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(0, Gap, Edge, 0);
    column->setSpacing(0);
    column->addLayout(head);
    column->addSpacing(Gap);
    column->addWidget(new clsLinkHead(m_linksTab, m_txtFilter));
    column->addWidget(m_gridLinkList, 1);
    column->addWidget(m_lblFiled);
    column->addSpacing(Gap - 2);
    column->addWidget(m_linkButtonContainer);
    return pane;
}

QWidget* frmMain::BuildBottomPane()
{
    m_txtResults = new clsResultsBox;
    m_txtResults->setObjectName(u"txtResults"_s);
    m_txtResults->setAccessibleName(u"Results Log"_s);
    m_txtResults->setTabChangesFocus(true);
    m_txtResults->setPlaceholderText(u"Link tests and e-mail runs report here."_s);
    m_progress = new clsRunProgress;
    m_chkShowURL = new QCheckBox(u"Include URL in results when testing links"_s);
    m_chkShowURL->setObjectName(u"chkShowURL"_s);
    m_chkShowURL->setToolTip(u"Name pages by their address instead of their title"_s);
    connect(m_chkShowURL, &QCheckBox::toggled, this, [](bool checked) { State().Settings.ShowURL = checked ? 1 : 0; });

    constexpr std::array<ButtonInfo, 3> buttons{
        {{u"Save", u"Save log", "save"}, {u"Print", u"Print log", "print"}, {u"Clear", u"Clear log", "clear"}}};
    auto* side = new QVBoxLayout;
    side->setSpacing(4);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        auto* button = new QPushButton(modIcons::Icon(QString::fromLatin1(buttons[i].icon)),
                                       QString::fromUtf16(buttons[i].caption));
        button->setObjectName(Numbered(u"ResultButtons"_s, i));
        button->setToolTip(QString::fromUtf16(buttons[i].tip));
        button->setAccessibleName(button->toolTip());
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, i] { ResultButton(static_cast<int>(i)); });
        side->addWidget(button);
        m_resultButtons[i] = button;
    }
    side->addStretch();

    auto* pane = new QWidget;
    pane->setObjectName(u"BottomPane"_s);
    auto* head = new QHBoxLayout;
    head->setSpacing(2 * Gap);
    head->addWidget(Heading(u"Results Log"_s, m_txtResults));
    head->addWidget(m_progress, 1);
    head->addWidget(m_chkShowURL);
    auto* body = new QHBoxLayout;
    body->setSpacing(Gap);
    body->addWidget(m_txtResults, 1);
    body->addLayout(side);
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(Edge, 2, Edge, Edge);
    column->setSpacing(Gap);
    column->addLayout(head);
    column->addLayout(body, 1);
    return pane;
}

void frmMain::SetIconSize(int choice)
{
    // A stored choice that there is none of gives the middle size.
    const int size = choice >= 0 && choice < static_cast<int>(IconSizes.size()) ? choice : 1;
    State().Settings.IconSize = static_cast<qint16>(size);
    const int pixels = IconSizes.at(static_cast<std::size_t>(size));
    m_bigToolBar->setIconSize({pixels, pixels});
    EntryOf(*m_toolbarMenu, size)->setChecked(true);
}
