// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on sites and links as the main window carries them out: its lists, caption and counter follow at once,
// and the database holds what they show.
#include "data/clsRecordEditor.h"
#include "data/modSites.h"
#include "main_window_fixture.h"
#include "support/dialogs.h"
#include "support/table.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QScrollBar>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString DeleteSiteText = u"By deleting this site, all corresponding links in your "
                               "reciprocal link list will be removed.\r\n\r\nDo you wish to continue?"_s;
const QString DeleteLinksText = u"This will permanently remove all selected reciprocal links.\r\n"
                                "(Alternately, you may wish to change its status to inactive.)\r\n\r\n"
                                "Do you wish to continue?"_s;
const QString Caption = u"Brambury    [Site: %1]"_s;
} // namespace

class tst_record_commands : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestWindow> m_program;

    clsTestWindow& Program() { return *m_program; }
    fakeDialogs& Dialogs() { return m_program->dialogs; }
    QTreeWidget& Sites() { return m_program->Find<QTreeWidget>(u"SiteList"_s); }
    void Trigger(const QString& name) { m_program->Trigger(name); }
    void Open()
    {
        m_program->Open();
        m_program->Window().show();
        QVERIFY(QTest::qWaitForWindowActive(&m_program->Window()));
    }
    /// Picks the entry at a place of the selection that opens next; -1 cancels.
    void ThenPick(int place)
    {
        inNextDialog([place](QDialog& dialog) {
            if (place < 0)
                return dialog.reject();
            controlOf<QListWidget>(dialog, u"lstSelections"_s).setCurrentRow(place);
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
    }
    void Rename(const QString& label)
    {
        Trigger(u"SitesMenuElement_3"_s);
        auto* editor = Sites().findChild<QLineEdit*>();
        QVERIFY(editor);
        editor->setText(label);
        const QPointer<QLineEdit> open(editor);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(!open);
        QCoreApplication::processEvents();
    }
    QStringList Names()
    {
        QStringList names;
        for (int i = 0; i < Sites().topLevelItemCount(); ++i)
            names << Sites().topLevelItem(i)->text(0);
        return names;
    }
    qint64 Count(const QString& table, const QString& field, const QString& site)
    {
        return m_program->opened
            ->OpenRecordset(
                u"SELECT * FROM %1 WHERE %2 = \"%3\""_s.arg(table, field, QString(site).replace(u'"', u"\"\""_s)))
            ->RecordCount();
    }
    QVariant Link(int n, const QString& field)
    {
        return clsTestInstallation::LinkField(*m_program->opened, m_program->ids.at(n), field);
    }
    void SelectRows(int first, int last)
    {
        clsLinkGrid& grid = m_program->Grid();
        grid.clearSelection();
        for (int row = first; row <= last; ++row)
            grid.selectionModel()->select(grid.model()->index(row, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestWindow>();
        m_program->Set(u"General"_s, u"HideInactiveDeclined"_s, u"0"_s);
    }
    void cleanup()
    {
        QVERIFY(Dialogs().expected.isEmpty());
        m_program.reset();
    }

    void newSite()
    {
        Open();
        Dialogs().inputs = {u"Shop "_s};
        inNextDialog([this](QDialog& dialog) {
            const auto type = [&](const QString& line, const QString& text) {
                QTest::keyClicks(&controlOf<QLineEdit>(dialog, line), text);
            };
            type(u"txtSiteName"_s, u"My shop"_s);
            type(u"txtHomePage"_s, u"http://shop.example/"_s);
            type(u"txtLinkPage"_s, u"http://shop.example/links"_s);
            type(u"txtEmail"_s, u"me@shop.example"_s);
            type(u"txtHostName"_s, u"mail.shop.example"_s);
            clickIn(dialog, u"buttonSites_4"_s);
            // The window behind the editor follows what Apply has saved.
            QCOMPARE(Names(), QStringList{u"Shop"_s});
            QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Shop"_s));
            clickIn(dialog, u"buttonSites_3"_s);
        });
        Trigger(u"SitesMenuElement_0"_s);
        QCOMPARE(State().CurrentSite, u"Shop"_s);
        // Cancelled at the name: the site that was there stays.
        Trigger(u"SitesMenuElement_0"_s);
        QCOMPARE(Names(), QStringList{u"Shop"_s});
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Shop"_s));
        QCOMPARE(State().CurrentSite, u"Shop"_s);
    }

    void siteOfAnotherProgram()
    {
        Program().Fill();
        Open();
        clsTestInstallation::AddSite(*Program().opened, u"Zoo"_s);
        inNextDialog([&](QDialog& dialog) {
            clickIn(dialog, u"buttonSites_1"_s);
            clickIn(dialog, u"buttonSites_3"_s);
        });
        Trigger(u"SitesMenuElement_1"_s);
        QCOMPARE(Names(), (QStringList{u"Shop"_s, u"Zoo"_s}));
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Zoo"_s));

        // What it renames keeps being selected; what it deletes goes away as soon as somebody asks for it.
        const auto sites = Program().opened->OpenRecordset(u"tblSites"_s);
        sites->MoveLast();
        sites->Edit();
        sites->SetField(u"SiteID"_s, u"Park"_s);
        sites->Update();
        QEvent back(QEvent::WindowActivate);
        QCoreApplication::sendEvent(&Program().Window(), &back);
        QTRY_COMPARE(Names(), (QStringList{u"Shop"_s, u"Park"_s}));
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Park"_s));
        sites->Delete();
        Dialogs().Expect(clsRecordEditor::MissingRecordText());
        Trigger(u"SitesMenuElement_1"_s);
        QTRY_COMPARE(Names(), QStringList{u"Shop"_s});
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Shop"_s));
        Program().opened->DeleteRecords(u"tblLinkList"_s, {Program().ids[0]});
        Dialogs().Expect(clsRecordEditor::MissingRecordText());
        Trigger(u"LinkMenuElement_1"_s);
        QCOMPARE(Program().Counter(), u"[ 5 link(s) in current view ]"_s);
    }

    void copyTwiceAndDelete()
    {
        Program().Fill();
        clsTestInstallation::AddCategory(*Program().opened, u"Shop"_s, u"Seeds"_s);
        Open();
        Trigger(u"SitesMenuElement_2"_s);
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(u"Copy of Shop"_s));
        QCOMPARE(Program().Counter(), u"[ 6 link(s) in current view ]"_s);
        Program().Window().LoadSite(u"Shop"_s);
        Trigger(u"SitesMenuElement_2"_s);
        QCOMPARE(Names(), (QStringList{u"Shop"_s, u"Copy of Shop"_s, u"Copy (2) of Shop"_s}));

        Dialogs().Expect(DeleteSiteText, Answer::No, u"Delete Site \"Copy (2) of Shop\""_s);
        Trigger(u"SitesMenuElement_5"_s);
        QCOMPARE(Names().size(), 3);
        Dialogs().Expect(DeleteSiteText, Answer::Yes);
        Sites().setFocus();
        QTest::keyClick(&Sites(), Qt::Key_Delete);
        QCOMPARE(Names(), (QStringList{u"Shop"_s, u"Copy of Shop"_s}));
        QCOMPARE(State().CurrentSite, u"Copy of Shop"_s);
        QCOMPARE(Count(u"tblLinkList"_s, u"SiteName"_s, u"Copy (2) of Shop"_s), 0);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, u"Copy (2) of Shop"_s), 0);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, u"Shop"_s), 1);
        for (int left = 2; left > 0; --left) {
            Dialogs().Expect(DeleteSiteText, Answer::Yes);
            Trigger(u"SitesMenuElement_5"_s);
        }
        QVERIFY(State().CurrentSite.isEmpty());
        QCOMPARE(Program().Grid().Links().rowCount(), 0);
        QCOMPARE(Program().Window().windowTitle(), u"Brambury"_s);
    }

    void rename_data()
    {
        const testTable<QString, QString, QString> row;
        const QString fifty(50, u'x');
        row("another name", u"Store"_s, u"Store"_s, {});
        row("blanks at the end", u"Store  "_s, u"Store"_s, {});
        row("quotes", u"Jo's \"Best\" 🌱"_s, u"Jo's \"Best\" 🌱"_s, {});
        row("other letters", u"SHOP"_s, u"SHOP"_s, {});
        row("50 characters", fifty, fifty, {});
        row("51 characters", fifty + u'x', u"Shop"_s, u"The site name must be 50 characters or less."_s);
        row("reserved", u"*new "_s, u"Shop"_s, u"This name is reserved for system use.  Please choose another name."_s);
        row("taken", u"other"_s, u"Shop"_s, u"This site name is already in use."_s);
        row("blank", u"   "_s, u"Shop"_s, {});
    }
    void rename()
    {
        const auto [label, name, problem] = testRow<QString, QString, QString>();
        Program().Fill();
        clsTestInstallation::AddSite(*Program().opened, u"Other"_s);
        clsTestInstallation::AddCategory(*Program().opened, u"Shop"_s, u"Seeds"_s);
        Open();
        if (!problem.isEmpty())
            Dialogs().Expect(problem);
        Rename(label);
        QCOMPARE(Names(), (QStringList{name, u"Other"_s}));
        QCOMPARE(Program().Window().windowTitle(), Caption.arg(name));
        QCOMPARE(Program().Counter(), u"[ 6 link(s) in current view ]"_s);
        QCOMPARE(Link(0, u"SiteName"_s).toString(), name);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, name), 1);
        QCOMPARE(State().Settings.Site, name);
    }

    void deleteLinksAndTakeItBack()
    {
        Program().Fill();
        Open();
        clsLinkGrid& grid = Program().Grid();
        grid.MakeCurrent(Program().ids[1]);
        SelectRows(1, 3);
        Dialogs().Expect(DeleteLinksText, Answer::No, u"Delete Link \"Partner 1\""_s);
        Trigger(u"LinkMenuElement_2"_s);
        QCOMPARE(grid.Links().rowCount(), 6);
        Dialogs().Expect(DeleteLinksText, Answer::Yes);
        grid.setFocus();
        QTest::keyClick(&grid, Qt::Key_Delete);
        QCOMPARE(Program().Counter(), u"[ 3 link(s) in current view ]"_s);
        QCOMPARE(grid.CurrentLink(), Program().ids[4]);
        QCOMPARE(Count(u"tblLinkList"_s, u"SiteName"_s, u"Shop"_s), 3);

        // Without the question, and without a selection: the current link.
        State().Settings.ConfirmDelete = u"no"_s;
        grid.clearSelection();
        Trigger(u"LinkMenuElement_2"_s);
        QCOMPARE(Program().Shown(clsLinkModel::Title), (QStringList{u"Partner 0"_s, u"Partner 5"_s}));

        Rename(u"Store"_s);
        QTest::keyClick(&grid, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(Program().Counter(), u"[ 3 link(s) in current view ]"_s);
        QTest::keyClick(&grid, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(Program().Counter(), u"[ 6 link(s) in current view ]"_s);
        QCOMPARE(grid.CurrentLink(), Program().ids[1]);
        QCOMPARE(Link(3, u"Status"_s).toInt(), 3);
        QTest::keyClick(&grid, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(Program().Counter(), u"[ 6 link(s) in current view ]"_s);
    }

    void statusAndEmail()
    {
        Program().Fill();
        Open();
        clsLinkGrid& grid = Program().Grid();
        SelectRows(2, 3);
        ThenPick(-1);
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Link(2, u"Status"_s).toInt(), 2);
        ThenPick(4);
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Link(2, u"Status"_s).toInt(), 4);
        QCOMPARE(Link(3, u"Status"_s).toInt(), 4);
        QCOMPARE(Program().Shown(clsLinkModel::Status).mid(2, 2), (QStringList{u"Inactive"_s, u"Inactive"_s}));
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{Program().ids[2], Program().ids[3]}));

        // Two types with one title are two types.
        State().MessageTypes[6].Title = State().MessageTypes[4].Title;
        grid.clearSelection();
        grid.MakeCurrent(Program().ids[0]);
        ThenPick(6);
        Trigger(u"LinkMenuElement_6"_s);
        QCOMPARE(Link(0, u"Message"_s).toInt(), 7);
        QCOMPARE(Link(0, u"EmailQueue"_s).toInt(), 1);
        QCOMPARE(Program().Style(0, clsLinkModel::EmailQueue), u"Checked"_s);
        QCOMPARE(Link(1, u"EmailQueue"_s).toInt(), 0);

        // A link that leaves the view gives way to its neighbour.
        Program().Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(5);
        QCOMPARE(grid.Links().rowCount(), 3);
        grid.MakeCurrent(Program().ids[3]);
        ThenPick(0);
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Program().Counter(), u"[ 2 link(s) in current view ]"_s);
        QCOMPARE(grid.CurrentLink(), Program().ids[4]);
    }

    void newAndEditedLinks()
    {
        Program().Fill();
        Open();
        clsLinkGrid& grid = Program().Grid();
        grid.MakeCurrent(Program().ids[2]);
        const auto write = [this](QDialog& dialog, const QString& title) {
            controlOf<QLineEdit>(dialog, u"txtTitle"_s).setText(title);
            QTest::keyClicks(&controlOf<QLineEdit>(dialog, u"txtTitle"_s), u"!"_s);
            for (const QString& line : {u"txtHomePage"_s, u"txtLinkPage"_s})
                QTest::keyClicks(&controlOf<QLineEdit>(dialog, line), u"http://new.example/"_s);
            clickIn(dialog, u"buttonLinks_0"_s);
        };
        inNextDialog([&](QDialog& dialog) { write(dialog, u"Mill"_s); });
        QTest::keyClick(&grid, Qt::Key_Return);
        QCOMPARE(Program().Shown(clsLinkModel::Title)[2], u"Mill!"_s);
        inNextDialog([&](QDialog& dialog) { write(dialog, u"Bakery"_s); });
        QTest::keyClick(&grid, Qt::Key_Insert);
        QCOMPARE(Program().Counter(), u"[ 7 link(s) in current view ]"_s);
        QCOMPARE(grid.currentIndex().siblingAtColumn(clsLinkModel::Title).data().toString(), u"Bakery!"_s);
        // The row that is marked is that of the link shown, and the next command is for it alone.
        const std::vector<qint64> bakery{grid.CurrentLink()};
        QCOMPARE(grid.ChosenLinks(), bakery);
        SelectRows(0, 1);
        inNextDialog([&](QDialog& dialog) {
            clickIn(dialog, u"buttonLinks_2"_s);
            QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{Program().ids[5]}));
            dialog.reject();
        });
        QTest::keyClick(&grid, Qt::Key_Return);

        // A link that leaves the view does so when its editor closes: from there it could not be found again.
        Program().Find<QTabBar>(u"LinksTab"_s).setCurrentIndex(1);
        const qint64 next = grid.Links().LinkAt(1);
        grid.MakeCurrent(grid.Links().LinkAt(0));
        SelectRows(0, 0);
        const int before = grid.Links().rowCount();
        const auto file = [&](const QString& title, int status) {
            inNextDialog([=](QDialog& dialog) {
                controlOf<QComboBox>(dialog, u"comboStatus"_s).setCurrentIndex(status);
                write(dialog, title);
            });
        };
        auto& filed = Program().Find<QLabel>(u"lblFiled"_s);
        file(u"Pond"_s, modDataModel::Broken);
        QTest::keyClick(&grid, Qt::Key_Return);
        QCOMPARE(Program().Counter(), u"[ %1 link(s) in current view ]"_s.arg(before - 1));
        QCOMPARE(grid.ChosenLinks(), std::vector<qint64>{next});
        QCOMPARE(grid.CurrentLink(), next);
        QVERIFY(filed.isVisible());
        QCOMPARE(filed.text(), u"Now in the tab \"Broken\":  Pond!"_s);
        // A new one is shown where it is, if there is a tab for it.
        file(u"Brook"_s, modDataModel::Broken);
        QTest::keyClick(&grid, Qt::Key_Insert);
        QCOMPARE(Program().Find<QTabBar>(u"LinksTab"_s).currentIndex(), 4);
        QCOMPARE(grid.currentIndex().siblingAtColumn(clsLinkModel::Title).data().toString(), u"Brook!"_s);
        QVERIFY(!filed.isVisible());
        Program().Find<QCheckBox>(u"HideInactiveDeclined"_s).setChecked(true);
        file(u"Lake"_s, modDataModel::Inactive);
        QTest::keyClick(&grid, Qt::Key_Insert);
        QCOMPARE(filed.text(), u"Now in the status \"Inactive\", whose tab is hidden:  Lake!"_s);
    }

    /// What a window reads before it opens may wait for another program's lock.
    void hourglassUntilAWindowOpens()
    {
        class clsWatch : public QObject
        {
        public:
            QList<bool> hourglass; ///< whenever a dialog is given its title: while it is made
            bool eventFilter(QObject* watched, QEvent* event) override
            {
                if (event->type() == QEvent::WindowTitleChange && qobject_cast<QDialog*>(watched))
                    hourglass << (QApplication::overrideCursor() != nullptr);
                return false;
            }
        } watch;
        Program().Fill();
        Open();
        qApp->installEventFilter(&watch);
        for (const auto& entry :
             {u"LinkMenuElement_1"_s, u"SitesMenuElement_1"_s, u"ToolsMenuElement_6"_s, u"ToolsMenuElement_8"_s}) {
            watch.hourglass.clear();
            inNextDialog([](QDialog& dialog) {
                QVERIFY(!QApplication::overrideCursor());
                dialog.reject();
            });
            Trigger(entry);
            QVERIFY(!QApplication::overrideCursor());
            QVERIFY2(!watch.hourglass.isEmpty() && watch.hourglass.first(), qPrintable(entry));
        }
    }

    void manyLinks()
    {
        clsTestInstallation::AddSite(*Program().opened, u"Shop"_s);
        clsTestInstallation::AddLinks(*Program().opened, u"Shop"_s, 3000);
        State().Settings.ConfirmDelete = u"No"_s;
        Program().Set(u"General"_s, u"ConfirmDelete"_s, u"No"_s);
        Open();
        clsLinkGrid& grid = Program().Grid();
        SelectRows(1000, 1999);
        grid.MakeCurrent(grid.Links().LinkAt(1500));
        const qint64 next = grid.Links().LinkAt(2000);
        Trigger(u"LinkMenuElement_2"_s);
        QCOMPARE(grid.Links().rowCount(), 2000);
        QCOMPARE(grid.CurrentLink(), next);
        QVERIFY(grid.verticalScrollBar()->value() > 0);
        QTest::keyClick(&grid, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(grid.Links().rowCount(), 3000);
    }
};

QTEST_MAIN(tst_record_commands)
#include "tst_record_commands.moc"
