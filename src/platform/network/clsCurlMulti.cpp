// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsCurlMulti.h"

#include "platform/clsError.h"

#include <algorithm>
#include <limits>
#include <mutex>

using namespace Qt::Literals::StringLiterals;

clsCurlMulti::clsCurlMulti()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Act(CURL_SOCKET_TIMEOUT, 0); });
    Open();
}

clsCurlMulti::~clsCurlMulti()
{
    Close();
    for (CURL* easy : m_spare)
        curl_easy_cleanup(easy);
}

void clsCurlMulti::Open()
{
    m_multi = curl_multi_init();
    if (!m_multi)
        throw clsError(clsError::DeviceUnavailable, u"The network library could not be started"_s, u"Network"_s);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &clsCurlMulti::OnSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &clsCurlMulti::OnTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_PIPELINING, CURLPIPE_NOTHING);
    curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, 64L);
}

void clsCurlMulti::Close()
{
    curl_multi_cleanup(m_multi);
    m_timer.stop();
    for (const auto& notifiers : std::as_const(m_notifiers)) {
        for (const auto& notifier : *notifiers) {
            if (notifier)
                notifier->setEnabled(false);
        }
    }
}

void clsCurlMulti::CloseIdle()
{
    Close();
    Open();
}

CURL* clsCurlMulti::Borrow()
{
    if (!m_spare.empty()) {
        CURL* easy = m_spare.back();
        m_spare.pop_back();
        return easy;
    }
    CURL* easy = curl_easy_init();
    if (!easy)
        throw clsError(clsError::DeviceUnavailable, u"The network library could not be started"_s, u"Network"_s);
    return easy;
}

void clsCurlMulti::GiveBack(CURL* easy)
{
    curl_easy_reset(easy);
    m_spare.push_back(easy);
}

void clsCurlMulti::Add(CURL* easy, clsCurlListener& listener)
{
    curl_easy_setopt(easy, CURLOPT_PRIVATE, &listener);
    curl_multi_add_handle(m_multi, easy);
}

void clsCurlMulti::Remove(CURL* easy)
{
    curl_multi_remove_handle(m_multi, easy);
}

int clsCurlMulti::OnSocket(CURL*, curl_socket_t socket, int what, void* self, void*)
{
    static_cast<clsCurlMulti*>(self)->Watch(socket, what);
    return 0;
}

int clsCurlMulti::OnTimer(CURLM*, long timeoutMs, void* self)
{
    QTimer& timer = static_cast<clsCurlMulti*>(self)->m_timer;
    if (timeoutMs < 0)
        timer.stop();
    else
        timer.start(static_cast<int>(std::min<long>(timeoutMs, std::numeric_limits<int>::max())));
    return 0;
}

void clsCurlMulti::Watch(curl_socket_t socket, int what)
{
    std::shared_ptr<Notifiers>& notifiers = m_notifiers[socket];
    if (!notifiers)
        notifiers = std::make_shared<Notifiers>();
    const bool wanted[] = {what == CURL_POLL_IN || what == CURL_POLL_INOUT,
                           what == CURL_POLL_OUT || what == CURL_POLL_INOUT};
    for (std::size_t i = 0; i < 2; ++i) {
        auto& notifier = (*notifiers)[i];
        if (notifier) {
            notifier->setEnabled(wanted[i]);
        } else if (wanted[i]) {
            notifier =
                std::make_unique<QSocketNotifier>(socket, i == 0 ? QSocketNotifier::Read : QSocketNotifier::Write);
            const int events = i == 0 ? CURL_CSELECT_IN : CURL_CSELECT_OUT;
            QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                             [this, socket, events] { Act(socket, events); });
        }
    }
}

void clsCurlMulti::Act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(m_multi, socket, events, &running);
    int left = 0;
    // Ended() may start, end and close whatever it likes, this multi handle included; so ask anew each time.
    while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const CURLcode result = message->data.result;
        clsCurlListener* listener = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &listener);
        listener->Ended(result);
    }
}
