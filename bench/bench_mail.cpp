// SPDX-License-Identifier: GPL-3.0-or-later
// Measures the mail run against the least work that the same messages can be sent with: a loop around libcurl that
// makes the same connections, alone and with the two flushed commits for each message that the ledger costs. The server
// is a process of its own.
#include "data/modLinks.h"
#include "mail/clsMail.h"
#include "platform/clsDatabase.h"
#include "support/program.h"
#include "support/scripted_smtp.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTextStream>
#include <algorithm>
#include <cstring>
#include <curl/curl.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QByteArray Body = "Dear partner,\r\n\r\n" + QByteArray(40, 'x').append("\r\n").repeated(20) + "\r\nAnn\r\n";

/// The server, until its standard input ends. @param wait  milliseconds before each answer.
int Serve(int wait)
{
    scriptedSmtp server;
    if (wait > 0) {
        const auto late = [wait](const char* reply) {
            return serverReply::Bytes(reply).After(std::chrono::milliseconds(wait));
        };
        server.At("greeting", late("220 mail.example\r\n"));
        server.At("EHLO", late("250 mail.example\r\n"));
        for (const char* step : {"MAIL", "RCPT", "end"})
            server.At(step, late("250 OK\r\n"));
        server.At("DATA", late("354 go ahead\r\n"));
        server.At("data", serverReply()); // the message follows the scripted answer all the same
    }
    QTextStream(stdout) << server.Port() << Qt::endl;
    QTextStream input(stdin);
    input.readLine();
    return 0;
}

struct Upload
{
    QByteArray bytes;
    qsizetype at = 0;
};

std::size_t Read(char* buffer, std::size_t size, std::size_t count, void* upload)
{
    auto& from = *static_cast<Upload*>(upload);
    const qsizetype some = std::min<qsizetype>(static_cast<qsizetype>(size * count), from.bytes.size() - from.at);
    std::memcpy(buffer, from.bytes.constData() + from.at, static_cast<std::size_t>(some));
    from.at += some;
    return static_cast<std::size_t>(some);
}

bool SendBare(quint16 port, const QByteArray& recipient)
{
    Upload upload{"From: Ann <ann@shop.example>\r\nTo: " + recipient + "\r\nSubject: Hello\r\n\r\n" + Body};
    CURL* handle = curl_easy_init();
    curl_slist* recipients = curl_slist_append(nullptr, recipient.constData());
    curl_easy_setopt(handle, CURLOPT_URL,
                     ("smtp://127.0.0.1:" + QByteArray::number(port) + "/shop.example").constData());
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_MAIL_FROM, "ann@shop.example");
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, &Read);
    curl_easy_setopt(handle, CURLOPT_READDATA, &upload);
    const bool sent = curl_easy_perform(handle) == CURLE_OK;
    curl_slist_free_all(recipients);
    curl_easy_cleanup(handle);
    return sent;
}

class quietLog final : public clsLogWindow
{
protected:
    void ShowAppended(const QString& /*text*/, qsizetype /*caret*/) override {}
    void ShowCleared() override {}
};

/// A fresh installation with so many links in its e-mail queue.
class Queue
{
public:
    Queue(quint16 port, int count)
    {
        clsDatabase& database = *modBrambury::State().Database;
        clsTransaction transaction(database);
        clsTestInstallation::AddSite(database, u"Shop"_s,
                                     {{u"Sender"_s, u"Ann"_s},
                                      {u"Email"_s, u"ann@shop.example"_s},
                                      {u"HostName"_s, u"127.0.0.1"_s},
                                      {u"MailPort"_s, port},
                                      {u"EMessage4"_s, 4}});
        database.UpdateRecords(u"tblMailMessages"_s, {4},
                               {{u"Subject"_s, u"Hello"_s}, {u"Body"_s, QString::fromLatin1(Body)}});
        for (int i = 0; i < count; ++i)
            ids.push_back(clsTestInstallation::AddLink(
                database, u"Shop"_s, u"Partner %1"_s.arg(i),
                {{u"Email"_s, u"p%1@partner.example"_s.arg(i)}, {u"Message"_s, 4}, {u"EmailQueue"_s, 1}}));
        transaction.Commit();
        modBrambury::State().Settings.PlaySoundComplete = u"No"_s;
    }

    clsTestProgram program;
    std::vector<qint64> ids;
};

/// Seconds for all messages.
using Way = double (*)(quint16 port, int count);

double Bare(quint16 port, int count)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        if (!SendBare(port, "p" + QByteArray::number(i) + "@partner.example"))
            qFatal("a message was not sent");
    }
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

double BareWithCommits(quint16 port, int count)
{
    const Queue queue(port, count);
    clsDatabase& database = *modBrambury::State().Database;
    clsSendLedger ledger(database, *queue.program.disk);
    QElapsedTimer timer;
    timer.start();
    for (const qint64 id : queue.ids) {
        const QByteArray recipient = "p" + QByteArray::number(id) + "@partner.example";
        const QDateTime now = QDateTime::currentDateTime();
        clsSendLedger::Message message;
        message.LinkID = id;
        message.Recipient = QString::fromLatin1(recipient);
        message.Server = clsSendLedger::ServerName(u"127.0.0.1"_s, port);
        const qint64 row = ledger.Begin(message, {}, now);
        ledger.Flush();
        if (!SendBare(port, recipient))
            qFatal("a message was not sent");
        clsTransaction transaction(database);
        ledger.Close({row}, clsSendLedger::Outcome::Sent, u"250 OK"_s, now);
        modLinks::SetFields(database, {id}, {{u"EmailQueue"_s, 0}});
        transaction.Commit();
    }
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

double MailRun(quint16 port, int count)
{
    const Queue queue(port, count);
    clsRunParent parent;
    quietLog log;
    clsMail mail({.Run = {&parent, &log, modBrambury::Platform(), modBrambury::State().Database.get()}});
    QElapsedTimer timer;
    timer.start();
    mail.SendMail();
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    if (mail.LastEnding() != clsMail::Ending::Done || mail.NotSent() > 0)
        qFatal("a message was not sent");
    return seconds;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Compare(int wait, int count, int rounds)
{
    QProcess server;
    server.start(QCoreApplication::applicationFilePath(), {u"serve"_s, QString::number(wait)});
    if (!server.waitForReadyRead())
        qFatal("the server did not start");
    const quint16 port = server.readLine().trimmed().toUShort();
    const std::vector<std::pair<const char*, Way>> ways{
        {"bare loop", &Bare}, {"bare loop with the two commits", &BareWithCommits}, {"mail run", &MailRun}};
    std::vector<std::vector<double>> seconds(ways.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t way = 0; way < ways.size(); ++way)
            seconds[way].push_back(ways[way].second(port, count));
    }
    QTextStream out(stdout);
    out << "server answers after " << wait << " ms, " << count << " messages, median of " << rounds << " rounds\n";
    for (std::size_t way = 0; way < ways.size(); ++way) {
        const double median = Median(seconds[way]);
        out << "  " << ways[way].first << ": " << count / median << " messages/s, " << 1000 * median / count
            << " ms each\n";
    }
    out << "  mail run against bare " << Median(seconds[2]) / Median(seconds[0]) << ", against bare with commits "
        << Median(seconds[2]) / Median(seconds[1]) << '\n';
    server.closeWriteChannel();
    server.waitForFinished();
}
} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "serve") == 0)
        return Serve(QByteArray(argv[2]).toInt());
    curl_global_init(CURL_GLOBAL_DEFAULT);
    Compare(20, 40, 5);
    Compare(0, 300, 7);
    return 0;
}
