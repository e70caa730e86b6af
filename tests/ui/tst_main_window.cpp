// SPDX-License-Identifier: GPL-3.0-or-later
// The main window as a user meets it: lists, tabs, sorting, keys, layout, runs, and every way to close it.
#include "main_window_fixture.h"

#include "data/clsDAO.h"
#include "shell/modCommonFunctions.h"
#include "support/dialogs.h"
#include "support/scripted_server.h"
#include "support/table.h"
#include "ui/main/clsPanes.h"
#include "ui/main/clsResultsBox.h"
#include "ui/parts/clsRowDelegate.h"
#include "ui/parts/clsRunProgress.h"
#include "ui/records/frmSetTest.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using M = clsLinkModel;

namespace
{
const QString InterfaceSection = u"Interface"_s;
const QString GeneralSection = u"General"_s;
const QString GridSection = u"LinkGrid"_s;

/// Columns that are shown, in the order in which they stand.
QString ShownColumns(const clsLinkGrid& grid)
{
    QStringList names;
    for (int place = 0; place < M::ColumnCount; ++place) {
        const int column = grid.horizontalHeader()->logicalIndex(place);
        if (!grid.isColumnHidden(column))
            names << M::NameOf(column);
    }
    return names.join(u',');
}

/// A run on partners behind a scripted server. A partner's page is "/NAME.htm", the own page "/own.htm".
struct Partners
{
    scriptedServer server;
    clsTestWindow program;

    explicit Partners(const QStringList& names)
    {
        const auto home = [](const QString& name) { return u"http://www.%1.example/"_s.arg(name); };
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s,
                                     {{u"HomePage"_s, home(u"shop"_s)},
                                      {u"LinkPage"_s, server.Url(u"/own.htm"_s)},
                                      {u"TestForMyLinkAtRecipSite"_s, 1},
                                      {u"TestForRecipLinkAtMySite"_s, 0}});
        for (const QString& name : names)
            program.ids << clsTestInstallation::AddLink(*program.opened, u"Shop"_s, name,
                                                        {{u"HomePage"_s, home(name)},
                                                         {u"LinkPage"_s, server.Url(u"/%1.htm"_s.arg(name))},
                                                         {u"TestQueue"_s, 1}});
    }
    static serverReply LinksTo(const QByteArray& host)
    {
        return serverReply::Page("<a href='http://www." + host + ".example/'>Link</a>");
    }
    /// Runs the link test; `act` is done once, when the results log speaks of searching `name`. @return whether it was.
    bool RunAnd(const QString& name, const std::function<void()>& act)
    {
        bool done = false;
        QTimer look;
        look.callOnTimeout([&] {
            if (done || !program.Window().ResultsLog()->Text().contains(u"Searching "_s + name))
                return;
            done = true;
            act();
        });
        look.start(10);
        program.Trigger(u"ServicesMenuElement_2"_s);
        return done;
    }
};
} // namespace

class tst_main_window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The platform plugin for windows without a screen warns of whatever only a screen can do.
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_s)); }

    void noSite()
    {
        clsTestWindow program;
        QCOMPARE(program.Open().windowTitle(), u"Brambury"_s);
        QCOMPARE(program.Counter(), u"[ 0 link(s) in current view ]"_s);
        QVERIFY(program.Find<QWidget>(u"Invitation"_s).isVisible());
        QVERIFY(!program.Find<QWidget>(u"SampleBar"_s).isVisible());

        const auto refused = [&](const QString& menu, const QList<int>& entries, const QString& text) {
            for (const int entry : entries) {
                program.dialogs.Expect(text, {}, u"Brambury"_s);
                program.Trigger(u"%1_%2"_s.arg(menu).arg(entry));
            }
        };
        refused(u"ServicesMenuElement"_s, {0, 1, 2, 5, 7}, u"There are no sites available."_s);
        refused(u"SitesMenuElement"_s, {1, 2, 3, 5}, u"There are no sites available."_s);
        refused(u"LinkMenuElement"_s, {0}, u"You must create a site before adding a new link."_s);
        refused(u"LinkMenuElement"_s, {1, 2, 4, 6, 7, 9}, u"There are no links available."_s);
        refused(u"LinkMenuElementSub"_s, {2, 14}, u"There are no links available."_s);
        QVERIFY(program.dialogs.expected.isEmpty());
    }

    void sampleComesAndGoes()
    {
        clsTestWindow program;
        const auto press = [&](const QString& button) {
            QTest::keyClick(&program.Find<QPushButton>(button), Qt::Key_Space);
        };
        program.Open();
        press(u"Invitation_open"_s);
        QCOMPARE(program.Window().windowTitle(), u"Brambury    [Site: Green Thumb Garden]"_s);
        QCOMPARE(program.Counter(), u"[ 24 link(s) in current view ]"_s);
        QVERIFY(!program.Find<QWidget>(u"Invitation"_s).isVisible());
        QVERIFY(program.Grid().hasFocus());

        // It is known as the sample by the next start, and the user's own site is not part of it.
        program.Close();
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        program.Open();
        QVERIFY(program.Find<QWidget>(u"SampleBar"_s).isVisible());
        press(u"RemoveSample"_s);
        QCOMPARE(program.Window().windowTitle(), u"Brambury    [Site: Shop]"_s);
        QVERIFY(!program.Find<QWidget>(u"SampleBar"_s).isVisible());
    }

    void firstLook()
    {
        clsTestWindow program;
        program.Fill();
        const qint64 category = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Gardens"_s);
        clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Filed"_s, {{u"CategoryID"_s, category}});
        frmMain& window = program.Open();
        QCOMPARE(window.windowTitle(), u"Brambury    [Site: Shop]"_s);
        QCOMPARE(window.size(), QSize(632, 437));
        QCOMPARE(ShownColumns(program.Grid()),
                 u"*EmailQueue,*TestQueue,Title,HomePage,*Offers,*Status,*TestResults,Notes"_s);
        // Inactive and declined links are hidden at first.
        QCOMPARE(program.Counter(), u"[ 5 link(s) in current view ]"_s);
        QCOMPARE(program.Shown(M::Category).last(), u"Gardens"_s);
        QCOMPARE(modBrambury::State().Settings.LastEntry, QDate::currentDate().toString(Qt::ISODate));
        QVERIFY(program.Find<QAction>(u"HelpMenuElement_4"_s).isChecked());

        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 0), u"ActiveRow"_s);
        QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 1), QString());
        program.Find<QTreeWidget>(u"SiteList"_s).setFocus();
        QCOMPARE(clsRowDelegate::RowStyle(program.Grid(), 0), u"ActiveRowWithoutFocus"_s);
    }

    void statusTabs()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        auto& tabs = program.Find<QTabBar>(u"LinksTab"_s);
        auto& hide = program.Find<QCheckBox>(u"HideInactiveDeclined"_s);
        const auto rows = [&] { return program.Shown(M::Title).join(u',').remove(u"Partner "_s); };
        QCOMPARE(tabs.count(), 5);
        for (int status = 0; status < 4; ++status) {
            QTest::mouseClick(&tabs, Qt::LeftButton, {}, tabs.tabRect(status + 1).center());
            QCOMPARE(rows(), QString::number(status));
        }
        QCOMPARE(program.Counter(), u"[ 1 link(s) in current view ]"_s);
        QCOMPARE(tabs.tabToolTip(2), u"Show links in Pending status"_s);

        hide.click();
        QCOMPARE(tabs.count(), 7);
        QCOMPARE(tabs.tabText(6) + tabs.tabToolTip(5), u"DeclinedShow links in Inactive status"_s);
        for (const auto& [tab, shown] : {std::pair(0, u"0,1,2,3,4,5"_s), {5, u"4"_s}, {6, u"5"_s}}) {
            tabs.setCurrentIndex(tab);
            QCOMPARE(rows(), shown);
        }
        // The tab that is shown goes away: all links, but for those that are hidden now.
        hide.click();
        QCOMPARE(tabs.count(), 5);
        QCOMPARE(tabs.currentIndex(), 0);
        QCOMPARE(rows(), u"0,1,2,3"_s);
        hide.click();
        program.Close();
        program.Open();
        QCOMPARE(program.Find<QTabBar>(u"LinksTab"_s).count(), 7);
        QCOMPARE(rows(), u"0,1,2,3,4,5"_s);
    }

    void sorting()
    {
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        const qint64 zebras = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Zebras"_s);
        const qint64 apples = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Apples"_s);
        for (const auto& [title, category, status] :
             {std::tuple(u"carrot"_s, apples, 1), {u"Beet"_s, zebras, 1}, {u"asparagus"_s, zebras, 2}})
            clsTestInstallation::AddLink(*program.opened, u"Shop"_s, title,
                                         {{u"CategoryID"_s, category}, {u"Status"_s, status}});
        program.Open();
        const auto titles = [&] { return program.Shown(M::Title).join(u','); };
        // The ticked entry of the menu, -1 unless it is exactly one.
        const auto tick = [&] {
            QList<int> ticked;
            for (int i = 0; i <= 14; ++i) {
                if (program.Find<QAction>(u"LinkMenuElementSub_%1"_s.arg(i)).isChecked())
                    ticked << i;
            }
            return ticked.size() == 1 ? ticked[0] : -1;
        };
        const QString natural = u"carrot,Beet,asparagus"_s;
        QCOMPARE(titles(), natural);
        QCOMPARE(tick(), 14);
        program.Trigger(u"LinkMenuElementSub_2"_s);
        QCOMPARE(titles(), u"asparagus,Beet,carrot"_s);
        QCOMPARE(tick(), 2);
        QCOMPARE(program.Grid().horizontalHeader()->sortIndicatorSection(), int{M::Title});
        // The order holds for another view.
        program.Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(2);
        QCOMPARE(titles(), u"Beet,carrot"_s);
        program.Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(0);
        // The category is sorted by its number, whichever way it is asked for.
        program.Trigger(u"LinkMenuElementSub_12"_s);
        QCOMPARE(modBrambury::State().Settings.Sort, 20);
        QCOMPARE(program.Shown(M::Category).first(), u"Zebras"_s);
        // The note's column number is that of the natural order.
        for (const auto& [column, entry] : {std::pair(M::Title, 2), {M::Category, 12}, {M::Notes, 14}}) {
            QHeaderView* header = program.Grid().horizontalHeader();
            program.Grid().setColumnHidden(column, false);
            program.Grid().scrollTo(program.Grid().Links().index(0, column));
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              {header->sectionViewportPosition(column) + 20, header->height() / 2});
            QCOMPARE(tick(), entry);
        }
        QCOMPARE(titles(), natural);

        program.Trigger(u"LinkMenuElementSub_2"_s);
        program.Close();
        program.Open();
        QCOMPARE(titles(), u"asparagus,Beet,carrot"_s);
        QCOMPARE(tick(), 2);
    }

    void columnLayout()
    {
        clsTestWindow program;
        program.Fill();
        program.Set(GridSection, u"~LinkID"_s, u"900"_s); // a column that nobody can show
        program.Open();
        QCOMPARE(ShownColumns(program.Grid()).count(u','), 7);
        QHeaderView* header = program.Grid().horizontalHeader();
        header->moveSection(header->visualIndex(M::Status), 0);
        program.Grid().setColumnHidden(M::Offers, true);
        program.Grid().setColumnHidden(M::Email, false);
        header->resizeSection(M::Title, 123);
        const QString shown = ShownColumns(program.Grid());
        program.Set(GridSection, u"*Offers"_s, u"900"_s); // must not survive the saving
        program.Close();
        QCOMPARE(program.Setting(GridSection, u"Title"_s), u"1845"_s);
        QCOMPARE(program.Setting(GridSection, u"Order"_s), shown);
        QVERIFY(!program.settings.HasSetting(GridSection, u"*Offers"_s));
        // Resizing the window leaves a layout alone that the user has made.
        program.Open().resize(1000, 700);
        QCOMPARE(ShownColumns(program.Grid()), shown);
        QCOMPARE(program.Grid().columnWidth(M::Title), 123);
        program.Close();

        program.settings.DeleteSection(GridSection);
        program.Set(GridSection, u"Title"_s, u"wide"_s);
        program.Set(GridSection, u"Email"_s, u"1500.5"_s);
        program.Open();
        QCOMPARE(program.Grid().columnWidth(M::Email), 100);
        QVERIFY(program.Grid().columnWidth(M::Title) > 50);
    }

    void splitters()
    {
        clsTestWindow program;
        program.Fill();
        for (const auto& [key, value] : {std::pair(u"WindowWidth"_s, u"12000"_s),
                                         {u"WindowHeight"_s, u"9000"_s},
                                         {u"PaneLeft"_s, u"3000"_s},
                                         {u"PaneTop"_s, u"4500"_s}})
            program.Set(InterfaceSection, key, value);
        program.Open();
        auto& panes = program.Find<clsPanes>({});
        auto& bar = program.Find<clsSplitterBar>(u"imgVertSplitter"_s);
        auto& level = program.Find<clsSplitterBar>(u"imgHorzSplitter"_s);
        QCOMPARE(QPoint(bar.x(), level.y()), QPoint(200, 300));

        const auto drag = [](QWidget& what, const QList<int>& by) {
            const QPoint grip(3, 20);
            QTest::mousePress(&what, Qt::LeftButton, {}, grip);
            for (const int step : by)
                QTest::mouseMove(&what, grip + QPoint(step, 0));
            QTest::mouseRelease(&what, Qt::LeftButton, {}, grip);
        };
        drag(bar, {-50});
        QCOMPARE(program.Find<QWidget>(u"TopLeftPane"_s).width(), 150);
        // Beyond the margin: the last place within it holds.
        drag(bar, {-30, -60});
        QCOMPARE(panes.PaneLeft(), 120 * 15);
        for (const auto& [wanted, left] : {std::pair(1600, 1800), {1620, 1620}, {panes.width() * 15 - 1605, 1620}}) {
            panes.MoveVertical(wanted);
            QCOMPARE(panes.PaneLeft(), left);
        }
        for (const auto& [wanted, top] : {std::pair(2499, 4500), {panes.height() * 15 - 1999, 4500}, {2500, 2500}}) {
            panes.MoveHorizontal(wanted);
            QCOMPARE(panes.PaneTop(panes.height()), top);
        }
        QTest::keyClick(&level, Qt::Key_Down);
        QVERIFY(panes.PaneTop(panes.height()) > 2500);

        // A window that is too small for a while does not cost the position.
        panes.MoveHorizontal(6000);
        program.Window().resize(800, 420);
        QVERIFY(level.y() + 2000 / 15 <= panes.height());
        program.Window().resize(800, 600);
        QCOMPARE(level.y(), 400);
        // What a larger window gains is for the list and the log alike; a smaller one comes back to the same place.
        program.Window().resize(800, 1000);
        QVERIFY(level.y() > 600 && panes.height() - level.y() > 250);
        program.Window().showMaximized();
        program.Close(); // as it is in the normal window
        QCOMPARE(program.Setting(InterfaceSection, u"PaneTop"_s), u"10020"_s);
        QCOMPARE(program.Setting(InterfaceSection, u"PaneLeft"_s), u"1620"_s);
    }

    void smallAndLargeWindows()
    {
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop\tand\ncafe"_s);
        program.Set(GeneralSection, u"HideInactiveDeclined"_s, u"0"_s);
        frmMain& window = program.Open();
        QCOMPARE(window.windowTitle(), u"Brambury    [Site: Shop and cafe]"_s);
        program.Find<QLabel>(u"lblLinksInView"_s).setText(u"[ 100027 link(s) in current view ]"_s);
        for (const QSize size : {QSize(632, 437), QSize(800, 600), QSize(1920, 1080), QSize(632, 437)}) {
            window.resize(size);
            QCoreApplication::processEvents();
            // Nothing is cut off.
            for (const auto& name : {u"HideInactiveDeclined"_s, u"LinksTab"_s, u"txtFilter"_s, u"BigToolBar"_s,
                                     u"LinkButtons_7"_s, u"lblLinksInView"_s}) {
                auto& control = program.Find<QWidget>(name);
                QTRY_VERIFY2(control.parentWidget()->rect().contains(control.geometry()), qPrintable(name));
                if (name != "lblLinksInView"_L1 && name != "BigToolBar"_L1)
                    QVERIFY2(control.width() >= control.minimumSizeHint().width(), qPrintable(name));
            }
            auto& toolbar = program.Find<QToolBar>(u"BigToolBar"_s);
            for (int button = 0; button < 7; ++button)
                QVERIFY(toolbar.widgetForAction(&program.Find<QAction>(u"BigToolBar_%1"_s.arg(button)))->isVisible());
        }
        // Bars that nobody has moved share what a larger window has; where they stand is not stored as the user's wish.
        QCOMPARE(program.Find<QWidget>(u"imgHorzSplitter"_s).y(), 282);
        window.resize(1920, 1080);
        QCoreApplication::processEvents();
        const int results = program.Find<clsResultsBox>(u"txtResults"_s).height();
        QVERIFY(results > 200 && program.Grid().height() > results);
        program.Close();
        QCOMPARE(program.Setting(InterfaceSection, u"PaneTop"_s), u"4230"_s);
    }

    void placement()
    {
        clsTestWindow program;
        const auto set = [&](const QString& left, const QString& width) {
            for (const auto& [key, value] : {std::pair(u"WindowTop"_s, u"600"_s),
                                             {u"WindowLeft"_s, left},
                                             {u"WindowWidth"_s, width},
                                             {u"WindowHeight"_s, u"7500"_s}})
                program.Set(InterfaceSection, key, value);
        };
        set(u"450"_s, u"wide"_s); // costs the placement, not the rest
        program.Set(InterfaceSection, u"PaneTop"_s, u"3000"_s);
        QTimer::singleShot(0, qApp, [] {
            if (QWidget* box = QApplication::activeModalWidget())
                box->close();
        });
        program.Open();
        QCOMPARE(program.Find<clsPanes>({}).PaneTop(program.Find<clsPanes>({}).height()), 3000);
        program.Close();

        set(u"450"_s, u"10500"_s);
        frmMain& window = program.Open();
        QCOMPARE(QRect(window.pos(), window.size()), QRect(30, 40, 700, 500));
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.showMaximized();
        QTRY_VERIFY(window.width() > 700);
        program.Close();
        QCOMPARE(program.Setting(InterfaceSection, u"WindowWidth"_s), u"10500"_s);
        QCOMPARE(program.Setting(InterfaceSection, u"WindowLeft"_s), u"450"_s);
        QVERIFY(program.Open().isMaximized());
        program.Close();

        // On a screen that is not there any more.
        program.Set(InterfaceSection, u"WindowState"_s, u"0"_s);
        set(u"900000"_s, u"10500"_s);
        QVERIFY(program.Open().x() < 50000);
    }

    /// Ways that the commands themselves are not tested by.
    void buttonsAndContextMenus()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        clsLinkGrid& grid = program.Grid();
        auto& sites = program.Find<QTreeWidget>(u"SiteList"_s);
        // The title of the window that a way opens, which is closed again.
        const auto opens = [](const std::function<void()>& act) {
            QString title;
            inNextDialog([&title](QDialog& dialog) {
                title = dialog.windowTitle();
                dialog.reject();
            });
            act();
            return title;
        };
        const QString link = u"Link Properties  [Partner 0]"_s;
        const QString site = u"Site Properties  [Shop]"_s;
        const QPoint cell = grid.visualRect(grid.Links().index(0, M::Title)).center();
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell);
        QCOMPARE(opens([&] { QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, cell); }), link);
        QCOMPARE(opens([&] { program.Find<QToolButton>(u"LinkButtons_1"_s).click(); }), link);
        sites.setFocus();
        QCOMPARE(opens([&] { QTest::keyClick(&sites, Qt::Key_Return); }), site);
        QCOMPARE(opens([&] { program.Find<QToolButton>(u"SiteButtons_1"_s).click(); }), site);

        program.Trigger(u"LinkMenuElement_4"_s);
        QCOMPARE(grid.ChosenLinks().size(), std::size_t{4});
        QTest::keyClick(&grid, Qt::Key_Tab);
        QVERIFY(!grid.hasFocus());

        const auto menuCame = [&](const QString& name) {
            auto& menu = program.Find<QMenu>(name);
            const bool came = menu.isVisible();
            menu.close();
            return came;
        };
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {}, {});
        for (QWidget* list : {static_cast<QWidget*>(&grid), static_cast<QWidget*>(grid.horizontalHeader())}) {
            QApplication::sendEvent(list, &menuKey);
            QVERIFY(menuCame(u"LinkMenu"_s));
        }
        QApplication::sendEvent(&sites, &menuKey);
        QVERIFY(menuCame(u"SitesMenu"_s));
        // The toolbar's menu comes up over a button that is grey, too.
        QWidget* stop =
            program.Find<QToolBar>(u"BigToolBar"_s).widgetForAction(&program.Find<QAction>(u"BigToolBar_3"_s));
        const QPoint place = stop->mapTo(&program.Window(), stop->rect().center());
        QTest::mousePress(program.Window().windowHandle(), Qt::RightButton, {}, place);
        QVERIFY(menuCame(u"ToolbarMenu"_s));
        QTest::mouseRelease(program.Window().windowHandle(), Qt::RightButton, {}, place);
    }

    void settingsComeBack()
    {
        clsTestWindow program;
        program.Set(GeneralSection, u"ShowURL"_s, u"1"_s);
        program.Set(InterfaceSection, u"IconSize"_s, u"7"_s); // there is none
        program.Open();
        QVERIFY(program.Find<QCheckBox>(u"chkShowURL"_s).isChecked());
        program.Find<QCheckBox>(u"chkShowURL"_s).click();
        auto& toolbar = program.Find<QWidget>(u"TopToolbar"_s);
        QVERIFY(program.Find<QAction>(u"ToolbarPopupMenuSub_1"_s).isChecked());
        const int medium = toolbar.height();
        program.Trigger(u"ToolbarPopupMenuSub_2"_s);
        QTRY_VERIFY(toolbar.height() > medium);
        QVERIFY(!program.Find<QAction>(u"ToolbarPopupMenuSub_1"_s).isChecked());
        program.Trigger(u"HelpMenuElement_7"_s);
        program.Trigger(u"BryOnline_1"_s);
        QCOMPARE(program.browser.opened.size(), 2);
        QVERIFY(program.browser.opened[0].endsWith(u"?maj=1&min=0&rev=0"_s));
        program.Trigger(u"HelpMenuElement_4"_s);
        QVERIFY(!program.Find<QAction>(u"HelpMenuElement_4"_s).isChecked());
        program.Close();
        QCOMPARE(program.Setting(InterfaceSection, u"IconSize"_s), u"2"_s);
        QCOMPARE(program.Setting(GeneralSection, u"ShowURL"_s), u"0"_s);
        QCOMPARE(program.Setting(GeneralSection, u"ShowTips"_s), u"No"_s);
    }

    void siteChange()
    {
        clsTestWindow program;
        program.Fill();
        clsTestInstallation::AddSite(*program.opened, u"Shop \"B\""_s, {{u"TestForMyImageAtRecipSite"_s, -1}});
        clsTestInstallation::AddLink(*program.opened, u"Shop \"B\""_s, u"Zoe"_s);
        clsTestInstallation::AddSite(*program.opened, u"Gone"_s);
        program.Set(GeneralSection, u"Site"_s, u"nowhere"_s);
        program.Open();
        auto& sites = program.Find<QTreeWidget>(u"SiteList"_s);
        const auto click = [&](int node) {
            const QPoint place = sites.visualItemRect(sites.topLevelItem(node)).center();
            QTest::mouseClick(sites.viewport(), Qt::LeftButton, {}, place);
        };
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
        QCOMPARE(program.Setting(GeneralSection, u"Site"_s), u"Shop \"B\""_s);
    }

    void testQueue()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        clsLinkGrid& grid = program.Grid();
        const auto answer = [](const QString& button) {
            QTimer::singleShot(
                0, qApp, [button] { QApplication::activeModalWidget()->findChild<QPushButton*>(button)->click(); });
        };
        const auto queues = [&] {
            QString marks;
            for (int row = 0; row < grid.Links().rowCount(); ++row)
                marks += program.Style(row, M::TestQueue).isEmpty() ? u'-' : u'x';
            return marks;
        };
        // Nothing selected: the current row.
        program.Trigger(u"LinkMenuElement_7"_s);
        QCOMPARE(queues(), u"x---"_s);
        for (const int row : {0, 2})
            grid.selectionModel()->select(grid.Links().index(row, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
        program.Find<QToolButton>(u"LinkButtons_4"_s).click();
        QCOMPARE(queues(), u"--x-"_s);
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{program.ids[0], program.ids[2]}));
        QCOMPARE(clsTestInstallation::LinkField(*program.opened, program.ids[2], u"TestQueue"_s).toInt(), 1);
        QVERIFY(!QApplication::overrideCursor());

        answer(u"buttonLinks_2"_s);
        program.Trigger(u"LinkMenuElement_8"_s);
        QCOMPARE(queues(), u"--x-"_s);
        answer(u"buttonLinks_0"_s);
        program.Find<QToolButton>(u"LinkButtons_6"_s).click();
        QCOMPARE(queues(), u"--xx"_s); // Active and Broken are what the dialog proposes
    }

    void resultsLog()
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
        const clsDialogs::FileRequest asked = program.dialogs.fileRequests[0];
        QCOMPARE((QStringList{asked.title, asked.filter, asked.fileName}),
                 (QStringList{u"Save To"_s, u"Log File (*.log)|*.log"_s, u"Results.log"_s}));
        QVERIFY(!asked.confirmOverwrite);
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

    void everythingHasAName()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        // Every control is reached by the keyboard, has a name for those who do not see it, and the way leads round.
        QWidget* start = program.Window().nextInFocusChain();
        QStringList reached;
        QWidget* step = start;
        do {
            if ((step->focusPolicy() & Qt::TabFocus) != 0 && step->isVisible()) {
                const auto* button = qobject_cast<QAbstractButton*>(step);
                QVERIFY2(!step->accessibleName().isEmpty() || (button && !button->text().isEmpty()),
                         qPrintable(QString::fromLatin1(step->metaObject()->className()) + step->objectName()));
                reached << step->objectName();
            }
            step = step->nextInFocusChain();
        } while (step != start);
        // As the eye goes.
        qsizetype place = reached.indexOf(u"SiteButtons_0"_s);
        for (const auto& name :
             {u"SiteList"_s, u"imgVertSplitter"_s, u"LinksTab"_s, u"txtFilter"_s, u"gridLinkList"_s, u"LinkButtons_7"_s,
              u"imgHorzSplitter"_s, u"chkShowURL"_s, u"txtResults"_s, u"ResultButtons_2"_s}) {
            const qsizetype next = reached.indexOf(name);
            QVERIFY2(next > place, qPrintable(name));
            place = next;
        }
    }

    void run()
    {
        Partners partners({u"ann"_s, u"bob"_s, u"cid"_s});
        clsTestWindow& program = partners.program;
        partners.server.Answer("/ann.htm", Partners::LinksTo("shop"));
        partners.server.Answer("/bob.htm", Partners::LinksTo("else").After(100ms));
        partners.server.Answer("/cid.htm", Partners::LinksTo("shop"));
        program.Open();
        auto& tabs = program.Find<QTabBar>(u"LinksTab"_s);
        auto& stop = program.Find<QAction>(u"BigToolBar_3"_s);
        auto& progress = program.Find<clsRunProgress>({});
        const auto free = [&] {
            return !stop.isEnabled() && !progress.isVisible() && program.Find<QAction>(u"BigToolBar_2"_s).isEnabled();
        };
        QCOMPARE(clsRunProgress::Text(3, 40, 65s) + clsRunProgress::Text(1, 2, 3725s),
                 u"3 of 40, 1:051 of 2, 1:02:05"_s);
        QVERIFY(free());
        const bool looked = partners.RunAnd(u"bob"_s, [&] {
            QVERIFY(stop.isEnabled());
            QVERIFY(progress.isVisible());
            for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"SitesMenuElement_0"_s,
                                     u"ToolsMenuElement_8"_s, u"BigToolBar_2"_s})
                QVERIFY2(!program.Find<QAction>(name).isEnabled(), qPrintable(name));
            for (const auto& name : {u"LinkButtons_4"_s, u"txtFilter"_s})
                QVERIFY2(!program.Find<QWidget>(name).isEnabled(), qPrintable(name));
            tabs.setCurrentIndex(3);
            QCOMPARE(tabs.currentIndex(), 0);
            QTest::keyClick(&program.Grid(), Qt::Key_Insert); // would show a box
            QVERIFY(program.Find<QPushButton>(u"ResultButtons_2"_s).isEnabled());
        });
        QVERIFY(looked);
        QVERIFY(free());

        QCOMPARE(program.Style(0, M::TestResults), u"GreenBall"_s);
        QCOMPARE(program.Style(1, M::TestResults), u"RedBall"_s);
        QCOMPARE(program.Shown(M::Status), (QStringList{u"Active"_s, u"Broken"_s, u"Active"_s}));
        QCOMPARE(program.Style(1, M::TestQueue), QString());
        QCOMPARE(program.Grid().CurrentLink(), program.ids[2]);
        const QString log = program.Find<clsResultsBox>(u"txtResults"_s).toPlainText();
        QVERIFY(log.startsWith(u"BEGIN LINK TEST SESSION"_s) && log.contains(u"Could not locate a link to "_s));
        // Nothing is left to do: the run says so, and the window is free again.
        program.dialogs.Expect(u"There are no links selected for testing."_s);
        program.Trigger(u"BigToolBar_2"_s);
        QVERIFY(program.dialogs.expected.isEmpty());
        // Another program's run comes first.
        const QString before = program.Window().ResultsLog()->Text();
        const auto other =
            program.disk->Lock(program.installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
        program.dialogs.Expect(
            u"Another link test or e-mail run is in progress on this database.  Please wait until it "
            "has ended."_s);
        program.Trigger(u"BigToolBar_2"_s);
        QVERIFY(program.dialogs.expected.isEmpty());
        QCOMPARE(program.Window().ResultsLog()->Text(), before);
    }

    void stop()
    {
        Partners partners({u"ann"_s, u"bob"_s});
        clsTestWindow& program = partners.program;
        partners.server.Answer("/ann.htm", Partners::LinksTo("shop"));
        partners.server.Answer("/bob.htm", serverReply().Silent());
        program.Open();
        QElapsedTimer since;
        QVERIFY(partners.RunAnd(u"bob"_s, [&] {
            since.start();
            QTest::keyClick(&program.Window(), Qt::Key_Escape);
        }));
        QVERIFY2(since.elapsed() < 1000, qPrintable(QString::number(since.elapsed())));
        QVERIFY(program.Window().ResultsLog()->Text().contains(u"Stop button was pressed.  Process aborted."_s));
        QCOMPARE(program.Style(0, M::TestResults), u"GreenBall"_s);
        QCOMPARE(program.Style(1, M::TestQueue), u"Checked"_s);
        // A stop of one run is not a stop of the next.
        partners.server.Answer("/bob.htm", Partners::LinksTo("shop"));
        program.Trigger(u"ServicesMenuElement_2"_s);
        QCOMPARE(program.Style(1, M::TestResults), u"GreenBall"_s);
    }

    void closeDuringRun_data()
    {
        const testTable<bool> row; // by the end of the user's session
        row("by hand", false);
        row("by the end of the session", true);
    }
    void closeDuringRun()
    {
        const auto [session] = testRow<bool>();
        Partners partners({u"ann"_s});
        clsTestWindow& program = partners.program;
        partners.server.Answer("/ann.htm", serverReply().Silent());
        // The end of the session does not ask for a backup.
        program.Set(GeneralSection, u"AutoBackup"_s, session ? u"Yes"_s : u"No"_s);
        program.Open().resize(700, 500);
        QVERIFY(partners.RunAnd(u"ann"_s, [&, ends = session] {
            if (ends)
                return program.windows.EndSession();
            program.Window().close();
            QVERIFY(program.Window().isVisible());
            QVERIFY(modBrambury::State().Database);
        }));
        QTRY_COMPARE(program.closed, 1);
        QVERIFY(!program.windows.AnyLoaded());
        QVERIFY(!modBrambury::State().Database);
        QCOMPARE(program.Setting(InterfaceSection, u"WindowWidth"_s), u"10500"_s);
        QCOMPARE(clsTestInstallation::LinkField(*program.opened, program.ids[0], u"TestQueue"_s).toInt(), 1);
        QCOMPARE(clsTestInstallation::LinkField(*program.opened, program.ids[0], u"Status"_s).toInt(), 2);
    }

    void abortSavesNothing()
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
};

QTEST_MAIN(tst_main_window)
#include "tst_main_window.moc"
