// SPDX-License-Identifier: GPL-3.0-or-later
// The link test as a user runs it: the real database, the real HTTP control, real servers.
#include "linktest_fixture.h"
#include "support/faults.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
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

const QByteArray ShopHome = "http://www.shop.example/";

serverReply PartnerPage()
{
    return serverReply::Page(Html({ShopHome}, {"top.gif", "/pictures/shop.gif"}));
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
} // namespace

class tst_linkrun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<linktestFixture>();
        m_server = std::make_unique<scriptedServer>();
    }
    void cleanup()
    {
        m_fixture.reset();
        m_server.reset();
    }
    void MixedRun();
    void OneAtATime();
    void DeadPartnersShareOneWait();
    void StopActsAtOnce_data();
    void StopActsAtOnce();
    void LockedDatabase_data();
    void LockedDatabase();

private:
    std::unique_ptr<linktestFixture> m_fixture;
    std::unique_ptr<scriptedServer> m_server;
};

void tst_linkrun::MixedRun()
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
                                                                "http://www.hal.example/", "http://www.ida.example/",
                                                                "http://www.nell.example/", "http://www.pia.example/"},
                                                               {"top.gif", "bob.gif", "pia.gif"})));
    m_server->Answer(
        "/deep/links/",
        serverReply::Page(Html({"http://10.1.2.3/x/", "http://kim.example/", "http://max.example/"}, {"kim.gif"})));

    struct Partner
    {
        const char* title;
        const char* site;
        modDataModel::Status before;
        QString linkPage;
        QVariantMap more;
        int results;
        modDataModel::Status after;
    };
    const auto home = [](const char* address) { return QVariantMap{{u"HomePage"_s, QLatin1String(address)}}; };
    const QVariantMap janAtHome{{u"HomePage"_s, u"http://www.jan.example/x/"_s}, {u"IPAddress"_s, u"10.1.2.3"_s}};
    const QVariantMap kimAtHome{{u"HomePage"_s, u"http://kim.example/"_s}, {u"ImageFile"_s, u"kim.gif"_s}};
    using enum modDataModel::Status;
    const QList<Partner> partners{
        // Codes stay in their slots: 4 of Carl until Emil's 128, 8 of Dora, 16 of Fay and 32 of Kim to the end.
        {"Bob", "Shop", Active, url("/bob.htm"), {{u"ImageFile"_s, u"bob.gif"_s}}, 1, Active},
        {"Carl", "Shop", Active, url("/carl"), {}, 4, Broken},
        {"Dora", "Shop", Offer, url("/dora.htm"), {}, 4 + 8, Offer},
        {"Emil", "shop", Active, url("/emil.htm"), {}, 128 + 8, Broken},
        {"Fay", "Shop", InProcess, closed, {}, 128 + 8 + 16, InProcess},
        {"Gus", "Shop", Active, u"ftp://gus.example/"_s, {}, 256 + 8 + 16, Broken},
        {"Hal", "Shop", Inactive, QString(), {}, 1, Active},
        {"Ida", "Shop", Active, url("/ida.htm"), {}, 128 + 8 + 16, Broken},
        {"Jan", "Farm", Active, url("/jan.htm"), janAtHome, 1, Active},
        {"Kim", "Farm", Active, url("/kim.htm"), kimAtHome, 128 + 8 + 16 + 32, Broken},
        {"Lea", "Farm", Declined, url("/lea.htm"), home(""), 1, Active},
        {"Max", "Farm", Broken, url("/max.htm"), home("http://max.example/"), 128 + 8 + 16 + 32, Broken},
        {"Nell", "Shop", Offer, url("/nell.htm"), {}, 1, Active},
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
    m_server->Answer("/ida.htm",
                     serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n<a href=\"" + ShopHome + "\">")
                         .Pause(50ms)
                         .Reset());
    m_server->Answer("/jan.htm", serverReply::Page(Html({"/"})));
    m_server->Answer("/kim.htm", serverReply::Bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" +
                                                    serverBody::Chunked("<p>Gr\xfc\xdf"
                                                                        "e <A HREF='HTTP://FARM.EXAMPLE/'>x",
                                                                        7)));
    m_server->Answer("/lea.htm", serverReply::Page(serverBody::Deflate(Html({"http://farm.example/"}), true),
                                                   "Content-Encoding: deflate\r\n"));
    m_server->Answer("/max.htm", serverReply::Page("not yet", {}, "501 Not Implemented"));
    m_server->Answer("/nell.htm",
                     serverReply::Bytes("HTTP/1.1 200 OK\r\n\r\n" + Html({ShopHome}, {"top.gif", "shop.gif"}))
                         .Endless(QByteArray(60000, ' ') + "\n"));
    m_server->Answer("/otto.htm", serverReply().Silent());
    m_server->Answer("/pia.htm", PartnerPage());

    QList<qint64> ids;
    for (const Partner& partner : partners) {
        QVariantMap fields{{u"Title"_s, QLatin1String(partner.title)},
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
    * Searching S/shop/links.htm for a reference to http://www.hal.example/
        Located link http://www.hal.example/ at S/shop/links.htm
    * Searching S/ida.htm for a reference to http://www.shop.example/
    * Connection reset by peer
    * Searching S/shop/links.htm for a reference to http://www.ida.example/
        Located link http://www.ida.example/ at S/shop/links.htm
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
    * Searching S/lea.htm for a reference to http://farm.example/
        Located link http://farm.example/ at S/lea.htm
    * Searching S/max.htm for a reference to http://farm.example/
    * Unknown Error
    * Searching S/deep/links/ for a reference to http://max.example/
        Located link http://max.example/ at S/deep/links/
  * Current site: Ann's Shop
    * Searching S/nell.htm for a reference to http://www.shop.example/
        Located link http://www.shop.example/ at S/nell.htm
        Located reference to image file shop.gif at S/nell.htm
    * Searching S/shop/links.htm for a reference to http://www.nell.example/
        Located link http://www.nell.example/ at S/shop/links.htm
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
    QCOMPARE(m_fixture->failed, 9);
    // The own pages were needed for every link and asked for once.
    QCOMPARE(m_server->Count("/shop/links.htm"), 1);
    QCOMPARE(m_server->Count("/deep/links/"), 1);
    // The page file holds the last page; nothing is left open.
    QVERIFY(QFile::exists(modBrambury::FolderPath(u"\\$$$http.tmp"_s)));
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_linkrun::OneAtATime()
{
    SetLimits(5, 1);
    m_fixture->AddSite({{u"LinkPage"_s, m_server->Url(u"/own.htm"_s)}});
    m_server->Answer("/own.htm", serverReply::Page(Html({"http://www.bob.example/"}, {"top.gif", "bob.gif"})));
    m_server->AnswerOthers([](const serverRequest&) { return PartnerPage().After(20ms); });
    for (const QString& page : {u"/a.htm"_s, u"/b.htm"_s, u"/c.htm"_s})
        m_fixture->AddLink({{u"LinkPage"_s, m_server->Url(page)}});
    m_fixture->Run();
    QCOMPARE(m_fixture->ending, Ending::Done);
    QCOMPARE(m_fixture->failed, 0);
    QByteArrayList targets;
    for (const serverRequest& request : m_server->Requests())
        targets << request.target;
    QCOMPARE(targets, QByteArrayList({"/a.htm", "/own.htm", "/b.htm", "/own.htm", "/c.htm", "/own.htm"}));
    QCOMPARE(m_server->PeakRequests(), 1);
}

void tst_linkrun::DeadPartnersShareOneWait()
{
    SetLimits(1);
    scriptedServer web({.address = QHostAddress(QHostAddress::AnyIPv4), .port = 0, .certificate = {}, .key = {}});
    m_server->Answer("/own.htm", serverReply::Page(Html({"http://www.bob.example/"}, {"top.gif", "bob.gif"})));
    web.Answer("/dead.htm", serverReply().Silent());
    m_fixture->AddSite({{u"LinkPage"_s, m_server->Url(u"/own.htm"_s)}});
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

void tst_linkrun::StopActsAtOnce_data()
{
    const testTable<QString> row; // the second link's page
    row("connecting", u"full"_s);
    row("no answer", u"/silent.htm"_s);
    row("in the header", u"/header.htm"_s);
    row("in the body", u"/drip.htm"_s);
}

void tst_linkrun::StopActsAtOnce()
{
    const auto [second] = testRow<QString>();
    SetLimits(60);
    const FullPort full;
    m_server->Answer("/good.htm", PartnerPage());
    m_server->Answer("/own.htm", serverReply::Page(Html({"http://www.bob.example/"}, {"top.gif", "bob.gif"})));
    m_server->Answer("/silent.htm", serverReply().Silent());
    m_server->Answer("/header.htm", serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-T").Silent());
    m_server->Answer(
        "/drip.htm",
        serverReply::Bytes("HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n").Drip(QByteArray(9000, 'x'), 1, 10ms));
    m_fixture->AddSite({{u"LinkPage"_s, m_server->Url(u"/own.htm"_s)}});
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
    QCOMPARE(lines.mid(lines.size() - 2),
             QStringList({u"  \u2022 Stop button was pressed.  Process aborted."_s,
                          u"END LINK TEST SESSION - Monday, January 5, 2026 at 03:07 PM"_s}));
    QTRY_COMPARE(m_server->OpenConnections(), 0);
}

void tst_linkrun::LockedDatabase_data()
{
    const testTable<int, int, Ending> row; // milliseconds to the end of the lock, to Stop (0: never), ending
    row("for a moment", 1200, 0, Ending::Done);
    row("until Stop", 0, 800, Ending::Stopped);
    row("for too long", 0, 0, Ending::Failed);
}

/// Another program has the file to itself, for reading and writing, from the second link on.
void tst_linkrun::LockedDatabase()
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

QTEST_GUILESS_MAIN(tst_linkrun)
#include "tst_linkrun.moc"
