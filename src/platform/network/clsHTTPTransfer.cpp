// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsHTTPTransfer.h"

#include "platform/network/modHTTPErrors.h"
#include "platform/pages/modPageEncoding.h"

#include <algorithm>

using std::chrono::milliseconds;

namespace
{
/// A redirect's own short text is read, so that its connection can be used again; a long one is not worth it.
constexpr qsizetype MostUnusedBytes = qsizetype{16} * 1024;

bool IsRedirect(long status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool HasForeignScheme(const QByteArray& location)
{
    const auto colon = std::find_if_not(location.cbegin(), location.cend(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
               c == '.';
    });
    if (colon == location.cbegin() || colon == location.cend() || *colon != ':')
        return false;
    const QByteArray scheme = location.first(colon - location.cbegin()).toLower();
    return scheme != "http" && scheme != "https";
}

/// Where the answer sends its reader; empty when it is no redirect.
QByteArray RedirectOf(CURL* easy)
{
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_header* location = nullptr;
    if (!IsRedirect(status) || curl_easy_header(easy, "Location", 0, CURLH_HEADER, -1, &location) != CURLHE_OK)
        return {};
    return QByteArray(location->value).trimmed();
}

/// Absolute form of a Location; empty when it cannot be read.
QByteArray ResolvedLocation(const QByteArray& base, const QByteArray& location)
{
    CURLU* url = curl_url();
    char* whole = nullptr;
    if (curl_url_set(url, CURLUPART_URL, base.constData(), 0) == CURLUE_OK &&
        curl_url_set(url, CURLUPART_URL, location.constData(), CURLU_URLENCODE | CURLU_PATH_AS_IS) == CURLUE_OK)
        curl_url_get(url, CURLUPART_URL, &whole, 0);
    QByteArray result(whole);
    curl_free(whole);
    curl_url_cleanup(url);
    return result;
}
} // namespace

clsHTTPTransfer::clsHTTPTransfer(clsCurlMulti& multi, const clsPageRequest& request, clsHTTPAddress address,
                                 clsHTTPProxy proxy, milliseconds timeLimit, QByteArray caFile,
                                 std::function<void(Hop)> hopEnded)
    : m_multi(multi), m_headers(request.headers.toLatin1()), m_address(std::move(address)), m_proxy(std::move(proxy)),
      m_caFile(std::move(caFile)), m_hopEnded(std::move(hopEnded)), m_connectLeft(timeLimit), m_transferLeft(timeLimit)
{
    m_deadline.setSingleShot(true);
    m_deadline.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_deadline, &QTimer::timeout, &m_deadline, [this] { Ended(CURLE_OPERATION_TIMEDOUT); });
}

clsHTTPTransfer::~clsHTTPTransfer()
{
    Release();
}

void clsHTTPTransfer::Release()
{
    m_deadline.stop();
    if (m_easy) {
        m_multi.Remove(m_easy);
        m_multi.GiveBack(m_easy);
        m_easy = nullptr;
    }
    curl_slist_free_all(m_headerList);
    curl_slist_free_all(m_proxyHeaderList);
    m_headerList = m_proxyHeaderList = nullptr;
}

void clsHTTPTransfer::PutOff()
{
    Release();
    m_body.clear();
}

/// libcurl would put a Host line of its own first; "Host:" without a value, followed later by the real one, leaves the
/// order as it was given.
curl_slist* clsHTTPTransfer::HeaderList() const
{
    curl_slist* list = curl_slist_append(nullptr, "Host:");
    bool host = false;
    for (const QByteArray& part : m_headers.split('\n')) {
        QByteArray line = part.trimmed();
        if (line.isEmpty())
            continue;
        if (qstrnicmp(line.constData(), "host:", 5) == 0) {
            host = true;
            if (m_redirects > 0)
                line = "Host: " + m_address.host;
        }
        list = curl_slist_append(list, line.constData());
    }
    if (!host)
        list = curl_slist_append(list, QByteArray("Host: " + m_address.host).constData());
    if (!m_proxy.url.isEmpty())
        list = curl_slist_append(list, "Proxy-Connection:");
    return list;
}

void clsHTTPTransfer::SetOptions()
{
    curl_easy_setopt(m_easy, CURLOPT_URL, m_address.url.constData());
    curl_easy_setopt(m_easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_easy, CURLOPT_FOLLOWLOCATION, 0L); // its own redirects reorder the lines or repeat the old Host
    curl_easy_setopt(m_easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    m_headerList = HeaderList();
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headerList);
    curl_easy_setopt(m_easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate"); // decodes; the line itself is in the list
    // Both are set even when empty: the environment's proxies are not for this program.
    curl_easy_setopt(m_easy, CURLOPT_PROXY, m_proxy.url.constData());
    curl_easy_setopt(m_easy, CURLOPT_NOPROXY, "");
    if (!m_proxy.url.isEmpty()) {
        m_proxyHeaderList = curl_slist_append(nullptr, "Proxy-Connection:");
        curl_easy_setopt(m_easy, CURLOPT_PROXYHEADER, m_proxyHeaderList);
        curl_easy_setopt(m_easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    }
    if (!m_caFile.isEmpty()) {
        curl_easy_setopt(m_easy, CURLOPT_CAINFO, m_caFile.constData());
        // Authorities read from one file are kept between connections; with a folder beside it they are not.
        curl_easy_setopt(m_easy, CURLOPT_CAPATH, nullptr);
    }
    curl_easy_setopt(m_easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_easy, CURLOPT_QUICK_EXIT, 1L); // never wait for a name server that does not answer
    // Partners are many and asked once; the library walks its whole cache of names for each of them.
    curl_easy_setopt(m_easy, CURLOPT_DNS_CACHE_TIMEOUT, 0L);
    curl_easy_setopt(m_easy, CURLOPT_CONNECTTIMEOUT_MS, std::max<long>(1, static_cast<long>(m_connectLeft.count())));
    curl_easy_setopt(m_easy, CURLOPT_PREREQFUNCTION, &clsHTTPTransfer::OnConnected);
    curl_easy_setopt(m_easy, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &clsHTTPTransfer::OnHeader);
    curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &clsHTTPTransfer::OnBody);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);
}

void clsHTTPTransfer::Begin()
{
    m_easy = m_multi.Borrow();
    m_connected = m_cut = false;
    m_headerBytes = m_unused = 0;
    m_body.clear();
    SetOptions();
    m_sinceStep.start();
    m_multi.Add(m_easy, *this);
}

int clsHTTPTransfer::OnConnected(void* self, char*, char*, int, int)
{
    auto& transfer = *static_cast<clsHTTPTransfer*>(self);
    transfer.m_connected = true;
    transfer.m_connectLeft -= milliseconds(transfer.m_sinceStep.restart());
    transfer.m_deadline.start(std::max(transfer.m_transferLeft, milliseconds(1)));
    return CURL_PREREQFUNC_OK;
}

std::size_t clsHTTPTransfer::OnHeader(char*, std::size_t, std::size_t count, void* self)
{
    auto& transfer = *static_cast<clsHTTPTransfer*>(self);
    transfer.m_headerBytes += static_cast<qsizetype>(count);
    return transfer.m_headerBytes > MostHeaderBytes ? 0 : count;
}

std::size_t clsHTTPTransfer::OnBody(char* bytes, std::size_t, std::size_t count, void* self)
{
    auto& transfer = *static_cast<clsHTTPTransfer*>(self);
    if (transfer.Keep(bytes, static_cast<qsizetype>(count)))
        return count;
    transfer.m_cut = true;
    return 0;
}

/// @return false: no more is wanted.
bool clsHTTPTransfer::Keep(const char* bytes, qsizetype count)
{
    long status = 0;
    curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status);
    if (status >= 400)
        return false; // the status is the outcome
    if (!RedirectOf(m_easy).isEmpty())
        return (m_unused += count) <= MostUnusedBytes;
    if (m_body.isEmpty()) {
        curl_off_t length = 0;
        curl_easy_getinfo(m_easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        m_body.reserve(std::clamp<qsizetype>(length, count, MostBytes));
    }
    m_body.append(bytes, std::min(count, MostBytes - m_body.size()));
    return m_body.size() < MostBytes;
}

void clsHTTPTransfer::Finish(int code)
{
    Release();
    m_code = code;
    if (code != 0)
        m_body.clear();
    else if (m_body.capacity() > m_body.size() + m_body.size() / 4)
        m_body.squeeze();
    const auto hopEnded = std::move(m_hopEnded); // which may destroy this
    hopEnded(Hop::Finished);
}

/// @return whether the answer is a redirect; then what comes of it has been reported.
bool clsHTTPTransfer::FollowRedirect()
{
    const QByteArray location = RedirectOf(m_easy);
    if (location.isEmpty())
        return false;
    clsHTTPAddress next;
    if (!HasForeignScheme(location))
        next = modHTTPAddress::Prepare(QString::fromUtf8(ResolvedLocation(m_address.url, location)), 80);
    if (next.url.isEmpty()) {
        Finish(modHTTPErrors::AddressNotAvailable);
    } else if (++m_redirects > MostRedirects) {
        Finish(modHTTPErrors::OtherBase + CURLE_TOO_MANY_REDIRECTS);
    } else {
        Release();
        m_body.clear();
        m_address = std::move(next);
        const auto hopEnded = m_hopEnded; // which may destroy this
        hopEnded(Hop::Redirected);
    }
    return true;
}

void clsHTTPTransfer::Ended(CURLcode result)
{
    auto& left = m_connected ? m_transferLeft : m_connectLeft;
    left -= milliseconds(m_sinceStep.elapsed());
    modHTTPErrors::Ending ending;
    ending.result = m_cut ? CURLE_OK : result;
    ending.connected = m_connected;
    curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &ending.status);
    curl_easy_getinfo(m_easy, CURLINFO_HTTP_CONNECTCODE, &ending.proxyStatus);
    curl_easy_getinfo(m_easy, CURLINFO_OS_ERRNO, &ending.systemError);
    if (m_headerBytes > MostHeaderBytes)
        ending = {CURLE_WEIRD_SERVER_REPLY};
    else if (ending.result != CURLE_OPERATION_TIMEDOUT && FollowRedirect())
        return;
    const char* contentType = nullptr;
    curl_easy_getinfo(m_easy, CURLINFO_CONTENT_TYPE, &contentType);
    m_charset = modPageEncoding::CharsetOf(contentType);
    Finish(modHTTPErrors::Code(ending));
}
