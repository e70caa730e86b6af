// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsCurlHTTPControl.h"

#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/modPlatformImpl.h"
#include "platform/network/modHTTPErrors.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype MostUnreadBytes = qsizetype{64} * 1024 * 1024;
/// How many of the coming pages are parsed before their turn.
constexpr std::ptrdiff_t MostParsedAhead = 32;
constexpr qsizetype MostKeptBytes = qsizetype{4} * 1024 * 1024;
constexpr int PredictionsAtOnce = 64; ///< asking for predictions costs its giver time, which the window needs too
} // namespace

struct clsCurlHTTPControl::Page : std::enable_shared_from_this<Page>
{
    enum class State
    {
        Waiting,
        UnderWay,
        Parsing,
        Arrived
    };

    QByteArray key;     ///< all that the answer may depend on; empty for an address that cannot be requested
    bool texts = false; ///< of hyperlinks are wanted
    State state = State::Waiting;
    std::unique_ptr<clsHTTPTransfer> transfer;
    std::shared_ptr<Content> unparsed; ///< downloaded, not given to the parser yet
    clsWorker::Ticket parsing;
    std::shared_ptr<const Content> content; ///< until it has arrived: what the address held before
    int code = 0;
    QElapsedTimer sinceArrival; ///< since its download ended
    qsizetype bytes = 0;
    int users = 0;      ///< predictions, and being the current page
    bool asked = false; ///< it was the current page when it was there: its file is written
    bool kept = false;
    std::list<PagePtr>::iterator keptAt;
};

qsizetype clsCurlHTTPControl::Content::Bytes() const
{
    return body.size() + (lists ? lists->bytes : 0) + 1024;
}

clsCurlHTTPControl::clsCurlHTTPControl(clsDisk& disk, std::chrono::milliseconds shareFor)
    : m_disk(disk), m_shareFor(shareFor), m_lists(std::make_shared<clsPageLists>())
{
    m_scheduleSoon.setSingleShot(true);
    m_scheduleSoon.setInterval(0);
    QObject::connect(&m_scheduleSoon, &QTimer::timeout, &m_scheduleSoon, [this] { Schedule(); });
    SetLimits({});
}

clsCurlHTTPControl::~clsCurlHTTPControl()
{
    m_events = nullptr;
    CloseAll();
}

void clsCurlHTTPControl::SetLimits(const Limits& limits)
{
    m_limits = limits;
    m_limits.timeoutSeconds = std::clamp(limits.timeoutSeconds, 1, 3600);
    m_limits.simultaneousDownloads = std::clamp(limits.simultaneousDownloads, 1, 64);
    m_limits.perHostConnections = std::clamp(limits.perHostConnections, 1, 16);
    m_authorities.Set(limits.caFile);
}

QString clsCurlHTTPControl::HostOf(const QString& url, int port, const QString& proxy) const
{
    return QString::fromLatin1(modHTTPAddress::Prepare(url, proxy.trimmed().isEmpty() ? port : 80).host);
}

/// The page that serves a request which is made now: one that is on its way or fresh, else a new one. It has one user
/// more.
clsCurlHTTPControl::PagePtr clsCurlHTTPControl::PageFor(const clsPageRequest& request)
{
    const bool direct = request.proxy.trimmed().isEmpty();
    const clsHTTPAddress address = modHTTPAddress::Prepare(request.url, direct ? request.port : 80);
    const clsHTTPProxy proxy = modHTTPAddress::PrepareProxy(request.proxy, request.port);
    auto page = std::make_shared<Page>();
    page->users = 1;
    if (address.url.isEmpty() || !proxy.valid) {
        page->state = Page::State::Arrived;
        page->code = modHTTPErrors::AddressNotAvailable;
        return page;
    }
    page->key = address.url + '\n' + proxy.url + '\n' + request.headers.toUtf8();
    page->texts = request.texts;
    if (page->texts)
        page->key += '\n'; // lists without texts are of no use here
    if (const PagePtr known = m_byAddress.value(page->key)) {
        TakeFromKept(known);
        const bool fresh = !known->sinceArrival.isValid() || !known->sinceArrival.hasExpired(m_shareFor.count());
        if (fresh && ReadsAhead()) {
            ++known->users;
            return known;
        }
        page->content = known->content;
    }
    m_byAddress.insert(page->key, page);
    page->transfer = std::make_unique<clsHTTPTransfer>(
        m_multi, request, address, proxy, std::chrono::seconds(m_limits.timeoutSeconds), m_authorities.File(),
        [this, page = page.get()](clsHTTPTransfer::Hop hop) { HopEnded(page->shared_from_this(), hop); });
    return page;
}

/// The page that was predicted for a request; what was predicted before it will not be asked for. Empty: none was.
clsCurlHTTPControl::PagePtr clsCurlHTTPControl::TakePredicted(const clsPageRequest& request)
{
    const auto found = std::find_if(m_predicted.cbegin(), m_predicted.cend(),
                                    [&](const Prediction& one) { return one.request == request; });
    if (found == m_predicted.cend())
        return {};
    for (auto skipped = found - m_predicted.cbegin(); skipped > 0; --skipped) {
        const PagePtr page = m_predicted.front().page;
        m_predicted.pop_front();
        LetGo(page);
    }
    PagePtr page = m_predicted.front().page;
    m_predicted.pop_front();
    return page;
}

void clsCurlHTTPControl::LetGo(const PagePtr& page)
{
    if (--page->users > 0)
        return;
    if (page->state != Page::State::Arrived)
        Abandon(page);
    else if (page->asked)
        Keep(page);
    else
        Forget(page);
}

void clsCurlHTTPControl::Abandon(const PagePtr& page)
{
    page->transfer.reset();
    page->parsing.Abandon();
    page->unparsed.reset();
    std::erase(m_waiting, page);
    std::erase(m_underWay, page);
    Forget(page);
}

void clsCurlHTTPControl::Forget(const PagePtr& page)
{
    SetBytes(*page, 0);
    if (m_byAddress.value(page->key) == page)
        m_byAddress.remove(page->key);
}

/// Keeps a page that nobody needs now, for the next request of its address: as long as it is fresh it serves that, and
/// later it spares the parser a page that has not changed.
void clsCurlHTTPControl::Keep(const PagePtr& page)
{
    if (m_byAddress.value(page->key) != page)
        return;
    page->keptAt = m_kept.insert(m_kept.end(), page);
    page->kept = true;
    m_keptBytes += page->bytes;
    while (m_keptBytes > MostKeptBytes && m_kept.size() > 1) {
        const PagePtr oldest = m_kept.front();
        TakeFromKept(oldest);
        Forget(oldest);
    }
}

void clsCurlHTTPControl::TakeFromKept(const PagePtr& page)
{
    if (!page->kept)
        return;
    page->kept = false;
    m_kept.erase(page->keptAt);
    m_keptBytes -= page->bytes;
}

void clsCurlHTTPControl::SetBytes(Page& page, qsizetype bytes)
{
    if (!page.asked)
        m_unreadBytes += bytes - page.bytes;
    page.bytes = bytes;
}

bool clsCurlHTTPControl::AllUnderWay() const
{
    return static_cast<int>(m_underWay.size()) >= m_limits.simultaneousDownloads;
}

bool clsCurlHTTPControl::HostHasRoom(const QByteArray& host) const
{
    return std::count_if(m_underWay.cbegin(), m_underWay.cend(), [&](const PagePtr& page) {
               return page->transfer->HostName() == host;
           }) < m_limits.perHostConnections;
}

void clsCurlHTTPControl::Start(const PagePtr& page)
{
    page->state = Page::State::UnderWay;
    m_underWay.push_back(page);
    page->transfer->Begin();
}

void clsCurlHTTPControl::PutOff(const PagePtr& page)
{
    page->transfer->PutOff();
    page->state = Page::State::Waiting;
    std::erase(m_underWay, page);
    m_waiting.push_front(page);
}

/// The page in turn never waits: the one that was begun last makes room for it.
void clsCurlHTTPControl::StartNow(const PagePtr& page)
{
    std::erase(m_waiting, page);
    const QByteArray host = page->transfer->HostName();
    if (!HostHasRoom(host)) {
        const auto last = std::find_if(m_underWay.crbegin(), m_underWay.crend(),
                                       [&](const PagePtr& other) { return other->transfer->HostName() == host; });
        PutOff(PagePtr(*last));
    }
    if (AllUnderWay())
        PutOff(PagePtr(m_underWay.back()));
    Start(page);
}

void clsCurlHTTPControl::HopEnded(const PagePtr& page, clsHTTPTransfer::Hop hop)
{
    std::erase(m_underWay, page);
    if (hop == clsHTTPTransfer::Hop::Redirected) {
        page->state = Page::State::Waiting;
        if (page == m_current)
            StartNow(page);
        else
            m_waiting.push_front(page);
    } else if (const int code = page->transfer->Code(); code != 0) {
        page->transfer.reset();
        page->content.reset();
        Arrived(page, code);
    } else {
        Parse(page);
    }
    Schedule();
}

void clsCurlHTTPControl::Parse(const PagePtr& page)
{
    auto content = std::make_shared<Content>();
    content->body = page->transfer->TakeBody();
    content->body.squeeze();
    content->charset = page->transfer->Charset();
    content->url = page->transfer->Url();
    page->transfer.reset();
    const std::shared_ptr<const Content> before = std::exchange(page->content, nullptr);
    if (before && before->body == content->body && before->charset == content->charset && before->url == content->url) {
        page->content = before;
        Arrived(page, 0);
        return;
    }
    page->state = Page::State::Parsing;
    page->sinceArrival.start();
    SetBytes(*page, content->Bytes());
    page->unparsed = std::move(content);
    ParseAhead();
}

/// Parses the pages whose turn comes soon. The lists of a page take more room than the page, so those that wait far
/// behind a partner who does not answer wait unparsed.
void clsCurlHTTPControl::ParseAhead()
{
    if (m_current && m_current->unparsed)
        GiveToParser(m_current);
    const auto end = m_predicted.cbegin() + std::min(MostParsedAhead, std::ssize(m_predicted));
    for (auto next = m_predicted.cbegin(); next != end; ++next) {
        if (next->page->unparsed)
            GiveToParser(next->page);
    }
}

void clsCurlHTTPControl::GiveToParser(const PagePtr& page)
{
    page->parsing = m_worker.Give(
        [content = std::exchange(page->unparsed, nullptr), texts = page->texts] {
            content->lists = std::make_shared<const clsPageLists>(
                clsPageParser::Parse(content->body, content->charset, content->url, texts));
            return content;
        },
        // Not called once the page has let go of its ticket.
        [this, page = page.get()](std::shared_ptr<const Content> parsed) {
            page->content = std::move(parsed);
            Arrived(page->shared_from_this(), 0);
            Schedule();
        });
}

void clsCurlHTTPControl::Arrived(const PagePtr& page, int code)
{
    page->state = Page::State::Arrived;
    page->code = code;
    if (!page->sinceArrival.isValid())
        page->sinceArrival.start();
    SetBytes(*page, page->content ? page->content->Bytes() : Content().Bytes());
    if (page == m_current)
        Deliver();
}

/// @return 0, or the number that says that the file could not be written.
int clsCurlHTTPControl::WriteLocalFile(const QByteArray& body)
{
    try {
        m_disk.WriteFile(m_localFile, body);
        return 0;
    } catch (const clsError&) {
        // The numbers of files and of sockets overlap, so a full disk must not be told by its own.
        return modHTTPErrors::OtherBase + CURLE_WRITE_ERROR;
    }
}

/// Hands the current page, which has arrived, to its user.
void clsCurlHTTPControl::Deliver()
{
    Page& page = *m_current;
    int code = page.code;
    if (!page.asked) {
        m_unreadBytes -= page.bytes;
        page.asked = true;
        if (code == 0)
            code = WriteLocalFile(page.content->body);
    }
    if (code == 0) {
        m_lists = page.content->lists;
        if (m_events)
            m_events->TransferComplete();
        return;
    }
    SetServerActive(false);
    if (m_events)
        m_events->Error(code);
}

void clsCurlHTTPControl::SetServerActive(bool active)
{
    if (std::exchange(m_serverActive, active) != active && m_events)
        m_events->ServerActive(active);
}

bool clsCurlHTTPControl::Connect(const clsPageRequest& request, const QString& localFile)
{
    Disconnect();
    m_lists = std::make_shared<clsPageLists>();
    m_localFile = localFile;
    PagePtr page = TakePredicted(request);
    if (!page)
        page = PageFor(request);
    if (page->key.isEmpty()) {
        if (m_events)
            m_events->Error(page->code);
        Schedule();
        return false;
    }
    m_current = page;
    m_connected = true;
    ParseAhead();
    if (page->state == Page::State::Waiting)
        StartNow(page);
    SetServerActive(true);
    if (page == m_current && page->state == Page::State::Arrived)
        Deliver();
    Schedule();
    return true;
}

void clsCurlHTTPControl::FinishTransfer()
{
    SetServerActive(false);
}

void clsCurlHTTPControl::Disconnect()
{
    if (const PagePtr page = std::exchange(m_current, nullptr))
        LetGo(page);
    SetServerActive(false);
    if (std::exchange(m_connected, false) && m_events)
        m_events->ConnectionClosed();
}

void clsCurlHTTPControl::ReadAhead(std::function<std::optional<clsPageRequest>()> next)
{
    DropPredictions();
    if (next)
        m_next = std::make_shared<std::function<std::optional<clsPageRequest>()>>(std::move(next));
    Schedule();
}

void clsCurlHTTPControl::DropPredictions()
{
    m_next = nullptr;
    while (!m_predicted.empty()) {
        const PagePtr page = m_predicted.front().page;
        m_predicted.pop_front();
        LetGo(page);
    }
}

void clsCurlHTTPControl::CloseAll()
{
    m_scheduleSoon.stop();
    DropPredictions();
    if (const PagePtr page = std::exchange(m_current, nullptr))
        LetGo(page);
    m_kept.clear();
    m_keptBytes = 0;
    m_byAddress.clear();
    m_multi.CloseIdle();
}

/// Uses what room there is: first for those that wait, then for new predictions. The page in turn needs none.
void clsCurlHTTPControl::Schedule()
{
    if (m_unreadBytes > MostUnreadBytes)
        return;
    for (std::size_t i = 0; i < m_waiting.size() && !AllUnderWay();) {
        const PagePtr page = m_waiting[i];
        if (!HostHasRoom(page->transfer->HostName())) {
            ++i;
            continue;
        }
        m_waiting.erase(m_waiting.begin() + static_cast<std::ptrdiff_t>(i));
        Start(page);
    }
    int asked = 0;
    while (m_next && ReadsAhead() && !AllUnderWay() &&
           static_cast<int>(m_waiting.size()) < m_limits.simultaneousDownloads) {
        if (++asked > PredictionsAtOnce) {
            m_scheduleSoon.start();
            return;
        }
        const auto next = m_next; // it may end the reading ahead while it is asked
        std::optional<clsPageRequest> request = (*next)();
        if (!request) {
            m_next = nullptr;
            return;
        }
        const PagePtr page = PageFor(*request);
        m_predicted.push_back({std::move(*request), page});
        if (page->users > 1 || page->state != Page::State::Waiting)
            continue; // served by a download that was begun before
        if (HostHasRoom(page->transfer->HostName()))
            Start(page);
        else
            m_waiting.push_back(page);
    }
}

std::unique_ptr<clsHTTPControl> modPlatformImpl::MakeHTTPControl(clsDisk& disk)
{
    return std::make_unique<clsCurlHTTPControl>(disk);
}
