// SPDX-License-Identifier: GPL-3.0-or-later
// The categories, the program options and the columns as a user sets them, by keys and mouse, on a real
// database; the boxes that come up are answered by a script that knows them.
#include "data/modCategories.h"
#include "platform/clsError.h"
#include "support/dialogs.h"
#include "support/program.h"
#include "support/table.h"
#include "ui/lists/clsCategoryGrid.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/lists/frmCustomizeGrid.h"
#include "ui/main/frmOptions.h"
#include "ui/parts/clsFieldList.h"
#include "ui/records/frmCategories.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString Quoted = u"Bob's \"Best\""_s;
const QString Unsaved = u"You have made changes without saving.  Do you wish to save them now?"_s;

void Show(QWidget& window)
{
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
}
/// Types where the cursor is.
void Type(const QString& text, Qt::Key end = Qt::Key_Return)
{
    QTest::keyClicks(QApplication::focusWidget(), text);
    QTest::keyClick(QApplication::focusWidget(), end);
    QCoreApplication::processEvents(); // a box of the grid closes behind its key
}
/// Clicks the button to the left of a category.
void ClickRow(const QWidget& window, int row)
{
    QHeaderView* buttons = controlOf<clsCategoryGrid>(window, u"gridCategory"_s).verticalHeader();
    QTest::mouseClick(buttons->viewport(), Qt::LeftButton, {}, QPoint(5, buttons->sectionViewportPosition(row) + 5));
}
QString Fields(const clsFieldList& list)
{
    QStringList captions;
    for (int row = 0; row < list.count(); ++row)
        captions << list.item(row)->text();
    return captions.join(u',');
}
} // namespace

class tst_record_lists : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    clsTestInstallation::Opened m_other; ///< the database as another program sees it

    QString Categories(const QString& siteID) const
    {
        QStringList names;
        for (const auto& category : modCategories::Of(*m_other, siteID))
            names << category.Name;
        return names.join(u',');
    }
    fakeDialogs& Dialogs() const { return m_program->dialogs; }
    QString Stored(const QString& key) const { return m_program->settings.values[u"General"_s].value(key); }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        m_other = m_program->installation.Open();
        for (const QString& site : {u"Category"_s, Quoted}) {
            clsTestInstallation::AddSite(*m_other, site);
            clsTestInstallation::AddCategory(*m_other, site, u"Seeds"_s);
            clsTestInstallation::AddCategory(*m_other, site, u"Tools"_s);
        }
        State().CurrentSite = u"Category"_s;
    }
    void cleanup()
    {
        const bool allCame = Dialogs().expected.isEmpty();
        m_other = {};
        m_program.reset();
        QVERIFY(allCame);
    }

    void categoriesBelongToTheChosenSite()
    {
        frmCategories window(*State().Database);
        Show(window);
        auto& sites = controlOf<QComboBox>(window, u"cboxSites"_s);
        QCOMPARE(sites.currentText(), u"Category"_s);
        sites.setCurrentText(Quoted);
        clickIn(window, u"cmdButton_0"_s);
        Type(u"Flowers"_s);
        QCOMPARE(Categories(Quoted), u"Seeds,Tools,Flowers"_s);
        clickIn(window, u"cmdButton_0"_s);
        Type(u"  "_s); // nothing is added, nothing said
        QCOMPARE(Categories(Quoted), u"Seeds,Tools,Flowers"_s);
        QVERIFY(!window.RefillMain());

        // An emptied category keeps its text; another one is renamed by leaving the box, not by Esc.
        sites.setCurrentText(u"Category"_s);
        auto& grid = controlOf<clsCategoryGrid>(window, u"gridCategory"_s);
        grid.setFocus();
        QTest::keyClick(&grid, Qt::Key_F2);
        Dialogs().Expect(u"A category cannot be empty.  To delete it, highlight its row and select Delete."_s);
        Type(u" "_s);
        QTest::keyClick(&grid, Qt::Key_F2);
        Type(u"Lost"_s, Qt::Key_Escape);
        QCOMPARE(Categories(u"Category"_s), u"Seeds,Tools"_s);
        QVERIFY(!window.RefillMain());
        QTest::keyClick(&grid, Qt::Key_F2);
        QTest::keyClicks(QApplication::focusWidget(), u"Bulbs"_s);
        clickIn(window, u"cmdButton_2"_s);
        QVERIFY(!window.isVisible());
        QCOMPARE(Categories(u"Category"_s), u"Bulbs,Tools"_s);
        QVERIFY(window.RefillMain());
    }

    void onlyHighlightedCategoriesAreDeleted()
    {
        frmCategories window(*State().Database);
        Show(window);
        auto& grid = controlOf<clsCategoryGrid>(window, u"gridCategory"_s);
        const QPoint text = grid.visualRect(grid.model()->index(1, 0)).center();
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, text);
        for (int round = 0; round < 2; ++round) {
            Dialogs().Expect(u"To delete a record, click on the button directly to the\r\n"
                             "left of the appropriate row to highlight the item."_s);
            clickIn(window, u"cmdButton_1"_s);
            ClickRow(window, 2); // of the category that does not exist yet
        }
        QCOMPARE(Categories(u"Category"_s), u"Seeds,Tools"_s);
        ClickRow(window, 0);
        clickIn(window, u"cmdButton_1"_s);
        QCOMPARE(Categories(u"Category"_s), u"Tools"_s);
        QCOMPARE(Categories(Quoted), u"Seeds,Tools"_s);
        QVERIFY(window.RefillMain());
    }

    void whatCannotBeWrittenStaysInTheBox()
    {
        State().Database->SetPatience(std::chrono::milliseconds(1));
        frmCategories window(*State().Database);
        Show(window);
        std::optional<clsTransaction> lock(*m_other);
        modCategories::Add(*m_other, Quoted, u"Elsewhere"_s);
        clickIn(window, u"cmdButton_0"_s);
        Type(u"Flowers"_s);
        QCOMPARE(m_program->windows.calls, QStringList(u"error exclamation"_s));
        QTest::keyClick(&window, Qt::Key_C, Qt::AltModifier);
        QTRY_COMPARE(m_program->windows.calls.size(), 2);
        QVERIFY(window.isVisible());
        auto* box = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        QVERIFY(box);
        QCOMPARE(box->text(), u"Flowers"_s);
        lock.reset();
        Type({});
        QCOMPARE(Categories(u"Category"_s), u"Seeds,Tools,Flowers"_s);
        window.close();
        QVERIFY(!window.isVisible());
    }

    void categoriesNeedASite()
    {
        for (const QString& table : {u"tblSites"_s, u"tblCategory"_s}) {
            const auto records = m_other->OpenRecordset(table);
            while (!records->AfterLast())
                records->Delete();
        }
        Dialogs().Expect(u"There are no sites available.  You must add a new site before setting link categories."_s);
        frmCategories window(*State().Database);
        window.show();
        QTRY_VERIFY(Dialogs().expected.isEmpty());
        QVERIFY(!controlOf<QWidget>(window, u"cmdButton_0"_s).isEnabled());
        // Another program may delete the site while its categories are shown.
        QVERIFY_THROWS_EXCEPTION(clsError, modCategories::Add(*State().Database, Quoted, u"Late"_s));
        QVERIFY_THROWS_EXCEPTION(clsError, modCategories::Rename(*State().Database, 1, u"Late"_s));
    }

    void optionsChangedThroughEveryExit_data()
    {
        const testTable<QString, Answer, bool, bool> exit;
        exit("Cancel and save", u"cancel"_s, Answer::Yes, true, false);
        exit("Esc and discard", u"esc"_s, Answer::No, false, false);
        exit("close box and stay", u"close"_s, Answer::Cancel, false, true);
        exit("OK does not ask", u"ok"_s, Answer::OK, true, false);
        exit("Apply, then Cancel, does not ask", u"apply"_s, Answer::OK, true, false);
    }
    void optionsChangedThroughEveryExit()
    {
        const auto [exit, answer, saved, open] = testRow<QString, Answer, bool, bool>();
        frmOptions window(*State().Database);
        Show(window);
        controlOf<QCheckBox>(window, u"ProgramOpt_1"_s).click(); // Confirm before permanently deleting
        if (answer != Answer::OK)
            Dialogs().Expect(Unsaved, answer);
        if (exit == "apply"_L1)
            clickIn(window, u"buttonOptions_2"_s);
        if (exit == "cancel"_L1 || exit == "apply"_L1)
            clickIn(window, u"buttonOptions_1"_s);
        else if (exit == "close"_L1)
            window.close();
        else
            QTest::keyClick(&window, exit == "esc"_L1 ? Qt::Key_Escape : Qt::Key_Return);
        QCOMPARE(window.isVisible(), open);
        QCOMPARE(Stored(u"ConfirmDelete"_s), saved ? u"No"_s : QString());
        QCOMPARE(State().Settings.ConfirmDelete, saved ? u"No"_s : u"Yes"_s);
    }

    void optionsKeepEveryControl()
    {
        State().Settings.DefaultHTTPPort = u"none"_s;
        State().Settings.ClearResultsLog = u"yes"_s; // on is "Yes" to the letter
        const QHash<QString, QString> texts{
            {u"txtFullName"_s, u"DefaultWebMaster"_s},      {u"txtEmail"_s, u"DefaultEmail"_s},
            {u"txtSender"_s, u"DefaultSender"_s},           {u"txtHostName"_s, u"DefaultHostName"_s},
            {u"txtProxyServer"_s, u"DefaultProxyServer"_s}, {u"AudioFile"_s, u"SoundComplete"_s}};
        const QHash<QString, QString> numbers{{u"txtNumDays"_s, u"DaysToReminder"_s},
                                              {u"txtMailPort"_s, u"DefaultMailPort"_s},
                                              {u"txtHTTPPort"_s, u"DefaultHTTPPort"_s}};
        {
            frmOptions window(*State().Database);
            window.show();
            QVERIFY(!controlOf<QCheckBox>(window, u"ProgramOpt_0"_s).isChecked());
            QCOMPARE(controlOf<QSpinBox>(window, u"txtHTTPPort"_s).value(), 80);
            for (const QString& line : texts.keys())
                controlOf<QLineEdit>(window, line).setText(line + u" \u00e4"_s);
            for (const QString& box : numbers.keys())
                controlOf<QSpinBox>(window, box).setValue(30000);
            controlOf<QPlainTextEdit>(window, u"txtSignatureBlock"_s).setPlainText(u"Bob\nShop"_s);
            controlOf<QRadioButton>(window, u"OptBCC_0"_s).click();
            controlOf<QLineEdit>(window, u"txtMessageType_3"_s).clear();
            controlOf<QCheckBox>(window, u"chkboxOffer_8"_s).click();
            clickIn(window, u"buttonOptions_2"_s);
            QCOMPARE(controlOf<QLineEdit>(window, u"txtMessageType_3"_s).text(), u"User Defined"_s);
        }
        for (auto it = texts.cbegin(); it != texts.cend(); ++it)
            QCOMPARE(Stored(it.value()), it.key() + u" \u00e4"_s);
        for (const QString& key : numbers)
            QCOMPARE(Stored(key), u"30000"_s);
        QCOMPARE(Stored(u"DefaultSignatureBlock"_s) + Stored(u"BCC"_s), u"Bob\r\nShop1"_s);
        QCOMPARE(State().MessageTypes.at(2).Title, u"User Defined"_s);
        QVERIFY(State().MessageTypes.at(7).Offer);

        // The second opening shows what the first one kept, and the flags go each to its own setting.
        int flag = 0;
        for (const auto& key :
             {u"ClearResultsLog"_s, u"ConfirmDelete"_s, u"ShowTips"_s, u"AutoBackup"_s, u"PlaySoundComplete"_s}) {
            frmOptions window(*State().Database);
            window.show();
            QCOMPARE(shownIn(window, {u"txtSignatureBlock"_s}), u"Bob\nShop"_s);
            auto& box = controlOf<QCheckBox>(window, u"ProgramOpt_%1"_s.arg(flag++));
            box.click();
            clickIn(window, u"buttonOptions_0"_s);
            QCOMPARE(Stored(key), box.isChecked() ? u"Yes"_s : u"No"_s);
        }
        QCOMPARE(Stored(u"SoundComplete"_s), QString()); // nothing to play, nothing kept
    }

    void optionsAllOrNothing()
    {
        State().Database->SetPatience(std::chrono::milliseconds(1));
        frmOptions window(*State().Database);
        Show(window);
        controlOf<QLineEdit>(window, u"txtEmail"_s).setText(u"me@example.com"_s);
        controlOf<QLineEdit>(window, u"txtMessageType_3"_s).setText(u"Thanks"_s);
        for (int type = 1; type <= 8; ++type)
            controlOf<QCheckBox>(window, u"chkboxOffer_%1"_s.arg(type)).setChecked(false);
        Dialogs().Expect(u"You must have at least one message type that is an Offer.\r\n"
                         "Select the Message Types tab and check the appropriate type\r\n"
                         "that will be used as the initial offer of reciprocal linking."_s);
        std::optional<clsTransaction> lock(*m_other);
        modCategories::Add(*m_other, Quoted, u"Elsewhere"_s);
        for (const int failures : {0, 1, 2}) {
            clickIn(window, u"buttonOptions_0"_s);
            QVERIFY(window.isVisible());
            QCOMPARE(m_program->windows.calls.count(u"error exclamation"_s), failures);
            QCOMPARE(State().Settings.DefaultEmail, QString());
            if (failures == 0) {
                QCOMPARE(QApplication::focusWidget()->objectName(), u"chkboxOffer_1"_s);
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
                continue;
            }
            lock.reset();
            modBrambury::LoadMessageTypes();
            QCOMPARE(State().MessageTypes.at(2).Title, u"Link Posted"_s);
            m_program->settings.full = failures == 1;
        }
        clickIn(window, u"buttonOptions_0"_s);
        QVERIFY(!window.isVisible());
        QCOMPARE(Stored(u"DefaultEmail"_s) + State().MessageTypes.at(2).Title, u"me@example.comThanks"_s);
    }

    void soundIsChosenAndPlayed()
    {
        frmOptions window(*State().Database);
        Show(window);
        controlOf<QLineEdit>(window, u"AudioFile"_s).clear();
        Dialogs().Expect(u"You must select a sound to play."_s);
        clickIn(window, u"buttonOptions_5"_s);
        const QString missing = m_program->installation.Folder() + u"/nowhere.wav"_s;
        Dialogs().filesToChoose << missing << m_program->installation.DatabasePath();
        clickIn(window, u"buttonOptions_4"_s);
        Dialogs().Expect(u"The following Sound File could not be found:\r\n%1.\r\n\r\n"
                         "Please update with a correct path and filename."_s.arg(missing),
                         Answer::OK, u"Sound File Not Found"_s);
        clickIn(window, u"buttonOptions_5"_s);
        for (int i = 0; i < 2; ++i)
            clickIn(window, u"buttonOptions_4"_s); // the second time it is cancelled
        clickIn(window, u"buttonOptions_5"_s);
        QCOMPARE(m_program->sound.played, QStringList(m_program->installation.DatabasePath()));
        QVERIFY(m_program->windows.calls.isEmpty());
    }

    void columnsAreChosenAndOrdered()
    {
        const QString usual = u"E-mail Queue,Test Queue,Website,Home Page,Offers,Status,Results,Note"_s;
        const QString others = u"Description,Link Page,Image,Webmaster,E-mail Address,Category"_s;
        clsLinkGrid grid;
        grid.resize(900, 300);
        m_program->settings.values[u"LinkGrid"_s] = {{u"Title"_s, u"3000"_s},
                                                     {u"~LinkID"_s, u"900"_s},
                                                     {u"Category"_s, u"1500"_s},
                                                     {u"Order"_s, u"Nonsense,Category,~LinkID,Title"_s}};
        grid.RestoreLayout(m_program->settings);
        frmCustomizeGrid window(grid);
        Show(window);
        auto& available = controlOf<clsFieldList>(window, u"Available"_s);
        auto& current = controlOf<clsFieldList>(window, u"Current"_s);
        QCOMPARE(Fields(current), u"Category,Website"_s);
        QVERIFY(!Fields(available).contains(u'~'));
        clickIn(window, u"CustomizeButtons_0"_s);
        QCOMPARE(Fields(current), usual);
        QCOMPARE(Fields(available), others);
        QVERIFY(!m_program->settings.Sections().contains(u"LinkGrid"_s));

        available.setCurrentRow(5);
        clickIn(window, u"MoveButton_0"_s);
        for (int i = 0; i < 7; ++i)
            clickIn(window, u"MoveButton_2"_s);
        QTest::keyClick(&window, Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(Fields(current), QString(usual).replace(u"Website"_s, u"Category,Website"_s));
        current.setCurrentRow(0);
        clickIn(window, u"MoveButton_2"_s); // already at the top
        clickIn(window, u"MoveButton_1"_s);
        QCOMPARE(Fields(available), others.chopped(9) + u",E-mail Queue"_s);
        QVERIFY(!grid.isColumnHidden(clsLinkModel::EmailQueue)); // the grid waits for Apply
        QTest::keyClick(&window, Qt::Key_Return);
        QVERIFY(!window.isVisible());
        grid.SaveLayout(m_program->settings);
        QCOMPARE(m_program->settings.values[u"LinkGrid"_s][u"Order"_s],
                 u"*TestQueue,Category,Title,HomePage,*Offers,*Status,*TestResults,Notes"_s);
    }

    void fieldsAreDropped_data()
    {
        const testTable<QString, int, QString, int, QString> drop; // from, to, the columns then
        drop("in the other list", u"Available"_s, 0, u"Current"_s, 1, u"E-mail Queue,Description,Test Queue"_s);
        drop("upwards", u"Current"_s, 2, u"Current"_s, 0, u"Website,E-mail Queue,Test Queue"_s);
        drop("downwards", u"Current"_s, 0, u"Current"_s, 2, u"Test Queue,E-mail Queue,Website"_s);
        drop("away, behind the last", u"Current"_s, 0, u"Available"_s, 6, u"Test Queue,Website,Home Page"_s);
    }
    void fieldsAreDropped()
    {
        const auto [fromName, from, toName, to, expected] = testRow<QString, int, QString, int, QString>();
        clsLinkGrid grid;
        frmCustomizeGrid window(grid);
        Show(window);
        auto& source = controlOf<clsFieldList>(window, fromName);
        auto& target = controlOf<clsFieldList>(window, toName);
        source.setCurrentRow(from);
        const QString moved = source.currentItem()->text();
        const QListWidgetItem* before = target.item(to);
        target.DropAt(source, before ? target.visualItemRect(before).topLeft() + QPoint(9, 2)
                                     : target.viewport()->rect().bottomLeft() + QPoint(9, -2));
        QVERIFY(Fields(controlOf<clsFieldList>(window, u"Current"_s)).startsWith(expected));
        QCOMPARE(target.currentItem()->text(), moved);
    }
};

QTEST_MAIN(tst_record_lists)
#include "tst_record_lists.moc"
