// SPDX-License-Identifier: GPL-3.0-or-later
// The main window as a user meets it: lists, tabs, sorting, keys, layout, runs, and every way to close it.
#include "main_window_fixture.h"
#include "shell/modCommonFunctions.h"
#include "support/files.h"
#include "support/scripted_server.h"
#include "ui/main/clsPanes.h"
#include "ui/main/clsResultsBox.h"
#include "ui/parts/clsRowDelegate.h"
#include "ui/parts/clsRunProgress.h"

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

void Place(clsTestWindow& program, const QHash<QString, int>& values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        program.Set(InterfaceSection, it.key(), QString::number(it.value()));
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

    /// A start without a site, then with the sample's, then with the user's own.
    void firstSites()
    {
        clsTestWindow program;
        QCOMPARE(program.Open().windowTitle(), u"Brambury"_s);
        QVERIFY(program.Find(u"Invitation"_s).isVisible() && !program.Find(u"SampleBar"_s).isVisible());
        const QString noSites = u"There are no sites available."_s;
        const QString noLinks = u"There are no links available."_s;
        program.Refused(u"ServicesMenuElement_"_s, {0, 1, 2, 5, 7}, noSites);
        program.Refused(u"SitesMenuElement_"_s, {1, 2, 3, 5}, noSites);
        program.Refused(u"LinkMenuElement_"_s, {0}, u"You must create a site before adding a new link."_s);
        program.Refused(u"LinkMenuElement_"_s, {1, 2, 4, 6, 7, 9}, noLinks);
        program.Refused(u"LinkMenuElementSub_"_s, {2, 14}, noLinks);

        QTest::keyClick(&program.Find(u"Invitation_open"_s), Qt::Key_Space);
        QCOMPARE(program.Window().windowTitle(), u"Brambury    [Site: Green Thumb Garden]"_s);
        QCOMPARE(program.Counter(), u"[ 24 link(s) in current view ]"_s);
        QVERIFY(!program.Find(u"Invitation"_s).isVisible() && program.Grid().hasFocus());
        // It is known as the sample by the next start, and the user's own site is not part of it.
        program.Close();
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        program.Open();
        QVERIFY(program.Find(u"SampleBar"_s).isVisible());
        QTest::keyClick(&program.Find(u"RemoveSample"_s), Qt::Key_Space);
        QCOMPARE(program.Window().windowTitle(), u"Brambury    [Site: Shop]"_s);
        QVERIFY(!program.Find(u"SampleBar"_s).isVisible());
    }

    void statusTabs()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        auto& tabs = program.Find<QTabBar>(u"LinksTab"_s);
        auto& hide = program.Find<QCheckBox>(u"HideInactiveDeclined"_s);
        const auto rows = [&] { return program.Shown(M::Title).join(u',').remove(u"Partner "_s); };
        // Inactive and declined links are hidden at first.
        QCOMPARE(program.Counter(), u"[ 4 link(s) in current view ]"_s);
        for (int status = 0; status < 4; ++status) {
            QTest::mouseClick(&tabs, Qt::LeftButton, {}, tabs.tabRect(status + 1).center());
            QCOMPARE(rows(), QString::number(status));
        }
        hide.click();
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
        program.ShowTab(2);
        QCOMPARE(titles(), u"Beet,carrot"_s);
        program.ShowTab(0);
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
        QCOMPARE(ShownColumns(program.Grid()),
                 u"*EmailQueue,*TestQueue,Title,HomePage,*Offers,*Status,*TestResults,Notes"_s);
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

    void panes()
    {
        clsTestWindow program;
        Place(program,
              {{u"WindowWidth"_s, 12000}, {u"WindowHeight"_s, 9000}, {u"PaneLeft"_s, 3000}, {u"PaneTop"_s, 4500}});
        frmMain& window = program.Open();
        auto& panes = program.Find<clsPanes>({});
        auto& bar = program.Find(u"imgVertSplitter"_s);
        auto& level = program.Find(u"imgHorzSplitter"_s);
        QCOMPARE(QPoint(bar.x(), level.y()), QPoint(200, 300));

        // Beyond the margin the last place within it holds.
        QTest::mousePress(&bar, Qt::LeftButton, {}, {3, 20});
        for (const int x : {-47, -27, -57})
            QTest::mouseMove(&bar, {x, 20});
        QTest::mouseRelease(&bar, Qt::LeftButton, {}, {3, 20});
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

        window.resize(800, 700);
        panes.MoveHorizontal(7500);
        QCOMPARE(level.y(), 500);
        window.resize(800, 600);

        // A window that is too small for a while does not cost the position.
        panes.MoveHorizontal(6000);
        window.resize(800, 420);
        QVERIFY(level.y() + 2000 / 15 <= panes.height());
        window.resize(800, 600);
        QCOMPARE(level.y(), 400);
        // What a larger window gains is for the list and the log alike; a smaller one comes back to the same place.
        window.resize(800, 1000);
        QVERIFY(level.y() > 600 && panes.height() - level.y() > 250);
        window.showMaximized();
        program.Close(); // as it is in the normal window
        QCOMPARE(program.Setting(InterfaceSection, u"PaneTop"_s), u"10020"_s);
        QCOMPARE(program.Setting(InterfaceSection, u"PaneLeft"_s), u"1620"_s);
    }

    /// That nothing is cut off, at any size of text, is what tst_accessibility looks at.
    void smallAndLargeWindows()
    {
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop\tand\ncafe"_s);
        program.Set(GeneralSection, u"HideInactiveDeclined"_s, u"0"_s);
        frmMain& window = program.Open();
        QCOMPARE(window.windowTitle(), u"Brambury    [Site: Shop and cafe]"_s);
        auto& counter = program.Find<QLabel>(u"lblLinksInView"_s);
        counter.setText(u"[ 100027 link(s) in current view ]"_s);
        for (const QSize size : {QSize(632, 437), QSize(1920, 1080), QSize(632, 437)}) {
            // Bars that nobody has moved share what a larger window has.
            const int results = program.Find(u"txtResults"_s).height();
            QVERIFY(window.height() < 1080 || (results > 200 && program.Grid().height() > results));
            window.resize(size);
            QTRY_VERIFY(counter.parentWidget()->rect().contains(counter.geometry()));
            QTRY_VERIFY(program.Find<QToolBar>(u"BigToolBar"_s)
                            .widgetForAction(&program.Find<QAction>(u"BigToolBar_6"_s))
                            ->isVisible());
        }
        QCOMPARE(program.Find(u"imgHorzSplitter"_s).y(), 282);
        window.resize(1920, 1080);
        program.Close(); // where they stand is not stored as the user's wish
        QCOMPARE(program.Setting(InterfaceSection, u"PaneTop"_s), u"4230"_s);
    }

    void placement()
    {
        clsTestWindow program;
        Place(program,
              {{u"WindowTop"_s, 600}, {u"WindowLeft"_s, 450}, {u"WindowHeight"_s, 7500}, {u"PaneTop"_s, 3000}});
        program.Set(InterfaceSection, u"WindowWidth"_s, u"wide"_s); // costs the placement, not the rest
        program.Open();
        QCOMPARE(program.Find<clsPanes>({}).PaneTop(program.Find<clsPanes>({}).height()), 3000);
        program.Close();

        Place(program,
              {{u"WindowTop"_s, 600}, {u"WindowLeft"_s, 450}, {u"WindowWidth"_s, 10500}, {u"WindowHeight"_s, 7500}});
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
        Place(program, {{u"WindowState"_s, 0}, {u"WindowLeft"_s, 900000}});
        QVERIFY(program.Open().x() < 50000);
    }

    /// Ways that the commands themselves are not tested by.
    void buttonsAndContextMenus()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        QVERIFY(QTest::qWaitForWindowActive(&program.Window()));
        clsLinkGrid& grid = program.Grid();
        QCOMPARE(clsRowDelegate::RowStyle(grid, 0) + clsRowDelegate::RowStyle(grid, 1), u"ActiveRow"_s);
        program.Sites().setFocus();
        QCOMPARE(clsRowDelegate::RowStyle(grid, 0), u"ActiveRowWithoutFocus"_s);
        // The window that a way opens is closed again.
        const auto opens = [](const QString& title, const std::function<void()>& act) {
            bool came = false;
            inNextDialog([&](QDialog& dialog) {
                came = dialog.windowTitle() == title;
                dialog.reject();
            });
            act();
            return came;
        };
        const QString link = u"Link Properties  [Partner 0]"_s;
        const QString site = u"Site Properties  [Shop]"_s;
        const QPoint cell = grid.visualRect(grid.Links().index(0, M::Title)).center();
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell);
        QVERIFY(opens(link, [&] { QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, cell); }));
        QVERIFY(opens(link, [&] { clickIn(program.Window(), u"LinkButtons_1"_s); }));
        program.Sites().setFocus();
        QVERIFY(opens(site, [&] { QTest::keyClick(&program.Sites(), Qt::Key_Return); }));
        QVERIFY(opens(site, [&] { clickIn(program.Window(), u"SiteButtons_1"_s); }));

        // Tab goes as the eye does.
        const QStringList order{u"SiteButtons_0"_s, u"SiteList"_s,     u"imgVertSplitter"_s, u"LinksTab"_s,
                                u"txtFilter"_s,     u"gridLinkList"_s, u"LinkButtons_7"_s,   u"imgHorzSplitter"_s,
                                u"chkShowURL"_s,    u"txtResults"_s,   u"ResultButtons_2"_s};
        QStringList met{order[0]};
        const QWidget& start = program.Find(order[0]);
        for (const QWidget* step = start.nextInFocusChain(); step != &start; step = step->nextInFocusChain())
            met += order.contains(step->objectName()) ? QStringList{step->objectName()} : QStringList();
        QCOMPARE(met, order);

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
        const auto keyOpens = [&](QWidget& list, const QString& name) {
            QApplication::sendEvent(&list, &menuKey);
            return menuCame(name);
        };
        QVERIFY(keyOpens(grid, u"LinkMenu"_s) && keyOpens(*grid.horizontalHeader(), u"LinkMenu"_s));
        QVERIFY(keyOpens(program.Sites(), u"SitesMenu"_s));
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
        const int medium = program.Find(u"TopToolbar"_s).height();
        program.Trigger(u"ToolbarPopupMenuSub_2"_s);
        QTRY_VERIFY(program.Find(u"TopToolbar"_s).height() > medium);
        QVERIFY(!program.Find<QAction>(u"ToolbarPopupMenuSub_1"_s).isChecked());
        program.Trigger(u"HelpMenuElement_7"_s);
        program.Trigger(u"BryOnline_1"_s);
        QVERIFY(program.browser.opened.size() == 2 && program.browser.opened[0].endsWith(u"?maj=1&min=0&rev=0"_s));
        program.Trigger(u"HelpMenuElement_4"_s);
        QVERIFY(!program.Find<QAction>(u"HelpMenuElement_4"_s).isChecked());
        program.Close();
        QCOMPARE(program.Setting(GeneralSection, u"LastEntry"_s), QDate::currentDate().toString(Qt::ISODate));
        QCOMPARE(program.Setting(InterfaceSection, u"IconSize"_s) + program.Setting(GeneralSection, u"ShowURL"_s) +
                     program.Setting(GeneralSection, u"ShowTips"_s),
                 u"20No"_s);
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
        QTreeWidget& sites = program.Sites();
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
        QVERIFY(modSites::Find(*records, u"Gone"_s));
        records->Delete();
        program.dialogs.Expect(u"Settings for site \"Gone\" could not be retrieved.\r\n\r\n"
                               "If this problem persists, exit Brambury and restart \r\n"
                               "the program.  If it still persists, try repairing the \r\n"
                               "database by selecting the Repair Database option in \r\n"
                               "the Tools menu."_s);
        click(2);
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
            inNextDialog([button](QDialog& dialog) { clickIn(dialog, button); });
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
        clickIn(program.Window(), u"LinkButtons_4"_s);
        QCOMPARE(queues(), u"--x-"_s);
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{program.ids[0], program.ids[2]}));
        QCOMPARE(program.Link(2, u"TestQueue"_s).toInt(), 1);
        QVERIFY(!QApplication::overrideCursor());

        answer(u"buttonLinks_2"_s);
        program.Trigger(u"LinkMenuElement_8"_s);
        QCOMPARE(queues(), u"--x-"_s);
        answer(u"buttonLinks_0"_s);
        clickIn(program.Window(), u"LinkButtons_6"_s);
        QCOMPARE(queues(), u"--xx"_s); // Active and Broken are what the dialog proposes
    }

    void resultsLog()
    {
        clsTestWindow program;
        program.Open();
        const auto press = [&](int button) { clickIn(program.Window(), u"ResultButtons_%1"_s.arg(button)); };
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
        for (int i = 0; i < 3; ++i)
            press(0); // the last time it is cancelled
        const clsDialogs::FileRequest asked = program.dialogs.fileRequests[0];
        QCOMPARE((QStringList{asked.title, asked.filter, asked.fileName}),
                 (QStringList{u"Save To"_s, u"Log File (*.log)|*.log"_s, u"Results.log"_s}));
        QVERIFY(!asked.confirmOverwrite);
        QCOMPARE(ReadAll(path).count("line 7\r\n"), 2);
        press(1);
        QVERIFY(program.printer.lines.contains(u"Results Log"_s));
        press(2);
        QCOMPARE(box.toPlainText(), QString());
        log.LogItem(u"anew"_s, 0, false);
        QTRY_COMPARE(box.toPlainText(), u"anew"_s);
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
            QVERIFY(stop.isEnabled() && progress.isVisible());
            for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"SitesMenuElement_0"_s,
                                     u"ToolsMenuElement_8"_s, u"BigToolBar_2"_s})
                QVERIFY2(!program.Find<QAction>(name).isEnabled(), qPrintable(name));
            QVERIFY(!program.Find(u"LinkButtons_4"_s).isEnabled() && !program.Find(u"txtFilter"_s).isEnabled());
            tabs.setCurrentIndex(3);
            QCOMPARE(tabs.currentIndex(), 0);
            QTest::keyClick(&program.Grid(), Qt::Key_Insert); // would show a box
            QVERIFY(program.Find(u"ResultButtons_2"_s).isEnabled());
        });
        QVERIFY(looked && free());

        QCOMPARE(program.Style(0, M::TestResults) + program.Style(1, M::TestResults), u"GreenBallRedBall"_s);
        QCOMPARE(program.Shown(M::Status), (QStringList{u"Active"_s, u"Broken"_s, u"Active"_s}));
        QCOMPARE(program.Style(1, M::TestQueue), QString());
        QCOMPARE(program.Grid().CurrentLink(), program.ids[2]);
        const QString log = program.Find<clsResultsBox>(u"txtResults"_s).toPlainText();
        QVERIFY(log.startsWith(u"BEGIN LINK TEST SESSION"_s) && log.contains(u"Could not locate a link to "_s));
        // Nothing is left to do: the run says so, and the window is free again.
        program.Refused(u"BigToolBar_"_s, {2}, u"There are no links selected for testing."_s);
        // Another program's run comes first.
        const QString before = program.Window().ResultsLog()->Text();
        const auto other =
            program.disk->Lock(program.installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
        program.Refused(u"BigToolBar_"_s, {2},
                        u"Another link test or e-mail run is in progress on this database.  Please wait until it "
                        "has ended."_s);
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

    void closeDuringRun()
    {
        for (const bool session : {false, true}) { // by hand, or by the end of the user's session
            Partners partners({u"ann"_s});
            clsTestWindow& program = partners.program;
            partners.server.Answer("/ann.htm", serverReply().Silent());
            // The end of the session does not ask for a backup.
            program.Set(GeneralSection, u"AutoBackup"_s, session ? u"Yes"_s : u"No"_s);
            program.Open().resize(700, 500);
            QVERIFY(partners.RunAnd(u"ann"_s, [&] {
                if (session)
                    return program.windows.EndSession();
                program.Window().close();
                QVERIFY(program.Window().isVisible());
                QVERIFY(modBrambury::State().Database);
            }));
            QTRY_COMPARE(program.closed, 1);
            QVERIFY(!program.windows.AnyLoaded() && !modBrambury::State().Database);
            QCOMPARE(program.Setting(InterfaceSection, u"WindowWidth"_s), u"10500"_s);
            QCOMPARE(program.Link(0, u"TestQueue"_s).toInt(), 1);
            QCOMPARE(program.Link(0, u"Status"_s).toInt(), 2);
        }
    }

    /// Such an error is for Error.log alone, but a run that ends by it must not look like one that went well.
    void runWhoseDatabaseIsGone()
    {
        clsTestWindow program;
        program.Fill();
        program.opened->UpdateRecords(u"tblLinkList"_s, {program.ids.begin(), program.ids.end()},
                                      {{u"TestQueue"_s, true}});
        program.Open();
        const QString log = program.installation.Folder() + u"/Error.log"_s;
        QVERIFY(!QFile::exists(log) && QFile::remove(program.installation.DatabasePath()));
        for (int run = 0; run < 2; ++run) {
            program.Refused(u"ServicesMenuElement_"_s, {2},
                            u"This did not go well:\r\n\r\nThe database file may not be written. (attempt to write a "
                            "readonly database;  UPDATE tblLinkList SET Results = 0 WHERE SiteName = :SiteID)\r\n\r\n"
                            "Please remove the cause and try again.  Every error is recorded in %1."_s.arg(log));
            const QString shown = program.Find<clsResultsBox>(u"txtResults"_s).toPlainText();
            QVERIFY(shown.section(u'\n', -1).startsWith(u"END LINK TEST SESSION"_s));
        }
        QVERIFY(ReadAll(log).contains("\"70\""));
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
