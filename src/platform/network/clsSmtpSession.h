// SPDX-License-Identifier: GPL-3.0-or-later
// One connection to a mail server: libcurl connects, encrypts, says EHLO and logs in; after that commands and the
// message go over the connection one at a time.
#pragma once

#include "platform/clsMailServer.h"
#include "platform/network/clsCurlMulti.h"
#include "platform/network/clsSmtpReply.h"

#include <QByteArray>
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>

class clsEventLoop;

/// libcurl could send the message as well, but waits for the server's last word in a blocking call, which would hold
/// the window up and cannot be stopped; so it is asked for the connection alone. Its protocol trace tells what was said
/// until then.
class clsSmtpSession final : private clsCurlListener
{
public:
    struct Target
    {
        QString host;
        int port = 25;
        QString helloName; ///< who we say we are; empty: this machine
        clsMailLogin login;
        QByteArray caFile;                  ///< PEM; see clsAuthorities
        bool checkCertificate = true;       ///< off only for looking at a certificate; then there is no log-in
        bool wantsCertificate = false;      ///< for Certificate()
        std::chrono::seconds timeLimit{60}; ///< for connecting
    };
    /// What the server says it can do.
    struct Abilities
    {
        QStringList methods; ///< for log-in, in capitals
        bool startTLS = false;
        bool utf8 = false;    ///< SMTPUTF8 (RFC 6531)
        bool size = false;    ///< SIZE (RFC 1870)
        qint64 sizeLimit = 0; ///< bytes; 0: none told
    };
    /// Why it cannot go on.
    struct Trouble
    {
        int code = 0; ///< see clsSmtpEvents::Error
        QString text; ///< for the error log
    };

    /// Begins to connect.
    clsSmtpSession(clsCurlMulti& multi, const Target& target);
    /// Closes the connection at once.
    ~clsSmtpSession() override;
    clsSmtpSession(const clsSmtpSession&) = delete;
    clsSmtpSession& operator=(const clsSmtpSession&) = delete;

    enum class Waited
    {
        Done,
        Failed,   ///< Problem() says why
        Stopped,  ///< by the user, or the program is told to end
        TimedOut, ///< Problem() says it
    };
    /// Waits in the event loop until `done` holds. @param limit  for each answer, that is: without any progress.
    [[nodiscard]] Waited Wait(clsEventLoop& loop, const std::function<bool()>& done,
                              const std::function<bool()>& stopped, std::chrono::milliseconds limit);

    /// Connected, and encrypted where that is required.
    [[nodiscard]] bool Connected() const;
    [[nodiscard]] bool Encrypted() const;
    [[nodiscard]] bool LoggedIn() const { return m_loggedIn; }
    /// EHLO is answered, the log-in done: commands may be sent.
    [[nodiscard]] bool Ready() const { return m_socket != CURL_SOCKET_BAD; }
    [[nodiscard]] bool Failed() const { return m_problem.code != 0; }
    [[nodiscard]] const Trouble& Problem() const { return m_problem; }
    [[nodiscard]] CURLcode Result() const { return m_result; } ///< of connecting, 0 while it lasts
    [[nodiscard]] const Abilities& Offers() const { return m_offers; }
    [[nodiscard]] const QString& LastReply() const { return m_lastReply; }
    [[nodiscard]] const QStringList& Dialogue() const { return m_dialogue; }
    /// Subject, issuer and dates, a line each; empty without encryption.
    [[nodiscard]] QString Certificate() const;

    /// Sends one command line. Answer() is empty until its reply is there.
    void Command(const QByteArray& line);
    /// Says QUIT, and gives the server a moment to answer. @param limit  the longest such moment.
    void Quit(clsEventLoop& loop, const std::function<bool()>& stopped, std::chrono::milliseconds limit);
    /// Sends the message, dots stuffed, and the line that ends it. It ends with CR LF, and must outlive the sending.
    void Data(const QByteArray& message);
    /// The reply to the newest command, or to the data.
    [[nodiscard]] const std::optional<clsSmtpReply>& Answer() const { return m_answer; }
    /// Everything is with the system, the end of the message too.
    [[nodiscard]] bool AllSent() const;

    /// A text without the secrets of the log-in, in any form in which they travel.
    [[nodiscard]] QString WithoutSecrets(const QString& text) const;

private:
    void Ended(CURLcode result) override;
    void SetOptions(const Target& target);
    [[nodiscard]] QByteArray Url(const Target& target) const;
    void Said(const QByteArray& line);
    void Heard(QByteArray bytes);
    void TakeReply(const clsSmtpReply& reply);
    void TakeAbility(const QByteArray& line);
    void Note(const QString& line);
    void Fail(int code, const QString& text);
    void FailWith(CURLcode result, const QString& doing);
    void TakeOver(curl_socket_t socket);
    [[nodiscard]] bool Ask();
    void Refill();
    void Exchange();
    void SendSome();
    void ReceiveSome();
    static int OnTrace(CURL* easy, curl_infotype type, char* bytes, std::size_t count, void* self);

    clsCurlMulti& m_multi;
    const clsMailLogin m_login;
    CURL* m_easy = nullptr;
    char m_errorText[CURL_ERROR_SIZE] = "";
    CURLcode m_result = CURLE_OK;
    curl_socket_t m_socket = CURL_SOCKET_BAD;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable;

    Abilities m_offers;
    bool m_hello = false; ///< the reply to come is that to EHLO
    bool m_loggingIn = false;
    bool m_loggedIn = false;
    QStringList m_dialogue;
    QString m_lastReply;
    int m_lastCode = 0;
    Trouble m_problem;
    qint64 m_progress = 0; ///< counts what shows that the other side lives

    clsSmtpReplyReader m_reader;
    QByteArray m_in;
    QByteArray m_out; ///< what is to be sent next; its buffer must not move while a part of it is tried
    qsizetype m_outAt = 0;
    const QByteArray* m_message = nullptr;
    qsizetype m_messageAt = 0;
    bool m_endQueued = false; ///< of the message
    bool m_answerDue = false;
    std::optional<clsSmtpReply> m_unasked; ///< a reply that came before anything was asked
    std::optional<clsSmtpReply> m_answer;
};
