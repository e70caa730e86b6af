// SPDX-License-Identifier: GPL-3.0-or-later
// The Link Harvest Wizard as its user meets it: the real window, a real page, scripted answers to boxes.
#include "main_window_fixture.h"
#include "support/scripted_server.h"
#include "ui/lists/clsHarvestModel.h"
#include "ui/records/frmImportWizard.h"

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;

namespace
{
const QString Question = u"Are you sure you wish to cancel this import?"_s;
} // namespace

class tstWizard : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestWindow> m_program;
    std::unique_ptr<frmImportWizard> m_wizard;
    scriptedServer m_server;

    template <typename Control> Control& Find(const char* name) const
    {
        return controlOf<Control>(*m_wizard, QString::fromLatin1(name));
    }
    void Press(const char* name) const { Find<QPushButton>(name).click(); }
    /// Goes on to a page, harvesting `path` on the way.
    void GoTo(int page, const QString& path)
    {
        Find<QLineEdit>("txtURL").setText(m_server.Url(path));
        while (m_wizard->currentId() < std::min(page, int{frmImportWizard::Harvest}))
            Press("Command1_1");
        if (page > frmImportWizard::Harvest)
            QTRY_COMPARE(m_wizard->currentId(), int{frmImportWizard::List});
        if (page == frmImportWizard::Result) {
            Press("SelectButton_0");
            Press("Command1_1");
        }
        QCOMPARE(m_wizard->currentId(), page);
    }
    /// Harvests a page that never comes. @param steps  are taken meanwhile and must end the harvest.
    void WhileHarvesting(const std::function<void()>& steps)
    {
        m_server.Forget();
        QTimer look;
        bool taken = false;
        connect(&look, &QTimer::timeout, this, [&] {
            if (m_server.Count("/silent.html") == 0)
                return;
            look.stop();
            steps();
            taken = true;
        });
        look.start(10);
        GoTo(frmImportWizard::Harvest, u"/silent.html"_s);
        QTRY_VERIFY(taken);
    }
    [[nodiscard]] QAbstractItemModel& Rows() const { return *Find<QTreeView>("LinkList").model(); }
    /// Home pages of the links that are not the fixture's own.
    [[nodiscard]] QStringList Added() const
    {
        QStringList added;
        const auto links = m_program->opened->OpenRecordset(u"SELECT HomePage FROM tblLinkList WHERE HomePage <> ''"_s);
        for (; !links->AfterLast(); links->MoveNext())
            added << links->Field(u"HomePage"_s).toString();
        return added;
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestWindow>();
        m_program->Fill();
        m_program->Open();
        m_wizard = std::make_unique<frmImportWizard>(
            clsHarvest::Collaborators{modBrambury::Platform(), modBrambury::State().Database.get()});
        m_wizard->show();
        m_server.Answer("/p.html", serverReply::Page("<a href=http://a.example/>Apple</a><a href=http://b.example/>"
                                                     "Berry</a><a href=http://c.example/>Cherry</a>"
                                                     "<a href=http://d.example/>Damson berry</a>"));
        m_server.Answer("/silent.html", serverReply().Silent());
    }
    void cleanup()
    {
        m_wizard.reset();
        m_program.reset();
    }

    void CancelAsksOnEveryPage()
    {
        for (int page = frmImportWizard::Source; page <= frmImportWizard::Result; ++page) {
            cleanup();
            init();
            const auto cancel = [&] {
                m_program->dialogs.Expect(Question, Answer::No);
                QTest::keyClick(m_wizard.get(), Qt::Key_Escape);
                QCOMPARE(m_wizard->currentId(), page);
                QVERIFY(m_wizard->isVisible());
                m_program->dialogs.Expect(Question, Answer::Yes);
                Press("Command1_3");
            };
            if (page == frmImportWizard::Harvest) {
                WhileHarvesting(cancel);
            } else {
                GoTo(page, u"/p.html"_s);
                cancel();
            }
            QTRY_VERIFY(!m_wizard->isVisible());
            QCOMPARE(m_wizard->result(), int{QDialog::Rejected});
            QCOMPARE(Added(), QStringList());
        }
    }

    void FinishWritesTheChosen()
    {
        QCOMPARE(Find<QComboBox>("comboSiteList").currentText(), u"Shop"_s);
        m_program->dialogs.Expect(u"You must enter the URL you wish to import before continuing."_s);
        Press("Command1_1");
        GoTo(frmImportWizard::Summary, u"/p.html"_s);
        GoTo(frmImportWizard::List, u"/p.html"_s);
        QVERIFY(!Find<QPushButton>("Command1_1").isEnabled());

        // What the search finds, in titles too, and then one row by the keyboard.
        Find<QLineEdit>("txtSearch").setText(u"BERRY"_s);
        QCOMPARE(Rows().rowCount(), 2);
        Press("SelectButton_0");
        QCOMPARE(Find<QLabel>("lblChosen").text(), u"2 of 4 chosen, 2 shown"_s);
        Find<QLineEdit>("txtSearch").clear();
        auto& list = Find<QTreeView>("LinkList");
        list.setCurrentIndex(Rows().index(0, 0));
        QTest::keyClick(&list, Qt::Key_Space);
        list.setCurrentIndex(Rows().index(1, 0));
        QTest::keyClick(&list, Qt::Key_Space);
        Press("Command1_1");
        m_program->dialogs.Expect(u"The harvested links have been added as reciprocal links of the \"Shop\" site."_s);
        Press("Command1_2");
        QCOMPARE(m_wizard->result(), int{QDialog::Accepted});
        QCOMPARE(Added(), QStringList({u"http://a.example/"_s, u"http://d.example/"_s}));
    }

    void AfterTheListTheWayLeadsBack()
    {
        GoTo(frmImportWizard::List, u"/p.html"_s);
        Press("SelectButton_0");
        // It was searched and put in order, and gives way to a shorter one.
        Find<QTreeView>("LinkList").sortByColumn(clsHarvestModel::Address, Qt::AscendingOrder);
        Find<QLineEdit>("txtSearch").setText(u"apple"_s);
        for (int i = 0; i < 2; ++i)
            Press("Command1_0");
        m_server.Answer("/short.html", serverReply::Page("<a href=http://a.example/>Apple</a>"));
        GoTo(frmImportWizard::List, u"/short.html"_s);
        QCOMPARE(Find<QLabel>("lblChosen").text(), u"0 of 1 chosen"_s);
        Press("Command1_0");
        QCOMPARE(m_wizard->currentId(), int{frmImportWizard::Summary});
        Press("Command1_0");
        clsTestInstallation::AddLink(*m_program->opened, u"Shop"_s, u"A"_s, {{u"HomePage"_s, u"http://a.example"_s}});
        GoTo(frmImportWizard::List, u"/p.html"_s);
        // A new list, from which only what is not known is taken.
        QCOMPARE(Find<QLabel>("lblChosen").text(), u"0 of 4 chosen"_s);
        QCOMPARE(Rows().index(0, 2).data().toString(), u"partner of this site"_s);
        Press("SelectButton_2");
        QCOMPARE(Find<QLabel>("lblChosen").text(), u"3 of 4 chosen"_s);
    }

    void AFileTakesThePlaceOfThePage()
    {
        const QString file = m_program->installation.Folder() + u"/bookmarks.html"_s;
        m_program->disk->WriteFile(file, "<dl><dt><a href=http://a.example/>Apple</a></dl>");
        Press("OpenFile"); // cancelled
        QCOMPARE(Find<QLineEdit>("txtURL").text(), QString());
        m_program->dialogs.filesToChoose << file;
        Press("OpenFile");
        QCOMPARE(Find<QLineEdit>("txtURL").text(), file);
        QVERIFY(!Find<QCheckBox>("FilterBaseURL").isEnabled());
        for (int i = 0; i < 2; ++i)
            Press("Command1_1");
        QTRY_COMPARE(m_wizard->currentId(), int{frmImportWizard::List});
        QCOMPARE(Rows().index(0, clsHarvestModel::Suggestion).data().toString(), u"Apple"_s);
    }

    void AHarvestThatFailsMayBeTriedAgain()
    {
        WhileHarvesting([&] {
            QVERIFY(!Find<QPushButton>("Command1_0").isEnabled() && !Find<QPushButton>("Command1_1").isEnabled());
            m_program->dialogs.Expect(u"Could not connect to %1."_s.arg(m_server.Url(u"/silent.html"_s)));
            Press("StopButton");
        });
        QTRY_COMPARE(m_wizard->currentId(), int{frmImportWizard::Summary});
        // Yesterday's Stop does not end today's harvest; another run does.
        const QString lockFile = m_program->installation.DataPath() + u"Bramdat.run"_s;
        {
            const auto run = m_program->disk->Lock(lockFile, clsDisk::Share::Exclusive);
            m_program->dialogs.Expect(u"Another link test or e-mail run is in progress on this database.  Please wait "
                                      "until it has ended."_s);
            Press("Command1_1");
            QTRY_VERIFY(m_program->dialogs.expected.isEmpty());
            QTRY_COMPARE(m_wizard->currentId(), int{frmImportWizard::Summary});
        }
        Press("Command1_0");
        GoTo(frmImportWizard::List, u"/p.html"_s);
    }

    /// From the main window, whose list shows what has been added; and an end that does not ask.
    void TheMainWindowFollows()
    {
        m_wizard.reset();
        const auto drive = [&](const std::function<void(frmImportWizard&)>& steps) {
            QTimer::singleShot(0, this, [&] {
                auto* wizard = m_program->Window().findChild<frmImportWizard*>();
                QVERIFY(wizard);
                m_wizard.reset(wizard);
                steps(*wizard);
                (void)m_wizard.release();
            });
            m_program->Trigger(u"ServicesMenuElement_4"_s);
        };
        drive([&](frmImportWizard&) {
            GoTo(frmImportWizard::Result, u"/p.html"_s);
            m_program->dialogs.Expect(
                u"The harvested links have been added as reciprocal links of the \"Shop\" site."_s);
            Press("Command1_2");
        });
        QCOMPARE(Added().size(), 4);
        QVERIFY(m_program->Shown(clsLinkModel::Title).contains(u"http://d.example/"_s));
        drive([&](frmImportWizard&) { WhileHarvesting([&] { m_program->windows.EndSession(); }); });
        QTRY_COMPARE(m_program->closed, 1);
    }
};

QTEST_MAIN(tstWizard)
#include "tst_wizard.moc"
