// SPDX-License-Identifier: GPL-3.0-or-later
// The SMTP control against a scripted mail server: what goes over the wire, and how everything that can go wrong ends.
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/modPlatformImpl.h"
#include "platform/network/clsCurlSmtpControl.h"
#include "support/authority.h"
#include "support/faults.h"
#include "support/scripted_smtp.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// Stands before the C library's: names that end in ".silent" are never answered, ".absent" do not exist, ".example" is
/// this machine.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result)
{
    const QByteArray name(node);
    if (name.endsWith(".silent"))
        pause();
    if (name.endsWith(".absent"))
        return EAI_NONAME;
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name.endsWith(".example") ? "127.0.0.1" : node, service, hints, result);
}

namespace
{
const QByteArray Secret = "open-Sesame/42";

/// A control with somebody who listens.
class Client : public clsSmtpEvents
{
public:
    std::unique_ptr<clsEventLoop> loop = modPlatformImpl::MakeEventLoop();
    clsCurlSmtpControl control{*loop, 400ms};
    clsSmtpControl::Message message;
    int error = 0;
    int closed = 0;
    bool stop = false;

    explicit Client(int port, const QString& caFile = {}, int timeoutSeconds = 20)
    {
        control.SetEvents(this);
        control.SetLimits({timeoutSeconds, caFile});
        control.SetStopped([this] { return stop; });
        message.fromHeader = u"Ann <ann@example.org>"_s;
        message.sender = u"ann@example.org"_s;
        message.host = u"127.0.0.1"_s;
        message.port = port;
        message.mailer = u"Test"_s;
        message.recipient = u"bob@example.net"_s;
        message.subject = u"Hello"_s;
        message.text = u"One\r\n"_s;
        message.messageID = u"<1@example.org>"_s;
        message.date = u"Mon, 5 Jan 2026 15:07:09 +0000"_s;
    }
    ~Client() override { control.SetEvents(nullptr); }
    void Error(int code) override { error = code; }
    void ConnectionClosed() override { ++closed; }

    /// Takes the message through the steps. @return how many of the five went well.
    int Send()
    {
        control.SetMessage(message);
        error = 0;
        int steps = 0;
        for (const auto step : {&clsSmtpControl::Connect, &clsSmtpControl::SendGreeting, &clsSmtpControl::SendSender,
                                &clsSmtpControl::SendRecipient, &clsSmtpControl::SendData}) {
            if (!(control.*step)())
                break;
            ++steps;
        }
        control.Disconnect();
        return steps;
    }
};
} // namespace

class tst_smtp : public QObject
{
    Q_OBJECT

    testAuthority m_authority;

    /// Options of a server with a certificate.
    scriptedSmtp::Options Secure(const QString& certificate = u"good"_s) const
    {
        scriptedSmtp::Options options;
        options.certificate = m_authority.Read(certificate + u".pem"_s);
        options.key = m_authority.Read(certificate + u".key"_s);
        options.offers = {"STARTTLS", "AUTH PLAIN LOGIN"};
        options.encryptedOffers = {"AUTH PLAIN LOGIN"};
        options.user = "ann";
        options.secret = Secret;
        return options;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_authority.Make(u"other"_s, u"DNS:mail.example.com"_s, 2);
        m_authority.Make(u"old"_s, u"IP:127.0.0.1"_s, -1);
        for (const char* name : {"ALL_PROXY", "all_proxy"})
            qputenv(name, "http://127.0.0.1:9");
    }

    void Wire()
    {
        scriptedSmtp server;
        Client client(server.Port());
        QCOMPARE(client.Send(), 5);
        QCOMPARE(server.Commands(), (QByteArrayList{"EHLO example.org", "MAIL FROM:<ann@example.org>",
                                                    "RCPT TO:<bob@example.net>", "DATA", ".", "QUIT"}));
        QCOMPARE(server.Messages()[0].data, QByteArray("From: Ann <ann@example.org>\r\nTo: bob@example.net\r\n"
                                                       "Subject: Hello\r\nDate: Mon, 5 Jan 2026 15:07:09 +0000\r\n"
                                                       "Message-ID: <1@example.org>\r\nX-Mailer: Test\r\n\r\nOne\r\n"));
        QCOMPARE(client.control.LastReply(), u"250 taken as 4711"_s);
        QVERIFY(!client.control.InDoubt());
        QCOMPARE(client.closed, 1);
    }

    /// The server does something odd at one step.
    void Faults_data()
    {
        const testTable<QByteArray, serverReply, int, int, bool> row;
        const auto say = [](const QByteArray& line) { return serverReply::Bytes(line + "\r\n"); };
        const auto close = serverReply().Close();
        const QByteArray lines100k = QByteArray("250-" + QByteArray(96, 'x') + "\r\n").repeated(1000);
        // Whatever the step: refused for now and for good, silent, gone, garbled. What came before it went well.
        for (const auto& [step, done] : std::initializer_list<std::pair<QByteArray, int>>{
                 {"greeting", 1}, {"EHLO", 1}, {"MAIL", 1}, {"RCPT", 2}, {"DATA", 3}, {"end", 4}}) {
            const bool end = step == "end";
            const auto add = [&, &step = step, &done = done](const QByteArray& what, const serverReply& reply,
                                                             int error, bool doubt) {
                row((step + ' ' + what).constData(), step, reply, done, error, doubt);
            };
            if (step != "EHLO") { // an old server refuses that, and HELO is tried
                add("451", say("451-not\r\n451 now"), 451, false);
                add("550", say("550 no"), 550, false);
                add("garbled", say("yes"), 908, end);
            }
            add("silent", serverReply().Silent(), 60, end);
            add("gone", close, 54, end);
            add("reset", serverReply().Reset(), 54, end);
        }
        //                                    step      reply      done error doubt
        row("greeting in many lines", "greeting", say("220-a\r\n220-b\r\n220 c"), 5, 0, false);
        row("an old server", "EHLO", say("502 what?"), 5, 0, false);
        row("EHLO 100 kB", "EHLO", say(lines100k + "250 SIZE 9999"), 1, 54, false); // libcurl's own limit
        row("EHLO without end", "EHLO", serverReply().Endless("250-x\r\n"), 1, 54, false);
        row("too large", "EHLO", say("250-test\r\n250 SIZE 20"), 1, 552, false);
        row("501 is no time-out", "MAIL", say("501 syntax"), 1, 500, false);
        row("MAIL reply 100 kB", "MAIL", say(lines100k + "250 ok"), 5, 0, false);
        row("MAIL reply drips", "MAIL", serverReply().Drip("250 o", 1, 300ms).Silent(), 1, 60, false);
        row("speaks out of turn", "MAIL", say("250 ok\r\n250 ok"), 2, 908, false);
        row("ends the session unasked", "MAIL", say("250 ok\r\n421 closing").Close(), 2, 421, false);
        row("DATA answered wrongly", "DATA", say("250 ok"), 3, 908, false);
        row("gone in the middle", "data", serverReply().Reset(), 4, 54, false);
        row("refused in the middle", "data", say("451 full").Silent(), 4, 451, false);
        row("stands still in the middle", "data", serverReply().Silent(), 4, 60, false);
        row("taken, then ends the session", "end", say("250 taken as 4711\r\n421 closing").Close(), 5, 0, false);
        row("neither yes nor no", "end", say("354 more"), 4, 908, true);
        row("endless end", "end", serverReply().Endless("250-x\r\n"), 4, 908, true);
    }
    void Faults()
    {
        const auto [step, reply, steps, error, doubt] = testRow<QByteArray, serverReply, int, int, bool>();
        scriptedSmtp server;
        server.At(step, reply);
        if (step == "data") // so much that it cannot be with the system when the server turns away
            server.At("DATA", serverReply::Bytes("354 go\r\n"));
        Client client(server.Port(), {}, 1);
        if (step == "data")
            client.message.text = u"0123456789\r\n"_s.repeated(2'000'000);
        QElapsedTimer time;
        time.start();
        const int done = client.Send();
        // A reset that is there before anybody has looked is one of connecting.
        if (done != 0 || step != "greeting" || error != 54)
            QCOMPARE(done, steps);
        QVERIFY2(time.elapsed() < 15000, qPrintable(u"%1 ms"_s.arg(time.elapsed())));
        QCOMPARE(client.error, error);
        QCOMPARE(client.control.InDoubt(), doubt);
        QCOMPARE(client.control.Failure().isEmpty(), error == 0);
        QVERIFY(client.control.Failure().size() < 3000 && client.control.LastReply().size() <= 2000);
        QVERIFY(server.Messages().size() == (step == "end" || steps == 5 ? 1 : 0));
        // The control is as good as new.
        for (const char* name : {"greeting", "EHLO", "MAIL", "RCPT", "DATA", "data", "end"})
            server.Forget(name);
        client.message.text = u"Two"_s;
        QCOMPARE(client.Send(), 5);
    }

    void Encryption_data()
    {
        const testTable<clsMailSecurity, QString, QByteArray, int, int> row;
        using enum clsMailSecurity;
        //                                              script done error
        row("STARTTLS", StartTLS, u"good"_s, {}, 5, 0);
        row("from the start", TLS, u"good"_s, {}, 5, 0);
        row("another name", StartTLS, u"other"_s, {}, 0, 960);
        row("run out", TLS, u"old"_s, {}, 0, 960);
        row("unknown authority", StartTLS, u"good, unknown"_s, {}, 0, 960);
        row("STARTTLS taken away", StartTLS, {}, {}, 0, 964);
        row("said yes and nothing more", StartTLS, u"good"_s, "220 go\r\n", 0, 60);
        row("replies before the encryption", StartTLS, u"good"_s,
            "220 go\r\n250-test\r\n250 AUTH PLAIN\r\n235 in\r\n250 ok\r\n", 0, 908);
        row("clear text where TLS is due", TLS, {}, {}, 0, 935);
    }
    void Encryption()
    {
        const auto [security, certificate, script, steps, error] =
            testRow<clsMailSecurity, QString, QByteArray, int, int>();
        scriptedSmtp::Options options = Secure(certificate.section(u',', 0, 0));
        options.tls = security == clsMailSecurity::TLS && !certificate.isEmpty();
        if (certificate.isEmpty())
            options.offers = {"AUTH PLAIN LOGIN"};
        scriptedSmtp server(options);
        if (!script.isEmpty())
            server.At("STARTTLS", serverReply::Bytes(script));
        if (script.contains("250"))
            server.At("then TLS", {});
        Client client(server.Port(), certificate.contains(u"unknown") ? QString() : m_authority.CaFile(), 1);
        client.message.login = {security, u"ann"_s, Secret};
        QCOMPARE(client.Send(), steps);
        QCOMPARE(client.error, error);
        QVERIFY2(!client.control.Failure().contains(QString::fromLatin1(Secret)), "secret");
        // Before the encryption nothing was said but who we are.
        for (const QByteArray& command : server.Commands().first(std::min<qsizetype>(2, server.Commands().size())))
            QVERIFY2(options.tls || command.startsWith("EHLO") || command == "STARTTLS", command);
        QCOMPARE(server.Commands().contains("AUTH PLAIN"), steps == 5);
    }

    void Login_data()
    {
        const testTable<QString, QByteArray, QByteArray, bool, int, int> row;
        //                      host          offered    secret    token  done error
        row("PLAIN", u"127.0.0.1"_s, "AUTH PLAIN", Secret, false, 5, 0);
        row("LOGIN", u"localhost"_s, "AUTH LOGIN", Secret, false, 5, 0);
        row("CRAM-MD5", u"127.0.0.1"_s, "AUTH NTLM CRAM-MD5", Secret, false, 5, 0);
        row("XOAUTH2", u"127.0.0.1"_s, "AUTH PLAIN XOAUTH2", Secret, true, 5, 0);
        row("PLAIN wrong", u"127.0.0.1"_s, "AUTH PLAIN", "wr\xC3\xB6ng-4711", false, 1, 535);
        row("LOGIN wrong", u"127.0.0.1"_s, "AUTH LOGIN", "wrong-4711", false, 1, 535);
        row("CRAM-MD5 wrong", u"127.0.0.1"_s, "AUTH CRAM-MD5", "wrong-4711", false, 1, 535);
        row("XOAUTH2 wrong", u"127.0.0.1"_s, "AUTH XOAUTH2", "wrong-4711", true, 1, 535);
        row("none of ours", u"127.0.0.1"_s, "AUTH GSSAPI NTLM", Secret, false, 1, 967);
        row("far, in clear", u"mail.example"_s, "AUTH PLAIN LOGIN", Secret, false, 1, 967);
        row("far, a sum in clear", u"mail.example"_s, "AUTH PLAIN CRAM-MD5", Secret, false, 5, 0);
        row("far, token in clear", u"mail.example"_s, "AUTH XOAUTH2", Secret, true, 0, 967);
    }
    void Login()
    {
        const auto [host, offered, secret, token, steps, error] =
            testRow<QString, QByteArray, QByteArray, bool, int, int>();
        scriptedSmtp::Options options;
        options.offers = {offered};
        options.user = "ann";
        options.secret = Secret;
        scriptedSmtp server(options);
        Client client(server.Port());
        client.message.host = host;
        client.message.login = {clsMailSecurity::None, u"ann"_s, secret, token};
        QCOMPARE(client.Send(), steps);
        QCOMPARE(client.error, error);
        const auto report =
            modPlatformImpl::MakeMailProbe(*client.loop)->Probe(host, server.Port(), client.message.login, 5, {}, {});
        QCOMPARE(report.loginAccepted, steps == 5);
        QCOMPARE(report.triedLogin, error == 0 || error == 535);
        const QString told =
            client.control.Failure() + client.control.LastReply() + report.failure + report.dialogue.join(u'\n');
        for (const QByteArray& form :
             {secret, secret.toBase64(), ('\0' + QByteArray("ann") + '\0' + secret).toBase64()})
            QVERIFY2(!told.contains(QString::fromUtf8(form)), qPrintable(told));
        QVERIFY(error == 0 || !client.control.Failure().isEmpty());
    }

    /// Whatever is waited for, Stop ends it; a message that is going out has a little time.
    void Stop_data()
    {
        const testTable<QByteArray, serverReply, int, bool> row;
        const auto silent = serverReply().Silent();
        row("greeting", "greeting", silent, 1, false);
        row("RCPT", "RCPT", silent, 2, false);
        row("data", "data", silent, 4, false);
        row("end", "end", silent, 4, true);
        row("end in time", "end", serverReply::Bytes("250 ok\r\n").After(300ms), 5, false);
    }
    void Stop()
    {
        const auto [step, reply, steps, doubt] = testRow<QByteArray, serverReply, int, bool>();
        scriptedSmtp server;
        server.At(step, reply);
        Client client(server.Port());
        if (step == "data") {
            server.At("DATA", serverReply::Bytes("354 go\r\n"));
            client.message.text = u"0123456789\r\n"_s.repeated(2'000'000);
        }
        QElapsedTimer sinceStop;
        QTimer button;
        button.callOnTimeout([&] {
            if (client.stop || (step == "data" && server.DataBytes() == 0))
                return;
            client.stop = true;
            sinceStop.start();
        });
        button.start(100ms);
        QCOMPARE(client.Send(), steps);
        QVERIFY2(sinceStop.elapsed() < 1000, qPrintable(u"%1 ms"_s.arg(sinceStop.elapsed())));
        QCOMPARE(client.error, 0);
        QCOMPARE(client.control.InDoubt(), doubt);
    }

    void NoConnection_data()
    {
        const testTable<QString, int, int> row;
        row("refused", u"127.0.0.1"_s, 1, 61);
        row("unknown", u"no.such.absent"_s, 25, 1001);
        row("no name", u"not a host"_s, 25, 38);
        row("no port", u"127.0.0.1"_s, 70000, 38);
        row("never answers", u"a.silent"_s, 25, 60);
    }
    void NoConnection()
    {
        const auto [host, port, error] = testRow<QString, int, int>();
        Client client(port, {}, 1);
        client.message.host = host;
        QCOMPARE(client.Send(), 0);
        QCOMPARE(client.error, error);
        QVERIFY(!client.control.InDoubt());
    }
};

QTEST_GUILESS_MAIN(tst_smtp)
#include "tst_smtp.moc"
