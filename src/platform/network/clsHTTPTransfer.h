// SPDX-License-Identifier: GPL-3.0-or-later
// One download, redirects included.
#pragma once

#include "platform/clsHTTPControl.h"
#include "platform/network/clsCurlMulti.h"
#include "platform/network/modHTTPAddress.h"

#include <QElapsedTimer>
#include <QTimer>
#include <functional>

/// Goes from hop to hop; each hop is begun by its owner, who decides when its host may have another connection.
/// HTTP/1.1, redirects to http and https only, at most `MostRedirects`; the body is decoded and cut at `MostBytes`.
class clsHTTPTransfer final : private clsCurlListener
{
public:
    static constexpr int MostRedirects = 10;
    static constexpr qsizetype MostBytes = qsizetype{4} * 1024 * 1024;  ///< of the decoded body; the rest is not read
    static constexpr qsizetype MostHeaderBytes = qsizetype{256} * 1024; ///< of one hop

    enum class Hop
    {
        Redirected, ///< another hop is to be begun
        Finished,   ///< Code, Body and the rest hold the outcome
    };

    /// @param timeLimit  for connecting and for the transfer, each, summed over all hops.
    /// @param caFile     PEM file that certificates are checked against; empty: the system's.
    /// @param hopEnded   called out of the event loop; may destroy the transfer.
    clsHTTPTransfer(clsCurlMulti& multi, const clsPageRequest& request, clsHTTPAddress address, clsHTTPProxy proxy,
                    std::chrono::milliseconds timeLimit, QByteArray caFile, std::function<void(Hop)> hopEnded);
    ~clsHTTPTransfer() override;
    clsHTTPTransfer(const clsHTTPTransfer&) = delete;
    clsHTTPTransfer& operator=(const clsHTTPTransfer&) = delete;

    /// Begins the next hop (or the one that was put off) over again.
    void Begin();
    /// Breaks the hop off without a word; Begin does it anew.
    void PutOff();
    [[nodiscard]] bool UnderWay() const { return m_easy != nullptr; }
    /// Host of the hop that is under way or to be begun.
    [[nodiscard]] const QByteArray& HostName() const { return m_address.name; }

    [[nodiscard]] int Code() const { return m_code; } ///< see modHTTPErrors
    [[nodiscard]] QByteArray TakeBody() { return std::move(m_body); }
    [[nodiscard]] const QByteArray& Charset() const { return m_charset; } ///< of the Content-Type, may be empty
    [[nodiscard]] QString Url() const { return QString::fromLatin1(m_address.url); } ///< after the redirects

private:
    void Ended(CURLcode result) override;
    void Release();
    void SetOptions();
    [[nodiscard]] curl_slist* HeaderList() const;
    void Finish(int code);
    [[nodiscard]] bool FollowRedirect();
    [[nodiscard]] bool Keep(const char* bytes, qsizetype count);
    static std::size_t OnBody(char* bytes, std::size_t one, std::size_t count, void* self);
    static std::size_t OnHeader(char* bytes, std::size_t one, std::size_t count, void* self);
    static int OnConnected(void* self, char* ip, char* localIp, int port, int localPort);

    clsCurlMulti& m_multi;
    const QByteArray m_headers;
    clsHTTPAddress m_address;
    const clsHTTPProxy m_proxy;
    const QByteArray m_caFile;
    std::function<void(Hop)> m_hopEnded;
    CURL* m_easy = nullptr;
    curl_slist* m_headerList = nullptr;
    curl_slist* m_proxyHeaderList = nullptr;
    std::chrono::milliseconds m_connectLeft;
    std::chrono::milliseconds m_transferLeft;
    QElapsedTimer m_sinceStep; ///< since the hop was begun, then since it was connected
    QTimer m_deadline;         ///< of the transfer; libcurl keeps that of connecting
    int m_redirects = 0;
    bool m_connected = false;
    bool m_cut = false; ///< the rest of the answer is of no use and was not read
    qsizetype m_headerBytes = 0;
    qsizetype m_unused = 0; ///< bytes of a body that nobody wants
    QByteArray m_body;
    QByteArray m_charset;
    int m_code = 0;
};
