// SPDX-License-Identifier: GPL-3.0-or-later
// The program as a shell meets it: words in, streams, exit code and records out.
#include "cli/clsConsoleDialogs.h"
#include "platform/clsDisk.h"
#include "platform/clsSettingsStore.h"
#include "platform/impl/modPlatformImpl.h"
#include "support/installation.h"
#include "support/scripted_server.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <csignal>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr int StartLimitMs = 60000;

struct Outcome
{
    int code = -1;
    QString out;
    QString err;
};

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

/// RFC 4180, as strictly as a spreadsheet: records end with CR LF, quotes only around whole fields.
QList<QStringList> ParseCsv(const QString& text)
{
    QList<QStringList> records;
    QStringList record;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar letter = text.at(i);
        if (quoted) {
            if (letter != u'"')
                field += letter;
            else if (text.mid(i + 1, 1) == u"\"")
                field += text.at(++i);
            else
                quoted = false;
        } else if (letter == u'"' && field.isEmpty()) {
            quoted = true;
        } else if (letter == u',') {
            record << std::exchange(field, {});
        } else if (letter == u'\r' && text.mid(i + 1, 1) == u"\n") {
            records << (record << std::exchange(field, {}));
            record.clear();
            ++i;
        } else {
            field += letter;
        }
    }
    return records;
}

QByteArray PageWith(const QStringList& addresses)
{
    QByteArray page = "<html><body>";
    for (const QString& address : addresses)
        page += "<a href=\"" + address.toUtf8() + "\">there</a>";
    return page + "</body></html>";
}
} // namespace

class tstCli : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_user; ///< a home folder of a user who has nothing yet

    [[nodiscard]] QString Fresh(const QString& name) const { return m_user.path() + u'/' + name; }
    [[nodiscard]] QProcessEnvironment Environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const auto& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s, u"BRAMBURY_HOME"_s,
                                 u"BRAMBURY_OFFLINE"_s, u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s})
            environment.remove(name);
        environment.insert(u"HOME"_s, m_user.path());
        return environment;
    }
    /// A process that is killed when the test leaves early.
    void Start(QProcess& process, const QStringList& words, const QHash<QString, QString>& variables = {}) const
    {
        QProcessEnvironment environment = Environment();
        for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
            environment.insert(variable.key(), variable.value());
        process.setProcessEnvironment(environment);
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
    [[nodiscard]] Outcome Run(const QStringList& words, const QHash<QString, QString>& variables = {}) const
    {
        QProcess process;
        Start(process, words, variables);
        return Finish(process);
    }
    [[nodiscard]] static QStringList In(const QString& home, const QStringList& words)
    {
        return QStringList{u"--home"_s, home} + words;
    }

private Q_SLOTS:
    void WrongUsageSaysWhyAndNothingElse_data();
    void WrongUsageSaysWhyAndNothingElse();
    void HelpNeedsNoInstallation();
    void InitLaysDownOnce();
    void TablesTellTheSameInEveryForm();
    void TablesCanBeNarrowed();
    void SettingsRoundTrip();
    void OpenWindowKeepsItsSettings();
    void CannotRun_data();
    void CannotRun();
    void LockedOut();
    void LinkTestRun();
    void LinkTestOfSelectedSite();
    void QueueByStatus();
    void SignalsAreTheStopButton_data();
    void SignalsAreTheStopButton();
    void LostOutputIsAnError();
    void QuestionsWithoutTerminal();
};

void tstCli::WrongUsageSaysWhyAndNothingElse_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("culprit");
    QTest::newRow("unknown option") << QStringList{u"sites"_s, u"--bogus"_s} << u"--bogus"_s;
    QTest::newRow("unknown command") << QStringList{u"frobnicate"_s} << u"frobnicate"_s;
    QTest::newRow("group without command") << QStringList{u"queue"_s} << u"subcommand"_s;
    QTest::newRow("missing option") << QStringList{u"queue"_s, u"test"_s} << u"--status"_s;
    QTest::newRow("unknown status") << QStringList{u"links"_s, u"--status"_s, u"active,brocken"_s} << u"brocken"_s;
    QTest::newRow("option without value") << QStringList{u"links"_s, u"--site"_s} << u"--site"_s;
    QTest::newRow("two sites at once") << QStringList{u"queue"_s,  u"test"_s, u"--status"_s,   u"active"_s,
                                                      u"--site"_s, u"a"_s,    u"--all-sites"_s}
                                       << u"--site"_s;
    QTest::newRow("two forms at once") << QStringList{u"sites"_s, u"--csv"_s, u"--json"_s} << u"--csv"_s;
    QTest::newRow("setting without key") << QStringList{u"settings"_s, u"get"_s, u"General"_s} << u"key"_s;
    QTest::newRow("home without name") << QStringList{u"sites"_s, u"--home"_s, QString()} << u"--home"_s;
}

void tstCli::WrongUsageSaysWhyAndNothingElse()
{
    QFETCH(QStringList, words);
    QFETCH(QString, culprit);
    const Outcome outcome = Run(words);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.err.count(u'\n'), 1);
    QVERIFY2(outcome.err.contains(culprit), qPrintable(outcome.err));
}

void tstCli::HelpNeedsNoInstallation()
{
    const QList<QStringList> commands{
        {},           {u"init"_s},       {u"test"_s},      {u"queue"_s},    {u"queue"_s, u"test"_s},   {u"sites"_s},
        {u"links"_s}, {u"categories"_s}, {u"templates"_s}, {u"settings"_s}, {u"settings"_s, u"set"_s}, {u"pictures"_s}};
    for (const QStringList& command : commands) {
        const Outcome outcome = Run(QStringList(command) << u"--help"_s);
        QCOMPARE(outcome.code, 0);
        const QString usage = (QStringList{u"Usage: brambury"_s} + command).join(u' ');
        QVERIFY2(outcome.out.contains(usage), qPrintable(outcome.out));
        QCOMPARE(outcome.err, QString());
    }
    QCOMPARE(Run({u"--version"_s}).out, u"Brambury " BRAMBURY_VERSION "\n"_s);
}

void tstCli::InitLaysDownOnce()
{
    const QString home = Fresh(u"init/deep"_s);
    const QString database = home + u"/Data/Bramdat.mdb"_s;
    QCOMPARE(Run(In(home, {u"init"_s})).code, 0);
    QVERIFY(QFile::exists(home + u"/Musfall.wav"_s));
    QCOMPARE(QJsonDocument::fromJson(Run(In(home, {u"sites"_s, u"--json"_s})).out.toUtf8()).array().size(), 0);
    const QByteArray empty = ReadFile(database);

    const Outcome refused = Run(In(home, {u"init"_s, u"--sample"_s}));
    QCOMPARE(refused.code, 2);
    QCOMPARE(refused.out, QString());
    QCOMPARE(ReadFile(database), empty);

    const auto disk = modPlatformImpl::MakeDisk();
    {
        const auto inUse = disk->Lock(home + u"/Data/Bramdat.use"_s, clsDisk::Share::Shared);
        QVERIFY(inUse);
        QCOMPARE(Run(In(home, {u"init"_s, u"--force"_s})).code, 4);
        QCOMPARE(ReadFile(database), empty);
    }

    // What a killed program left unfinished belongs to the old file and goes with it.
    WriteFile(database + u"-journal"_s, "half a change");
    QCOMPARE(Run(In(home, {u"init"_s, u"--force"_s, u"--sample"_s})).code, 0);
    QCOMPARE(QJsonDocument::fromJson(Run(In(home, {u"sites"_s, u"--json"_s})).out.toUtf8()).array().size(), 2);
    const QStringList kept = QDir(home + u"/Data"_s).entryList({u"Bramdat-*.mdb"_s});
    QCOMPARE(kept.size(), 1);
    QVERIFY2(QRegularExpression(u"^Bramdat-20\\d\\d-\\d\\d-\\d\\d-\\d{6}\\.mdb$"_s).match(kept.at(0)).hasMatch(),
             qPrintable(kept.at(0)));
    QCOMPARE(ReadFile(home + u"/Data/"_s + kept.at(0)), empty);
    QCOMPARE(ReadFile(home + u"/Data/"_s + kept.at(0) + u"-journal"_s), QByteArray("half a change"));

    // A second one within the same second must not write over the first.
    QCOMPARE(Run(In(home, {u"init"_s, u"--force"_s})).code, 0);
    QCOMPARE(Run(In(home, {u"init"_s, u"--force"_s})).code, 0);
    QCOMPARE(QDir(home + u"/Data"_s).entryList({u"Bramdat-*.mdb"_s}).size(), 3);
}

void tstCli::TablesTellTheSameInEveryForm()
{
    const clsTestInstallation installation;
    const QString title = u"A, \"quoted\"\r\ntitle \u00fc\u2022"_s;
    QStringList fields;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop \"A\""_s);
        clsTestInstallation::AddLink(*opened, u"Shop \"A\""_s, title,
                                     {{u"Comments"_s, QString(u""_s)}, {u"Results"_s, 12}});
        fields = opened->Fields(u"tblLinkList"_s);
    }
    const Outcome json = Run(In(installation.Folder(), {u"links"_s, u"--json"_s}));
    QCOMPARE(json.code, 0);
    const QJsonArray records = QJsonDocument::fromJson(json.out.toUtf8()).array();
    QCOMPARE(records.size(), 1);
    const QJsonObject record = records.at(0).toObject();
    QCOMPARE(QStringList(record.keys()), [&] {
        QStringList sorted = fields;
        sorted.sort();
        return sorted;
    }());
    QCOMPARE(record[u"Title"_s], QJsonValue(title));
    QCOMPARE(record[u"SiteName"_s], QJsonValue(u"Shop \"A\""_s));
    QCOMPARE(record[u"Results"_s], QJsonValue(12));
    QCOMPARE(record[u"Status"_s], QJsonValue(2));
    QVERIFY(record[u"Description"_s].isNull());
    QCOMPARE(record[u"Comments"_s], QJsonValue(u""_s));

    const Outcome csv = Run(In(installation.Folder(), {u"links"_s, u"--csv"_s}));
    QCOMPARE(csv.code, 0);
    const QList<QStringList> lines = ParseCsv(csv.out);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), fields);
    QCOMPARE(lines.at(1).value(fields.indexOf(u"Title"_s)), title);
    QCOMPARE(lines.at(1).value(fields.indexOf(u"Results"_s)), u"12"_s);

    const Outcome people = Run(In(installation.Folder(), {u"links"_s}));
    QCOMPARE(people.code, 0);
    QCOMPARE(people.out.count(u'\n'), 2);
    QVERIFY2(people.out.contains(u"A, \"quoted\"  title \u00fc\u2022  Active "_s), qPrintable(people.out));

    const QJsonArray templates =
        QJsonDocument::fromJson(Run(In(installation.Folder(), {u"templates"_s, u"--json"_s})).out.toUtf8()).array();
    QCOMPARE(templates.size(), 8);
    QVERIFY(!templates.at(0).toObject()[u"Body"_s].toString().isEmpty());
}

void tstCli::TablesCanBeNarrowed()
{
    const clsTestInstallation installation;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s);
        clsTestInstallation::AddSite(*opened, u"Club"_s);
        clsTestInstallation::AddLink(*opened, u"Shop"_s, u"a"_s, {{u"Status"_s, 2}});
        clsTestInstallation::AddLink(*opened, u"Shop"_s, u"b"_s, {{u"Status"_s, 3}});
        clsTestInstallation::AddLink(*opened, u"Club"_s, u"c"_s, {{u"Status"_s, 3}});
        clsTestInstallation::AddCategory(*opened, u"Shop"_s, u"Tools"_s);
        clsTestInstallation::AddCategory(*opened, u"Club"_s, u"Games"_s);
    }
    const auto column = [&](const QStringList& words, const QString& name) {
        QStringList values;
        const Outcome outcome = Run(In(installation.Folder(), QStringList(words) << u"--json"_s));
        const QJsonArray records = QJsonDocument::fromJson(outcome.out.toUtf8()).array();
        for (const QJsonValue& record : records)
            values << record[name].toString();
        return values.join(u' ');
    };
    QCOMPARE(column({u"links"_s}, u"Title"_s), u"a b c"_s);
    QCOMPARE(column({u"links"_s, u"--site"_s, u"SHOP"_s}, u"Title"_s), u"a b"_s);
    QCOMPARE(column({u"links"_s, u"--status"_s, u"broken"_s}, u"Title"_s), u"b c"_s);
    QCOMPARE(column({u"links"_s, u"--site"_s, u"shop"_s, u"--status"_s, u"offer,Broken"_s}, u"Title"_s), u"b"_s);
    QCOMPARE(column({u"categories"_s}, u"Category"_s), u"Tools Games"_s);
    QCOMPARE(column({u"categories"_s, u"--site"_s, u"club"_s}, u"SiteID"_s), u"Club"_s);

    const Outcome unknown = Run(In(installation.Folder(), {u"links"_s, u"--site"_s, u"Nowhere"_s}));
    QCOMPARE(unknown.code, 2);
    QCOMPARE(unknown.out, QString());
    QCOMPARE(unknown.err, u"There is no site Nowhere.\n"_s);
}

void tstCli::SettingsRoundTrip()
{
    const clsTestInstallation installation;
    const QString home = installation.Folder();
    const auto get = [&](const QString& section, const QString& key) {
        return Run(In(home, {u"settings"_s, u"get"_s, section, key})).out;
    };
    const auto set = [&](const QString& section, const QString& key, const QString& value) {
        return Run(In(home, {u"settings"_s, u"set"_s, section, key, u"--"_s, value})).code;
    };
    QCOMPARE(Run(In(home, {u"settings"_s, u"list"_s})).out, QString());
    QCOMPARE(get(u"General"_s, u"DataPath"_s), installation.DataPath() + u'\n');
    QCOMPARE(get(u"Interface"_s, u"WindowTop"_s), u"-1\n"_s);

    const QString signature = u"-- \r\nMe, \"myself\" = 100%, [a,b] \\n ;x  "_s;
    QCOMPARE(set(u"General"_s, u"DefaultSignatureBlock"_s, signature), 0);
    QCOMPARE(get(u"General"_s, u"DefaultSignatureBlock"_s), QString(signature).replace(u"\r\n"_s, u"\n"_s) + u'\n');
    QCOMPARE(set(u"General"_s, u"SoundComplete"_s, QString()), 0);
    QCOMPARE(get(u"General"_s, u"SoundComplete"_s), u"\n"_s);
    QCOMPARE(set(u"LinkGrid"_s, u"*Status"_s, u"1200.5"_s), 0);
    QCOMPARE(set(u"Interface"_s, u"WindowTop"_s, u"-30"_s), 0);
    QCOMPARE(Run(In(home, {u"settings"_s, u"list"_s})).out,
             u"General/DefaultSignatureBlock=-- \\nMe, \"myself\" = 100%, [a,b] \\n ;x  \n"
             "General/SoundComplete=\n"
             "Interface/WindowTop=-30\n"
             "LinkGrid/*Status=1200.5\n"_s);

    // Refused, and the store is as before.
    QCOMPARE(set(u"General"_s, u"DaysToReminder"_s, u"abc"_s), 2);
    QCOMPARE(set(u"General"_s, u"DefaultMailPort"_s, u"65536"_s), 2);
    QCOMPARE(set(u"General"_s, u"DaysToRemainder"_s, u"7"_s), 2);
    QCOMPARE(Run(In(home, {u"settings"_s, u"get"_s, u"General"_s, u"Nothing"_s})).code, 2);
    QCOMPARE(Run(In(home, {u"settings"_s, u"unset"_s, u"Nothing"_s})).code, 2);
    QCOMPARE(get(u"General"_s, u"DaysToReminder"_s), u"7\n"_s);

    QCOMPARE(Run(In(home, {u"settings"_s, u"unset"_s, u"Interface"_s, u"WindowTop"_s})).code, 0);
    QCOMPARE(get(u"Interface"_s, u"WindowTop"_s), u"-1\n"_s);
    QCOMPARE(Run(In(home, {u"settings"_s, u"unset"_s, u"General"_s})).code, 0);
    QCOMPARE(Run(In(home, {u"settings"_s, u"list"_s})).out, u"LinkGrid/*Status=1200.5\n"_s);

    // The variable names the folder as well, and the option goes before it.
    const clsTestInstallation other;
    const QHash<QString, QString> variable{{u"BRAMBURY_HOME"_s, other.Folder()}};
    QCOMPARE(Run({u"settings"_s, u"get"_s, u"General"_s, u"DataPath"_s}, variable).out, other.DataPath() + u'\n');
    QCOMPARE(Run(In(home, {u"settings"_s, u"get"_s, u"General"_s, u"DataPath"_s}), variable).out,
             installation.DataPath() + u'\n');
}

void tstCli::OpenWindowKeepsItsSettings()
{
    const clsTestInstallation installation;
    const auto window = modPlatformImpl::MakeInstance(installation.Folder(), {});
    QVERIFY(!window->PrevInstance());
    const QStringList set{u"settings"_s, u"set"_s, u"General"_s, u"Site"_s, u"Shop"_s};
    QCOMPARE(Run(In(installation.Folder(), set)).code, 4);
    QCOMPARE(Run(In(installation.Folder(), {u"settings"_s, u"unset"_s, u"General"_s})).code, 4);
    QCOMPARE(Run(In(installation.Folder(), {u"settings"_s, u"list"_s})).out, QString());
    window->Release();
    QCOMPARE(Run(In(installation.Folder(), set)).code, 0);
}

void tstCli::CannotRun_data()
{
    QTest::addColumn<QString>("trouble");
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message"); // %1 is the data folder
    const QString missing = u"Brambury could not locate the database file %1Bramdat.mdb.\n"_s;
    QTest::newRow("no program folder") << u"folder"_s << QStringList{u"sites"_s} << missing;
    QTest::newRow("no program folder for settings")
        << u"folder"_s << QStringList{u"settings"_s, u"set"_s, u"General"_s, u"Site"_s, u"x"_s} << missing;
    QTest::newRow("no database") << u"missing"_s << QStringList{u"test"_s} << missing;
    QTest::newRow("only what a compact left")
        << u"temporary"_s << QStringList{u"links"_s} << missing + u"\n*%1_Bramdat.mdb*Bramdat.mdb*\n"_s;
    QTest::newRow("another kind of file")
        << u"garbage"_s << QStringList{u"test"_s} << u"*Error Number: \t3031\n*Module:     \tclsDAO\n*"_s;
    QTest::newRow("a truncated file") << u"truncated"_s << QStringList{u"sites"_s} << u"*Error Number: \t*"_s;
    QTest::newRow("no connection") << u"offline"_s << QStringList{u"test"_s}
                                   << u"Could not establish a connected to the Internet.\n"_s;
    QTest::newRow("unknown site inside a run") << u"orphan"_s << QStringList{u"test"_s}
                                               << u"Could not locate information for site Gone.  Process aborted.\n"_s;
    QTest::newRow("no display") << u"none"_s << QStringList{} << u"There is no display*\n"_s;
    QTest::newRow("a display that is gone") << u"display"_s << QStringList{} << u"*\nThere is no display*\n"_s;
}

void tstCli::CannotRun()
{
    QFETCH(QString, trouble);
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    const clsTestInstallation installation;
    const QString database = installation.DatabasePath();
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s);
        clsTestInstallation::AddLink(*opened, trouble == u"orphan" ? u"Gone"_s : u"Shop"_s, u"a"_s,
                                     {{u"TestQueue"_s, 1}});
    }
    if (trouble == u"folder")
        QVERIFY(QDir(installation.DataPath()).removeRecursively());
    else if (trouble == u"missing")
        QVERIFY(QFile::remove(database));
    else if (trouble == u"temporary")
        QVERIFY(QFile::rename(database, installation.DataPath() + u"_Bramdat.mdb"_s));
    else if (trouble == u"garbage")
        WriteFile(database, QByteArray("Standard Jet DB, or something else altogether. ").repeated(200));
    else if (trouble == u"truncated")
        WriteFile(database, ReadFile(database).left(1500));

    QHash<QString, QString> variables;
    if (trouble == u"offline")
        variables.insert(u"BRAMBURY_OFFLINE"_s, u"1"_s);
    if (trouble == u"display")
        variables.insert(u"DISPLAY"_s, u":9999"_s);
    const Outcome outcome = Run(In(installation.Folder(), words), variables);
    QCOMPARE(outcome.code, 3);
    const QString expected = message.contains(u"%1"_s) ? message.arg(installation.DataPath()) : message;
    // "*" stands for anything.
    const QRegularExpression pattern(
        QRegularExpression::anchoredPattern(QRegularExpression::escape(expected).replace(u"\\*"_s, u".*"_s)),
        QRegularExpression::DotMatchesEverythingOption);
    QVERIFY2(pattern.match(outcome.err).hasMatch(), qPrintable(outcome.err));
    if (trouble == u"garbage")
        QVERIFY(ReadFile(installation.Folder() + u"/Error.log"_s).contains(R"(","3031",")"));
    if (trouble == u"temporary")
        QVERIFY(!QFile::exists(database));
    if (trouble == u"offline") {
        QVERIFY(outcome.out.contains(u"Could not establish a connection to the Internet.  Process aborted.\n"_s));
        QCOMPARE(clsTestInstallation::LinkField(*installation.Open(), 1, u"TestQueue"_s).toInt(), 1);
    }
}

void tstCli::LockedOut()
{
    const clsTestInstallation installation;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s);
        clsTestInstallation::AddLink(*opened, u"Shop"_s, u"a"_s, {{u"TestQueue"_s, 1}});
    }
    const auto disk = modPlatformImpl::MakeDisk();
    {
        const auto run = disk->Lock(installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
        const Outcome second = Run(In(installation.Folder(), {u"test"_s}));
        QCOMPARE(second.code, 4);
        QCOMPARE(second.out, QString());
        QVERIFY(!second.err.isEmpty());
        QCOMPARE(clsTestInstallation::LinkField(*installation.Open(), 1, u"TestQueue"_s).toInt(), 1);
        QCOMPARE(Run(In(installation.Folder(), {u"links"_s})).code, 0);
    }
    const auto alone = disk->Lock(installation.DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive);
    for (const auto& command : {u"test"_s, u"links"_s}) {
        const Outcome outcome = Run(In(installation.Folder(), {command}));
        QCOMPARE(outcome.code, 4);
        QCOMPARE(outcome.err.count(u'\n'), 1);
    }
}

void tstCli::LinkTestRun()
{
    scriptedServer server;
    const clsTestInstallation installation;
    qint64 good = 0;
    qint64 bad = 0;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"garden"_s,
                                     {{u"SiteName"_s, u"The Garden"_s}, {u"LinkPage"_s, server.Url(u"/own.html"_s)}});
        good = clsTestInstallation::AddLink(*opened, u"garden"_s, u"Good"_s,
                                            {{u"HomePage"_s, u"http://good.example/"_s},
                                             {u"LinkPage"_s, server.Url(u"/good.html"_s)},
                                             {u"Status"_s, 0},
                                             {u"TestQueue"_s, 1}});
        bad = clsTestInstallation::AddLink(*opened, u"garden"_s, u"Bad"_s,
                                           {{u"HomePage"_s, u"http://bad.example/"_s},
                                            {u"LinkPage"_s, server.Url(u"/bad.html"_s)},
                                            {u"TestQueue"_s, 1}});
    }
    server.Answer("/own.html", serverReply::Page(PageWith({u"http://good.example/"_s, u"http://bad.example/"_s})));
    server.Answer("/good.html", serverReply::Page(PageWith({u"http://www.mysite.example/"_s})));
    server.Answer("/bad.html", serverReply::Page(PageWith({u"http://elsewhere.example/"_s})));

    const Outcome first = Run(In(installation.Folder(), {u"test"_s}));
    QCOMPARE(first.code, 1);
    QCOMPARE(first.err, QString());
    const QString when = u"[A-Z][a-z]+day, [A-Z][a-z]+ \\d+, 20\\d\\d at \\d\\d:\\d\\d [AP]M"_s;
    const QStringList lines = first.out.split(u'\n');
    QVERIFY2(QRegularExpression(u"^BEGIN LINK TEST SESSION - "_s + when + u'$').match(lines.first()).hasMatch(),
             qPrintable(first.out));
    QVERIFY2(
        QRegularExpression(u"^END LINK TEST SESSION - "_s + when + u'$').match(lines.at(lines.size() - 2)).hasMatch(),
        qPrintable(first.out));
    QCOMPARE(lines.mid(1, lines.size() - 3), (QStringList{u"  \u2022 Current site: The Garden"_s,
                                                          u"    \u2022 Searching Good for a reference to The Garden"_s,
                                                          u"        Located a link to The Garden on Good"_s,
                                                          u"    \u2022 Searching The Garden for a reference to Good"_s,
                                                          u"        Located a link to Good on The Garden"_s,
                                                          u"    \u2022 Searching Bad for a reference to The Garden"_s,
                                                          u"        Could not locate a link to The Garden on Bad"_s,
                                                          u"    \u2022 Searching The Garden for a reference to Bad"_s,
                                                          u"        Located a link to Bad on The Garden"_s}));
    QCOMPARE(lines.last(), QString());
    {
        const auto opened = installation.Open();
        QCOMPARE(clsTestInstallation::LinkField(*opened, good, u"Status"_s).toInt(), 2);
        QCOMPARE(clsTestInstallation::LinkField(*opened, good, u"Results"_s).toInt(), 1);
        QCOMPARE(clsTestInstallation::LinkField(*opened, bad, u"Status"_s).toInt(), 3);
        QCOMPARE(clsTestInstallation::LinkField(*opened, bad, u"Results"_s).toInt(), 4);
    }

    const Outcome second = Run(In(installation.Folder(), {u"test"_s}));
    QCOMPARE(second.code, 0);
    QCOMPARE(second.err, u"There are no links selected for testing.\n"_s);
    QVERIFY(second.out.contains(u"\n  \u2022 There are no links selected for testing.\nEND LINK TEST"_s));
}

void tstCli::LinkTestOfSelectedSite()
{
    // The switches are those of the selected site, whatever site a link belongs to.
    const clsTestInstallation installation;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Strict"_s);
        clsTestInstallation::AddSite(*opened, u"Lenient"_s,
                                     {{u"TestForMyLinkAtRecipSite"_s, 0}, {u"TestForRecipLinkAtMySite"_s, 0}});
        clsTestInstallation::AddLink(*opened, u"Strict"_s, u"a"_s,
                                     {{u"LinkPage"_s, u"nonsense://a/"_s}, {u"TestQueue"_s, 1}});
    }
    const QString home = installation.Folder();
    QCOMPARE(Run(In(home, {u"test"_s, u"--site"_s, u"Unknown"_s})).code, 2);
    QCOMPARE(Run(In(home, {u"test"_s, u"--site"_s, u"LENIENT"_s})).code, 0);
    const QStringList again{u"queue"_s, u"test"_s, u"--status"_s, u"active,broken"_s, u"--all-sites"_s};
    QCOMPARE(Run(In(home, again)).code, 0);
    QCOMPARE(Run(In(home, {u"test"_s})).code, 1);
    QCOMPARE(Run(In(home, again)).code, 0);
    QCOMPARE(Run(In(home, {u"settings"_s, u"set"_s, u"General"_s, u"Site"_s, u"Lenient"_s})).code, 0);
    QCOMPARE(Run(In(home, {u"test"_s})).code, 0);
}

void tstCli::QueueByStatus()
{
    const clsTestInstallation installation;
    const QString home = installation.Folder();
    const Outcome noSite = Run(In(home, {u"queue"_s, u"test"_s, u"--status"_s, u"active"_s}));
    QCOMPARE(noSite.code, 2);
    QCOMPARE(noSite.err, u"There are no sites available.\n"_s);
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s);
        clsTestInstallation::AddSite(*opened, u"Club"_s);
        for (const auto& site : {u"Shop"_s, u"Club"_s}) {
            for (int status = 0; status < 6; ++status)
                clsTestInstallation::AddLink(*opened, site, u"link"_s, {{u"Status"_s, status}});
        }
    }
    const auto queued = [&] {
        QString flags;
        const auto opened = installation.Open();
        const auto links = opened->OpenRecordset(u"tblLinkList"_s);
        for (const auto& row : links->Rows(0, links->RecordCount(), {u"TestQueue"_s}))
            flags += row.at(0).toInt() != 0 ? u'x' : u'.';
        return flags;
    };
    QCOMPARE(Run(In(home, {u"queue"_s, u"test"_s, u"--status"_s, u"active,in-process"_s})).code, 0);
    QCOMPARE(queued(), u".xx........."_s);
    QCOMPARE(Run(In(home, {u"queue"_s, u"test"_s, u"--status"_s, u"declined"_s, u"--site"_s, u"club"_s})).code, 0);
    QCOMPARE(queued(), u".xx........x"_s);
    QCOMPARE(Run(In(home, {u"queue"_s, u"test"_s, u"--status"_s, u"offer,active"_s, u"--all-sites"_s})).code, 0);
    QCOMPARE(queued(), u"xxx...x.x..x"_s);
    const Outcome removed =
        Run(In(home, {u"queue"_s, u"test"_s, u"--status"_s, u"active,broken"_s, u"--all-sites"_s, u"--remove"_s}));
    QCOMPARE(removed.out, u"2 link(s) taken off the test queue.\n"_s);
    QCOMPARE(queued(), u"xx....x....x"_s);
}

void tstCli::SignalsAreTheStopButton_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("terminate") << SIGTERM;
}

void tstCli::SignalsAreTheStopButton()
{
    QFETCH(int, number);
    scriptedServer server;
    const clsTestInstallation installation;
    {
        const auto opened = installation.Open();
        clsTestInstallation::AddSite(*opened, u"Shop"_s, {{u"TestForRecipLinkAtMySite"_s, 0}});
        for (const auto& name : {u"First"_s, u"Second"_s, u"Third"_s})
            clsTestInstallation::AddLink(*opened, u"Shop"_s, name,
                                         {{u"HomePage"_s, u"http://x.example/"_s},
                                          {u"LinkPage"_s, server.Url(u'/' + name.toLower() + u".html"_s)},
                                          {u"TestQueue"_s, 1}});
    }
    server.Answer("/first.html", serverReply::Page(PageWith({u"http://www.mysite.example/"_s})));
    server.Answer("/second.html", serverReply().Silent());
    server.Answer("/third.html", serverReply::Page(PageWith({u"http://www.mysite.example/"_s})));

    QProcess process;
    Start(process, In(installation.Folder(), {u"test"_s}));
    // The line must be there, its end included, while the run still waits for the page.
    QByteArray seen;
    const QByteArray awaited = "Searching Second for a reference to Shop\n";
    QElapsedTimer clock;
    clock.start();
    while (!seen.contains(awaited) && clock.elapsed() < StartLimitMs && process.waitForReadyRead(StartLimitMs))
        seen += process.readAllStandardOutput();
    QVERIFY2(seen.contains(awaited), seen.constData());
    QTRY_COMPARE(server.Count("/second.html"), 1);

    clock.restart();
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), number), 0);
    const Outcome outcome = Finish(process);
    QCOMPARE(outcome.code, 5);
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    const QString log = QString::fromUtf8(seen) + outcome.out;
    QVERIFY2(log.contains(u"\n  \u2022 Stop button was pressed.  Process aborted.\nEND LINK TEST SESSION - "_s),
             qPrintable(log));
    const auto opened = installation.Open();
    const auto links = opened->OpenRecordset(u"tblLinkList"_s);
    QString queue;
    for (const auto& row : links->Rows(0, 3, {u"TestQueue"_s}))
        queue += QString::number(row.at(0).toInt());
    QCOMPARE(queue, u"011"_s);
}

void tstCli::LostOutputIsAnError()
{
    const clsTestInstallation installation;
    QProcess process;
    process.setStandardOutputFile(u"/dev/full"_s);
    Start(process, In(installation.Folder(), {u"templates"_s}));
    const Outcome outcome = Finish(process);
    QCOMPARE(outcome.code, 3);
    QVERIFY2(outcome.err.contains(u"No space left on device"_s), qPrintable(outcome.err));
}

void tstCli::QuestionsWithoutTerminal()
{
    using Buttons = clsDialogs::Buttons;
    using Answer = clsDialogs::Answer;
    // Whoever starts the tests by hand has a terminal.
    QVERIFY(std::freopen("/dev/null", "r", stdin));
    const auto ask = [](bool yes, Buttons buttons) {
        return clsConsoleDialogs(yes).MsgBox(u"Really?"_s, buttons, clsDialogs::Icon::Question, {});
    };
    QCOMPARE(ask(false, Buttons::YesNo), Answer::No);
    QCOMPARE(ask(false, Buttons::YesNoCancel), Answer::No);
    QCOMPARE(ask(false, Buttons::RetryCancel), Answer::Cancel);
    QCOMPARE(ask(true, Buttons::YesNo), Answer::Yes);
    QCOMPARE(ask(true, Buttons::YesNoCancel), Answer::Yes);
    QCOMPARE(ask(true, Buttons::RetryCancel), Answer::Cancel);
}

QTEST_GUILESS_MAIN(tstCli)
#include "tst_cli.moc"
