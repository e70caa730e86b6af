// SPDX-License-Identifier: GPL-3.0-or-later
// send, preview, queue mail and mail: the mail run, which links it will write to, and what it has sent.
#include "cli/clsCommandSession.h"
#include "cli/clsConsoleLog.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "mail/clsMail.h"
#include "mail/clsMailLogins.h"
#include "mail/modMailCheck.h"
#include "mail/modQueueMail.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <QDir>
#include <QSet>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommands::InDatabase;
using modCommands::Word;

namespace
{
/// Nobody watches the links go by; of a wait is told once.
class clsMailParent final : public clsRunParent
{
public:
    void RunWaits(std::chrono::milliseconds left, const QString& why) override
    {
        if (left.count() > 0 && !m_waits)
            modConsole::ErrorLine(u"Waiting %1 for %2."_s.arg(
                modCommonFunctions::DurationText(std::chrono::ceil<std::chrono::seconds>(left)), why));
        m_waits = left.count() > 0;
    }

private:
    bool m_waits = false;
};

ExitCode CodeOf(const clsMail& mail)
{
    const clsMail::Ending ending = mail.LastEnding();
    const bool ended = ending == clsMail::Ending::Done || ending == clsMail::Ending::Empty;
    if (State().StopFlag && !State().Terminating && !ended)
        return ExitCode::Stopped;
    switch (ending) {
    case clsMail::Ending::Done:
        return mail.NotSent() > 0 ? ExitCode::Findings : ExitCode::Done;
    case clsMail::Ending::Empty:
        return ExitCode::Done;
    case clsMail::Ending::Stopped:
    case clsMail::Ending::Cancelled:
        return ExitCode::Stopped;
    case clsMail::Ending::NoConnection:
    case clsMail::Ending::NoServer:
    case clsMail::Ending::UnknownSite:
    case clsMail::Ending::Failed:
        break;
    }
    return ExitCode::Failed;
}

/// Lists the messages in doubt; what becomes of them was said beforehand.
clsMail::Doubts TellDoubts(const std::vector<clsSendLedger::Doubt>& doubts, clsMail::Doubts decision)
{
    modConsole::ErrorLine(u"It is not known whether these messages have arrived:"_s);
    for (const clsSendLedger::Doubt& doubt : doubts)
        modConsole::ErrorLine(u"  link %1, "_s.arg(doubt.LinkID) + doubt.Title + u"  ["_s + doubt.Recipient +
                              u"], sent "_s + modCommonFunctions::StoredDateTime(doubt.Begun));
    switch (decision) {
    case clsMail::Doubts::Leave:
        modConsole::ErrorLine(u"They are not sent now; --resend-in-doubt sends them again, --drop-in-doubt takes them "
                              u"off the queue."_s);
        break;
    case clsMail::Doubts::Resend:
        modConsole::ErrorLine(u"They are sent again."_s);
        break;
    case clsMail::Doubts::Drop:
        modConsole::ErrorLine(u"They are taken off the queue."_s);
        break;
    }
    return decision;
}

/// A file for each message, named by its moment and its link.
void KeepBytes(const QString& folder, const clsSendLedger::Message& message, const QByteArray& bytes)
{
    clsDisk& disk = *modBrambury::Platform().Disk;
    const QString stem = QDir(folder).filePath(
        u"%1-%2"_s.arg(modBrambury::Platform().Clock->Now().toString(u"yyyyMMdd-HHmmss"_s)).arg(message.LinkID));
    QString path = stem + u".eml"_s;
    for (int i = 2; disk.FileExists(path); ++i)
        path = u"%1-%2.eml"_s.arg(stem).arg(i);
    disk.WriteFile(path, bytes);
}

struct SendWords
{
    bool resend = false;
    bool drop = false;
    Word eml;
};

ExitCode RunMail(bool preview, clsMail::Doubts decision, const QString& eml)
{
    clsMailParent parent;
    // A preview stands between the lines of its log; the log of sending continues its lines.
    clsConsoleLog log(preview ? clsConsoleLog::LineEnd::AtOnce : clsConsoleLog::LineEnd::Late);
    clsMail::Collaborators with{.Run = {.Parent = &parent,
                                        .LogWindow = &log,
                                        .Platform = modBrambury::Platform(),
                                        .Database = &clsCommandSession::Database()}};
    clsMailLogins logins;
    with.LoginOf = [&logins](const clsRecordset& site) { return logins.Of(site); };
    with.AskAboutDoubts = [decision](const auto& doubts) { return TellDoubts(doubts, decision); };
    if (!eml.isEmpty()) {
        modBrambury::Platform().Disk->MakeFolder(eml);
        with.Keep = [eml](const auto& message, const QByteArray& bytes) { KeepBytes(eml, message, bytes); };
    }
    clsMail mail(std::move(with));
    mail.SendMail(preview);
    return CodeOf(mail);
}

struct QueueWords
{
    int type = 0;
    std::vector<qint64> ids;
    Word statuses;
    Word site;
};

ExitCode QueueMail(clsDatabase& database, int type, std::vector<qint64> ids, const QSet<int>& statuses, QString site)
{
    const auto& types = State().MessageTypes;
    if (std::none_of(types.cbegin(), types.cend(), [type](const auto& entry) { return entry.ID == type; }))
        return clsCommandSession::Refuse(u"There is no message type %1."_s.arg(type));
    if (ids.empty() || !site.isNull()) {
        const auto sites = database.OpenRecordset(u"tblSites"_s);
        if (const ExitCode found = clsCommandSession::FindSite(*sites, site); found != ExitCode::Done)
            return found;
        site = modCommonFunctions::TextOf(sites->Field(u"SiteID"_s));
    }
    if (ids.empty()) {
        ids = modQueueMail::LinksOf(database, site, statuses);
        if (ids.empty()) {
            modCommonFunctions::MsgBox(u"There are no links available."_s, clsDialogs::Buttons::OK,
                                       clsDialogs::Icon::Information);
            return ExitCode::Findings;
        }
    } else {
        const auto links = database.OpenRecordset(u"tblLinkList"_s);
        for (const qint64 id : ids) {
            if (links->PositionOf(id) < 0)
                return clsCommandSession::Refuse(u"There is no link %1."_s.arg(id));
            links->MoveTo(id);
            if (!site.isNull() &&
                modCommonFunctions::TextOf(links->Field(u"SiteName"_s)).compare(site, Qt::CaseInsensitive) != 0)
                return clsCommandSession::Refuse(u"Link %1 is none of the site %2."_s.arg(id).arg(site));
        }
    }
    modConsole::WriteLine(u"%1 link(s) added to the e-mail queue."_s.arg(modQueueMail::SetMail(database, ids, type)));
    return ExitCode::Done;
}

ExitCode Check(clsDatabase& database)
{
    const modMailCheck::Report report = modMailCheck::Check(database, modBrambury::Platform());
    for (const modMailCheck::Finding& finding : report.Findings)
        modConsole::WriteLine(finding.Where + u": "_s + finding.What);
    modConsole::WriteLine(
        u"%1 message(s) checked, %2 problem(s) found."_s.arg(report.Messages).arg(report.Findings.size()));
    return report.Findings.empty() ? ExitCode::Done : ExitCode::Findings;
}

ExitCode History(clsDatabase& database, qint64 linkID, modIO::TableForm form)
{
    const auto records = clsSendLedger::History(database, linkID);
    const bool people = form == modIO::TableForm::People;
    if (people && records->RecordCount() == 0) {
        modCommonFunctions::MsgBox(u"No messages were sent."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
        return ExitCode::Done;
    }
    const QStringList fields =
        people ? QStringList{u"Begun"_s, u"LinkID"_s, u"Recipient"_s, u"Subject"_s, u"Outcome"_s, u"Reply"_s}
               : records->FieldNames();
    modIO::clsTableWriter table(form, fields, &modConsole::Write);
    constexpr qint64 batch = 500;
    for (qint64 first = 0; first < records->RecordCount(); first += batch) {
        for (auto& row : records->Rows(first, batch, fields)) {
            if (people && !row.empty())
                row[4] = clsSendLedger::OutcomeText(row[4]);
            if (!row.empty())
                table.Row(row);
        }
    }
    table.End();
    return ExitCode::Done;
}

void AddSend(CLI::App& app, clsCommand& chosen)
{
    const auto words = std::make_shared<SendWords>();
    CLI::App* send = app.add_subcommand("send", "Send the message of every link in the e-mail queue");
    CLI::Option* resend = send->add_flag("--resend-in-doubt", words->resend,
                                         "Send messages again of which it is not known whether they have arrived");
    send->add_flag("--drop-in-doubt", words->drop, "Take such messages off the queue instead")->excludes(resend);
    words->eml.option =
        send->add_option("--eml", words->eml.text, "Keep the exact bytes of every message as a file in this folder")
            ->type_name("DIR");
    send->callback([&chosen, words] {
        const auto decision = words->resend ? clsMail::Doubts::Resend
                              : words->drop ? clsMail::Doubts::Drop
                                            : clsMail::Doubts::Leave;
        chosen = [decision, eml = words->eml.Text()](clsCommandSession& session) {
            return session.AsRun({}, [&] { return RunMail(false, decision, eml); });
        };
    });
    app.add_subcommand("preview", "Show the message of every link in the e-mail queue, to be approved or not")
        ->callback([&chosen] {
            chosen = [](clsCommandSession& session) {
                return session.AsRun({}, [] { return RunMail(true, clsMail::Doubts::Leave, {}); });
            };
        });
}

void AddQueueMail(CLI::App& app, clsCommand& chosen)
{
    const auto words = std::make_shared<QueueWords>();
    CLI::App* queue = app.get_subcommand("queue")->add_subcommand("mail", "Queue links for a message");
    queue->add_option("--type", words->type, "The message type, 1 to 8")->required()->type_name("N");
    CLI::Option* ids =
        queue->add_option("--link", words->ids, "These links, by their numbers")->type_name("ID")->expected(1, -1);
    words->statuses.option = queue
                                 ->add_option("--status", words->statuses.text,
                                              "Links of these statuses, separated by commas: active,broken")
                                 ->type_name("STATUS,...")
                                 ->excludes(ids);
    words->site.option =
        queue->add_option("--site", words->site.text, "Links of this site; else of the one selected last")
            ->type_name("SITEID");
    queue->callback([&chosen, words] {
        // Everybody is written to on purpose only.
        if (words->ids.empty() && words->statuses.option->count() == 0 && words->site.option->count() == 0)
            throw CLI::ValidationError("queue mail", "--link, --status or --site has to say which links");
        QSet<int> statuses;
        if (words->statuses.option->count() > 0)
            statuses = modCommands::StatusCodes(words->statuses);
        chosen = InDatabase([words, statuses](clsDatabase& database) {
            return QueueMail(database, words->type, words->ids, statuses, words->site.Text());
        });
    });
}

void AddMailGroup(CLI::App& app, clsCommand& chosen)
{
    CLI::App* mail = app.add_subcommand("mail", "Look at the messages to come, and at those that were sent");
    mail->require_subcommand(1);
    mail->add_subcommand("check", "Make every message of the e-mail queue, send none, and list what is wrong")
        ->callback([&chosen] { chosen = InDatabase(&Check); });

    struct Words
    {
        qint64 link = 0;
        modCommands::Forms forms;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* history = mail->add_subcommand("history", "List what was sent to whom, and what the server said");
    history->add_option("--link", words->link, "Messages to this link only")
        ->type_name("ID")
        ->check(CLI::PositiveNumber);
    modCommands::AddForms(*history, words->forms);
    history->callback([&chosen, words] {
        chosen = InDatabase([link = words->link, form = words->forms.Form()](clsDatabase& database) {
            return History(database, link, form);
        });
    });
}
} // namespace

void modCommands::AddMail(CLI::App& app, clsCommand& chosen)
{
    AddSend(app, chosen);
    AddQueueMail(app, chosen);
    AddMailGroup(app, chosen);
}
