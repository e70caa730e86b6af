// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/clsHarvest.h"

#include "data/modDataModel.h"
#include "data/modSites.h"
#include "linktest/clsHTTP.h"
#include "linktest/clsHTTPEngine.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsLinkFiles.h"
#include "platform/frmResources.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "shell/modSocketErrors.h"

#include <QDir>
#include <QHash>
#include <QScopeGuard>
#include <QSet>
#include <QUrl>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;
using modCommonFunctions::TextOf;

namespace
{
constexpr char Module[] = "clsHarvest";
const QString LinkTable = u"tblLinkList"_s;
/// The port of a site that names none.
constexpr int HttpPort = 80;
/// Message type of a link that has just been harvested.
constexpr int FirstMessage = 1;
/// Partners that are compared between two looks at the window.
constexpr qint64 PartnersAtOnce = 1000;
/// More marks say no more.
constexpr qsizetype MostMarks = 3;

void Exclaim(const QString& text)
{
    MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

/// "www.host.example:8080" without its port.
QString WithoutPort(const QString& host)
{
    return host.left(host.indexOf(u':', host.lastIndexOf(u']') + 1));
}

/// What is told of a partner that has a harvested address.
QString MarkOf(bool ownSite, const QString& site, int status)
{
    const bool declined = status == modDataModel::Declined;
    if (ownSite)
        return declined ? u"declined"_s : u"partner of this site"_s;
    return declined ? u"declined for %1"_s.arg(site) : u"partner of %1"_s.arg(site);
}
} // namespace

clsHarvest::clsHarvest(Collaborators collaborators) : m_with(std::move(collaborators)) {}

clsHarvest::~clsHarvest() = default;

void clsHarvest::SetWish(Wish wish)
{
    m_wish = std::move(wish);
    m_wish.url = m_wish.url.trimmed();
    if (const QUrl url(m_wish.url); url.isLocalFile())
        m_wish.url = url.toLocalFile();
    m_links.clear();
}

bool clsHarvest::NamesFile(const QString& url)
{
    return QDir::isAbsolutePath(url.trimmed()) || QUrl(url.trimmed()).isLocalFile();
}

QString clsHarvest::Problem() const
{
    if (m_wish.site.isEmpty())
        return u"You must select a site to continue."_s;
    if (m_wish.url.isEmpty())
        return u"You must enter the URL you wish to import before continuing."_s;
    if (NamesFile(m_wish.url))
        return m_with.Platform.Disk->FileExists(m_wish.url) ? QString() : u"There is no file "_s + m_wish.url + u'.';
    // Well formed is what could be requested.
    if (m_with.Platform.Resources->HTTPControl->HostOf(m_wish.url, HttpPort, {}).isEmpty())
        return u"The URL is improperly formatted.  (Example: http://www.example.com/links.html)"_s;
    return {};
}

QString clsHarvest::Summary() const
{
    QStringList lines{
        u"The Wizard is now ready to harvest links based on the following information provided:"_s,
        u" Links will be added to the \""_s + m_wish.site + u"\" site"_s,
        u" Links will be harvested from:"_s,
        u"      "_s + m_wish.url,
    };
    if (!NamesFile(m_wish.url))
        lines << (m_wish.FilterBaseURL ? u" Links containing the same base URL will be filtered out"_s
                                       : u" Links containing the same base URL will be included"_s);
    lines << (m_wish.FilterDuplicates ? u" Links that are duplicated will be filtered out"_s
                                      : u" Links that are duplicated will be included"_s);
    return lines.join("\r\n"_L1);
}

clsHarvest::Ending clsHarvest::Run()
{
    m_links.clear();
    m_abandoned = false;
    Ending ending = Ending::Failed;
    guarded(Module, "Run", [&] { ending = Harvest(); });
    if (ending != Ending::Done)
        m_links.clear();
    return ending;
}

void clsHarvest::Abandon()
{
    m_abandoned = true;
    State().StopFlag = true;
}

std::unique_ptr<clsRecordset> clsHarvest::FindSite() const
{
    auto sites = m_with.Database->OpenRecordset(u"tblSites"_s);
    if (modSites::Find(*sites, m_wish.site))
        return sites;
    Exclaim(u"Could not locate information for site "_s + m_wish.site + u'.');
    return nullptr;
}

clsHarvest::Ending clsHarvest::Harvest()
{
    const auto site = FindSite();
    if (!site)
        return Ending::UnknownSite;
    if (NamesFile(m_wish.url))
        return HarvestFile();
    const auto fetcher = m_with.MakeEngine ? m_with.MakeEngine() : clsHTTPEngine::ForRun();
    const auto end = qScopeGuard([&] {
        fetcher->EndConnectToServer();
        fetcher->CloseAll();
    });
    const int port = site->Field(u"HTTPPort"_s).toInt();
    fetcher->SetPort(port > 0 ? port : HttpPort);
    fetcher->SetProxy(TextOf(site->Field(u"ProxyServer"_s)));
    fetcher->SetLocalFile(modBrambury::FolderPath(u"\\$$$http.tmp"_s));
    fetcher->SetWantsTexts(true);

    if (!modCommonFunctions::InternetConnection()) {
        Exclaim(u"Could not establish a connected to the Internet."_s);
        return Ending::NoConnection;
    }
    const QString address = clsHTTP::PageAddress(m_wish.url);
    fetcher->SetURL(address);
    if (!fetcher->ConnectToServer()) {
        // The number that Stop leaves behind says nothing about the page.
        if (State().StopFlag) {
            if (!m_abandoned)
                Exclaim(u"Could not connect to "_s + address + u'.');
            return Ending::Stopped;
        }
        MsgBox(modSocketErrors::SocketErrorText(fetcher->ErrNumber()));
        return Ending::PageFailed;
    }
    const clsPageList& page = fetcher->Hyperlinks();
    if (page.Count() == 0) {
        Exclaim(u"A connection was established, but no links were found."_s);
        return Ending::NoLinks;
    }
    Take(page, WithoutPort(fetcher->Host()));
    return MarkPartners() ? Ending::Done : Ending::Stopped;
}

clsHarvest::Ending clsHarvest::HarvestFile()
{
    const auto content = m_with.Platform.LinkFiles->Read(m_wish.url, [] { return State().StopFlag; });
    if (!content)
        return Ending::Stopped;
    if (!content->problem.isEmpty()) {
        Exclaim(u"The links of %1 could not be read.\r\n%2"_s.arg(m_wish.url, content->problem));
        return Ending::PageFailed;
    }
    if (content->links.Count() == 0) {
        Exclaim(u"No links were found in %1."_s.arg(m_wish.url));
        return Ending::NoLinks;
    }
    Take(content->links, {});
    return MarkPartners() ? Ending::Done : Ending::Stopped;
}

void clsHarvest::Take(const clsPageList& page, const QString& host)
{
    QSet<QString> listed;
    for (int i = 0; i < page.Count(); ++i) {
        const clsPageAddress& link = page.Item(i);
        // Letter case counts, and so does a query that merely names one.
        if (link.written.contains("mailto"_L1))
            continue;
        const bool duplicate = listed.contains(link.resolved);
        if (duplicate && m_wish.FilterDuplicates)
            continue;
        if (m_wish.FilterBaseURL && !host.isEmpty() && link.resolved.contains(host, Qt::CaseInsensitive))
            continue;
        listed.insert(link.resolved);
        m_links.push_back({link.resolved, page.Text(i), {}});
    }
}

bool clsHarvest::MarkPartners()
{
    QHash<QString, std::vector<Link*>> byForm;
    for (Link& link : m_links) {
        if (const QString form = ComparedForm(link.address); !form.isEmpty())
            byForm[form].push_back(&link);
        else
            link.marks << u"no web address"_s;
    }
    if (byForm.isEmpty())
        return true;
    const auto partners = m_with.Database->OpenRecordset(LinkTable);
    const QStringList fields{u"HomePage"_s, u"SiteName"_s, u"Status"_s};
    for (qint64 first = 0; first < partners->RecordCount(); first += PartnersAtOnce) {
        for (const auto& partner : partners->Rows(first, PartnersAtOnce, fields)) {
            if (partner.empty())
                continue;
            const auto links = byForm.constFind(ComparedForm(TextOf(partner[0])));
            if (links == byForm.cend())
                continue;
            const QString site = TextOf(partner[1]);
            const bool own = site.compare(m_wish.site, Qt::CaseInsensitive) == 0;
            const QString mark = MarkOf(own, site, partner[2].toInt());
            for (Link* link : *links) {
                if (link->marks.contains(mark))
                    continue;
                // The site itself first: that is what the user has to know.
                if (own)
                    link->marks.prepend(mark);
                else if (link->marks.size() < MostMarks)
                    link->marks.append(mark);
            }
        }
        m_with.Platform.EventLoop->Yield();
        if (State().StopFlag)
            return false;
    }
    return true;
}

QString clsHarvest::ComparedForm(const QString& address)
{
    QStringView rest = QStringView(address).trimmed();
    if (rest.startsWith("http://"_L1, Qt::CaseInsensitive))
        rest = rest.sliced(7);
    else if (rest.startsWith("https://"_L1, Qt::CaseInsensitive))
        rest = rest.sliced(8);
    else
        return {};
    if (const qsizetype fragment = rest.indexOf(u'#'); fragment >= 0)
        rest.truncate(fragment);
    const auto pathAt = std::find_if(rest.begin(), rest.end(), [](QChar c) { return c == u'/' || c == u'?'; });
    QString host = rest.first(pathAt - rest.begin()).toString().toLower();
    QStringView path = rest.sliced(pathAt - rest.begin());
    for (const QLatin1StringView port : {":80"_L1, ":443"_L1}) {
        if (host.endsWith(port))
            host.chop(port.size());
    }
    if (host.startsWith("www."_L1))
        host.remove(0, 4);
    if (std::any_of(host.cbegin(), host.cend(), [](QChar c) { return c.unicode() >= 0x80; }))
        host = QString::fromLatin1(QUrl::toAce(host));
    static constexpr std::array indexPages{"/index.html"_L1, "/index.htm"_L1, "/index.php"_L1, "/default.htm"_L1,
                                           "/default.asp"_L1};
    for (const QLatin1StringView page : indexPages) {
        if (path.endsWith(page, Qt::CaseInsensitive)) {
            path.chop(page.size());
            break;
        }
    }
    if (path.endsWith(u'/'))
        path.chop(1);
    return host.isEmpty() ? QString() : host.append(path);
}

QString clsHarvest::CountText() const
{
    return (NamesFile(m_wish.url) ? u"%1 links were harvested from this file."_s
                                  : u"%1 links were harvested from this web page."_s)
        .arg(m_links.size());
}

bool clsHarvest::Add(const std::vector<std::size_t>& chosen)
{
    bool written = false;
    guarded(Module, "Add", [&] { written = Write(chosen); });
    if (written)
        MsgBox(u"The harvested links have been added as reciprocal links of the \"%1\" site."_s.arg(m_wish.site),
               clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
    return written;
}

bool clsHarvest::Write(const std::vector<std::size_t>& chosen)
{
    clsDatabase& database = *m_with.Database;
    const auto site = FindSite();
    if (!site)
        return false;
    const QString comments = u"Link was added via the Link Harvest Wizard on "_s +
                             modCommonFunctions::LongDate(m_with.Platform.Clock->Now());
    const QString siteID = TextOf(site->Field(u"SiteID"_s));
    const int titleSize = database.FieldSize(LinkTable, u"Title"_s);
    clsTransaction transaction(database);
    const auto records = database.OpenRecordset(LinkTable);
    for (const std::size_t index : chosen) {
        const QString& address = m_links.at(index).address;
        records->AddNew();
        records->SetField(u"SiteName"_s, siteID);
        records->SetField(u"Title"_s, modCommonFunctions::Leftmost(address, titleSize));
        records->SetField(u"HomePage"_s, address);
        records->SetField(u"Message"_s, FirstMessage);
        records->SetField(u"Status"_s, int{modDataModel::Offer});
        records->SetField(u"Comments"_s, comments);
        records->SetField(u"Offers"_s, 0);
        records->Update();
    }
    transaction.Commit();
    return true;
}
