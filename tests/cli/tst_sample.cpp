// SPDX-License-Identifier: GPL-3.0-or-later
// The main job as run.sh shows it: the sample, its partners' pages on a real web server, one run.
#include "support/command_line.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <optional>

using namespace Qt::Literals::StringLiterals;

class tst_sample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void RunOverTheSample_data();
    void RunOverTheSample();
};

namespace
{
/// The web server, for as long as it lives.
class sampleServer
{
public:
    explicit sampleServer(const QString& folder)
    {
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(QStringLiteral(BRAMBURY_SOURCE_DIR "/scripts/serve-sample.sh"), {folder});
    }
    ~sampleServer()
    {
        m_server.terminate();
        m_server.waitForFinished(commandLine::LimitMs);
    }
    sampleServer(const sampleServer&) = delete;
    sampleServer& operator=(const sampleServer&) = delete;
    [[nodiscard]] bool Running() const { return m_server.state() != QProcess::NotRunning; }

private:
    QProcess m_server;
};

/// Runs the program on an installation. @return its exit code.
int Run(const QString& home, const QStringList& words, QByteArray& out)
{
    const commandLine::Outcome outcome = commandLine::Run(home, words);
    out = outcome.out.toUtf8();
    return outcome.code;
}
} // namespace

/// The partners answer without any server, as in the window; whoever has the port goes first.
void tst_sample::RunOverTheSample_data()
{
    QTest::addColumn<bool>("own");
    QTest::newRow("the program's own pages") << true;
    QTest::newRow("nginx") << false;
}

void tst_sample::RunOverTheSample()
{
    const QTemporaryDir folder;
    // The server gives up the rights of root and must still get at its pages.
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755)));
    const QString web = folder.filePath(u"web"_s);
    const QString home = folder.filePath(u"home"_s);
    QFETCH(const bool, own);
    std::optional<sampleServer> server;
    if (!own)
        server.emplace(web);
    QTRY_VERIFY2_WITH_TIMEOUT(own || QFile(web + u"/nginx.pid"_s).size() > 0 || !server->Running(), "no server",
                              commandLine::LimitMs);
    QVERIFY2(own || server->Running(), "The sample's server ended; is port 28480 taken?");

    QByteArray out;
    QCOMPARE(Run(home, {u"init"_s, u"--sample"_s}, out), 0);
    QCOMPARE(Run(home, {u"test"_s}, out), 1);
    const QByteArrayList log = out.split('\n');
    QVERIFY(log.first().startsWith("BEGIN LINK TEST SESSION - "));
    QCOMPARE(log.value(1), "  • Current site: Green Thumb Garden");
    QCOMPARE(log.value(2), "    • Searching Rosewood Nursery for a reference to Green Thumb Garden");
    QCOMPARE(log.value(3), "        Located a link to Green Thumb Garden on Rosewood Nursery");
    QCOMPARE(log.count("    • Unknown Error"), 4); // two partners answer 404 and 503, and one own page is gone for two
    QCOMPARE(log.count("    • The SMTP server connection was refused"), 1);
    QCOMPARE(log.count("    • Internet address not found"), 1);
    QVERIFY(log.value(log.size() - 2).startsWith("END LINK TEST SESSION - "));

    // Status and results of each link that was queued. A code that was set once counts for every later failure.
    struct Verdict
    {
        const char* title;
        int status;
        int results;
    };
    constexpr Verdict verdicts[] = {
        {"Rosewood Nursery", 2, 1},
        {"Hillside Garden Club", 2, 1},
        {"The Tool Shed", 2, 1},
        {"Tomato Time", 3, 4},
        {"Balcony Growers", 3, 128},
        {"Stone & Fern", 3, 128 + 8},
        {"Courtyard Plans", 1, 128 + 8 + 16 + 32},
        {"Bulb Basket", 3, 128 + 8 + 16 + 32},
        {"Allotment Diary", 3, 128 + 8 + 16 + 32},
        {"Seed Swap", 1, 256 + 8 + 16 + 32},
        {"Compost Corner", 2, 1},
        {"Wild Meadow Seeds", 2, 1},
        {"Greenhouse Guide", 3, 128 + 8 + 16 + 32},
        {"Kiln & Kettle", 3, 128 + 8 + 64 + 32},
        {"Glaze Notebook", 1, 128 + 8 + 64 + 32},
    };
    QCOMPARE(Run(home, {u"links"_s, u"--json"_s}, out), 0);
    QHash<QString, QJsonObject> links;
    const QJsonArray rows = QJsonDocument::fromJson(out).array();
    for (const QJsonValue& row : rows)
        links.insert(row[u"Title"_s].toString(), row.toObject());
    for (const Verdict& verdict : verdicts) {
        const QJsonObject link = links.value(QString::fromUtf8(verdict.title));
        QVERIFY2(link[u"Status"_s].toInt() == verdict.status && link[u"Results"_s].toInt() == verdict.results,
                 qPrintable(u"%1: status %2, results %3"_s.arg(QString::fromUtf8(verdict.title))
                                .arg(link[u"Status"_s].toInt())
                                .arg(link[u"Results"_s].toInt())));
        QVERIFY(link[u"TestQueue"_s].toInt() == 0);
    }
    if (own) {
        QCOMPARE(Run(home, {u"sample"_s, u"add"_s}, out), 2);
        QCOMPARE(Run(home, {u"sample"_s, u"remove"_s}, out), 0);
        QCOMPARE(Run(home, {u"sites"_s, u"--json"_s}, out), 0);
        QCOMPARE(out.simplified(), "[]");
        QCOMPARE(Run(home, {u"sample"_s, u"add"_s}, out), 0);
        return;
    }
    // The partners of one site offered to the other, which has some of them by other names.
    const QString page = u"http://www.oldmill.localhost:28480/links.html"_s;
    QCOMPARE(Run(home, {u"harvest"_s, u"Green Thumb Garden"_s, page, u"--add"_s, u"3,2"_s}, out), 0);
    QCOMPARE(out.count('\n'), 8);
    QVERIFY(out.startsWith("1. http://www.kiln.localhost:28480/\tpartner of Old Mill Pottery\n2. http://www.glazes."));
    QCOMPARE(Run(home, {u"harvest"_s, u"Green Thumb Garden"_s, page, u"--keep-own-host"_s}, out), 0);
    QVERIFY(out.startsWith("1. http://www.oldmill.localhost:28480/\n2. http://www.kiln."));
    QCOMPARE(out.count("\tpartner of this site, partner of Old Mill Pottery\n"), 2);

    // Nothing is left to test.
    QCOMPARE(Run(home, {u"test"_s}, out), 0);
    QVERIFY(out.contains("There are no links selected for testing."));
}

QTEST_GUILESS_MAIN(tst_sample)
#include "tst_sample.moc"
