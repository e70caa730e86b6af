// SPDX-License-Identifier: GPL-3.0-or-later
// The categories, the program options, the selection and the columns as a user sets them, by keys and mouse, on a real
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
#include "ui/records/clsSelectionDialog.h"
#include "ui/records/frmCategories.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSpinBox>
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
        const QString advice = u"To delete a record, click on the button directly to the\r\n"
                               "left of the appropriate row to highlight the item."_s;
        const QPoint text = grid.visualRect(grid.model()->index(1, 0)).center();
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, text);
        Dialogs().Expect(advice);
        clickIn(window, u"cmdButton_1"_s);
        ClickRow(window, 2); // of the category that does not exist yet
        Dialogs().Expect(advice);
        clickIn(window, u"cmdButton_1"_s);
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
        QVERIFY(!controlOf<QWidget>(window, u"gridCategory"_s).isEnabled());
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
        if (exit == u"esc"_s)
            QTest::keyClick(&window, Qt::Key_Escape);
        if (exit == u"close"_s)
            window.close();
        if (exit == u"apply"_s)
            clickIn(window, u"buttonOptions_2"_s);
        if (exit == u"cancel"_s || exit == u"apply"_s)
            clickIn(window, u"buttonOptions_1"_s);
        if (exit == u"ok"_s)
            QTest::keyClick(&window, Qt::Key_Return);
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
            QVERIFY(controlOf<QRadioButton>(window, u"OptBCC_1"_s).isChecked());
            for (auto it = texts.cbegin(); it != texts.cend(); ++it)
                controlOf<QLineEdit>(window, it.key()).setText(it.key() + u" ä"_s);
            for (auto it = numbers.cbegin(); it != numbers.cend(); ++it)
                controlOf<QSpinBox>(window, it.key()).setValue(30000);
            controlOf<QPlainTextEdit>(window, u"txtSignatureBlock"_s).setPlainText(u"Bob\nShop"_s);
            controlOf<QRadioButton>(window, u"OptBCC_0"_s).click();
            controlOf<QLineEdit>(window, u"txtMessageType_3"_s).clear();
            controlOf<QCheckBox>(window, u"chkboxOffer_8"_s).click();
            clickIn(window, u"buttonOptions_2"_s);
            QCOMPARE(controlOf<QLineEdit>(window, u"txtMessageType_3"_s).text(), u"User Defined"_s);
        }
        for (auto it = texts.cbegin(); it != texts.cend(); ++it)
            QCOMPARE(Stored(it.value()), it.key() + u" ä"_s);
        for (const QString& key : numbers)
            QCOMPARE(Stored(key), u"30000"_s);
        QCOMPARE(Stored(u"DefaultSignatureBlock"_s), u"Bob\r\nShop"_s);
        QCOMPARE(Stored(u"BCC"_s), u"1"_s);
        QCOMPARE(State().MessageTypes.at(2).Title, u"User Defined"_s);
        QVERIFY(State().MessageTypes.at(7).Offer);

        // The second opening shows what the first one kept, and the flags go each to its own setting.
        int flag = 0;
        for (const auto& key :
             {u"ClearResultsLog"_s, u"ConfirmDelete"_s, u"ShowTips"_s, u"AutoBackup"_s, u"PlaySoundComplete"_s}) {
            frmOptions window(*State().Database);
            window.show();
            QCOMPARE(controlOf<QPlainTextEdit>(window, u"txtSignatureBlock"_s).toPlainText(), u"Bob\nShop"_s);
            auto& box = controlOf<QCheckBox>(window, u"ProgramOpt_%1"_s.arg(flag++));
            box.click();
            clickIn(window, u"buttonOptions_0"_s);
            QCOMPARE(Stored(key), box.isChecked() ? u"Yes"_s : u"No"_s);
        }
        QCOMPARE(Stored(u"SoundComplete"_s), QString()); // nothing to play, nothing kept
    }

    void oneMessageTypeStaysAnOffer()
    {
        frmOptions window(*State().Database);
        Show(window);
        for (int type = 1; type <= 8; ++type)
            controlOf<QCheckBox>(window, u"chkboxOffer_%1"_s.arg(type)).setChecked(false);
        controlOf<QLineEdit>(window, u"txtEmail"_s).setText(u"me@example.com"_s);
        Dialogs().Expect(u"You must have at least one message type that is an Offer.\r\n"
                         "Select the Message Types tab and check the appropriate type\r\n"
                         "that will be used as the initial offer of reciprocal linking."_s);
        clickIn(window, u"buttonOptions_0"_s);
        QVERIFY(window.isVisible());
        QVERIFY(State().MessageTypes.at(0).Offer);
        QCOMPARE(State().Settings.DefaultEmail, QString());
        QCOMPARE(QApplication::focusWidget()->objectName(), u"chkboxOffer_1"_s);
    }

    void optionsAllOrNothing()
    {
        State().Database->SetPatience(std::chrono::milliseconds(1));
        frmOptions window(*State().Database);
        Show(window);
        controlOf<QLineEdit>(window, u"txtEmail"_s).setText(u"me@example.com"_s);
        controlOf<QLineEdit>(window, u"txtMessageType_3"_s).setText(u"Thanks"_s);
        std::optional<clsTransaction> lock(*m_other);
        modCategories::Add(*m_other, Quoted, u"Elsewhere"_s);
        for (const int failures : {1, 2}) {
            clickIn(window, u"buttonOptions_0"_s);
            QVERIFY(window.isVisible());
            QCOMPARE(m_program->windows.calls.count(u"error exclamation"_s), failures);
            QCOMPARE(State().Settings.DefaultEmail, QString());
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
        auto& file = controlOf<QLineEdit>(window, u"AudioFile"_s);
        const QString missing = m_program->installation.Folder() + u"/nowhere.wav"_s;
        file.setText(missing);
        Dialogs().Expect(u"The following Sound File could not be found:\r\n%1.\r\n\r\n"
                         "Please update with a correct path and filename."_s.arg(missing),
                         Answer::OK, u"Sound File Not Found"_s);
        clickIn(window, u"buttonOptions_5"_s);
        clickIn(window, u"buttonOptions_4"_s); // cancelled
        QCOMPARE(file.text(), missing);
        Dialogs().filesToChoose << m_program->installation.DatabasePath();
        clickIn(window, u"buttonOptions_4"_s);
        QCOMPARE(Dialogs().fileRequests.last().title, u"Open Sound File"_s);
        clickIn(window, u"buttonOptions_5"_s);
        QCOMPARE(m_program->sound.played, QStringList(m_program->installation.DatabasePath()));
        file.clear();
        Dialogs().Expect(u"You must select a sound to play."_s);
        clickIn(window, u"buttonOptions_5"_s);
        QVERIFY(m_program->windows.calls.isEmpty());
    }

    /// Choosing by keys and cancelling is what tst_record_commands does.
    void selectionByMouseAndDefault()
    {
        clsSelectionDialog dialog;
        dialog.arraySelections = {u"Offer"_s, u"User Defined"_s, u"User Defined"_s, u"Last"_s};
        dialog.DefaultItem = 1;
        for (const int wanted : {1, 2}) {
            QTimer work;
            work.callOnTimeout([&] {
                auto* window = qobject_cast<QDialog*>(QApplication::activeModalWidget());
                if (!window || !window->isActiveWindow())
                    return;
                auto& list = controlOf<QListWidget>(*window, u"lstSelections"_s);
                const QPoint place = list.visualItemRect(list.item(wanted)).center();
                if (wanted == dialog.DefaultItem)
                    return QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
                QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, place);
                QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, place);
            });
            work.start(0);
            QCOMPARE(dialog.GetSelection(nullptr), u"User Defined"_s);
            QCOMPARE(dialog.Selected(), wanted);
        }
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
                                                     {u"Nonsense"_s, u"900"_s},
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
