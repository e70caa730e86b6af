// SPDX-License-Identifier: GPL-3.0-or-later
// The link test as a user runs it: the rules, over the real database, the real HTTP control and real servers.
#include "data/modDataModel.h"
#include "linktest/clsHTTP.h"
#include "platform/clsDatabase.h"
#include "support/faults.h"
#include "support/program.h"
#include "support/run_parent.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <arpa/inet.h>
#include <fcntl.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Ending = clsHTTP::Ending;

namespace
{
void SetLimits(qint16 timeoutSeconds, qint16 simultaneousDownloads = 32)
{
    modBrambury::State().Settings.Timeout = timeoutSeconds;
    modBrambury::State().Settings.SimultaneousDownloads = simultaneousDownloads;
}

QByteArray Html(const QByteArrayList& links, const QByteArrayList& images = {})
{
    QByteArray body = "<!DOCTYPE html><html><body>\n";
    for (const QByteArray& image : images)
        body += "<img src=\"" + image + "\">\n";
    for (const QByteArray& link : links)
        body += "<p><a href=\"" + link + "\">friends</a></p>\n";
    return body + "</body></html>\n";
}

const QString End = u"END LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM"_s;
const QByteArray ShopHome = "http://www.shop.example/";

/// What stands on a page; by itself what Ann's Shop and Bob promised each other.
struct Page
{
    QByteArrayList links;
    QByteArrayList images;
    [[nodiscard]] serverReply Reply() const { return serverReply::Page(Html(links, images)); }
};
const Page BobsPage{{ShopHome}, {"top.gif", "/pictures/shop.gif"}};
const Page AnnsPage{{"http://www.bob.example/"}, {"top.gif", "bob.gif"}};

serverReply PartnerPage()
{
    return BobsPage.Reply();
}

/// A port at which nobody listens.
quint16 ClosedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// A port that takes no connection and refuses none: its queue is full.
class FullPort
{
public:
    FullPort()
    {
        m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size);
        ::listen(m_listener, 0);
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
        m_port = ntohs(address.sin_port);
        for (QTcpSocket& socket : m_waiting)
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
        m_waiting[0].waitForConnected();
    }
    ~FullPort() { ::close(m_listener); }
    [[nodiscard]] quint16 Port() const { return m_port; }

private:
    int m_listener = -1;
    quint16 m_port = 0;
    QTcpSocket m_waiting[3];
};
/// A fresh installation with an empty database for every test function.
class linktestFixture
{
public:
    linktestFixture()
    {
        modBrambury::State().CurrentSite = u"Shop"_s;
        modBrambury::State().Tests = {true, true, true, true};
    }

    clsTestProgram program;
    recordingParent parent;
    fakeLogWindow log;
    clsHTTP::Ending ending = clsHTTP::Ending::Failed;
    qint64 failed = -1;

    static clsDatabase& Database() { return *modBrambury::State().Database; }

    /// The site "Shop", titled "Ann's Shop", unless `fields` say otherwise.
    static void AddSite(const clsRecordValues& fields = {})
    {
        clsRecordValues site{{u"SiteName"_s, u"Ann's Shop"_s},
                             {u"HomePage"_s, u"http://www.shop.example/"_s},
                             {u"LinkPage"_s, u"http://www.shop.example/links.htm"_s},
                             {u"ImageFile"_s, u"shop.gif"_s}};
        site.insert(fields);
        clsTestInstallation::AddSite(Database(), fields.value(u"SiteID"_s, u"Shop"_s).toString(), site);
    }
    /// A queued, active partner "Bob" of "Shop", unless `fields` say otherwise. @return its ID
    static qint64 AddLink(const clsRecordValues& fields = {})
    {
        clsRecordValues link{{u"HomePage"_s, u"http://www.bob.example/"_s},
                             {u"LinkPage"_s, u"http://www.bob.example/links.htm"_s},
                             {u"ImageFile"_s, u"bob.gif"_s},
                             {u"TestQueue"_s, true}};
        link.insert(fields);
        return clsTestInstallation::AddLink(Database(), u"Shop"_s, u"Bob"_s, link);
    }
    static QVariant Field(qint64 linkID, const char* name)
    {
        return clsTestInstallation::LinkField(Database(), linkID, QString::fromLatin1(name));
    }
    static int Results(qint64 linkID) { return Field(linkID, "Results").toInt(); }
    static int Status(qint64 linkID) { return Field(linkID, "Status").toInt(); }
    static bool Queued(qint64 linkID) { return Field(linkID, "TestQueue").toBool(); }

    void Run()
    {
        clsHTTP test(
            {.Parent = &parent, .LogWindow = &log, .Platform = modBrambury::Platform(), .Database = &Database()});
        test.CheckLinks();
        ending = test.LastEnding();
        failed = test.FailedLinks();
    }
    [[nodiscard]] QStringList Lines() const { return log.Text().split(u"\r\n"_s); }
};
} // namespace

class tst_linktest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<linktestFixture>();
        m_server = std::make_unique<scriptedServer>();
        m_server->Answer("/own.htm", AnnsPage.Reply());
        m_server->Answer("/bob.htm", BobsPage.Reply());
    }
    void cleanup()
    {
        m_fixture.reset();
        m_server.reset();
    }
    void PageAddresses();
    void Searching_data();
    void Searching();
    void NextRunStartsWithEmptySlots();
    void SkippedTestsPass();
    void LogLines();
    void SessionsWithoutAVerdict_data();
    void SessionsWithoutAVerdict();
    void OrderOneAtATime();
    void MixedRun();
    void DeadPartnersShareOneWait();
    void StopActsAtOnce_data();
    void StopActsAtOnce();
    void LockedDatabase_data();
    void LockedDatabase();

private:
    QString Own() const { return m_server->Url(u"/own.htm"_s); }
    QString Bob() const { return m_server->Url(u"/bob.htm"_s); }
    /// What was asked for, in its order.
    QByteArray Asked() const
    {
        QByteArrayList targets;
        for (const serverRequest& request : m_server->Requests())
            targets << request.target;
        return targets.join(' ');
    }

    std::unique_ptr<linktestFixture> m_fixture;
    std::unique_ptr<scriptedServer> m_server;
};

void tst_linktest::PageAddresses()
{
    for (const auto& page : {u"a/links.htm"_s, u"a/links.html"_s, u"a/x.pl"_s, u"a/"_s})
        QCOMPARE(clsHTTP::PageAddress(page), page);
    for (const auto& folder : {u"a/links"_s, u"a/links.HTM"_s, u"a/links.php"_s, u"a/x.htm?y=1"_s})
        QCOMPARE(clsHTTP::PageAddress(folder), folder + u'/');
}

void tst_linktest::Searching_data()
{
    const testTable<int, Page, Page, clsRecordValues, clsRecordValues> row; // results, Bob's page, Ann's, site, link
    const clsRecordValues noWww{{u"HomePage"_s, u"http://shop.example/"_s}};
    const Page& bobs = BobsPage;
    const Page& anns = AnnsPage;
    const auto bobHas = [&](const QByteArrayList& links) { return Page{links, bobs.images}; };
    const auto annHas = [&](const QByteArrayList& links) { return Page{links, anns.images}; };
    row("without www.", 1, bobHas({"http://shop.example/"}), anns, {}, {});
    row("final slash added", 1, bobs, annHas({"http://bob.example/"}), {},
        {{u"HomePage"_s, u"http://www.bob.example"_s}});
    row("final slash not taken off", 4, bobHas({"http://www.shop.example"}), anns, {}, {});
    row("deeper path and query do not count", 4,
        bobHas({"http://www.shop.example/x/", "http://www.shop.example/?from=bob"}), anns, {}, {});
    row("home page without www. is found by /", 1, bobHas({"/"}), anns, noWww, {});
    row("home page without www. is found by an empty link", 1, bobHas({""}), anns, noWww, {});
    row("but not home pages with it", 4, bobHas({"/", ""}), anns, {}, {});
    row("IP form does not count at the partner's", 4, bobHas({"http://1.2.3.4/"}), anns,
        {{u"IPAddress"_s, u"1.2.3.4"_s}}, {});
    row("IP form counts at home", 1, bobs, annHas({"http://5.6.7.8/"}), {}, {{u"IPAddress"_s, u"5.6.7.8"_s}});
    row("IP form without www. is the bare path", 1, bobs, annHas({"x/"}), {},
        {{u"HomePage"_s, u"http://bob.example/x/"_s}, {u"IPAddress"_s, u"5.6.7.8"_s}});
    row("first image never counts", 8, {bobs.links, {"shop.gif", "top.gif"}}, anns, {}, {});
    row("a single image never counts", 32, bobs, {anns.links, {"bob.gif"}}, {}, {});
    row("an image's query belongs to its name", 8, {bobs.links, {"top.gif", "shop.gif?x"}}, anns, {}, {});
    row("own server refuses", 64, bobs, anns, {{u"LinkPage"_s, u"http://127.0.0.1:%1/"_s.arg(ClosedPort())}}, {});
    row("own address is none", 512, bobs, anns, {{u"LinkPage"_s, u"ftp://shop.example/"_s}}, {});
}

void tst_linktest::Searching()
{
    auto [results, bobs, anns, site, link] = testRow<int, Page, Page, clsRecordValues, clsRecordValues>();
    if (!site.contains(u"LinkPage"_s))
        site.insert(u"LinkPage"_s, Own());
    link.insert(u"LinkPage"_s, Bob());
    m_server->Answer("/own.htm", anns.Reply());
    m_server->Answer("/bob.htm", bobs.Reply());
    m_fixture->AddSite(site);
    const qint64 bob = m_fixture->AddLink(link);
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(bob), results);
    QCOMPARE(m_fixture->Status(bob), results == 1 ? modDataModel::Active : modDataModel::Broken);
    QCOMPARE(m_fixture->Field(bob, "LastSuccessfulTest").toString(),
             results == 1 ? u"2026-01-05 15:07:09"_s : QString());
    QVERIFY(!m_fixture->Queued(bob));
    QCOMPARE(m_fixture->failed, results == 1 ? 0 : 1);
}

/// Codes are carried over within a run, as the mixed one shows; the next run starts with none.
void tst_linktest::NextRunStartsWithEmptySlots()
{
    m_fixture->AddSite({{u"LinkPage"_s, Own()}});
    m_server->Answer("/bob.htm", Page{{}, BobsPage.images}.Reply());
    const qint64 active = m_fixture->AddLink({{u"LinkPage"_s, Bob()}});
    const qint64 inactive = m_fixture->AddLink({{u"LinkPage"_s, Bob()}, {u"Status"_s, modDataModel::Inactive}});
    m_fixture->Run();
    QCOMPARE(m_fixture->parent.progress.join(u' '), u"1/2 2/2"_s);
    QCOMPARE(m_fixture->Results(active), 4);
    m_server->Answer("/bob.htm", Page{BobsPage.links, {}}.Reply());
    const qint64 later = m_fixture->AddLink({{u"LinkPage"_s, Bob()}});
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(later), 8);
    // Only an active link breaks.
    QCOMPARE(m_fixture->Status(active), modDataModel::Broken);
    QCOMPARE(m_fixture->Status(inactive), modDataModel::Inactive);
}

void tst_linktest::SkippedTestsPass()
{
    // The switches are those of the selected site, whatever site the links belong to.
    m_fixture->AddSite({{u"LinkPage"_s, Own()}});
    m_fixture->AddSite({{u"SiteID"_s, u"Other"_s}, {u"LinkPage"_s, Own()}});
    modBrambury::State().CurrentSite = u"Other"_s;
    modBrambury::State().Tests = {
        .MyLinkAtRecipSite = false, .MyImageAtRecipSite = true, .RecipLinkAtMySite = true, .RecipImageAtMySite = false};
    const qint64 declined = m_fixture->AddLink({{u"SiteName"_s, u"Other"_s},
                                                {u"Status"_s, modDataModel::Declined},
                                                {u"HomePage"_s, QVariant()},
                                                {u"LinkPage"_s, Bob()},
                                                {u"Results"_s, 60}});
    const qint64 unqueued =
        m_fixture->AddLink({{u"SiteName"_s, u"other"_s}, {u"TestQueue"_s, false}, {u"Results"_s, 4}});
    const qint64 elsewhere = m_fixture->AddLink({{u"TestQueue"_s, false}, {u"Results"_s, 4}});
    const qint64 ownPageOnly = m_fixture->AddLink({{u"LinkPage"_s, Bob()}});
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(declined), 1);
    QCOMPARE(m_fixture->Status(declined), modDataModel::Active);
    QCOMPARE(m_fixture->Results(ownPageOnly), 1);
    QCOMPARE(Asked(), "/own.htm");
    // Old results go for the selected site's links, queued or not, and for no other's.
    QCOMPARE(m_fixture->Results(unqueued), 0);
    QCOMPARE(m_fixture->Results(elsewhere), 4);
}

/// The lines with names; those with addresses are read in the mixed run.
void tst_linktest::LogLines()
{
    modBrambury::State().Settings.ShowURL = 0;
    modBrambury::State().Settings.ClearResultsLog = u"Yes"_s;
    modBrambury::State().Settings.PlaySoundComplete = u"Yes"_s;
    modBrambury::State().Settings.SoundComplete = modBrambury::DatabasePath(); // any file that exists
    m_fixture->log.Append(u"old lines"_s, 0);
    m_fixture->AddSite(
        {{u"HomePage"_s, u"http://www.Shop.example/"_s}, {u"ImageFile"_s, u"Shop.gif"_s}, {u"LinkPage"_s, Own()}});
    m_fixture->AddLink({{u"LinkPage"_s, Bob()}});
    m_fixture->AddLink({{u"Title"_s, u"Carl"_s},
                        {u"HomePage"_s, u"http://www.carl.example/"_s},
                        {u"LinkPage"_s, u"http://127.0.0.1:%1/"_s.arg(ClosedPort())},
                        {u"ImageFile"_s, QVariant()}});
    m_server->Answer("/bob.htm", Page{BobsPage.links, {}}.Reply());
    m_server->Answer("/own.htm", Page{{}, AnnsPage.images}.Reply());
    m_fixture->Run();
    QCOMPARE(m_fixture->Lines().join(u'\n'), uR"(BEGIN LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM
  • Current site: Ann's Shop
    • Searching Bob for a reference to Ann's Shop
        Located a link to Ann's Shop on Bob
        Could not locate reference to image file Shop.gif on Bob
    • Searching Ann's Shop for a reference to Bob
        Could not locate a link to Bob on Ann's Shop
        Located reference to image file bob.gif on Ann's Shop
    • Searching Carl for a reference to Ann's Shop
    • The SMTP server connection was refused
    • Searching Ann's Shop for a reference to Carl
        Could not locate a link to Carl on Ann's Shop
)"_s + End);
    QCOMPARE(m_fixture->program.sound.played, QStringList{modBrambury::DatabasePath()});
}

void tst_linktest::SessionsWithoutAVerdict_data()
{
    const testTable<bool, bool, QVariant, QString, QString, Ending> row; // queued, connected, site, box, line
    const QVariant shop = u"Shop"_s;
    const QString none = u"There are no links selected for testing."_s;
    row("nothing queued", false, true, shop, none, u"  \u2022 "_s + none, Ending::Empty);
    row("offline", true, false, shop, u"Could not establish a connected to the Internet."_s,
        u"  \u2022 Could not establish a connection to the Internet.  Process aborted."_s, Ending::NoConnection);
    const QString unknown = u"Could not locate information for site Sold \"Shop\".  Process aborted."_s;
    row("unknown site", true, true, u"Sold \"Shop\""_s, unknown, u"    \u2022 "_s + unknown, Ending::UnknownSite);
    const QString nameless = u"Could not locate information for site .  Process aborted."_s;
    row("no site at all", true, true, {}, nameless, u"    \u2022 "_s + nameless, Ending::UnknownSite);
}

void tst_linktest::SessionsWithoutAVerdict()
{
    const auto [queued, connected, site, box, line, ending] = testRow<bool, bool, QVariant, QString, QString, Ending>();
    m_fixture->AddSite({{u"LinkPage"_s, Own()}});
    const qint64 bob = m_fixture->AddLink(
        {{u"TestQueue"_s, queued}, {u"SiteName"_s, site}, {u"LinkPage"_s, Bob()}, {u"Results"_s, 4}});
    m_fixture->program.connection.connected = connected;
    m_fixture->program.dialogs.Expect(box);
    m_fixture->Run();
    QCOMPARE(m_fixture->program.dialogs.shown, QStringList{box});
    QVERIFY(m_fixture->Lines().contains(line));
    QCOMPARE(m_fixture->Lines().last(), End);
    QCOMPARE(m_fixture->ending, ending);
    QCOMPARE(m_fixture->Queued(bob), queued);
    QCOMPARE(Asked(), "");
    if (!queued)
        QCOMPARE(m_fixture->Results(bob), 4); // without a queue the old results stay
}

void tst_linktest::OrderOneAtATime()
{
    // Two sites by turns, sorted by title; links that skip one direction or both.
    modBrambury::State().Settings.Sort = 2;
    m_fixture->AddSite({{u"LinkPage"_s, Own()}, {u"IPAddress"_s, QVariant()}});
    SetLimits(5, 1);
    m_fixture->AddSite({{u"SiteID"_s, u"Farm"_s},
                        {u"SiteName"_s, QString()},
                        {u"HomePage"_s, u"http://www.Farm.example/"_s},
                        {u"LinkPage"_s, m_server->Url(u"/barn"_s)}});
    const auto add = [&](const QString& title, const QString& site, const QString& home, const QString& page) {
        return QString::number(m_fixture->AddLink(
            {{u"Title"_s, title}, {u"SiteName"_s, site}, {u"HomePage"_s, home}, {u"LinkPage"_s, page}}));
    };
    const QString d = add(u"d"_s, u"Shop"_s, u"http://www.d.example/"_s, m_server->Url(u"/d"_s));
    const QString b = add(u"B"_s, u"Farm"_s, u"http://www.b.example/"_s, m_server->Url(u"/b.html"_s));
    const QString c = add(u"c"_s, u"farm"_s, {}, m_server->Url(u"/c/"_s));
    const QString e = add(u"e"_s, u"Shop"_s, {}, {});
    const QString a = add(u"a"_s, u"Shop"_s, u"http://www.a.example/"_s, {});
    m_fixture->Run();

    // a: own page only; c: the partner's page only; e: neither. What is not shared is fetched again.
    QCOMPARE(Asked(), "/own.htm /b.html /barn/ /c/ /d/ /own.htm");
    QCOMPARE(m_server->PeakRequests(), 1);
    // A site without a title goes by its key, and a key in other letters is the same site.
    QCOMPARE(m_fixture->parent.highlighted.join(u'|'),
             u"%1 Ann's Shop|%2 Farm|%3 Farm|%4 Ann's Shop|%5 Ann's Shop"_s.arg(a, b, c, d, e));
    QCOMPARE(m_fixture->Lines().filter(u"Current site: "_s).size(), 3);
}

void tst_linktest::MixedRun()
{
    SetLimits(1);
    modBrambury::State().Settings.ShowURL = 1;
    const auto url = [&](const char* path) { return m_server->Url(QLatin1String(path)); };
    const QString closed = u"http://127.0.0.1:%1/fay.htm"_s.arg(ClosedPort());

    m_fixture->AddSite({{u"LinkPage"_s, url("/shop/links.htm")}});
    m_fixture->AddSite({{u"SiteID"_s, u"Farm"_s},
                        {u"SiteName"_s, QVariant()},
                        {u"HomePage"_s, u"http://Farm.example/"_s},
                        {u"LinkPage"_s, url("/deep/links")},
                        {u"ImageFile"_s, QVariant()}});
    m_server->Answer("/shop/links.htm", serverReply::Page(Html({"http://www.bob.example/", "http://carl.example/",
                                                                "http://www.dora.example", "http://www.dora.example/",
                                                                "http://www.emil.example/", "http://www.gus.example/",
                                                                "http://www.pia.example/"},
                                                               {"top.gif", "bob.gif", "pia.gif"})));
    m_server->Answer("/deep/links/",
                     serverReply::Page(Html({"http://10.1.2.3/x/", "http://kim.example/"}, {"kim.gif"})));

    struct Partner
    {
        const char* title;
        const char* site;
        modDataModel::Status before;
        QString linkPage;
        clsRecordValues more;
        int results;
        modDataModel::Status after;
    };
    const clsRecordValues janAtHome{{u"HomePage"_s, u"http://www.jan.example/x/"_s}, {u"IPAddress"_s, u"10.1.2.3"_s}};
    const clsRecordValues kimAtHome{{u"HomePage"_s, u"http://kim.example/"_s}, {u"ImageFile"_s, u"kim.gif"_s}};
    using enum modDataModel::Status;
    const QList<Partner> partners{
        // Codes stay in their slots: 4 of Carl until Emil's 128, 8 of Dora, 16 of Fay and 32 of Kim to the end.
        {"Bob", "Shop", Active, url("/bob.htm"), {{u"ImageFile"_s, u"bob.gif"_s}}, 1, Active},
        {"Carl", "Shop", Active, url("/carl"), {}, 4, Broken},
        {"Dora", "Shop", Offer, url("/dora.htm"), {}, 4 + 8, Offer},
        {"Emil", "shop", Active, url("/emil.htm"), {}, 128 + 8, Broken},
        {"Fay", "Shop", InProcess, closed, {}, 128 + 8 + 16, InProcess},
        {"Gus", "Shop", Active, u"ftp://gus.example/"_s, {}, 256 + 8 + 16, Broken},
        {"Jan", "Farm", Active, url("/jan.htm"), janAtHome, 1, Active},
        {"Kim", "Farm", Broken, url("/kim.htm"), kimAtHome, 256 + 8 + 16 + 32, Broken},
        {"Otto", "Shop", Active, url("/otto.htm"), {}, 128 + 8 + 16 + 32, Broken},
        {"Pia", "Shop", Broken, url("/pia.htm"), {{u"ImageFile"_s, u"pia.gif"_s}}, 1, Active},
    };
    const QByteArray onlyTheLink = Html({ShopHome}, {"shop.gif"});
    m_server->Answer("/bob.htm", PartnerPage().After(300ms)); // slow, and still the first verdict
    const QByteArray packed = serverBody::Gzip(Html({"http://elsewhere.example/"}, {"top.gif", "shop.gif"}));
    m_server->Answer("/carl/", serverReply::Page(packed, "Content-Encoding: gzip\r\nContent-Type: text/html\r\n"));
    m_server->Answer("/dora.htm", serverReply::Redirect("/dora2/"));
    m_server->Answer("/dora2/", serverReply::Page(onlyTheLink));
    m_server->Answer("/emil.htm", serverReply::Page(onlyTheLink, "Content-Type: text/html\r\n", "404 Not Found"));
    m_server->Answer("/jan.htm", serverReply::Page(Html({"/"})));
    m_server->Answer("/kim.htm", serverReply::Bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" +
                                                    serverBody::Chunked("<p>Gr\xfc\xdf"
                                                                        "e <A HREF='HTTP://FARM.EXAMPLE/'>x",
                                                                        7)));
    m_server->Answer("/otto.htm", serverReply().Silent());
    m_server->Answer("/pia.htm", PartnerPage());

    QList<qint64> ids;
    for (const Partner& partner : partners) {
        clsRecordValues fields{{u"Title"_s, QLatin1String(partner.title)},
                               {u"SiteName"_s, QLatin1String(partner.site)},
                               {u"HomePage"_s, u"http://www.%1.example/"_s.arg(QLatin1String(partner.title))},
                               {u"LinkPage"_s, partner.linkPage},
                               {u"ImageFile"_s, QString()},
                               {u"Status"_s, partner.before}};
        fields.insert(partner.more);
        ids << m_fixture->AddLink(fields);
    }

    m_fixture->Run();

    QString expected = uR"(BEGIN LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM
  * Current site: Ann's Shop
    * Searching S/bob.htm for a reference to http://www.shop.example/
        Located link http://www.shop.example/ at S/bob.htm
        Located reference to image file shop.gif at S/bob.htm
    * Searching S/shop/links.htm for a reference to http://www.bob.example/
        Located link http://www.bob.example/ at S/shop/links.htm
        Located reference to image file bob.gif at S/shop/links.htm
    * Searching S/carl/ for a reference to http://www.shop.example/
        Could not locate link http://www.shop.example/ at S/carl/
        Located reference to image file shop.gif at S/carl/
    * Searching S/shop/links.htm for a reference to http://www.carl.example/
        Located link http://www.carl.example/ at S/shop/links.htm
    * Searching S/dora.htm for a reference to http://www.shop.example/
        Located link http://www.shop.example/ at S/dora.htm
        Could not locate reference to image file shop.gif at S/dora.htm
    * Searching S/shop/links.htm for a reference to http://www.dora.example/
        Located link http://www.dora.example/ at S/shop/links.htm
    * Searching S/emil.htm for a reference to http://www.shop.example/
    * Unknown Error
    * Searching S/shop/links.htm for a reference to http://www.emil.example/
        Located link http://www.emil.example/ at S/shop/links.htm
    * Searching CLOSED for a reference to http://www.shop.example/
    * The SMTP server connection was refused
    * Searching S/shop/links.htm for a reference to http://www.fay.example/
        Could not locate link http://www.fay.example/ at S/shop/links.htm
    * Searching ftp://gus.example/ for a reference to http://www.shop.example/
    * Internet address not found
    * Searching S/shop/links.htm for a reference to http://www.gus.example/
        Located link http://www.gus.example/ at S/shop/links.htm
  * Current site: Farm
    * Searching S/jan.htm for a reference to http://farm.example/
        Located link http://farm.example/ at S/jan.htm
    * Searching S/deep/links/ for a reference to http://www.jan.example/x/
        Located link http://www.jan.example/x/ at S/deep/links/
    * Searching S/kim.htm for a reference to http://farm.example/
        Located link http://farm.example/ at S/kim.htm
    * Searching S/deep/links/ for a reference to http://kim.example/
        Located link http://kim.example/ at S/deep/links/
        Could not locate reference to image file kim.gif at S/deep/links/
  * Current site: Ann's Shop
    * Searching S/otto.htm for a reference to http://www.shop.example/
    * Operation timed out while attempting to connect to host server.
    * Searching S/shop/links.htm for a reference to http://www.otto.example/
        Could not locate link http://www.otto.example/ at S/shop/links.htm
    * Searching S/pia.htm for a reference to http://www.shop.example/
        Located link http://www.shop.example/ at S/pia.htm
        Located reference to image file shop.gif at S/pia.htm
    * Searching S/shop/links.htm for a reference to http://www.pia.example/
        Located link http://www.pia.example/ at S/shop/links.htm
        Located reference to image file pia.gif at S/shop/links.htm
END LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM)"_s;
    expected.replace(u"  * "_s, u"  \u2022 "_s).replace(u"CLOSED"_s, closed).replace(u" S/"_s, u' ' + url("/"));
    QCOMPARE(m_fixture->Lines(), expected.split(u'\n'));
    for (qsizetype i = 0; i < partners.size(); ++i) {
        const auto described = [&](int results, int status) {
            return u"%1: %2, status %3"_s.arg(QLatin1String(partners[i].title)).arg(results).arg(status);
        };
        QCOMPARE(described(m_fixture->Results(ids[i]), m_fixture->Status(ids[i])),
                 described(partners[i].results, partners[i].after));
        QVERIFY(!m_fixture->Queued(ids[i]));
        QCOMPARE(m_fixture->Field(ids[i], "LastSuccessfulTest").isNull(), partners[i].results != 1);
    }
    QCOMPARE(m_fixture->ending, Ending::Done);
    QCOMPARE(m_fixture->failed, 7);
    // The own pages were needed for every link and asked for once.
    QCOMPARE(m_server->Count("/shop/links.htm"), 1);
    QCOMPARE(m_server->Count("/deep/links/"), 1);
    const QList<serverRequest> requests = m_server->Requests();
    const auto first = std::ranges::find(requests, QByteArray("/bob.htm"), &serverRequest::target);
    QCOMPARE(first->raw, "GET /bob.htm HTTP/1.1\r\n"
                         "Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, application/vnd.ms-excel, "
                         "application/msword, */*\r\n"
                         "Accept-Language: en-us\r\nAccept-Encoding: gzip, deflate\r\n"
                         "User-Agent: Mozilla/4.0 (compatible; MSIE 4.01; Windows 95)\r\nHost: 127.0.0.1:" +
                             QByteArray::number(m_server->Port()) + "\r\n\r\n");
    // The page file holds the last page; nothing is left open.
    QVERIFY(QFile::exists(modBrambury::FolderPath(u"\\$$$http.tmp"_s)));
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_linktest::DeadPartnersShareOneWait()
{
    SetLimits(1);
    scriptedServer web({.address = QHostAddress(QHostAddress::AnyIPv4), .port = 0, .certificate = {}, .key = {}});
    web.Answer("/dead.htm", serverReply().Silent());
    m_fixture->AddSite({{u"LinkPage"_s, Own()}});
    QList<qint64> ids;
    for (int i = 2; i < 12; ++i)
        ids << m_fixture->AddLink({{u"LinkPage"_s, u"http://127.0.0.%1:%2/dead.htm"_s.arg(i).arg(web.Port())}});
    QElapsedTimer elapsed;
    elapsed.start();
    m_fixture->Run();
    QVERIFY2(elapsed.elapsed() < 4000, qPrintable(u"%1 ms"_s.arg(elapsed.elapsed())));
    for (const qint64 id : ids)
        QCOMPARE(m_fixture->Results(id), 128);
}

void tst_linktest::StopActsAtOnce_data()
{
    const testTable<QString> row; // the second link's page
    row("connecting", u"full"_s);
    row("no answer", u"/silent.htm"_s);
    row("in the header", u"/header.htm"_s);
    row("in the body", u"/drip.htm"_s);
}

void tst_linktest::StopActsAtOnce()
{
    const auto [second] = testRow<QString>();
    SetLimits(60);
    const FullPort full;
    m_server->Answer("/good.htm", PartnerPage());
    m_server->Answer("/silent.htm", serverReply().Silent());
    m_server->Answer("/header.htm", serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-T").Silent());
    m_server->Answer(
        "/drip.htm",
        serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n").Drip(QByteArray(9000, 'x'), 1, 10ms));
    m_fixture->AddSite({{u"LinkPage"_s, Own()}});
    const QString page = second == u"full"_s ? u"http://127.0.0.1:%1/x.htm"_s.arg(full.Port()) : m_server->Url(second);
    const qint64 judged = m_fixture->AddLink({{u"LinkPage"_s, m_server->Url(u"/good.htm"_s)}});
    const qint64 stopped = m_fixture->AddLink({{u"LinkPage"_s, page}});
    const qint64 rest = m_fixture->AddLink({{u"LinkPage"_s, m_server->Url(u"/good.htm"_s)}});

    QElapsedTimer sinceStop;
    m_fixture->parent.onHighLight = [&](qint64 id) {
        if (id == stopped)
            QTimer::singleShot(200, [&] {
                modBrambury::State().StopFlag = true;
                sinceStop.start();
            });
    };
    m_fixture->Run();
    QVERIFY2(sinceStop.elapsed() < 1000, qPrintable(u"%1 ms"_s.arg(sinceStop.elapsed())));
    QCOMPARE(m_fixture->ending, Ending::Stopped);
    QVERIFY(!m_fixture->Queued(judged));
    QCOMPARE(m_fixture->Results(judged), 1);
    for (const qint64 id : {stopped, rest}) {
        QVERIFY(m_fixture->Queued(id));
        QCOMPARE(m_fixture->Status(id), modDataModel::Active);
        QCOMPARE(m_fixture->Results(id), 0);
    }
    const QStringList lines = m_fixture->Lines();
    QCOMPARE(lines.mid(lines.size() - 2), QStringList({u"  \u2022 Stop button was pressed.  Process aborted."_s, End}));
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_linktest::LockedDatabase_data()
{
    const testTable<int, int, Ending> row; // milliseconds to the end of the lock, to Stop (0: never), ending
    row("for a moment", 1200, 0, Ending::Done);
    row("until Stop", 0, 800, Ending::Stopped);
    row("for too long", 0, 0, Ending::Failed);
}

/// Another program has the file to itself, for reading and writing, from the second link on.
void tst_linktest::LockedDatabase()
{
    const auto [unlock, stop, ending] = testRow<int, int, Ending>();
    SetLimits(60);
    m_server->Answer("/good.htm", PartnerPage());
    m_server->Answer("/slow.htm", PartnerPage().After(400ms));
    m_fixture->AddSite({{u"LinkPage"_s, QVariant()}});
    std::vector<qint64> ids;
    for (int i = 0; i < 100; ++i)
        ids.push_back(m_fixture->AddLink({{u"LinkPage"_s, m_server->Url(i == 1 ? u"/slow.htm"_s : u"/good.htm"_s)}}));

    const QByteArray path = m_fixture->program.installation.DatabasePath().toUtf8();
    std::optional<otherProcess> other;
    QElapsedTimer sinceStop;
    m_fixture->parent.onHighLight = [&](qint64 id) {
        if (id == ids[1])
            QTimer::singleShot(150, [&] { // while the run waits for this link's page
                other.emplace([path] {
                    struct flock whole = {};
                    whole.l_type = F_WRLCK;
                    if (::fcntl(::open(path.constData(), O_RDWR), F_SETLK, &whole) != 0)
                        ::_exit(1);
                });
                if (unlock > 0)
                    QTimer::singleShot(unlock, [&] { other->Kill(); });
                if (stop > 0)
                    QTimer::singleShot(stop, [&] {
                        modBrambury::State().StopFlag = true;
                        sinceStop.start();
                    });
            });
    };
    // The window lives by the turns of the event loop.
    QElapsedTimer sinceTurn;
    qint64 longest = 0;
    QTimer turns;
    turns.callOnTimeout([&] { longest = std::max(longest, sinceTurn.restart()); });
    sinceTurn.start();
    turns.start(5ms);
    m_fixture->Run();
    QVERIFY(other && other->Ready());
    other.reset();
    qInfo("longest turn: %lld ms", longest);
    QVERIFY2(longest < 400, qPrintable(u"%1 ms"_s.arg(longest)));
    QVERIFY(stop == 0 || sinceStop.elapsed() < 1000);

    QCOMPARE(m_fixture->ending, ending);
    QCOMPARE(m_fixture->program.windows.lastDetails.contains(u"3260"_s), ending == Ending::Failed);
    QVERIFY(m_fixture->Lines().last().startsWith(u"END LINK TEST SESSION"_s));
    for (std::size_t i = 0; i < ids.size(); ++i)
        QCOMPARE(m_fixture->Queued(ids[i]), ending != Ending::Done && i > 0);
}

QTEST_GUILESS_MAIN(tst_linktest)
#include "tst_linktest.moc"
