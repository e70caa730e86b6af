// SPDX-License-Identifier: GPL-3.0-or-later
// The rules of the link test, over the real database, with pages that the test writes itself.
#include "linktest/clsHTTPEngine.h"
#include "linktest/modTestQueue.h"
#include "linktest_fixture.h"
#include "platform/frmResources.h"

#include <QTest>
#include <csignal>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;
using Ending = clsHTTP::Ending;

namespace
{
struct Page
{
    int error = 0;
    bool complete = true;
    QStringList links;
    QStringList images;
    std::function<void()> during; ///< what happens while the page is fetched
};

/// What an engine was asked, kept beyond the engine's own life.
struct Web
{
    QMap<QString, Page> pages;
    QStringList asked;
    QStringList announced;
    bool closedAll = false;
    int errorOfThisPage = 0; ///< set by a page's `during`
};

/// Hands out the pages of a Web; an address that is not in it fails like a missing page.
class fakeEngine : public clsHTTPEngine
{
public:
    fakeEngine(Web& web, frmResources& resources)
        : clsHTTPEngine(
              {.Resources = &resources, .EventLoop = nullptr, .Clock = nullptr, .Stopped = {}, .DefaultLocalFile = {}}),
          m_web(web)
    {
    }
    int ErrNumber() const override { return m_page.error; }
    bool GetComplete() const override { return m_page.error == 0 && m_page.complete; }
    bool ConnectToServer(bool) override
    {
        m_web.asked << URL();
        m_page =
            m_web.pages.value(URL(), Page{.error = 404, .complete = false, .links = {}, .images = {}, .during = {}});
        m_links = ListOf(m_page.links);
        m_images = ListOf(m_page.images);
        if (m_page.during)
            m_page.during();
        if (m_web.errorOfThisPage != 0)
            m_page.error = m_web.errorOfThisPage;
        return GetComplete();
    }
    void EndConnectToServer() override {}
    const clsPageList& Hyperlinks() const override { return m_links; }
    const clsPageList& Images() const override { return m_images; }
    void ReadAhead(std::function<std::optional<QString>()> nextUrl) override
    {
        while (nextUrl) {
            const std::optional<QString> url = nextUrl();
            if (!url)
                return;
            m_web.announced << *url;
        }
    }
    void CloseAll() override { m_web.closedAll = true; }

private:
    static clsPageList ListOf(const QStringList& addresses)
    {
        std::vector<clsPageAddress> items;
        for (const QString& address : addresses)
            items.push_back({address, address});
        return clsPageList(items);
    }
    Web& m_web;
    Page m_page;
    clsPageList m_links;
    clsPageList m_images;
};

/// A limit passes at once; everything else is left to the real loop.
class hurriedLoop : public clsEventLoop
{
public:
    Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds) override
    {
        return done() ? Outcome::Done : Outcome::TimedOut;
    }
    void Yield() override {}
    void Interrupt() override {}
    void Resume() override {}
};

const QString OwnAddress = u"http://www.shop.example/links.htm"_s;
const QString BobAddress = u"http://www.bob.example/links.htm"_s;

/// Pages on which everything stands that Ann's Shop and Bob promised each other.
Page BobsPage()
{
    return {.links = {u"http://www.shop.example/"_s}, .images = {u"top.gif"_s, u"/pictures/shop.gif"_s}, .during = {}};
}
Page AnnsPage()
{
    return {.links = {u"http://www.bob.example/"_s}, .images = {u"top.gif"_s, u"bob.gif"_s}, .during = {}};
}

constexpr char Begin[] = "BEGIN LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM";
constexpr char End[] = "END LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM";
constexpr char StopLine[] = "  \u2022 Stop button was pressed.  Process aborted.";
} // namespace

class tst_linktest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void AddressForms();
    void PageAddresses();
    void Searching_data();
    void Searching();
    void CodesAreCarriedOver();
    void TimeOutLeavesWhatWasFound();
    void SkippedTestsPass();
    void LogLines_data();
    void LogLines();
    void SessionsWithoutAVerdict_data();
    void SessionsWithoutAVerdict();
    void StopLeavesTheRestQueued_data();
    void StopLeavesTheRestQueued();
    void OrderSitesAndReadAhead();
    void FailureIsReportedAndTheSessionEnds();
    void FullDiskLeavesTheLinkQueued();
    void SetTests();

private:
    std::unique_ptr<linktestFixture> m_fixture;
    std::unique_ptr<frmResources> m_resources;
    std::unique_ptr<Web> m_web;
    hurriedLoop m_hurried;
};

void tst_linktest::init()
{
    m_fixture = std::make_unique<linktestFixture>();
    m_resources = std::make_unique<frmResources>(nullptr, nullptr, nullptr);
    m_web = std::make_unique<Web>();
    m_web->pages = {{OwnAddress, AnnsPage()}, {BobAddress, BobsPage()}};
    m_fixture->makeEngine = [this] { return std::make_unique<fakeEngine>(*m_web, *m_resources); };
    modBrambury::Platform().EventLoop = &m_hurried;
}

void tst_linktest::cleanup()
{
    m_fixture.reset();
}

void tst_linktest::AddressForms()
{
    struct Case
    {
        const char* home;
        const char* ip;
        const char* stripped;
        const char* ipForm;
    };
    // The caller's copy is lower case afterwards in every case.
    const Case cases[] = {
        {"http://WWW.Shop.example/Path/", "", "http://shop.example/path/", "http://www.shop.example/path/"},
        {"http://www.shop.example/x/", "1.2.3.4", "http://shop.example/x/", "http://1.2.3.4/x/"},
        {"http://shop.example/x/y", "1.2.3.4", "", "x/y"},
        {"http://shop.example", "1.2.3.4", "", ""},
        {"http://www.shop.example", "1.2.3.4", "http://shop.example", "http://1.2.3.4/"},
        {"http://www.a.example/www.b", "1.2.3.4", "http://a.example/www.b", "http://1.2.3.4/www.b"},
    };
    for (const Case& row : cases) {
        QString home = QString::fromLatin1(row.home);
        QCOMPARE(clsHTTP::StripWww(home), QString::fromLatin1(row.stripped));
        QCOMPARE(home, QString::fromLatin1(row.home).toLower());
        QCOMPARE(clsHTTP::IpForm(home, QString::fromLatin1(row.ip)), QString::fromLatin1(row.ipForm));
        home = QString::fromLatin1(row.home);
        static_cast<void>(clsHTTP::IpForm(home, QString::fromLatin1(row.ip)));
        QCOMPARE(home, *row.ip ? QString::fromLatin1(row.home).toLower() : QString::fromLatin1(row.home));
    }
}

void tst_linktest::PageAddresses()
{
    const QStringList asTheyStand{u"a/links.htm"_s, u"a/links.html"_s, u"phtml"_s, u"a/x.pl"_s, u"a/"_s, u"x.doc"_s};
    for (const QString& address : asTheyStand)
        QCOMPARE(clsHTTP::PageAddress(address), address);
    const QStringList folders{u"a/links"_s,      u"a/links.HTM"_s, u"a/links.php"_s,
                              u"a/links.aspx"_s, u"a/x.htm?y=1"_s, u"a/xpl"_s};
    for (const QString& address : folders)
        QCOMPARE(clsHTTP::PageAddress(address), address + u'/');
}

void tst_linktest::Searching_data()
{
    QTest::addColumn<QVariantMap>("site");
    QTest::addColumn<QVariantMap>("link");
    QTest::addColumn<Page>("bobs");
    QTest::addColumn<Page>("anns");
    QTest::addColumn<int>("results");

    const auto row = [](const char* name, int results, const Page& bobs, const Page& anns, const QVariantMap& site = {},
                        const QVariantMap& link = {}) {
        QTest::newRow(name) << site << link << bobs << anns << results;
    };
    const auto links = [](Page page, const QStringList& addresses) {
        page.links = addresses;
        return page;
    };
    const auto images = [](Page page, const QStringList& addresses) {
        page.images = addresses;
        return page;
    };
    const auto failing = [](int number) { return Page{.error = number, .links = {}, .images = {}, .during = {}}; };
    const QVariantMap noWww{{u"HomePage"_s, u"http://shop.example/"_s}};
    const Page bobs = BobsPage();
    const Page anns = AnnsPage();

    row("all there", 1, bobs, anns);
    row("letter case does not count", 1, links(bobs, {u"HTTP://www.SHOP.example/"_s}),
        images(anns, {u"top.gif"_s, u"BOB.GIF"_s}));
    row("without www.", 1, links(bobs, {u"http://shop.example/"_s}), anns);
    row("final slash added", 1, bobs, links(anns, {u"http://bob.example/"_s}), {},
        {{u"HomePage"_s, u"http://www.bob.example"_s}});
    row("final slash not taken off", 4, links(bobs, {u"http://www.shop.example"_s}), anns);
    row("deeper path and query do not count", 4,
        links(bobs, {u"http://www.shop.example/x/"_s, u"http://www.shop.example/?from=bob"_s}), anns);
    row("home page without www. is found by /", 1, links(bobs, {u"/"_s}), anns, noWww);
    row("home page without www. is found by an empty link", 1, links(bobs, {QString()}), anns, noWww);
    row("but not home pages with it", 4, links(bobs, {u"/"_s, QString()}), anns);
    row("IP form does not count at the partner's", 4, links(bobs, {u"http://1.2.3.4/"_s}), anns,
        {{u"IPAddress"_s, u"1.2.3.4"_s}});
    row("IP form counts at home", 1, bobs, links(anns, {u"http://5.6.7.8/"_s}), {}, {{u"IPAddress"_s, u"5.6.7.8"_s}});
    row("IP form without www. is the bare path", 1, bobs, links(anns, {u"x/"_s}), {},
        {{u"HomePage"_s, u"http://bob.example/x/"_s}, {u"IPAddress"_s, u"5.6.7.8"_s}});
    row("first image never counts", 8, images(bobs, {u"shop.gif"_s, u"top.gif"_s}), anns);
    row("a single image never counts", 32, bobs, images(anns, {u"bob.gif"_s}));
    row("image by its file name", 1, images(bobs, {u"shop.gif"_s, u"http://x.example/a/SHOP.gif"_s}), anns);
    row("an image's query belongs to its name", 8, images(bobs, {u"top.gif"_s, u"shop.gif?x"_s}), anns);
    row("no image to look for", 1, images(bobs, {}), images(anns, {}), {{u"ImageFile"_s, QVariant()}},
        {{u"ImageFile"_s, QString()}});
    row("nothing there", 4 + 8 + 16 + 32, Page{}, Page{});
    row("partner refuses", 128, failing(61), anns);
    row("partner's address is none", 256, failing(49), anns);
    row("partner's page is missing", 128, failing(404), anns);
    row("own server refuses", 64, bobs, failing(61));
    row("own address is none", 512, bobs, failing(49));
}

void tst_linktest::Searching()
{
    QFETCH(const QVariantMap, site);
    QFETCH(const QVariantMap, link);
    QFETCH(const Page, bobs);
    QFETCH(const Page, anns);
    QFETCH(const int, results);

    m_fixture->AddSite(site);
    const qint64 bob = m_fixture->AddLink(link);
    m_web->pages = {{OwnAddress, anns}, {BobAddress, bobs}};
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(bob), results);
    QCOMPARE(m_fixture->Status(bob), results == 1 ? modDataModel::Active : modDataModel::Broken);
    QCOMPARE(m_fixture->Field(bob, "LastSuccessfulTest").toString(),
             results == 1 ? u"2026-01-05 15:07:09"_s : QString());
    QVERIFY(!m_fixture->Queued(bob));
    QCOMPARE(m_fixture->failed, results == 1 ? 0 : 1);
}

void tst_linktest::CodesAreCarriedOver()
{
    m_fixture->AddSite();
    const auto address = [](const char* name) { return u"http://www.%1.example/links.htm"_s.arg(QLatin1String(name)); };
    const auto add = [&](const char* name, modDataModel::Status status, const Page& page) {
        m_web->pages[address(name)] = page;
        return m_fixture->AddLink(
            {{u"Title"_s, QLatin1String(name)}, {u"LinkPage"_s, address(name)}, {u"Status"_s, status}});
    };
    Page noLink = BobsPage();
    noLink.links.clear();
    Page noImage = BobsPage();
    noImage.images.clear();
    const qint64 first = add("a", modDataModel::Active, noLink);
    const qint64 second = add("b", modDataModel::Offer, noImage);
    const qint64 third = add("c", modDataModel::Declined, BobsPage());
    const qint64 fourth = add("d", modDataModel::Broken, Page{.error = 61, .links = {}, .images = {}, .during = {}});
    const qint64 fifth = add("e", modDataModel::Inactive, noImage);
    m_fixture->Run();

    // A code stays in its slot, whatever the links between did, until the same slot fails again.
    QCOMPARE(m_fixture->Results(first), 4);
    QCOMPARE(m_fixture->Results(second), 4 + 8);
    QCOMPARE(m_fixture->Results(third), 1);
    QCOMPARE(m_fixture->Results(fourth), 128 + 8);
    QCOMPARE(m_fixture->Results(fifth), 128 + 8);
    // Only an active link breaks; whatever passes becomes active.
    QCOMPARE(m_fixture->Status(first), modDataModel::Broken);
    QCOMPARE(m_fixture->Status(second), modDataModel::Offer);
    QCOMPARE(m_fixture->Status(third), modDataModel::Active);
    QCOMPARE(m_fixture->Status(fifth), modDataModel::Inactive);
    QCOMPARE(m_fixture->failed, 4);
    QCOMPARE(m_fixture->ending, Ending::Done);
    QCOMPARE(m_fixture->parent.progress, QStringList({u"1/5"_s, u"2/5"_s, u"3/5"_s, u"4/5"_s, u"5/5"_s}));

    // The next run starts with empty slots.
    const qint64 again = add("b", modDataModel::Active, noImage);
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(again), 8);
}

void tst_linktest::TimeOutLeavesWhatWasFound()
{
    m_fixture->AddSite();
    const QString silentAddress = u"http://www.silent.example/links.htm"_s;
    m_web->pages[silentAddress] = {.complete = false, .links = {}, .images = {}, .during = {}};
    const QVariantMap silent{{u"Title"_s, u"Silent"_s}, {u"LinkPage"_s, silentAddress}};
    const qint64 first = m_fixture->AddLink(silent);
    const qint64 bob = m_fixture->AddLink();
    const qint64 afterBob = m_fixture->AddLink(silent);
    m_fixture->Run();

    // Nothing was found yet, and nothing had failed: no code, no new status.
    QCOMPARE(m_fixture->Results(first), 0);
    QCOMPARE(m_fixture->Status(first), modDataModel::Active);
    QVERIFY(!m_fixture->Queued(first));
    // What Bob passed still stands when the silent one's verdict follows at once.
    QCOMPARE(m_fixture->Results(bob), 1);
    QCOMPARE(m_fixture->Results(afterBob), 1);
    QCOMPARE(m_fixture->failed, 1);
    // The own page is not asked for after a time-out.
    QCOMPARE(m_web->asked, QStringList({silentAddress, BobAddress, OwnAddress, silentAddress}));
    QVERIFY(m_fixture->Lines().contains(u"        Could not download web page from Silent"_s));
}

void tst_linktest::SkippedTestsPass()
{
    // The switches are those of the selected site, whatever site the links belong to.
    m_fixture->AddSite();
    m_fixture->AddSite({{u"SiteID"_s, u"Other"_s}, {u"TestForMyLinkAtRecipSite"_s, true}});
    modBrambury::State().CurrentSite = u"Other"_s;
    modBrambury::State().Tests = {
        .MyLinkAtRecipSite = false, .MyImageAtRecipSite = true, .RecipLinkAtMySite = true, .RecipImageAtMySite = false};
    const qint64 declined = m_fixture->AddLink({{u"SiteName"_s, u"Other"_s},
                                                {u"Status"_s, modDataModel::Declined},
                                                {u"HomePage"_s, QVariant()},
                                                {u"Results"_s, 60}});
    const qint64 unqueued =
        m_fixture->AddLink({{u"SiteName"_s, u"other"_s}, {u"TestQueue"_s, false}, {u"Results"_s, 4}});
    const qint64 elsewhere = m_fixture->AddLink({{u"TestQueue"_s, false}, {u"Results"_s, 4}});
    const qint64 ownPageOnly = m_fixture->AddLink();
    m_fixture->Run();
    QCOMPARE(m_fixture->Results(declined), 1);
    QCOMPARE(m_fixture->Status(declined), modDataModel::Active);
    QCOMPARE(m_fixture->Results(ownPageOnly), 1);
    QCOMPARE(m_web->asked, QStringList{OwnAddress});
    // Old results go for the selected site's links, queued or not, and for no other's.
    QCOMPARE(m_fixture->Results(unqueued), 0);
    QCOMPARE(m_fixture->Results(elsewhere), 4);
}

void tst_linktest::LogLines_data()
{
    QTest::addColumn<int>("showURL");
    QTest::addColumn<QString>("expected");

    const QString head = QString::fromUtf8(Begin) + u"\r\n  \u2022 Current site: Ann's Shop\r\n"_s;
    const QString refused = u"    \u2022 The SMTP server connection was refused\r\n"_s;
    // The sought home page is shown in lower case from the first line on.
    QTest::newRow("names") << 0
                           << head +
                                  u"    \u2022 Searching Bob for a reference to Ann's Shop\r\n"
                                  "        Located a link to Ann's Shop on Bob\r\n"
                                  "        Could not locate reference to image file Shop.gif on Bob\r\n"
                                  "    \u2022 Searching Ann's Shop for a reference to Bob\r\n"
                                  "        Could not locate a link to Bob on Ann's Shop\r\n"
                                  "        Located reference to image file bob.gif on Ann's Shop\r\n"
                                  "    \u2022 Searching Carl for a reference to Ann's Shop\r\n"_s +
                                  refused +
                                  u"    \u2022 Searching Ann's Shop for a reference to Carl\r\n"
                                  "        Could not locate a link to Carl on Ann's Shop\r\n"_s +
                                  QString::fromUtf8(End);
    QTest::newRow("addresses")
        << 1
        << head +
               u"    \u2022 Searching http://www.bob.example/links/ for a reference to http://www.shop.example/\r\n"
               "        Located link http://www.shop.example/ at http://www.bob.example/links/\r\n"
               "        Could not locate reference to image file Shop.gif at http://www.bob.example/links/\r\n"
               "    \u2022 Searching http://www.shop.example/links.htm for a reference to http://www.bob.example/\r\n"
               "        Could not locate link http://www.bob.example/ at http://www.shop.example/links.htm\r\n"
               "        Located reference to image file bob.gif at http://www.shop.example/links.htm\r\n"
               "    \u2022 Searching http://www.carl.example/ for a reference to http://www.shop.example/\r\n"_s +
               refused +
               u"    \u2022 Searching http://www.shop.example/links.htm for a reference to http://www.carl.example/\r\n"
               "        Could not locate link http://www.carl.example/ at http://www.shop.example/links.htm\r\n"_s +
               QString::fromUtf8(End);
}

void tst_linktest::LogLines()
{
    QFETCH(const int, showURL);
    QFETCH(const QString, expected);

    modBrambury::State().Settings.ShowURL = static_cast<qint16>(showURL);
    modBrambury::State().Settings.ClearResultsLog = u"Yes"_s;
    modBrambury::State().Settings.PlaySoundComplete = u"Yes"_s;
    modBrambury::State().Settings.SoundComplete = modBrambury::DatabasePath(); // any file that exists
    m_fixture->log.Append(u"old lines"_s, 0);
    m_fixture->AddSite({{u"HomePage"_s, u"http://www.Shop.example/"_s}, {u"ImageFile"_s, u"Shop.gif"_s}});
    m_fixture->AddLink(
        {{u"HomePage"_s, u"http://WWW.bob.example/"_s}, {u"LinkPage"_s, u"http://www.bob.example/links"_s}});
    m_fixture->AddLink({{u"Title"_s, u"Carl"_s},
                        {u"HomePage"_s, u"http://www.carl.example/"_s},
                        {u"LinkPage"_s, u"http://www.carl.example/"_s},
                        {u"ImageFile"_s, QVariant()}});
    Page bobs = BobsPage();
    bobs.images.clear();
    Page anns = AnnsPage();
    anns.links.clear();
    m_web->pages = {{u"http://www.bob.example/links/"_s, bobs},
                    {u"http://www.carl.example/"_s, Page{.error = 61, .links = {}, .images = {}, .during = {}}},
                    {OwnAddress, anns}};
    m_fixture->Run();
    QCOMPARE(m_fixture->Lines(), expected.split(u"\r\n"_s));
    QCOMPARE(m_fixture->program.sound.played, QStringList{modBrambury::DatabasePath()});
}

void tst_linktest::SessionsWithoutAVerdict_data()
{
    QTest::addColumn<bool>("queued");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<QVariant>("siteOfLink");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("line");
    QTest::addColumn<Ending>("ending");

    QTest::newRow("nothing queued") << false << true << QVariant(u"Shop"_s)
                                    << u"There are no links selected for testing."_s
                                    << u"  \u2022 There are no links selected for testing."_s << Ending::Empty;
    QTest::newRow("offline") << true << false << QVariant(u"Shop"_s)
                             << u"Could not establish a connected to the Internet."_s
                             << u"  \u2022 Could not establish a connection to the Internet.  Process aborted."_s
                             << Ending::NoConnection;
    QTest::newRow("unknown site")
        << true << true << QVariant(u"Sold \"Shop\""_s)
        << u"Could not locate information for site Sold \"Shop\".  Process aborted."_s
        << u"    \u2022 Could not locate information for site Sold \"Shop\".  Process aborted."_s
        << Ending::UnknownSite;
    QTest::newRow("no site at all") << true << true << QVariant()
                                    << u"Could not locate information for site .  Process aborted."_s
                                    << u"    \u2022 Could not locate information for site .  Process aborted."_s
                                    << Ending::UnknownSite;
}

void tst_linktest::SessionsWithoutAVerdict()
{
    QFETCH(const bool, queued);
    QFETCH(const bool, connected);
    QFETCH(const QVariant, siteOfLink);
    QFETCH(const QString, box);
    QFETCH(const QString, line);
    QFETCH(const Ending, ending);

    m_fixture->AddSite();
    const qint64 bob = m_fixture->AddLink({{u"TestQueue"_s, queued}, {u"SiteName"_s, siteOfLink}, {u"Results"_s, 4}});
    m_fixture->program.connection.connected = connected;
    m_fixture->program.dialogs.Expect(box);
    m_fixture->Run();
    QCOMPARE(m_fixture->program.dialogs.shown, QStringList{box});
    QVERIFY(m_fixture->Lines().contains(line));
    QCOMPARE(m_fixture->Lines().last(), QString::fromUtf8(End));
    QCOMPARE(m_fixture->ending, ending);
    QCOMPARE(m_fixture->Queued(bob), queued);
    QVERIFY(m_web->asked.isEmpty());
    // Without a queue the old results stay.
    if (!queued)
        QCOMPARE(m_fixture->Results(bob), 4);
}

void tst_linktest::StopLeavesTheRestQueued_data()
{
    QTest::addColumn<QString>("moment");
    QTest::addColumn<int>("verdicts");
    QTest::newRow("before the run") << u"start"_s << 0;
    QTest::newRow("when a link comes up") << u"highlight"_s << 1;
    QTest::newRow("while a partner's page is fetched") << u"partner"_s << 1;
    QTest::newRow("while the own page is fetched") << u"own"_s << 1;
    QTest::newRow("between links") << u"verdict"_s << 2;
    QTest::newRow("at the last verdict") << u"end"_s << 3;
}

void tst_linktest::StopLeavesTheRestQueued()
{
    QFETCH(const QString, moment);
    QFETCH(const int, verdicts);
    const auto stop = [] { modBrambury::State().StopFlag = true; };

    m_fixture->AddSite();
    const qint64 ids[3] = {m_fixture->AddLink(), m_fixture->AddLink(), m_fixture->AddLink()};
    modBrambury::State().StopFlag = moment == u"start"_s;
    // Stop comes with the second link's page; the request that it ends leaves 501 behind, which is no verdict.
    int fetched = 0;
    const auto stopAtSecond = [&](const QString& address) {
        m_web->pages[address].during = [&] {
            if (++fetched == 2) {
                stop();
                m_web->errorOfThisPage = 501;
            }
        };
    };
    if (moment == u"partner"_s)
        stopAtSecond(BobAddress);
    if (moment == u"own"_s)
        stopAtSecond(OwnAddress);
    m_fixture->parent.onHighLight = [&](qint64 id) {
        if (moment == u"highlight"_s && id == ids[1])
            stop();
    };
    m_fixture->parent.onProgress = [&](qint64 done) {
        if ((moment == u"verdict"_s && done == 2) || (moment == u"end"_s && done == 3))
            stop();
    };
    m_fixture->Run();
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(m_fixture->Queued(ids[i]), i >= verdicts);
        QCOMPARE(m_fixture->Results(ids[i]), i >= verdicts ? 0 : 1);
        QCOMPARE(m_fixture->Status(ids[i]), modDataModel::Active);
    }
    const QStringList lines = m_fixture->Lines();
    QCOMPARE(lines.mid(lines.size() - 2), QStringList({QString::fromUtf8(StopLine), QString::fromUtf8(End)}));
    QCOMPARE(m_fixture->ending, Ending::Stopped);
    QVERIFY(m_web->closedAll);
}

void tst_linktest::OrderSitesAndReadAhead()
{
    // Two sites by turns, sorted by title; links that skip one direction or both.
    modBrambury::State().Settings.Sort = 2;
    m_fixture->AddSite({{u"IPAddress"_s, QVariant()}});
    m_fixture->AddSite({{u"SiteID"_s, u"Farm"_s},
                        {u"SiteName"_s, QString()},
                        {u"HomePage"_s, u"http://www.Farm.example/"_s},
                        {u"LinkPage"_s, u"http://www.farm.example/links"_s}});
    const auto add = [&](const char* title, const char* site, const char* home, const char* page) {
        return m_fixture->AddLink({{u"Title"_s, QLatin1String(title)},
                                   {u"SiteName"_s, QLatin1String(site)},
                                   {u"HomePage"_s, QLatin1String(home)},
                                   {u"LinkPage"_s, QLatin1String(page)}});
    };
    const qint64 d = add("d", "Shop", "http://www.d.example/", "http://www.d.example/x");
    const qint64 b = add("B", "Farm", "http://www.b.example/", "http://www.b.example/b.html");
    const qint64 c = add("c", "farm", "", "http://www.c.example/");
    const qint64 e = add("e", "Shop", "", "");
    const qint64 a = add("a", "Shop", "http://www.a.example/", "");
    m_fixture->Run();

    const QStringList expected{u"http://www.shop.example/links.htm"_s, // a: own page only
                               u"http://www.b.example/b.html"_s,
                               u"http://www.farm.example/links/"_s,
                               u"http://www.c.example/"_s, // c: partner's page only
                               u"http://www.d.example/x/"_s,
                               u"http://www.shop.example/links.htm"_s};
    QCOMPARE(m_web->asked, expected);
    QCOMPARE(m_web->announced, expected);
    // A site without a title goes by its key, and a key in other letters is the same site.
    QCOMPARE(m_fixture->parent.highlighted,
             QStringList({u"%1 Ann's Shop"_s.arg(a), u"%1 Farm"_s.arg(b), u"%1 Farm"_s.arg(c),
                          u"%1 Ann's Shop"_s.arg(d), u"%1 Ann's Shop"_s.arg(e)}));
    QCOMPARE(m_fixture->Lines().filter(u"Current site: "_s).size(), 3);
}

void tst_linktest::FailureIsReportedAndTheSessionEnds()
{
    m_fixture->AddSite();
    const qint64 first = m_fixture->AddLink();
    const qint64 second = m_fixture->AddLink({{u"Title"_s, u"Carl"_s}, {u"LinkPage"_s, u"http://carl.example/"_s}});
    m_web->pages[u"http://carl.example/"_s].during = [] {
        throw clsError(clsError::DeviceIOError, u"Device I/O error"_s, u"Test"_s);
    };
    m_fixture->Run();
    QCOMPARE(m_fixture->ending, Ending::Failed);
    QVERIFY(m_fixture->program.windows.lastDetails.contains(u"Module:     \tclsHTTP\r\nSub/Func: \tCheckLinks"_s));
    QCOMPARE(m_fixture->Lines().last(), QString::fromUtf8(End));
    QVERIFY(m_web->closedAll);
    QCOMPARE(m_fixture->Results(first), 1);
    QVERIFY(m_fixture->Queued(second));
}

void tst_linktest::FullDiskLeavesTheLinkQueued()
{
    m_fixture->AddSite();
    const qint64 first = m_fixture->AddLink();
    const qint64 second = m_fixture->AddLink();
    // From the second link on no file may grow beyond what the error log needs.
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    m_fixture->parent.onHighLight = [&](qint64 id) {
        const rlimit small{1024, before.rlim_max};
        if (id == second)
            ::setrlimit(RLIMIT_FSIZE, &small);
    };
    m_fixture->Run();
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);

    QCOMPARE(m_fixture->ending, Ending::Failed);
    QVERIFY(m_fixture->program.windows.calls.contains(u"error exclamation"_s));
    QVERIFY(m_fixture->program.windows.lastDetails.contains(u"clsHTTP"_s));
    QCOMPARE(m_fixture->Lines().last(), QString::fromUtf8(End));
    // A verdict that did not reach the disk any more is none: its link is tested again.
    QCOMPARE(m_fixture->Queued(first), m_fixture->Results(first) == 0);
    QVERIFY(m_fixture->Queued(second));
    QCOMPARE(m_fixture->Status(second), modDataModel::Active);
    // With room again the same link is tested as if nothing had been.
    m_fixture->parent.onHighLight = {};
    m_fixture->Run();
    QCOMPARE(m_fixture->ending, Ending::Done);
    QCOMPARE(m_fixture->Results(first), 1);
    QCOMPARE(m_fixture->Results(second), 1);
    QVERIFY(!m_fixture->Queued(first));
}

void tst_linktest::SetTests()
{
    using modTestQueue::Queue;
    clsDatabase& database = m_fixture->Database();
    const auto set = [&](Queue queue, const QSet<int>& statuses, bool allSites) {
        return modTestQueue::SetTests(database, {queue, statuses, allSites, u"Shop"_s});
    };
    QVERIFY(!set(Queue::Select, {2}, true).anyLinks);

    const auto add = [&](const char* site, modDataModel::Status status, bool queued) {
        return m_fixture->AddLink(
            {{u"SiteName"_s, QLatin1String(site)}, {u"Status"_s, status}, {u"TestQueue"_s, queued}});
    };
    const qint64 active = add("shop", modDataModel::Active, false);
    const qint64 broken = add("Shop", modDataModel::Broken, true);
    const qint64 offer = add("Shop", modDataModel::Offer, false);
    const qint64 elsewhere = add("Farm", modDataModel::Active, false);
    const auto queue = [&] {
        return QList<bool>{m_fixture->Queued(active), m_fixture->Queued(broken), m_fixture->Queued(offer),
                           m_fixture->Queued(elsewhere)};
    };

    modTestQueue::Outcome outcome = set(Queue::Select, {modDataModel::Active, modDataModel::Broken}, false);
    QVERIFY(outcome.anyLinks);
    QCOMPARE(outcome.changed, 1); // the broken one is queued already
    QCOMPARE(queue(), QList<bool>({true, true, false, false}));
    outcome = set(Queue::Select, {modDataModel::Active}, true);
    QCOMPARE(outcome.changed, 1);
    QCOMPARE(queue(), QList<bool>({true, true, false, true}));
    outcome = set(Queue::Unselect, {modDataModel::Active, modDataModel::Offer}, false);
    QCOMPARE(outcome.changed, 1);
    QCOMPARE(queue(), QList<bool>({false, true, false, true}));
}

QTEST_GUILESS_MAIN(tst_linktest)
#include "tst_linktest.moc"
