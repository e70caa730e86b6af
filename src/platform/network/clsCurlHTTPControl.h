// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that downloads pages, on libcurl: which page is fetched when, and who gets it.
#pragma once

#include "platform/clsHTTPControl.h"
#include "platform/network/clsAuthorities.h"
#include "platform/network/clsCurlMulti.h"
#include "platform/network/clsHTTPTransfer.h"
#include "platform/pages/clsPageParser.h"
#include "platform/system/clsWorker.h"

#include <deque>
#include <list>
#include <memory>

class clsDisk;

/// Events of a page, in order: ServerActive(true), then either TransferComplete and, with FinishTransfer or
/// Disconnect, ServerActive(false), or ServerActive(false) and Error; at last, with Disconnect, ConnectionClosed. A
/// page that is already there (read ahead, or shared) completes or fails inside Connect, others later out of the event
/// loop. Nothing is reported for a page before it is asked for.
///
/// An address that is on its way already, or has arrived a moment ago, is not fetched again. Pages that were read
/// ahead are parsed on the worker thread as they arrive, so that asking for one costs nothing but its file.
class clsCurlHTTPControl final : public clsHTTPControl
{
public:
    /// @param disk      writes the local files.
    /// @param shareFor  how long a page serves further requests after it has arrived.
    explicit clsCurlHTTPControl(clsDisk& disk, std::chrono::milliseconds shareFor = std::chrono::seconds(10));
    ~clsCurlHTTPControl() override;

    void SetEvents(clsHTTPEvents* events) override { m_events = events; }
    void SetLimits(const Limits& limits) override;
    [[nodiscard]] QString HostOf(const QString& url, int port, const QString& proxy) const override;
    bool Connect(const clsPageRequest& request, const QString& localFile) override;
    void FinishTransfer() override;
    void Disconnect() override;
    void ReadAhead(std::function<std::optional<clsPageRequest>()> next) override;
    void CloseAll() override;
    [[nodiscard]] const clsPageList& Hyperlinks() const override { return m_lists->hyperlinks; }
    [[nodiscard]] const clsPageList& Images() const override { return m_lists->images; }

private:
    /// What a download brought. Equal bytes from the same address are not parsed a second time.
    struct Content
    {
        QByteArray body;
        QByteArray charset;
        QString url;
        std::shared_ptr<const clsPageLists> lists;
        [[nodiscard]] qsizetype Bytes() const;
    };
    struct Page;
    using PagePtr = std::shared_ptr<Page>;
    struct Prediction
    {
        clsPageRequest request;
        PagePtr page;
    };

    PagePtr PageFor(const clsPageRequest& request);
    PagePtr TakePredicted(const clsPageRequest& request);
    void LetGo(const PagePtr& page);
    void Abandon(const PagePtr& page);
    void Forget(const PagePtr& page);
    void Keep(const PagePtr& page);
    void TakeFromKept(const PagePtr& page);
    void Start(const PagePtr& page);
    void StartNow(const PagePtr& page);
    void PutOff(const PagePtr& page);
    void HopEnded(const PagePtr& page, clsHTTPTransfer::Hop hop);
    void Parse(const PagePtr& page);
    void ParseAhead();
    void GiveToParser(const PagePtr& page);
    void Arrived(const PagePtr& page, int code);
    void Deliver();
    [[nodiscard]] int WriteLocalFile(const QByteArray& body);
    void DropPredictions();
    void Schedule();
    [[nodiscard]] bool HostHasRoom(const QByteArray& host) const;
    [[nodiscard]] bool ReadsAhead() const { return m_limits.simultaneousDownloads > 1; }
    [[nodiscard]] bool AllUnderWay() const;
    void SetBytes(Page& page, qsizetype bytes);
    void SetServerActive(bool active);

    clsDisk& m_disk;
    const std::chrono::milliseconds m_shareFor;
    clsHTTPEvents* m_events = nullptr;
    Limits m_limits;
    clsAuthorities m_authorities;
    clsCurlMulti m_multi;

    std::shared_ptr<std::function<std::optional<clsPageRequest>()>> m_next; ///< empty: no reading ahead
    std::deque<Prediction> m_predicted;     ///< in the order in which they will be asked for
    QHash<QByteArray, PagePtr> m_byAddress; ///< the newest page of each address
    std::list<PagePtr> m_kept;              ///< asked for and of no use now, longest unused first
    std::deque<PagePtr> m_waiting;          ///< for a connection, first come first
    std::vector<PagePtr> m_underWay;        ///< in the order in which they were begun
    qsizetype m_keptBytes = 0;
    qsizetype m_unreadBytes = 0; ///< downloaded, never asked for
    QTimer m_scheduleSoon;

    PagePtr m_current;
    QString m_localFile;
    std::shared_ptr<const clsPageLists> m_lists; ///< of the page that completed last, never null
    bool m_connected = false;
    bool m_serverActive = false;
    clsWorker m_worker; ///< last: it ends first
};
