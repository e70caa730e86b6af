// SPDX-License-Identifier: GPL-3.0-or-later
// The editors of sites and links as a user works them, by keys and mouse, on a real database; the boxes that come up
// are answered by a script that knows them.
#include "data/clsRecordEditor.h"
#include "main_window_fixture.h"
#include "ui/records/clsLinks.h"
#include "ui/records/clsSites.h"

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::NewSiteID;
using modBrambury::State;

namespace
{
const QString Unsaved = u"You have made changes without saving.  Do you wish to save them now?"_s;
const QString Last = u"This is the last record."_s;
const QString EmailText = u"The e-mail address is improperly formatted.  (Example: webmaster@example.com)"_s;
const modDataModel::StatusBounds All = modDataModel::BoundsOf(modDataModel::ViewAll, false);

/// An open editor under a user's hands.
struct clsHands
{
    QDialog& editor;
    template <typename Control> Control& Find(const QString& name) const { return controlOf<Control>(editor, name); }
    void Click(const QString& button) const { clickIn(editor, button); }
    void Type(const QString& line, const QString& text) const { typeIn(editor, line, text); }
    QString Text(const QString& line) const { return Find<QLineEdit>(line).text(); }
};
using clsWork = std::function<void(const clsHands&)>;
} // namespace

class tst_editors : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestWindow> m_program;
    qint64 m_link = 0;

    static void Then(const clsWork& work)
    {
        inNextDialog([work](QDialog& editor) { work({editor}); });
    }
    QString EditSite(const QString& siteID, const clsWork& work)
    {
        Then(work);
        return clsSites(*State().Database).SiteProperties(siteID);
    }
    qint64 EditLink(qint64 linkID, const clsWork& work)
    {
        Then(work);
        return clsLinks(*State().Database).LinkProperties(linkID, All);
    }
    QString Site(const QString& siteID, const QStringList& fields) { return m_program->Site(siteID, fields); }
    QVariant LinkField(const QString& field)
    {
        return clsTestInstallation::LinkField(*m_program->opened, m_link, field);
    }
    fakeDialogs& Dialogs() { return m_program->dialogs; }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestWindow>();
        clsTestInstallation::AddSite(*m_program->opened, u"Shop"_s, {{u"EMessage2"_s, 2}, {u"EMessage3"_s, 99}});
        clsTestInstallation::AddSite(*m_program->opened, u"Store"_s);
        const qint64 seeds = clsTestInstallation::AddCategory(*m_program->opened, u"Shop"_s, u"Seeds & Plants"_s);
        m_link = clsTestInstallation::AddLink(*m_program->opened, u"Shop"_s, u"Mill"_s,
                                              {{u"HomePage"_s, u"http://mill.example/"_s},
                                               {u"LinkPage"_s, u"http://mill.example/links"_s},
                                               {u"CategoryID"_s, seeds},
                                               {u"Message"_s, 5},
                                               {u"EmailQueue"_s, modDataModel::EmailNotToBeSent},
                                               {u"Results"_s, 12},
                                               {u"Offers"_s, 7},
                                               {u"Comments"_s, u"one\ntwo\u00A0three"_s},
                                               {u"LastSuccessfulTest"_s, u"2025-12-01 10:14:00"_s}});
        m_program->Open();
        QCOMPARE(State().CurrentSite, u"Shop"_s);
    }
    void cleanup() { m_program.reset(); }

    void unsavedChangesThroughEveryExit_data()
    {
        const testTable<QString, bool> exit;
        exit("Cancel", u"cancel"_s, true);
        exit("Esc", u"esc"_s, true);
        exit("close box", u"close"_s, true);
        exit("Next", u"next"_s, false);
        exit("page down", u"page"_s, false);
    }
    void unsavedChangesThroughEveryExit()
    {
        const auto [exit, closes] = testRow<QString, bool>();
        const auto leave = [exit = exit](const clsHands& hands) {
            if (exit == u"esc")
                QTest::keyClick(&hands.editor, Qt::Key_Escape);
            else if (exit == u"close")
                hands.editor.close();
            else if (exit == u"page")
                QTest::keyClick(&hands.Find<QLineEdit>(u"txtFullName"_s), Qt::Key_PageDown);
            else
                hands.Click(exit == u"next" ? u"buttonSites_1"_s : u"buttonSites_3"_s);
        };
        const QString chosen = EditSite(u"Shop"_s, [&, closes = closes](const clsHands& hands) {
            hands.Type(u"txtFullName"_s, u"Ann"_s);
            Dialogs().Expect(Unsaved, Answer::Cancel);
            leave(hands);
            QVERIFY(hands.editor.isVisible());
            QCOMPARE(hands.Text(u"txtFullName"_s), u"Ann"_s);
            // What cannot be saved is not left; its control has the focus.
            hands.Type(u"txtEmail"_s, u"nobody"_s);
            hands.Find<QTabWidget>(u"SSTab1"_s).setCurrentIndex(2);
            Dialogs().Expect(Unsaved, Answer::Yes);
            Dialogs().Expect(EmailText);
            leave(hands);
            QCOMPARE(hands.Find<QTabWidget>(u"SSTab1"_s).currentIndex(), 0);
            QCOMPARE(hands.editor.focusWidget()->objectName(), u"txtEmail"_s);
            hands.Type(u"txtEmail"_s, u"ann@example.com"_s);
            Dialogs().Expect(Unsaved, Answer::Yes);
            leave(hands);
            QCOMPARE(Site(u"Shop"_s, {u"FullName"_s}), u"Ann"_s);
            QCOMPARE(hands.editor.isVisible(), !closes);
            if (closes)
                return;
            QCOMPARE(hands.editor.windowTitle(), u"Site Properties  [Store]"_s);
            hands.Type(u"txtFullName"_s, u"Ben"_s);
            Dialogs().Expect(Unsaved, Answer::No);
            Dialogs().Expect(Last);
            leave(hands);
            QCOMPARE(hands.Text(u"txtFullName"_s), QString());
            hands.Click(u"buttonSites_3"_s);
        });
        QCOMPARE(chosen, closes ? u"Shop"_s : u"Store"_s);
        QCOMPARE(State().CurrentSite, chosen);
        QCOMPARE(Site(u"Store"_s, {u"FullName"_s}), QString());
    }

    void aProgramThatEndsKeepsNothing()
    {
        EditSite(u"Shop"_s, [](const clsHands& hands) {
            hands.Type(u"txtFullName"_s, u"Ben"_s);
            State().SessionEnding = true;
            hands.editor.close();
        });
        State().SessionEnding = false;
        QCOMPARE(Site(u"Shop"_s, {u"FullName"_s}), QString());
    }

    void onlyWhatIsChangedIsChanged()
    {
        const auto tooLong = QString(300, u'x');
        m_program->SetSite(
            u"Shop"_s,
            {{u"FullName"_s, tooLong}, {u"SignatureBlock"_s, u"a\nb"_s}, {u"TestForMyLinkAtRecipSite"_s, -1}});
        EditSite(u"Shop"_s, [&](const clsHands& hands) {
            QVERIFY(hands.Find<QCheckBox>(u"chkTestRule_0"_s).isChecked());
            hands.Click(u"buttonSites_3"_s); // nothing to ask
        });
        EditSite(u"Shop"_s, [&](const clsHands& hands) {
            // The second has a template that does not exist.
            QCOMPARE(shownIn(hands.editor, {u"cbMailTemplate_1"_s, u"cbMailTemplate_2"_s}), u"DEFAULT|"_s);
            hands.Find<QTabWidget>(u"SSTab1"_s).setCurrentIndex(1);
            QTest::keyClick(&hands.Find<QComboBox>(u"cbMailTemplate_1"_s), Qt::Key_Home);
            hands.Find<QTabWidget>(u"SSTab1"_s).setCurrentIndex(0);
            hands.Type(u"txtIPAddress"_s, QString(30, u'7')); // goes no further than its field
            QCOMPARE(QToolTip::text(), u"At most 25 characters can be kept here."_s);
            QTest::keyClick(&hands.Find<QLineEdit>(u"txtIPAddress"_s), Qt::Key_Return);
        });
        QCOMPARE(Site(u"Shop"_s, {u"SignatureBlock"_s, u"TestForMyLinkAtRecipSite"_s, u"EMessage2"_s, u"EMessage3"_s,
                                  u"FullName"_s, u"IPAddress"_s}),
                 u"a\nb|-1||99|"_s + tooLong + u'|' + QString(25, u'7'));
    }

    void newSite()
    {
        Dialogs().inputs = {u"shop "_s, u"*"_s};
        Dialogs().Expect(u"This site name is already in use.  Please enter a new site name."_s);
        const QString chosen = EditSite(NewSiteID, [&](const clsHands& hands) {
            QCOMPARE(State().CurrentSite, NewSiteID);
            QCOMPARE(Dialogs().offered, (QStringList{QString(), u"shop"_s}));
            QCOMPARE(Dialogs().shown.first(), u"New Site: Enter a name for your new site:"_s);
            QCOMPARE(hands.editor.windowTitle(), u"Site Properties  [*][*]"_s); // shown as [*]
            auto& port = hands.Find<QSpinBox>(u"txtMailPort"_s);
            QTest::keyClick(&port, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClick(&port, Qt::Key_Delete);
            QTest::keyClick(&port, Qt::Key_Tab);
            QCOMPARE(port.text(), QString());
            hands.Type(u"txtSiteName"_s, u"Star"_s);
            Dialogs().Expect(
                u"Required information, which is shown in red on the properties screen, is missing.\r\n\r\n"
                "Please ensure that this information is provided before saving:\r\n° Home Page URL\r\n"
                "° E-mail Address\r\n° E-mail Server (SMTP)\r\n° SMTP Port"_s);
            hands.Click(u"buttonSites_0"_s);
            QCOMPARE(hands.editor.focusWidget()->objectName(), u"txtHomePage"_s);
            hands.Type(u"txtHomePage"_s, u"http://star.example"_s);
            hands.Type(u"txtLinkPage"_s, u"http://star.example/links"_s);
            hands.Type(u"txtEmail"_s, u"ann@star.example"_s);
            hands.Type(u"txtHostName"_s, u"mail.star.example"_s);
            QTest::keyClicks(&port, u"587"_s);
            hands.Find<QTabWidget>(u"SSTab1"_s).setCurrentIndex(2);
            QTest::mouseClick(&hands.Find<QCheckBox>(u"chkTestRule2_0"_s), Qt::LeftButton, {}, QPoint(8, 8));
            QVERIFY(hands.Find<QCheckBox>(u"chkTestRule2_0"_s).isChecked());
            hands.Click(u"Command1"_s);
            hands.Click(u"buttonSites_0"_s);
        });
        QCOMPARE(chosen, u"*"_s);
        QCOMPARE(State().CurrentSite, u"*"_s);
        QCOMPARE(Site(u"*"_s, {u"MailPort"_s, u"TestForMyImageAtRecipSite"_s}), u"587|0"_s);

        Dialogs().inputs = {u"Another"_s};
        QCOMPARE(EditSite(NewSiteID, [](const clsHands& hands) { hands.Click(u"buttonSites_3"_s); }), NewSiteID);
        QCOMPARE(State().CurrentSite, u"*"_s);
        QCOMPARE(clsSites(*State().Database).SiteProperties(NewSiteID), NewSiteID); // no name given
        QCOMPARE(State().CurrentSite, u"*"_s);
    }

    void linkShowsItsRecord()
    {
        const qint64 shown = EditLink(m_link, [&](const clsHands& hands) {
            QCOMPARE(hands.editor.windowTitle(), u"Link Properties  [Mill]"_s);
            QCOMPARE(shownIn(hands.editor, {u"comboCategory"_s, u"comboStatus"_s, u"comboNextEmail"_s, u"txtOffers"_s,
                                            u"lblLastSuccessfulTest"_s, u"txtLastResults"_s}),
                     u"Seeds & Plants|Active|Link Missing|7|Monday, December 1, 2025 - 10:14 AM|"
                     "1: My image was missing on the reciprocal site\n"
                     "2: My link was missing on the reciprocal site"_s);
            QCOMPARE(hands.Find<QCheckBox>(u"Queue_0"_s).checkState(), Qt::PartiallyChecked);
            hands.Find<QComboBox>(u"comboStatus"_s).setFocus();
            QTest::keyClick(&hands.Find<QComboBox>(u"comboStatus"_s), Qt::Key_End);
            hands.Find<QTabWidget>(u"SSTab1"_s).setCurrentIndex(1);
            hands.Click(u"DateTimeStamp"_s);
            auto& comments = hands.Find<QPlainTextEdit>(u"txtComments"_s);
            QTest::keyClick(&comments, Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(comments.toPlainText(), u"one\ntwo three"_s);
            hands.Click(u"DateTimeStamp"_s);
            QTest::keyClicks(&comments, u"called"_s);
            hands.Click(u"buttonLinks_0"_s);
        });
        QCOMPARE(shown, m_link);
        QCOMPARE(LinkField(u"Status"_s).toInt(), int{modDataModel::Declined});
        QCOMPARE(LinkField(u"EmailQueue"_s).toInt(), int{modDataModel::EmailNotToBeSent});
        const QString comments = LinkField(u"Comments"_s).toString();
        QVERIFY2(comments.startsWith(u"one\r\ntwo\u00A0three\r\nEntry;  "_s) && comments.endsWith(u":  called"_s),
                 qPrintable(comments));
        EditLink(m_link, [&](const clsHands& hands) {
            QTest::keyClick(&hands.Find<QCheckBox>(u"Queue_0"_s), Qt::Key_Space);
            hands.Click(u"buttonLinks_0"_s);
        });
        QCOMPARE(LinkField(u"EmailQueue"_s).toInt(), 1);
        // The browser gets what stands in the box.
        EditLink(m_link, [&](const clsHands& hands) {
            hands.Type(u"txtHomePage"_s, u"http://new.example"_s);
            hands.Click(u"PreviewURL_0"_s);
            hands.Click(u"PreviewURL_1"_s);
            QCOMPARE(m_program->browser.opened, (QStringList{u"http://new.example"_s, u"http://mill.example/links"_s}));
            m_program->browser.outcome = clsBrowser::Outcome::NoBrowser;
            Dialogs().Expect(u"Could not find associated Browser"_s, Answer::OK, u"Browser Not Found"_s);
            hands.Click(u"PreviewURL_0"_s);
            Dialogs().Expect(Unsaved, Answer::No);
            hands.Click(u"buttonLinks_3"_s);
        });
        QCOMPARE(LinkField(u"HomePage"_s).toString(), u"http://mill.example/"_s);
    }

    void newLinkAndItsNeighbours()
    {
        clsLinks links(*State().Database);
        const QSignalSpy saved(&links, &clsLinks::LinkSaved);
        const QSignalSpy shown(&links, &clsLinks::LinkShown);
        Then([&](const clsHands& hands) {
            hands.Type(u"txtTitle"_s, u"Forge"_s);
            hands.Type(u"txtHomePage"_s, u"http://forge.example"_s);
            hands.Type(u"txtLinkPage"_s, u"http://forge.example/links"_s);
            Dialogs().Expect(Unsaved, Answer::Yes);
            hands.Click(u"buttonLinks_2"_s);
            QCOMPARE(hands.Text(u"txtTitle"_s), u"Mill"_s);
            QTest::keyClick(&hands.editor, Qt::Key_Escape);
        });
        QCOMPARE(links.LinkProperties(clsLinks::NewLink, All), m_link);
        QCOMPARE(saved, (QList<QVariantList>{{m_link + 1, true}}));
        QCOMPARE(shown, (QList<QVariantList>{{m_link}}));
        QCOMPARE(EditLink(clsLinks::NewLink, [](const clsHands& hands) { hands.Click(u"buttonLinks_3"_s); }), 0);
        Dialogs().Expect(clsRecordEditor::MissingRecordText());
        QCOMPARE(links.LinkProperties(999, All), 0);
    }
};

QTEST_MAIN(tst_editors)
#include "tst_editors.moc"
