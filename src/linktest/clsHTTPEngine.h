// SPDX-License-Identifier: GPL-3.0-or-later
// Downloads one page at a time through the HTTP control and says how it ended.
#pragma once

#include "platform/clsHTTPControl.h"

#include <QString>
#include <functional>
#include <memory>
#include <optional>

class clsClock;
class clsEventLoop;
class frmResources;

/// One engine for each run. Waits in the event loop; never shows a message. While it is alive and was registered last
/// it hears the control's events.
class clsHTTPEngine : public clsHTTPEvents
{
public:
    /// What the engine works with; not owned.
    struct Collaborators
    {
        frmResources* Resources = nullptr;
        clsEventLoop* EventLoop = nullptr;
        clsClock* Clock = nullptr;
        std::function<bool()> Stopped; ///< the process-wide stop flag
        QString DefaultLocalFile;      ///< what an empty LocalFile means
        /// For connecting and for the transfer, each: the control's limits. The control speaks first; an engine whose
        /// control stays silent gives up a little after both have passed.
        int TimeoutSeconds = 60;
        std::function<void()> BeforeWait =
            {}; ///< called when a page is not there yet and the wait begins; may be empty
    };

    explicit clsHTTPEngine(Collaborators collaborators);
    /// The engine of a run: the process's parts, the limits of its settings, its local file.
    /// @param beforeWait  see Collaborators.
    static std::unique_ptr<clsHTTPEngine> ForRun(std::function<void()> beforeWait = {});
    ~clsHTTPEngine() override;
    clsHTTPEngine(const clsHTTPEngine&) = delete;
    clsHTTPEngine& operator=(const clsHTTPEngine&) = delete;

    /// Address of the page to fetch.
    [[nodiscard]] QString URL() const { return m_url; }
    void SetURL(const QString& url) { m_url = url; }
    /// File that receives the page; set or read while empty it is the default.
    [[nodiscard]] QString LocalFile();
    void SetLocalFile(const QString& path);
    void SetPort(int port) { m_port = port; }
    void SetProxy(const QString& proxy) { m_proxy = proxy; }
    /// Whether the texts of hyperlinks are wanted too; off in a new engine.
    void SetWantsTexts(bool wanted) { m_wantsTexts = wanted; }
    /// Host name that the control held for the page last requested.
    [[nodiscard]] const QString& Host() const { return m_host; }

    /// 0 = no error; else the control's code, 501 (no completion in time, or stopped), 999 (the same, over midnight).
    [[nodiscard]] int ErrNumber() const { return m_errNumber; }
    [[nodiscard]] bool GetComplete() const { return m_getComplete; }
    [[nodiscard]] bool SocketOpen() const { return m_socketOpen; }
    [[nodiscard]] bool HTTPServerActive() const { return m_serverActive; }

    /// Fetches URL into LocalFile and waits for the outcome. @return true once the transfer completed.
    virtual bool ConnectToServer(bool flag = false);
    /// Closes the connection; harmless when none is open.
    void EndConnectToServer();

    /// The lists of the page that was fetched last.
    [[nodiscard]] virtual const clsPageList& Hyperlinks() const;
    [[nodiscard]] const clsPageList& Images() const;

    /// Tells the control which pages this engine will ask for next (see clsHTTPControl::ReadAhead).
    void ReadAhead(std::function<std::optional<QString>()> nextUrl);
    /// Ends reading ahead and closes kept-alive connections: the end of a run.
    void CloseAll();

private:
    void ServerActive(bool active) override { m_serverActive = active; }
    void TransferComplete() override { m_getComplete = true; }
    void ConnectionClosed() override { m_socketOpen = false; }
    void Error(int code) override;
    [[nodiscard]] clsPageRequest RequestFor(const QString& url) const;

    Collaborators m_with;
    QString m_url;
    QString m_localFile;
    QString m_host;
    QString m_proxy;
    int m_port = 80;
    int m_errNumber = 0;
    bool m_serverActive = false;
    bool m_getComplete = false;
    bool m_socketOpen = false;
    bool m_readingAhead = false;
    bool m_wantsTexts = false;
    const clsPageList m_noAddresses; ///< of a page that did not arrive
};
