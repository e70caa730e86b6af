// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMail.h"

#include "data/modDataModel.h"
#include "data/modLinks.h"
#include "mail/clsMailEngine.h"
#include "mail/clsMailQueue.h"
#include "mail/modFieldTags.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsWindows.h"
#include "platform/frmResources.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QFileInfo>
#include <QHash>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
/// How often a wait shows the time that is left.
constexpr std::chrono::milliseconds Countdown = 1s;
} // namespace

/// Everything that lives as long as one run.
class clsMail::Session final : public clsRun
{
public:
    Session(clsMail& mail, bool preview) : clsRun(mail.m_with.Run, u"MAIL"_s), m_mail(mail), m_preview(preview) {}

    using clsRun::Begin;
    using clsRun::End;
    /// From opening the queue to the last message.
    void Run();

private:
    /// How the work on one link ended.
    enum class Step
    {
        Done,
        Skipped, ///< no message; the next link follows all the same
        Stop,    ///< the stop flag
        End      ///< the run ends; m_end says why
    };
    bool Open();
    Ending WorkThrough();
    Step Work();
    void LogLack(clsMailQueue::Lack lack);
    Step AddTags(QString& text);

    Step Preview();
    [[nodiscard]] QString BuildPreview() const;
    [[nodiscard]] QString AttachmentInfo() const;

    void AskAboutDoubts();
    void Drop(const std::vector<clsSendLedger::Doubt>& doubts);
    void FillEngine();
    Step Send();
    bool WaitForTurn();
    void BeforeData();
    void NoteFailure(const std::optional<clsError>& failure);
    void RecordSent();
    [[nodiscard]] QDateTime Now() const { return Platform().Clock->Now(); }

    clsMail& m_mail;
    const bool m_preview;
    Ending m_end = Ending::Failed;
    std::optional<clsMailQueue> m_queue;
    std::optional<clsSendLedger> m_ledger;       ///< empty in a preview
    std::optional<clsMailLogin> m_login;         ///< of the current site, once it was asked for
    std::unique_ptr<clsMailEngine> m_engine;     ///< made when the first message is sent
    QHash<qint64, std::vector<qint64>> m_doubts; ///< ledger rows in doubt by link
    Doubts m_aboutDoubts = Doubts::Leave;

    // The message in hand.
    clsMailQueue::Template m_template; ///< its texts expanded
    clsSendLedger::Message m_message;
    qint64 m_row = 0; ///< its row in the ledger, 0 before it has one
};

/// @return false when it was stopped.
bool clsMail::Session::Open()
{
    return Unlocked([this] {
        m_queue.emplace(Database());
        if (!m_preview)
            m_ledger.emplace(Database(), *Platform().Disk);
    });
}

void clsMail::Session::Run()
{
    if (!Open()) {
        LogStopped();
        m_mail.m_ending = Ending::Stopped;
        return;
    }
    if (m_queue->Links().RecordCount() == 0) {
        Log(u"There are no records in the E-mail queue. No messages not sent."_s, 1, true);
        MsgBox(u"There are no records in the E-mail queue.  No messages were sent."_s, clsDialogs::Buttons::OK,
               clsDialogs::Icon::Information);
        m_mail.m_ending = Ending::Empty;
        return;
    }
    if (!m_preview)
        AskAboutDoubts();
    Unlocked([this] { m_queue->Links().MoveFirst(); });
    Log(m_preview ? u"Previewing e-mail..."_s : u"Connecting to mail server"_s, 1, true);
    const Ending ending = WorkThrough();
    const bool stopped = ending != Ending::NoConnection && Stopped();
    if (stopped)
        LogStopped();
    m_mail.m_ending = stopped ? Ending::Stopped : ending;
}

void clsMail::Session::AskAboutDoubts()
{
    std::vector<clsSendLedger::Doubt> doubts;
    if (!Unlocked([&] { doubts = m_ledger->InDoubt(); }))
        return;
    // Those of links that are not queued are history; should a link be queued again, it is asked for.
    std::erase_if(doubts, [this](const auto& doubt) { return m_queue->Links().PositionOf(doubt.LinkID) < 0; });
    if (doubts.empty())
        return;
    if (m_mail.m_with.AskAboutDoubts)
        m_aboutDoubts = m_mail.m_with.AskAboutDoubts(doubts);
    if (m_aboutDoubts == Doubts::Drop)
        return Drop(doubts);
    for (const auto& doubt : doubts)
        m_doubts[doubt.LinkID].push_back(doubt.ID);
}

void clsMail::Session::Drop(const std::vector<clsSendLedger::Doubt>& doubts)
{
    std::vector<qint64> rows;
    std::vector<qint64> links;
    for (const auto& doubt : doubts) {
        rows.push_back(doubt.ID);
        links.push_back(doubt.LinkID);
    }
    UnlockedAtLast([&] {
        clsTransaction transaction(Database());
        m_ledger->Close(rows, clsSendLedger::Outcome::Dropped, {}, Now());
        modLinks::SetFields(Database(), links, {{u"EmailQueue"_s, 0}});
        transaction.Commit();
    });
    m_queue->Links().Forget(links);
}

clsMail::Ending clsMail::Session::WorkThrough()
{
    clsRecordset& links = m_queue->Links();
    const qint64 total = links.RecordCount();
    qint64 done = 0;
    std::optional<QString> lastSite;
    while (!links.AfterLast() && !Stopped()) {
        QString key;
        const auto otherSite = [&] { return !lastSite || lastSite->compare(key, Qt::CaseInsensitive) != 0; };
        if (!Unlocked([&] {
                key = m_queue->LinkText(u"SiteName"_s);
                if (otherSite())
                    m_queue->LoadSiteSettings(key);
            }))
            break;
        if (otherSite()) {
            lastSite = key;
            m_login.reset();
            const QString siteID = m_queue->Site().SiteID;
            if (siteID.isEmpty()) {
                TellUnknownSite(key, 1);
                return Ending::UnknownSite;
            }
            Log(u"Current site: "_s + siteID, 1, true);
        }
        Parent().HighLightLink(links.Bookmark());
        const Step step = Work();
        if (step == Step::End)
            return m_end;
        if (step == Step::Stop)
            break;
        m_mail.m_notSent += step == Step::Skipped ? 1 : 0;
        Parent().RunProgress(++done, total);
        if (!Unlocked([&] { links.MoveNext(); }))
            break;
    }
    return Ending::Done;
}

void clsMail::Session::LogLack(clsMailQueue::Lack lack)
{
    const QString couldNot = m_preview ? u"Could not preview mail for "_s : u"Could not send mail to "_s;
    const QString title = m_queue->LinkText(u"Title"_s);
    const QString siteID = m_queue->Site().SiteID;
    const auto tell = [&](const QString& why) { Log(couldNot + why, 2, true); };
    switch (lack) {
    case clsMailQueue::Lack::Nothing:
        return;
    case clsMailQueue::Lack::Assignment:
        return tell(u"link "_s + title + u" because the e-mail template assignment is missing in "_s +
                    u"the E-Mail Assignments Tab of the Site properties for "_s + siteID + u"."_s);
    case clsMailQueue::Lack::Template:
        return tell(title + u" because the e-mail assingments for site "_s + siteID + u" could not be found."_s);
    case clsMailQueue::Lack::Body:
        return tell(title + u" because the e-mail body is empty."_s);
    case clsMailQueue::Lack::Address:
        return tell(title + u" because the e-mail address is missing."_s);
    }
}

clsMail::Session::Step clsMail::Session::AddTags(QString& text)
{
    const auto failure =
        failureOf([&] { Unlocked([&] { m_queue->AddTags(text, *Platform().EventLoop, &Session::Stopped); }); });
    if (Stopped())
        return Step::Stop;
    if (!failure)
        return Step::Done;
    guarded("clsMail", "AddTags", [&] { throw clsError(*failure); });
    // A value that holds its own tag is the fault of one link; everything else would meet the next link too.
    return failure->Number() == modFieldTags::TextTooLong ? Step::Skipped : Step::End;
}

clsMail::Session::Step clsMail::Session::Work()
{
    auto lack = clsMailQueue::Lack::Nothing;
    clsSendLedger::Message message;
    if (!Unlocked([&] {
            lack = m_queue->FindTemplate(m_template);
            message = {.LinkID = m_queue->Links().Bookmark(),
                       .SiteID = m_queue->Site().SiteID,
                       .Title = m_queue->LinkText(u"Title"_s),
                       .Recipient = m_queue->LinkText(u"Email"_s),
                       .Template = m_template.Name,
                       .Server = clsSendLedger::ServerName(m_queue->Site().HostName, m_queue->Site().MailPort)};
        }))
        return Step::Stop;
    m_message = message;
    if (lack != clsMailQueue::Lack::Nothing) {
        LogLack(lack);
        return Step::Skipped;
    }
    for (QString* text : {&m_template.Subject, &m_template.Body}) {
        if (const Step step = AddTags(*text); step != Step::Done)
            return step;
    }
    // Line breaks would not survive the journey: they are blanks from here on, in the preview too.
    m_message.Subject = modCommonFunctions::OnOneLine(m_template.Subject);
    return m_preview ? Preview() : Send();
}

QString clsMail::Session::BuildPreview() const
{
    const clsMailQueue::SiteSettings& site = m_queue->Site();
    QString text = u"From: "_s + site.Sender;
    if (!site.Email.isEmpty())
        text += u" ["_s + site.Email + u']';
    return text + u"\r\nTo: "_s + m_message.Recipient + u"\r\nSubject: "_s + m_message.Subject + u"\r\n\r\n\r\n"_s +
           m_template.Body;
}

/// The file that goes with the message, for people.
QString clsMail::Session::AttachmentInfo() const
{
    const QString path = m_template.AttachedFile;
    if (path.isEmpty())
        return {};
    if (!Platform().Disk->FileExists(path))
        return path + u", not found: the message goes out without it"_s;
    QString size = u"size unknown"_s;
    ignoringErrors([&] { size = modCommonFunctions::ByteSizeText(Platform().Disk->Facts(path).size); });
    return QFileInfo(path).fileName() + u", "_s + size;
}

clsMail::Session::Step clsMail::Session::Preview()
{
    const QString recipient = m_message.Title + u"  ["_s + m_message.Recipient + u']';
    Log(u"Previewing mail for "_s + recipient, 2, true);
    const QString reply = Platform().Windows->ShowPreview(u"Preview E-mail ["_s + m_message.Title + u']',
                                                          BuildPreview(), AttachmentInfo());
    if (reply == u"1") {
        Log(u"You have accepted the message for "_s + recipient, 2, true);
        return Step::Done;
    }
    if (reply == u"2") {
        UnlockedAtLast([this] {
            modLinks::SetFields(Database(), {m_message.LinkID}, {{u"EmailQueue"_s, modDataModel::EmailNotToBeSent}});
        });
        Log(u"You chose not to send the message for "_s + recipient, 2, true);
        return Step::Done;
    }
    // The window's close box too.
    Log(u"You canceled the e-mail preview."_s, 2, true);
    m_end = Ending::Cancelled;
    return Step::End;
}

void clsMail::Session::FillEngine()
{
    if (!m_engine) {
        const clsProgramSettings& settings = State().Settings;
        m_engine = std::make_unique<clsMailEngine>(
            clsMailEngine::Collaborators{.Resources = Platform().Resources,
                                         .EventLoop = Platform().EventLoop,
                                         .Clock = Platform().Clock,
                                         .Disk = Platform().Disk,
                                         .Stopped = &Session::Stopped,
                                         .TemporaryFile = modBrambury::FolderPath(u"\\$$$mime.tmp"_s),
                                         .Limits = {.timeoutSeconds = settings.Timeout, .caFile = settings.CaFile},
                                         .BeforeData = [this] { BeforeData(); }});
    }
    const clsMailQueue::SiteSettings& site = m_queue->Site();
    m_engine->SetLog(&StatusLog());
    m_engine->DomainName = site.Email;
    m_engine->HostName = site.HostName;
    m_engine->MailPort = site.MailPort;
    m_engine->Sender = site.Sender;
    m_engine->XMailer = u"Generated by "_s + modBrambury::ProgramTitle + u", the Internet reciprocal link manager."_s;
    m_engine->BlindCopy = State().Settings.BCC == 1 ? site.Email : QString();
    if (!m_login && m_mail.m_with.LoginOf)
        Unlocked([this] { m_login = m_mail.m_with.LoginOf(m_queue->SiteRecord()); });
    m_engine->Login = m_login.value_or(clsMailLogin{});
    m_engine->Recipient = m_message.Recipient;
    m_engine->Title = m_message.Title;
    m_engine->MessageSubject = m_message.Subject;
    m_engine->MessageBody = m_template.Body;
    m_engine->Attachment = m_template.AttachedFile;
    m_engine->MessageID = m_message.MailID = m_engine->NewMessageID();
}

clsMail::Session::Step clsMail::Session::Send()
{
    if (m_doubts.contains(m_message.LinkID) && m_aboutDoubts == Doubts::Leave) {
        Log(u"Could not send mail to "_s + m_message.Title +
                u" because it is in doubt whether the last message has arrived."_s,
            2, true);
        return Step::Skipped;
    }
    FillEngine();
    if (Stopped())
        return Step::Stop;
    if (!modCommonFunctions::InternetConnection()) {
        TellNoConnection();
        m_end = Ending::NoConnection;
        return Step::End;
    }
    if (m_engine->InitSMTP() != clsMailEngine::Missing::Nothing)
        return Step::Skipped;
    if (!WaitForTurn() || Stopped())
        return Step::Stop;

    m_row = 0;
    bool sent = false;
    const auto failure = failureOf([&] { sent = m_engine->SendMessage(); });
    if (sent) {
        if (const auto lost = failureOf([this] { RecordSent(); }))
            throw clsError(lost->Number(),
                           u"The message to %1 was sent, but this could not be recorded: it is in doubt.  %2"_s.arg(
                               m_message.Recipient, lost->Description()),
                           lost->Source(), lost->SystemError());
        return Step::Done;
    }
    ++m_mail.m_notSent;
    NoteFailure(failure);
    if (failure && failure->Number() != clsError::WorkStopped)
        throw clsError(failure->Number(), u"An error occured while sending mail.  "_s + failure->Description(),
                       failure->Source(), failure->SystemError());
    if (Stopped())
        return Step::Stop;
    m_end = Ending::NoServer;
    return Step::End;
}

/// @return false when it was stopped.
bool clsMail::Session::WaitForTurn()
{
    bool waited = false;
    for (;;) {
        clsMailPace::Delay delay;
        if (!Unlocked([&] { delay = clsMailPace(*m_ledger).Next(m_message.Server, m_queue->Site().Pace, Now()); }))
            return false;
        if (delay.Left <= 0ms)
            break;
        waited = true;
        Parent().RunWaits(delay.Left, delay.Why);
        if (Platform().EventLoop->Wait(&Session::Stopped, std::min(delay.Left, Countdown)) !=
            clsEventLoop::Outcome::TimedOut)
            break;
    }
    if (waited)
        Parent().RunWaits(0ms, {});
    return !Stopped();
}

/// The server waits for the message, and nothing of it is out. From here on it may arrive, and the ledger has to know.
void clsMail::Session::BeforeData()
{
    if (m_mail.m_with.Keep)
        m_mail.m_with.Keep(m_message, Platform().Resources->smtp->Bytes());
    if (!Unlocked([this] { m_row = m_ledger->Begin(m_message, m_doubts.value(m_message.LinkID), Now()); }))
        throw clsError(clsError::WorkStopped, u"The message was not sent: stopped."_s, modBrambury::ProgramTitle);
    m_ledger->Flush();
}

/// What is known of a message that has not been sent for certain. Should this fail too, its row is in doubt.
void clsMail::Session::NoteFailure(const std::optional<clsError>& failure)
{
    if (m_row == 0)
        return;
    const QString reply = failure ? failure->Description() : u"stopped after: "_s + m_engine->LastReply();
    ignoringErrors([&] {
        UnlockedAtLast([&] {
            if (m_engine->InDoubt())
                m_ledger->Note(m_row, reply);
            else
                m_ledger->Close({m_row}, clsSendLedger::Outcome::NotSent, reply, Now());
        });
    });
}

/// The server has taken the message: link and ledger say so together. Should that fail, the row is in doubt.
void clsMail::Session::RecordSent()
{
    UnlockedAtLast([this] {
        clsRecordset& links = m_queue->Links();
        clsTransaction transaction(Database());
        m_ledger->Close({m_row}, clsSendLedger::Outcome::Sent, m_engine->LastReply(), Now());
        if (links.Refresh()) { // it may have been deleted meanwhile
            links.Edit();
            if (links.Field(u"Offer"_s).toInt() != 0)
                links.SetField(u"Offers"_s, links.Field(u"Offers"_s).toLongLong() + 1);
            links.SetField(u"EmailQueue"_s, 0);
            links.Update();
        }
        transaction.Commit();
    });
}

clsMail::clsMail(Collaborators collaborators) : m_with(std::move(collaborators)) {}

void clsMail::SendMail(bool Preview)
{
    m_ending = Ending::Failed;
    m_notSent = 0;
    std::optional<Session> session;
    guarded("clsMail", "SendMail", [&] {
        session.emplace(*this, Preview);
        session->Begin();
        session->Run();
    });
    // After a failure too: the log says where the session ended.
    if (session)
        guarded("clsMail", "SendMail", [&] { session->End(); });
}
