// SPDX-License-Identifier: GPL-3.0-or-later
// The careful database operations and the opening of the process's database, on real files.
#include "data/clsDAO.h"
#include "data/modDBFunctions.h"
#include "data/modDataModel.h"
#include "platform/clsDisk.h"
#include "platform/impl/modDatabaseMaker.h"
#include "platform/impl/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "support/fakes.h"
#include "support/installation.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;

class tst_data : public QObject
{
    Q_OBJECT

private:
    fakeSettings m_settings;
    fakeClock m_clock;
    std::unique_ptr<fakeDialogs> m_dialogs;
    std::unique_ptr<fakeWindows> m_windows;
    fakeEventLoop m_eventLoop;
    std::unique_ptr<clsDBEngine> m_engine = modPlatformImpl::MakeDBEngine();
    std::unique_ptr<clsDisk> m_disk = modPlatformImpl::MakeDisk();
    std::unique_ptr<clsTestInstallation> m_installation;

    /// The database of the process; opened, with one site.
    clsDatabase& Db()
    {
        if (!State().Database && modDBFunctions::OpenProcessDatabase())
            clsTestInstallation::AddSite(*State().Database, u"Shop"_s);
        return *State().Database;
    }
    qint64 Link(const QString& title, const clsRecordValues& values = {}, const QString& site = u"Shop"_s)
    {
        return clsTestInstallation::AddLink(Db(), site, title, values);
    }
    /// Puts a database made from these statements in the place of the installation's.
    void MakeDatabase(const QByteArray& statements)
    {
        const QString file = m_installation->Folder() + u"/statements.sql"_s;
        m_disk->WriteFile(file, statements);
        modDatabaseMaker::MakeDatabase(m_installation->DatabasePath(), u"SandDune"_s, {file});
    }
    /// Number and routine of the error last shown.
    QString LastError() const
    {
        const QStringList lines = m_windows->lastDetails.split(u"\r\n"_s);
        return lines.value(1).section(u'\t', 1) + u' ' + lines.value(5).section(u'\t', 1);
    }

private Q_SLOTS:
    void init()
    {
        m_installation = std::make_unique<clsTestInstallation>();
        m_dialogs = std::make_unique<fakeDialogs>();
        m_windows = std::make_unique<fakeWindows>();
        m_eventLoop.Resume();
        modBrambury::SetProgramFolder(m_installation->Folder());
        State() = {};
        State().Platform.DBEngine = m_engine.get();
        State().Platform.Disk = m_disk.get();
        State().Platform.Settings = &m_settings;
        State().Platform.Clock = &m_clock;
        State().Platform.Dialogs = m_dialogs.get();
        State().Platform.Windows = m_windows.get();
        State().Platform.EventLoop = &m_eventLoop;
        State().Settings.DataPath = m_installation->DataPath();
    }
    void cleanup()
    {
        modBrambury::CloseProcessDatabase();
        QVERIFY(m_dialogs->expected.isEmpty());
    }

    void search()
    {
        clsDAO dao(State().Workspace.get());
        const auto links = dao.OpenTable(Db(), u"tblLinkList"_s);
        QCOMPARE(dao.Source(), u"tblLinkList"_s);
        QVERIFY(!dao.Search(*links, u"this is no criteria at all"_s)); // an empty set is not searched
        for (const auto& title : {u"a"_s, u"b"_s, u"c"_s})
            Link(title);
        links->Requery();
        const auto from = [&](const QString& criteria, bool keep) {
            links->MoveLast();
            const bool found = dao.Search(*links, criteria, keep);
            return links->Field(u"Title"_s).toString() + (found ? u" found"_s : u" not found"_s);
        };
        QCOMPARE(from(u"Title = \"A\""_s, false), u"a found"_s);
        QCOMPARE(from(u"Title = \"a\""_s, true), u"c found"_s); // the place is kept
        QCOMPARE(from(u"Title = \"x\""_s, false), u"c not found"_s);
        QCOMPARE(from(u""_s, false), u"c not found"_s);
        QVERIFY(dao.Search(*links, clsDAO::NumberCriteria(u"ID"_s, links->BookmarkAt(1))));
        links->MoveLast();
        links->MoveNext();
        QVERIFY(dao.Search(*links, u"Title = \"a\""_s, true)); // no place to go back to
        QVERIFY(!links->AfterLast());

        const QStringList names{u"the \"old\" mill"_s, u"\""_s, u"it's"_s, u"a = \"b\""_s};
        for (const QString& name : names)
            clsTestInstallation::AddSite(Db(), name);
        const auto sites = Db().OpenRecordset(u"tblSites"_s);
        for (const QString& name : names) {
            QVERIFY(dao.Search(*sites, clsDAO::TextCriteria(u"SiteID"_s, name.toUpper())));
            QCOMPARE(sites->Field(u"SiteID"_s).toString(), name);
        }
        QVERIFY(m_windows->lastDetails.isEmpty());
    }

    void failuresAreReported()
    {
        clsDAO dao(State().Workspace.get());
        QVERIFY(!dao.OpenTable(Db(), u"tblNothing"_s));
        QCOMPARE(LastError(), u"3265 OpenTable"_s);
        Link(u"a"_s);
        QVERIFY(!dao.Search(*Db().OpenRecordset(u"tblLinkList"_s), u"Nothing = 1"_s));
        QCOMPARE(LastError(), u"3265 Search"_s);
        QVERIFY(!dao.AddField(Db(), u"tblNothing"_s, u"x"_s, 10, 5));
        QCOMPARE(LastError(), u"3265 AddField"_s);
        QVERIFY(!State().Terminating);

        modBrambury::CloseProcessDatabase();
        QFile::remove(m_installation->DatabasePath());
        QVERIFY(!modDBFunctions::OpenProcessDatabase());
        QCOMPARE(LastError(), u"3024 OpenDB"_s);
        QVERIFY(State().Terminating);
        QCOMPARE(modDBFunctions::LastUse(), modDBFunctions::Use::Free);
        QVERIFY(m_disk->Lock(m_installation->DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive));
    }

    void openProcessDatabase()
    {
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QCOMPARE(State().StatusNames.value(modDataModel::InProcess), u"In-Process"_s);
        QCOMPARE(State().MessageTypes.size(), 8u);
        QVERIFY(State().MessageTypes[0].Offer && !State().MessageTypes[7].Offer);
        // Others may open it as well, but nobody may have it for himself until it is closed.
        const QString lock = m_installation->DataPath() + u"Bramdat.use"_s;
        QVERIFY(m_disk->Lock(lock, clsDisk::Share::Shared));
        QVERIFY(!m_disk->Lock(lock, clsDisk::Share::Exclusive));
        modBrambury::CloseProcessDatabase();
        const auto theirs = m_disk->Lock(lock, clsDisk::Share::Exclusive);
        QVERIFY(theirs);
        m_dialogs->Expect(u"The database is being backed up, restored, compacted or repaired by another copy of "
                          u"Brambury.  Please try again when that has ended."_s);
        QVERIFY(!modDBFunctions::OpenProcessDatabase());
        QCOMPARE(modDBFunctions::LastUse(), modDBFunctions::Use::InUse);
        QVERIFY(!State().Database && m_windows->lastDetails.isEmpty());
    }

    void databaseOfAnotherVersion()
    {
        QByteArray older;
        const QByteArray schema =
            m_disk->ReadFile(clsTestInstallation::Statements(clsTestInstallation::Content::Empty).constFirst());
        for (const QByteArray& line : schema.split('\n'))
            older += line.contains("IPAddress") ? QByteArray() : line + '\n';
        MakeDatabase(older);
        QVERIFY(!m_installation->Open()->Fields(u"tblSites"_s).contains(u"IPAddress"_s));
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        for (const auto& table : {u"tblSites"_s, u"tblLinkList"_s})
            QCOMPARE(Db().FieldSize(table, u"IPAddress"_s), 25);
        // A field that is there already stays as it is.
        clsDAO dao(State().Workspace.get());
        QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"TITLE"_s, 10, 5));
        QCOMPARE(Db().FieldSize(u"tblLinkList"_s, u"Title"_s), 255);
        QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"Rank"_s, 4, 0, 7));
        const qint64 id = Link(u"a"_s, {{u"IPAddress"_s, u""_s}});
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"IPAddress"_s), QVariant(u""_s));
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Rank"_s).toInt(), 7);

        modBrambury::CloseProcessDatabase();
        m_windows->calls.clear();
        MakeDatabase("CREATE TABLE tblSites (SiteID VARCHAR(50) PRIMARY KEY);");
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QCOMPARE(m_windows->calls, (QStringList{u"error exclamation"_s, u"error exclamation"_s}));
        QCOMPARE(LastError(), u"3265 LoadMessageTypes"_s);
    }

    void clearResults()
    {
        const qint64 queued = Link(u"a"_s, {{u"Results"_s, 12}, {u"TestQueue"_s, true}});
        const qint64 idle = Link(u"b"_s, {{u"Results"_s, 1}});
        const qint64 other = Link(u"c"_s, {{u"Results"_s, 4}}, u"Other"_s);
        modBrambury::ClearResults(u"shop"_s);
        const auto results = [&](qint64 id) { return clsTestInstallation::LinkField(Db(), id, u"Results"_s).toInt(); };
        QCOMPARE(results(queued) + results(idle), 0);
        QCOMPARE(results(other), 4);
    }

    void shippedTemplatesAndTags()
    {
        QStringList tags;
        const auto list = Db().OpenRecordset(u"qryTagListPro"_s);
        for (; !list->AfterLast(); list->MoveNext()) {
            tags << list->Field(u"FieldTag"_s).toString();
            QVERIFY2(Db().Fields(list->Field(u"TableMap"_s).toString()).contains(list->Field(u"FieldMap"_s).toString()),
                     qPrintable(tags.constLast()));
        }
        static const QRegularExpression tag(u"\\[[^\\]]*\\]"_s);
        const auto templates = Db().OpenRecordset(u"tblMailMessages"_s);
        QList<int> types;
        for (; !templates->AfterLast(); templates->MoveNext()) {
            QCOMPARE(templates->Field(u"Template"_s), QVariant(u"DEFAULT"_s));
            types << templates->Field(u"Type"_s).toInt();
            const QString text = templates->Field(u"Subject"_s).toString() + templates->Field(u"Body"_s).toString();
            for (auto used = tag.globalMatch(text); used.hasNext();) {
                const QString name = used.next().captured();
                QVERIFY2(tags.contains(name), qPrintable(name)); // any other would be sent as it stands
            }
        }
        QCOMPARE(types, (QList<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    }

    void sampleHoldsTogether()
    {
        const clsTestInstallation sample(clsTestInstallation::Content::Sample);
        const auto file = sample.Open();
        const auto count = [&](const QString& source) { return file->OpenRecordset(source)->RecordCount(); };
        QCOMPARE(count(u"tblSites"_s), 2);
        QCOMPARE(count(u"tblCategory"_s), 6);
        QCOMPARE(count(u"SELECT DISTINCT Status FROM tblLinkList"_s), 6);
        QCOMPARE(count(u"qryTestLinks"_s), 15);
        QVERIFY(count(u"qrySendEmail"_s) > 0);
        QCOMPARE(count(u"SELECT ID FROM tblLinkList WHERE SiteName NOT IN (SELECT SiteID FROM tblSites)"_s), 0);
        QCOMPARE(count(u"SELECT tblLinkList.ID FROM tblLinkList LEFT JOIN tblCategory ON tblCategory.ID = CategoryID "
                       u"WHERE CategoryID IS NOT NULL AND (SiteID IS NULL OR SiteID <> SiteName)"_s),
                 0);
        QCOMPARE(count(u"SELECT ID FROM tblLinkList WHERE HomePage NOT LIKE 'http://www.%.localhost:28480/'"_s), 0);
    }

    void codes()
    {
        using modDataModel::SortField;
        QCOMPARE(SortField(0), u"EmailQueue"_s);
        QCOMPARE(SortField(11), u"Results"_s);
        QCOMPARE(SortField(modDataModel::SortNatural), u"ID"_s);
        QCOMPARE(SortField(20), u"CategoryID"_s); // by its number
        for (const int code : {-1, 12, 13, 15, 19, 21, 25})
            QCOMPARE(SortField(code), QString());
        for (int code = 0; code < 25; ++code) // what is named can be sorted by
            Db().OpenRecordset(u"tblLinkList"_s)->SetSort(SortField(code));

        using enum modDataModel::Ball;
        const std::pair<int, modDataModel::Ball> balls[] = {{0, None},  {1, Green},    {3, None},     {4, Red},
                                                            {252, Red}, {256, Yellow}, {260, Yellow}, {768, Yellow}};
        for (const auto& [results, ball] : balls)
            QVERIFY2(modDataModel::BallOf(results) == ball, qPrintable(QString::number(results)));
    }
};

QTEST_GUILESS_MAIN(tst_data)
#include "tst_data.moc"
