// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/clsHTTP.h"

#include "data/clsDAO.h"
#include "data/modDataModel.h"
#include "data/modLinks.h"
#include "linktest/clsHTTPEngine.h"
#include "platform/clsClock.h"
#include "platform/clsEventLoop.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "shell/modSocketErrors.h"

#include <QHash>
#include <QScopeGuard>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
/// What the run needs of a site's record.
struct SiteData
{
    QString Name; ///< as the log calls it
    QString HomePage;
    QString LinkPage;
    QString ImageFile;
    QString IPAddress;
};

/// What the run needs of a partner's record.
struct LinkData
{
    QString Title;
    QString HomePage;
    QString LinkPage;
    QString ImageFile;
    QString IPAddress;
};

/// The codes that one direction of the test adds to a link's results.
struct FailureCodes
{
    qint16 Link;       ///< the link is missing
    qint16 Image;      ///< the image is missing
    qint16 NoPage;     ///< the page could not be fetched
    qint16 BadAddress; ///< the page's address is none
};
constexpr FailureCodes PartnerCodes{4, 8, 128, 256};
constexpr FailureCodes OwnCodes{16, 32, 64, 512};

/// How long verdicts may be on their way to the disk.
constexpr std::chrono::milliseconds VerdictsKeptWithin{100};

/// The control's number for an address that cannot be requested.
constexpr int AddressNotAvailable = 49;

/// One direction of the test: whose page is fetched, and what has to stand on it.
struct Direction
{
    std::size_t Slot; ///< of the link test in Found and Code; the image test has the next one
    FailureCodes Codes;
    bool TestLink;
    bool TestImage;
    QString Page;
    QString PageOwner; ///< as the log calls whoever the page belongs to
    QString Sought;    ///< as the log calls whoever is to be found there
    QString* HomePage; ///< of the sought one; the search turns it to lower case
    QString IPAddress;
    QString ImageFile;
    bool IpFormCounts; ///< whether a hyperlink to the bare IP address is good enough

    /// Without a page, or without anything to look for, there is no download: both tests pass.
    [[nodiscard]] bool Asks() const { return TestLink && !Page.isEmpty() && !HomePage->isEmpty(); }
};

Direction PartnerPage(SiteData& site, const LinkData& link)
{
    const modBrambury::TestSwitches& tests = State().Tests;
    return {.Slot = 0,
            .Codes = PartnerCodes,
            .TestLink = tests.MyLinkAtRecipSite,
            .TestImage = tests.MyImageAtRecipSite,
            .Page = link.LinkPage,
            .PageOwner = link.Title,
            .Sought = site.Name,
            .HomePage = &site.HomePage,
            .IPAddress = site.IPAddress,
            .ImageFile = site.ImageFile,
            .IpFormCounts = false};
}

Direction OwnPage(const SiteData& site, LinkData& link)
{
    const modBrambury::TestSwitches& tests = State().Tests;
    return {.Slot = 2,
            .Codes = OwnCodes,
            .TestLink = tests.RecipLinkAtMySite,
            .TestImage = tests.RecipImageAtMySite,
            .Page = site.LinkPage,
            .PageOwner = site.Name,
            .Sought = link.Title,
            .HomePage = &link.HomePage,
            .IPAddress = link.IPAddress,
            .ImageFile = link.ImageFile,
            .IpFormCounts = true};
}

/// A text field of the current record, Null as the empty text.
QString Text(const clsRecordset& records, const QString& field)
{
    return modCommonFunctions::TextOf(records.Field(field));
}

LinkData ReadLink(const clsRecordset& links)
{
    return {Text(links, u"Title"_s), Text(links, u"HomePage"_s), Text(links, u"LinkPage"_s),
            Text(links, u"ImageFile"_s), Text(links, u"IPAddress"_s)};
}

/// Whether one of the forms of an address stands on the page as it is or with "/" behind it.
bool Lists(const clsPageList& page, const QString& form)
{
    return page.IndexOf(form) >= 0 || page.IndexOf(form + u'/') >= 0;
}

/// The limit of one page.
std::chrono::seconds PageLimit()
{
    return std::chrono::seconds(State().Settings.Timeout);
}
} // namespace

QString clsHTTP::StripWww(QString& address)
{
    address = address.toLower();
    const qsizetype www = address.indexOf("www."_L1);
    return www < 0 ? QString() : address.left(www) + address.mid(www + 4);
}

QString clsHTTP::IpForm(QString& address, const QString& ip)
{
    if (ip.isEmpty())
        return address;
    address = address.toLower();
    QString form;
    if (const qsizetype www = address.indexOf("www."_L1); www >= 0)
        form = address.left(www) + ip + u'/';
    qsizetype slash = -1;
    for (int i = 0; i < 3; ++i) {
        slash = address.indexOf(u'/', slash + 1);
        if (slash < 0)
            return form;
    }
    return form + address.mid(slash + 1);
}

QString clsHTTP::PageAddress(const QString& linkPage)
{
    // Letter case counts, and the list is closed: anything else names a folder.
    static constexpr std::array endings{".htm"_L1, "html"_L1, ".asp"_L1, ".cfm"_L1, ".exe"_L1,
                                        ".cgi"_L1, ".txt"_L1, ".doc"_L1, ".pl"_L1,  "/"_L1};
    const bool page = std::any_of(endings.begin(), endings.end(),
                                  [&](QLatin1StringView ending) { return linkPage.endsWith(ending); });
    return page ? linkPage : linkPage + u'/';
}

/// Everything that lives as long as one run.
struct clsHTTP::Session final : clsRun
{
    /// How a phase ended.
    enum class Phase
    {
        Over,    ///< the next one follows
        Verdict, ///< the verdict follows at once, whatever is still to be tested
        Stop,    ///< the stop flag: the link stays queued
    };

    explicit Session(clsHTTP& test) : clsRun(test.m_with, u"LINK TEST"_s), m_test(test) {}

    using clsRun::Begin;
    /// From opening the queue to the last verdict.
    void Run();
    void Finish();

private:
    void OpenQueue();
    void MakeFetcher();
    void EndStopped();
    /// Ending::Done when every link was judged or the stop flag ended it.
    Ending TestLinks();
    void LoadSite(const QString& siteID);
    const SiteData* KnownSite(const QString& siteID);
    Phase TestPage(const Direction& direction);
    void SearchPage(const Direction& direction, const QString& stripped, const QString& ipForm);
    bool SearchImage(const Direction& direction);
    /// @return false when the run was stopped before there was a way into the database.
    bool WriteVerdict();
    /// Makes the verdicts written until now last.
    void KeepVerdicts();
    std::optional<QString> NextAddress();
    /// " at ADDRESS" or " on OWNER", as the setting wants pages named.
    [[nodiscard]] QString Where(const Direction& direction) const;

    clsHTTP& m_test;
    const bool m_showURL = State().Settings.ShowURL == 1;
    // One pair of arrays for the whole run: a code stays in its slot, and counts for later links that fail, until the
    // same test fails with another one.
    std::array<bool, 4> m_found{};
    std::array<qint16, 4> m_code{};

    std::unique_ptr<clsRecordset> m_sites;
    QHash<QString, std::optional<SiteData>> m_knownSites;
    SiteData m_site;

    std::unique_ptr<clsRecordset> m_links;
    std::unique_ptr<clsRecordset> m_coming; ///< runs ahead of m_links
    std::optional<QString> m_comingOwnPage;
    bool m_comingLocked = false; ///< the addresses to come ended at a lock, not at the queue's end

    // Verdicts that follow each other at once share one transaction: to wait for the disk after each would take longer
    // than everything else. It never outlives a wait.
    std::optional<clsTransaction> m_verdicts;
    std::chrono::milliseconds m_verdictsSince{0};

    std::unique_ptr<clsHTTPEngine> m_fetcher; ///< last: its end ends the calls of NextAddress
};

void clsHTTP::Session::Run()
{
    if (!Unlocked([this] { OpenQueue(); }))
        return EndStopped();
    MakeFetcher();
    if (m_links->RecordCount() == 0) {
        const QString text = u"There are no links selected for testing."_s;
        Log(text, 1, true);
        MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
        m_test.m_ending = Ending::Empty;
        return;
    }
    Unlocked([] { modBrambury::ClearResults(State().CurrentSite); });
    Unlocked([this] { m_links->MoveFirst(); });

    // After a failure too: what was judged before it stays judged.
    const auto keep = qScopeGuard([this] {
        if (m_verdicts)
            ignoringErrors([this] { m_verdicts->Commit(); });
        m_verdicts.reset();
    });
    const Ending ending = TestLinks();
    KeepVerdicts();
    if (ending != Ending::NoConnection && Stopped())
        return EndStopped();
    m_test.m_ending = ending;
}

void clsHTTP::Session::EndStopped()
{
    LogStopped();
    m_test.m_ending = Ending::Stopped;
}

void clsHTTP::Session::Finish()
{
    if (m_fetcher) {
        m_fetcher->EndConnectToServer();
        m_fetcher->CloseAll();
    }
    End();
}

void clsHTTP::Session::OpenQueue()
{
    m_sites = Database().OpenRecordset(u"tblSites"_s);
    m_links = modLinks::Queued(Database(), u"qryTestLinks"_s);
}

void clsHTTP::Session::MakeFetcher()
{
    m_fetcher = clsHTTPEngine::ForRun([this] { KeepVerdicts(); });
    // It keeps the port and the proxy of a new one: those of the sites are for the harvest.
    m_fetcher->SetLocalFile(modBrambury::FolderPath(u"\\$$$http.tmp"_s));
}

clsHTTP::Ending clsHTTP::Session::TestLinks()
{
    const qint64 total = m_links->RecordCount();
    qint64 done = 0;
    std::optional<QString> lastSite;
    while (!m_links->AfterLast() && !Stopped()) {
        QString siteID;
        const auto otherSite = [&] { return !lastSite || lastSite->compare(siteID, Qt::CaseInsensitive) != 0; };
        if (!Unlocked([&] {
                siteID = Text(*m_links, u"SiteName"_s);
                if (otherSite())
                    LoadSite(siteID);
            }))
            break;
        if (otherSite()) {
            lastSite = siteID;
            if (m_site.Name.isEmpty()) {
                KeepVerdicts(); // nothing waits for the user with half its work done
                TellUnknownSite(siteID, 2);
                return Ending::UnknownSite;
            }
            Log(u"Current site: "_s + m_site.Name, 1, true);
        }
        Parent().HighLightLink(m_links->Bookmark(), m_site.Name);
        if (!modCommonFunctions::InternetConnection()) {
            KeepVerdicts();
            TellNoConnection();
            return Ending::NoConnection;
        }
        if (!m_coming || m_comingLocked) {
            m_coming = m_links->Clone();
            m_coming->MoveTo(m_links->Bookmark());
            m_comingOwnPage.reset();
            m_comingLocked = false;
            m_fetcher->ReadAhead([this] { return NextAddress(); });
        }

        LinkData link;
        if (!Unlocked([&] { link = ReadLink(*m_links); }))
            break;
        Phase phase = TestPage(PartnerPage(m_site, link));
        if (phase == Phase::Over)
            phase = TestPage(OwnPage(m_site, link));
        if (phase == Phase::Stop || !WriteVerdict())
            break;
        Parent().RunProgress(++done, total);
        if (!Unlocked([this] { m_links->MoveNext(); }))
            break;
    }
    return Ending::Done;
}

const SiteData* clsHTTP::Session::KnownSite(const QString& siteID)
{
    // Looked up once for each site, for the run and for the addresses to come alike.
    const QString key = siteID.toLower();
    auto known = m_knownSites.constFind(key);
    if (known == m_knownSites.cend()) {
        std::optional<SiteData> data;
        if (m_sites->FindFirst(clsDAO::TextCriteria(u"SiteID"_s, siteID))) {
            // A site without a title goes by its key.
            const QString title = Text(*m_sites, u"SiteName"_s);
            data =
                SiteData{title.isEmpty() ? Text(*m_sites, u"SiteID"_s) : title, Text(*m_sites, u"HomePage"_s),
                         Text(*m_sites, u"LinkPage"_s), Text(*m_sites, u"ImageFile"_s), Text(*m_sites, u"IPAddress"_s)};
        }
        known = m_knownSites.insert(key, data);
    }
    return *known ? &**known : nullptr;
}

void clsHTTP::Session::LoadSite(const QString& siteID)
{
    const SiteData* known = KnownSite(siteID);
    m_site = known ? *known : SiteData{};
}

QString clsHTTP::Session::Where(const Direction& direction) const
{
    return m_showURL ? u" at "_s + m_fetcher->URL() : u" on "_s + direction.PageOwner;
}

clsHTTP::Session::Phase clsHTTP::Session::TestPage(const Direction& direction)
{
    const std::size_t slot = direction.Slot;
    if (!direction.Asks()) {
        m_found[slot] = m_found[slot + 1] = true;
        return Phase::Over;
    }
    m_fetcher->SetURL(PageAddress(direction.Page));
    if (Stopped())
        return Phase::Stop;
    // Both forms are taken before the line is logged, which shows the home page in the lower case they leave behind.
    const QString stripped = StripWww(*direction.HomePage);
    const QString ipForm = IpForm(*direction.HomePage, direction.IPAddress);
    Log(m_showURL ? u"Searching "_s + m_fetcher->URL() + u" for a reference to "_s + *direction.HomePage
                  : u"Searching "_s + direction.PageOwner + u" for a reference to "_s + direction.Sought,
        2, true);

    m_fetcher->ConnectToServer();
    // Before the error: what Stop leaves behind is no verdict on the page.
    if (Stopped())
        return Phase::Stop;
    if (const int error = m_fetcher->ErrNumber(); error != 0) {
        m_found[slot] = m_found[slot + 1] = false;
        m_code[slot] = error == AddressNotAvailable ? direction.Codes.BadAddress : direction.Codes.NoPage;
        Log(modSocketErrors::SocketErrorText(error), 2, true);
        m_fetcher->EndConnectToServer();
        return Phase::Over;
    }
    const auto settled = [this] { return m_fetcher->GetComplete() || Stopped(); };
    if (!settled()) {
        KeepVerdicts();
        static_cast<void>(Platform().EventLoop->Wait(settled, PageLimit()));
    }
    if (Stopped())
        return Phase::Stop;
    if (!m_fetcher->GetComplete()) {
        Log(m_showURL ? u"Could not download web page at "_s + m_fetcher->URL()
                      : u"Could not download web page from "_s + direction.PageOwner,
            4, false);
        return Phase::Verdict; // Found keeps what it holds, be it the last link's
    }

    SearchPage(direction, stripped, ipForm);
    if (!SearchImage(direction))
        return Phase::Stop;
    m_fetcher->EndConnectToServer();
    return Phase::Over;
}

void clsHTTP::Session::SearchPage(const Direction& direction, const QString& stripped, const QString& ipForm)
{
    const clsPageList& page = m_fetcher->Hyperlinks();
    const bool found =
        Lists(page, *direction.HomePage) || Lists(page, stripped) || (direction.IpFormCounts && Lists(page, ipForm));
    m_found[direction.Slot] = found;
    if (!found)
        m_code[direction.Slot] = direction.Codes.Link;
    const QString outcome = found ? u"Located "_s : u"Could not locate "_s;
    Log(outcome + (m_showURL ? u"link "_s + *direction.HomePage : u"a link to "_s + direction.Sought) +
            Where(direction),
        4, false);
}

/// @return false when the stop flag was set while the images were looked through.
bool clsHTTP::Session::SearchImage(const Direction& direction)
{
    const std::size_t slot = direction.Slot + 1;
    if (!direction.TestImage || direction.ImageFile.isEmpty()) {
        m_found[slot] = true;
        return true;
    }
    // The first image of a page is its masthead and never counts.
    const bool found = m_fetcher->Images().IndexOfFileName(direction.ImageFile, 1) >= 0;
    if (Stopped())
        return false;
    m_found[slot] = found;
    if (!found)
        m_code[slot] = direction.Codes.Image;
    Log((found ? u"Located"_s : u"Could not locate"_s) + u" reference to image file "_s + direction.ImageFile +
            Where(direction),
        4, false);
    return true;
}

bool clsHTTP::Session::WriteVerdict()
{
    m_fetcher->EndConnectToServer();
    // Somebody else may have deleted the link while its pages were fetched.
    bool there = false;
    const bool unlocked = Unlocked([&] {
        there = m_links->Refresh();
        if (!there || m_verdicts)
            return;
        m_verdicts.emplace(Database());
        m_verdictsSince = Platform().Clock->Monotonic();
    });
    if (!unlocked || !there)
        return unlocked;
    const bool passed = std::all_of(m_found.begin(), m_found.end(), [](bool found) { return found; });
    m_links->Edit();
    if (passed) {
        m_links->SetField(u"Status"_s, modDataModel::Active);
        m_links->SetField(u"Results"_s, modDataModel::ResultPassed);
        m_links->SetField(u"LastSuccessfulTest"_s, modCommonFunctions::StoredDateTime(Platform().Clock->Now()));
    } else {
        const int results = m_code[0] + m_code[1] + m_code[2] + m_code[3];
        m_links->SetField(u"Results"_s, results);
        if (results >= 4 && m_links->Field(u"Status"_s).toInt() == modDataModel::Active)
            m_links->SetField(u"Status"_s, modDataModel::Broken);
    }
    m_links->SetField(u"TestQueue"_s, false);
    m_links->Update();
    if (!passed)
        ++m_test.m_failed;
    if (Platform().Clock->Monotonic() - m_verdictsSince >= VerdictsKeptWithin)
        KeepVerdicts();
    return true;
}

void clsHTTP::Session::KeepVerdicts()
{
    if (!m_verdicts)
        return;
    // At Stop too: the log calls these links tested.
    UnlockedAtLast([this] { m_verdicts->Commit(); });
    m_verdicts.reset();
}

/// The address after the last one returned that the run will ask for; none at the queue's end, and at a site that is
/// not known, because the run ends there.
std::optional<QString> clsHTTP::Session::NextAddress()
{
    std::optional<QString> address;
    // Called out of the control's own work, where a failure has no trap to go to; the run meets the same failure when
    // it comes to the record, and reports it.
    const bool read = ignoringErrors([&] {
        while (!address) {
            if (m_comingOwnPage) {
                address.swap(m_comingOwnPage);
                break;
            }
            if (m_coming->AfterLast())
                break;
            const SiteData* known = KnownSite(Text(*m_coming, u"SiteName"_s));
            if (!known)
                break;
            SiteData site = *known;
            LinkData link = ReadLink(*m_coming);
            m_coming->MoveNext();
            if (const Direction partner = PartnerPage(site, link); partner.Asks())
                address = PageAddress(partner.Page);
            if (const Direction own = OwnPage(site, link); own.Asks())
                m_comingOwnPage = PageAddress(own.Page);
        }
    });
    // What was only locked will be asked for again.
    m_comingLocked = !read;
    return read ? address : std::nullopt;
}

void clsHTTP::CheckLinks()
{
    m_ending = Ending::Failed;
    m_failed = 0;
    Session session(*this);
    guarded("clsHTTP", "CheckLinks", [&] {
        session.Begin();
        session.Run();
    });
    // After a failure too: the log says where the session ended, and nothing is left under way.
    guarded("clsHTTP", "CheckLinks", [&] { session.Finish(); });
}
