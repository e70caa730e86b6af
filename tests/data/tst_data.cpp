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

class tst_data : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void search_data();
    void search();
    void searchOutsideTheRecords();
    void searchWithQuotes();
    void failuresAreReported();
    void addField();
    void openProcessDatabase();
    void olderDatabase();
    void databaseWithoutATable();
    void inUse();
    void clearResults();
    void shippedTemplatesAndTags();
    void sampleHoldsTogether();
    void sortFields_data();
    void sortFields();
    void balls_data();
    void balls();

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
        if (!modBrambury::State().Database && modDBFunctions::OpenProcessDatabase())
            clsTestInstallation::AddSite(*modBrambury::State().Database, u"Shop"_s);
        return *modBrambury::State().Database;
    }
    /// Number and routine of the error last shown.
    QString LastError() const
    {
        const QStringList lines = m_windows->lastDetails.split(u"\r\n"_s);
        return lines.value(1).section(u'\t', 1) + u' ' + lines.value(5).section(u'\t', 1);
    }
};

void tst_data::init()
{
    m_installation = std::make_unique<clsTestInstallation>();
    m_dialogs = std::make_unique<fakeDialogs>();
    m_windows = std::make_unique<fakeWindows>();
    m_eventLoop.Resume();
    modBrambury::SetProgramFolder(m_installation->Folder());
    modBrambury::ProcessState& state = modBrambury::State();
    state = {};
    state.Platform.DBEngine = m_engine.get();
    state.Platform.Disk = m_disk.get();
    state.Platform.Settings = &m_settings;
    state.Platform.Clock = &m_clock;
    state.Platform.Dialogs = m_dialogs.get();
    state.Platform.Windows = m_windows.get();
    state.Platform.EventLoop = &m_eventLoop;
    state.Settings.DataPath = m_installation->DataPath();
}

void tst_data::cleanup()
{
    modBrambury::CloseProcessDatabase();
    QVERIFY(m_dialogs->expected.isEmpty());
}

void tst_data::search_data()
{
    QTest::addColumn<QString>("criteria");
    QTest::addColumn<bool>("keep");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QString>("current"); // the search starts on "c"
    QTest::newRow("found") << u"Title = \"A\""_s << false << true << u"a"_s;
    QTest::newRow("found, place kept") << u"Title = \"a\""_s << true << true << u"c"_s;
    QTest::newRow("not found") << u"Title = \"x\""_s << false << false << u"c"_s;
    QTest::newRow("empty criteria") << u""_s << false << false << u"c"_s;
}

void tst_data::search()
{
    QFETCH(QString, criteria);
    QFETCH(bool, keep);
    QFETCH(bool, found);
    for (const char16_t title : {u'a', u'b', u'c'})
        clsTestInstallation::AddLink(Db(), u"Shop"_s, QString(QChar(title)));
    clsDAO dao(modBrambury::State().Workspace.get());
    const auto links = dao.OpenTable(Db(), u"tblLinkList"_s);
    QCOMPARE(dao.Source(), u"tblLinkList"_s);
    links->MoveLast();
    QCOMPARE(dao.Search(*links, criteria, keep), found);
    QTEST(links->Field(u"Title"_s).toString(), "current");
}

void tst_data::searchOutsideTheRecords()
{
    clsDAO dao(modBrambury::State().Workspace.get());
    const auto links = Db().OpenRecordset(u"tblLinkList"_s);
    QVERIFY(!dao.Search(*links, u"this is no criteria at all"_s)); // an empty set is not searched
    clsTestInstallation::AddLink(Db(), u"Shop"_s, u"a"_s);
    links->Requery();
    links->MoveNext();
    QVERIFY(links->AfterLast());
    QVERIFY(dao.Search(*links, u"Title = \"a\""_s, true)); // no place to go back to
    QVERIFY(!links->AfterLast());
    QVERIFY(m_windows->lastDetails.isEmpty());
}

void tst_data::searchWithQuotes()
{
    clsDAO dao(modBrambury::State().Workspace.get());
    for (const char16_t* name : {u"the \"old\" mill", u"\"", u"it's", u"a = \"b\""})
        clsTestInstallation::AddSite(Db(), QString::fromUtf16(name));
    const auto sites = Db().OpenRecordset(u"tblSites"_s);
    for (const char16_t* name : {u"the \"OLD\" mill", u"\"", u"it's", u"a = \"b\""}) {
        const QString wanted = QString::fromUtf16(name);
        QVERIFY(dao.Search(*sites, clsDAO::TextCriteria(u"SiteID"_s, wanted)));
        QCOMPARE(sites->Field(u"SiteID"_s).toString().compare(wanted, Qt::CaseInsensitive), 0);
    }
    const qint64 id = clsTestInstallation::AddLink(Db(), u"Shop"_s, u"x"_s);
    const auto links = Db().OpenRecordset(u"tblLinkList"_s);
    QVERIFY(dao.Search(*links, clsDAO::NumberCriteria(u"ID"_s, id)));
}

void tst_data::failuresAreReported()
{
    clsDAO dao(modBrambury::State().Workspace.get());
    QVERIFY(!dao.OpenTable(Db(), u"tblNothing"_s));
    QCOMPARE(LastError(), u"3265 OpenTable"_s);
    clsTestInstallation::AddLink(Db(), u"Shop"_s, u"a"_s);
    QVERIFY(!dao.Search(*Db().OpenRecordset(u"tblLinkList"_s), u"Nothing = 1"_s));
    QCOMPARE(LastError(), u"3265 Search"_s);
    QVERIFY(!dao.AddField(Db(), u"tblNothing"_s, u"x"_s, 10, 5));
    QCOMPARE(LastError(), u"3265 AddField"_s);
    QVERIFY(!modBrambury::State().Terminating);

    modBrambury::CloseProcessDatabase();
    QFile::remove(m_installation->DatabasePath());
    QVERIFY(!modDBFunctions::OpenProcessDatabase());
    QCOMPARE(LastError(), u"3024 OpenDB"_s);
    QVERIFY(modBrambury::State().Terminating);
    QCOMPARE(modDBFunctions::LastUse(), modDBFunctions::Use::Free);
    QVERIFY(m_disk->Lock(m_installation->DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive));
}

void tst_data::addField()
{
    clsDAO dao(modBrambury::State().Workspace.get());
    QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"Title"_s, 4, 0));
    QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"TITLE"_s, 10, 5));
    QCOMPARE(Db().FieldSize(u"tblLinkList"_s, u"Title"_s), 255);
    QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"Rank"_s, 4, 0, 7));
    clsTestInstallation::AddLink(Db(), u"Shop"_s, u"a"_s);
    QCOMPARE(Db().OpenRecordset(u"tblLinkList"_s)->Field(u"Rank"_s).toInt(), 7);
    QVERIFY(m_windows->lastDetails.isEmpty());
}

void tst_data::openProcessDatabase()
{
    QVERIFY(modDBFunctions::OpenProcessDatabase());
    const modBrambury::ProcessState& state = modBrambury::State();
    QCOMPARE(state.StatusNames.value(modDataModel::InProcess), u"In-Process"_s);
    QCOMPARE(state.MessageTypes.size(), 8u);
    QVERIFY(state.MessageTypes[0].Offer);
    QVERIFY(!state.MessageTypes[7].Offer);
    // Others may open it as well, but nobody may have it for himself until it is closed.
    const QString lock = m_installation->DataPath() + u"Bramdat.use"_s;
    QVERIFY(m_disk->Lock(lock, clsDisk::Share::Shared));
    QVERIFY(!m_disk->Lock(lock, clsDisk::Share::Exclusive));
    modBrambury::CloseProcessDatabase();
    QVERIFY(m_disk->Lock(lock, clsDisk::Share::Exclusive));
}

void tst_data::olderDatabase()
{
    QFile schema(clsTestInstallation::Statements(clsTestInstallation::Content::Empty).constFirst());
    QVERIFY(schema.open(QIODevice::ReadOnly));
    QByteArray older;
    for (QByteArray line = schema.readLine(); !line.isEmpty(); line = schema.readLine())
        older += line.contains("IPAddress") ? QByteArray() : line;
    const QString statements = m_installation->Folder() + u"/older.sql"_s;
    m_disk->WriteFile(statements, older);
    modDatabaseMaker::MakeDatabase(m_installation->DatabasePath(), u"SandDune"_s, {statements});
    QVERIFY(!m_installation->Open()->Fields(u"tblSites"_s).contains(u"IPAddress"_s));

    QVERIFY(modDBFunctions::OpenProcessDatabase());
    for (const auto& table : {u"tblSites"_s, u"tblLinkList"_s})
        QCOMPARE(Db().FieldSize(table, u"IPAddress"_s), 25);
    const qint64 id = clsTestInstallation::AddLink(Db(), u"Shop"_s, u"a"_s, {{u"IPAddress"_s, u""_s}});
    QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"IPAddress"_s), QVariant(u""_s));
}

void tst_data::databaseWithoutATable()
{
    const QString statements = m_installation->Folder() + u"/part.sql"_s;
    m_disk->WriteFile(statements, "CREATE TABLE tblSites (SiteID VARCHAR(50) PRIMARY KEY);");
    modDatabaseMaker::MakeDatabase(m_installation->DatabasePath(), u"SandDune"_s, {statements});
    QVERIFY(modDBFunctions::OpenProcessDatabase());
    QCOMPARE(m_windows->calls, (QStringList{u"error exclamation"_s, u"error exclamation"_s}));
    QCOMPARE(LastError(), u"3265 LoadMessageTypes"_s);
}

void tst_data::inUse()
{
    const auto theirs = m_disk->Lock(m_installation->DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive);
    m_dialogs->Expect(u"The database is being backed up, restored, compacted or repaired by another copy of Brambury.  "
                      u"Please try again when that has ended."_s);
    QVERIFY(!modDBFunctions::OpenProcessDatabase());
    QCOMPARE(modDBFunctions::LastUse(), modDBFunctions::Use::InUse);
    QVERIFY(!modBrambury::State().Database);
    QVERIFY(m_windows->lastDetails.isEmpty());
}

void tst_data::clearResults()
{
    clsTestInstallation::AddSite(Db(), u"Other"_s);
    const qint64 queued =
        clsTestInstallation::AddLink(Db(), u"Shop"_s, u"a"_s, {{u"Results"_s, 12}, {u"TestQueue"_s, true}});
    const qint64 idle = clsTestInstallation::AddLink(Db(), u"Shop"_s, u"b"_s, {{u"Results"_s, 1}});
    const qint64 other = clsTestInstallation::AddLink(Db(), u"Other"_s, u"c"_s, {{u"Results"_s, 4}});
    modBrambury::ClearResults(u"shop"_s);
    const auto results = [&](qint64 id) { return clsTestInstallation::LinkField(Db(), id, u"Results"_s).toInt(); };
    QCOMPARE(results(queued) + results(idle), 0);
    QCOMPARE(results(other), 4);
}

void tst_data::shippedTemplatesAndTags()
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

void tst_data::sampleHoldsTogether()
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

void tst_data::sortFields_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("field");
    QTest::newRow("first") << 0 << u"EmailQueue"_s;
    QTest::newRow("results") << 11 << u"Results"_s;
    QTest::newRow("natural order") << modDataModel::SortNatural << u"ID"_s;
    QTest::newRow("category is sorted by number") << 20 << u"CategoryID"_s;
    for (const int code : {-1, 12, 13, 15, 19, 21, 25})
        QTest::addRow("none for %d", code) << code << QString();
}

void tst_data::sortFields()
{
    QFETCH(int, code);
    QTEST(modDataModel::SortField(code), "field");
    // Every field that is named can be sorted by, and an empty one leaves the order alone.
    Db().OpenRecordset(u"tblLinkList"_s)->SetSort(modDataModel::SortField(code));
}

void tst_data::balls_data()
{
    QTest::addColumn<int>("results");
    QTest::addColumn<modDataModel::Ball>("ball");
    QTest::newRow("cleared") << 0 << modDataModel::Ball::None;
    QTest::newRow("passed") << 1 << modDataModel::Ball::Green;
    QTest::newRow("no failure code") << 3 << modDataModel::Ball::None;
    QTest::newRow("link missing") << 4 << modDataModel::Ball::Red;
    QTest::newRow("all below undetermined") << 252 << modDataModel::Ball::Red;
    QTest::newRow("undetermined") << 256 << modDataModel::Ball::Yellow;
    QTest::newRow("undetermined and missing") << 260 << modDataModel::Ball::Yellow;
    QTest::newRow("both pages undetermined") << 768 << modDataModel::Ball::Yellow;
}

void tst_data::balls()
{
    QFETCH(int, results);
    QTEST(modDataModel::BallOf(results), "ball");
}

QTEST_GUILESS_MAIN(tst_data)
#include "tst_data.moc"
