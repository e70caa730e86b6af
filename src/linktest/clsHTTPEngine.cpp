// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/clsHTTPEngine.h"

#include "platform/clsClock.h"
#include "platform/clsEventLoop.h"
#include "platform/frmResources.h"
#include "shell/modBrambury.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Partners' servers have seen these lines from the first version on; some answer differently to any other.
constexpr char16_t RequestLines[] = u"Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, "
                                    u"application/vnd.ms-excel, application/msword, */*\r\n"
                                    u"Accept-Language: en-us\r\n"
                                    u"Accept-Encoding: gzip, deflate\r\n"
                                    u"User-Agent: Mozilla/4.0 (compatible; MSIE 4.01; Windows 95)\r\n"
                                    u"Host: ";

constexpr int NoCompletion = 501;
constexpr int NoCompletionOverMidnight = 999;

/// What the engine grants beyond the control's own limits before it stops believing that the control will speak.
constexpr std::chrono::seconds Grace{5};
} // namespace

clsHTTPEngine::clsHTTPEngine(Collaborators collaborators) : m_with(std::move(collaborators))
{
    m_with.Resources->RegisterHTTPEngine(this);
}

std::unique_ptr<clsHTTPEngine> clsHTTPEngine::ForRun(std::function<void()> beforeWait)
{
    const clsPlatform& platform = modBrambury::Platform();
    const clsProgramSettings& settings = modBrambury::State().Settings;
    platform.Resources->HTTPControl->SetLimits({.timeoutSeconds = settings.Timeout,
                                                .simultaneousDownloads = settings.SimultaneousDownloads,
                                                .perHostConnections = settings.PerHostConnections,
                                                .caFile = settings.CaFile});
    return std::make_unique<clsHTTPEngine>(
        Collaborators{.Resources = platform.Resources,
                      .EventLoop = platform.EventLoop,
                      .Clock = platform.Clock,
                      .Stopped = [] { return modBrambury::State().StopFlag; },
                      .DefaultLocalFile = modBrambury::FolderPath(u"\\$$$http.tmp"_s),
                      .TimeoutSeconds = settings.Timeout,
                      .BeforeWait = std::move(beforeWait)});
}

clsHTTPEngine::~clsHTTPEngine()
{
    m_with.Resources->UnregisterHTTPEngine(this);
    if (m_readingAhead)
        m_with.Resources->HTTPControl->ReadAhead({});
    if (m_socketOpen)
        m_with.Resources->HTTPControl->Disconnect();
}

QString clsHTTPEngine::LocalFile()
{
    if (m_localFile.isEmpty())
        m_localFile = m_with.DefaultLocalFile;
    return m_localFile;
}

void clsHTTPEngine::SetLocalFile(const QString& path)
{
    m_localFile = path.isEmpty() ? m_with.DefaultLocalFile : path;
}

clsPageRequest clsHTTPEngine::RequestFor(const QString& url) const
{
    const QString host = m_with.Resources->HTTPControl->HostOf(url, m_port, m_proxy);
    return {url, m_port, m_proxy, QString::fromUtf16(RequestLines) + host + u"\r\n"_s, m_wantsTexts};
}

bool clsHTTPEngine::ConnectToServer(bool /*flag*/)
{
    clsHTTPControl& control = *m_with.Resources->HTTPControl;
    m_errNumber = 0;
    m_getComplete = false;

    const clsPageRequest request = RequestFor(m_url);
    // Before the call: a page that was read ahead may complete, fail and close inside it.
    m_socketOpen = true;
    const bool connected = control.Connect(request, LocalFile());
    if (!connected)
        m_socketOpen = false;

    std::optional<QTime> start;
    if (connected && m_errNumber == 0) {
        m_host = control.HostOf(m_url, m_port, m_proxy);
        start = m_with.Clock->Now().time();
        // Connecting and the transfer have the limit each, and both happen in this wait. A time-out needs no branch of
        // its own: the page is not complete then.
        const auto settled = [this] { return m_getComplete || m_errNumber != 0 || m_with.Stopped(); };
        if (!settled() && m_with.BeforeWait)
            m_with.BeforeWait();
        if (!settled())
            static_cast<void>(m_with.EventLoop->Wait(settled, 2 * std::chrono::seconds(m_with.TimeoutSeconds) + Grace));
    }

    if (m_getComplete) {
        control.FinishTransfer();
    } else if (m_errNumber == 0) {
        const bool overMidnight = start && m_with.Clock->Now().time() <= *start;
        m_errNumber = overMidnight ? NoCompletionOverMidnight : NoCompletion;
    }
    return m_getComplete;
}

void clsHTTPEngine::EndConnectToServer()
{
    m_with.Resources->HTTPControl->Disconnect();
    m_socketOpen = false;
}

const clsPageList& clsHTTPEngine::Hyperlinks() const
{
    return m_getComplete ? m_with.Resources->HTTPControl->Hyperlinks() : m_noAddresses;
}

const clsPageList& clsHTTPEngine::Images() const
{
    return m_getComplete ? m_with.Resources->HTTPControl->Images() : m_noAddresses;
}

void clsHTTPEngine::ReadAhead(std::function<std::optional<QString>()> nextUrl)
{
    m_readingAhead = static_cast<bool>(nextUrl);
    if (!m_readingAhead) {
        m_with.Resources->HTTPControl->ReadAhead({});
        return;
    }
    m_with.Resources->HTTPControl->ReadAhead([this, next = std::move(nextUrl)]() -> std::optional<clsPageRequest> {
        const std::optional<QString> url = next();
        return url ? std::optional(RequestFor(*url)) : std::nullopt;
    });
}

void clsHTTPEngine::CloseAll()
{
    ReadAhead({});
    m_with.Resources->HTTPControl->CloseAll();
    m_socketOpen = false;
}

void clsHTTPEngine::Error(int code)
{
    if (code > 0)
        m_errNumber = code;
}
