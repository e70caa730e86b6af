// SPDX-License-Identifier: GPL-3.0-or-later
// The database engine on real encrypted files: what a record set promises, and what becomes of broken, locked and full
// ones.
#include "platform/clsError.h"
#include "platform/impl/modDatabaseMaker.h"
#include "platform/impl/modPlatformImpl.h"
#include "support/installation.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <csignal>
#include <functional>
#include <optional>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

using ErrorNumber = enum clsError::Number;

namespace
{
/// The number of the clsError that `body` raises, 0 when it raises none.
ErrorNumber ErrorOf(const std::function<void()>& body)
{
    try {
        body();
    } catch (const clsError& error) {
        return static_cast<ErrorNumber>(error.Number());
    }
    return static_cast<ErrorNumber>(0);
}

/// A field of every record, in the set's order.
QVariantList Column(clsRecordset& set, const QString& field)
{
    QVariantList values;
    for (set.MoveFirst(); !set.AfterLast(); set.MoveNext())
        values << set.Field(field);
    return values;
}

QStringList Texts(clsRecordset& set, const QString& field)
{
    QStringList texts;
    const QVariantList values = Column(set, field);
    for (const QVariant& value : values)
        texts << value.toString();
    return texts;
}

std::unique_ptr<clsRecordset> OpenQuery(clsDatabase& database, const QString& name,
                                        const QHash<QString, QVariant>& parameters)
{
    const auto query = database.QueryDef(name);
    for (auto parameter = parameters.cbegin(); parameter != parameters.cend(); ++parameter)
        query->SetParameter(parameter.key(), parameter.value());
    return query->OpenRecordset();
}

std::unique_ptr<clsRecordset> OpenLinks(clsDatabase& database, const QString& site, int low = -1, int high = 99)
{
    return OpenQuery(database, u"qryLinkList"_s, {{u"Site"_s, site}, {u"StatusLow"_s, low}, {u"StatusHigh"_s, high}});
}

void Set(clsRecordset& set, const QString& field, const QVariant& value)
{
    set.Edit();
    set.SetField(field, value);
    set.Update();
}
} // namespace

class tst_database : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void recordSetKeepsItsKeys();
    void recordsDeletedElsewhereAreSkipped();
    void changesElsewhereAreSeen();
    void addingEditingDeleting();
    void valuesSuitTheirFields();
    void findFirst_data();
    void findFirst();
    void findFirstStaysInTheSet();
    void sorting();
    void sortedSetsOfTheLanguage();
    void rowsInBatches();
    void joinedFieldsAreReadOnly();
    void statementsWithTexts();
    void statusBoundsAreExclusive();
    void emailQueueValues();
    void linksPageOrder();
    void copySite();
    void keysAreNeverReused();
    void queryParameters();
    void transactionsNest();
    void closedAndOpenedAgain();
    void addField();
    void filesThatDoNotOpen_data();
    void filesThatDoNotOpen();
    void lockedByAnother();
    void fullDisk();

private:
    std::unique_ptr<clsTestInstallation> m_installation;
    std::optional<clsTestInstallation::Opened> m_file;
    clsDatabase& Db() { return **m_file; }
    qint64 Link(const QString& title, const clsRecordValues& values = {})
    {
        return clsTestInstallation::AddLink(Db(), u"Shop"_s, title, values);
    }
};

void tst_database::init()
{
    m_installation = std::make_unique<clsTestInstallation>();
    m_file = m_installation->Open();
    clsTestInstallation::AddSite(Db(), u"Shop"_s);
}

void tst_database::cleanup()
{
    m_file.reset();
    m_installation.reset();
}

void tst_database::recordSetKeepsItsKeys()
{
    for (const char16_t* title : {u"a", u"b", u"c"})
        Link(QString::fromUtf16(title), {{u"TestQueue"_s, true}});
    const auto queue = Db().OpenRecordset(u"qryTestLinks"_s);
    QStringList seen;
    for (; !queue->AfterLast(); queue->MoveNext()) {
        Set(*queue, u"TestQueue"_s, false);
        seen << queue->Field(u"Title"_s).toString();
    }
    QCOMPARE(seen, (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    QCOMPARE(queue->RecordCount(), 3);
    queue->Requery();
    QCOMPARE(queue->RecordCount(), 0);
    QVERIFY(queue->BeforeFirst());
    QVERIFY(queue->AfterLast());
    queue->MoveLast();
    queue->MovePrevious();
    QVERIFY(queue->AfterLast());
    QCOMPARE(ErrorOf([&] { (void)queue->Field(u"Title"_s); }), clsError::NoCurrentRecord);
}

void tst_database::recordsDeletedElsewhereAreSkipped()
{
    QList<qint64> ids;
    for (int i = 0; i < 6; ++i)
        ids << Link(QString::number(i));
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const auto other = m_installation->Open();
    const auto remove = [&](qint64 id) {
        other->OpenRecordset(u"SELECT * FROM tblLinkList WHERE ID = %1"_s.arg(id))->Delete();
    };
    remove(ids[1]);
    remove(ids[2]);
    remove(ids[5]);
    links->MoveNext();
    QCOMPARE(links->Bookmark(), ids[3]);
    links->MovePrevious();
    QCOMPARE(links->Bookmark(), ids[0]);
    links->MoveLast();
    QCOMPARE(links->Bookmark(), ids[4]);
    links->MoveTo(ids[5]);
    QCOMPARE(ErrorOf([&] { links->Edit(); }), clsError::NoCurrentRecord);
    const auto rows = links->Rows(0, 100, {u"Title"_s});
    QCOMPARE(rows.size(), 6u);
    QVERIFY(rows[1].empty());
    QCOMPARE(rows[3][0], QVariant(u"3"_s));
    links->Requery();
    QCOMPARE(links->RecordCount(), 3);
}

void tst_database::changesElsewhereAreSeen()
{
    Link(u"one"_s);
    Link(u"two"_s);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const auto clone = links->Clone();
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"one"_s));
    Set(*clone, u"Title"_s, u"ONE"_s);
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"ONE"_s)); // same file handle: at once
    const auto other = m_installation->Open();
    Set(*other->OpenRecordset(u"tblLinkList"_s), u"Title"_s, u"One"_s);
    QTRY_COMPARE(links->Field(u"Title"_s), QVariant(u"One"_s)); // another program: within a moment
}

void tst_database::addingEditingDeleting()
{
    const qint64 first = Link(u"first"_s, {{u"Offers"_s, 3}});
    const auto links = OpenLinks(Db(), u"shop"_s);
    links->AddNew();
    links->SetField(u"SiteName"_s, u"Shop"_s);
    links->SetField(u"Title"_s, u"second"_s);
    links->SetField(u"Comments"_s, QVariant());
    QCOMPARE(links->Field(u"title"_s), QVariant(u"second"_s));
    links->Update();
    const clsBookmark added = links->LastModified();
    QCOMPARE(links->Bookmark(), first); // adding does not move
    QCOMPARE(links->PositionOf(added), 1);
    links->MoveTo(added);
    QCOMPARE(links->Field(u"ID"_s).toLongLong(), added);
    QVERIFY(links->Field(u"Comments"_s).isNull());
    QCOMPARE(links->Field(u"Status"_s).toInt(), 0);

    // Only the fields that were set are written: what somebody else wrote meanwhile stays.
    links->MoveTo(first);
    links->Edit();
    const auto clone = links->Clone();
    Set(*clone, u"Offers"_s, 4);
    links->SetField(u"Title"_s, u"it's \"mine\""_s);
    links->Update();
    QCOMPARE(links->Field(u"Offers"_s).toInt(), 4);
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"it's \"mine\""_s));
    links->Edit();
    links->SetField(u"Title"_s, u"dropped"_s);
    links->CancelUpdate();
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"it's \"mine\""_s));

    links->Delete();
    QCOMPARE(links->Bookmark(), added);
    links->Delete();
    QVERIFY(links->AfterLast());
    QCOMPARE(clone->RecordCount(), 2); // a clone keeps its own keys
    QCOMPARE(ErrorOf([&] { links->SetField(u"Title"_s, u"x"_s); }), clsError::EngineFailure);
}

void tst_database::valuesSuitTheirFields()
{
    const qint64 id = Link(u"x"_s);
    const auto links = Db().OpenRecordset(u"tblLinkList"_s);
    Set(*links, u"TestQueue"_s, true);
    QCOMPARE(links->Field(u"TestQueue"_s), QVariant(1));
    Set(*links, u"Offers"_s, u"12"_s);
    QCOMPARE(links->Field(u"Offers"_s).metaType().id(), QMetaType::LongLong);
    Set(*links, u"IPAddress"_s, u""_s);
    QVERIFY(!clsTestInstallation::LinkField(Db(), id, u"IPAddress"_s).isNull());
    links->Edit();
    QCOMPARE(ErrorOf([&] { links->SetField(u"Offers"_s, u"many"_s); }), clsError::TypeMismatch);
    QCOMPARE(ErrorOf([&] { links->SetField(u"Offer"_s, 1); }), clsError::UnknownItem);
    links->SetField(u"IPAddress"_s, QString(26, u'1'));
    QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::EngineFailure);
    QCOMPARE(ErrorOf([&] { clsTestInstallation::AddSite(Db(), u"SHOP"_s); }), clsError::DuplicateKey);
    QCOMPARE(ErrorOf([&] { clsTestInstallation::AddSite(Db(), QString(51, u'x')); }), clsError::EngineFailure);

    const auto sites = Db().OpenRecordset(u"tblSites"_s);
    Set(*sites, u"SiteID"_s, u"SHOP"_s); // the same record in other letters is no duplicate
    QCOMPARE(OpenLinks(Db(), u"SHOP"_s)->RecordCount(), 1);
}

void tst_database::findFirst_data()
{
    QTest::addColumn<QString>("criteria");
    QTest::addColumn<QString>("found"); // title, empty: nothing matches
    QTest::newRow("text in other letters") << u"Title = \"SAY \"\"hi\"\"\""_s << u"say \"hi\""_s;
    QTest::newRow("apostrophe") << u"Title=\"it's\""_s << u"it's"_s;
    QTest::newRow("first in the set's order") << u"Status = 3"_s << u"it's"_s;
    QTest::newRow("empty text is not Null") << u"Description = \"\""_s << u"say \"hi\""_s;
    QTest::newRow("number as text") << u"Status = \"3\""_s << u"it's"_s;
    QTest::newRow("negative number") << u"Offers = -1"_s << u"umlaut \u00e4"_s;
    QTest::newRow("other letters") << u"Title = \"Umlaut \u00e4\""_s << u"umlaut \u00e4"_s;
    QTest::newRow("a field's name as text") << u"Title = \"Title\""_s << QString();
    QTest::newRow("nothing") << u"Title = \"it\""_s << QString();
    QTest::newRow("wild cards mean themselves") << u"Title = \"it%\""_s << QString();
}

void tst_database::findFirst()
{
    QFETCH(QString, criteria);
    QFETCH(QString, found);
    Link(u"start"_s);
    Link(u"say \"hi\""_s, {{u"Description"_s, u""_s}});
    Link(u"it's"_s, {{u"Status"_s, 3}});
    Link(u"umlaut \u00e4"_s, {{u"Status"_s, 3}, {u"Offers"_s, -1}});
    const auto links = OpenLinks(Db(), u"Shop"_s);
    QCOMPARE(links->FindFirst(criteria), !found.isEmpty());
    QCOMPARE(links->Field(u"Title"_s).toString(), found.isEmpty() ? u"start"_s : found);
}

void tst_database::findFirstStaysInTheSet()
{
    const qint64 broken = Link(u"same"_s, {{u"Status"_s, 3}});
    Link(u"zzz"_s);
    const qint64 active = Link(u"same"_s);
    const auto links = OpenLinks(Db(), u"Shop"_s, 1, 3);
    QVERIFY(links->FindFirst(u"Title = \"same\""_s));
    QCOMPARE(links->Bookmark(), active);
    QVERIFY(!links->FindFirst(u"ID = %1"_s.arg(broken)));
    QCOMPARE(ErrorOf([&] { links->FindFirst(u"Nothing = 1"_s); }), clsError::UnknownItem);
    QCOMPARE(ErrorOf([&] { links->FindFirst(u"Title like 'x'"_s); }), clsError::EngineFailure);
    // Sorted, "first" is the first of the new order.
    Link(u"aaa"_s, {{u"Status"_s, 2}});
    const auto all = OpenLinks(Db(), u"Shop"_s);
    all->SetSort(u"Title"_s);
    const auto sorted = all->OpenRecordset();
    QVERIFY(sorted->FindFirst(u"Status = 2"_s));
    QCOMPARE(sorted->Field(u"Title"_s), QVariant(u"aaa"_s));
    QCOMPARE(links->Bookmark(), active);
}

void tst_database::sorting()
{
    const qint64 null = Link(u"x1"_s, {{u"Description"_s, QVariant()}});
    const qint64 b = Link(u"x2"_s, {{u"Description"_s, u"b"_s}, {u"Offers"_s, 10}});
    const qint64 upperA = Link(u"x3"_s, {{u"Description"_s, u"A"_s}, {u"Offers"_s, 9}});
    const qint64 a = Link(u"x4"_s, {{u"Description"_s, u"a"_s}, {u"Offers"_s, 10}});
    const qint64 empty = Link(u"x5"_s, {{u"Description"_s, u""_s}});
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const auto orderBy = [&](clsRecordset& set, const QString& field) {
        set.SetSort(field);
        return Column(*set.OpenRecordset(), u"ID"_s);
    };
    QCOMPARE(orderBy(*links, u"Description"_s), (QVariantList{null, empty, upperA, a, b}));
    QCOMPARE(orderBy(*links, u"Offers"_s), (QVariantList{null, empty, upperA, b, a})); // 9 before 10, ties as they were
    QCOMPARE(orderBy(*links, QString()), (QVariantList{null, b, upperA, a, empty}));

    links->SetSort(u"Description"_s);
    const auto sorted = links->OpenRecordset();
    QCOMPARE(orderBy(*sorted, u"Offers"_s),
             (QVariantList{null, empty, upperA, a, b})); // ties in the order sorted before
    Link(u"x6"_s, {{u"Description"_s, u"aa"_s}});
    sorted->Requery();
    QCOMPARE(Texts(*sorted, u"Title"_s), (QStringList{u"x1"_s, u"x5"_s, u"x3"_s, u"x4"_s, u"x6"_s, u"x2"_s}));

    // A few links among many others are read one by one; the order must be the same.
    clsTestInstallation::AddLinks(Db(), u"Other"_s, 60);
    const auto few = OpenLinks(Db(), u"Shop"_s);
    few->SetSort(u"Description"_s);
    QCOMPARE(Texts(*few->OpenRecordset(), u"Title"_s), Texts(*sorted, u"Title"_s));
}

void tst_database::sortedSetsOfTheLanguage()
{
    for (const char16_t* title : {u"zebra", u"\u00c4pfel", u"Banane", u"apfel", u"\u00e9tude", u"Ende", u"fuchs"})
        Link(QString::fromUtf16(title));
    const auto links = OpenLinks(Db(), u"Shop"_s);
    links->SetSort(u"Title"_s);
    QCOMPARE(
        Texts(*links->OpenRecordset(), u"Title"_s),
        (QStringList{u"apfel"_s, u"\u00c4pfel"_s, u"Banane"_s, u"Ende"_s, u"\u00e9tude"_s, u"fuchs"_s, u"zebra"_s}));
}

void tst_database::rowsInBatches()
{
    clsTestInstallation::AddLinks(Db(), u"Shop"_s, 20);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    links->MoveTo(links->BookmarkAt(7));
    const auto rows = links->Rows(18, 5, {u"ID"_s, u"Title"_s});
    QCOMPARE(rows.size(), 2u);
    QCOMPARE(rows[1][0].toLongLong(), links->BookmarkAt(19));
    QCOMPARE(links->PositionOf(links->Bookmark()), 7); // reading does not move
    QVERIFY(links->Rows(20, 5, {u"ID"_s}).empty());
    QCOMPARE(ErrorOf([&] { (void)links->BookmarkAt(20); }), clsError::NoCurrentRecord);
    QCOMPARE(ErrorOf([&] { (void)links->Rows(0, 1, {u"Nothing"_s}); }), clsError::UnknownItem);
    QCOMPARE(links->PositionOf(9999), -1);
}

void tst_database::joinedFieldsAreReadOnly()
{
    Link(u"offer"_s, {{u"Message"_s, 1}, {u"EmailQueue"_s, 1}});
    Link(u"no type"_s, {{u"EmailQueue"_s, 1}});
    const auto queue = Db().OpenRecordset(u"qrySendEmail"_s);
    QCOMPARE(Texts(*queue, u"Title"_s), (QStringList{u"offer"_s, u"no type"_s}));
    queue->MoveFirst();
    QCOMPARE(queue->Field(u"Offer"_s).toInt(), 1);
    Set(*queue, u"EmailQueue"_s, 0);
    QCOMPARE(queue->Field(u"Offer"_s).toInt(), 1); // still known although the link has left the queue
    queue->MoveNext();
    QVERIFY(queue->Field(u"Offer"_s).isNull());
    queue->Edit();
    QCOMPARE(ErrorOf([&] { queue->SetField(u"Offer"_s, 1); }), clsError::EngineFailure);
    queue->SetSort(u"Offer"_s);
    QCOMPARE(Texts(*queue->OpenRecordset(), u"Title"_s), (QStringList{u"no type"_s, u"offer"_s}));

    const auto counts = Db().OpenRecordset(u"SELECT Message, count(*) AS Links FROM tblLinkList GROUP BY Message"_s);
    QCOMPARE(counts->RecordCount(), 2);
    QVERIFY(counts->FindFirst(u"Message = 1"_s));
    QCOMPARE(counts->Field(u"Links"_s).toInt(), 1);
    QCOMPARE(ErrorOf([&] { counts->Edit(); }), clsError::EngineFailure);
}

void tst_database::statementsWithTexts()
{
    // A site may be called like a field of the table, and its name may hold quotes of both kinds.
    for (const char16_t* site : {u"Category", u"the \"best\" site", u"it's"}) {
        const QString id = QString::fromUtf16(site);
        clsTestInstallation::AddCategory(Db(), id, u"only "_s + id);
        QString doubled = id;
        const auto categories =
            Db().OpenRecordset(u"SELECT tblCategory.* From tblCategory WHERE tblCategory.SiteID=\"%1\""_s.arg(
                doubled.replace(u'"', u"\"\""_s)));
        QCOMPARE(Texts(*categories, u"Category"_s), QStringList{u"only "_s + id});
        categories->MoveFirst();
        Set(*categories, u"Category"_s, u"changed"_s);
        QCOMPARE(Texts(*OpenQuery(Db(), u"qryCategories"_s, {{u"Site"_s, id.toUpper()}}), u"Category"_s),
                 QStringList{u"changed"_s});
    }
    QCOMPARE(ErrorOf([&] { (void)Db().OpenRecordset(u"tblNothing"_s); }), clsError::UnknownItem);
    QCOMPARE(ErrorOf([&] { (void)Db().OpenRecordset(u"SELECT * FROM tblNothing"_s); }), clsError::UnknownItem);
}

void tst_database::statusBoundsAreExclusive()
{
    for (int status = 0; status < 6; ++status)
        Link(QString::number(status), {{u"Status"_s, status}});
    QCOMPARE(Texts(*OpenLinks(Db(), u"Shop"_s, -1, 4), u"Title"_s), (QStringList{u"0"_s, u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(Texts(*OpenLinks(Db(), u"Shop"_s, 4, 6), u"Title"_s), QStringList{u"5"_s});
    QCOMPARE(OpenLinks(Db(), u"Shop"_s)->RecordCount(), 6);
    const auto templates = [&](int low, int high) {
        return Column(*OpenQuery(Db(), u"qryMailMessages"_s, {{u"IDLow"_s, low}, {u"IDHigh"_s, high}}), u"Type"_s);
    };
    QCOMPARE(templates(2, 4), QVariantList{3});
    QCOMPARE(templates(0, 999).size(), 8);
}

void tst_database::emailQueueValues()
{
    Link(u"no"_s, {{u"EmailQueue"_s, 0}});
    Link(u"queued"_s, {{u"EmailQueue"_s, 1}});
    Link(u"not to be sent"_s, {{u"EmailQueue"_s, 2}});
    Link(u"unset"_s, {{u"EmailQueue"_s, QVariant()}, {u"TestQueue"_s, QVariant()}});
    Link(u"converted"_s, {{u"EmailQueue"_s, -1}, {u"TestQueue"_s, -1}});
    QCOMPARE(Texts(*Db().OpenRecordset(u"qrySendEmail"_s), u"Title"_s), (QStringList{u"queued"_s, u"converted"_s}));
    QCOMPARE(Texts(*Db().OpenRecordset(u"qryTestLinks"_s), u"Title"_s), QStringList{u"converted"_s});
}

void tst_database::linksPageOrder()
{
    const qint64 misc = clsTestInstallation::AddCategory(Db(), u"Shop"_s, u"Miscellaneous"_s);
    const qint64 upper = clsTestInstallation::AddCategory(Db(), u"Shop"_s, u"Art"_s);
    const qint64 lower = clsTestInstallation::AddCategory(Db(), u"Shop"_s, u"art"_s);
    Link(u"d"_s, {{u"CategoryID"_s, misc}});
    Link(u"c"_s);
    Link(u"b"_s, {{u"CategoryID"_s, lower}});
    Link(u"c"_s, {{u"CategoryID"_s, upper}, {u"Exported"_s, u"01/05/2026"_s}});
    Link(u"A"_s, {{u"CategoryID"_s, upper}, {u"Status"_s, 5}});
    const auto page = [&](bool all) {
        return OpenQuery(Db(), u"qryLinkListView"_s, {{u"Site"_s, u"Shop"_s}, {u"IncludeAll"_s, all}});
    };
    QCOMPARE(Texts(*page(true), u"LinkCategory"_s),
             (QStringList{u"Art"_s, u"Art"_s, u"art"_s, QString(), u"Miscellaneous"_s}));
    QCOMPARE(Texts(*page(true), u"Title"_s), (QStringList{u"A"_s, u"c"_s, u"b"_s, u"c"_s, u"d"_s}));
    QCOMPARE(Texts(*page(false), u"Title"_s), (QStringList{u"A"_s, u"b"_s, u"c"_s, u"d"_s}));
}

void tst_database::copySite()
{
    clsTestInstallation::AddSite(Db(), u"Other"_s);
    const qint64 foreign = clsTestInstallation::AddCategory(Db(), u"Other"_s, u"Foreign"_s);
    const qint64 zoo = clsTestInstallation::AddCategory(Db(), u"Shop"_s, u"Zoo"_s);
    clsTestInstallation::AddCategory(Db(), u"Other"_s, u"Between"_s);
    const qint64 art = clsTestInstallation::AddCategory(Db(), u"Shop"_s, u"Art"_s);
    clsTestInstallation::AddCategory(Db(), u"Copy"_s, u"Orphan of a former site"_s);
    Link(u"in Zoo"_s, {{u"CategoryID"_s, zoo}, {u"TestQueue"_s, true}, {u"Comments"_s, u"c"_s}, {u"Results"_s, 12}});
    Link(u"in Art"_s, {{u"CategoryID"_s, art}, {u"EmailQueue"_s, 1}, {u"Status"_s, 3}});
    Link(u"in none"_s);
    Link(u"in a deleted one"_s, {{u"CategoryID"_s, 999}});
    Link(u"in a foreign one"_s, {{u"CategoryID"_s, foreign}});
    const auto copy = [&] {
        const auto query = Db().QueryDef(u"qryCopySite"_s);
        query->SetParameter(u"SiteID"_s, u"shop"_s);
        query->SetParameter(u"NewSiteID"_s, u"Copy"_s);
        return query->Execute();
    };
    QCOMPARE(copy(), 5);
    const auto copied = OpenLinks(Db(), u"Copy"_s);
    QHash<QString, QString> categories;
    for (; !copied->AfterLast(); copied->MoveNext()) {
        const auto category = Db().OpenRecordset(
            u"SELECT * FROM tblCategory WHERE ID = %1"_s.arg(copied->Field(u"CategoryID"_s).toLongLong()));
        if (category->RecordCount() > 0)
            categories[copied->Field(u"Title"_s).toString()] =
                category->Field(u"SiteID"_s).toString() + u'/' + category->Field(u"Category"_s).toString();
        QCOMPARE(copied->Field(u"EmailQueue"_s).toInt() + copied->Field(u"TestQueue"_s).toInt(), 0);
    }
    QCOMPARE(categories, (QHash<QString, QString>{{u"in Zoo"_s, u"Copy/Zoo"_s},
                                                  {u"in Art"_s, u"Copy/Art"_s},
                                                  {u"in a foreign one"_s, u"Other/Foreign"_s}}));
    QVERIFY(copied->FindFirst(u"Title = \"in Zoo\""_s));
    QCOMPARE(copied->Field(u"Comments"_s), QVariant(u"c"_s));
    QCOMPARE(copied->Field(u"Results"_s).toInt(), 12);
    QCOMPARE(OpenLinks(Db(), u"Shop"_s)->RecordCount(), 5);
    // Nothing of a second copy under the same name stays.
    QCOMPARE(ErrorOf([&] { copy(); }), clsError::DuplicateKey);
    QCOMPARE(OpenLinks(Db(), u"Copy"_s)->RecordCount(), 5);
    QCOMPARE(Db().OpenRecordset(u"tblCategory"_s)->RecordCount(), 7);
}

void tst_database::keysAreNeverReused()
{
    const auto addAndDelete = [&](const QString& table, const QString& text) {
        const auto set = Db().OpenRecordset(table);
        set->AddNew();
        set->SetField(text, u"x"_s);
        set->Update();
        set->MoveTo(set->LastModified());
        set->Delete();
        return set->LastModified();
    };
    for (const auto& [table, text] :
         {std::pair(u"tblLinkList"_s, u"Title"_s), std::pair(u"tblCategory"_s, u"Category"_s),
          std::pair(u"tblMailMessages"_s, u"Template"_s)})
        QVERIFY(addAndDelete(table, text) < addAndDelete(table, text));
}

void tst_database::queryParameters()
{
    const auto query = Db().QueryDef(u"QRYLINKLIST"_s);
    QCOMPARE(ErrorOf([&] { query->SetParameter(u"SiteID"_s, u"Shop"_s); }), clsError::UnknownItem);
    query->SetParameter(u"Site"_s, u"Shop"_s);
    QCOMPARE(ErrorOf([&] { (void)query->OpenRecordset(); }), clsError::EngineFailure); // bounds not set
    QCOMPARE(ErrorOf([&] { (void)Db().QueryDef(u"qryNothing"_s); }), clsError::UnknownItem);
}

void tst_database::transactionsNest()
{
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const auto seenByOthers = [&] { return m_installation->Open()->OpenRecordset(u"tblLinkList"_s)->RecordCount(); };
    {
        clsTransaction outer(Db());
        Link(u"kept"_s);
        {
            clsTransaction inner(Db());
            Link(u"inner, dropped"_s);
        }
        {
            clsTransaction inner(Db());
            Link(u"inner, kept"_s);
            inner.Commit();
        }
        QCOMPARE(seenByOthers(), 0);
        outer.Commit();
    }
    QCOMPARE(seenByOthers(), 2);
    {
        clsTransaction outer(Db());
        clsTransaction inner(Db());
        Link(u"dropped with the outer one"_s);
        inner.Commit();
    }
    links->Requery();
    QCOMPARE(Texts(*links, u"Title"_s), (QStringList{u"kept"_s, u"inner, kept"_s}));
}

void tst_database::closedAndOpenedAgain()
{
    const qint64 id = Link(u"one"_s);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const auto query = Db().QueryDef(u"qryTestLinks"_s);
    Db().Close();
    QVERIFY(!Db().IsOpen());
    const QList<std::function<void()>> operations{[&] { (void)links->RecordCount(); },
                                                  [&] { (void)links->Field(u"Title"_s); },
                                                  [&] { links->MoveNext(); },
                                                  [&] { links->Edit(); },
                                                  [&] { links->Requery(); },
                                                  [&] { (void)links->Clone(); },
                                                  [&] { (void)links->Rows(0, 1, {}); },
                                                  [&] { links->FindFirst(u"ID = 1"_s); },
                                                  [&] { (void)query->OpenRecordset(); },
                                                  [&] { Db().BeginTrans(); },
                                                  [&] { (void)Db().Fields(u"tblSites"_s); }};
    for (const auto& operation : operations)
        QCOMPARE(ErrorOf(operation), clsError::DatabaseClosed);

    // Opened in another session the file is none of theirs; opened in their own it is.
    const auto elsewhere = m_installation->Open();
    QCOMPARE(ErrorOf([&] { (void)links->RecordCount(); }), clsError::DatabaseClosed);
    m_file->database = m_file->workspace->OpenDatabase(m_installation->DatabasePath(), u";pwd=SandDune"_s);
    Set(*links, u"Title"_s, u"two"_s);
    QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Title"_s), QVariant(u"two"_s));
    QCOMPARE(query->OpenRecordset()->RecordCount(), 0);
    // A second handle on the file that is closed does not take it away from the first.
    m_file->workspace->OpenDatabase(m_installation->DatabasePath(), u";pwd=SandDune"_s)->Close();
    QCOMPARE(links->RecordCount(), 1);
    m_file->workspace->Close();
    QCOMPARE(ErrorOf([&] { (void)links->RecordCount(); }), clsError::DatabaseClosed);
}

void tst_database::addField()
{
    Link(u"old"_s);
    Db().AppendField(u"tblLinkList"_s, u"Note"_s, 10, 5, u"it's"_s);
    Db().AppendField(u"tblLinkList"_s, u"Rank"_s, 4, 0, {});
    QCOMPARE(Db().FieldSize(u"tbllinklist"_s, u"note"_s), 5);
    QCOMPARE(Db().FieldSize(u"tblLinkList"_s, u"Comments"_s), 0);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    QCOMPARE(links->Field(u"Note"_s), QVariant(u"it's"_s));
    Set(*links, u"Note"_s, u""_s);
    QCOMPARE(links->Field(u"Note"_s), QVariant(u""_s));
    links->Edit();
    links->SetField(u"Note"_s, u"123456"_s);
    QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::EngineFailure);
    QCOMPARE(ErrorOf([&] { (void)Db().Fields(u"tblNothing"_s); }), clsError::UnknownItem);
}

void tst_database::filesThatDoNotOpen_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<ErrorNumber>("number");
    QTest::newRow("missing") << u"missing"_s << clsError::DatabaseMissing;
    QTest::newRow("a folder") << u"folder"_s << clsError::DatabaseMissing;
    QTest::newRow("another password") << u"password"_s << clsError::PasswordWrong;
    QTest::newRow("no database") << u"text"_s << clsError::PasswordWrong;
    QTest::newRow("empty") << u"empty"_s << clsError::PasswordWrong;
    QTest::newRow("cut in half") << u"cut"_s << clsError::DatabaseDamaged;
    QTest::newRow("cut within the first page") << u"stump"_s << clsError::PasswordWrong;
}

void tst_database::filesThatDoNotOpen()
{
    QFETCH(QString, kind);
    m_file.reset();
    const QString path = kind == "folder"_L1 ? m_installation->DataPath() : m_installation->DatabasePath();
    QFile file(path);
    const qint64 size = file.size();
    if (kind == "missing"_L1) {
        QVERIFY(file.remove());
    } else if (kind == "text"_L1) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(20000, 'x'));
    } else if (kind == "empty"_L1) {
        QVERIFY(file.resize(0));
    } else if (kind == "cut"_L1) {
        QVERIFY(file.resize(size / 2));
    } else if (kind == "stump"_L1) {
        QVERIFY(file.resize(700));
    }
    file.close();
    const auto workspace = modPlatformImpl::MakeDBEngine()->CreateWorkspace({}, u"admin"_s, {});
    const QString connect = kind == "password"_L1 ? u";pwd=sanddune"_s : u";pwd=SandDune"_s;
    QFETCH(ErrorNumber, number);
    QCOMPARE(ErrorOf([&] { (void)workspace->OpenDatabase(path, connect); }), number);
    QCOMPARE(QFile::exists(path), kind != "missing"_L1); // a missing file is not made
}

void tst_database::lockedByAnother()
{
    Link(u"mine"_s);
    const auto other = m_installation->Open();
    clsTransaction theirs(*other);
    clsTestInstallation::AddLink(*other, u"Shop"_s, u"theirs"_s);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    QCOMPARE(links->RecordCount(), 1); // reading goes on
    links->Edit();
    links->SetField(u"Title"_s, u"changed"_s);
    QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::RecordLocked);
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"changed"_s)); // still being edited: Update can be tried again
    theirs.Commit();
    links->Update();
    QCOMPARE(links->Field(u"Title"_s), QVariant(u"changed"_s));
    QCOMPARE(OpenLinks(Db(), u"Shop"_s)->RecordCount(), 2);
}

void tst_database::fullDisk()
{
    const qint64 id = Link(u"old"_s);
    const auto links = OpenLinks(Db(), u"Shop"_s);
    const rlim_t size = static_cast<rlim_t>(QFile(m_installation->DatabasePath()).size());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{size, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    links->Edit();
    links->SetField(u"Title"_s, u"new"_s);
    links->SetField(u"Comments"_s, QString(100000, u'x'));
    const ErrorNumber number = ErrorOf([&] { links->Update(); });
    setrlimit(RLIMIT_FSIZE, &before);
    QCOMPARE(number, clsError::DiskFull);
    QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Title"_s), QVariant(u"old"_s));
    links->Update(); // room again: what was typed is not lost
    QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Title"_s), QVariant(u"new"_s));
}

QTEST_GUILESS_MAIN(tst_database)
#include "tst_database.moc"
