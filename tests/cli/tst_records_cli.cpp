// SPDX-License-Identifier: GPL-3.0-or-later
// Sites, links and categories kept by script: the real program changes real records, or says why not and changes none.
#include "support/command_line.h"
#include "support/files.h"
#include "support/installation.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using commandLine::Outcome;

class tstRecordsCli : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestInstallation> m_installation;
    qint64 m_link = 0;     ///< of Shop
    qint64 m_category = 0; ///< of Shop, "News"

    [[nodiscard]] Outcome Run(const QStringList& words) const
    {
        return commandLine::Run(m_installation->Folder(), words);
    }
    /// What a command that must succeed prints.
    [[nodiscard]] QString Out(const QStringList& words) const
    {
        const Outcome outcome = Run(words);
        return outcome.code == 0 && outcome.err.isEmpty() ? outcome.out : u"failed: "_s + outcome.err;
    }
    /// One field of the records that a table command lists.
    [[nodiscard]] QStringList Column(const QStringList& table, const QString& field) const
    {
        QStringList values;
        const QJsonArray rows = Run(table + QStringList{u"--json"_s}).Json();
        for (const QJsonValue& row : rows)
            values << row[field].toVariant().toString();
        return values;
    }
    [[nodiscard]] QString File(const QByteArray& content) const
    {
        const QString path = m_installation->Folder() + u"/links.csv"_s;
        WriteAll(path, content);
        return path;
    }
    [[nodiscard]] QString Import(const QByteArray& content, const QStringList& options = {}) const
    {
        return Out(QStringList{u"links"_s, u"import"_s, File(content), u"--site"_s, u"Shop"_s} + options);
    }

private Q_SLOTS:
    void init()
    {
        m_installation = std::make_unique<clsTestInstallation>();
        const auto opened = m_installation->Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s, {{u"TestForMyLinkAtRecipSite"_s, 0}});
        clsTestInstallation::AddSite(*opened, u"Strict"_s);
        m_link =
            clsTestInstallation::AddLink(*opened, u"Shop"_s, u"First"_s, {{u"HomePage"_s, u"http://f.example/"_s}});
        clsTestInstallation::AddLink(
            *opened, u"Strict"_s, u"Second"_s,
            {{u"HomePage"_s, u"http://s.example/"_s}, {u"LinkPage"_s, u"http://s.example/l"_s}});
        m_category = clsTestInstallation::AddCategory(*opened, u"Shop"_s, u"News"_s);
    }

    void Sites();
    void Links();
    void Categories();
    void Templates();
    void Refusals_data();
    void Refusals();
    void ExportComesBackUnharmed();
    void ImportOfASpreadsheet();
    void HarvestTellsHowItEnded_data();
    void HarvestTellsHowItEnded();
};

void tstRecordsCli::Sites()
{
    QCOMPARE(Out({u"site"_s, u"add"_s, u"My \"own\" 🏺  "_s, u"SiteName=a=b"_s, u"homepage=http://o.example/"_s,
                  u"LinkPage=http://o.example/l"_s, u"Email=a@b.c"_s, u"HostName=mail.b.c"_s, u"MailPort=2525"_s,
                  u"EMessage2=2"_s, u"SpecialText=one\ntwo"_s}),
             QString());
    const QString name = u"My \"own\" 🏺"_s;
    const QString shown = Out({u"site"_s, u"show"_s, name.toUpper()});
    QVERIFY2(shown.startsWith("SiteID: "_L1 + name + "\nSiteName: a=b\n"_L1), qPrintable(shown));
    QVERIFY2(shown.contains("\nSpecialText: one\n    two\n"_L1), qPrintable(shown));

    // Only what is named changes; an empty template is none.
    QCOMPARE(Out({u"site"_s, u"set"_s, name, u"EMESSAGE2="_s, u"TestForMyImageAtRecipSite=1"_s}), QString());
    QCOMPARE(Out({u"sites"_s, u"--csv"_s}).section(u"\r\n"_s, 3, 3).count(u"2525"_s), 1);
    QCOMPARE(Column({u"sites"_s}, u"EMessage2"_s).at(0), QString());

    // The site keeps its links under its new name, and stays the selected one.
    QCOMPARE(Run({u"settings"_s, u"set"_s, u"General"_s, u"Site"_s, u"Shop"_s}).code, 0);
    QCOMPARE(Out({u"site"_s, u"rename"_s, u"shop"_s, u"SHOP "_s}), QString());
    QCOMPARE(Out({u"settings"_s, u"get"_s, u"General"_s, u"Site"_s}), u"SHOP\n"_s);
    QCOMPARE(Column({u"links"_s}, u"SiteName"_s), (QStringList{u"SHOP"_s, u"Strict"_s}));
    QCOMPARE(Out({u"site"_s, u"copy"_s, u"Shop"_s}), u"Copy of SHOP\n"_s);
    QCOMPARE(Out({u"site"_s, u"copy"_s, u"Shop"_s}), u"Copy (2) of SHOP\n"_s);

    const QString question = u"By deleting this site, all corresponding links in your reciprocal link list will be "
                             "removed.\n\nDo you wish to continue?\n-> "_s;
    const Outcome kept = Run({u"site"_s, u"delete"_s, u"Copy of SHOP"_s});
    QCOMPARE(kept.code, 2);
    QCOMPARE(kept.err, question + "No\n"_L1);
    const Outcome deleted = Run({u"site"_s, u"delete"_s, u"Copy of SHOP"_s, u"--yes"_s});
    QCOMPARE(deleted.code, 0);
    QCOMPARE(deleted.err, question + "Yes\n"_L1);
    QCOMPARE(Column({u"links"_s}, u"SiteName"_s), (QStringList{u"SHOP"_s, u"Strict"_s, u"Copy (2) of SHOP"_s}));
}

void tstRecordsCli::Links()
{
    const QString id = Out({u"link"_s, u"add"_s, u"--site"_s, u"shop"_s, u"Title=New, \"quoted\""_s,
                            u"HomePage=http://n.example/"_s, u"categoryid=%1"_s.arg(m_category)})
                           .trimmed();
    const QStringList show{u"link"_s, u"show"_s, id};
    QJsonObject record = Run(show + QStringList{u"--json"_s}).Json()[0].toObject();
    QCOMPARE(record[u"Title"], u"New, \"quoted\""_s);
    QCOMPARE(record[u"SiteName"], u"Shop"_s);
    QCOMPARE(Out({u"link"_s, u"set"_s, id, u"Comments=one\r\ntwo"_s, u"Status=3"_s, u"CategoryID="_s}), QString());
    record = Run(show + QStringList{u"--json"_s}).Json()[0].toObject();
    QCOMPARE(record[u"Comments"], u"one\r\ntwo"_s);
    QCOMPARE(record[u"Status"], 3);
    QVERIFY(record[u"CategoryID"].isNull());

    QCOMPARE(Out({u"link"_s, u"status"_s, u"in-process"_s, id, QString::number(m_link)}), u"2 link(s) changed.\n"_s);
    QCOMPARE(Column({u"links"_s, u"--status"_s, u"in-process"_s}, u"ID"_s), (QStringList{QString::number(m_link), id}));

    const QString question = u"This will permanently remove all selected reciprocal links.\n"
                             "(Alternately, you may wish to change its status to inactive.)\n\n"
                             "Do you wish to continue?\n-> "_s;
    const Outcome kept = Run({u"link"_s, u"delete"_s, id});
    QCOMPARE(kept.code, 2);
    QCOMPARE(kept.err, question + "No\n"_L1);
    QCOMPARE(Run({u"--yes"_s, u"link"_s, u"delete"_s, id}).out, u"1 link(s) deleted.\n"_s);
    QCOMPARE(Run({u"settings"_s, u"set"_s, u"General"_s, u"ConfirmDelete"_s, u"No"_s}).code, 0);
    QCOMPARE(Out({u"link"_s, u"delete"_s, QString::number(m_link)}), u"1 link(s) deleted.\n"_s);
    QCOMPARE(Column({u"links"_s}, u"Title"_s), QStringList{u"Second"_s});
}

void tstRecordsCli::Categories()
{
    const QStringList of{u"--site"_s, u"SHOP"_s};
    const QString id = Out(QStringList{u"category"_s, u"add"_s, u"news"_s} + of).trimmed();
    QCOMPARE(Column({u"categories"_s}, u"SiteID"_s), (QStringList{u"Shop"_s, u"Shop"_s}));
    // Two of a name: only the number says which.
    QCOMPARE(
        Run(QStringList{u"category"_s, u"rename"_s, u"NEWS"_s, u"x"_s} + of).err,
        u"The site Shop has several categories NEWS: say which by its number, %1, %2.\n"_s.arg(m_category).arg(id));
    // A name goes before a number.
    QCOMPARE(Out(QStringList{u"category"_s, u"rename"_s, id, QString::number(m_category)} + of), QString());
    QCOMPARE(Out(QStringList{u"category"_s, u"delete"_s, QString::number(m_category)} + of), QString());
    QCOMPARE(Column({u"categories"_s}, u"ID"_s), QStringList{QString::number(m_category)});
}

void tstRecordsCli::Templates()
{
    const QString body = File("\xEF\xBB\xBFone\ntwo\r\n");
    QCOMPARE(Out({u"template"_s, u"new"_s, u" Thanks "_s, u"type=3"_s, u"Subject=A=B"_s, u"--body-file"_s, body}),
             u"9\n"_s);
    QCOMPARE(Column({u"template"_s, u"show"_s, u"THANKS"_s}, u"Body"_s), QStringList{u"one\r\ntwo\r\n"_s});
    QCOMPARE(Out({u"template"_s, u"set"_s, u"9"_s, u"AttachedFile=/a/b.txt"_s}), QString());
    QCOMPARE(Out({u"template"_s, u"copy"_s, u"Thanks"_s, u"Other"_s}), u"10\n"_s);
    const Outcome kept = Run({u"template"_s, u"copy"_s, u"1"_s, u"other"_s});
    QCOMPARE(kept.err, u"This template name already exists.\nDo you want to replace it?\n-> No\n"_s);
    QCOMPARE(kept.code, 2);
    QCOMPARE(Column({u"template"_s, u"show"_s, u"10"_s}, u"AttachedFile"_s), QStringList{u"/a/b.txt"_s});
    QCOMPARE(Run({u"--yes"_s, u"template"_s, u"copy"_s, u"1"_s, u"other"_s}).out, u"10\n"_s);
    QCOMPARE(Column({u"template"_s, u"show"_s, u"other"_s}, u"Type"_s), QStringList{u"1"_s});
    QCOMPARE(Run({u"template"_s, u"delete"_s, u"Thanks"_s}).code, 2);
    QCOMPARE(Run({u"--yes"_s, u"template"_s, u"delete"_s, u"Thanks"_s}).code, 0);
    QCOMPARE(Column({u"templates"_s}, u"MessageID"_s).count(u"9"_s), 0);
}

void tstRecordsCli::Refusals_data()
{
    const testTable<QStringList, QByteArray, QString> row;
    const QStringList site{u"--site"_s, u"Shop"_s};
    const QStringList add{u"link"_s, u"add"_s, u"--site"_s, u"Shop"_s};
    const QStringList set{u"link"_s, u"set"_s, u"1"_s};
    const QStringList import{u"links"_s, u"import"_s, u"FILE"_s, u"--site"_s, u"Shop"_s};
    const QByteArray heading = "Title,HomePage,ID\r\n";

    row("no equals sign", add + QStringList{u"Title"_s}, {}, u"*\"Title\" is no column*"_s);
    row("a column twice", set + QStringList{u"Title=a"_s, u"title=b"_s}, {}, u"*title is given twice\n"_s);
    row("the program's column", set + QStringList{u"Title=a"_s, u"offers=2"_s}, {},
        u"The column offers is written by the program alone.\n"_s);
    row("the site's key", {u"site"_s, u"set"_s, u"Shop"_s, u"SiteID=x"_s}, {},
        u"The column SiteID is written by the program alone.\n"_s);
    row("another site's category", {u"link"_s, u"set"_s, u"2"_s, u"CategoryID=1"_s}, {},
        u"CategoryID is the number of a category of the site, which \"1\" is not.\n"_s);
    row("a template of another kind", {u"site"_s, u"set"_s, u"Shop"_s, u"EMessage1=2"_s}, {},
        u"EMessage1 is the number of a template for *, which \"2\" is not.\n"_s);
    row("no such link", {u"link"_s, u"show"_s, u"99"_s}, {}, u"There is no link 99.\n"_s);
    row("one link unknown", {u"link"_s, u"status"_s, u"broken"_s, u"1"_s, u"99"_s}, {}, u"There is no link 99.\n"_s);
    row("two statuses", {u"link"_s, u"status"_s, u"active,broken"_s, u"1"_s}, {}, u"*one status\n"_s);
    row("no such site", {u"site"_s, u"copy"_s, u"Gone"_s}, {}, u"There is no site Gone.\n"_s);
    row("the site's rules count", {u"link"_s, u"set"_s, u"2"_s, u"LinkPage="_s}, {},
        u"Since you have chosen in the Test Rules to search for your link on reciprocal sites,\nyou must *\n"_s);

    const QStringList newTemplate{u"template"_s, u"new"_s, u"N"_s};
    row("a body in another code", newTemplate + QStringList{u"Type=1"_s, u"--body-file"_s, u"FILE"_s}, "a\xE4",
        u"*no text in UTF-8.\n"_s);
    row("the default", {u"--yes"_s, u"template"_s, u"delete"_s, u"Default "_s}, {},
        u"You cannot delete the Default template.\n"_s);

    const QString nothing = u"\nNothing has been imported.\n"_s;
    row("an empty file", import, "\n", u"*line 1: There is no heading line *"_s + nothing);
    row("a heading twice", import, "Title,title\n", u"*line 1: The column title is given twice."_s + nothing);
    row("a value too many", import, heading + "a,b,1,d\n", u"*line 2: It has 4 values for 3 columns."_s + nothing);
    row("a link twice", import, heading + "a,http://a/,1\nb,http://a/,1\n",
        u"*line 3: The link 1 has been *"_s + nothing);
    row("no UTF-8", import, heading + "a\xE4,http://a/,\n", u"*line 2: *UTF-8."_s + nothing);
    row("one bad line of many", import,
        heading +
            "\"a\r\n\r\nb\",http://a/,\r\n\r\nFirst,http://c/,1\r\nd,no address,\r\n,http://e/,\r\nf,http://f/,\r\n",
        u"The Home Page URL *\n*line 7: This line has been refused.\nRequired *\n*line 8: This line *"_s + nothing);
}

void tstRecordsCli::Refusals()
{
    const auto [words, file, message] = testRow<QStringList, QByteArray, QString>();
    QStringList given = words;
    given.replaceInStrings(u"FILE"_s, File(file));
    const QByteArray before = ReadAll(m_installation->DatabasePath());
    const Outcome outcome = Run(given);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QString());
    QVERIFY2(commandLine::Fits(outcome.err, message), qPrintable(outcome.err));
    QVERIFY(ReadAll(m_installation->DatabasePath()) == before);
}

void tstRecordsCli::ExportComesBackUnharmed()
{
    const QString wild = u" \"Ä\", 🏺\r\n\nline; 'end' "_s;
    for (const QString& text : {wild, u" blanks "_s, u",,"_s})
        QVERIFY(!Out({u"link"_s, u"add"_s, u"--site"_s, u"Shop"_s, u"Title="_s + text, u"Comments="_s + text,
                      u"HomePage=http://w.example/?a=\"b\",c"_s, u"CategoryID=1"_s})
                     .startsWith("failed"_L1));
    const QStringList table{u"links"_s, u"--csv"_s, u"--site"_s, u"Shop"_s};
    const QByteArray exported = Out(table).toUtf8();
    QCOMPARE(Import(exported), u"0 link(s) added, 0 changed, 4 left as they were; 0 categories added.\n"_s);

    // What was changed since comes back; what was deleted does too, under a new number.
    QCOMPARE(Out({u"link"_s, u"set"_s, u"3"_s, u"Title=x"_s, u"Comments="_s, u"CategoryID="_s}), QString());
    QCOMPARE(Run({u"--yes"_s, u"link"_s, u"delete"_s, u"5"_s}).code, 0);
    QCOMPARE(Import(exported, {u"--dry-run"_s}).section(u": "_s, 1),
             u"1 link(s) added, 1 changed, 2 left as they were; 0 categories added.\n"_s);
    QCOMPARE(Column({u"link"_s, u"show"_s, u"3"_s}, u"Title"_s), QStringList{u"x"_s});
    QCOMPARE(Import(exported), u"1 link(s) added, 1 changed, 2 left as they were; 0 categories added.\n"_s);
    QCOMPARE(Out(table).toUtf8(), QByteArray(exported).replace("\r\n5,Shop", "\r\n6,Shop"));
}

void tstRecordsCli::ImportOfASpreadsheet()
{
    // Another order, other letters, line ends of another system, no end of the last line, numbers of another site and
    // of a line before.
    const QByteArray file = "\xEF\xBB\xBF"
                            "status,Category,OFFERS,TITLE,Id,homepage\n"
                            "3,new,9,a,,http://a.example/\n"
                            ",NEW,9,b,2,http://b.example/\n"
                            ",,9,c,3,http://c.example/\n"
                            "2,,9,First,1,http://f.example/";
    const QString told = u"3 link(s) added, 0 changed, 1 left as they were; 1 categories added.\n"_s;
    QCOMPARE(Import(file, {u"--dry-run"_s}), u"Nothing is written. It would be: "_s + told);
    QCOMPARE(Column({u"links"_s}, u"ID"_s).size(), 2);
    QCOMPARE(Column({u"categories"_s}, u"Category"_s), QStringList{u"News"_s});
    QCOMPARE(Import(file), told);
    const QStringList table{u"links"_s, u"--site"_s, u"Shop"_s};
    QCOMPARE(Column(table, u"Title"_s), (QStringList{u"First"_s, u"a"_s, u"b"_s, u"c"_s}));
    QCOMPARE(Column(table, u"Status"_s), (QStringList{u"2"_s, u"3"_s, u"0"_s, u"0"_s}));
    QCOMPARE(Column(table, u"Offers"_s).mid(1), (QStringList{u"0"_s, u"0"_s, u"0"_s}));
    const QString id = Column({u"categories"_s}, u"ID"_s).at(1);
    QCOMPARE(Column(table, u"CategoryID"_s), (QStringList{QString(), id, id, QString()}));
}

void tstRecordsCli::HarvestTellsHowItEnded_data()
{
    const testTable<QString, QStringList, int, QString, int> row;
    const QString list = u"1. http://f.example/\tpartner of this site\n2. http://a.example/\n"_s;
    const QStringList none;
    row("listed", u"/p.html"_s, none, 0, list, 2);
    row("added", u"/p.html"_s, {u"--add"_s, u"2,2"_s}, 0, list, 3);
    row("no such number", u"/p.html"_s, {u"--add"_s, u"1,3"_s}, 2, list, 2);
    row("a file of this folder", u"links.csv"_s, {u"--add"_s, u"2"_s}, 0, list, 3);
    row("no page", u"/gone.html"_s, none, 3, {}, 2);
    row("no links", u"/none.html"_s, none, 1, {}, 2);
    row("no link left", u"/own.html"_s, {u"--add"_s, u"all"_s}, 1, {}, 2);
}

void tstRecordsCli::HarvestTellsHowItEnded()
{
    const auto [path, options, code, list, links] = testRow<QString, QStringList, int, QString, int>();
    scriptedServer server;
    server.Answer("/p.html", serverReply::Page("<a href=http://f.example/>F</a><a href=http://a.example/>A</a>"
                                               "<a href=/own>B</a>"));
    server.Answer("/own.html", serverReply::Page("<a href=/own>B</a>"));
    server.Answer("/none.html", serverReply::Page("none"));
    static_cast<void>(File("URL\nhttp://f.example/\nhttp://a.example/\n"));
    const QString url = path.startsWith(u'/') ? server.Url(path) : path;
    const Outcome outcome = Run(QStringList{u"harvest"_s, u"Shop"_s, url} + options);
    QCOMPARE(outcome.code, code);
    QCOMPARE(outcome.out, list);
    QCOMPARE(outcome.err.isEmpty(), code == 0 && options.isEmpty());
    QCOMPARE(Column({u"links"_s}, u"ID"_s).size(), links);
}

QTEST_GUILESS_MAIN(tstRecordsCli)
#include "tst_records_cli.moc"
