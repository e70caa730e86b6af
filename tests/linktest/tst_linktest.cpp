// SPDX-License-Identifier: GPL-3.0-or-later
// The rules of the link test, over the real database, with pages that the test writes itself.
#include "linktest/clsHTTPEngine.h"
#include "linktest_fixture.h"
#include "platform/frmResources.h"
#include "support/table.h"

using namespace Qt::Literals::StringLiterals;
using Ending = clsHTTP::Ending;

namespace
{
struct Page
{
    int error = 0;
    bool complete = true;
    QStringList links = {};
    QStringList images = {};
    std::function<void()> during = {}; ///< what happens while the page is fetched
};

/// What an engine was asked, kept beyond the engine's own life.
struct Web
{
    QMap<QString, Page> pages;
    QStringList asked;
    QStringList announced;
    bool closedAll = false;
    frmResources resources{nullptr, nullptr, nullptr};
};

/// Hands out the pages of a Web; an address that is not in it fails like a missing page.
class fakeEngine : public clsHTTPEngine
{
public:
    explicit fakeEngine(Web& web) : clsHTTPEngine({&web.resources, nullptr, nullptr, {}, {}}), m_web(web) {}
    int ErrNumber() const override { return m_page.error; }
    bool GetComplete() const override { return m_page.error == 0 && m_page.complete; }
    bool ConnectToServer(bool) override
    {
        const auto listOf = [](const QStringList& addresses) {
            std::vector<clsPageAddress> items;
            for (const QString& address : addresses)
                items.push_back({address, address});
            return clsPageList(items);
        };
        m_web.asked << URL();
        m_page = m_web.pages.value(URL(), Page{.error = 404, .complete = false});
        m_links = listOf(m_page.links);
        m_images = listOf(m_page.images);
        if (m_page.during)
            m_page.during();
        if (modBrambury::State().StopFlag)
            m_page.error = 501; // what a request that is broken off leaves behind
        return GetComplete();
    }
    void EndConnectToServer() override {}
    const clsPageList& Hyperlinks() const override { return m_links; }
    const clsPageList& Images() const override { return m_images; }
    void ReadAhead(std::function<std::optional<QString>()> nextUrl) override
    {
        for (auto url = nextUrl ? nextUrl() : std::nullopt; url; url = nextUrl())
            m_web.announced << *url;
    }
    void CloseAll() override { m_web.closedAll = true; }

private:
    Web& m_web;
    Page m_page;
    clsPageList m_links;
    clsPageList m_images;
};

const QString OwnAddress = u"http://www.shop.example/links.htm"_s;
const QString BobAddress = u"http://www.bob.example/links.htm"_s;

/// Pages on which everything stands that Ann's Shop and Bob promised each other.
const Page BobsPage{.links = {u"http://www.shop.example/"_s}, .images = {u"top.gif"_s, u"/pictures/shop.gif"_s}};
const Page AnnsPage{.links = {u"http://www.bob.example/"_s}, .images = {u"top.gif"_s, u"bob.gif"_s}};
/// One of them with other links, or other images.
Page Links(Page page, const QStringList& addresses)
{
    page.links = addresses;
    return page;
}
Page Images(Page page, const QStringList& addresses)
{
    page.images = addresses;
    return page;
}

const QString End = u"END LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM"_s;
} // namespace

class tst_linktest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<linktestFixture> m_fixture;
    std::unique_ptr<Web> m_web;
    fakeEventLoop m_loop;

private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<linktestFixture>();
        m_web = std::make_unique<Web>();
        m_web->pages = {{OwnAddress, AnnsPage}, {BobAddress, BobsPage}};
        m_fixture->makeEngine = [this] { return std::make_unique<fakeEngine>(*m_web); };
        modBrambury::Platform().EventLoop = &m_loop;
    }
    void cleanup() { m_fixture.reset(); }

    void AddressForms()
    {
        const auto ipForm = [](QString home) { return clsHTTP::IpForm(home, u"1.2.3.4"_s); };
        QString home = u"http://WWW.Shop.example/Path/"_s;
        QCOMPARE(clsHTTP::IpForm(home, {}), u"http://WWW.Shop.example/Path/"_s);
        QCOMPARE(clsHTTP::StripWww(home), u"http://shop.example/path/"_s);
        QCOMPARE(home, u"http://www.shop.example/path/"_s); // the caller's copy is lower case afterwards
        QCOMPARE(ipForm(home), u"http://1.2.3.4/path/"_s);
        QCOMPARE(ipForm(u"http://www.shop.example"_s), u"http://1.2.3.4/"_s);
        QCOMPARE(ipForm(u"http://www.a.example/www.b"_s), u"http://1.2.3.4/www.b"_s);
        home = u"http://shop.example/x/y"_s; // no "www."
        QCOMPARE(ipForm(home), u"x/y"_s);
        QCOMPARE(clsHTTP::StripWww(home), QString());
    }

    void PageAddresses()
    {
        for (const auto& page : {u"a/links.htm"_s, u"a/links.html"_s, u"phtml"_s, u"a/x.pl"_s, u"a/"_s, u"x.doc"_s})
            QCOMPARE(clsHTTP::PageAddress(page), page);
        for (const auto& folder :
             {u"a/links"_s, u"a/links.HTM"_s, u"a/links.php"_s, u"a/links.aspx"_s, u"a/x.htm?y=1"_s, u"a/xpl"_s})
            QCOMPARE(clsHTTP::PageAddress(folder), folder + u'/');
    }

    void Searching_data()
    {
        const testTable<int, Page, Page, QVariantMap, QVariantMap> row; // results, Bob's page, Ann's page, site, link
        const QVariantMap noWww{{u"HomePage"_s, u"http://shop.example/"_s}};
        const Page& bobs = BobsPage;
        const Page& anns = AnnsPage;

        row("letter case does not count", 1, Links(bobs, {u"HTTP://www.SHOP.example/"_s}),
            Images(anns, {u"top.gif"_s, u"BOB.GIF"_s}), {}, {});
        row("without www.", 1, Links(bobs, {u"http://shop.example/"_s}), anns, {}, {});
        row("final slash added", 1, bobs, Links(anns, {u"http://bob.example/"_s}), {},
            {{u"HomePage"_s, u"http://www.bob.example"_s}});
        row("final slash not taken off", 4, Links(bobs, {u"http://www.shop.example"_s}), anns, {}, {});
        row("deeper path and query do not count", 4,
            Links(bobs, {u"http://www.shop.example/x/"_s, u"http://www.shop.example/?from=bob"_s}), anns, {}, {});
        row("home page without www. is found by /", 1, Links(bobs, {u"/"_s}), anns, noWww, {});
        row("home page without www. is found by an empty link", 1, Links(bobs, {QString()}), anns, noWww, {});
        row("but not home pages with it", 4, Links(bobs, {u"/"_s, QString()}), anns, {}, {});
        row("IP form does not count at the partner's", 4, Links(bobs, {u"http://1.2.3.4/"_s}), anns,
            {{u"IPAddress"_s, u"1.2.3.4"_s}}, {});
        row("IP form counts at home", 1, bobs, Links(anns, {u"http://5.6.7.8/"_s}), {},
            {{u"IPAddress"_s, u"5.6.7.8"_s}});
        row("IP form without www. is the bare path", 1, bobs, Links(anns, {u"x/"_s}), {},
            {{u"HomePage"_s, u"http://bob.example/x/"_s}, {u"IPAddress"_s, u"5.6.7.8"_s}});
        row("first image never counts", 8, Images(bobs, {u"shop.gif"_s, u"top.gif"_s}), anns, {}, {});
        row("a single image never counts", 32, bobs, Images(anns, {u"bob.gif"_s}), {}, {});
        row("image by its file name", 1, Images(bobs, {u"shop.gif"_s, u"http://x.example/a/SHOP.gif"_s}), anns, {}, {});
        row("an image's query belongs to its name", 8, Images(bobs, {u"top.gif"_s, u"shop.gif?x"_s}), anns, {}, {});
        row("no image to look for", 1, Images(bobs, {}), Images(anns, {}), {{u"ImageFile"_s, QVariant()}},
            {{u"ImageFile"_s, QString()}});
        row("own server refuses", 64, bobs, {.error = 61}, {}, {});
        row("own address is none", 512, bobs, {.error = 49}, {}, {});
    }
    void Searching()
    {
        const auto [results, bobs, anns, site, link] = testRow<int, Page, Page, QVariantMap, QVariantMap>();
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

    /// Codes within a run are read in a run over real servers; the next run starts with none.
    void NextRunStartsWithEmptySlots()
    {
        m_fixture->AddSite();
        m_web->pages[BobAddress].links.clear();
        const qint64 active = m_fixture->AddLink();
        const qint64 inactive = m_fixture->AddLink({{u"Status"_s, modDataModel::Inactive}});
        m_fixture->Run();
        QCOMPARE(m_fixture->parent.progress.join(u' '), u"1/2 2/2"_s);
        QCOMPARE(m_fixture->Results(active), 4);
        m_web->pages[BobAddress] = Images(BobsPage, {});
        const qint64 later = m_fixture->AddLink();
        m_fixture->Run();
        QCOMPARE(m_fixture->Results(later), 8);
        // Only an active link breaks.
        QCOMPARE(m_fixture->Status(active), modDataModel::Broken);
        QCOMPARE(m_fixture->Status(inactive), modDataModel::Inactive);
    }

    void TimeOutLeavesWhatWasFound()
    {
        m_fixture->AddSite();
        const QString silentAddress = u"http://www.silent.example/links.htm"_s;
        m_web->pages[silentAddress] = {.complete = false};
        const QVariantMap silent{{u"Title"_s, u"Silent"_s}, {u"LinkPage"_s, silentAddress}};
        const qint64 first = m_fixture->AddLink(silent);
        m_fixture->AddLink();
        const qint64 afterBob = m_fixture->AddLink(silent);
        m_fixture->Run();
        // Nothing was found yet, and nothing had failed: no code, no new status.
        QCOMPARE(m_fixture->Results(first), 0);
        QCOMPARE(m_fixture->Status(first), modDataModel::Active);
        QVERIFY(!m_fixture->Queued(first));
        // What Bob passed still stands when the silent one's verdict follows at once.
        QCOMPARE(m_fixture->Results(afterBob), 1);
        QCOMPARE(m_fixture->failed, 1);
        // The own page is not asked for after a time-out.
        QCOMPARE(m_web->asked, QStringList({silentAddress, BobAddress, OwnAddress, silentAddress}));
        QVERIFY(m_fixture->Lines().contains(u"        Could not download web page from Silent"_s));
    }

    void SkippedTestsPass()
    {
        // The switches are those of the selected site, whatever site the links belong to.
        m_fixture->AddSite();
        m_fixture->AddSite({{u"SiteID"_s, u"Other"_s}, {u"TestForMyLinkAtRecipSite"_s, true}});
        modBrambury::State().CurrentSite = u"Other"_s;
        modBrambury::State().Tests = {.MyLinkAtRecipSite = false,
                                      .MyImageAtRecipSite = true,
                                      .RecipLinkAtMySite = true,
                                      .RecipImageAtMySite = false};
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

    /// The lines with names; those with addresses are read in a run over real servers.
    void LogLines()
    {
        modBrambury::State().Settings.ShowURL = 0;
        modBrambury::State().Settings.ClearResultsLog = u"Yes"_s;
        modBrambury::State().Settings.PlaySoundComplete = u"Yes"_s;
        modBrambury::State().Settings.SoundComplete = modBrambury::DatabasePath(); // any file that exists
        m_fixture->log.Append(u"old lines"_s, 0);
        m_fixture->AddSite({{u"HomePage"_s, u"http://www.Shop.example/"_s}, {u"ImageFile"_s, u"Shop.gif"_s}});
        m_fixture->AddLink();
        m_fixture->AddLink({{u"Title"_s, u"Carl"_s},
                            {u"HomePage"_s, u"http://www.carl.example/"_s},
                            {u"LinkPage"_s, u"http://www.carl.example/"_s},
                            {u"ImageFile"_s, QVariant()}});
        m_web->pages = {{BobAddress, {.links = BobsPage.links}},
                        {u"http://www.carl.example/"_s, {.error = 61}},
                        {OwnAddress, {.images = AnnsPage.images}}};
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

    void SessionsWithoutAVerdict_data()
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
    void SessionsWithoutAVerdict()
    {
        const auto [queued, connected, site, box, line, ending] =
            testRow<bool, bool, QVariant, QString, QString, Ending>();
        m_fixture->AddSite();
        const qint64 bob = m_fixture->AddLink({{u"TestQueue"_s, queued}, {u"SiteName"_s, site}, {u"Results"_s, 4}});
        m_fixture->program.connection.connected = connected;
        m_fixture->program.dialogs.Expect(box);
        m_fixture->Run();
        QCOMPARE(m_fixture->program.dialogs.shown, QStringList{box});
        QVERIFY(m_fixture->Lines().contains(line));
        QCOMPARE(m_fixture->Lines().last(), End);
        QCOMPARE(m_fixture->ending, ending);
        QCOMPARE(m_fixture->Queued(bob), queued);
        QVERIFY(m_web->asked.isEmpty());
        if (!queued)
            QCOMPARE(m_fixture->Results(bob), 4); // without a queue the old results stay
    }

    void StopLeavesTheRestQueued_data()
    {
        const testTable<QString, int> row; // moment, verdicts
        row("before the run", u"start"_s, 0);
        row("when a link comes up", u"highlight"_s, 1);
        row("while the own page is fetched", u"own"_s, 1);
        row("between links", u"verdict 2"_s, 2);
        row("at the last verdict", u"verdict 3"_s, 3);
    }
    void StopLeavesTheRestQueued()
    {
        const auto [moment, verdicts] = testRow<QString, int>();
        m_fixture->AddSite();
        const qint64 ids[3] = {m_fixture->AddLink(), m_fixture->AddLink(), m_fixture->AddLink()};
        const auto now = [&, &when = moment](const QString& what) {
            if (what == when)
                modBrambury::State().StopFlag = true;
        };
        now(u"start"_s);
        m_web->pages[OwnAddress].during = [&] { now(m_web->asked.size() == 4 ? u"own"_s : QString()); };
        m_fixture->parent.onHighLight = [&](qint64 id) { now(id == ids[1] ? u"highlight"_s : QString()); };
        m_fixture->parent.onProgress = [&](qint64 done) { now(u"verdict %1"_s.arg(done)); };
        m_fixture->Run();
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(m_fixture->Queued(ids[i]), i >= verdicts);
            QCOMPARE(m_fixture->Results(ids[i]), i >= verdicts ? 0 : 1);
            QCOMPARE(m_fixture->Status(ids[i]), modDataModel::Active);
        }
        const QStringList lines = m_fixture->Lines();
        QCOMPARE(lines.mid(lines.size() - 2),
                 QStringList({u"  \u2022 Stop button was pressed.  Process aborted."_s, End}));
        QCOMPARE(m_fixture->ending, Ending::Stopped);
        QVERIFY(m_web->closedAll);
    }

    void OrderSitesAndReadAhead()
    {
        // Two sites by turns, sorted by title; links that skip one direction or both.
        modBrambury::State().Settings.Sort = 2;
        m_fixture->AddSite({{u"IPAddress"_s, QVariant()}});
        m_fixture->AddSite({{u"SiteID"_s, u"Farm"_s},
                            {u"SiteName"_s, QString()},
                            {u"HomePage"_s, u"http://www.Farm.example/"_s},
                            {u"LinkPage"_s, u"http://www.farm.example/links"_s}});
        const auto add = [&](const QString& title, const QString& site, const QString& home, const QString& page) {
            return QString::number(m_fixture->AddLink(
                {{u"Title"_s, title}, {u"SiteName"_s, site}, {u"HomePage"_s, home}, {u"LinkPage"_s, page}}));
        };
        const QString d = add(u"d"_s, u"Shop"_s, u"http://www.d.example/"_s, u"http://www.d.example/x"_s);
        const QString b = add(u"B"_s, u"Farm"_s, u"http://www.b.example/"_s, u"http://www.b.example/b.html"_s);
        const QString c = add(u"c"_s, u"farm"_s, {}, u"http://www.c.example/"_s);
        const QString e = add(u"e"_s, u"Shop"_s, {}, {});
        const QString a = add(u"a"_s, u"Shop"_s, u"http://www.a.example/"_s, {});
        m_fixture->Run();

        const QStringList expected{OwnAddress, // a: own page only
                                   u"http://www.b.example/b.html"_s,
                                   u"http://www.farm.example/links/"_s,
                                   u"http://www.c.example/"_s, // c: partner's page only
                                   u"http://www.d.example/x/"_s,
                                   OwnAddress};
        QCOMPARE(m_web->asked, expected);
        QCOMPARE(m_web->announced, expected);
        // A site without a title goes by its key, and a key in other letters is the same site.
        QCOMPARE(m_fixture->parent.highlighted.join(u'|'),
                 u"%1 Ann's Shop|%2 Farm|%3 Farm|%4 Ann's Shop|%5 Ann's Shop"_s.arg(a, b, c, d, e));
        QCOMPARE(m_fixture->Lines().filter(u"Current site: "_s).size(), 3);
    }

    void FailureIsReportedAndTheSessionEnds()
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
        QCOMPARE(m_fixture->Lines().last(), End);
        QVERIFY(m_web->closedAll);
        QCOMPARE(m_fixture->Results(first), 1);
        QVERIFY(m_fixture->Queued(second));
    }
};

QTEST_GUILESS_MAIN(tst_linktest)
#include "tst_linktest.moc"
