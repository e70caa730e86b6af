// SPDX-License-Identifier: GPL-3.0-or-later
// link: link partners shown, added, changed and deleted.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "cli/modRecordWords.h"
#include "data/clsLinkRecord.h"
#include "data/modLinks.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>

using namespace Qt::Literals::StringLiterals;
using modCommands::InDatabase;
using modRecordWords::Assignment;

namespace
{
const QString LinkTable = u"tblLinkList"_s;

/// Moves to a link. @return Done, or Refused when there is none; the user has been told.
ExitCode FindLink(clsRecordset& links, qint64 id)
{
    if (links.PositionOf(id) < 0)
        return clsCommandSession::Refuse(u"There is no link %1."_s.arg(id));
    links.MoveTo(id);
    return ExitCode::Done;
}

/// An editor for links of the selected site.
clsLinkRecord EditorOfSelectedSite(clsDatabase& database)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    return {database, state.CurrentSite, state.Tests.MyLinkAtRecipSite};
}

ExitCode Save(clsDatabase& database, clsLinkRecord& link, const std::vector<Assignment>& assignments)
{
    const QString problem = modRecordWords::Assign(
        database, LinkTable, link, assignments, modRecordColumns::OfLinks(database, modBrambury::State().CurrentSite));
    return problem.isEmpty() ? modRecordWords::Save(link) : clsCommandSession::Refuse(problem);
}

ExitCode Show(clsDatabase& database, qint64 id, modIO::TableForm form)
{
    const auto links = database.OpenRecordset(LinkTable);
    if (const ExitCode found = FindLink(*links, id); found != ExitCode::Done)
        return found;
    modRecordWords::Show(*links, form);
    return ExitCode::Done;
}

ExitCode Add(clsDatabase& database, const QString& siteID, const std::vector<Assignment>& assignments)
{
    if (const ExitCode selected = clsCommandSession::SelectSite(database, siteID); selected != ExitCode::Done)
        return selected;
    clsLinkRecord link = EditorOfSelectedSite(database);
    if (!link.OpenNew(modDataModel::EveryStatus))
        return ExitCode::Failed;
    const ExitCode saved = Save(database, link, assignments);
    if (saved == ExitCode::Done)
        modConsole::WriteLine(QString::number(link.LinkID()));
    return saved;
}

ExitCode Set(clsDatabase& database, qint64 id, const std::vector<Assignment>& assignments)
{
    const auto links = database.OpenRecordset(LinkTable);
    if (const ExitCode found = FindLink(*links, id); found != ExitCode::Done)
        return found;
    const QString siteID = u""_s + modCommonFunctions::TextOf(links->Field(u"SiteName"_s));
    if (const ExitCode selected = clsCommandSession::SelectSite(database, siteID); selected != ExitCode::Done)
        return selected;
    clsLinkRecord link = EditorOfSelectedSite(database);
    return link.Open(id, modDataModel::EveryStatus) ? Save(database, link, assignments) : ExitCode::Failed;
}

/// What is done with many links at once. @return how many there were.
using ManyWork = std::function<qint64(clsDatabase&, const std::vector<qint64>& ids)>;

/// Does it for all of these links, or for none when one of them is unknown.
/// @param agreed  asks the user, with the first link's title.  @param told  "%1 link(s) ..."
ExitCode ForAll(clsDatabase& database, const std::vector<qint64>& ids,
                const std::function<bool(const QString&)>& agreed, const ManyWork& work, const QString& told)
{
    const auto links = database.OpenRecordset(LinkTable);
    for (const qint64 id : ids) {
        if (const ExitCode found = FindLink(*links, id); found != ExitCode::Done)
            return found;
    }
    links->MoveTo(ids.front());
    if (agreed && !agreed(modCommonFunctions::TextOf(links->Field(u"Title"_s))))
        return ExitCode::Refused;
    modConsole::WriteLine(told.arg(work(database, ids)));
    return ExitCode::Done;
}

/// The words that these commands share.
struct Words
{
    modCommands::Word site;
    modCommands::Word status;
    qint64 id = 0;
    std::vector<qint64> ids;
    std::vector<std::string> assignments;
    modCommands::Forms forms;
};

void AddID(CLI::App& command, const std::shared_ptr<Words>& words)
{
    command.add_option("id", words->id, "The link's number")->required()->type_name("ID");
}

void AddIDs(CLI::App& command, const std::shared_ptr<Words>& words)
{
    command.add_option("ids", words->ids, "Numbers of links; all of them, or none when one is unknown")
        ->required()
        ->type_name("ID");
}

int StatusCode(const modCommands::Word& name)
{
    const QSet<int> codes = modCommands::StatusCodes(name);
    if (codes.size() != 1)
        throw CLI::ValidationError("status", "a link has one status");
    return *codes.cbegin();
}
} // namespace

void modCommands::AddLink(CLI::App& app, clsCommand& chosen)
{
    CLI::App* link = app.add_subcommand("link", "Show, add, change or delete link partners");
    link->require_subcommand(1);

    auto words = std::make_shared<Words>();
    CLI::App* command = link->add_subcommand("show", "Show every field of a link");
    AddID(*command, words);
    AddForms(*command, words->forms);
    command->callback([&chosen, words] {
        chosen = InDatabase(
            [id = words->id, form = words->forms.Form()](clsDatabase& database) { return Show(database, id, form); });
    });

    words = std::make_shared<Words>();
    command = link->add_subcommand("add", "Add a link partner of a site; prints the link's number");
    AddSiteName(*command, words->site);
    AddAssignments(*command, words->assignments);
    command->callback([&chosen, words] {
        chosen =
            InDatabase([siteID = words->site.Text(), assignments = modRecordWords::Assignments(words->assignments)](
                           clsDatabase& database) { return Add(database, siteID, assignments); });
    });

    words = std::make_shared<Words>();
    command = link->add_subcommand("set", "Change fields of a link; its site's test switches count");
    AddID(*command, words);
    AddAssignments(*command, words->assignments)->required();
    command->callback([&chosen, words] {
        chosen = InDatabase([id = words->id, assignments = modRecordWords::Assignments(words->assignments)](
                                clsDatabase& database) { return Set(database, id, assignments); });
    });

    words = std::make_shared<Words>();
    command = link->add_subcommand("delete", "Delete links, after a question");
    AddIDs(*command, words);
    command->callback([&chosen, words] {
        chosen = InDatabase([ids = words->ids](clsDatabase& database) {
            return ForAll(database, ids, &modLinks::ConfirmDelete, &modLinks::Delete, u"%1 link(s) deleted."_s);
        });
    });

    words = std::make_shared<Words>();
    command = link->add_subcommand("status", "Give links a status");
    words->status.option =
        command->add_option("status", words->status.text, "offer, in-process, active, broken, inactive or declined")
            ->required()
            ->type_name("NAME");
    AddIDs(*command, words);
    command->callback([&chosen, words] {
        chosen = InDatabase([ids = words->ids, status = StatusCode(words->status)](clsDatabase& database) {
            const auto set = [status](clsDatabase& records, const std::vector<qint64>& links) {
                return modLinks::SetFields(records, links, {{u"Status"_s, status}});
            };
            return ForAll(database, ids, {}, set, u"%1 link(s) changed."_s);
        });
    });
}
