// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsSmtpSession.h"

#include "platform/clsEventLoop.h"
#include "platform/network/modMailText.h"
#include "platform/network/modSocketCodes.h"

#include <QSysInfo>
#include <QUrl>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype ChunkBytes = qsizetype{64} * 1024;
/// What is sent before the window gets its turn.
constexpr qsizetype MostAtOnce = qsizetype{1} << 20;
constexpr qsizetype MostDialogue = 500; ///< lines
constexpr std::chrono::milliseconds LastWords = std::chrono::seconds(2);

bool IsThisMachine(const QString& host)
{
    return host.compare(u"localhost", Qt::CaseInsensitive) == 0 || host == u"::1" || host == u"[::1]" ||
           host.startsWith(u"127.");
}

/// GSSAPI, NTLM and the like would be tried first wherever they are offered, and fail for want of a domain.
const char* LoginMethods(const clsMailLogin& login, bool secretMayShow)
{
    if (login.token)
        return "AUTH=XOAUTH2";
    return secretMayShow ? "AUTH=PLAIN;AUTH=LOGIN;AUTH=CRAM-MD5" : "AUTH=CRAM-MD5";
}

bool SecretMayShow(const clsSmtpSession::Target& target)
{
    return target.login.security != clsMailSecurity::None || IsThisMachine(target.host);
}
} // namespace

clsSmtpSession::clsSmtpSession(clsCurlMulti& multi, const Target& target) : m_multi(multi), m_login(target.login)
{
    if (!m_login.user.isEmpty() && m_login.token && !SecretMayShow(target)) {
        Fail(modSocketCodes::OtherBase + CURLE_LOGIN_DENIED,
             u"The token is not sent over a connection without encryption.  Choose STARTTLS or TLS for this server."_s);
        return;
    }
    const QByteArray url = Url(target);
    if (url.isEmpty()) {
        Fail(38, u"\"%1\" port %2 is no address of a server."_s.arg(target.host).arg(target.port));
        return;
    }
    m_easy = m_multi.Borrow();
    curl_easy_setopt(m_easy, CURLOPT_URL, url.constData());
    SetOptions(target);
    m_multi.Add(m_easy, *this);
}

clsSmtpSession::~clsSmtpSession()
{
    m_readable.reset();
    m_writable.reset();
    if (m_easy) {
        m_multi.Remove(m_easy); // which closes a connection that was made for us
        m_multi.GiveBack(m_easy);
    }
}

/// libcurl says EHLO with the path of the address.
QByteArray clsSmtpSession::Url(const Target& target) const
{
    QString host = target.host.trimmed();
    if (std::any_of(host.cbegin(), host.cend(), [](QChar c) { return c.unicode() >= 0x80; }))
        host = QString::fromLatin1(QUrl::toAce(host));
    if (host.contains(u':') && !host.startsWith(u'['))
        host = u'[' + host + u']';
    if (host.isEmpty() || target.port < 1 || target.port > 65535)
        return {};
    CURLU* url = curl_url();
    const char* scheme = target.login.security == clsMailSecurity::TLS ? "smtps" : "smtp";
    QString name = target.helloName.isEmpty() ? QSysInfo::machineHostName() : target.helloName;
    if (name.isEmpty())
        name = u"localhost"_s;
    const QByteArray path = '/' + QUrl::toPercentEncoding(name, "[]:");
    char* whole = nullptr;
    if (curl_url_set(url, CURLUPART_SCHEME, scheme, 0) == CURLUE_OK &&
        curl_url_set(url, CURLUPART_HOST, host.toUtf8().constData(), 0) == CURLUE_OK &&
        curl_url_set(url, CURLUPART_PORT, QByteArray::number(target.port).constData(), 0) == CURLUE_OK &&
        curl_url_set(url, CURLUPART_PATH, path.constData(), 0) == CURLUE_OK)
        curl_url_get(url, CURLUPART_URL, &whole, 0);
    QByteArray result(whole);
    curl_free(whole);
    curl_url_cleanup(url);
    return result;
}

void clsSmtpSession::SetOptions(const Target& target)
{
    curl_easy_setopt(m_easy, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(m_easy, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(m_easy, CURLOPT_PROXY, ""); // the environment's proxies are not for this program
    curl_easy_setopt(m_easy, CURLOPT_NOPROXY, "");
    curl_easy_setopt(
        m_easy, CURLOPT_USE_SSL,
        static_cast<long>(target.login.security == clsMailSecurity::StartTLS ? CURLUSESSL_ALL : CURLUSESSL_NONE));
    curl_easy_setopt(m_easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!target.caFile.isEmpty()) {
        curl_easy_setopt(m_easy, CURLOPT_CAINFO, target.caFile.constData());
        curl_easy_setopt(m_easy, CURLOPT_CAPATH, nullptr);
    }
    curl_easy_setopt(m_easy, CURLOPT_SSL_VERIFYPEER, target.checkCertificate ? 1L : 0L);
    curl_easy_setopt(m_easy, CURLOPT_SSL_VERIFYHOST, target.checkCertificate ? 2L : 0L);
    curl_easy_setopt(m_easy, CURLOPT_CERTINFO, target.wantsCertificate ? 1L : 0L);
    if (!m_login.user.isEmpty() && target.checkCertificate) {
        curl_easy_setopt(m_easy, CURLOPT_USERNAME, m_login.user.toUtf8().constData());
        curl_easy_setopt(m_easy, m_login.token ? CURLOPT_XOAUTH2_BEARER : CURLOPT_PASSWORD, m_login.secret.constData());
        curl_easy_setopt(m_easy, CURLOPT_LOGIN_OPTIONS, LoginMethods(m_login, SecretMayShow(target)));
    }
    curl_easy_setopt(m_easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_easy, CURLOPT_QUICK_EXIT, 1L); // never wait for a name server that does not answer
    curl_easy_setopt(m_easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(target.timeLimit).count()));
    curl_easy_setopt(m_easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, 24L * 3600); // Wait keeps the time
    curl_easy_setopt(m_easy, CURLOPT_ERRORBUFFER, m_errorText);
    curl_easy_setopt(m_easy, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(m_easy, CURLOPT_DEBUGFUNCTION, &clsSmtpSession::OnTrace);
    curl_easy_setopt(m_easy, CURLOPT_DEBUGDATA, this);
}

int clsSmtpSession::OnTrace(CURL*, curl_infotype type, char* bytes, std::size_t count, void* self)
{
    auto& session = *static_cast<clsSmtpSession*>(self);
    if (session.Ready() || session.m_result != CURLE_OK)
        return 0; // what follows is told by those who send and receive it
    const QByteArray text(bytes, static_cast<qsizetype>(count));
    if (type == CURLINFO_HEADER_OUT)
        session.Said(text.trimmed());
    else if (type == CURLINFO_HEADER_IN)
        session.Heard(text);
    return 0;
}

void clsSmtpSession::Note(const QString& line)
{
    if (m_dialogue.size() < MostDialogue)
        m_dialogue += modMailText::OnOneLine(WithoutSecrets(line)); // nothing that a terminal would obey
}

void clsSmtpSession::Said(const QByteArray& line)
{
    ++m_progress;
    m_hello = line.startsWith("EHLO");
    if (m_hello)
        m_offers = {}; // what was offered before the encryption does not count
    // From AUTH on everything is secret until the server has said yes or no.
    const bool begins = line.startsWith("AUTH ");
    if (begins)
        Note(u"> AUTH "_s + QString::fromLatin1(line.split(' ').value(1)));
    else
        Note(m_loggingIn ? u"> ***"_s : u"> "_s + QString::fromUtf8(line));
    m_loggingIn = m_loggingIn || begins;
}

void clsSmtpSession::Heard(QByteArray bytes)
{
    while (!bytes.isEmpty() && !Failed()) {
        const auto state = m_reader.Read(bytes);
        if (state == clsSmtpReplyReader::State::Incomplete)
            return;
        Note(u"< "_s + QString::fromUtf8(m_reader.Line()));
        if (m_hello)
            TakeAbility(m_reader.Line());
        if (state == clsSmtpReplyReader::State::Garbled) {
            m_lastReply = WithoutSecrets(m_reader.Reply().text);
            Fail(modSocketCodes::OtherBase + CURLE_WEIRD_SERVER_REPLY,
                 u"The server's reply cannot be understood: "_s + m_lastReply);
        } else if (state == clsSmtpReplyReader::State::Complete) {
            TakeReply(m_reader.Reply());
        }
    }
}

void clsSmtpSession::TakeReply(const clsSmtpReply& reply)
{
    ++m_progress;
    const QString text = WithoutSecrets(reply.text);
    if (Ready() && !m_answerDue) {
        // Mostly it says that the server ends the session. It waits for the next command; the answer that is there
        // stands, it may be the one to the message.
        m_unasked = clsSmtpReply{reply.code, text};
        if (reply.code < 400)
            Fail(modSocketCodes::OtherBase + CURLE_WEIRD_SERVER_REPLY,
                 u"The server replied without being asked: "_s + text);
        return;
    }
    m_lastCode = reply.code;
    m_lastReply = text;
    if (Ready()) {
        m_answer = clsSmtpReply{reply.code, text};
        m_answerDue = false;
    } else if (m_loggingIn && reply.code != 334) {
        m_loggingIn = false;
        m_loggedIn = reply.code == 235;
    }
}

void clsSmtpSession::TakeAbility(const QByteArray& line)
{
    const QList<QByteArray> words = line.mid(4).trimmed().toUpper().split(' ');
    if (!line.startsWith("250"))
        return;
    if (words[0] == "STARTTLS") {
        m_offers.startTLS = true;
    } else if (words[0] == "SMTPUTF8") {
        m_offers.utf8 = true;
    } else if (words[0] == "SIZE") {
        m_offers.size = true;
        m_offers.sizeLimit = std::max(qint64{0}, words.value(1).toLongLong());
    } else if (words[0] == "AUTH") {
        for (const QByteArray& method : words.mid(1)) {
            const QString name = QString::fromLatin1(method);
            if (!name.isEmpty() && !m_offers.methods.contains(name))
                m_offers.methods += name;
        }
    }
}

QString clsSmtpSession::WithoutSecrets(const QString& text) const
{
    if (m_login.secret.isEmpty())
        return text;
    const QByteArray user = m_login.user.toUtf8();
    QString result = text;
    for (const QByteArray& form :
         {m_login.secret, m_login.secret.toBase64(QByteArray::Base64Encoding | QByteArray::OmitTrailingEquals),
          ('\0' + user + '\0' + m_login.secret).toBase64(QByteArray::OmitTrailingEquals),
          ("user=" + user + "\1auth=Bearer " + m_login.secret + "\1\1").toBase64(QByteArray::OmitTrailingEquals)})
        result.replace(QString::fromUtf8(form), u"***"_s);
    return result;
}

void clsSmtpSession::Fail(int code, const QString& text)
{
    if (!Failed())
        m_problem = {code, WithoutSecrets(text)};
}

void clsSmtpSession::FailWith(CURLcode result, const QString& doing)
{
    long systemError = 0;
    curl_easy_getinfo(m_easy, CURLINFO_OS_ERRNO, &systemError);
    const QString library = QString::fromLocal8Bit(*m_errorText ? m_errorText : curl_easy_strerror(result));
    int code = modSocketCodes::OtherBase + result;
    switch (result) {
    case CURLE_COULDNT_RESOLVE_HOST:
        code = modSocketCodes::HostNotFound;
        break;
    case CURLE_OPERATION_TIMEDOUT:
        code = modSocketCodes::ConnectTimedOut;
        break;
    case CURLE_COULDNT_CONNECT:
        code = modSocketCodes::Of(systemError) != 0 ? modSocketCodes::Of(systemError) : 38;
        break;
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        // The other side hung up, with or without manners.
        code = modSocketCodes::EndsAConnection(systemError) ? modSocketCodes::Of(systemError)
                                                            : modSocketCodes::ConnectionReset;
        break;
    case CURLE_SSL_CONNECT_ERROR:
        if (modSocketCodes::EndsAConnection(systemError))
            code = modSocketCodes::Of(systemError);
        break;
    default:
        break;
    }
    if (m_lastCode >= 400)
        code = modSocketCodes::OfStatus(m_lastCode);
    QString text = doing + u": "_s + library;
    if (!m_lastReply.isEmpty())
        text += u" (server: "_s + m_lastReply + u')';
    Fail(code, text);
}

/// Connecting has come to its end, well or not.
void clsSmtpSession::Ended(CURLcode result)
{
    if (Failed())
        return;
    curl_socket_t socket = CURL_SOCKET_BAD;
    if (result == CURLE_OK)
        curl_easy_getinfo(m_easy, CURLINFO_ACTIVESOCKET, &socket);
    if (result == CURLE_OK && socket == CURL_SOCKET_BAD)
        result = CURLE_RECV_ERROR;
    m_result = result;
    if (result == CURLE_LOGIN_DENIED && m_lastCode < 400) {
        Fail(modSocketCodes::OtherBase + result,
             u"No log-in: the server offers %1"_s.arg(m_offers.methods.isEmpty() ? u"no method"_s
                                                                                 : m_offers.methods.join(u' ')) +
                 (Encrypted() ? u"."_s
                              : u", and without encryption the password is sent to this machine alone.  Choose "
                                "STARTTLS or TLS for this server."_s));
    } else if (result != CURLE_OK) {
        FailWith(result, u"Connecting"_s);
    } else {
        TakeOver(socket);
    }
}

/// From here on the connection is ours: libcurl encrypts and decrypts what goes over it.
void clsSmtpSession::TakeOver(curl_socket_t socket)
{
    m_hello = false;
    m_socket = socket;
    m_readable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
    m_writable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Write);
    m_writable->setEnabled(false);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(), [this] { Exchange(); });
    QObject::connect(m_writable.get(), &QSocketNotifier::activated, m_writable.get(), [this] { Exchange(); });
}

bool clsSmtpSession::Encrypted() const
{
    curl_off_t since = 0;
    return m_easy && curl_easy_getinfo(m_easy, CURLINFO_APPCONNECT_TIME_T, &since) == CURLE_OK && since > 0;
}

bool clsSmtpSession::Connected() const
{
    if (Ready())
        return true;
    if (m_login.security != clsMailSecurity::None)
        return Encrypted();
    curl_off_t since = 0;
    return m_easy && curl_easy_getinfo(m_easy, CURLINFO_CONNECT_TIME_T, &since) == CURLE_OK && since > 0;
}

clsSmtpSession::Waited clsSmtpSession::Wait(clsEventLoop& loop, const std::function<bool()>& done,
                                            const std::function<bool()>& stopped, std::chrono::milliseconds limit)
{
    while (true) {
        const qint64 progress = m_progress;
        const auto outcome =
            loop.Wait([&] { return Failed() || done() || stopped() || m_progress != progress; }, limit);
        if (done())
            return Waited::Done;
        if (Failed())
            return Waited::Failed;
        if (stopped() || outcome == clsEventLoop::Outcome::Ending)
            return Waited::Stopped;
        if (m_progress == progress) {
            Fail(modSocketCodes::ConnectTimedOut,
                 u"The server did not answer within %1 seconds"_s.arg(std::chrono::duration<double>(limit).count()) +
                     (m_lastReply.isEmpty() ? QString() : u" (its last words: "_s + m_lastReply + u')'));
            return Waited::TimedOut;
        }
        // libcurl counts the log-in as a part of connecting; here each answer has its own time.
        if (!Ready() && m_easy)
            curl_easy_setopt(m_easy, CURLOPT_CONNECTTIMEOUT_MS, 24L * 3600 * 1000);
    }
}

/// @return false: the server has said its last word before it was asked, Answer() holds it.
bool clsSmtpSession::Ask()
{
    m_answer = Failed() ? std::nullopt : m_unasked;
    m_answerDue = !Failed() && !m_answer;
    if (m_answer)
        m_lastReply = m_answer->text;
    return m_answerDue;
}

void clsSmtpSession::Command(const QByteArray& line)
{
    if (!Ask())
        return;
    Note(u"> "_s + QString::fromUtf8(line));
    m_out = line + "\r\n";
    m_outAt = 0;
    Exchange();
}

void clsSmtpSession::Quit(clsEventLoop& loop, const std::function<bool()>& stopped, std::chrono::milliseconds limit)
{
    Command("QUIT");
    // Whatever comes of it: the message has its reply.
    static_cast<void>(Wait(
        loop, [this] { return m_answer.has_value(); }, stopped, std::min(limit, LastWords)));
}

void clsSmtpSession::Data(const QByteArray& message)
{
    if (!Ask())
        return;
    m_message = &message;
    m_messageAt = 0;
    m_endQueued = false;
    Exchange();
}

bool clsSmtpSession::AllSent() const
{
    return m_outAt == m_out.size() && (!m_message || m_endQueued);
}

/// Takes the next part of the message, with a further dot before each line that begins with one.
void clsSmtpSession::Refill()
{
    if (!m_message || m_endQueued)
        return;
    const QByteArray& message = *m_message;
    const qsizetype stop = std::min(m_messageAt + ChunkBytes, message.size());
    m_out.clear();
    m_outAt = 0;
    for (qsizetype from = m_messageAt; from < stop;) {
        if (message[from] == '.' && (from == 0 || message[from - 1] == '\n'))
            m_out += '.';
        const qsizetype lineEnd = message.indexOf('\n', from);
        const qsizetype to = lineEnd < 0 ? stop : std::min(lineEnd + 1, stop);
        m_out.append(message.constData() + from, to - from);
        from = to;
    }
    m_messageAt = stop;
    if (stop == message.size()) {
        m_out += ".\r\n";
        m_endQueued = true;
    }
}

void clsSmtpSession::Exchange()
{
    if (!Ready() || Failed())
        return;
    ReceiveSome(); // first: what the server says about the beginning may spare it the rest
    SendSome();
    if (Failed()) {
        m_readable->setEnabled(false);
        m_writable->setEnabled(false);
    }
}

void clsSmtpSession::SendSome()
{
    for (qsizetype sent = 0; !Failed() && sent < MostAtOnce;) {
        if (m_outAt == m_out.size())
            Refill();
        if (m_outAt == m_out.size())
            break;
        std::size_t count = 0;
        const CURLcode result = curl_easy_send(m_easy, m_out.constData() + m_outAt,
                                               static_cast<std::size_t>(m_out.size() - m_outAt), &count);
        if (result == CURLE_AGAIN)
            break;
        if (result != CURLE_OK) {
            ReceiveSome(); // its reason may have arrived before it hung up
            FailWith(result, u"Sending"_s);
            return;
        }
        ++m_progress;
        m_outAt += static_cast<qsizetype>(count);
        sent += static_cast<qsizetype>(count);
    }
    m_writable->setEnabled(!Failed() && !AllSent());
}

void clsSmtpSession::ReceiveSome()
{
    std::array<char, 16384> buffer;
    while (!Failed()) {
        std::size_t count = 0;
        const CURLcode result = curl_easy_recv(m_easy, buffer.data(), buffer.size(), &count);
        if (result == CURLE_AGAIN)
            return;
        if (result != CURLE_OK || count == 0) {
            // Whoever waits for nothing need not know yet; a reply that is there stands.
            m_readable->setEnabled(false);
            if (m_answerDue || !m_answer)
                FailWith(result == CURLE_OK ? CURLE_RECV_ERROR : result, u"The server hung up"_s);
            return;
        }
        Heard(QByteArray(buffer.data(), static_cast<qsizetype>(count)));
    }
}

QString clsSmtpSession::Certificate() const
{
    curl_certinfo* chain = nullptr;
    if (!m_easy || curl_easy_getinfo(m_easy, CURLINFO_CERTINFO, &chain) != CURLE_OK || !chain ||
        chain->num_of_certs == 0)
        return {};
    QStringList lines;
    for (const char* wanted : {"Subject:", "Issuer:", "Start date:", "Expire date:"}) {
        for (const curl_slist* entry = chain->certinfo[0]; entry; entry = entry->next) {
            const QByteArray line(entry->data);
            if (line.startsWith(wanted))
                lines += QString::fromUtf8(QByteArray(line).replace(":", ": ").left(500)).simplified();
        }
    }
    return lines.join(u'\n');
}
