// SPDX-License-Identifier: GPL-3.0-or-later
// The link harvest from a real web server, and from files, into a real database.
#include "linktest/clsHTTP.h"
#include "platform/clsLinkFiles.h"
#include "publish/clsHarvest.h"
#include "publish/modLinksPage.h"
#include "shell/modSocketErrors.h"
#include "support/faults.h"
#include "support/program.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QFile>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using Ending = clsHarvest::Ending;
using modBrambury::State;
using modIO::PageStyle;

class tst_harvest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    std::unique_ptr<clsHarvest> m_harvest;
    scriptedServer m_server;

    static clsDatabase& Database() { return *State().Database; }
    /// Harvests a page of the server, whose port the site knows.
    Ending Run(const QString& path, bool filterDuplicates = true, bool filterBaseURL = true)
    {
        m_harvest->SetWish({u"shop"_s, u"http://127.0.0.1"_s + path, filterDuplicates, filterBaseURL});
        State().StopFlag = false;
        return m_harvest->Run();
    }
    [[nodiscard]] QString File() const { return m_program->installation.Folder() + u"/some links"_s; }
    Ending RunFile(const QByteArray& content)
    {
        m_program->disk->WriteFile(File(), content);
        m_program->connection.connected = false; // nothing is asked of the net
        m_harvest->SetWish({u"Shop"_s, File(), false, true});
        State().StopFlag = false;
        return m_harvest->Run();
    }
    /// The list, a link a word: its address, and its suggestion in brackets if it has one.
    [[nodiscard]] QString Listed() const
    {
        QStringList all;
        for (const clsHarvest::Link& link : m_harvest->Links())
            all << link.address + (link.suggestion.isEmpty() ? QString() : u'[' + link.suggestion + u']');
        return all.join(u' ');
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        clsTestInstallation::AddSite(Database(), u"Shop"_s, {{u"HTTPPort"_s, m_server.Port()}});
        m_harvest = std::make_unique<clsHarvest>(
            clsHarvest::Collaborators{.Platform = modBrambury::Platform(), .Database = State().Database.get()});
        m_server.Forget();
    }
    void cleanup()
    {
        m_harvest.reset();
        m_program.reset();
    }

    void SaysWhatIsMissingAndWhatItWillDo()
    {
        const auto problem = [&](const QString& site, const QString& url) {
            m_harvest->SetWish({site, url, true, false});
            return m_harvest->Problem();
        };
        QCOMPARE(problem({}, {}), u"You must select a site to continue."_s);
        QCOMPARE(problem(u"Shop"_s, u"  "_s), u"You must enter the URL you wish to import before continuing."_s);
        for (const QString& url : {u"www.x.example"_s, u"ftp://x.example/"_s, u"http://"_s, u"http://a b/"_s})
            QCOMPARE(problem(u"Shop"_s, url),
                     u"The URL is improperly formatted.  (Example: http://www.example.com/links.html)"_s);
        QCOMPARE(problem(u"Shop"_s, u" HTTPS://x.example "_s), QString());
        QCOMPARE(m_harvest->Summary(),
                 u"The Wizard is now ready to harvest links based on the following information provided:\r\n"
                 " Links will be added to the \"Shop\" site\r\n"
                 " Links will be harvested from:\r\n"
                 "      HTTPS://x.example\r\n"
                 " Links containing the same base URL will be included\r\n"
                 " Links that are duplicated will be filtered out"_s);
    }

    void ListsWhatTheFiltersLeave_data()
    {
        const testTable<QByteArray, bool, bool, QString> row;
        row("resolved by the base, entities decoded",
            "<base href='http://b.example/d/'><a href='x?a=1&amp;b=2'>One</a> <a href='../y'>T<b>w</b>o<br>lines</a>"
            "<area href='//c.example/' alt='Map'>",
            true, true, u"http://b.example/d/x?a=1&b=2[One] http://b.example/y[Two lines] http://c.example/[Map]"_s);
        row("mailto anywhere, letter case counts",
            "<a href='mailto:a@x.example'>a</a><a href='http://x.example/?mailto=b'>b</a><a href='MAILTO:c@x'>c</a>",
            true, true, u"MAILTO:c@x[c]"_s);
        const QByteArray twice = "<a href=http://x.example/>a</a><a href=http://x.example>b</a>"
                                 "<a href=http://x.example/>c</a>";
        row("duplicates out: the same text exactly", twice, true, true, u"http://x.example/[a] http://x.example[b]"_s);
        row("duplicates in", twice, false, true, u"http://x.example/[a] http://x.example[b] http://x.example/[c]"_s);
        const QByteArray own = "<a href=/in>a</a><a href='http://x.example/?via=127.0.0.1'>b</a>"
                               "<a href=http://127.0.0.2/>c</a>";
        row("own host out, wherever it stands", own, true, true, u"http://127.0.0.2/[c]"_s);
        row("own host in", own, true, false,
            u"http://127.0.0.1:%1/in[a] http://x.example/?via=127.0.0.1[b] http://127.0.0.2/[c]"_s.arg(
                m_server.Port()));
        row("what a link without words is called",
            "<a href=http://x.example/1><img alt=' Logo\n of X '><script>no</script></a>"
            "<a href=http://x.example/2 title=Tip></a><a href=http://x.example/3></a>",
            true, true, u"http://x.example/1[Logo of X] http://x.example/2[Tip] http://x.example/3"_s);
    }
    void ListsWhatTheFiltersLeave()
    {
        const auto [html, duplicates, base, expected] = testRow<QByteArray, bool, bool, QString>();
        // No page by its ending: it is asked for with "/" behind it.
        m_server.Answer("/page.php/", serverReply::Page(html));
        QCOMPARE(Run(u"/page.php"_s, duplicates, base), Ending::Done);
        QCOMPARE(Listed(), expected);
        QCOMPARE(m_harvest->CountText(),
                 u"%1 links were harvested from this web page."_s.arg(m_harvest->Links().size()));
        QFile local(m_program->installation.Folder() + u"/$$$http.tmp"_s);
        QVERIFY(local.open(QIODevice::ReadOnly));
        QCOMPARE(local.readAll(), html);
    }

    void GoesThroughTheSitesProxy()
    {
        const auto site = Database().OpenRecordset(u"tblSites"_s);
        site->Edit();
        site->SetField(u"ProxyServer"_s, u"127.0.0.1"_s);
        site->Update();
        m_server.Answer("http://far.example/links.html", serverReply::Page("<a href=http://x.example/>x</a>"));
        m_harvest->SetWish({u"Shop"_s, u"http://far.example/links.html"_s});
        QCOMPARE(m_harvest->Run(), Ending::Done);
        QCOMPARE(Listed(), u"http://x.example/[x]"_s);
    }

    void SaysWhyThereIsNoList_data()
    {
        const testTable<QString, QString, Ending> row;
        const auto text = [](int code) { return modSocketErrors::SocketErrorText(code); };
        row("no links", u"/none.html"_s, u"A connection was established, but no links were found."_s, Ending::NoLinks);
        row("only frames", u"/frames.html"_s, u"A connection was established, but no links were found."_s,
            Ending::NoLinks);
        row("gone in the middle", u"/reset.html"_s, text(54), Ending::PageFailed);
        row("not found", u"/gone.html"_s, text(404), Ending::PageFailed);
        row("silence", u"/silent.html"_s, text(501), Ending::PageFailed);
        row("no connection", u"offline"_s, u"Could not establish a connected to the Internet."_s, Ending::NoConnection);
        row("no site", u"no site"_s, u"Could not locate information for site shop."_s, Ending::UnknownSite);
    }
    void SaysWhyThereIsNoList()
    {
        const auto [path, box, ending] = testRow<QString, QString, Ending>();
        m_server.Answer("/none.html", serverReply::Page("<a name=x>x</a><a>y</a>"));
        m_server.Answer("/frames.html", serverReply::Page("<frameset><frame src='a.html'></frameset>"));
        m_server.Answer("/reset.html",
                        serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n<a href=x>").Reset());
        m_server.Answer("/silent.html", serverReply().Silent());
        State().Settings.Timeout = 1;
        m_program->connection.connected = path != "offline"_L1;
        if (path == "no site"_L1)
            Database().OpenRecordset(u"tblSites"_s)->Delete();
        m_program->dialogs.Expect(box);
        QCOMPARE(Run(path), ending);
        QVERIFY(m_program->dialogs.expected.isEmpty() && m_harvest->Links().empty());
    }

    void StopEndsTheWait()
    {
        m_server.Answer("/silent/", serverReply().Silent());
        m_program->dialogs.Expect(u"Could not connect to http://127.0.0.1/silent/."_s);
        QTimer::singleShot(100, this, [] { State().StopFlag = true; });
        QCOMPARE(Run(u"/silent"_s), Ending::Stopped);
        QVERIFY(m_program->dialogs.expected.isEmpty());
        // Nobody is told of a run that is given up.
        QTimer::singleShot(100, this, [this] { m_harvest->Abandon(); });
        QCOMPARE(Run(u"/silent"_s), Ending::Stopped);
        QTRY_COMPARE(m_server.OpenConnections(), 0);
    }

    void HomePagesAreComparedSensibly()
    {
        const auto form = &clsHarvest::ComparedForm;
        for (const QString& same :
             {u" https://x.example/ "_s, u"http://x.example:80/#top"_s, u"HTTP://WWW.x.example/Index.html"_s})
            QCOMPARE(form(same), u"x.example"_s);
        for (const QString& other : {u"http://x.example/A"_s, u"http://x.example/?a"_s, u"http://x.example:8080/"_s,
                                     u"http://shop.x.example/"_s})
            QVERIFY(form(other) != u"x.example"_s && form(other) != form(u"http://x.example/b"_s));
        QCOMPARE(form(u"http://b\u00fccher.example/"_s), form(u"http://xn--bcher-kva.example/"_s));
        QCOMPARE(form(u"javascript:void(0)"_s), QString());
    }

    void WhatIsExportedIsHarvestedAgain_data()
    {
        const testTable<PageStyle> row;
        for (const modIO::PageStyleName& style : modIO::PageStyles())
            row(style.word.toLatin1().constData(), style.style);
    }
    void WhatIsExportedIsHarvestedAgain()
    {
        const auto [style] = testRow<PageStyle>();
        m_program->disk->CopyFile(QStringLiteral(BRAMBURY_SOURCE_DIR "/resources/page/LinksPage.html"),
                                  m_program->installation.Folder() + u"/LinksPage.html"_s);
        clsTestInstallation::AddSite(Database(), u"Own"_s, {{u"HomePage"_s, u""_s}});
        const qint64 category = clsTestInstallation::AddCategory(Database(), u"Own"_s, u"<A> & \"B\""_s);
        const auto add = [&](const QString& title, const QString& home) {
            clsTestInstallation::AddLink(Database(), u"Own"_s, title,
                                         {{u"HomePage"_s, home},
                                          {u"CategoryID"_s, home.startsWith(u"https"_s) ? category : QVariant()},
                                          {u"Description"_s, u"5 < 6,\r\n\"so\" & on]]>"_s}});
        };
        // The classic page writes titles as they are, and XML may hold neither of the last two letters.
        const QString title = style == PageStyle::Classic ? u"\u20ac \U0001F600 'z'"_s : u"<b>&amp;</b> \u20ac \"z\""_s;
        add(style == PageStyle::Opml ? title + u"\u0001\uffff"_s : title, u"http://one.example/?a=1&b=%20,'2'"_s);
        add(u"Two  and\r\nlines"_s, u"https://two.example"_s);
        add(u"No page"_s, u""_s);
        add(u"Script"_s, u"javascript:alert(1)"_s);
        modIO::ExportLinks(Database(), u"Own"_s, {.style = style}, File());
        QCOMPARE(RunFile(m_program->disk->ReadFile(File())), Ending::Done);
        QString listed = Listed();
        // Where a click would run it, what is no web address is no link.
        const bool asItIs = style == PageStyle::Classic || style == PageStyle::Csv || style == PageStyle::Json;
        QCOMPARE(listed.contains(u" javascript:alert(1)[Script]"_s), asItIs);
        listed.remove(u" javascript:alert(1)[Script]"_s);
        QStringList expected{u"https://two.example[Two and lines]"_s,
                             u"http://one.example/?a=1&b=%20,'2'["_s + title + u']'};
        if (style == PageStyle::Alphabetical)
            std::reverse(expected.begin(), expected.end());
        QCOMPARE(listed, expected.join(u' '));
    }

    void ReadsFilesOfOthers_data()
    {
        const testTable<QByteArray, QString> row;
        row("bookmarks of a browser",
            "<!DOCTYPE NETSCAPE-Bookmark-file-1><META HTTP-EQUIV=Content-Type CONTENT='text/html; charset=UTF-8'>"
            "<DL><p><DT><H3>Bar</H3><DL><p><DT><A HREF=\"http://a.example/\" ICON=\"data:image/png;base64,AA==\">"
            "\xc3\x84 &amp; B</A><DD>note <DT><H3>In</H3><DL><p><DT><A HREF=\"http://b.example/\">b</A></DL><p></DL><p>"
            "<HR><DT><A HREF=\"place:sort=8\">Recent</A></DL>",
            u"http://a.example/[Ä & B] http://b.example/[b] place:sort=8[Recent]"_s);
        row("what is relative leads nowhere",
            "\xef\xbb\xbf <a href=#top>up</a><a href=x>x</a><a href='http://a.example/'>a", u"http://a.example/[a]"_s);
        row("outline of feeds",
            "<?xml version='1.0'?><opml><body><outline text='Folder'><outline title='A' xmlUrl='http://a.example/feed' "
            "htmlUrl='http://a.example/'/><outline text='B &amp; C' url=' http://b.example/ '/>"
            "<outline xmlUrl='http://f.example'/></outline></body></opml>",
            u"http://a.example/[A] http://b.example/[B & C]"_s);
        const QString wide = u"\ufeff<opml><outline text='\u20ac' url='http://a.example/'/></opml>"_s;
        row("two bytes a letter", QByteArray(reinterpret_cast<const char*>(wide.utf16()), wide.size() * 2),
            u"http://a.example/[€]"_s);
        row("table of a spreadsheet",
            "Name,E-Mail,Home Page,Url\nA,a@x,http://a.example/,http://no.example/\n,,,\nB,,http://b.example/,\n",
            u"http://a.example/[A] http://b.example/[B]"_s);
        row("JSON of a browser",
            R"({"roots":{"bar":{"children":[{"name":"A","url":"http://a.example/"},{"children":[)"
            R"({"title":"B","uri":"http://b.example/","id":7}]}]}}})",
            u"http://a.example/[A] http://b.example/[B]"_s);
    }
    void ReadsFilesOfOthers()
    {
        const auto [content, expected] = testRow<QByteArray, QString>();
        QCOMPARE(RunFile(content), Ending::Done);
        QCOMPARE(Listed(), expected);
    }

    void RefusesFilesWithAReason_data()
    {
        const testTable<QByteArray, QString> row;
        row("unfinished outline", "<opml><body>\n<outline text='a' url='http://a.example/'>",
            u"Line 2: Premature end of document."_s);
        QByteArray bomb = "<!DOCTYPE opml [<!ENTITY a0 'aaaaaaaaaaaaaaaaaaaa'>";
        for (int i = 1; i < 12; ++i)
            bomb += "<!ENTITY a" + QByteArray::number(i) + " '" +
                    ("&a" + QByteArray::number(i - 1) + ';').repeated(20) + "'>";
        row("entities that burst", bomb + "]><opml><outline text='&a11;' url='http://a.example/'/></opml>",
            u"Line 1: Entity expands to more characters than the entity expansion limit."_s);
        row("tags without end", QByteArray("<a>").repeated(1'600'000), u"It has too many tags."_s);
        row("lists in lists", QByteArray(2'000'000, '['), u"It has too many parts."_s);
        row("no addresses", "Name,Phone\nA,1\n",
            u"It is neither a web page nor an outline, and none of its columns is called HomePage, URL or Address."_s);
        row("columns without end", QByteArray(5'000'000, ','), u"Line 1: It has more than 1000 values."_s);
        row("too many links", "URL\n" + QByteArray("http://a.example/\n").repeated(200'001),
            u"It holds more than 200000 links."_s);
        row("too large", QByteArray(clsLinkFiles::MostBytes + 1, ' '), u"It is larger than 16 MB."_s);
    }
    void RefusesFilesWithAReason()
    {
        const auto [content, reason] = testRow<QByteArray, QString>();
        m_program->dialogs.Expect(u"The links of %1 could not be read.\r\n%2"_s.arg(File(), reason));
        QCOMPARE(RunFile(content), Ending::PageFailed);
        QVERIFY(m_harvest->Links().empty() && m_program->dialogs.expected.isEmpty());
    }

    void AFileTakesTheAddressesPlace()
    {
        const auto problem = [&](const QString& url) {
            m_harvest->SetWish({u"Shop"_s, url, true, true});
            return m_harvest->Problem();
        };
        QCOMPARE(problem(File()), u"There is no file "_s + File() + u'.');
        QCOMPARE(RunFile("URL\nhttp://a.example/\n"), Ending::Done);
        QCOMPARE(m_harvest->CountText(), u"1 links were harvested from this file."_s);
        m_program->dialogs.Expect(u"No links were found in %1."_s.arg(File()));
        QCOMPARE(RunFile(""), Ending::NoLinks);
        // Stop is heard while a file is taken apart.
        QTimer::singleShot(0, this, [] { State().StopFlag = true; });
        QCOMPARE(RunFile("<p>" + QByteArray("<a href=http://a.example/>a</a>").repeated(50'000)), Ending::Stopped);
        QVERIFY(m_program->dialogs.expected.isEmpty());
    }

    void MarksWhoIsKnown()
    {
        clsTestInstallation::AddSite(Database(), u"Other"_s);
        {
            clsTransaction transaction(Database());
            const auto partner = [](const QString& site, const QString& home, int status) {
                clsTestInstallation::AddLink(Database(), site, home, {{u"HomePage"_s, home}, {u"Status"_s, status}});
            };
            partner(u"SHOP"_s, u"http://www.one.example"_s, 2);
            partner(u"Other"_s, u"https://one.example/"_s, 5);
            partner(u"Shop"_s, u"http://two.example/"_s, 5);
            partner(u"Other"_s, u"http://three.example/"_s, 0);
            transaction.Commit();
        }
        QByteArray html = "<a href=http://one.example/>1</a><a href=http://www.two.example>2</a>"
                          "<a href=http://three.example/>3</a><a href=http://three.example/deep.html>4</a>"
                          "<a href='javascript:go()'>5</a>";
        html += QByteArray("<a href=http://more.example/>6</a>").repeated(5000);
        m_server.Answer("/many.html", serverReply::Page(html));
        QCOMPARE(Run(u"/many.html"_s, false), Ending::Done);
        const auto& links = m_harvest->Links();
        QCOMPARE(links.size(), std::size_t{5005});
        QCOMPARE(links[0].marks, QStringList({u"partner of this site"_s, u"declined for Other"_s}));
        QCOMPARE(links[1].marks, QStringList(u"declined"_s));
        QCOMPARE(links[2].marks, QStringList(u"partner of Other"_s));
        QCOMPARE(links[3].marks, QStringList());
        QCOMPARE(links[4].marks, QStringList(u"no web address"_s));
    }

    void AddsExactlyTheChosen()
    {
        const QByteArray longAddress = "http://long.example/" + QByteArray(300, 'x');
        m_server.Answer("/p.html", serverReply::Page("<a href=http://a.example/>A</a><a href=http://b.example/>B</a>"
                                                     "<a href=" +
                                                     longAddress + ">C</a>"));
        QCOMPARE(Run(u"/p.html"_s), Ending::Done);
        m_program->dialogs.Expect(u"The harvested links have been added as reciprocal links of the \"shop\" site."_s);
        QVERIFY(m_harvest->Add({1, 2}));

        const auto links = Database().OpenRecordset(u"tblLinkList"_s);
        QCOMPARE(links->RecordCount(), 2);
        const clsRecordValues written{{u"SiteName"_s, u"Shop"_s},
                                      {u"Title"_s, u"http://b.example/"_s},
                                      {u"HomePage"_s, u"http://b.example/"_s},
                                      {u"Message"_s, 1},
                                      {u"Status"_s, 0},
                                      {u"Comments"_s, u"Link was added via the Link Harvest Wizard on Monday, "
                                                      "January 5, 2026"_s},
                                      {u"Offers"_s, 0},
                                      {u"EmailQueue"_s, 0},
                                      {u"TestQueue"_s, 0},
                                      {u"ID"_s, links->Field(u"ID"_s)}};
        for (const QString& field : links->FieldNames())
            QCOMPARE(links->Field(field).toString(), written.value(field).toString());
        links->MoveLast();
        QCOMPARE(links->Field(u"Title"_s).toString(), QString::fromLatin1(longAddress.left(255)));
        QCOMPARE(links->Field(u"HomePage"_s).toString(), QString::fromLatin1(longAddress));
    }

    void AFullDiskAddsNone()
    {
        QByteArray html;
        for (int i = 0; i < 2000; ++i)
            html += "<a href=http://p" + QByteArray::number(i) + ".example/" + QByteArray(100, 'x') + ">p</a>";
        m_server.Answer("/p.html", serverReply::Page(html));
        QCOMPARE(Run(u"/p.html"_s), Ending::Done);
        std::vector<std::size_t> all(m_harvest->Links().size());
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = i;
        {
            const fullDisk disk(static_cast<rlim_t>(QFile(m_program->installation.DatabasePath()).size()) + 65536);
            QVERIFY(!m_harvest->Add(all));
        }
        QVERIFY(m_program->windows.calls.contains(u"error critical"_s) ||
                m_program->windows.calls.contains(u"error exclamation"_s));
        QCOMPARE(Database().OpenRecordset(u"tblLinkList"_s)->RecordCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_harvest)
#include "tst_harvest.moc"
