// SPDX-License-Identifier: GPL-3.0-or-later
// The page fetcher against a control that says exactly what each case needs.
#include "linktest/clsHTTPEngine.h"
#include "platform/frmResources.h"
#include "support/fakes.h"
#include "support/table.h"

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// Does what the test tells it when a page is requested; one link and one image stand on every page.
class scriptedControl : public clsHTTPControl
{
public:
    clsHTTPEvents* events = nullptr;
    std::function<bool()> onConnect = [] { return true; };
    clsPageRequest request;
    QString localFile;
    QStringList calls;
    std::function<std::optional<clsPageRequest>()> next;
    clsPageList links{{{u"http://old.example/"_s, u"http://old.example/"_s}}};
    clsPageList images{{{u"old.gif"_s, u"http://old.example/old.gif"_s}}};

    void SetEvents(clsHTTPEvents* receiver) override { events = receiver; }
    void SetLimits(const Limits&) override {}
    QString HostOf(const QString& url, int, const QString&) const override { return url.section(u'/', 2, 2); }
    bool Connect(const clsPageRequest& page, const QString& file) override
    {
        request = page;
        localFile = file;
        return onConnect();
    }
    void FinishTransfer() override { calls << u"finish"_s; }
    void Disconnect() override { calls << u"disconnect"_s; }
    void ReadAhead(std::function<std::optional<clsPageRequest>()> coming) override { next = std::move(coming); }
    void CloseAll() override {}
    const clsPageList& Hyperlinks() const override { return links; }
    const clsPageList& Images() const override { return images; }
};

/// Nothing comes while the engine waits: a limit passes at once.
class idleLoop : public fakeEventLoop
{
public:
    fakeClock clock;
    Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds limit) override
    {
        if (!done())
            clock.Advance(limit);
        return fakeEventLoop::Wait(done, limit);
    }
};
} // namespace

class tst_engine : public QObject
{
    Q_OBJECT

private:
    /// What happens while the engine connects. @return whether it is connected.
    using Event = std::function<bool(tst_engine&)>;

    std::unique_ptr<frmResources> m_resources;
    scriptedControl* m_control = nullptr;
    idleLoop m_loop;

    clsHTTPEngine::Collaborators With()
    {
        return {m_resources.get(), &m_loop, &m_loop.clock, [] { return false; }, u"/home/$$$http.tmp"_s, 60};
    }
    static bool Complete(tst_engine& test)
    {
        test.m_control->events->TransferComplete();
        return true;
    }
    /// A page that connects, and fails a second later.
    static Event Error(int code)
    {
        return [code](tst_engine& test) {
            test.m_loop.clock.Advance(1s);
            test.m_control->events->Error(code);
            return true;
        };
    }
    void Next(const Event& event)
    {
        m_control->onConnect = [this, event] { return event(*this); };
    }

private Q_SLOTS:
    void init()
    {
        auto control = std::make_unique<scriptedControl>();
        m_control = control.get();
        m_resources = std::make_unique<frmResources>(std::move(control), nullptr, nullptr);
        m_loop.clock = {};
    }

    void RequestIsWhatTheRunHandsOver()
    {
        clsHTTPEngine engine(With());
        Next(Complete);
        engine.SetURL(u"http://www.partner.example:8080/links.htm"_s);
        engine.SetPort(81);
        engine.SetProxy(u"proxy.example"_s);
        QVERIFY(engine.ConnectToServer());
        const QString headers =
            u"Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, application/vnd.ms-excel, "
            "application/msword, */*\r\n"
            "Accept-Language: en-us\r\n"
            "Accept-Encoding: gzip, deflate\r\n"
            "User-Agent: Mozilla/4.0 (compatible; MSIE 4.01; Windows 95)\r\n"
            "Host: www.partner.example:8080\r\n"_s;
        const clsPageRequest expected{u"http://www.partner.example:8080/links.htm"_s, 81, u"proxy.example"_s, headers};
        QCOMPARE(m_control->request.headers, headers);
        QVERIFY(m_control->request == expected);
        QCOMPARE(engine.Host(), u"www.partner.example:8080"_s);
        QCOMPARE(m_control->localFile, u"/home/$$$http.tmp"_s);

        // A page that is announced must be the very request that follows, or it would be fetched twice.
        int asked = 0;
        engine.ReadAhead([&] { return ++asked == 1 ? std::optional(engine.URL()) : std::nullopt; });
        QVERIFY(m_control->next() == expected);
        QVERIFY(!m_control->next());
        engine.SetLocalFile(u"/tmp/page"_s);
        engine.ConnectToServer();
        QCOMPARE(m_control->localFile, u"/tmp/page"_s);
    }

    void Outcomes_data()
    {
        const testTable<QTime, Event, int, QTime> row; // start, while connecting, ErrNumber, end
        const QTime noon(12, 0);
        const Event silence = [](tst_engine&) { return true; };
        const Event refusal = [](tst_engine&) { return false; };
        const Event noErrors = [](tst_engine& test) { return Error(0)(test) && Error(-3)(test) && Complete(test); };
        row("complete", noon, Complete, 0, noon);
        row("refused", noon, Error(61), 61, noon.addSecs(1));
        row("not connected, no word why", noon, refusal, 501, noon);
        row("codes from 0 down are no errors", noon, noErrors, 0, noon.addSecs(2));
        // Connecting and the transfer have 60 seconds each; the engine waits a little longer than both.
        row("silence", noon, silence, 501, noon.addSecs(125));
        row("silence over midnight", QTime(23, 59, 30), silence, 999, QTime(0, 1, 35));
        row("an error over midnight stays what it is", QTime(23, 59, 59), Error(54), 54, QTime(0, 0, 0));
    }
    void Outcomes()
    {
        const auto [start, event, errNumber, end] = testRow<QTime, Event, int, QTime>();
        clsHTTPEngine engine(With());
        m_loop.clock.now.setTime(start);
        Next(event);
        QCOMPARE(engine.ConnectToServer(), errNumber == 0);
        QCOMPARE(engine.ErrNumber(), errNumber);
        QCOMPARE(engine.GetComplete(), errNumber == 0);
        QCOMPARE(m_loop.clock.now.time(), end);
        QCOMPARE(m_control->calls.contains(u"finish"_s), errNumber == 0);
    }

    /// A page that fails: the last one's completion, lists and success must not speak for it, nor its error for the
    /// page after it.
    void NothingIsLeftOfTheLastPage()
    {
        clsHTTPEngine engine(With());
        for (const int code : {0, 61, 0}) {
            Next(code == 0 ? Complete : Error(code));
            QCOMPARE(engine.ConnectToServer(), code == 0);
            QCOMPARE(engine.GetComplete(), code == 0);
            QCOMPARE(engine.ErrNumber(), code);
            QCOMPARE(engine.Hyperlinks().Count() + engine.Images().Count(), code == 0 ? 2 : 0);
        }
    }

    void EventsReachTheEngineRegisteredLast()
    {
        auto first = std::make_unique<clsHTTPEngine>(With());
        auto second = std::make_unique<clsHTTPEngine>(With());
        second->ReadAhead([] { return std::optional<QString>(); });
        m_control->events->Error(61);
        QCOMPARE(first->ErrNumber(), 0);
        QCOMPARE(second->ErrNumber(), 61);
        // An engine that goes takes only itself off, and closes what it left open.
        first->ConnectToServer();
        m_control->calls.clear();
        first.reset();
        QCOMPARE(m_control->calls, QStringList{u"disconnect"_s});
        QVERIFY(m_control->next);
        m_control->events->Error(54);
        QCOMPARE(second->ErrNumber(), 54);
        // Whoever read ahead must not be called any more once it is gone.
        second.reset();
        QVERIFY(!m_control->next);
    }
};

QTEST_GUILESS_MAIN(tst_engine)
#include "tst_engine.moc"
