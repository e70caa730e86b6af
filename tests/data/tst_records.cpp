// SPDX-License-Identifier: GPL-3.0-or-later
// Sites and links under the user's hands, without a window: what is refused and in which order, stepping, and records
// and files that others have their hands on.
#include "data/clsLinkRecord.h"
#include "data/clsSiteRecord.h"
#include "data/modDBFunctions.h"
#include "data/modSites.h"
#include "support/program.h"

#include <QFile>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Answer = clsDialogs::Answer;
using Saved = clsRecordEditor::Saved;
using Step = clsRecordEditor::Step;
using modBrambury::State;

namespace
{
const QString Unsaved = u"You have made changes without saving.  Do you wish to save them now?"_s;
const QString Last = u"This is the last record."_s;
const QString First = u"This is the first record."_s;
const QString MissingHead = u"Required information, which is shown in red on the properties screen, is missing.\r\n\r\n"
                            "Please ensure that this information is provided before saving:"_s;
const QString EmailText = u"The e-mail address is improperly formatted.  (Example: webmaster@example.com)"_s;
const QString HomeText = u"The Home Page URL is improperly formatted.  (Example: http://www.example.com/)"_s;
const QString LinkText = u"The Link Page URL is improperly formatted.  (Example: http://www.example.com/)"_s;
const QString ImageText =
    u"The Image file appears to contain a path.  Specify only the file name.  (Example: mybanner.gif)"_s;
const modDataModel::StatusBounds All = modDataModel::BoundsOf(modDataModel::ViewAll, false);

/// Values given next, and why the record is refused with them.
struct Attempt
{
    QString values; ///< "Field=value;Field=value"
    QString text;
    QString fault;
};
} // namespace

class tst_records : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    clsTestInstallation::Opened m_other; ///< the file as another program has it open

    clsDatabase& Db() const { return *State().Database; }
    /// Everything is wrong at first; each attempt puts right what the one before was refused for.
    void TryAll(clsRecordEditor& record, const QList<Attempt>& attempts)
    {
        for (const Attempt& attempt : attempts) {
            for (const QString& value : attempt.values.split(u';'))
                QCOMPARE(record.Assign(*record.FieldNamed(value.section(u'=', 0, 0)), value.section(u'=', 1)),
                         QString());
            m_program->dialogs.Expect(attempt.text);
            QVERIFY2(record.Save() == Saved::Refused, qPrintable(attempt.text));
            QCOMPARE(record.FieldAtFault(), attempt.fault);
            QVERIFY(record.Changed());
        }
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        modBrambury::CloseProcessDatabase();
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        for (const auto& site : {u"Bakery"_s, u"Garage"_s, u"Zoo"_s})
            clsTestInstallation::AddSite(Db(), site);
        m_other = m_program->installation.Open();
    }
    void cleanup()
    {
        QVERIFY(m_program->dialogs.expected.isEmpty());
        m_other = {};
        m_program.reset();
    }

    void siteIsCheckedInOrder()
    {
        clsSiteRecord site(Db());
        QVERIFY(site.OpenNew(u"New"_s));
        site.SetValue(u"MailPort"_s, 70000); // as an older file may hold it
        QVERIFY(!site.Assign(*site.FieldNamed(u"mailport"_s), u"70000"_s).isEmpty());
        TryAll(
            site,
            {{u"Email=nobody;HomePage=www.example.com;LinkPage=ftp://example.com;HostName=;HTTPPort=;"
              "ImageFile=pictures\\banner.gif;TestForMyLinkAtRecipSite=0;TestForRecipLinkAtMySite=0;Sender="_s +
                  QString(256, u'x'),
              MissingHead + u"\r\n° Site Title\r\n° E-mail Server (SMTP)\r\n° SMTP Port\r\n° HTTP Port"_s,
              u"SiteName"_s},
             {u"SiteName=The shop;HostName=me@example.com;MailPort=65535;HTTPPort=1"_s, EmailText, u"Email"_s},
             {u"Email=me@example.com"_s, HomeText, u"HomePage"_s},
             {u"HomePage=HTTPS://www.example.com"_s, LinkText, u"LinkPage"_s},
             {u"LinkPage="_s,
              u"The E-mail Server (SMTP Server) must contain a valid domain name.\r\nPresently it contains what "
              "appears to be an e-mail address.\r\n\r\nThe following are examples of valid domain names:\r\n"
              "    mail.example.com\r\n    smtp.example.com\r\n    mail1.example.com"_s,
              u"HostName"_s},
             {u"HostName=mail.example.com"_s, ImageText, u"ImageFile"_s},
             {u"ImageFile=pictures/banner.gif"_s, ImageText, u"ImageFile"_s},
             {u"ImageFile=banner.gif"_s, u"You must select at least one test rule."_s, u"TestForMyLinkAtRecipSite"_s},
             {u"TestForRecipLinkAtMySite=1"_s,
              u"Since you have chosen in the Test Rules to search for reciprocal links on your site,\r\n"
              "you must specify an address to your site's link page."_s,
              u"LinkPage"_s},
             {u"LinkPage=http://www.example.com/links"_s, u"Sender is too long: at most 255 characters can be kept."_s,
              u"Sender"_s}});
        QCOMPARE(Db().OpenRecordset(u"tblSites"_s)->RecordCount(), 3);
        site.SetValue(u"Sender"_s, QString(255, u'x'));
        QVERIFY(site.Save() == Saved::Yes);
        QVERIFY(!site.IsNew() && !site.Changed() && site.FieldAtFault().isEmpty());
        QCOMPARE(State().CurrentSite, u"New"_s);
        QVERIFY(State().Tests.RecipLinkAtMySite && !State().Tests.MyLinkAtRecipSite);
        QVERIFY(site.Save() == Saved::Yes); // changed from now on, not added once more
        QCOMPARE(Db().OpenRecordset(u"tblSites"_s)->RecordCount(), 4);
    }

    void linkIsCheckedInOrder()
    {
        clsLinkRecord link(Db(), u"bakery"_s, true);
        QVERIFY(link.OpenNew(All));
        QCOMPARE(link.Value(u"Message"_s).toInt(), 1);
        TryAll(link, {{u"Email=nobody@home;LinkPage=links;ImageFile=/a.gif"_s,
                       MissingHead + u"\r\n° Title\r\n° Home Page URL"_s, u"Title"_s},
                      {u"Title=Mill;HomePage=mill.example"_s, EmailText, u"Email"_s},
                      {u"Email="_s, HomeText, u"HomePage"_s},
                      {u"HomePage=http://mill.example"_s, LinkText, u"LinkPage"_s},
                      {u"LinkPage="_s, ImageText, u"ImageFile"_s},
                      {u"ImageFile="_s,
                       u"Since you have chosen in the Test Rules to search for your link on reciprocal sites,\r\n"
                       "you must specify an address to the reciprocal site's link page."_s,
                       u"LinkPage"_s}});
        link.SetValue(u"LinkPage"_s, u"http://mill.example/links"_s);
        QVERIFY(link.Save() == Saved::Yes);
        const auto field = [&](const QString& name) {
            return clsTestInstallation::LinkField(Db(), link.LinkID(), name);
        };
        QCOMPARE(field(u"SiteName"_s), QVariant(u"bakery"_s));
        QCOMPARE(field(u"Offers"_s).toInt() + field(u"Status"_s).toInt() + field(u"EmailQueue"_s).toInt(), 0);
        QCOMPARE(field(u"Email"_s), QVariant(u""_s)); // not Null
    }

    void newSiteBeginsWithTheDefaults()
    {
        clsProgramSettings& settings = State().Settings;
        settings.DefaultWebMaster = u"Ann"_s;
        settings.DefaultHostName = u"mail.example.com"_s;
        settings.DefaultMailPort = 587;
        settings.DefaultHTTPPort = u"none"_s;
        clsSiteRecord site(Db());
        QVERIFY(site.OpenNew(u"New"_s));
        QCOMPARE(site.Text(u"FullName"_s) + u' ' + site.Text(u"HostName"_s), u"Ann mail.example.com"_s);
        QCOMPARE(site.Value(u"MailPort"_s).toInt(), 587);
        QVERIFY(site.Value(u"HTTPPort"_s).isNull());
        QVERIFY(site.On(u"TestForMyLinkAtRecipSite"_s) && site.On(u"TestForRecipLinkAtMySite"_s));
        QVERIFY(!site.On(u"TestForMyImageAtRecipSite"_s) && !site.On(u"TestForRecipImageAtMySite"_s));
        QVERIFY(!site.Changed() && site.MayLeave());
    }

    void stepping()
    {
        clsSiteRecord site(Db());
        QVERIFY(site.Open(u"GARAGE"_s));
        const auto step = [&](Step to, const QString& text = {}) {
            if (!text.isEmpty())
                m_program->dialogs.Expect(text);
            return site.Move(to) ? site.Name() : u"stayed at "_s + site.Name();
        };
        QCOMPARE(step(Step::Next), u"Zoo"_s);
        QCOMPARE(State().CurrentSite, u"Zoo"_s);
        QCOMPARE(step(Step::Next, Last), u"Zoo"_s);
        QCOMPARE(step(Step::Previous), u"Garage"_s);
        clsTestInstallation::AddSite(*m_other, u"Later"_s); // not among the neighbours
        const auto others = m_other->OpenRecordset(u"tblSites"_s);
        QVERIFY(modSites::Find(*others, u"Bakery"_s));
        others->Delete();
        QCOMPARE(step(Step::Previous, First), u"Garage"_s);

        // A record that is gone: the values stay where they are, and cannot be written.
        QVERIFY(modSites::Find(*others, u"Garage"_s));
        others->Delete();
        site.SetValue(u"FullName"_s, u"Ann"_s);
        m_program->dialogs.Expect(clsRecordEditor::MissingRecordText());
        QVERIFY(site.Save() == Saved::Failed);
        QVERIFY(site.Changed() && site.Text(u"FullName"_s) == u"Ann"_s);
        m_program->dialogs.Expect(Unsaved, Answer::No);
        QCOMPARE(step(Step::Next), u"Zoo"_s);
        QVERIFY(modSites::Find(*others, u"Zoo"_s));
        others->Delete();
        QCOMPARE(step(Step::Next, clsRecordEditor::MissingRecordText()), u"stayed at Zoo"_s);
        QVERIFY2(m_program->windows.lastDetails.isEmpty(), qPrintable(m_program->windows.lastDetails));
    }

    void fileThatCannotBeWritten()
    {
        clsSiteRecord site(Db());
        QVERIFY(site.Open(u"Zoo"_s));
        Db().SetPatience(50ms);
        site.SetValue(u"FullName"_s, u"Ann"_s);
        m_other->BeginTrans();
        clsTestInstallation::AddSite(*m_other, u"Later"_s);
        QVERIFY(site.Save() == Saved::Failed && site.Changed());
        QVERIFY(!m_program->windows.lastDetails.isEmpty());
        m_other->CommitTrans();
        // A folder that takes no journal: this is neither the end of the program nor passed over in silence.
        const QString journal = m_program->installation.DatabasePath() + u"-journal"_s;
        QVERIFY(QFile::link(u"/nowhere/journal"_s, journal));
        m_program->dialogs.Expect(u"This did not go well:*"_s);
        QVERIFY(site.Save() == Saved::Failed && site.Text(u"FullName"_s) == u"Ann"_s && !State().Terminating);
        QVERIFY(QFile::remove(journal));
        QVERIFY(site.Save() == Saved::Yes);
        QVERIFY(site.Open(u"Zoo"_s) && site.Text(u"FullName"_s) == u"Ann"_s);
    }

    void linkKeepsWhatIsNotEdited()
    {
        const auto add = [&](const QString& title, int status) {
            return clsTestInstallation::AddLink(Db(), u"Bakery"_s, title,
                                                {{u"Status"_s, status},
                                                 {u"EmailQueue"_s, modDataModel::EmailNotToBeSent},
                                                 {u"HomePage"_s, u"http://a"_s},
                                                 {u"Offers"_s, 3}});
        };
        const QList<qint64> ids{add(u"offer"_s, 0), add(u"active"_s, 2), add(u"offer too"_s, 0)};
        clsLinkRecord link(Db(), u"BAKERY"_s, false);
        const auto offers = modDataModel::BoundsOf(modDataModel::Offer, false);
        m_program->dialogs.Expect(clsRecordEditor::MissingRecordText());
        QVERIFY(!link.Open(ids[1], offers));
        QVERIFY(link.Open(ids[0], offers));
        // The mail run counts meanwhile.
        m_other->UpdateRecords(u"tblLinkList"_s, {ids[0]}, {{u"Offers"_s, 4}, {u"Results"_s, 8}});
        link.SetValue(u"Status"_s, int{modDataModel::Active});
        QVERIFY(link.Save() == Saved::Yes);
        const auto field = [&](const QString& name) { return clsTestInstallation::LinkField(Db(), ids[0], name); };
        QCOMPARE(field(u"Status"_s).toInt() * 100 + field(u"Offers"_s).toInt() * 10 + field(u"Results"_s).toInt(), 248);
        QCOMPARE(field(u"EmailQueue"_s).toInt(), int{modDataModel::EmailNotToBeSent});
        // It has left the view, and stays within reach all the same.
        QVERIFY(link.Move(Step::Next) && link.LinkID() == ids[2]);
        QVERIFY(link.Move(Step::Previous) && link.LinkID() == ids[0]);
    }

    void siteRenamedByAnotherProgram()
    {
        const qint64 id = clsTestInstallation::AddLink(Db(), u"Bakery"_s, u"mill"_s, {{u"HomePage"_s, u"http://a"_s}});
        clsSiteRecord site(Db());
        clsLinkRecord link(Db(), u"Bakery"_s, false);
        clsLinkRecord newLink(Db(), u"Bakery"_s, false);
        QVERIFY(site.Open(u"Bakery"_s) && link.Open(id, All) && newLink.OpenNew(All));
        modSites::Rename(*m_other, u"Bakery"_s, u"Mill"_s);
        for (clsRecordEditor* record : std::initializer_list<clsRecordEditor*>{&site, &link, &newLink}) {
            for (const auto& field : {u"Title"_s, u"HomePage"_s, u"LinkPage"_s})
                record->SetValue(field, u"http://b"_s);
        }
        QVERIFY(site.Save() == Saved::Yes && site.Name() == u"Mill"_s);
        QVERIFY(link.Save() == Saved::Yes);
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"SiteName"_s).toString(), u"Mill"_s);
        // It would belong to no site, and be seen nowhere.
        QVERIFY(newLink.Save() == Saved::Failed && newLink.Changed());
        QVERIFY(!m_program->windows.lastDetails.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_records)
#include "tst_records.moc"
