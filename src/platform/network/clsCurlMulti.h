// SPDX-License-Identifier: GPL-3.0-or-later
// Many transfers of libcurl at once, driven by Qt's event loop: socket notifiers and one timer, no polling.
#pragma once

#include <QHash>
#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <curl/curl.h>
#include <memory>
#include <vector>

/// Whoever owns a handle hears that its transfer ended.
class clsCurlListener
{
public:
    virtual ~clsCurlListener() = default;
    /// Comes out of the event loop, never out of a call into libcurl: anything may be done in it.
    virtual void Ended(CURLcode result) = 0;
};

/// One multi handle with its connections and its memory of names.
class clsCurlMulti
{
public:
    clsCurlMulti();
    ~clsCurlMulti();
    clsCurlMulti(const clsCurlMulti&) = delete;
    clsCurlMulti& operator=(const clsCurlMulti&) = delete;

    /// A handle without options, to be given back.
    [[nodiscard]] CURL* Borrow();
    void GiveBack(CURL* easy);
    void Add(CURL* easy, clsCurlListener& listener);
    /// Ends a transfer that is under way; for one that has ended, lets go of it.
    void Remove(CURL* easy);
    /// Closes the connections that are kept for reuse. No transfer may be under way.
    void CloseIdle();

private:
    using Notifiers = std::array<std::unique_ptr<QSocketNotifier>, 2>;
    void Open();
    void Close();
    void Watch(curl_socket_t socket, int what);
    void Act(curl_socket_t socket, int events);
    static int OnSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* perSocket);
    static int OnTimer(CURLM* multi, long timeoutMs, void* self);

    CURLM* m_multi = nullptr;
    QTimer m_timer;
    /// Reading, writing. Kept for the number's next use and only switched: a notifier cannot be deleted while it calls.
    QHash<curl_socket_t, std::shared_ptr<Notifiers>> m_notifiers;
    std::vector<CURL*> m_spare;
};
