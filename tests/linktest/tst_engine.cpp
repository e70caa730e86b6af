// SPDX-License-Identifier: GPL-3.0-or-later
// The page fetcher against a control and an event loop that say exactly what each case needs.
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

    void SetEvents(clsHTTPEvents* receiver) override { events = receiver; }
    void SetLimits(const Limits&) override {}
    QString HostOf(const QString& url, int, const QString&) const override { return url.section(u'/', 2, 2); }
    bool Connect(const clsPageRequest& page, const QString& file) override
    {
        calls << u"connect"_s;
        request = page;
        localFile = file;
        return onConnect();
    }
    void FinishTransfer() override { calls << u"finish"_s; }
    void Disconnect() override { calls << u"disconnect"_s; }
    void ReadAhead(std::function<std::optional<clsPageRequest>()> coming) override { next = std::move(coming); }
    void CloseAll() override { calls << u"close all"_s; }
    const clsPageList& Hyperlinks() const override { return links; }
    const clsPageList& Images() const override { return images; }

    clsPageList links{{{u"http://old.example/"_s, u"http://old.example/"_s}}};
    clsPageList images{{{u"old.gif"_s, u"http://old.example/old.gif"_s}}};
};

/// Plays one event after another to whoever waits, then lets the limit pass.
class scriptedLoop : public clsEventLoop
{
public:
    QList<std::function<void()>> script;
    fakeClock* clock = nullptr;
    std::chrono::milliseconds limitAsked{0};

    Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds limit) override
    {
        limitAsked = limit;
        while (!done()) {
            if (script.isEmpty()) {
                clock->Advance(limit);
                return Outcome::TimedOut;
            }
            script.takeFirst()();
        }
        return Outcome::Done;
    }
    void Yield() override {}
    void Interrupt() override {}
    void Resume() override {}
};
} // namespace

class tst_engine : public QObject
{
    Q_OBJECT

private:
    using Event = std::function<void(tst_engine&)>;

    std::unique_ptr<frmResources> m_resources;
    scriptedControl* m_control = nullptr;
    scriptedLoop m_loop;
    fakeClock m_clock;
    bool m_stop = false;

    clsHTTPEngine::Collaborators With()
    {
        return {m_resources.get(), &m_loop, &m_clock, [this] { return m_stop; }, u"/home/$$$http.tmp"_s, 60};
    }
    clsHTTPEvents& Events() { return *m_control->events; }

private Q_SLOTS:
    void init()
    {
        auto control = std::make_unique<scriptedControl>();
        m_control = control.get();
        m_resources = std::make_unique<frmResources>(std::move(control), nullptr, nullptr);
        m_loop = {};
        m_clock = {};
        m_loop.clock = &m_clock;
        m_stop = false;
    }

    void RequestIsWhatTheRunHandsOver()
    {
        clsHTTPEngine engine(With());
        m_control->onConnect = [this] {
            Events().TransferComplete();
            return true;
        };
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
        engine.SetLocalFile({});
        QCOMPARE(engine.LocalFile(), u"/home/$$$http.tmp"_s);
    }

    void Outcomes_data()
    {
        // start, inside Connect, connected, while waiting, ErrNumber, end
        const testTable<QTime, Event, bool, QList<Event>, int, QTime> row;
        const QTime noon(12, 0);
        const Event nothing = [](tst_engine&) {};
        const Event complete = [](tst_engine& test) { test.Events().TransferComplete(); };
        const Event stop = [](tst_engine& test) { test.m_stop = true; };
        const auto error = [](int code) -> Event { return [code](tst_engine& test) { test.Events().Error(code); }; };
        const Event second = [](tst_engine& test) { test.m_clock.Advance(1s); };
        // Connecting and the transfer have 60 seconds each; the engine waits a little longer than both.
        const QTime silence = noon.addSecs(125);

        row("complete", noon, nothing, true, {second, complete}, 0, noon.addSecs(1));
        row("complete before connecting returns", noon, complete, true, {}, 0, noon);
        row("refused", noon, nothing, true, {second, error(61), second}, 61, noon.addSecs(1));
        row("no address at all", noon, error(49), false, {}, 49, noon);
        row("not connected, no word why", noon, nothing, false, {}, 501, noon);
        row("codes from 0 down are no errors", noon, error(0), true, {second, error(-3), complete}, 0, noon.addSecs(1));
        row("silence", noon, nothing, true, {}, 501, silence);
        row("stopped", noon, nothing, true, {second, stop}, 501, noon.addSecs(1));
        row("silence over midnight", QTime(23, 59, 30), nothing, true, {}, 999, QTime(0, 1, 35));
        row("an error over midnight stays what it is", QTime(23, 59, 59), nothing, true, {second, second, error(54)},
            54, QTime(0, 0, 1));
    }
    void Outcomes()
    {
        const auto [start, connecting, connected, waiting, errNumber, end] =
            testRow<QTime, Event, bool, QList<Event>, int, QTime>();
        clsHTTPEngine engine(With());
        m_clock.now.setTime(start);
        m_control->onConnect = [&, &connect = connecting, &answer = connected] {
            connect(*this);
            return answer;
        };
        for (const Event& event : waiting)
            m_loop.script << [this, event] { event(*this); };

        QCOMPARE(engine.ConnectToServer(), errNumber == 0);
        QCOMPARE(engine.ErrNumber(), errNumber);
        QCOMPARE(engine.GetComplete(), errNumber == 0);
        QCOMPARE(m_clock.now.time(), end);
        QCOMPARE(m_control->calls.contains(u"finish"_s), errNumber == 0);
    }

    void NothingIsLeftOfTheLastPage()
    {
        clsHTTPEngine engine(With());
        m_loop.script << [this] { Events().TransferComplete(); };
        QVERIFY(engine.ConnectToServer());
        QCOMPARE(engine.Hyperlinks().Count(), 1);
        QCOMPARE(engine.Images().Count(), 1);

        // The next page is refused: the last one's completion, lists and success must not speak for it.
        m_loop.script << [this] { Events().Error(61); };
        QVERIFY(!engine.ConnectToServer());
        QVERIFY(!engine.GetComplete());
        QCOMPARE(engine.Hyperlinks().Count(), 0);
        QCOMPARE(engine.Images().Count(), 0);
        // And its error not for the page after it.
        m_loop.script << [this] { Events().TransferComplete(); };
        QVERIFY(engine.ConnectToServer());
        QCOMPARE(engine.ErrNumber(), 0);
    }

    void EventsReachTheEngineRegisteredLast()
    {
        auto first = std::make_unique<clsHTTPEngine>(With());
        auto second = std::make_unique<clsHTTPEngine>(With());
        second->ReadAhead([] { return std::optional<QString>(); });
        Events().Error(61);
        QCOMPARE(first->ErrNumber(), 0);
        QCOMPARE(second->ErrNumber(), 61);
        // An engine that goes takes only itself off, and closes what it left open.
        first->ConnectToServer();
        m_control->calls.clear();
        first.reset();
        QCOMPARE(m_control->calls, QStringList{u"disconnect"_s});
        QVERIFY(m_control->next);
        Events().Error(54);
        QCOMPARE(second->ErrNumber(), 54);
        // Whoever read ahead must not be called any more once it is gone.
        second.reset();
        QVERIFY(!m_control->next);
    }
};

QTEST_GUILESS_MAIN(tst_engine)
#include "tst_engine.moc"
