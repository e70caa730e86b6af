// SPDX-License-Identifier: GPL-3.0-or-later
// The internet component that downloads pages and lists what stands on them.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

/// What the control reports while it works. All calls come on the program's thread, out of its event loop.
class clsHTTPEvents
{
public:
    virtual ~clsHTTPEvents() = default;
    virtual void ServerActive(bool active) = 0;
    virtual void TransferComplete() = 0;
    virtual void ConnectionClosed() = 0;
    /// @param code  socket error number less 10000 (61 refused, 60 connect time-out, 54 reset, 49 bad address, 1001
    /// name not found, ...), 501 transfer longer than the limit, an HTTP status of 400 and above (501 as 500), or a
    /// number from 900 on for everything else (TLS, broken protocol).
    virtual void Error(int code) = 0;
};

/// One address found on a page.
struct clsPageAddress
{
    QString written;  ///< as it stands in the page: entities decoded, outer white space trimmed
    QString resolved; ///< absolute, by the page's address and its base; an address with a scheme of its own as written
};

/// The addresses of one kind on a page, in document order, duplicates kept. Index is 0-based.
class clsPageList
{
public:
    clsPageList() = default;
    explicit clsPageList(std::vector<clsPageAddress> items);
    [[nodiscard]] int Count() const { return static_cast<int>(m_items.size()); }
    [[nodiscard]] const clsPageAddress& Item(int index) const { return m_items.at(static_cast<std::size_t>(index)); }
    /// What a reader of the page sees of a link: on one line, at most clsPageList::TextSize letters. Empty for a link
    /// without any, and everywhere unless the request asked for texts.
    [[nodiscard]] QString Text(int index) const { return m_texts.value(index); }
    static constexpr int TextSize = 255;
    /// @param texts  one for each address.
    void SetTexts(QStringList texts) { m_texts = std::move(texts); }
    /// Index of the first entry from `from` on whose written address equals `text` without regard to case, -1 when
    /// there is none. After the first few times a look-up, not a walk.
    [[nodiscard]] int IndexOf(const QString& text, int from = 0) const;
    /// The same for the text after the last "/" of the written address (all of it when it holds none).
    [[nodiscard]] int IndexOfFileName(const QString& name, int from = 0) const;

private:
    static int First(const QHash<QString, std::vector<int>>& index, const QString& key, int from);
    std::vector<clsPageAddress> m_items;
    QStringList m_texts;
    mutable int m_lookUps = 0;                         ///< made without the index
    mutable QHash<QString, std::vector<int>> m_byText; ///< built when it is worth it
    mutable QHash<QString, std::vector<int>> m_byName; ///< built at the first look-up
};

/// A download to come: all that a request needs.
struct clsPageRequest
{
    QString url;        ///< as the record holds it; the request is percent-encoded, the fragment dropped
    int port = 80;      ///< server port of http addresses that name none; with a proxy, the proxy's port
    QString proxy;      ///< host or host:port; empty: direct, whatever the environment says
    QString headers;    ///< header lines, each ended by CR LF, "Host: " and the host last
    bool texts = false; ///< the texts of the hyperlinks are wanted too
    bool operator==(const clsPageRequest& other) const = default;
};

/// Downloads pages into a local file, http and https only, one after the other as far as its user sees; coming pages
/// may be fetched ahead. Its limits: `Limits`. Nothing here shows a message or waits.
class clsHTTPControl
{
public:
    struct Limits
    {
        int timeoutSeconds = 60;        ///< for connecting and for the transfer, each, summed over redirects; 1 to 3600
        int simultaneousDownloads = 32; ///< 1 to 64; 1: no reading ahead at all, each request a download of its own
        int perHostConnections = 4;     ///< 1 to 16
        QString caFile;                 ///< PEM file of further authorities; empty: the system's alone
    };

    virtual ~clsHTTPControl() = default;
    /// Who hears the events; null: nobody.
    virtual void SetEvents(clsHTTPEvents* events) = 0;
    virtual void SetLimits(const Limits& limits) = 0;

    /// The host, with ":port" unless it is the scheme's default, that a request for `url` names; empty for an address
    /// that cannot be requested.
    [[nodiscard]] virtual QString HostOf(const QString& url, int port, const QString& proxy) const = 0;
    /// Begins to fetch a page; the lists and the local file are those of this page once TransferComplete has come.
    /// A page that was read ahead may complete (or fail) before this returns.
    /// @param localFile  receives the decoded body, at most 4 MiB. @return whether the request was begun.
    virtual bool Connect(const clsPageRequest& request, const QString& localFile) = 0;
    /// Ends the transfer of the current page; its lists stay until the next Connect.
    virtual void FinishTransfer() = 0;
    /// Ends the current page's connection, complete or not; a transfer still under way for it is abandoned.
    virtual void Disconnect() = 0;

    /// Gives the control the pages that will be asked for next, in order: it calls `next` when it has room for another.
    /// An empty function ends reading ahead and drops what was fetched and not asked for.
    virtual void ReadAhead(std::function<std::optional<clsPageRequest>()> next) = 0;
    /// Abandons everything under way and closes kept-alive connections: the end of a run, or Stop.
    virtual void CloseAll() = 0;

    [[nodiscard]] virtual const clsPageList& Hyperlinks() const = 0; ///< href of a and area
    [[nodiscard]] virtual const clsPageList& Images() const = 0;     ///< src of img
};
