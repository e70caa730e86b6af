// SPDX-License-Identifier: GPL-3.0-or-later
#define SQLITE_HAS_CODEC // declares sqlite3_key
#include "suites/suite_program.h"

#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "support/files.h"

#include <QProcessEnvironment>
#include <algorithm>
#include <chrono>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

QByteArray programRun::Story() const
{
    return "ended with " + QByteArray::number(code) +
           (hung     ? ", hung"
            : killed ? ", killed by a signal"
                     : "") +
           "\n-- standard output\n" + out + "-- error stream\n" + err;
}

suiteProgram::suiteProgram(const QString& home) : m_home(home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& name : {u"BRAMBURY_HOME"_s, u"BRAMBURY_OFFLINE"_s, u"DISPLAY"_s})
        environment.remove(name);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setProgram(QStringLiteral(BRAMBURY_BINARY_DIR "/bin/brambury"));
}

suiteProgram::~suiteProgram()
{
    QFile::remove(m_home + u".calls"_s);
}

void suiteProgram::SetFault(const QString& kind, int number, const QString& paths)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.insert(u"LD_PRELOAD"_s, QStringLiteral(FILE_FAULTS_LIBRARY));
    environment.insert(u"FILE_FAULTS"_s, u"%1:%2:"_s.arg(kind).arg(number) + (paths.isEmpty() ? m_home + u'/' : paths));
    environment.insert(u"FILE_FAULTS_COUNT"_s, m_home + u".calls"_s);
    // A sanitized program would rather be the first in line; it works behind this library as well.
    environment.insert(u"ASAN_OPTIONS"_s, environment.value(u"ASAN_OPTIONS"_s) + u":verify_asan_link_order=0"_s);
    m_process.setProcessEnvironment(environment);
}

void suiteProgram::Start(const QStringList& words)
{
    QFile::remove(m_home + u".calls"_s);
    m_process.setArguments(QStringList{u"--home"_s, m_home} + words);
    m_process.start(QIODevice::ReadOnly);
}

programRun suiteProgram::Finish(int milliseconds)
{
    programRun run;
    if (!m_process.waitForFinished(milliseconds * BRAMBURY_SLOW) && m_process.state() != QProcess::NotRunning) {
        run.hung = true;
        m_process.kill();
        m_process.waitForFinished(-1);
    }
    run.killed = m_process.exitStatus() == QProcess::CrashExit;
    run.code = run.killed ? -1 : m_process.exitCode();
    run.out = m_process.readAllStandardOutput();
    run.err = m_process.readAllStandardError();
    return run;
}

int suiteProgram::Calls() const
{
    QFile file(m_home + u".calls"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toInt() : -1;
}

fileContent ContentOf(const QString& path)
{
    fileContent content;
    if (!QFile::exists(path)) {
        content.complaint = "none";
        return content;
    }
    sqlite3* handle = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &handle, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_key(handle, "SandDune", 8);
    const auto rows = [handle](const QByteArray& sql) {
        QByteArrayList result;
        sqlite3_stmt* statement = nullptr;
        int code = sqlite3_prepare_v2(handle, sql.constData(), -1, &statement, nullptr);
        while (code == SQLITE_OK && (code = sqlite3_step(statement)) == SQLITE_ROW) {
            QByteArray row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i)
                row += QByteArray(reinterpret_cast<const char*>(sqlite3_column_text(statement, i))) + '\x1f';
            result << row;
            code = SQLITE_OK;
        }
        if (code != SQLITE_DONE)
            result << "error " + QByteArray::number(code);
        sqlite3_finalize(statement);
        return result;
    };
    content.complaint = rows("PRAGMA integrity_check").join();
    if (content.complaint == "ok\x1f") {
        content.complaint.clear();
        for (QByteArray table : rows("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
            table.chop(1);
            content.tables[table] = rows("SELECT * FROM \"" + table + "\" NOT INDEXED ORDER BY 1");
        }
        content.tables["user_version"] = rows("PRAGMA user_version");
    }
    sqlite3_close(handle);
    return content;
}

suiteQueue::suiteQueue(int links)
{
    QByteArray ownPage;
    {
        const auto database = m_installation.Open();
        clsTransaction transaction(*database);
        clsTestInstallation::AddSite(
            *database, u"Shop"_s,
            {{u"HomePage"_s, m_server.Url(u"/home/"_s)}, {u"LinkPage"_s, m_server.Url(u"/links/"_s)}});
        for (int i = 0; i < links; ++i) {
            const QString home = m_server.Url(u"/partner%1/"_s.arg(i));
            ownPage += "<a href=\"" + home.toLatin1() + "\">partner</a>\n";
            clsTestInstallation::AddLink(*database, u"Shop"_s, u"Partner %1"_s.arg(i),
                                         {{u"HomePage"_s, home},
                                          {u"LinkPage"_s, home + u"links.html"_s},
                                          {u"Status"_s, i % 6},
                                          {u"Results"_s, 8},
                                          {u"TestQueue"_s, 1},
                                          {u"Comments"_s, u"What was said about partner %1"_s.arg(i)}});
        }
        transaction.Commit();
    }
    const QByteArray withLink = "<a href=\"" + m_server.Url(u"/home/"_s).toLatin1() + "\">shop</a>";
    m_server.AnswerOthers([ownPage, withLink](const serverRequest& request) {
        if (request.target == "/links/")
            return serverReply::Page(ownPage).After(1ms);
        // The record's number is one more than the partner's.
        const int partner = request.target.mid(8, request.target.indexOf('/', 1) - 8).toInt();
        switch (partner % 4) {
        case 2:
            return serverReply::Page("<a href=\"elsewhere.html\">another</a>").After(2ms);
        case 3:
            return serverReply().Close();
        default:
            return serverReply::Page(withLink).After(std::chrono::milliseconds(15 + 10 * (partner % 5)));
        }
    });
    m_untouched = ReadAll(DatabasePath());
}

void suiteQueue::Restore()
{
    for (const auto& name : {u"Bramdat.mdb-journal"_s, u"Bramdat.use"_s, u"Bramdat.run"_s})
        QFile::remove(m_installation.DataPath() + name);
    for (const auto& name : {u"Error.log"_s, u"$$$http.tmp"_s, u"Brambury.ini"_s})
        QFile::remove(Home() + u'/' + name);
    WriteAll(DatabasePath(), m_untouched);
}

suiteQueue::Links suiteQueue::Read() const
{
    const auto database = m_installation.Open();
    const auto records = database->OpenRecordset(u"SELECT * FROM tblLinkList ORDER BY ID"_s);
    Links links;
    for (; !records->AfterLast(); records->MoveNext()) {
        Link link;
        link.status = records->Field(u"Status"_s).toInt();
        link.results = records->Field(u"Results"_s).toInt();
        link.queued = records->Field(u"TestQueue"_s).toInt() != 0;
        link.lastSuccess = records->Field(u"LastSuccessfulTest"_s).toString();
        for (const QString& name : records->FieldNames()) {
            if (name != u"Status"_s && name != u"Results"_s && name != u"TestQueue"_s &&
                name != u"LastSuccessfulTest"_s)
                link.rest += name + u'=' + records->Field(name).toString() + u'\n';
        }
        links.insert(records->Field(u"ID"_s).toLongLong(), link);
    }
    return links;
}

int suiteQueue::Queued(const Links& links)
{
    return static_cast<int>(std::count_if(links.cbegin(), links.cend(), [](const Link& link) { return link.queued; }));
}

suiteQueue::Link suiteQueue::Judged(qint64 id, const Link& before)
{
    Link judged = before;
    judged.queued = false;
    const qint64 kind = (id - 1) % 4;
    if (kind < 2) {
        judged.status = 2;
        judged.results = 1;
        judged.lastSuccess = u"now"_s;
    } else {
        judged.status = before.status == 2 ? 3 : before.status;
        judged.results = kind == 2 ? 4 : 128;
    }
    return judged;
}

QString suiteQueue::Losses(const Links& before, const Links& after) const
{
    if (before.keys() != after.keys())
        return u"%1 links became %2"_s.arg(before.size()).arg(after.size());
    QString losses;
    bool waiting = false;
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const Link& old = *it;
        Link now = after.value(it.key());
        Link untouched = old;
        // The run clears the results of the whole site before it begins.
        if (now.results == 0)
            untouched.results = 0;
        if (now == untouched) {
            waiting = waiting || old.queued;
            continue;
        }
        if (!old.lastSuccess.isEmpty() || now.lastSuccess.size() == 19)
            now.lastSuccess = now.lastSuccess == old.lastSuccess ? old.lastSuccess : u"now"_s;
        if (!old.queued || now != Judged(it.key(), old))
            losses += u"link %1 is neither untouched nor judged: status %2 -> %3, results %4 -> %5, queued %6 -> %7, "
                      "last success \"%8\" -> \"%9\"\n"_s.arg(it.key())
                          .arg(old.status)
                          .arg(now.status)
                          .arg(old.results)
                          .arg(now.results)
                          .arg(old.queued)
                          .arg(now.queued)
                          .arg(old.lastSuccess, now.lastSuccess);
        else if (waiting)
            losses += u"link %1 was judged before one that stands earlier in the queue\n"_s.arg(it.key());
    }
    return losses;
}

QString suiteQueue::HeldLocks() const
{
    QString held;
    const auto disk = modPlatformImpl::MakeDisk();
    for (const auto& name : {u"Bramdat.use"_s, u"Bramdat.run"_s}) {
        if (!disk->Lock(m_installation.DataPath() + name, clsDisk::Share::Exclusive))
            held += name + u' ';
    }
    return held;
}
