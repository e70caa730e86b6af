// SPDX-License-Identifier: GPL-3.0-or-later
// site, category: one of the user's own sites, or of its categories, shown, added, changed and deleted.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "cli/modRecordWords.h"
#include "data/clsSiteRecord.h"
#include "data/modCategories.h"
#include "data/modSites.h"
#include "platform/clsSettingsStore.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>

using namespace Qt::Literals::StringLiterals;
using modCommands::InDatabase;
using modCommands::Word;
using modRecordWords::Assignment;

namespace
{
const QString SiteTable = u"tblSites"_s;

/// What a command does with the key of the site that its words name.
using SiteWork = std::function<ExitCode(clsDatabase&, const QString& siteID)>;

/// A command for a site that exists. @param given  its name; never Null.
clsCommand ForSite(const QString& given, const SiteWork& work)
{
    return InDatabase([given, work](clsDatabase& database) {
        const auto sites = database.OpenRecordset(SiteTable);
        const ExitCode found = clsCommandSession::FindSite(*sites, given);
        return found == ExitCode::Done ? work(database, sites->Field(u"SiteID"_s).toString()) : found;
    });
}

/// Tells why a site cannot have this name. @return Done when it can.
ExitCode CheckName(clsDatabase& database, const QString& name, modSites::NameFor purpose, const QString& renamed = {})
{
    if (name.isEmpty())
        return clsCommandSession::Refuse(u"A site cannot be without a name."_s);
    const QString problem = modSites::NameProblem(database, name, purpose, renamed);
    if (problem.isEmpty())
        return ExitCode::Done;
    modCommonFunctions::MsgBox(problem, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    return ExitCode::Refused;
}

ExitCode Save(clsDatabase& database, clsSiteRecord& site, const std::vector<Assignment>& assignments)
{
    const QString problem =
        modRecordWords::Assign(database, SiteTable, site, assignments, modRecordWords::ReferencesOfSites(database));
    return problem.isEmpty() ? modRecordWords::Save(site) : clsCommandSession::Refuse(problem);
}

ExitCode Add(clsDatabase& database, const QString& given, const std::vector<Assignment>& assignments)
{
    const QString name = modSites::Trimmed(given);
    if (const ExitCode free = CheckName(database, name, modSites::NameFor::NewSite); free != ExitCode::Done)
        return free;
    clsSiteRecord site(database);
    return site.OpenNew(name) ? Save(database, site, assignments) : ExitCode::Failed;
}

ExitCode Rename(clsDatabase& database, const QString& siteID, const QString& given)
{
    const QString name = modSites::Trimmed(given);
    if (const ExitCode free = CheckName(database, name, modSites::NameFor::Rename, siteID); free != ExitCode::Done)
        return free;
    const QString remembered = modBrambury::State().Settings.Site;
    modSites::Rename(database, siteID, name);
    // No window ends here and saves it.
    if (modBrambury::State().Settings.Site != remembered)
        modBrambury::Platform().Settings->SaveSetting(u"General"_s, u"Site"_s, name);
    return ExitCode::Done;
}

ExitCode Copy(clsDatabase& database, const QString& siteID)
{
    const QString name = modSites::Copy(database, siteID);
    if (name.isEmpty())
        return ExitCode::Failed;
    modConsole::WriteLine(name);
    return ExitCode::Done;
}

ExitCode Delete(clsDatabase& database, const QString& siteID)
{
    if (!modSites::ConfirmDelete(siteID))
        return ExitCode::Refused;
    modSites::Delete(database, siteID);
    return ExitCode::Done;
}

/// The category that a word means. @return 0 when it means none, or several; the user has been told.
qint64 FindCategory(clsDatabase& database, const QString& siteID, const QString& word)
{
    const QStringList meant = modRecordWords::NumbersMeant(
        modCategories::Of(database, siteID), &modCategories::Category::ID, &modCategories::Category::Name, word);
    if (meant.isEmpty())
        clsCommandSession::Refuse(u"The site %1 has no category %2."_s.arg(siteID, word));
    else if (meant.size() > 1)
        clsCommandSession::Refuse(u"The site %1 has several categories %2: say which by its number, %3."_s.arg(
            siteID, word, meant.join(u", ")));
    return meant.size() == 1 ? meant.front().toLongLong() : 0;
}

ExitCode AddCategory(clsDatabase& database, const QString& siteID, const QString& name)
{
    if (const QString problem = modCategories::NameProblem(database, name); !problem.isEmpty())
        return clsCommandSession::Refuse(problem);
    modConsole::WriteLine(QString::number(modCategories::Add(database, siteID, name)));
    return ExitCode::Done;
}

ExitCode RenameCategory(clsDatabase& database, const QString& siteID, const QString& word, const QString& name)
{
    const qint64 id = FindCategory(database, siteID, word);
    if (id == 0)
        return ExitCode::Refused;
    if (const QString problem = modCategories::NameProblem(database, name); !problem.isEmpty())
        return clsCommandSession::Refuse(problem);
    modCategories::Rename(database, id, name);
    return ExitCode::Done;
}

ExitCode DeleteCategory(clsDatabase& database, const QString& siteID, const QString& word)
{
    const qint64 id = FindCategory(database, siteID, word);
    if (id == 0)
        return ExitCode::Refused;
    modCategories::Delete(database, {id});
    return ExitCode::Done;
}

/// The words that these commands share.
struct Words
{
    Word site;
    Word name;
    Word newName;
    std::vector<std::string> assignments;
    modCommands::Forms forms;
};

CLI::App* AddCommand(CLI::App& group, const char* name, const char* description, const std::shared_ptr<Words>& words,
                     const char* meaning = "The site")
{
    CLI::App* command = group.add_subcommand(name, description);
    words->name.option = command->add_option("name", words->name.text, meaning)->required()->type_name("NAME");
    return command;
}

void AddNewName(CLI::App& command, const std::shared_ptr<Words>& words)
{
    words->newName.option =
        command.add_option("new", words->newName.text, "Its new name")->required()->type_name("NEW");
}
} // namespace

void modCommands::AddSite(CLI::App& app, clsCommand& chosen)
{
    CLI::App* site = app.add_subcommand("site", "Show, add, change or delete one of your own sites");
    site->require_subcommand(1);

    auto words = std::make_shared<Words>();
    CLI::App* command = AddCommand(*site, "show", "Show every field of a site", words);
    AddForms(*command, words->forms);
    command->callback([&chosen, words] {
        chosen =
            ForSite(words->name.Text(), [form = words->forms.Form()](clsDatabase& database, const QString& siteID) {
                const auto sites = database.OpenRecordset(SiteTable);
                modSites::Find(*sites, siteID);
                modRecordWords::Show(*sites, form);
                return ExitCode::Done;
            });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*site, "add", "Add a site; what is not given is what the options say of new sites", words,
                         "The new site's name");
    AddAssignments(*command, words->assignments);
    command->callback([&chosen, words] {
        chosen = InDatabase([name = words->name.Text(), assignments = modRecordWords::Assignments(words->assignments)](
                                clsDatabase& database) { return Add(database, name, assignments); });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*site, "set", "Change fields of a site", words);
    AddAssignments(*command, words->assignments)->required();
    command->callback([&chosen, words] {
        chosen = ForSite(words->name.Text(), [assignments = modRecordWords::Assignments(words->assignments)](
                                                 clsDatabase& database, const QString& siteID) {
            clsSiteRecord record(database);
            return record.Open(siteID) ? Save(database, record, assignments) : ExitCode::Failed;
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*site, "rename", "Give a site another name, in its links and categories too", words);
    AddNewName(*command, words);
    command->callback([&chosen, words] {
        chosen =
            ForSite(words->name.Text(), [name = words->newName.Text()](clsDatabase& database, const QString& siteID) {
                return Rename(database, siteID, name);
            });
    });

    words = std::make_shared<Words>();
    AddCommand(*site, "copy", "Copy a site with its links and categories; prints the copy's name", words)
        ->callback([&chosen, words] { chosen = ForSite(words->name.Text(), &Copy); });

    words = std::make_shared<Words>();
    AddCommand(*site, "delete", "Delete a site with its links and categories, after a question", words)
        ->callback([&chosen, words] { chosen = ForSite(words->name.Text(), &Delete); });
}

void modCommands::AddCategory(CLI::App& app, clsCommand& chosen)
{
    CLI::App* category = app.add_subcommand("category", "Add, rename or delete a category of a site");
    category->require_subcommand(1);
    constexpr char existing[] = "Its name, letter case ignored, or its number where no category has that name";

    auto words = std::make_shared<Words>();
    CLI::App* command = AddCommand(*category, "add", "Add a category; prints its number", words, "Its name");
    AddSiteName(*command, words->site);
    command->callback([&chosen, words] {
        chosen = ForSite(words->site.Text(), [name = words->name.Text()](clsDatabase& database, const QString& siteID) {
            return ::AddCategory(database, siteID, name);
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*category, "rename", "Give a category another name", words, existing);
    AddNewName(*command, words);
    AddSiteName(*command, words->site);
    command->callback([&chosen, words] {
        chosen = ForSite(words->site.Text(), [name = words->name.Text(), newName = words->newName.Text()](
                                                 clsDatabase& database, const QString& siteID) {
            return RenameCategory(database, siteID, name, newName);
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*category, "delete", "Delete a category; its links stay, without a category", words, existing);
    AddSiteName(*command, words->site);
    command->callback([&chosen, words] {
        chosen = ForSite(words->site.Text(), [name = words->name.Text()](clsDatabase& database, const QString& siteID) {
            return DeleteCategory(database, siteID, name);
        });
    });
}
