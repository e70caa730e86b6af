// SPDX-License-Identifier: GPL-3.0-or-later
// The database engine on real encrypted files: what a record set promises, and what becomes of broken, locked and full
// ones.
#include "platform/clsError.h"
#include "platform/modPlatformImpl.h"
#include "support/faults.h"
#include "support/installation.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QFile>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// A field of every record as text, in the set's order.
QString Texts(clsRecordset& set, const QString& field)
{
    QStringList texts;
    for (set.MoveFirst(); !set.AfterLast(); set.MoveNext())
        texts << set.Field(field).toString();
    return texts.join(u' ');
}

std::unique_ptr<clsRecordset> OpenQuery(clsDatabase& database, const QString& name,
                                        const QHash<QString, QVariant>& parameters)
{
    const auto query = database.QueryDef(name);
    for (auto parameter = parameters.cbegin(); parameter != parameters.cend(); ++parameter)
        query->SetParameter(parameter.key(), parameter.value());
    return query->OpenRecordset();
}

std::unique_ptr<clsRecordset> OpenLinks(clsDatabase& database, const QString& site = u"Shop"_s, int low = -1,
                                        int high = 99)
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

private:
    std::unique_ptr<clsTestInstallation> m_installation;
    std::optional<clsTestInstallation::Opened> m_file;
    clsDatabase& Db() { return **m_file; }
    qint64 Link(const QString& title, const clsRecordValues& values = {})
    {
        return clsTestInstallation::AddLink(Db(), u"Shop"_s, title, values);
    }

private Q_SLOTS:
    void init()
    {
        m_installation = std::make_unique<clsTestInstallation>();
        m_file = m_installation->Open();
        clsTestInstallation::AddSite(Db(), u"Shop"_s);
    }
    void cleanup()
    {
        m_file.reset();
        m_installation.reset();
    }

    void recordSetKeepsItsKeys()
    {
        for (const auto& title : {u"a"_s, u"b"_s, u"c"_s})
            Link(title, {{u"TestQueue"_s, true}});
        const auto queue = Db().OpenRecordset(u"qryTestLinks"_s);
        QString seen;
        for (; !queue->AfterLast(); queue->MoveNext()) {
            Set(*queue, u"TestQueue"_s, false);
            seen += queue->Field(u"Title"_s).toString();
        }
        QCOMPARE(seen, u"abc"_s);
        QCOMPARE(queue->RecordCount(), 3);
        queue->Requery();
        QCOMPARE(queue->RecordCount(), 0);
        QCOMPARE(ErrorOf([&] { (void)queue->Field(u"Title"_s); }), clsError::NoCurrentRecord);
    }

    void recordsDeletedElsewhereAreSkipped()
    {
        QList<qint64> ids;
        for (int i = 0; i < 6; ++i)
            ids << Link(QString::number(i));
        const auto links = OpenLinks(Db());
        const auto other = m_installation->Open();
        for (const int gone : {1, 2, 5})
            other->OpenRecordset(u"SELECT * FROM tblLinkList WHERE ID = %1"_s.arg(ids[gone]))->Delete();
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
        QCOMPARE(links->Rows(5, 100, {u"Title"_s}).size(), 1u);
        QCOMPARE(ErrorOf([&] { (void)links->BookmarkAt(6); }), clsError::NoCurrentRecord);
        links->Requery();
        QCOMPARE(links->RecordCount(), 3);
    }

    void changesElsewhereAreSeen()
    {
        Link(u"one"_s);
        Link(u"two"_s);
        const auto links = OpenLinks(Db());
        QCOMPARE(links->Field(u"Title"_s), QVariant(u"one"_s));
        Set(*links->Clone(), u"Title"_s, u"ONE"_s);
        QCOMPARE(links->Field(u"Title"_s), QVariant(u"ONE"_s)); // same file handle: at once
        const auto other = m_installation->Open();
        Set(*other->OpenRecordset(u"tblLinkList"_s), u"Title"_s, u"One"_s);
        QTRY_COMPARE(links->Field(u"Title"_s), QVariant(u"One"_s)); // another program: within a moment
    }

    void addingEditingDeleting()
    {
        const qint64 first = Link(u"first"_s, {{u"Offers"_s, 3}});
        const auto links = OpenLinks(Db(), u"shop"_s);
        links->AddNew();
        links->SetField(u"SiteName"_s, u"Shop"_s);
        links->SetField(u"Title"_s, u"second"_s);
        links->Update();
        const clsBookmark added = links->LastModified();
        QCOMPARE(links->Bookmark(), first); // adding does not move
        QCOMPARE(links->PositionOf(added), 1);
        links->MoveTo(added);
        QCOMPARE(links->Field(u"Title"_s), QVariant(u"second"_s));

        // Only the fields that were set are written: what somebody else wrote meanwhile stays.
        links->MoveTo(first);
        links->Edit();
        const auto clone = links->Clone();
        Set(*clone, u"Offers"_s, 4);
        links->SetField(u"Title"_s, u"it's \"mine\""_s);
        links->Update();
        QCOMPARE(links->Field(u"Offers"_s).toInt(), 4);
        links->Edit();
        links->SetField(u"Title"_s, u"dropped"_s);
        links->CancelUpdate();
        QCOMPARE(links->Field(u"Title"_s), QVariant(u"it's \"mine\""_s));

        links->Delete();
        QCOMPARE(links->Bookmark(), added);
        links->Delete();
        QVERIFY(links->AfterLast());
        QCOMPARE(clone->RecordCount(), 2); // a clone keeps its own keys
        QVERIFY(Link(u"third"_s) > added); // a key is never used again
    }

    void manyAtOnce()
    {
        std::vector<qint64> ids;
        for (const auto& title : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            ids.push_back(Link(title));
        const auto titles = [](const clsRecordset& set) {
            QString all;
            for (const auto& row : set.Rows(0, set.RecordCount(), {u"Title"_s}))
                all += row.empty() ? u"-"_s : row[0].toString();
            return all;
        };
        const auto links = OpenLinks(Db());
        const std::vector<qint64> some{ids[3], 4711, ids[1]};
        QCOMPARE(titles(*links), u"abcd"_s);
        QCOMPARE(Db().UpdateRecords(u"tblLinkList"_s, some, {{u"Title"_s, u"x"_s}, {u"Offers"_s, 7}}), 2);
        QCOMPARE(titles(*links), u"axcx"_s);
        QCOMPARE(clsTestInstallation::LinkField(Db(), ids[3], u"Offers"_s).toInt(), 7);

        // All or none: the second key is taken.
        const auto failing = [&](const QString& field, const QVariant& value) {
            return ErrorOf([&] { Db().UpdateRecords(u"tblLinkList"_s, ids, {{field, value}}); });
        };
        QCOMPARE(failing(u"ID"_s, 99), clsError::DuplicateKey);
        QCOMPARE(failing(u"Offers"_s, u"many"_s), clsError::TypeMismatch);
        {
            clsTransaction dropped(Db());
            QCOMPARE(Db().DeleteRecords(u"tblLinkList"_s, ids), 4);
        }
        QCOMPARE(titles(*links), u"axcx"_s);

        QCOMPARE(Db().DeleteRecords(u"tblLinkList"_s, some), 2);
        const auto rest = links->Clone();
        rest->Forget(some);
        QCOMPARE(titles(*rest), u"ac"_s);
        QCOMPARE(rest->PositionOf(ids[2]), 1);
        QCOMPARE(titles(*links), u"a-c-"_s); // a set of its own
    }

    void valuesSuitTheirFields()
    {
        const qint64 id = Link(u"x"_s);
        const auto links = Db().OpenRecordset(u"tblLinkList"_s);
        Set(*links, u"TestQueue"_s, true);
        QCOMPARE(links->Field(u"TestQueue"_s), QVariant(1));
        Set(*links, u"Offers"_s, u"12"_s);
        QCOMPARE(links->Field(u"Offers"_s).metaType().id(), QMetaType::LongLong); // and no text
        Set(*links, u"IPAddress"_s, u""_s);
        QVERIFY(!clsTestInstallation::LinkField(Db(), id, u"IPAddress"_s).isNull());
        links->Edit();
        QCOMPARE(ErrorOf([&] { links->SetField(u"Offers"_s, u"many"_s); }), clsError::TypeMismatch);
        QCOMPARE(ErrorOf([&] { links->SetField(u"Offer"_s, 1); }), clsError::UnknownItem);
        links->SetField(u"IPAddress"_s, QString(26, u'1'));
        QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::EngineFailure);
        QCOMPARE(ErrorOf([&] { clsTestInstallation::AddSite(Db(), u"SHOP"_s); }), clsError::DuplicateKey);

        const auto sites = Db().OpenRecordset(u"tblSites"_s);
        Set(*sites, u"SiteID"_s, u"SHOP"_s); // the same record in other letters is no duplicate
        QCOMPARE(OpenLinks(Db(), u"SHOP"_s)->RecordCount(), 1);
    }

    void findFirst()
    {
        Link(u"start"_s);
        Link(u"say \"hi\""_s, {{u"Description"_s, u""_s}});
        Link(u"it's"_s, {{u"Status"_s, 3}});
        Link(u"umlaut \u00e4"_s, {{u"Status"_s, 3}, {u"Offers"_s, -1}});
        const auto links = OpenLinks(Db());
        const auto found = [&](const QString& criteria) {
            links->MoveFirst();
            const bool any = links->FindFirst(criteria);
            const QString title = links->Field(u"Title"_s).toString();
            return any ? title : title == u"start"_s ? u"nothing"_s : u"moved"_s;
        };
        QCOMPARE(found(u"Title = \"SAY \"\"hi\"\"\""_s), u"say \"hi\""_s);
        QCOMPARE(found(u"Status = 3"_s), u"it's"_s);               // the first in the set's order
        QCOMPARE(found(u"Description = \"\""_s), u"say \"hi\""_s); // empty is not Null
        QCOMPARE(found(u"Offers = -1"_s), u"umlaut \u00e4"_s);
        QCOMPARE(found(u"Title = \"Umlaut \u00e4\""_s), u"umlaut \u00e4"_s);
        QCOMPARE(found(u"Title = \"Title\""_s), u"nothing"_s); // a field's name as text
        QCOMPARE(found(u"Title = \"it%\""_s), u"nothing"_s);   // wild cards mean themselves
        QCOMPARE(ErrorOf([&] { links->FindFirst(u"Nothing = 1"_s); }), clsError::UnknownItem);

        QVERIFY(!OpenLinks(Db(), u"Shop"_s, 1, 3)->FindFirst(u"Status = 3"_s)); // never outside the set
    }

    void sorting()
    {
        Link(u"null"_s, {{u"Description"_s, QVariant()}});
        Link(u"b"_s, {{u"Description"_s, u"b"_s}, {u"Offers"_s, 10}});
        Link(u"A"_s, {{u"Description"_s, u"A"_s}, {u"Offers"_s, 9}});
        Link(u"a"_s, {{u"Description"_s, u"a"_s}, {u"Offers"_s, 10}});
        Link(u"empty"_s, {{u"Description"_s, u""_s}});
        const auto links = OpenLinks(Db());
        const auto orderBy = [](clsRecordset& set, const QString& field) {
            set.SetSort(field);
            return Texts(*set.OpenRecordset(), u"Title"_s);
        };
        QCOMPARE(orderBy(*links, u"Description"_s), u"null empty A a b"_s);
        QCOMPARE(orderBy(*links, u"Offers"_s), u"null empty A b a"_s); // 9 before 10, ties as they were
        links->SetSort(u"Description"_s);
        const auto sorted = links->OpenRecordset();
        QCOMPARE(orderBy(*sorted, u"Offers"_s), u"null empty A a b"_s); // ties in the order sorted before
        Link(u"aa"_s, {{u"Description"_s, u"aa"_s}});
        sorted->Requery();
        QCOMPARE(Texts(*sorted, u"Title"_s), u"null empty A a aa b"_s);
        // A few links among many others are read one by one; the order must be the same.
        clsTestInstallation::AddLinks(Db(), u"Other"_s, 60);
        QCOMPARE(orderBy(*OpenLinks(Db()), u"Description"_s), u"null empty A a aa b"_s);

        for (const auto& word :
             {u"zebra"_s, u"\u00c4pfel"_s, u"Banane"_s, u"apfel"_s, u"\u00e9tude"_s, u"Ende"_s, u"fuchs"_s})
            clsTestInstallation::AddLink(Db(), u"Words"_s, word);
        QCOMPARE(orderBy(*OpenLinks(Db(), u"Words"_s), u"Title"_s),
                 u"apfel \u00c4pfel Banane Ende \u00e9tude fuchs zebra"_s);
    }

    void queriesAndStatements()
    {
        // A site may be called like a field of the table, and its name may hold quotes of both kinds.
        for (const auto& id : {u"Category"_s, u"the \"best\" site"_s, u"it's"_s}) {
            clsTestInstallation::AddCategory(Db(), id, u"only "_s + id);
            const auto categories =
                Db().OpenRecordset(u"SELECT tblCategory.* From tblCategory WHERE tblCategory.SiteID=\"%1\""_s.arg(
                    QString(id).replace(u'"', u"\"\""_s)));
            QCOMPARE(Texts(*categories, u"Category"_s), u"only "_s + id);
            categories->MoveFirst();
            Set(*categories, u"Category"_s, u"changed"_s);
            QCOMPARE(Texts(*OpenQuery(Db(), u"qryCategories"_s, {{u"Site"_s, id.toUpper()}}), u"Category"_s),
                     u"changed"_s);
        }
        QCOMPARE(ErrorOf([&] { (void)Db().OpenRecordset(u"tblNothing"_s); }), clsError::UnknownItem);
        const auto query = Db().QueryDef(u"QRYLINKLIST"_s);
        QCOMPARE(ErrorOf([&] { query->SetParameter(u"SiteID"_s, u"Shop"_s); }), clsError::UnknownItem);
        query->SetParameter(u"Site"_s, u"Shop"_s);
        QCOMPARE(ErrorOf([&] { (void)query->OpenRecordset(); }), clsError::EngineFailure); // bounds not set
    }

    void shippedQueries()
    {
        for (int status = 0; status < 6; ++status)
            Link(QString::number(status), {{u"Status"_s, status}});
        QCOMPARE(Texts(*OpenLinks(Db(), u"Shop"_s, -1, 4), u"Title"_s), u"0 1 2 3"_s); // bounds are exclusive
        QCOMPARE(Texts(*OpenLinks(Db(), u"Shop"_s, 4, 6), u"Title"_s), u"5"_s);
        Link(u"queued"_s, {{u"EmailQueue"_s, 1}});
        Link(u"notToBeSent"_s, {{u"EmailQueue"_s, 2}});
        Link(u"unset"_s, {{u"EmailQueue"_s, QVariant()}, {u"TestQueue"_s, QVariant()}});
        Link(u"converted"_s, {{u"EmailQueue"_s, -1}, {u"TestQueue"_s, -1}});
        QCOMPARE(Texts(*Db().OpenRecordset(u"qrySendEmail"_s), u"Title"_s), u"queued converted"_s);
        QCOMPARE(Texts(*Db().OpenRecordset(u"qryTestLinks"_s), u"Title"_s), u"converted"_s);
    }

    void copySite()
    {
        const auto category = [&](const QString& site, const QString& name) {
            return clsTestInstallation::AddCategory(Db(), site, name);
        };
        const qint64 foreign = category(u"Other"_s, u"Foreign"_s);
        const qint64 zoo = category(u"Shop"_s, u"Zoo"_s);
        category(u"Other"_s, u"Between"_s);
        const qint64 art = category(u"Shop"_s, u"Art"_s);
        category(u"Copy"_s, u"Orphan of a former site"_s);
        Link(u"1"_s, {{u"CategoryID"_s, zoo}, {u"TestQueue"_s, true}, {u"Comments"_s, u"c"_s}, {u"Results"_s, 12}});
        Link(u"2"_s, {{u"CategoryID"_s, art}, {u"EmailQueue"_s, 1}, {u"Status"_s, 3}});
        Link(u"3"_s);
        Link(u"4"_s, {{u"CategoryID"_s, 999}}); // a deleted one
        Link(u"5"_s, {{u"CategoryID"_s, foreign}});
        const auto query = Db().QueryDef(u"qryCopySite"_s);
        query->SetParameter(u"SiteID"_s, u"shop"_s);
        query->SetParameter(u"NewSiteID"_s, u"Copy"_s);
        QCOMPARE(query->Execute(), 5);
        QCOMPARE(Texts(*Db().OpenRecordset(u"SELECT Title || tblCategory.SiteID || Category AS Place FROM tblLinkList, "
                                           u"tblCategory ON tblCategory.ID = CategoryID "
                                           u"WHERE SiteName = 'Copy' ORDER BY Title"_s),
                       u"Place"_s),
                 u"1CopyZoo 2CopyArt 5OtherForeign"_s);
        QCOMPARE(
            Texts(*Db().OpenRecordset(u"SELECT Title || Status || ifnull(Results, 0) || ifnull(Comments, '') ||  "
                                      u"EmailQueue || TestQueue AS Content FROM tblLinkList WHERE SiteName = 'Copy' "
                                      u"ORDER BY Title"_s),
                  u"Content"_s),
            u"1212c00 23000 32000 42000 52000"_s);
        QCOMPARE(OpenLinks(Db())->RecordCount(), 5);
        // Nothing of a second copy under the same name stays.
        QCOMPARE(ErrorOf([&] { query->Execute(); }), clsError::DuplicateKey);
        QCOMPARE(OpenLinks(Db(), u"Copy"_s)->RecordCount(), 5);
        QCOMPARE(Db().OpenRecordset(u"tblCategory"_s)->RecordCount(), 7);
    }

    void transactionsNest()
    {
        const auto seenByOthers = [&] {
            return m_installation->Open()->OpenRecordset(u"tblLinkList"_s)->RecordCount();
        };
        {
            clsTransaction outer(Db());
            Link(u"outer"_s);
            {
                clsTransaction inner(Db());
                Link(u"dropped"_s);
            }
            {
                clsTransaction inner(Db());
                Link(u"inner"_s);
                inner.Commit();
            }
            QCOMPARE(seenByOthers(), 0);
            outer.Commit();
        }
        QCOMPARE(seenByOthers(), 2);
    }

    void filesThatDoNotOpen()
    {
        m_file.reset();
        const QString path = m_installation->DatabasePath();
        const auto errorOfOpening = [](const QString& file, const QString& connect = u";pwd=SandDune"_s) {
            const auto workspace = modPlatformImpl::MakeDBEngine()->CreateWorkspace({}, u"admin"_s, {});
            return ErrorOf([&] { (void)workspace->OpenDatabase(file, connect); });
        };
        QCOMPARE(errorOfOpening(path, u";pwd=sanddune"_s), clsError::PasswordWrong);
        QCOMPARE(errorOfOpening(m_installation->DataPath()), clsError::DatabaseMissing);
        QFile file(path);
        QVERIFY(file.resize(file.size() / 2));
        QCOMPARE(errorOfOpening(path), clsError::DatabaseDamaged);
        QVERIFY(file.remove());
        QCOMPARE(errorOfOpening(path), clsError::DatabaseMissing);
        QVERIFY(!file.exists()); // a missing file is not made
    }

    void lockedByAnother()
    {
        Link(u"mine"_s);
        const auto other = m_installation->Open();
        clsTransaction theirs(*other);
        clsTestInstallation::AddLink(*other, u"Shop"_s, u"theirs"_s);
        const auto links = OpenLinks(Db());
        QCOMPARE(links->RecordCount(), 1); // reading goes on
        links->Edit();
        links->SetField(u"Title"_s, u"changed"_s);
        Db().SetPatience(100ms);
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::RecordLocked);
        QVERIFY2(waited.elapsed() >= 50 && waited.elapsed() < 1000, qPrintable(QString::number(waited.elapsed())));
        QCOMPARE(links->Field(u"Title"_s), QVariant(u"changed"_s)); // still being edited: Update can be tried again
        theirs.Commit();
        links->Update();
        QCOMPARE(Texts(*OpenLinks(Db()), u"Title"_s), u"changed theirs"_s);
    }

    void diskIsFull()
    {
        const qint64 id = Link(u"old"_s);
        const auto links = OpenLinks(Db());
        links->Edit();
        links->SetField(u"Title"_s, u"new"_s);
        links->SetField(u"Comments"_s, QString(100000, u'x'));
        {
            const fullDisk limit(static_cast<rlim_t>(QFile(m_installation->DatabasePath()).size()));
            QCOMPARE(ErrorOf([&] { links->Update(); }), clsError::DiskFull);
        }
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Title"_s), QVariant(u"old"_s));
        links->Update(); // room again: what was typed is not lost
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Title"_s), QVariant(u"new"_s));
    }
};

QTEST_GUILESS_MAIN(tst_database)
#include "tst_database.moc"
