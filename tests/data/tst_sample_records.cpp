// SPDX-License-Identifier: GPL-3.0-or-later
// The sample among the user's own records: what it brings, and that exactly that goes again.
#include "data/modDBFunctions.h"
#include "data/modLinks.h"
#include "data/modSample.h"
#include "data/modSites.h"
#include "support/program.h"
#include "support/table.h"

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString Garden = u"Green Thumb Garden"_s;

/// Every record that the user sees, a line each.
QStringList Everything()
{
    QStringList lines;
    for (const auto& table : {u"tblSites"_s, u"tblCategory"_s, u"tblLinkList"_s, u"tblMailMessages"_s}) {
        const auto records = State().Database->OpenRecordset(table);
        for (const auto& row : records->Rows(0, records->RecordCount(), records->FieldNames())) {
            QStringList values{table};
            for (const QVariant& value : row)
                values << value.toString();
            lines << values.join(u'|');
        }
    }
    return lines;
}

qint64 Number(const QString& select)
{
    return State().Database->OpenRecordset(select)->Bookmark();
}

qint64 Count(const QString& source)
{
    return State().Database->OpenRecordset(source)->RecordCount();
}
} // namespace

class tst_sample_records : public QObject
{
    Q_OBJECT

private:
    using Change = std::function<void(clsDatabase&)>;

private Q_SLOTS:
    void removed_data()
    {
        // What the user does, what he is asked about ("changed,added"; empty: nothing), his answer, and what of the
        // sample is left: sites, links, categories, templates.
        const testTable<Change, QString, int, QString> row;
        const auto change = [](clsDatabase& database) {
            modLinks::SetFields(database, {Number(u"SELECT ID FROM tblLinkList WHERE Title = 'Moonjar'"_s)},
                                {{u"Email"_s, u"me@own.example"_s}});
        };
        const auto add = [](clsDatabase& database) {
            clsTestInstallation::AddLink(database, Garden, u"My own"_s);
            clsTestInstallation::AddCategory(database, Garden, u"My category"_s);
        };
        const auto rename = [](clsDatabase& database) { modSites::Rename(database, Garden, u"Mine"_s); };
        row(
            "nothing", [](clsDatabase&) {}, {}, 0, u"0 0 0 0"_s);
        row(
            "looks around: tests and mail write their results",
            [](clsDatabase& database) {
                modLinks::SetFields(
                    database, {Number(u"SELECT ID FROM tblLinkList WHERE Title = 'Moonjar'"_s)},
                    {{u"Status"_s, 3}, {u"Results"_s, 4}, {u"EmailQueue"_s, 1}, {u"LastSuccessfulTest"_s, u"x"_s}});
            },
            {}, 0, u"0 0 0 0"_s);
        row("changes a partner, everything goes", change, u"1,0"_s, int(Answer::Yes), u"0 0 0 0"_s);
        row("changes a partner and keeps it, with its site and category", change, u"1,0"_s, int(Answer::No),
            u"1 1 1 0"_s);
        row("adds, and keeps that, with the templates of the site", add, u"0,2"_s, int(Answer::No), u"1 1 1 2"_s);
        row("adds, and would rather not", add, u"0,2"_s, int(Answer::Cancel), u"2 41 7 2"_s);
        row("renames a site, everything goes", rename, u"1,0"_s, int(Answer::Yes), u"0 0 0 0"_s);
        row("renames a site and keeps it, with the templates it uses", rename, u"1,0"_s, int(Answer::No), u"1 0 0 2"_s);
        row(
            "deletes a site, and has one of its name",
            [](clsDatabase& database) {
                modSites::Delete(database, Garden);
                clsTestInstallation::AddSite(database, Garden);
                clsTestInstallation::AddLink(database, Garden, u"My own"_s);
            },
            {}, 0, u"1 1 0 0"_s);
        row(
            "uses a template for his own site",
            [](clsDatabase& database) {
                const qint64 id =
                    Number(u"SELECT MessageID FROM tblMailMessages WHERE Template = 'Green Thumb: first letter'"_s);
                database.UpdateRecords(u"tblSites"_s, {database.OpenRecordset(u"tblSites"_s)->BookmarkAt(0)},
                                       {{u"EMessage1"_s, id}});
            },
            {}, 0, u"0 0 0 1"_s);
    }

    void removed()
    {
        const auto [change, asked, answer, left] = testRow<Change, QString, int, QString>();
        clsTestProgram program;
        modBrambury::CloseProcessDatabase();
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        clsDatabase& database = *State().Database;
        clsTestInstallation::AddSite(database, u"Shop"_s);
        const qint64 category = clsTestInstallation::AddCategory(database, u"Shop"_s, u"Garden Clubs"_s);
        clsTestInstallation::AddLink(database, u"Shop"_s, u"Rosewood Nursery"_s, {{u"CategoryID"_s, category}});
        QVERIFY(!modSample::There(database));
        const QStringList own = Everything();

        QCOMPARE(modSample::Problem(database), QString());
        QCOMPARE(modSample::Add(database), Garden);
        QVERIFY(modSample::There(database) && !modSample::Problem(database).isEmpty());
        // Whoever deletes its sites by hand can have it again, and nothing is there twice.
        for (const QString& site : {Garden, u"Old Mill Pottery"_s})
            modSites::Delete(database, site);
        QVERIFY(modSample::There(database) && modSample::Problem(database).isEmpty());
        QCOMPARE(modSample::Add(database), Garden);
        QCOMPARE(Count(u"SELECT MessageID FROM tblMailMessages WHERE Template LIKE 'Green Thumb:%'"_s), 2);
        // Its categories are its own, though one of the user's has the same name.
        QCOMPARE(Count(u"SELECT ID FROM tblLinkList WHERE CategoryID = %1"_s.arg(category)), 1);
        QCOMPARE(Count(u"SELECT l.ID FROM tblLinkList l JOIN tblCategory c ON c.ID = l.CategoryID "
                       "WHERE c.SiteID <> l.SiteName"_s),
                 0);

        change(database);
        if (!asked.isEmpty())
            program.dialogs.Expect(u"Of what the sample holds now, you have changed %1 and added %2 record(s).*"_s.arg(
                                       asked.section(u',', 0, 0), asked.section(u',', 1)),
                                   static_cast<Answer>(answer), u"Remove the Sample"_s);
        const bool stays = !asked.isEmpty() && answer == int(Answer::Cancel);
        QCOMPARE(modSample::Remove(database), !stays);
        QVERIFY(program.dialogs.expected.isEmpty());
        QCOMPARE(modSample::There(database), stays);
        QCOMPARE(u"%1 %2 %3 %4"_s.arg(Count(u"tblSites"_s) - 1)
                     .arg(Count(u"tblLinkList"_s) - 1)
                     .arg(Count(u"tblCategory"_s) - 1)
                     .arg(Count(u"SELECT MessageID FROM tblMailMessages WHERE Template LIKE 'Green Thumb:%'"_s)),
                 left);
        // The user's own records are as they were, whatever came of the sample.
        const QStringList now = Everything();
        for (const QString& record : own)
            QVERIFY2(now.contains(record) || left.endsWith(u'1'), qPrintable(record));
        if (left == u"0 0 0 0"_s)
            QCOMPARE(now, own);
    }
};

Q_DECLARE_METATYPE(std::function<void(clsDatabase&)>)

QTEST_GUILESS_MAIN(tst_sample_records)
#include "tst_sample_records.moc"
