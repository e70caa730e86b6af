// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on sites and links as the main window carries them out: its lists, caption and counter follow at once,
// and the database holds what they show.
#include "data/clsRecordEditor.h"
#include "main_window_fixture.h"
#include "support/files.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString DeleteSiteText = u"By deleting this site, all corresponding links in your "
                               "reciprocal link list will be removed.\r\n\r\nDo you wish to continue?"_s;
const QString Caption = u"Brambury    [Site: %1]"_s;
} // namespace

class tst_record_commands : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestWindow> m_program;

    clsTestWindow& Program() { return *m_program; }
    clsLinkGrid& Grid() { return m_program->Grid(); }
    fakeDialogs& Dialogs() { return m_program->dialogs; }
    QVariant Link(int n, const QString& field) { return m_program->Link(n, field); }
    QString Title() { return m_program->Window().windowTitle(); }
    QString Counter() { return m_program->Counter().section(u' ', 1, 1); }
    void Trigger(const QString& name) { m_program->Trigger(name); }
    void Press(Qt::Key key) { QTest::keyClick(&Grid(), key, key == Qt::Key_Z ? Qt::ControlModifier : Qt::NoModifier); }
    void Open()
    {
        m_program->Open();
        QVERIFY(QTest::qWaitForWindowActive(&m_program->Window()));
    }
    /// Picks the entry at a place of the selection that opens next, by mouse or as it is offered; without one cancels.
    void ThenPick(std::optional<int> place)
    {
        inNextDialog([=](QDialog& dialog) {
            auto& list = controlOf<QListWidget>(dialog, u"lstSelections"_s);
            if (!place)
                return dialog.reject();
            if (place == 0)
                return QTest::keyClick(&list, Qt::Key_Return);
            const QPoint there = list.visualItemRect(list.item(*place)).center();
            QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, there);
            QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, there);
        });
    }
    void Rename(const QString& label)
    {
        Trigger(u"SitesMenuElement_3"_s);
        const QPointer<QLineEdit> editor = m_program->Sites().findChild<QLineEdit*>();
        QVERIFY(editor);
        editor->setText(label);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(!editor);
        QCoreApplication::processEvents();
    }
    QString Names()
    {
        QStringList names;
        for (const QTreeWidgetItem* site : m_program->Sites().findItems({}, Qt::MatchContains))
            names << site->text(0);
        return names.join(u", "_s);
    }
    qint64 Count(const QString& table, const QString& field, const QString& site)
    {
        return m_program->opened
            ->OpenRecordset(
                u"SELECT * FROM %1 WHERE %2 = \"%3\""_s.arg(table, field, QString(site).replace(u'"', u"\"\""_s)))
            ->RecordCount();
    }
private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestWindow>();
        m_program->Set(u"General"_s, u"HideInactiveDeclined"_s, u"0"_s);
    }
    void cleanup() { m_program.reset(); }

    void newSite()
    {
        Open();
        Dialogs().inputs = {u"Shop "_s};
        inNextDialog([this](QDialog& dialog) {
            typeIn(dialog, u"txtSiteName"_s, u"My shop"_s);
            typeIn(dialog, u"txtHomePage"_s, u"http://shop.example/"_s);
            typeIn(dialog, u"txtLinkPage"_s, u"http://shop.example/links"_s);
            typeIn(dialog, u"txtEmail"_s, u"me@shop.example"_s);
            typeIn(dialog, u"txtHostName"_s, u"mail.shop.example"_s);
            clickIn(dialog, u"buttonSites_4"_s);
            // The window behind the editor follows what Apply has saved.
            QCOMPARE(Names() + Title(), u"Shop"_s + Caption.arg(u"Shop"_s));
            clickIn(dialog, u"buttonSites_3"_s);
        });
        for (int i = 0; i < 2; ++i) { // cancelled at the name: the site that was there stays
            Trigger(u"SitesMenuElement_0"_s);
            QCOMPARE(Names() + Title(), u"Shop"_s + Caption.arg(u"Shop"_s));
            QCOMPARE(State().CurrentSite, u"Shop"_s);
        }
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
        QCOMPARE(Names(), u"Shop, Zoo"_s);
        QCOMPARE(Title(), Caption.arg(u"Zoo"_s));

        // What it renames keeps being selected; what it deletes goes away as soon as somebody asks for it.
        Program().SetSite(u"Zoo"_s, {{u"SiteID"_s, u"Park"_s}});
        QEvent back(QEvent::WindowActivate);
        QCoreApplication::sendEvent(&Program().Window(), &back);
        QTRY_COMPARE(Names(), u"Shop, Park"_s);
        QCOMPARE(Title(), Caption.arg(u"Park"_s));
        const auto sites = Program().opened->OpenRecordset(u"tblSites"_s);
        QVERIFY(modSites::Find(*sites, u"Park"_s));
        sites->Delete();
        Dialogs().Expect(clsRecordEditor::MissingRecordText());
        Trigger(u"SitesMenuElement_1"_s);
        QTRY_COMPARE(Names(), u"Shop"_s);
        QCOMPARE(Title(), Caption.arg(u"Shop"_s));
        Program().opened->DeleteRecords(u"tblLinkList"_s, {Program().ids[0]});
        Dialogs().Expect(clsRecordEditor::MissingRecordText());
        Trigger(u"LinkMenuElement_1"_s);
        QCOMPARE(Counter(), u"5"_s);
    }

    void copyTwiceAndDelete()
    {
        Program().Fill();
        clsTestInstallation::AddCategory(*Program().opened, u"Shop"_s, u"Seeds"_s);
        Open();
        Trigger(u"SitesMenuElement_2"_s);
        QCOMPARE(Title(), Caption.arg(u"Copy of Shop"_s));
        QCOMPARE(Counter(), u"6"_s);
        Program().Window().LoadSite(u"Shop"_s);
        Trigger(u"SitesMenuElement_2"_s);
        QCOMPARE(Names(), u"Shop, Copy of Shop, Copy (2) of Shop"_s);

        Dialogs().Expect(DeleteSiteText, Answer::No, u"Delete Site \"Copy (2) of Shop\""_s);
        Trigger(u"SitesMenuElement_5"_s);
        Dialogs().Expect(DeleteSiteText, Answer::Yes);
        Program().Sites().setFocus();
        QTest::keyClick(&Program().Sites(), Qt::Key_Delete);
        QCOMPARE(Names(), u"Shop, Copy of Shop"_s);
        QCOMPARE(State().CurrentSite, u"Copy of Shop"_s);
        QCOMPARE(Count(u"tblLinkList"_s, u"SiteName"_s, u"Copy (2) of Shop"_s), 0);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, u"Copy (2) of Shop"_s), 0);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, u"Shop"_s), 1);
        for (int left = 2; left > 0; --left) {
            Dialogs().Expect(DeleteSiteText, Answer::Yes);
            Trigger(u"SitesMenuElement_5"_s);
        }
        QVERIFY(State().CurrentSite.isEmpty());
        QCOMPARE(Grid().Links().rowCount(), 0);
        QCOMPARE(Title(), u"Brambury"_s);
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
        QCOMPARE(Names(), name + u", Other"_s);
        QCOMPARE(Title(), Caption.arg(name));
        QCOMPARE(Counter(), u"6"_s);
        QCOMPARE(Link(0, u"SiteName"_s).toString(), name);
        QCOMPARE(Count(u"tblCategory"_s, u"SiteID"_s, name), 1);
        QCOMPARE(State().Settings.Site, name);
    }

    void deleteLinksAndTakeItBack()
    {
        Program().Fill();
        Open();
        Grid().MakeCurrent(Program().ids[1]);
        Program().SelectRows(1, 3);
        const QString question = u"This will permanently remove all selected reciprocal links.\r\n"
                                 "(Alternately, you may wish to change its status to inactive.)\r\n\r\n"
                                 "Do you wish to continue?"_s;
        Dialogs().Expect(question, Answer::No, u"Delete Link \"Partner 1\""_s);
        Trigger(u"LinkMenuElement_2"_s);
        QCOMPARE(Counter(), u"6"_s);
        Dialogs().Expect(question, Answer::Yes);
        Grid().setFocus();
        Press(Qt::Key_Delete);
        QCOMPARE(Counter(), u"3"_s);
        QCOMPARE(Grid().CurrentLink(), Program().ids[4]);
        QCOMPARE(Count(u"tblLinkList"_s, u"SiteName"_s, u"Shop"_s), 3);

        // Without the question, and without a selection: the current link.
        State().Settings.ConfirmDelete = u"no"_s;
        Grid().clearSelection();
        Trigger(u"LinkMenuElement_2"_s);
        QCOMPARE(Program().Shown(clsLinkModel::Title), (QStringList{u"Partner 0"_s, u"Partner 5"_s}));

        Rename(u"Store"_s);
        Press(Qt::Key_Z);
        QCOMPARE(Counter(), u"3"_s);
        Press(Qt::Key_Z);
        QCOMPARE(Counter(), u"6"_s);
        QCOMPARE(Grid().CurrentLink(), Program().ids[1]);
        QCOMPARE(Link(3, u"Status"_s).toInt(), 3);
        Press(Qt::Key_Z);
        QCOMPARE(Counter(), u"6"_s);
    }

    void statusAndEmail()
    {
        Program().Fill();
        Open();
        Program().SelectRows(2, 3);
        ThenPick({});
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Link(2, u"Status"_s).toInt(), 2);
        ThenPick(4);
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Link(2, u"Status"_s).toInt(), 4);
        QCOMPARE(Link(3, u"Status"_s).toInt(), 4);
        QCOMPARE(Program().Shown(clsLinkModel::Status).mid(2, 2), (QStringList{u"Inactive"_s, u"Inactive"_s}));
        QCOMPARE(Grid().ChosenLinks(), (std::vector<qint64>{Program().ids[2], Program().ids[3]}));

        // Two types with one title are two types.
        State().MessageTypes[6].Title = State().MessageTypes[4].Title;
        Grid().clearSelection();
        Grid().MakeCurrent(Program().ids[0]);
        ThenPick(6);
        Trigger(u"LinkMenuElement_6"_s);
        QCOMPARE(Link(0, u"Message"_s).toInt(), 7);
        QCOMPARE(Link(0, u"EmailQueue"_s).toInt(), 1);
        QCOMPARE(Program().Style(0, clsLinkModel::EmailQueue), u"Checked"_s);
        QCOMPARE(Link(1, u"EmailQueue"_s).toInt(), 0);

        // A link that leaves the view gives way to its neighbour.
        Program().ShowTab(5);
        QCOMPARE(Grid().Links().rowCount(), 3);
        Grid().MakeCurrent(Program().ids[3]);
        ThenPick(0);
        Trigger(u"LinkMenuElement_9"_s);
        QCOMPARE(Counter(), u"2"_s);
        QCOMPARE(Grid().CurrentLink(), Program().ids[4]);
    }

    void newAndEditedLinks()
    {
        Program().Fill();
        Open();
        Grid().MakeCurrent(Program().ids[2]);
        const auto shown = [&] { return Grid().currentIndex().siblingAtColumn(clsLinkModel::Title).data().toString(); };
        const auto write = [](QDialog& dialog, const QString& title) {
            typeIn(dialog, u"txtTitle"_s, title);
            typeIn(dialog, u"txtHomePage"_s, u"http://new.example/"_s);
            typeIn(dialog, u"txtLinkPage"_s, u"http://new.example/"_s);
            clickIn(dialog, u"buttonLinks_0"_s);
        };
        inNextDialog([&](QDialog& dialog) { write(dialog, u"Mill"_s); });
        Press(Qt::Key_Return);
        QCOMPARE(Program().Shown(clsLinkModel::Title)[2], u"Mill"_s);
        inNextDialog([&](QDialog& dialog) { write(dialog, u"Bakery"_s); });
        Press(Qt::Key_Insert);
        QCOMPARE(Counter(), u"7"_s);
        QCOMPARE(shown(), u"Bakery"_s);
        // The row that is marked is that of the link shown, and the next command is for it alone.
        const std::vector<qint64> bakery{Grid().CurrentLink()};
        QCOMPARE(Grid().ChosenLinks(), bakery);
        Program().SelectRows(0, 1);
        inNextDialog([&](QDialog& dialog) {
            clickIn(dialog, u"buttonLinks_2"_s);
            QCOMPARE(Grid().ChosenLinks(), (std::vector<qint64>{Program().ids[5]}));
            dialog.reject();
        });
        Press(Qt::Key_Return);

        // A link that leaves the view does so when its editor closes: from there it could not be found again.
        Program().ShowTab(1);
        const qint64 next = Grid().Links().LinkAt(1);
        Grid().MakeCurrent(Grid().Links().LinkAt(0));
        Program().SelectRows(0, 0);
        const int before = Grid().Links().rowCount();
        const auto file = [&](const QString& title, int status) {
            inNextDialog([=](QDialog& dialog) {
                controlOf<QComboBox>(dialog, u"comboStatus"_s).setCurrentIndex(status);
                write(dialog, title);
            });
        };
        const auto& filed = Program().Find<QLabel>(u"lblFiled"_s);
        file(u"Pond"_s, modDataModel::Broken);
        Press(Qt::Key_Return);
        QCOMPARE(Counter(), QString::number(before - 1));
        QCOMPARE(Grid().ChosenLinks(), std::vector<qint64>{next});
        QCOMPARE(Grid().CurrentLink(), next);
        QCOMPARE(filed.text(), u"Now in the tab \"Broken\":  Pond"_s);
        // A new one is shown where it is, if there is a tab for it.
        file(u"Brook"_s, modDataModel::Broken);
        Press(Qt::Key_Insert);
        QCOMPARE(Program().Find<QTabBar>(u"LinksTab"_s).currentIndex(), 4);
        QCOMPARE(shown(), u"Brook"_s);
        QVERIFY(!filed.isVisible());
        Program().Find<QCheckBox>(u"HideInactiveDeclined"_s).setChecked(true);
        file(u"Lake"_s, modDataModel::Inactive);
        Press(Qt::Key_Insert);
        QCOMPARE(filed.text(), u"Now in the status \"Inactive\", whose tab is hidden:  Lake"_s);
    }

    /// Each way out of the export dialog, which begins anew each time.
    void exportByTheDialog()
    {
        Program().Fill();
        Open();
        const auto with = [&](const std::function<void(QDialog&)>& work) {
            inNextDialog([work](QDialog& dialog) {
                const bool anew = controlOf<QRadioButton>(dialog, u"optExport_0"_s).isChecked() &&
                                  controlOf<QComboBox>(dialog, u"PageStyle"_s).currentText() == u"Classic page"_s;
                work(dialog);
                QVERIFY(anew);
            });
            Trigger(u"ServicesMenuElement_5"_s);
        };
        with([](QDialog& dialog) { dialog.close(); });
        with([](QDialog& dialog) { clickIn(dialog, u"Command1_1"_s); });
        with([](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        QVERIFY(Dialogs().fileRequests.isEmpty());
        const QString file = Program().installation.Folder() + u"/table.csv"_s;
        Dialogs().filesToChoose << file;
        Dialogs().Expect(u"The file \"%1\" was created."_s.arg(file));
        with([](QDialog& dialog) {
            controlOf<QRadioButton>(dialog, u"optExport_1"_s).click();
            controlOf<QComboBox>(dialog, u"PageStyle"_s).setCurrentIndex(3);
            clickIn(dialog, u"Command1_0"_s);
        });
        with([](QDialog& dialog) { dialog.reject(); });
        QCOMPARE(ReadAll(file), "Category,Title,HomePage,Description\r\nMiscellaneous,Partner 2,\"\",\"\"\r\n");
        QCOMPARE(Link(2, u"Exported"_s).toString().size(), 10);
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
};

QTEST_MAIN(tst_record_commands)
#include "tst_record_commands.moc"
