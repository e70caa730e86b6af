// SPDX-License-Identifier: GPL-3.0-or-later
// The main window as a user meets it: lists, tabs, sorting, keys, layout, runs, and every way to close it.
#include "main_window_fixture.h"

#include "data/clsDAO.h"
#include "shell/modCommonFunctions.h"
#include "support/scripted_server.h"
#include "ui/clsPanes.h"
#include "ui/clsResultsBox.h"
#include "ui/clsRowDelegate.h"
#include "ui/clsRunProgress.h"
#include "ui/frmSetTest.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using M = clsLinkModel;

namespace
{
QStringList s_warnings;
QtMessageHandler s_handler = nullptr;

void KeepWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    // The platform plugin for windows without a screen says this of whatever only a screen can do.
    if (text.startsWith("This plugin does not support"_L1))
        return;
    if (type != QtInfoMsg && type != QtDebugMsg)
        s_warnings << text;
    s_handler(type, context, text);
}

QString Later(const QString& what)
{
    return what + u" comes with a later version of Brambury."_s;
}

/// Columns that are shown, in the order in which they stand.
QStringList ShownColumns(const clsLinkGrid& grid)
{
    QStringList names;
    for (int place = 0; place < M::ColumnCount; ++place) {
        const int column = grid.horizontalHeader()->logicalIndex(place);
        if (!grid.isColumnHidden(column))
            names << M::NameOf(column);
    }
    return names;
}

/// The site Shop and partners on a scripted server. A partner's page is "/NAME.htm", the own page "/own.htm".
void AddPartners(clsTestWindow& program, const scriptedServer& server, const QStringList& names)
{
    clsTestInstallation::AddSite(*program.opened, u"Shop"_s,
                                 {{u"HomePage"_s, u"http://www.shop.example/"_s},
                                  {u"LinkPage"_s, server.Url(u"/own.htm"_s)},
                                  {u"TestForMyLinkAtRecipSite"_s, 1},
                                  {u"TestForRecipLinkAtMySite"_s, 0}});
    for (const QString& name : names)
        program.ids << clsTestInstallation::AddLink(*program.opened, u"Shop"_s, name,
                                                    {{u"HomePage"_s, u"http://www.%1.example/"_s.arg(name)},
                                                     {u"LinkPage"_s, server.Url(u"/%1.htm"_s.arg(name))},
                                                     {u"Status"_s, 2},
                                                     {u"TestQueue"_s, 1}});
}
} // namespace

class tst_main_window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { s_handler = qInstallMessageHandler(KeepWarnings); }
    void cleanup()
    {
        const QStringList warnings = std::exchange(s_warnings, {});
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(u'\n')));
    }

    void noSite();
    void firstLook();
    void statusTabs();
    void sorting();
    void layoutComesBack();
    void layoutThatCannotBeUsed();
    void splitters();
    void placement();
    void keysAndMenus();
    void toolbarIconSize();
    void siteChange();
    void setForTest();
    void setMultipleTests();
    void resultsLog();
    void helpCommands();
    void everythingHasAName();
    void run();
    void runElsewhere();
    void stop();
    void closeDuringRun();
    void sessionEndDuringRun();
    void abortSavesNothing();
    void restartTwentyTimes();
    void progressText();
};

void tst_main_window::noSite()
{
    clsTestWindow program;
    frmMain& window = program.Open();
    QCOMPARE(window.windowTitle(), u"Brambury"_s);
    QCOMPARE(program.Counter(), u"[ 0 link(s) in current view ]"_s);
    QVERIFY(program.Find<QLabel>(u"lblEmptyTitle"_s).isVisible());
    QVERIFY(program.Find<QLabel>(u"lblEmptyAdvice"_s).text().contains("Sites menu"_L1));

    for (const auto& name : {u"ServicesMenuElement_0"_s, u"ServicesMenuElement_1"_s, u"ServicesMenuElement_2"_s,
                             u"ServicesMenuElement_5"_s, u"ServicesMenuElement_7"_s, u"SitesMenuElement_1"_s,
                             u"SitesMenuElement_2"_s, u"SitesMenuElement_3"_s, u"SitesMenuElement_5"_s}) {
        program.dialogs.Expect(u"There are no sites available."_s, {}, u"Brambury"_s);
        program.Trigger(name);
    }
    program.dialogs.Expect(u"You must create a site before adding a new link."_s);
    program.Trigger(u"LinkMenuElement_0"_s);
    for (const auto& name :
         {u"LinkMenuElement_1"_s, u"LinkMenuElement_2"_s, u"LinkMenuElement_4"_s, u"LinkMenuElement_6"_s,
          u"LinkMenuElement_7"_s, u"LinkMenuElement_9"_s, u"LinkMenuElementSub_2"_s, u"LinkMenuElementSub_14"_s}) {
        program.dialogs.Expect(u"There are no links available."_s);
        program.Trigger(name);
    }
    QVERIFY(program.dialogs.expected.isEmpty());
    // A refused sort leaves the tick where it was.
    QVERIFY(!program.Find<QAction>(u"LinkMenuElementSub_2"_s).isChecked());
    QVERIFY(program.Find<QAction>(u"LinkMenuElementSub_14"_s).isChecked());
}

void tst_main_window::firstLook()
{
    clsTestWindow program;
    program.Fill();
    const qint64 category = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Gardens"_s);
    clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Filed"_s, {{u"CategoryID"_s, category}});
    frmMain& window = program.Open();
    QCOMPARE(window.windowTitle(), u"Brambury    [Site: Shop]"_s);
    QCOMPARE(window.size(), QSize(632, 437));
    QCOMPARE(ShownColumns(program.Grid()), (QStringList{u"*EmailQueue"_s, u"*TestQueue"_s, u"Title"_s, u"HomePage"_s,
                                                        u"*Offers"_s, u"*Status"_s, u"*TestResults"_s, u"Notes"_s}));
    // Inactive and declined links are hidden at first.
    QCOMPARE(program.Counter(), u"[ 5 link(s) in current view ]"_s);
    QCOMPARE(program.Grid().Links().index(4, M::Category).data().toString(), u"Gardens"_s);
    QCOMPARE(modBrambury::State().Settings.LastEntry, QDate::currentDate().toString(Qt::ISODate));
    QVERIFY(program.Find<QAction>(u"HelpMenuElement_4"_s).isChecked());

    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 0), u"ActiveRow"_s);
    QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 1), QString());
    program.Find<QTreeWidget>(u"SiteList"_s).setFocus();
    QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 0), u"ActiveRowWithoutFocus"_s);
}

void tst_main_window::statusTabs()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    auto& tabs = program.Find<QTabBar>(u"LinksTab"_s);
    auto& hide = program.Find<QCheckBox>(u"HideInactiveDeclined"_s);
    const auto rows = [&] { return program.Shown(M::Title); };
    QCOMPARE(tabs.count(), 5);
    QVERIFY(hide.isChecked());
    for (int status = 0; status < 4; ++status) {
        QTest::mouseClick(&tabs, Qt::LeftButton, {}, tabs.tabRect(status + 1).center());
        QCOMPARE(rows(), QStringList(clsTestWindow::StatusTitle(status)));
        QCOMPARE(program.Counter(), u"[ 1 link(s) in current view ]"_s);
    }
    QCOMPARE(tabs.tabToolTip(2), u"Show links in Pending status"_s);

    hide.click();
    QCOMPARE(tabs.count(), 7);
    QCOMPARE(tabs.tabText(6), u"Declined"_s);
    QCOMPARE(tabs.tabToolTip(5), u"Show links in Inactive status"_s);
    QCOMPARE(rows(), QStringList(clsTestWindow::StatusTitle(3)));
    tabs.setCurrentIndex(0);
    QCOMPARE(rows().size(), 6);
    tabs.setCurrentIndex(6);
    QCOMPARE(rows(), QStringList(clsTestWindow::StatusTitle(5)));

    // The tab that is shown goes away: all links, but for those that are hidden now.
    hide.click();
    QCOMPARE(tabs.count(), 5);
    QCOMPARE(tabs.currentIndex(), 0);
    QCOMPARE(rows().size(), 4);
    hide.click();
    program.Close();
    QCOMPARE(program.Setting(u"General"_s, u"HideInactiveDeclined"_s), u"0"_s);
    program.Open();
    QCOMPARE(program.Find<QTabBar>(u"LinksTab"_s).count(), 7);
    QCOMPARE(program.Shown(M::Title).size(), 6);
}

void tst_main_window::sorting()
{
    clsTestWindow program;
    clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
    const qint64 zebras = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Zebras"_s);
    const qint64 apples = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Apples"_s);
    const auto add = [&](const QString& title, qint64 category, int status) {
        clsTestInstallation::AddLink(*program.opened, u"Shop"_s, title,
                                     {{u"CategoryID"_s, category}, {u"Status"_s, status}});
    };
    add(u"carrot"_s, apples, 1);
    add(u"Beet"_s, zebras, 1);
    add(u"asparagus"_s, zebras, 2);
    program.Open();
    const auto ticks = [&] {
        QList<int> ticked;
        for (int i = 0; i <= 14; ++i) {
            if (program.Find<QAction>(u"LinkMenuElementSub_%1"_s.arg(i)).isChecked())
                ticked << i;
        }
        return ticked;
    };
    const QStringList natural{u"carrot"_s, u"Beet"_s, u"asparagus"_s};
    const QStringList byTitle{u"asparagus"_s, u"Beet"_s, u"carrot"_s};
    const auto clickHeading = [&](int column) {
        QHeaderView* header = program.Grid().horizontalHeader();
        program.Grid().setColumnHidden(column, false);
        program.Grid().scrollTo(program.Grid().Links().index(0, column));
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          {header->sectionViewportPosition(column) + 20, header->height() / 2});
    };
    QCOMPARE(program.Shown(M::Title), natural);
    QCOMPARE(ticks(), QList<int>{14});

    program.Trigger(u"LinkMenuElementSub_2"_s);
    QCOMPARE(program.Shown(M::Title), byTitle);
    QCOMPARE(ticks(), QList<int>{2});
    QCOMPARE(program.Grid().horizontalHeader()->sortIndicatorSection(), int{M::Title});
    // The order holds for another view.
    program.Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(2);
    QCOMPARE(program.Shown(M::Title), (QStringList{u"Beet"_s, u"carrot"_s}));
    program.Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(0);

    // The category is sorted by its number, whichever way it is asked for.
    program.Trigger(u"LinkMenuElementSub_12"_s);
    QCOMPARE(modBrambury::State().Settings.Sort, 20);
    QCOMPARE(ticks(), QList<int>{12});
    QCOMPARE(program.Shown(M::Category).first(), u"Zebras"_s);
    clickHeading(M::Title);
    QCOMPARE(ticks(), QList<int>{2});
    clickHeading(M::Category);
    QCOMPARE(ticks(), QList<int>{12});
    // The note's column number is that of the natural order.
    clickHeading(M::Notes);
    QCOMPARE(ticks(), QList<int>{14});
    QCOMPARE(program.Shown(M::Title), natural);

    program.Trigger(u"LinkMenuElementSub_2"_s);
    program.Close();
    QCOMPARE(program.Setting(u"General"_s, u"Sort"_s), u"2"_s);
    program.Open();
    QCOMPARE(program.Shown(M::Title), byTitle);
    QCOMPARE(ticks(), QList<int>{2});
}

void tst_main_window::layoutComesBack()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    QHeaderView* header = program.Grid().horizontalHeader();
    header->moveSection(header->visualIndex(M::Status), 0);
    program.Grid().setColumnHidden(M::Offers, true);
    program.Grid().setColumnHidden(M::Email, false);
    header->resizeSection(M::Title, 123);
    const QStringList shown = ShownColumns(program.Grid());
    program.Set(u"LinkGrid"_s, u"*Offers"_s, u"900"_s); // must not survive the saving
    program.Close();
    QCOMPARE(program.Setting(u"LinkGrid"_s, u"Title"_s), u"1845"_s);
    QCOMPARE(program.Setting(u"LinkGrid"_s, u"Order"_s), shown.join(u','));
    QVERIFY(!program.settings.HasSetting(u"LinkGrid"_s, u"*Offers"_s));

    program.Open();
    QCOMPARE(ShownColumns(program.Grid()), shown);
    QCOMPARE(program.Grid().columnWidth(M::Title), 123);
    // Resizing the window leaves a layout alone that the user has made.
    program.Window().resize(1000, 700);
    QCOMPARE(program.Grid().columnWidth(M::Title), 123);
}

void tst_main_window::layoutThatCannotBeUsed()
{
    clsTestWindow program;
    program.Fill();
    program.Set(u"LinkGrid"_s, u"~LinkID"_s, u"900"_s);
    program.Set(u"LinkGrid"_s, u"Nonsense"_s, u"900"_s);
    program.Open();
    QCOMPARE(ShownColumns(program.Grid()).size(), 8);
    program.Close();

    program.settings.DeleteSection(u"LinkGrid"_s);
    program.Set(u"LinkGrid"_s, u"Title"_s, u"wide"_s);
    program.Set(u"LinkGrid"_s, u"Email"_s, u"1500.5"_s);
    program.Set(u"LinkGrid"_s, u"Order"_s, u"Email,~LinkID,Nonsense"_s);
    program.Open();
    QCOMPARE(ShownColumns(program.Grid()), (QStringList{u"Email"_s, u"Title"_s}));
    QCOMPARE(program.Grid().columnWidth(M::Email), 100);
    QVERIFY(program.Grid().columnWidth(M::Title) > 50);
}

void tst_main_window::splitters()
{
    clsTestWindow program;
    program.Fill();
    program.Set(u"Interface"_s, u"WindowWidth"_s, u"12000"_s);
    program.Set(u"Interface"_s, u"WindowHeight"_s, u"9000"_s);
    program.Set(u"Interface"_s, u"PaneLeft"_s, u"3000"_s);
    program.Open();
    auto& panes = program.Find<clsPanes>({});
    auto& bar = program.Find<clsSplitterBar>(u"imgVertSplitter"_s);
    auto& level = program.Find<clsSplitterBar>(u"imgHorzSplitter"_s);
    QCOMPARE(bar.x(), 200);
    QCOMPARE(level.y(), 282);

    const QPoint grip(3, 20);
    const auto drag = [&](QWidget& what, const QList<QPoint>& by) {
        QTest::mousePress(&what, Qt::LeftButton, {}, grip);
        for (const QPoint& step : by)
            QTest::mouseMove(&what, grip + step);
        QTest::mouseRelease(&what, Qt::LeftButton, {}, grip);
    };
    drag(bar, {{-50, 0}});
    QCOMPARE(panes.PaneLeft(), 150 * 15);
    QCOMPARE(program.Find<QWidget>(u"TopLeftPane"_s).width(), 150);
    // Beyond the margin: the last place within it holds.
    drag(bar, {{-30, 0}, {-60, 0}});
    QCOMPARE(panes.PaneLeft(), 120 * 15);
    panes.MoveVertical(1600);
    QCOMPARE(panes.PaneLeft(), 120 * 15);
    panes.MoveVertical(1620);
    QCOMPARE(panes.PaneLeft(), 1620);
    panes.MoveVertical(panes.width() * 15 - 1605);
    QCOMPARE(panes.PaneLeft(), 1620);
    panes.MoveHorizontal(2499);
    panes.MoveHorizontal(panes.height() * 15 - 1999);
    QCOMPARE(panes.PaneTop(), 4230);
    panes.MoveHorizontal(2500);
    QCOMPARE(panes.PaneTop(), 2500);
    QTest::keyClick(&level, Qt::Key_Down);
    QVERIFY(panes.PaneTop() > 2500);
    QTest::keyClick(&bar, Qt::Key_Left);
    QCOMPARE(panes.PaneLeft(), 1620);

    // A window that is too small for a while does not cost the position.
    panes.MoveHorizontal(6000);
    program.Window().resize(800, 420);
    QVERIFY(level.y() + 2000 / 15 <= panes.height());
    program.Window().resize(800, 600);
    QCOMPARE(level.y(), 400);
    program.Close();
    QCOMPARE(program.Setting(u"Interface"_s, u"PaneTop"_s), u"6000"_s);
    QCOMPARE(program.Setting(u"Interface"_s, u"PaneLeft"_s), u"1620"_s);
}

void tst_main_window::placement()
{
    clsTestWindow program;
    program.Set(u"Interface"_s, u"WindowTop"_s, u"600"_s);
    program.Set(u"Interface"_s, u"WindowLeft"_s, u"450"_s);
    program.Set(u"Interface"_s, u"WindowWidth"_s, u"wide"_s); // costs the placement, not the rest
    program.Set(u"Interface"_s, u"PaneTop"_s, u"3000"_s);
    QTimer::singleShot(0, qApp, [] {
        if (QWidget* box = QApplication::activeModalWidget())
            box->close();
    });
    program.Open();
    QCOMPARE(program.Find<clsPanes>({}).PaneTop(), 3000);
    program.Close();

    program.Set(u"Interface"_s, u"WindowTop"_s, u"600"_s);
    program.Set(u"Interface"_s, u"WindowLeft"_s, u"450"_s);
    program.Set(u"Interface"_s, u"WindowWidth"_s, u"10500"_s);
    program.Set(u"Interface"_s, u"WindowHeight"_s, u"7500"_s);
    frmMain& window = program.Open();
    QCOMPARE(window.pos(), QPoint(30, 40));
    QCOMPARE(window.size(), QSize(700, 500));
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.showMaximized();
    program.Close();
    QCOMPARE(program.Setting(u"Interface"_s, u"WindowState"_s), u"2"_s);
    QCOMPARE(program.Setting(u"Interface"_s, u"WindowWidth"_s), u"10500"_s);
    QCOMPARE(program.Setting(u"Interface"_s, u"WindowLeft"_s), u"450"_s);
    QVERIFY(program.Open().isMaximized());
    program.Close();

    // On a screen that is not there any more.
    program.Set(u"Interface"_s, u"WindowState"_s, u"0"_s);
    program.Set(u"Interface"_s, u"WindowLeft"_s, u"900000"_s);
    QVERIFY(program.Open().x() < 50000);
}

void tst_main_window::keysAndMenus()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    const auto expect = [&](const QString& what) { program.dialogs.Expect(Later(what)); };
    expect(u"Adding links"_s);
    expect(u"Editing links"_s);
    expect(u"Deleting links"_s);
    expect(u"Editing links"_s);
    for (const auto key : {Qt::Key_Insert, Qt::Key_Enter, Qt::Key_Delete})
        QTest::keyClick(&program.Grid(), key);
    const QRect cell = program.Grid().visualRect(program.Grid().Links().index(1, M::Title));
    QTest::mouseClick(program.Grid().viewport(), Qt::LeftButton, {}, cell.center());
    QTest::mouseDClick(program.Grid().viewport(), Qt::LeftButton, {}, cell.center());

    auto& sites = program.Find<QTreeWidget>(u"SiteList"_s);
    expect(u"Adding sites"_s);
    expect(u"Editing sites"_s);
    expect(u"Deleting sites"_s);
    for (const auto key : {Qt::Key_Insert, Qt::Key_Return, Qt::Key_Delete})
        QTest::keyClick(&sites, key);

    // The buttons below the list stand for entries in another order than theirs.
    const QStringList buttons{u"Adding links"_s,
                              u"Editing links"_s,
                              u"Deleting links"_s,
                              u"Choosing e-mail messages"_s,
                              {},
                              u"Changing the status of links"_s,
                              {},
                              u"The legend"_s};
    for (int i = 0; i < buttons.size(); ++i) {
        if (buttons[i].isEmpty())
            continue;
        expect(buttons[i]);
        program.Find<QToolButton>(u"LinkButtons_%1"_s.arg(i)).click();
    }
    expect(u"Copying sites"_s);
    program.Find<QToolButton>(u"SiteButtons_2"_s).click();
    expect(u"Editing link categories"_s);
    program.Trigger(u"ToolsMenuElement_6"_s);
    expect(u"Setting program options"_s);
    program.Trigger(u"BigToolBar_5"_s);
    QVERIFY(program.dialogs.expected.isEmpty());
    program.Trigger(u"LinkMenuElement_15"_s);
    program.Trigger(u"SitesMenuElement_7"_s);

    program.Trigger(u"LinkMenuElement_4"_s);
    QCOMPARE(program.Grid().ChosenLinks().size(), std::size_t{4});
    QTest::keyClick(&program.Grid(), Qt::Key_Tab);
    QVERIFY(!program.Grid().hasFocus());

    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {}, {});
    for (const auto& [control, menu] : {std::pair<QWidget*, QString>{&program.Grid(), u"LinkMenu"_s},
                                        std::pair<QWidget*, QString>{&sites, u"SitesMenu"_s}}) {
        QApplication::sendEvent(control, &menuKey);
        QVERIFY(program.Find<QMenu>(menu).isVisible());
        program.Find<QMenu>(menu).close();
    }
}

void tst_main_window::toolbarIconSize()
{
    clsTestWindow program;
    program.Set(u"General"_s, u"ShowURL"_s, u"1"_s);
    program.Set(u"Interface"_s, u"IconSize"_s, u"7"_s);
    program.Open();
    QVERIFY(program.Find<QCheckBox>(u"chkShowURL"_s).isChecked());
    program.Find<QCheckBox>(u"chkShowURL"_s).click();
    auto& toolbar = program.Find<QWidget>(u"TopToolbar"_s);
    QVERIFY(program.Find<QAction>(u"ToolbarPopupMenuSub_1"_s).isChecked());
    const int medium = toolbar.height();
    program.Trigger(u"ToolbarPopupMenuSub_2"_s);
    QTRY_VERIFY(toolbar.height() > medium);
    QVERIFY(!program.Find<QAction>(u"ToolbarPopupMenuSub_1"_s).isChecked());
    program.Close();
    QCOMPARE(program.Setting(u"Interface"_s, u"IconSize"_s), u"2"_s);
    QCOMPARE(program.Setting(u"General"_s, u"ShowURL"_s), u"0"_s);
}

void tst_main_window::siteChange()
{
    clsTestWindow program;
    program.Fill();
    clsTestInstallation::AddSite(*program.opened, u"Shop \"B\""_s, {{u"TestForMyImageAtRecipSite"_s, -1}});
    clsTestInstallation::AddLink(*program.opened, u"Shop \"B\""_s, u"Zoe"_s);
    clsTestInstallation::AddSite(*program.opened, u"Gone"_s);
    program.Set(u"General"_s, u"Site"_s, u"nowhere"_s);
    program.Open();
    auto& sites = program.Find<QTreeWidget>(u"SiteList"_s);
    const auto click = [&](int node) {
        QTest::mouseClick(sites.viewport(), Qt::LeftButton, {},
                          sites.visualItemRect(sites.topLevelItem(node)).center());
    };
    QCOMPARE(sites.topLevelItemCount(), 3);
    QCOMPARE(sites.currentItem()->text(0), u"Shop"_s);
    click(1);
    QCOMPARE(program.Window().windowTitle(), u"Brambury    [Site: Shop \"B\"]"_s);
    QCOMPARE(program.Shown(M::Title), QStringList{u"Zoe"_s});
    QVERIFY(modBrambury::State().Tests.MyImageAtRecipSite);

    const auto records = program.opened->OpenRecordset(u"tblSites"_s);
    QVERIFY(records->FindFirst(clsDAO::TextCriteria(u"SiteID"_s, u"Gone"_s)));
    records->Delete();
    program.dialogs.Expect(u"Settings for site \"Gone\" could not be retrieved.\r\n\r\n"
                           "If this problem persists, exit Brambury and restart \r\n"
                           "the program.  If it still persists, try repairing the \r\n"
                           "database by selecting the Repair Database option in \r\n"
                           "the Tools menu."_s);
    click(2);
    QVERIFY(program.dialogs.expected.isEmpty());
    QCOMPARE(program.Shown(M::Title), QStringList{u"Zoe"_s});
    QCOMPARE(sites.currentItem()->text(0), u"Shop \"B\""_s);
    program.Close();
    QCOMPARE(program.Setting(u"General"_s, u"Site"_s), u"Shop \"B\""_s);
}

void tst_main_window::setForTest()
{
    clsTestWindow program;
    clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
    QList<qint64> ids;
    for (const int queued : {0, 1, 0, 0})
        ids << clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Bob"_s, {{u"TestQueue"_s, queued}});
    program.Open();
    clsLinkGrid& grid = program.Grid();
    const auto queues = [&] {
        QStringList styles;
        for (int row = 0; row < grid.Links().rowCount(); ++row)
            styles << program.Style(row, M::TestQueue);
        return styles;
    };
    // Nothing selected: the current row.
    program.Trigger(u"LinkMenuElement_7"_s);
    QCOMPARE(queues(), (QStringList{u"Checked"_s, u"Checked"_s, {}, {}}));
    for (const int row : {1, 2})
        grid.selectionModel()->select(grid.Links().index(row, 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    program.Find<QToolButton>(u"LinkButtons_4"_s).click();
    QCOMPARE(queues(), (QStringList{u"Checked"_s, {}, u"Checked"_s, {}}));
    QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{ids[1], ids[2]}));
    QCOMPARE(clsTestInstallation::LinkField(*program.opened, ids[2], u"TestQueue"_s).toInt(), 1);
    QVERIFY(!QApplication::overrideCursor());
}

void tst_main_window::setMultipleTests()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    const auto answer = [](const QString& button) {
        QTimer::singleShot(0, qApp,
                           [button] { QApplication::activeModalWidget()->findChild<QPushButton*>(button)->click(); });
    };
    answer(u"buttonLinks_2"_s);
    program.Trigger(u"LinkMenuElement_8"_s);
    QCOMPARE(program.Style(2, M::TestQueue), QString());
    answer(u"buttonLinks_0"_s);
    program.Find<QToolButton>(u"LinkButtons_6"_s).click();
    // Active and Broken are what the dialog proposes.
    for (int row = 0; row < 4; ++row)
        QCOMPARE(program.Style(row, M::TestQueue), row >= 2 ? u"Checked"_s : QString());

    clsTestWindow empty;
    clsTestInstallation::AddSite(*empty.opened, u"Shop"_s);
    empty.Open();
    answer(u"buttonLinks_0"_s);
    empty.dialogs.Expect(u"There are no links available."_s);
    empty.Trigger(u"LinkMenuElement_8"_s);
    QVERIFY(empty.dialogs.expected.isEmpty());
}

void tst_main_window::resultsLog()
{
    clsTestWindow program;
    program.Open();
    const auto press = [&](int index) { program.Find<QPushButton>(u"ResultButtons_%1"_s.arg(index)).click(); };
    for (int i = 0; i < 3; ++i) {
        program.dialogs.Expect(u"The results log is empty."_s);
        press(i);
    }
    auto& box = program.Find<clsResultsBox>(u"txtResults"_s);
    clsStatusLog log(nullptr);
    log.SetLogWindow(&box);
    for (int i = 0; i < 200; ++i)
        log.LogItem(u"line %1"_s.arg(i), 1);
    log.LogItem(u" and more"_s, -1);
    QTRY_COMPARE(box.toPlainText(), QString(box.Text()).replace(u"\r\n"_s, u"\n"_s));
    QCOMPARE(box.textCursor().block().text(), u"  \u2022 line 199 and more"_s);
    QVERIFY(box.toPlainText().mid(box.textCursor().position()).startsWith(u" and more"_s));
    QVERIFY(box.cursorRect().intersects(box.viewport()->rect()));

    const QString path = program.installation.Folder() + u"/kept.log"_s;
    program.dialogs.filesToChoose << path << path;
    press(0);
    press(0);
    QCOMPARE(program.dialogs.fileRequests[0].title, u"Save To"_s);
    QCOMPARE(program.dialogs.fileRequests[0].filter, u"Log File (*.log)|*.log"_s);
    QCOMPARE(program.dialogs.fileRequests[0].fileName, u"Results.log"_s);
    QVERIFY(!program.dialogs.fileRequests[0].confirmOverwrite);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().count("line 7\r\n"), 2);
    press(0); // cancelled
    press(1);
    QVERIFY(program.printer.lines.contains(u"Results Log"_s));
    press(2);
    QCOMPARE(box.toPlainText(), QString());
    log.LogItem(u"anew"_s, 0, false);
    QTRY_COMPARE(box.toPlainText(), u"anew"_s);
}

void tst_main_window::helpCommands()
{
    clsTestWindow program;
    program.Open();
    program.Trigger(u"HelpMenuElement_7"_s);
    program.Trigger(u"BryOnline_1"_s);
    QCOMPARE(program.browser.opened.size(), 2);
    QVERIFY(program.browser.opened[0].endsWith(u"?maj=1&min=0&rev=0"_s));
    program.Trigger(u"HelpMenuElement_4"_s);
    QVERIFY(!program.Find<QAction>(u"HelpMenuElement_4"_s).isChecked());
    program.Close();
    QCOMPARE(program.Setting(u"General"_s, u"ShowTips"_s), u"No"_s);
}

void tst_main_window::everythingHasAName()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    const QList<QWidget*> widgets = program.Window().findChildren<QWidget*>();
    for (QWidget* widget : widgets) {
        const bool inside = widget->objectName().startsWith(u"qt_"_s) || !widget->isVisible();
        if (inside || (widget->focusPolicy() & Qt::TabFocus) == 0)
            continue;
        const auto* button = qobject_cast<QAbstractButton*>(widget);
        QVERIFY2(!widget->accessibleName().isEmpty() || (button && !button->text().isEmpty()),
                 qPrintable(QString::fromLatin1(widget->metaObject()->className()) + widget->objectName()));
    }
    // Every control is reached by the keyboard, and the way leads round.
    QWidget* start = program.Window().nextInFocusChain();
    QStringList reached;
    QWidget* step = start;
    do {
        if ((step->focusPolicy() & Qt::TabFocus) != 0 && step->isVisible())
            reached << step->objectName();
        step = step->nextInFocusChain();
    } while (step != start);
    for (const auto& name : {u"SiteList"_s, u"LinksTab"_s, u"gridLinkList"_s, u"LinkButtons_7"_s, u"txtResults"_s,
                             u"ResultButtons_2"_s, u"imgVertSplitter"_s, u"imgHorzSplitter"_s, u"chkShowURL"_s})
        QVERIFY2(reached.contains(name), qPrintable(name));
    QVERIFY(reached.indexOf(u"SiteList"_s) < reached.indexOf(u"gridLinkList"_s));
    QVERIFY(reached.indexOf(u"gridLinkList"_s) < reached.indexOf(u"txtResults"_s));
}

void tst_main_window::run()
{
    scriptedServer server;
    clsTestWindow program;
    AddPartners(program, server, {u"ann"_s, u"bob"_s, u"cid"_s});
    server.Answer("/ann.htm", serverReply::Page("<a href='http://www.shop.example/'>Shop</a>"));
    server.Answer("/bob.htm", serverReply::Page("<a href='http://www.else.example/'>Else</a>").After(300ms));
    server.Answer("/cid.htm", serverReply::Page("<a href='http://www.shop.example/'>Shop</a>"));
    program.Open();
    auto& tabs = program.Find<QTabBar>(u"LinksTab"_s);
    auto& stop = program.Find<QAction>(u"BigToolBar_3"_s);
    auto& progress = program.Find<clsRunProgress>({});
    QVERIFY(!stop.isEnabled());
    QVERIFY(!progress.isVisible());

    bool looked = false;
    auto* look = new QTimer(&program.Window());
    look->start(10);
    connect(look, &QTimer::timeout, look, [&] {
        if (looked || server.Count("/bob.htm") == 0)
            return;
        looked = true;
        QVERIFY(stop.isEnabled());
        QVERIFY(progress.isVisible());
        for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"SitesMenuElement_0"_s,
                                 u"ToolsMenuElement_8"_s, u"BigToolBar_2"_s})
            QVERIFY2(!program.Find<QAction>(name).isEnabled(), qPrintable(name));
        QVERIFY(!program.Find<QToolButton>(u"LinkButtons_4"_s).isEnabled());
        tabs.setCurrentIndex(3);
        QCOMPARE(tabs.currentIndex(), 0);
        QTest::keyClick(&program.Grid(), Qt::Key_Insert); // would show a box
        QVERIFY(program.Find<QPushButton>(u"ResultButtons_2"_s).isEnabled());
    });
    program.Trigger(u"BigToolBar_2"_s);
    QVERIFY(looked);
    QVERIFY(!stop.isEnabled());
    QVERIFY(!progress.isVisible());
    QVERIFY(program.Find<QAction>(u"ServicesMenuElement_2"_s).isEnabled());

    QCOMPARE(program.Style(0, M::TestResults), u"GreenBall"_s);
    QCOMPARE(program.Style(1, M::TestResults), u"RedBall"_s);
    QCOMPARE(program.Shown(M::Status), (QStringList{u"Active"_s, u"Broken"_s, u"Active"_s}));
    QCOMPARE(program.Style(1, M::TestQueue), QString());
    QCOMPARE(program.Grid().CurrentLink(), program.ids[2]);
    const QString log = program.Find<clsResultsBox>(u"txtResults"_s).toPlainText();
    QVERIFY(log.startsWith(u"BEGIN LINK TEST SESSION"_s));
    QVERIFY(log.contains(u"Could not locate a link to "_s));
    QVERIFY(log.split(u'\n').last().startsWith(u"END LINK TEST SESSION"_s));
    // Nothing is left to do: the run says so, and the window is free again.
    program.dialogs.Expect(u"There are no links selected for testing."_s);
    program.Trigger(u"ServicesMenuElement_2"_s);
    QVERIFY(program.dialogs.expected.isEmpty());
}

void tst_main_window::runElsewhere()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    const auto other =
        program.disk->Lock(program.installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
    QVERIFY(other);
    program.dialogs.Expect(u"Another link test or e-mail run is in progress on this database.  Please wait until it "
                           "has ended."_s);
    program.Trigger(u"ServicesMenuElement_2"_s);
    QVERIFY(program.dialogs.expected.isEmpty());
    QVERIFY(program.Find<clsResultsBox>(u"txtResults"_s).Text().isEmpty());
}

void tst_main_window::stop()
{
    scriptedServer server;
    clsTestWindow program;
    AddPartners(program, server, {u"ann"_s, u"bob"_s});
    server.Answer("/ann.htm", serverReply::Page("<a href='http://www.shop.example/'>Shop</a>"));
    server.Answer("/bob.htm", serverReply().Silent());
    program.Open();
    QElapsedTimer since;
    auto* press = new QTimer(&program.Window());
    press->start(10);
    connect(press, &QTimer::timeout, press, [&] {
        const QString log = program.Window().ResultsLog()->Text();
        if (since.isValid() || !log.contains(u"Searching bob"_s) || server.Count("/bob.htm") == 0)
            return;
        since.start();
        QTest::keyClick(&program.Window(), Qt::Key_Escape);
    });
    program.Trigger(u"ServicesMenuElement_2"_s);
    QVERIFY(since.isValid());
    QVERIFY2(since.elapsed() < 1000, qPrintable(QString::number(since.elapsed())));
    QVERIFY(program.Window().ResultsLog()->Text().contains(u"Stop button was pressed.  Process aborted."_s));
    QCOMPARE(program.Style(0, M::TestResults), u"GreenBall"_s);
    QCOMPARE(program.Style(1, M::TestQueue), u"Checked"_s);
    // A stop of one run is not a stop of the next.
    server.Answer("/bob.htm", serverReply::Page("<a href='http://www.shop.example/'>Shop</a>"));
    program.Trigger(u"ServicesMenuElement_2"_s);
    QCOMPARE(program.Style(1, M::TestResults), u"GreenBall"_s);
}

void tst_main_window::closeDuringRun()
{
    scriptedServer server;
    clsTestWindow program;
    AddPartners(program, server, {u"ann"_s});
    server.Answer("/ann.htm", serverReply().Silent());
    program.Open();
    bool asked = false;
    auto* press = new QTimer(&program.Window());
    press->start(10);
    connect(press, &QTimer::timeout, press, [&] {
        if (asked || server.Count("/ann.htm") == 0)
            return;
        asked = true;
        program.Window().close();
        QVERIFY(program.Window().isVisible());
        QVERIFY(modBrambury::State().Database);
    });
    program.Trigger(u"ServicesMenuElement_2"_s);
    QVERIFY(asked);
    QTRY_COMPARE(program.closed, 1);
    QVERIFY(!program.windows.AnyLoaded());
    QVERIFY(!modBrambury::State().Database);
    QVERIFY(program.settings.HasSetting(u"Interface"_s, u"PaneTop"_s));
    QCOMPARE(clsTestInstallation::LinkField(*program.opened, program.ids[0], u"TestQueue"_s).toInt(), 1);
    QCOMPARE(clsTestInstallation::LinkField(*program.opened, program.ids[0], u"Status"_s).toInt(), 2);
}

void tst_main_window::sessionEndDuringRun()
{
    scriptedServer server;
    clsTestWindow program;
    AddPartners(program, server, {u"ann"_s});
    server.Answer("/ann.htm", serverReply().Silent());
    // A close by hand would ask for a backup now.
    program.Set(u"General"_s, u"AutoBackup"_s, u"Yes"_s);
    program.Open();
    program.Window().resize(700, 500);
    auto* press = new QTimer(&program.Window());
    press->start(10);
    connect(press, &QTimer::timeout, press, [&] {
        if (server.Count("/ann.htm") == 1) {
            press->stop();
            program.windows.EndSession();
        }
    });
    program.Trigger(u"ServicesMenuElement_2"_s);
    QTRY_COMPARE(program.closed, 1);
    QCOMPARE(program.Setting(u"Interface"_s, u"WindowWidth"_s), u"10500"_s);
    QVERIFY(!modBrambury::State().Database);
}

void tst_main_window::abortSavesNothing()
{
    clsTestWindow program;
    program.Fill();
    program.Open();
    program.Window().resize(700, 500);
    const auto before = program.settings.values;
    modBrambury::AbortProgram();
    QTRY_COMPARE(program.closed, 1);
    QCOMPARE(program.settings.values, before);
    QVERIFY(!modBrambury::State().Database);
}

void tst_main_window::restartTwentyTimes()
{
    clsTestWindow program;
    program.Fill();
    program.Set(u"General"_s, u"AutoBackup"_s, u"Yes"_s);
    program.Open();
    qsizetype windows = 0;
    for (int i = 1; i <= 20; ++i) {
        program.Window().resize(700 + i, 500);
        program.dialogs.Expect(u"Brambury will now restart."_s, {}, u"Compact Completed"_s);
        modBrambury::RestartProgram(u"Compact Completed"_s);
        QTRY_COMPARE(program.closed, i);
        QCOMPARE(modBrambury::NextStep(), modBrambury::Next::Restart);
        program.windows.Discard();
        program.Open();
        QCOMPARE(program.Window().width(), 700 + i);
        QCOMPARE(program.Counter(), u"[ 4 link(s) in current view ]"_s);
        if (i == 1)
            windows = QApplication::allWidgets().size();
    }
    QCOMPARE(QApplication::allWidgets().size(), windows);
    program.Set(u"General"_s, u"AutoBackup"_s, u"No"_s);
    modBrambury::State().Settings.AutoBackup = u"No"_s;
}

void tst_main_window::progressText()
{
    QCOMPARE(clsRunProgress::Text(3, 40, 65s), u"3 of 40, 1:05"_s);
    QCOMPARE(clsRunProgress::Text(0, 0, 5s), u"0:05"_s);
    QCOMPARE(clsRunProgress::Text(1, 2, 3725s), u"1 of 2, 1:02:05"_s);
}

QTEST_MAIN(tst_main_window)
#include "tst_main_window.moc"
