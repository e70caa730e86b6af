// SPDX-License-Identifier: GPL-3.0-or-later
// The program as a shell meets it: words in, streams, exit code and records out.
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "support/command_line.h"
#include "support/files.h"
#include "support/installation.h"
#include "support/scripted_server.h"
#include "support/table.h"

#include <QDir>
#include <QElapsedTimer>
#include <csignal>

using namespace Qt::Literals::StringLiterals;
using commandLine::Outcome;

namespace
{
/// Words parted by blanks.
QStringList Words(const char* words)
{
    return QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts);
}
} // namespace

class tst_cli : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_user; ///< a home folder of a user who has nothing yet
    std::unique_ptr<clsTestInstallation> m_installation;

    /// Runs a command on the test's installation.
    [[nodiscard]] Outcome Here(const QStringList& words, const QStringList& variables = {}) const
    {
        return commandLine::Run(m_installation->Folder(), words, {},
                                QStringList{u"HOME="_s + m_user.path()} + variables);
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
        row("unknown command", Words("frobnicate"), u"frobnicate"_s);
        row("group without command", Words("queue"), u"subcommand"_s);
        row("unknown status", Words("links --status active,brocken"), u"brocken"_s);
        row("two sites at once", Words("queue test --status active --site a --all-sites"), u"--site"_s);
        row("home without name", {u"sites"_s, u"--home"_s, u""_s}, u"--home"_s);
    }
    void WrongUsageSaysWhyAndNothingElse()
    {
        const auto [words, culprit] = testRow<QStringList, QString>();
        const Outcome outcome = Here(words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.err.count(u'\n'), 1);
        QVERIFY2(outcome.err.contains(culprit), qPrintable(outcome.err));
    }

    void HelpNeedsNoInstallation()
    {
        QProcess process;
        commandLine::Start(process, Words("settings set --help"), {u"HOME="_s + m_user.path()});
        const Outcome outcome = commandLine::Finish(process);
        QVERIFY2(outcome.code == 0 && outcome.out.contains(u"Usage: brambury settings set"_s), qPrintable(outcome.out));
        QCOMPARE(Here("--version").out, u"Brambury " BRAMBURY_VERSION "\n"_s);
    }

    void InitKeepsWhatIsTheUsers()
    {
        const QString home = m_user.path() + u"/init/deep"_s;
        const QString database = home + u"/Data/Bramdat.mdb"_s;
        const auto run = [&](const char* words) { return commandLine::Run(home, Words(words)).code; };
        const auto kept = [&] { return QDir(home + u"/Data"_s).entryList({u"Bramdat-*.mdb"_s}); };
        QCOMPARE(run("init"), 0);
        const QByteArray empty = ReadAll(database);
        QVERIFY(!empty.isEmpty());
        QCOMPARE(run("init --sample"), 2);
        {
            const auto disk = modPlatformImpl::MakeDisk();
            const auto inUse = disk->Lock(home + u"/Data/Bramdat.use"_s, clsDisk::Share::Shared);
            QVERIFY(inUse);
            QCOMPARE(run("init --force"), 4);
        }
        QVERIFY(ReadAll(database) == empty);

        // The word lists are the user's to change, the help text is not.
        const QByteArray help = ReadAll(home + u"/Bramdat.hlp"_s);
        WriteAll(home + u"/Bramdat.hlp"_s, help.left(1000));
        WriteAll(home + u"/bramdat.tlx"_s, "Brambury\n");
        QVERIFY(QFile::remove(home + u"/correct.tlx"_s));
        // What a killed program left unfinished belongs to the old file and goes with it.
        WriteAll(database + u"-journal"_s, "half a change");
        QCOMPARE(run("init --force --sample"), 0);
        QVERIFY(ReadAll(home + u"/Bramdat.hlp"_s) == help);
        QCOMPARE(ReadAll(home + u"/bramdat.tlx"_s), "Brambury\n");
        QVERIFY(QFile::exists(home + u"/correct.tlx"_s));
        const QString old = home + u"/Data/"_s + kept().value(0);
        QVERIFY2(commandLine::Fits(old, u"*/Bramdat-20*.mdb"_s), qPrintable(old));
        QVERIFY(ReadAll(old) == empty);
        QCOMPARE(ReadAll(old + u"-journal"_s), "half a change");
        // A second one within the same second must not write over the first.
        QCOMPARE(run("init --force") + run("init --force"), 0);
        QCOMPARE(kept().size(), 3);
    }

    void TablesTellTheSameInEveryForm()
    {
        const QString title = u"A, \"quoted\"\r\ntitle \u00fc\u2022"_s;
        AddSite(u"Shop \"A\""_s);
        AddLink(u"Shop \"A\""_s, title, {{u"Comments"_s, u""_s}, {u"Results"_s, 12}});
        AddLink(u"Other"_s, u"b"_s, {{u"Status"_s, 3}});
        const QStringList fields = m_installation->Open()->Fields(u"tblLinkList"_s);
        const QString csv = Here("links --csv").out;
        QVERIFY2(csv.startsWith(fields.join(u',') + u"\r\n"_s) && csv.endsWith(u"\r\n"_s), qPrintable(csv));
        QVERIFY2(csv.contains(u",\"A, \"\"quoted\"\"\r\ntitle \u00fc\u2022\","_s), qPrintable(csv));

        const QStringList narrowed{u"links"_s, u"--site"_s, u"SHOP \"A\""_s, u"--status"_s, u"offer,Active"_s};
        const QJsonArray json = Here(narrowed + QStringList{u"--json"_s}).Json();
        QCOMPARE(json.size(), 1);
        const QJsonObject record = json[0].toObject();
        QCOMPARE(record.size(), fields.size());
        for (const auto& [field, value] : {std::pair(u"Title"_s, QJsonValue(title)),
                                           {u"Results"_s, 12},
                                           {u"Description"_s, QJsonValue::Null},
                                           {u"Comments"_s, u""_s}})
            QCOMPARE(record[field], value);
        const QString people = Here(narrowed).out;
        QCOMPARE(people.count(u'\n'), 2);
        QVERIFY2(people.contains(u"A, \"quoted\"  title \u00fc\u2022  Active "_s), qPrintable(people));
    }

    void SettingsRoundTrip()
    {
        const auto set = [&](const QString& section, const QString& key, const QString& value) {
            return Here({u"settings"_s, u"set"_s, section, key, u"--"_s, value}).code;
        };
        QCOMPARE(Here("settings list").out, QString());
        QCOMPARE(Here("settings get General DataPath").out, m_installation->DataPath() + u'\n');

        const QString signature = u"-- \r\nMe, \"myself\" = 100%, [a,b] \\n ;x  "_s;
        QCOMPARE(set(u"General"_s, u"DefaultSignatureBlock"_s, signature), 0);
        QCOMPARE(Here("settings get General DefaultSignatureBlock").out, QString(signature).remove(u'\r') + u'\n');
        QCOMPARE(set(u"General"_s, u"SoundComplete"_s, QString()), 0);
        QCOMPARE(set(u"LinkGrid"_s, u"*Status"_s, u"1200.5"_s), 0);
        QCOMPARE(set(u"Interface"_s, u"WindowTop"_s, u"-30"_s), 0);
        const QString listed = u"General/DefaultSignatureBlock=-- \\nMe, \"myself\" = 100%, [a,b] \\n ;x  \n"
                               "General/SoundComplete=\n"
                               "Interface/WindowTop=-30\n"
                               "LinkGrid/*Status=1200.5\n"_s;
        QCOMPARE(Here("settings list").out, listed);

        // Refused, and the store is as before.
        for (const char* words : {"set General DaysToReminder abc", "set General DaysToRemainder 7", "unset Nothing"})
            QCOMPARE(Here(Words("settings") + Words(words)).code, 2);
        QCOMPARE(Here("settings list").out, listed);

        QCOMPARE(Here("settings unset Interface WindowTop").code, 0);
        QCOMPARE(Here("settings unset General").code, 0);
        QCOMPARE(Here("settings list").out, u"LinkGrid/*Status=1200.5\n"_s);

        // The variable names the folder as well, and the option goes before it.
        const clsTestInstallation other;
        const QStringList variable{u"BRAMBURY_HOME="_s + other.Folder()};
        const QStringList get = Words("settings get General DataPath");
        QProcess process;
        commandLine::Start(process, get, variable);
        QCOMPARE(commandLine::Finish(process).out, other.DataPath() + u'\n');
        QCOMPARE(Here(get, variable).out, m_installation->DataPath() + u'\n');
    }

    void CannotRun_data()
    {
        const testTable<QString, QStringList, QString> row; // trouble, words, error stream ("%1": the data folder)
        const QString missing = u"Brambury could not locate the database file %1Bramdat.mdb.\n"_s;
        row("no program folder", u"folder"_s, Words("settings set General Site x"), missing);
        row("only what a compact left", u"temporary"_s, Words("links"),
            missing + u"A compact or repair that did not end has left the database as %1_Bramdat.mdb.\n\n"
                      "Do you wish to put it back?\n-> No\n"_s);
        row("a question that has no Yes", {}, Words("--yes backup /no/such/folder"), u"*Number: 76\n-> Cancel\n"_s);
        row("no connection", u"offline"_s, Words("test"), u"Could not establish a connected to the Internet.\n"_s);
        row("no display", u"none"_s, {}, u"There is no display*\n"_s);
        row("a display that is gone", u"display"_s, {}, u"*\nThere is no display*\n"_s);
    }
    void CannotRun()
    {
        const auto [trouble, words, message] = testRow<QString, QStringList, QString>();
        const QString database = m_installation->DatabasePath();
        AddSite(u"Shop"_s);
        AddLink(u"Shop"_s, u"a"_s, {{u"TestQueue"_s, 1}});
        if (trouble == u"folder")
            QVERIFY(QDir(m_installation->DataPath()).removeRecursively());
        else if (trouble == u"temporary")
            QVERIFY(QFile::rename(database, m_installation->DataPath() + u"_Bramdat.mdb"_s));

        const QMap<QString, QString> variables{{u"offline"_s, u"BRAMBURY_OFFLINE=1"_s},
                                               {u"display"_s, u"DISPLAY=:9999"_s}};
        const Outcome outcome = Here(words, {variables.value(trouble)});
        QCOMPARE(outcome.code, 3);
        const QString expected = message.contains(u"%1"_s) ? message.arg(m_installation->DataPath()) : message;
        QVERIFY2(commandLine::Fits(outcome.err, expected), qPrintable(outcome.err));
        QVERIFY(trouble != u"temporary" || !QFile::exists(database));
    }

    void PicturesSayWhatStopsThem()
    {
        const auto refused = [this](const QString& folder, const QString& reason) {
            const Outcome outcome = Here({u"pictures"_s, folder});
            QCOMPARE(outcome.code, 3);
            QVERIFY2(outcome.err.contains(reason), qPrintable(outcome.err));
        };
        refused(u"/dev/null/folder"_s, u"Could not make the folder /dev/null/folder\n"_s);
        const QString folder = m_installation->Folder() + u"/pictures"_s;
        QVERIFY(QDir(folder).mkpath(u"main-light.png"_s));
        refused(folder, u"Could not write main-light.png\n"_s);
        // Nobody closes an error window there.
        QFile database(m_installation->DatabasePath());
        QVERIFY(database.open(QFile::WriteOnly) && database.write("no database") > 0);
        database.close();
        refused(folder, u"Error Number:"_s);
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

    void QueueAndSelectedSite()
    {
        QCOMPARE(Here("queue test --status active").err, u"There are no sites available.\n"_s);
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
        server.Answer("/first.html", serverReply::Page("<a href=http://www.mysite.example/>there</a>"));
        server.Answer("/second.html", serverReply().Silent());

        QProcess process;
        commandLine::Start(process, {u"--home"_s, m_installation->Folder(), u"test"_s});
        // The line must be there, its end included, while the run still waits for the page.
        QByteArray log;
        const QByteArray awaited = "Searching Second for a reference to Shop\n";
        while (!log.contains(awaited) && process.waitForReadyRead(commandLine::LimitMs))
            log += process.readAllStandardOutput();
        QVERIFY2(log.contains(awaited), log.constData());
        QTRY_COMPARE(server.Count("/second.html"), 1);

        QElapsedTimer clock;
        clock.start();
        QCOMPARE(::kill(static_cast<pid_t>(process.processId()), number), 0);
        const Outcome outcome = commandLine::Finish(process);
        QCOMPARE(outcome.code, 5);
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(
            outcome.out.contains(u"  \u2022 Stop button was pressed.  Process aborted.\nEND LINK TEST SESSION - "_s));
        QCOMPARE(Queue(), u".xx"_s);
    }

    /// The system's own tools are stood in for: no test may touch the jobs of whoever runs it.
    void ScheduleInCrontabOrTimer()
    {
        const QString tools = m_user.path() + u"/tools/"_s;
        QVERIFY(QDir().mkpath(tools));
        const auto tool = [&](const QString& name, const QByteArray& script) {
            WriteAll(tools + name, "#!/bin/sh\nPATH=/bin:/usr/bin\ncd " + tools.toUtf8() + "\n" + script);
            QFile::setPermissions(tools + name, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        };
        const auto schedule = [&](const char* words) {
            return Here(Words("schedule") + Words(words), {u"PATH="_s + tools}).code;
        };
        const auto jobs = [&] {
            return QString::fromUtf8(ReadAll(tools + u"table"_s)).split(u'\n', Qt::SkipEmptyParts);
        };

        QCOMPARE(schedule("daily"), 3); // neither tool is there
        const QByteArray crontab = "if [ $1 = -l ]; then cat table; else cat > table; fi\n";
        tool(u"crontab"_s, crontab);
        WriteAll(tools + u"table"_s, "1 2 * * * mine\n");
        QCOMPARE(schedule("daily"), 0);
        QCOMPARE(schedule("weekly --at 6:05"), 0);
        QCOMPARE(jobs().size(), 2);
        QCOMPARE(jobs().first(), u"1 2 * * * mine"_s);
        QVERIFY2(jobs().last().startsWith(u"5 * * * * '"_s) &&
                     jobs().last().contains(u"'schedule' 'run' '--due' 'weekly' '--at' '06:05' # Mon 06:05 # "_s),
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
        QVERIFY(ReadAll(units.filePath(made[1])).contains("OnCalendar=Mon *-*-* 06:05:00\n"));
        QVERIFY(ReadAll(units.filePath(made[0])).contains("\" \"schedule\" \"run\"\n"));
        QVERIFY(ReadAll(tools + u"said"_s).endsWith("--user enable --now " + made[1].toUtf8() + '\n'));
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
        const QByteArray changes = ReadAll(file);
        QCOMPARE(changes.count("Fails now: Gone (Shop)  1: "), 1);
        QVERIFY(!changes.contains("Declined"));
        QVERIFY(Here("schedule run").out.endsWith(u"Nothing has changed since the last run.\n"_s));
        // What was due is done with, until the next time comes; one that was missed since is made up for.
        QCOMPARE(Here("schedule run --due daily --at 00:00").out, QString());
        const QString settings = m_installation->Folder() + u"/Brambury.ini"_s;
        QString longAgo = QString::fromUtf8(ReadAll(settings));
        WriteAll(settings, longAgo.replace(QRegularExpression(u"(LastRun=\\D*)\\d{4}"_s), u"\\12020"_s).toUtf8());
        QVERIFY(!Here("schedule run --due weekly").out.isEmpty());
        QCOMPARE(Here("schedule run --due weekly").out, QString());
        QCOMPARE(ReadAll(file), changes);
    }
};

QTEST_GUILESS_MAIN(tst_cli)
#include "tst_cli.moc"
