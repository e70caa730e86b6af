// SPDX-License-Identifier: GPL-3.0-or-later
// Measures the link test against the least work that the same pages can be had for. Every measurement runs in a process
// of its own, so that processor time and peak memory are its own; so does the web of partners.
#include "data/modDataModel.h"
#include "linktest/clsHTTP.h"
#include "partner_server.h"
#include "support/program.h"
#include "ui/main_window_fixture.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHash>
#include <QProcess>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <curl/curl.h>
#include <gumbo.h>
#include <sys/resource.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using partnerServer::Web;

namespace
{
constexpr int Parallel = 32;
constexpr int TimeoutSeconds = 10;

using Figures = QHash<QString, double>;

/// Wall time, processor time (of all threads, the kernel's share also by itself) and peak memory from construction to
/// Report.
class Meter
{
public:
    Meter() : m_start(Used()) { m_wall.start(); }

    [[nodiscard]] Figures Report() const
    {
        const rusage now = Used();
        const double kernel = Seconds(now.ru_stime) - Seconds(m_start.ru_stime);
        return {{u"wall"_s, static_cast<double>(m_wall.nsecsElapsed()) / 1e9},
                {u"cpu"_s, Seconds(now.ru_utime) - Seconds(m_start.ru_utime) + kernel},
                {u"kernel"_s, kernel},
                {u"peak"_s, PeakMegabytes()}};
    }

private:
    static rusage Used()
    {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage;
    }
    static double Seconds(const timeval& time)
    {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
    static double PeakMegabytes()
    {
        QFile status(u"/proc/self/status"_s);
        if (status.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : status.readAll().split('\n')) {
                if (line.startsWith("VmHWM:"))
                    return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
            }
        }
        return 0;
    }

    rusage m_start;
    QElapsedTimer m_wall;
};

void Print(const Figures& figures)
{
    QTextStream out(stdout);
    for (auto figure = figures.cbegin(); figure != figures.cend(); ++figure)
        out << figure.key() << ' ' << figure.value() << '\n';
}

// ---- the least work: curl_multi and Gumbo, nothing else

struct Transfer
{
    CURL* handle = nullptr;
    std::string url;
    std::string body;
};

std::size_t Collect(char* data, std::size_t size, std::size_t count, void* transfer)
{
    static_cast<Transfer*>(transfer)->body.append(data, size * count);
    return size * count;
}

int CountAddresses(const std::string& body)
{
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    GumboOutput* page = gumbo_parse_with_options(&options, body.data(), body.size());
    int count = 0;
    std::vector<const GumboNode*> open{page->root};
    while (!open.empty()) {
        const GumboNode* node = open.back();
        open.pop_back();
        if (node->type != GUMBO_NODE_ELEMENT)
            continue;
        const GumboElement& element = node->v.element;
        if (gumbo_get_attribute(&element.attributes, element.tag == GUMBO_TAG_IMG ? "src" : "href"))
            ++count;
        for (unsigned i = 0; i < element.children.length; ++i)
            open.push_back(static_cast<const GumboNode*>(element.children.data[i]));
    }
    gumbo_destroy_output(&options, page);
    return count;
}

Figures RunBare(const Web& web)
{
    std::vector<std::string> urls{partnerServer::OwnPage(web)};
    for (int i = 0; i < web.partners; ++i)
        urls.push_back(partnerServer::PageOf(web, i));

    const Meter meter;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM* multi = curl_multi_init();
    std::size_t next = 0;
    double addresses = 0;
    const auto startNext = [&] {
        if (next == urls.size())
            return;
        auto* transfer = new Transfer{curl_easy_init(), urls[next++], {}};
        curl_easy_setopt(transfer->handle, CURLOPT_URL, transfer->url.c_str());
        curl_easy_setopt(transfer->handle, CURLOPT_PROXY, "");
        curl_easy_setopt(transfer->handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(transfer->handle, CURLOPT_TIMEOUT, static_cast<long>(TimeoutSeconds));
        curl_easy_setopt(transfer->handle, CURLOPT_WRITEFUNCTION, &Collect);
        curl_easy_setopt(transfer->handle, CURLOPT_WRITEDATA, transfer);
        curl_easy_setopt(transfer->handle, CURLOPT_PRIVATE, transfer);
        curl_multi_add_handle(multi, transfer->handle);
    };
    for (int i = 0; i < Parallel; ++i)
        startNext();
    for (int running = 1; running > 0;) {
        curl_multi_perform(multi, &running);
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
            Transfer* transfer = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
            if (message->data.result == CURLE_OK)
                addresses += CountAddresses(transfer->body);
            curl_multi_remove_handle(multi, transfer->handle);
            curl_easy_cleanup(transfer->handle);
            delete transfer;
            startNext();
            running = 1;
        }
        if (running > 0)
            curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
    curl_multi_cleanup(multi);
    Figures figures = meter.Report();
    figures[u"addresses"_s] = addresses;
    return figures;
}

// ---- the link test itself

class quietLog : public clsLogWindow
{
protected:
    void ShowAppended(const QString&, qsizetype) override {}
    void ShowCleared() override {}
};

/// Notes how late a steady beat comes: whatever holds the event loop up makes it late.
class Heartbeat
{
public:
    Heartbeat()
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const double late = static_cast<double>(m_since.nsecsElapsed()) / 1e6 - Beat;
            m_since.restart();
            ++m_beats;
            m_slow += late > 50 ? 1 : 0;
            m_longest = std::max(m_longest, late);
        });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_since.start();
        m_timer.start(Beat);
    }
    void AddTo(Figures& figures) const
    {
        figures[u"turnsUnder50"_s] = m_beats == 0 ? 100 : 100.0 * (m_beats - m_slow) / m_beats;
        figures[u"longestTurn"_s] = m_longest;
    }

private:
    static constexpr int Beat = 10;
    QTimer m_timer;
    QElapsedTimer m_since;
    int m_beats = 0;
    int m_slow = 0;
    double m_longest = 0;
};

void FillDatabase(clsDatabase& database, const Web& web, int links)
{
    clsTransaction transaction(database);
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    sites->AddNew();
    sites->SetField(u"SiteID"_s, u"Own"_s);
    sites->SetField(u"SiteName"_s, u"Own Site"_s);
    sites->SetField(u"HomePage"_s, QLatin1String(partnerServer::OwnHome));
    sites->SetField(u"LinkPage"_s, QString::fromStdString(partnerServer::OwnPage(web)));
    sites->SetField(u"ImageFile"_s, u"own-banner.gif"_s);
    for (const QString& test : {u"TestForMyLinkAtRecipSite"_s, u"TestForMyImageAtRecipSite"_s,
                                u"TestForRecipLinkAtMySite"_s, u"TestForRecipImageAtMySite"_s})
        sites->SetField(test, true);
    sites->Update();
    const auto list = database.OpenRecordset(u"tblLinkList"_s);
    for (int i = 0; i < links; ++i) {
        list->AddNew();
        list->SetField(u"SiteName"_s, u"Own"_s);
        list->SetField(u"Title"_s, u"Partner %1"_s.arg(i));
        list->SetField(u"HomePage"_s, QString::fromStdString(partnerServer::HomeOf(i)));
        list->SetField(u"LinkPage"_s, QString::fromStdString(partnerServer::PageOf(web, i)));
        list->SetField(u"Status"_s, modDataModel::Active);
        list->SetField(u"TestQueue"_s, true);
        list->Update();
    }
    transaction.Commit();
}

Figures RunLinkTest(const Web& web, int links, int simultaneous)
{
    clsTestProgram program;
    modBrambury::ProcessState& state = modBrambury::State();
    state.Settings.Timeout = TimeoutSeconds;
    state.Settings.PlaySoundComplete.clear();
    state.Settings.SimultaneousDownloads = static_cast<qint16>(simultaneous);
    FillDatabase(*state.Database, web, links);
    state.CurrentSite = u"Own"_s;
    state.Tests = {true, true, true, true};

    clsRunParent parent;
    quietLog log;
    clsHTTP test({.Parent = &parent, .LogWindow = &log, .Platform = state.Platform, .Database = state.Database.get()});
    const Heartbeat heartbeat;
    const Meter meter;
    test.CheckLinks();
    Figures figures = meter.Report();
    heartbeat.AddTo(figures);
    figures[u"failed"_s] = static_cast<double>(test.FailedLinks());
    figures[u"done"_s] = test.LastEnding() == clsHTTP::Ending::Done ? 1 : 0;
    return figures;
}

/// The same run from the main window's button, drawn as a user sees it.
Figures RunInWindow(const Web& web, int links)
{
    clsTestWindow window;
    FillDatabase(*window.opened, web, links);
    window.Set(u"Network"_s, u"Timeout"_s, QString::number(TimeoutSeconds));
    window.Set(u"General"_s, u"PlaySoundComplete"_s, u"No"_s);
    frmMain& main = window.Open();
    main.resize(1040, 720);
    QCoreApplication::processEvents();
    const Heartbeat heartbeat;
    const Meter meter;
    window.Trigger(u"ServicesMenuElement_2"_s);
    Figures figures = meter.Report();
    heartbeat.AddTo(figures);
    figures[u"done"_s] = main.ResultsLog()->Text().contains(u"END LINK TEST SESSION"_s) ? 1 : 0;
    return figures;
}

Figures RunLog(int lines)
{
    const QString line = u"Located a link to Own Site on Partner 12345"_s;
    clsTestProgram program;
    quietLog window;
    clsStatusLog log(modBrambury::Platform().EventLoop);
    log.SetLogWindow(&window);
    const Meter meter;
    for (int i = 0; i < lines; ++i)
        log.LogItem(line, 4, false);
    return meter.Report();
}

// ---- the table

/// The web of partners as a process of its own, for as long as this lives.
class Partners
{
public:
    explicit Partners(Web& web)
    {
        m_process.start(QCoreApplication::applicationFilePath(),
                        {u"serve"_s, QString::number(web.partners), QString::number(web.medianMs),
                         QString::number(web.dead ? 1 : 0), u"0"_s});
        m_process.waitForReadyRead();
        web.port = m_process.readLine().trimmed().toInt();
    }
    ~Partners()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

Figures Measure(const QString& mode, const Web& web, const QStringList& more = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList{mode, QString::number(web.partners), QString::number(web.medianMs),
                              QString::number(web.dead ? 1 : 0), QString::number(web.port)} +
                      more);
    process.waitForFinished(-1);
    Figures figures;
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        if (const qsizetype blank = line.indexOf(' '); blank > 0)
            figures[QString::fromLatin1(line.left(blank))] = line.mid(blank + 1).toDouble();
    }
    if (process.exitCode() != 0 || figures.isEmpty())
        qFatal("measurement '%s' failed", qPrintable(mode));
    return figures;
}

Figures MeasureLinkTest(const Web& web, int links, int simultaneous)
{
    const Figures figures = Measure(u"test"_s, web, {QString::number(links), QString::number(simultaneous)});
    if (figures[u"done"_s] != 1)
        qFatal("the link test did not come to its end");
    return figures;
}

/// What testing every partner one after the other would take, from a sample of living partners run that way: their
/// own delays replaced by all partners' delays, a dead one counted with its time-out.
double OneAtATime(const Web& web, double& sampleWall)
{
    constexpr int Sample = 50; // none of them dead
    const Figures sample = MeasureLinkTest(web, Sample, 1);
    sampleWall = sample[u"wall"_s];
    double sampled = 0;
    double all = 0;
    int dead = 0;
    for (int i = 0; i < web.partners; ++i) {
        const double delay = partnerServer::DelayMs(web, i) / 1000.0;
        if (i < Sample)
            sampled += delay;
        if (partnerServer::IsDead(web, i))
            ++dead;
        else
            all += delay;
    }
    const double perLink = (sampleWall - sampled) / Sample; // the own page and the work itself
    return all + dead * TimeoutSeconds + perLink * web.partners;
}

void Row(QTextStream& out, const QString& what, const QString& measured, const QString& goal = {})
{
    out << u"| %1 | %2 | %3 |\n"_s.arg(what, -68).arg(measured, -24).arg(goal, -10);
    out.flush();
}

/// One figure of several rounds. A machine that does other things besides spoils single rounds, so the middle one
/// counts.
class Rounds
{
public:
    void Add(double figure) { m_figures.insert(std::upper_bound(m_figures.begin(), m_figures.end(), figure), figure); }
    [[nodiscard]] double Median() const { return m_figures[m_figures.size() / 2]; }
    /// "median (least to most)"
    [[nodiscard]] QString Text() const
    {
        const auto number = [](double value) { return QString::number(value, 'f', 2); };
        return u"%1 (%2 to %3)"_s.arg(number(Median()), number(m_figures.front()), number(m_figures.back()));
    }

private:
    std::vector<double> m_figures; ///< least first
};

/// The link test and the bare fetch of the same pages in turns. @return what the link test's last round measured, with
/// the median wall time.
Figures CompareWithBare(QTextStream& out, const Web& web)
{
    constexpr int RoundCount = 7;
    const QString names[] = {u"wall"_s, u"cpu"_s, u"kernel"_s};
    QHash<QString, Rounds> bareRounds;
    QHash<QString, Rounds> testRounds;
    QHash<QString, Rounds> ratios;
    Figures test;
    for (int round = 0; round < RoundCount; ++round) {
        Figures bare = Measure(u"bare"_s, web);
        test = MeasureLinkTest(web, web.partners, Parallel);
        for (const QString& name : names) {
            bareRounds[name].Add(bare[name]);
            testRounds[name].Add(test[name]);
            ratios[name].Add(test[name] / bare[name]);
        }
    }
    Row(out, u"1,000 partners, median of %1 rounds in turns (least to most)"_s.arg(RoundCount), {});
    for (const QString& name : names) {
        Row(out, u"bare curl and Gumbo: %1 s"_s.arg(name), bareRounds[name].Text());
        Row(out, u"link test: %1 s"_s.arg(name), testRounds[name].Text());
    }
    Row(out, u"wall against bare"_s, ratios[u"wall"_s].Text(), u"1.15"_s);
    Row(out, u"CPU against bare"_s, ratios[u"cpu"_s].Text(), u"1.5"_s);
    Row(out, u"CPU per link: ms"_s, QString::number(1000 * testRounds[u"cpu"_s].Median() / web.partners, 'f', 2));
    test[u"wall"_s] = testRounds[u"wall"_s].Median();
    return test;
}

int Table()
{
    QTextStream out(stdout);
    Row(out, u"link test"_s, u"measured"_s, u"goal"_s);
    Row(out, QString(68, u'-'), QString(24, u'-'), QString(10, u'-'));
    const auto number = [](double value, int digits = 2) { return QString::number(value, 'f', digits); };

    {
        Web web;
        const Partners partners(web);
        const Figures test = CompareWithBare(out, web);
        double sampleWall = 0;
        const double single = OneAtATime(web, sampleWall);
        Row(out, u"one at a time, worked out from 50 living partners (%1 s): s"_s.arg(number(sampleWall, 1)),
            number(single, 0));
        Row(out, u"times faster than one at a time"_s, number(single / test[u"wall"_s], 1));
        Row(out, u"peak memory: MB"_s, number(test[u"peak"_s], 0), u"60"_s);
        Row(out, u"turns of the event loop under 50 ms: %"_s, number(test[u"turnsUnder50"_s]), u"99.9"_s);
        Row(out, u"longest turn: ms"_s, number(test[u"longestTurn"_s], 1));
        const Figures window = Measure(u"window"_s, web, {QString::number(web.partners)});
        if (window[u"done"_s] != 1)
            qFatal("the run in the window did not come to its end");
        Row(out, u"in the window: wall / CPU s"_s, number(window[u"wall"_s]) + u" / "_s + number(window[u"cpu"_s]));
        Row(out, u"in the window: peak memory: MB"_s, number(window[u"peak"_s], 0), u"150"_s);
        Row(out, u"in the window: turns under 50 ms: %"_s, number(window[u"turnsUnder50"_s]), u"99.9"_s);
        Row(out, u"in the window: longest turn: ms"_s, number(window[u"longestTurn"_s], 1));
    }
    double perLink[2] = {};
    double cpuPerLink[2] = {};
    const int sizes[2] = {1000, 10000};
    for (int i = 0; i < 2; ++i) {
        Web web{.partners = sizes[i], .medianMs = 0, .dead = false, .port = 0};
        const Partners partners(web);
        const Figures test = MeasureLinkTest(web, web.partners, Parallel);
        perLink[i] = 1000 * test[u"wall"_s] / sizes[i];
        cpuPerLink[i] = 1000 * test[u"cpu"_s] / sizes[i];
        Row(out, u"%L1 links, no distance, own page lists all: wall / CPU ms a link"_s.arg(sizes[i]),
            number(perLink[i]) + u" / "_s + number(cpuPerLink[i]));
        Row(out, u"  peak memory: MB; longest turn: ms"_s,
            number(test[u"peak"_s], 0) + u"; "_s + number(test[u"longestTurn"_s], 1));
    }
    Row(out, u"CPU per link, 10,000 against 1,000"_s, number(cpuPerLink[1] / cpuPerLink[0]), u"flat"_s);

    const Figures tenth = Measure(u"log"_s, {}, {u"10000"_s});
    const Figures whole = Measure(u"log"_s, {}, {u"100000"_s});
    Row(out, u"log lines, 10,000 / 100,000: us a line"_s,
        number(100 * tenth[u"wall"_s]) + u" / "_s + number(10 * whole[u"wall"_s]));
    Row(out, u"time per log line, 100,000 against 10,000"_s, number(whole[u"wall"_s] / tenth[u"wall"_s] / 10),
        u"flat"_s);
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const bool inWindow = argc > 1 && QByteArrayView(argv[1]) == "window";
    if (inWindow)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const std::unique_ptr<QCoreApplication> application(inWindow ? new QApplication(argc, argv)
                                                                 : new QCoreApplication(argc, argv));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 1)
        return Table();
    const auto number = [&](int index) { return arguments.value(index).toInt(); };
    const QString mode = arguments.at(1);
    const Web web{number(2), number(3), number(4) != 0, number(5)};
    if (mode == u"serve"_s)
        return partnerServer::Serve(web);
    if (mode == u"bare"_s)
        Print(RunBare(web));
    else if (mode == u"test"_s)
        Print(RunLinkTest(web, number(6), number(7)));
    else if (mode == u"window"_s)
        Print(RunInWindow(web, number(6)));
    else if (mode == u"log"_s)
        Print(RunLog(number(6)));
    else
        return 2;
    return 0;
}
