// SPDX-License-Identifier: GPL-3.0-or-later
// The program as a shell meets it: words in, streams, exit code and records out.
#include "cli/clsConsoleDialogs.h"
#include "platform/clsDisk.h"
#include "platform/impl/modPlatformImpl.h"
#include "support/installation.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <csignal>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int StartLimitMs = 60000;

struct Outcome
{
    int code = -1;
    QString out;
    QString err;
    [[nodiscard]] QJsonArray Json() const { return QJsonDocument::fromJson(out.toUtf8()).array(); }
};

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

/// Words parted by blanks.
QStringList Words(const char* words)
{
    return QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts);
}

serverReply PageWith(const QByteArrayList& addresses)
{
    return serverReply::Page("<a href=\"" + addresses.join("\">there</a><a href=\"") + "\">there</a>");
}
} // namespace

class tst_cli : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_user; ///< a home folder of a user who has nothing yet
    std::unique_ptr<clsTestInstallation> m_installation;

    /// Starts the program with these words; the process is killed when the test leaves early.
    void Start(QProcess& process, const QStringList& words, const QStringList& variables = {}) const
    {
        const QRegularExpression unset(u"^(DISPLAY|WAYLAND_DISPLAY|QT_QPA_PLATFORM|BRAMBURY_|XDG_|HOME)"_s);
        QStringList environment = QProcess::systemEnvironment();
        environment.removeIf([&](const QString& variable) { return unset.match(variable).hasMatch(); });
        process.setEnvironment(environment + variables + QStringList{u"HOME="_s + m_user.path()});
        process.setStandardInputFile(QProcess::nullDevice());
        process.start(QStringLiteral(BRAMBURY_BINARY_DIR) + u"/bin/brambury"_s, words);
    }
    static Outcome Finish(QProcess& process)
    {
        if (!process.waitForFinished(StartLimitMs) || process.exitStatus() != QProcess::NormalExit)
            return {};
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    [[nodiscard]] Outcome Run(const QStringList& words, const QStringList& variables = {}) const
    {
        QProcess process;
        Start(process, words, variables);
        return Finish(process);
    }
    [[nodiscard]] QStringList In(const QString& home, const QStringList& words) const
    {
        return QStringList{u"--home"_s, home} + words;
    }
    /// Runs a command on the test's installation.
    [[nodiscard]] Outcome Here(const QStringList& words, const QStringList& variables = {}) const
    {
        return Run(In(m_installation->Folder(), words), variables);
    }
    [[nodiscard]] Outcome Here(const char* words) const { return Here(Words(words)); }
    void AddSite(const QString& site, const clsRecordValues& values = {}) const
    {
        clsTestInstallation::AddSite(*m_installation->Open(), site, values);
    }
    qint64 AddLink(const QString& site, const QString& title, const clsRecordValues& values = {}) const
    {
        return clsTestInstallation::AddLink(*m_installation->Open(), site, title, values);
    }
    [[nodiscard]] int LinkField(qint64 id, const QString& field) const
    {
        return clsTestInstallation::LinkField(*m_installation->Open(), id, field).toInt();
    }
    /// "x" for each link in the test queue, "." for the others.
    [[nodiscard]] QString Queue() const
    {
        QString flags;
        const auto opened = m_installation->Open();
        const auto links = opened->OpenRecordset(u"tblLinkList"_s);
        for (const auto& row : links->Rows(0, links->RecordCount(), {u"TestQueue"_s}))
            flags += row.at(0).toInt() != 0 ? u'x' : u'.';
        return flags;
    }

private Q_SLOTS:
    void init() { m_installation = std::make_unique<clsTestInstallation>(); }

    void WrongUsageSaysWhyAndNothingElse_data()
    {
        const testTable<QStringList, QString> row; // words, culprit
        row("unknown option", Words("sites --bogus"), u"--bogus"_s);
        row("unknown command", Words("frobnicate"), u"frobnicate"_s);
        row("group without command", Words("queue"), u"subcommand"_s);
        row("missing option", Words("queue test"), u"--status"_s);
        row("unknown status", Words("links --status active,brocken"), u"brocken"_s);
        row("two sites at once", Words("queue test --status active --site a --all-sites"), u"--site"_s);
        row("home without name", {u"sites"_s, u"--home"_s, u""_s}, u"--home"_s);
    }
    void WrongUsageSaysWhyAndNothingElse()
    {
        const auto [words, culprit] = testRow<QStringList, QString>();
        const Outcome outcome = Run(words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.err.count(u'\n'), 1);
        QVERIFY2(outcome.err.contains(culprit), qPrintable(outcome.err));
    }

    void HelpNeedsNoInstallation()
    {
        for (const char* command : {"", "test", "settings set"}) {
            const Outcome outcome = Run(Words(command) << u"--help"_s);
            QCOMPARE(outcome.code, 0);
            const QString usage = u"Usage: brambury %1"_s.arg(QLatin1String(command)).trimmed();
            QVERIFY2(outcome.out.contains(usage), qPrintable(outcome.out));
            QCOMPARE(outcome.err, QString());
        }
        QCOMPARE(Run({u"--version"_s}).out, u"Brambury " BRAMBURY_VERSION "\n"_s);
    }

    void InitLaysDownOnce()
    {
        const QString home = m_user.path() + u"/init/deep"_s;
        const QString database = home + u"/Data/Bramdat.mdb"_s;
        const auto run = [&](const char* words) { return Run(In(home, Words(words))); };
        const auto kept = [&] { return QDir(home + u"/Data"_s).entryList({u"Bramdat-*.mdb"_s}); };
        QCOMPARE(run("init").code, 0);
        for (const QString& name :
             Words("Musfall.wav Bramdat.hlp ssceam.tlx ssceam2.clx bramdat.tlx correct.tlx LinksPage.html"))
            QVERIFY2(QFile::exists(home + u'/' + name), qPrintable(name));
        QCOMPARE(run("sites --json").Json().size(), 0);
        const QByteArray empty = ReadFile(database);

        QCOMPARE(run("init --sample").code, 2);
        {
            const auto disk = modPlatformImpl::MakeDisk();
            const auto inUse = disk->Lock(home + u"/Data/Bramdat.use"_s, clsDisk::Share::Shared);
            QVERIFY(inUse);
            QCOMPARE(run("init --force").code, 4);
        }
        QCOMPARE(ReadFile(database), empty);

        // The word lists are the user's to change, the help text is not.
        const QByteArray help = ReadFile(home + u"/Bramdat.hlp"_s);
        WriteFile(home + u"/Bramdat.hlp"_s, help.left(1000));
        WriteFile(home + u"/bramdat.tlx"_s, "Brambury\n");
        QVERIFY(QFile::remove(home + u"/correct.tlx"_s));

        // What a killed program left unfinished belongs to the old file and goes with it.
        WriteFile(database + u"-journal"_s, "half a change");
        QCOMPARE(run("init --force --sample").code, 0);
        QCOMPARE(run("sites --json").Json().size(), 2);
        QCOMPARE(ReadFile(home + u"/Bramdat.hlp"_s), help);
        QCOMPARE(ReadFile(home + u"/bramdat.tlx"_s), QByteArray("Brambury\n"));
        QCOMPARE(ReadFile(home + u"/correct.tlx"_s), QByteArray());
        const QString old = kept().value(0);
        QVERIFY2(old.contains(QRegularExpression(u"^Bramdat-20\\d\\d-\\d\\d-\\d\\d-\\d{6}\\.mdb$"_s)), qPrintable(old));
        QCOMPARE(ReadFile(home + u"/Data/"_s + old), empty);
        QCOMPARE(ReadFile(home + u"/Data/"_s + old + u"-journal"_s), QByteArray("half a change"));

        // A second one within the same second must not write over the first.
        QCOMPARE(run("init --force").code, 0);
        QCOMPARE(run("init --force").code, 0);
        QCOMPARE(kept().size(), 3);
    }

    void TablesTellTheSameInEveryForm()
    {
        const QString title = u"A, \"quoted\"\r\ntitle \u00fc\u2022"_s;
        AddSite(u"Shop \"A\""_s);
        AddLink(u"Shop \"A\""_s, title, {{u"Comments"_s, u""_s}, {u"Results"_s, 12}});
        QStringList fields = m_installation->Open()->Fields(u"tblLinkList"_s);

        const QString csv = Here("links --csv").out;
        QVERIFY2(csv.startsWith(fields.join(u',') + u"\r\n"_s) && csv.endsWith(u"\r\n"_s), qPrintable(csv));
        QVERIFY2(csv.contains(u"\"Shop \"\"A\"\"\","_s), qPrintable(csv));
        QVERIFY2(csv.contains(u",\"A, \"\"quoted\"\"\r\ntitle \u00fc\u2022\","_s), qPrintable(csv));

        const QJsonObject record = Here("links --json").Json().at(0).toObject();
        fields.sort();
        QCOMPARE(record.keys(), fields);
        for (const auto& [field, value] : {std::pair(u"Title"_s, QJsonValue(title)),
                                           {u"SiteName"_s, u"Shop \"A\""_s},
                                           {u"Results"_s, 12},
                                           {u"Description"_s, QJsonValue::Null},
                                           {u"Comments"_s, u""_s}})
            QCOMPARE(record[field], value);

        const QString people = Here("links").out;
        QCOMPARE(people.count(u'\n'), 2);
        QVERIFY2(people.contains(u"A, \"quoted\"  title \u00fc\u2022  Active "_s), qPrintable(people));
        QCOMPARE(Here("templates --json").Json().size(), 8);
    }

    void TablesCanBeNarrowed()
    {
        for (const auto& [site, category] : {std::pair(u"Shop"_s, u"Tools"_s), {u"Club"_s, u"Games"_s}}) {
            AddSite(site);
            clsTestInstallation::AddCategory(*m_installation->Open(), site, category);
        }
        AddLink(u"Shop"_s, u"a"_s, {{u"Status"_s, 2}});
        AddLink(u"Shop"_s, u"b"_s, {{u"Status"_s, 3}});
        AddLink(u"Club"_s, u"c"_s, {{u"Status"_s, 3}});
        const auto column = [&](const char* words, const QString& name) {
            QString values;
            for (const QJsonValue& record : Here(Words(words) << u"--json"_s).Json())
                values += record[name].toString();
            return values;
        };
        QCOMPARE(column("links", u"Title"_s), u"abc"_s);
        QCOMPARE(column("links --site SHOP", u"Title"_s), u"ab"_s);
        QCOMPARE(column("links --status broken", u"Title"_s), u"bc"_s);
        QCOMPARE(column("links --site shop --status offer,Broken", u"Title"_s), u"b"_s);
        QCOMPARE(column("categories --site club", u"Category"_s), u"Games"_s);

        const Outcome unknown = Here("links --site Nowhere");
        QCOMPARE(unknown.code, 2);
        QCOMPARE(unknown.out + unknown.err, u"There is no site Nowhere.\n"_s);
    }

    void SettingsRoundTrip()
    {
        const auto set = [&](const QString& section, const QString& key, const QString& value) {
            return Here({u"settings"_s, u"set"_s, section, key, u"--"_s, value}).code;
        };
        QCOMPARE(Here("settings list").out, QString());
        QCOMPARE(Here("settings get General DataPath").out, m_installation->DataPath() + u'\n');
        QCOMPARE(Here("settings get Interface WindowTop").out, u"-1\n"_s);

        const QString signature = u"-- \r\nMe, \"myself\" = 100%, [a,b] \\n ;x  "_s;
        QCOMPARE(set(u"General"_s, u"DefaultSignatureBlock"_s, signature), 0);
        QCOMPARE(Here("settings get General DefaultSignatureBlock").out, QString(signature).remove(u'\r') + u'\n');
        QCOMPARE(set(u"General"_s, u"SoundComplete"_s, QString()), 0);
        QCOMPARE(Here("settings get General SoundComplete").out, u"\n"_s);
        QCOMPARE(set(u"LinkGrid"_s, u"*Status"_s, u"1200.5"_s), 0);
        QCOMPARE(set(u"Interface"_s, u"WindowTop"_s, u"-30"_s), 0);
        const QString listed = u"General/DefaultSignatureBlock=-- \\nMe, \"myself\" = 100%, [a,b] \\n ;x  \n"
                               "General/SoundComplete=\n"
                               "Interface/WindowTop=-30\n"
                               "LinkGrid/*Status=1200.5\n"_s;
        QCOMPARE(Here("settings list").out, listed);

        // Refused, and the store is as before.
        QCOMPARE(set(u"General"_s, u"DaysToReminder"_s, u"abc"_s), 2);
        QCOMPARE(set(u"General"_s, u"DefaultMailPort"_s, u"65536"_s), 2);
        QCOMPARE(set(u"General"_s, u"DaysToRemainder"_s, u"7"_s), 2);
        QCOMPARE(Here("settings get General Nothing").code, 2);
        QCOMPARE(Here("settings unset Nothing").code, 2);
        QCOMPARE(Here("settings list").out, listed);

        QCOMPARE(Here("settings unset Interface WindowTop").code, 0);
        QCOMPARE(Here("settings unset General").code, 0);
        QCOMPARE(Here("settings list").out, u"LinkGrid/*Status=1200.5\n"_s);

        // The variable names the folder as well, and the option goes before it.
        const clsTestInstallation other;
        const QStringList variable{u"BRAMBURY_HOME="_s + other.Folder()};
        const QStringList get = Words("settings get General DataPath");
        QCOMPARE(Run(get, variable).out, other.DataPath() + u'\n');
        QCOMPARE(Here(get, variable).out, m_installation->DataPath() + u'\n');
    }

    void CannotRun_data()
    {
        const testTable<QString, QStringList, QString> row; // trouble, words, error stream ("%1": the data folder)
        const QString missing = u"Brambury could not locate the database file %1Bramdat.mdb.\n"_s;
        row("no program folder", u"folder"_s, Words("sites"), missing);
        row("no program folder for settings", u"folder"_s, Words("settings set General Site x"), missing);
        row("no database", u"missing"_s, Words("test"), missing);
        row("only what a compact left", u"temporary"_s, Words("links"),
            missing + u"A compact or repair that did not end has left the database as %1_Bramdat.mdb.\n\n"
                      "Do you wish to put it back?\n-> No\n"_s);
        row("another kind of file", u"garbage"_s, Words("test"), u"*Error Number: \t3031\n*Module:     \tclsDAO\n*"_s);
        row("no connection", u"offline"_s, Words("test"), u"Could not establish a connected to the Internet.\n"_s);
        row("unknown site inside a run", u"orphan"_s, Words("test"),
            u"Could not locate information for site Gone.  Process aborted.\n"_s);
        row("no display", u"none"_s, {}, u"There is no display*\n"_s);
        row("a display that is gone", u"display"_s, {}, u"*\nThere is no display*\n"_s);
    }
    void CannotRun()
    {
        const auto [trouble, words, message] = testRow<QString, QStringList, QString>();
        const QString database = m_installation->DatabasePath();
        AddSite(u"Shop"_s);
        AddLink(trouble == u"orphan" ? u"Gone"_s : u"Shop"_s, u"a"_s, {{u"TestQueue"_s, 1}});
        if (trouble == u"folder")
            QVERIFY(QDir(m_installation->DataPath()).removeRecursively());
        else if (trouble == u"missing")
            QVERIFY(QFile::remove(database));
        else if (trouble == u"temporary")
            QVERIFY(QFile::rename(database, m_installation->DataPath() + u"_Bramdat.mdb"_s));
        else if (trouble == u"garbage")
            WriteFile(database, QByteArray("Standard Jet DB, or something else altogether. ").repeated(200));

        const QMap<QString, QString> variables{{u"offline"_s, u"BRAMBURY_OFFLINE=1"_s},
                                               {u"display"_s, u"DISPLAY=:9999"_s}};
        const Outcome outcome = Here(words, {variables.value(trouble)});
        QCOMPARE(outcome.code, 3);
        const QString expected = message.contains(u"%1"_s) ? message.arg(m_installation->DataPath()) : message;
        // "*" stands for anything.
        const QRegularExpression pattern(
            QRegularExpression::anchoredPattern(QRegularExpression::escape(expected).replace(u"\\*"_s, u".*"_s)),
            QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(pattern.match(outcome.err).hasMatch(), qPrintable(outcome.err));
        if (trouble == u"garbage")
            QVERIFY(ReadFile(m_installation->Folder() + u"/Error.log"_s).contains(R"(","3031",")"));
        if (trouble == u"temporary")
            QVERIFY(!QFile::exists(database));
        if (trouble == u"offline") {
            QVERIFY(outcome.out.contains(u"Could not establish a connection to the Internet.  Process aborted.\n"_s));
            QCOMPARE(Queue(), u"x"_s);
        }
    }

    void LockedOut()
    {
        AddSite(u"Shop"_s);
        AddLink(u"Shop"_s, u"a"_s, {{u"TestQueue"_s, 1}});
        const auto disk = modPlatformImpl::MakeDisk();
        {
            const auto run = disk->Lock(m_installation->DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
            const Outcome second = Here("test");
            QCOMPARE(second.code, 4);
            QVERIFY(second.out.isEmpty() && !second.err.isEmpty());
            QCOMPARE(Queue(), u"x"_s);
            QCOMPARE(Here("links").code, 0);
        }
        {
            const auto alone = disk->Lock(m_installation->DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive);
            for (const char* command : {"test", "links"}) {
                const Outcome outcome = Here(command);
                QCOMPARE(outcome.code, 4);
                QCOMPARE(outcome.err.count(u'\n'), 1);
            }
        }
        // An open window would write its own settings over ours.
        const auto window = modPlatformImpl::MakeInstance(m_installation->Folder(), {});
        QVERIFY(!window->PrevInstance());
        QCOMPARE(Here("settings set General Site Shop").code, 4);
        QCOMPARE(Here("settings unset General").code, 4);
        QCOMPARE(Here("settings list").out, QString());
        window->Release();
        QCOMPARE(Here("settings set General Site Shop").code, 0);
    }

    void LinkTestRun()
    {
        scriptedServer server;
        AddSite(u"garden"_s, {{u"SiteName"_s, u"The Garden"_s}, {u"LinkPage"_s, server.Url(u"/own.html"_s)}});
        const auto add = [&](const QString& name, int status) {
            return AddLink(u"garden"_s, name,
                           {{u"HomePage"_s, u"http://%1.example/"_s.arg(name)},
                            {u"LinkPage"_s, server.Url(u"/%1.html"_s.arg(name))},
                            {u"Status"_s, status},
                            {u"TestQueue"_s, 1}});
        };
        const qint64 good = add(u"Good"_s, 0);
        const qint64 bad = add(u"Bad"_s, 2);
        server.Answer("/own.html", PageWith({"http://good.example/", "http://bad.example/"}));
        server.Answer("/Good.html", PageWith({"http://www.mysite.example/"}));
        server.Answer("/Bad.html", PageWith({"http://elsewhere.example/"}));

        const Outcome first = Here("test");
        QCOMPARE(first.code, 1);
        QCOMPARE(first.err, QString());
        static const QRegularExpression when(u"[A-Z][a-z]+day, [A-Z][a-z]+ \\d+, 20\\d\\d at \\d\\d:\\d\\d [AP]M"_s);
        QCOMPARE(QString(first.out).replace(when, u"WHEN"_s), uR"(BEGIN LINK TEST SESSION - WHEN
  • Current site: The Garden
    • Searching Good for a reference to The Garden
        Located a link to The Garden on Good
    • Searching The Garden for a reference to Good
        Located a link to Good on The Garden
    • Searching Bad for a reference to The Garden
        Could not locate a link to The Garden on Bad
    • Searching The Garden for a reference to Bad
        Located a link to Bad on The Garden
END LINK TEST SESSION - WHEN
)"_s);
        QCOMPARE(LinkField(good, u"Status"_s), 2);
        QCOMPARE(LinkField(bad, u"Status"_s), 3);
        QCOMPARE(LinkField(bad, u"Results"_s), 4);

        const Outcome second = Here("test");
        QCOMPARE(second.code, 0);
        QCOMPARE(second.err, u"There are no links selected for testing.\n"_s);
        QVERIFY(second.out.contains(u"\n  \u2022 There are no links selected for testing.\nEND LINK TEST"_s));
    }

    void QueueAndSelectedSite()
    {
        const Outcome noSite = Here("queue test --status active");
        QCOMPARE(noSite.code, 2);
        QCOMPARE(noSite.err, u"There are no sites available.\n"_s);
        AddSite(u"Shop"_s);
        AddSite(u"Lenient"_s, {{u"TestForMyLinkAtRecipSite"_s, 0}, {u"TestForRecipLinkAtMySite"_s, 0}});
        for (const auto& site : {u"Shop"_s, u"Lenient"_s}) {
            for (int status = 0; status < 6; ++status)
                AddLink(site, u"link"_s, {{u"Status"_s, status}, {u"LinkPage"_s, u"nonsense://a/"_s}});
        }
        QCOMPARE(Here("queue test --status active,in-process").code, 0);
        QCOMPARE(Queue(), u".xx........."_s);
        QCOMPARE(Here("queue test --status declined --site lenient").code, 0);
        QCOMPARE(Queue(), u".xx........x"_s);
        QCOMPARE(Here("queue test --status offer,active --all-sites").code, 0);
        QCOMPARE(Queue(), u"xxx...x.x..x"_s);
        QCOMPARE(Here("queue test --status active,broken --all-sites --remove").out,
                 u"2 link(s) taken off the test queue.\n"_s);
        QCOMPARE(Queue(), u"xx....x....x"_s);

        // The run's switches are those of the selected site, whatever site a link belongs to.
        QCOMPARE(Here("test --site Unknown").code, 2);
        QCOMPARE(Here("test --site LENIENT").code, 0);
        QCOMPARE(Here("queue test --status active --all-sites").code, 0);
        QCOMPARE(Here("test").code, 1);
        QCOMPARE(Here("settings set General Site Lenient").code, 0);
        QCOMPARE(Here("queue test --status broken --all-sites").code, 0);
        QCOMPARE(Here("test").code, 0);
    }

    void SignalsAreTheStopButton_data()
    {
        const testTable<int> row;
        row("Ctrl-C", SIGINT);
        row("terminate", SIGTERM);
    }
    void SignalsAreTheStopButton()
    {
        const auto [number] = testRow<int>();
        scriptedServer server;
        AddSite(u"Shop"_s, {{u"TestForRecipLinkAtMySite"_s, 0}});
        for (const auto& name : {u"First"_s, u"Second"_s, u"Third"_s})
            AddLink(u"Shop"_s, name,
                    {{u"HomePage"_s, u"http://x.example/"_s},
                     {u"LinkPage"_s, server.Url(u'/' + name.toLower() + u".html"_s)},
                     {u"TestQueue"_s, 1}});
        server.Answer("/first.html", PageWith({"http://www.mysite.example/"}));
        server.Answer("/second.html", serverReply().Silent());

        QProcess process;
        Start(process, In(m_installation->Folder(), {u"test"_s}));
        // The line must be there, its end included, while the run still waits for the page.
        QByteArray log;
        const QByteArray awaited = "Searching Second for a reference to Shop\n";
        while (!log.contains(awaited) && process.waitForReadyRead(StartLimitMs))
            log += process.readAllStandardOutput();
        QVERIFY2(log.contains(awaited), log.constData());
        QTRY_COMPARE(server.Count("/second.html"), 1);

        QElapsedTimer clock;
        clock.start();
        QCOMPARE(::kill(static_cast<pid_t>(process.processId()), number), 0);
        const Outcome outcome = Finish(process);
        QCOMPARE(outcome.code, 5);
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(
            outcome.out.contains(u"  \u2022 Stop button was pressed.  Process aborted.\nEND LINK TEST SESSION - "_s));
        QCOMPARE(Queue(), u".xx"_s);
    }

    void QuestionsWithoutTerminal()
    {
        using enum clsDialogs::Buttons;
        using Answer = clsDialogs::Answer;
        // Whoever starts the tests by hand has a terminal.
        QVERIFY(std::freopen("/dev/null", "r", stdin));
        const auto ask = [](bool yes, clsDialogs::Buttons buttons) {
            return clsConsoleDialogs(yes).MsgBox(u"Really?"_s, buttons, clsDialogs::Icon::Question, {});
        };
        for (const bool yes : {false, true}) {
            QCOMPARE(ask(yes, YesNo), yes ? Answer::Yes : Answer::No);
            QCOMPARE(ask(yes, YesNoCancel), yes ? Answer::Yes : Answer::No);
            QCOMPARE(ask(yes, RetryCancel), Answer::Cancel);
        }
    }

    /// The system's own tools are stood in for: no test may touch the jobs of whoever runs it.
    void ScheduleInCrontabOrTimer()
    {
        const QString tools = m_user.path() + u"/tools/"_s;
        QVERIFY(QDir().mkpath(tools));
        const auto tool = [&](const QString& name, const QByteArray& script) {
            WriteFile(tools + name, "#!/bin/sh\nPATH=/bin:/usr/bin\ncd " + tools.toUtf8() + "\n" + script);
            QFile::setPermissions(tools + name, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        };
        const auto schedule = [&](const char* words) {
            return Here(Words("schedule") + Words(words), {u"PATH="_s + tools}).code;
        };
        const auto jobs = [&] { return QString::fromUtf8(ReadFile(tools + u"table"_s)).split(u'\n', Qt::SkipEmptyParts); };

        QCOMPARE(schedule("daily"), 3); // neither tool is there
        const QByteArray crontab = "if [ $1 = -l ]; then cat table; else cat > table; fi\n";
        tool(u"crontab"_s, crontab);
        WriteFile(tools + u"table"_s, "1 2 * * * mine\n");
        QCOMPARE(schedule("daily"), 0);
        QCOMPARE(schedule("weekly --at 6:05"), 0);
        QCOMPARE(jobs().size(), 2);
        QCOMPARE(jobs().first(), u"1 2 * * * mine"_s);
        QVERIFY2(jobs().last().startsWith(u"5 6 * * 1 '"_s) && jobs().last().contains(u"'schedule' 'run' # "_s),
                 qPrintable(jobs().last()));
        // A table that cannot be read is not written over.
        tool(u"crontab"_s, "if [ $1 = -l ]; then echo 'cannot open' >&2; exit 1; else cat > table; fi\n");
        QCOMPARE(schedule("off"), 3);
        QCOMPARE(jobs().size(), 2);
        tool(u"crontab"_s, crontab);

        // With a systemd the job moves there.
        tool(u"systemctl"_s, "echo \"$*\" >> said\n");
        QCOMPARE(schedule("weekly --at 6:05"), 0);
        QCOMPARE(jobs(), QStringList{u"1 2 * * * mine"_s});
        const QDir units(m_user.path() + u"/.config/systemd/user"_s);
        const QStringList made = units.entryList(QDir::Files, QDir::Name);
        QCOMPARE(made.size(), 2);
        QVERIFY(ReadFile(units.filePath(made[1])).contains("OnCalendar=Mon *-*-* 06:05:00\n"));
        QVERIFY(ReadFile(units.filePath(made[0])).contains("\" \"schedule\" \"run\"\n"));
        QVERIFY(ReadFile(tools + u"said"_s).endsWith("--user enable --now " + made[1].toUtf8() + '\n'));
        QCOMPARE(schedule("off"), 0);
        QVERIFY(units.entryList(QDir::Files).isEmpty());
    }

    void ScheduledRunTellsChanges()
    {
        AddSite(u"Shop"_s);
        AddLink(u"Shop"_s, u"Gone"_s, {{u"LinkPage"_s, u"http://127.0.0.1:1/a.html"_s}, {u"Results"_s, 1}});
        AddLink(u"Shop"_s, u"Declined"_s, {{u"Status"_s, 5}, {u"Results"_s, 1}});
        const QString file = m_installation->Folder() + u"/Changes.log"_s;
        QCOMPARE(Here("schedule run").code, 1);
        const QByteArray changes = ReadFile(file);
        QCOMPARE(changes.count("Fails now: Gone (Shop)  1: "), 1);
        QVERIFY(!changes.contains("Declined"));
        QVERIFY(Here("schedule run").out.endsWith(u"Nothing has changed since the last run.\n"_s));
        QCOMPARE(ReadFile(file), changes);
    }
};

QTEST_GUILESS_MAIN(tst_cli)
#include "tst_cli.moc"
