// SPDX-License-Identifier: GPL-3.0-or-later
// links import: the links of a site from a CSV file, as `links --csv` writes them or a spreadsheet does.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/clsLinkImport.h"
#include "platform/clsDisk.h"
#include "platform/pages/modCsv.h"
#include "shell/modBrambury.h"

#include <CLI/CLI.hpp>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// After so many lines that are refused the user knows what is wrong with the file.
constexpr int MostRefusals = 20;

/// @return Done when every line has been taken.
ExitCode TakeLines(clsLinkImport& import, const QString& file, const QByteArray& content)
{
    int refused = 0;
    const auto refuse = [&](int line, const QString& why) {
        clsCommandSession::Refuse(u"%1, line %2: %3"_s.arg(file).arg(line).arg(why));
        ++refused;
    };
    if (import.Failed())
        return ExitCode::Failed;
    const auto problem = modCsv::Read(content, [&](const modCsv::Record& record) {
        if (const QString why = import.Take(record.fields); !why.isEmpty())
            refuse(record.line, why);
        return !import.Failed() && import.KnowsColumns() && refused < MostRefusals;
    });
    if (problem)
        refuse(problem->line, problem->text);
    else if (!import.KnowsColumns() && refused == 0)
        refuse(1, u"There is no heading line with the names of columns."_s);
    if (import.Failed())
        return ExitCode::Failed;
    return refused > 0 ? ExitCode::Refused : ExitCode::Done;
}

QString Summary(const clsLinkImport::Counts& counts)
{
    return u"%1 link(s) added, %2 changed, %3 left as they were; %4 categories added."_s.arg(counts.added)
        .arg(counts.changed)
        .arg(counts.unchanged)
        .arg(counts.categoriesAdded);
}

ExitCode Import(clsDatabase& database, const QString& siteID, const QString& file, bool dryRun)
{
    const clsDisk& disk = *modBrambury::Platform().Disk;
    if (!disk.FileExists(file))
        return clsCommandSession::Refuse(u"There is no file "_s + file + u'.');
    if (const ExitCode selected = clsCommandSession::SelectSite(database, siteID); selected != ExitCode::Done)
        return selected;
    const QByteArray content = disk.ReadFile(file);

    clsTransaction transaction(database);
    clsLinkImport import(database);
    if (const ExitCode taken = TakeLines(import, file, content); taken != ExitCode::Done) {
        modConsole::ErrorLine(u"Nothing has been imported."_s);
        return taken;
    }
    if (!dryRun)
        transaction.Commit();
    modConsole::WriteLine((dryRun ? u"Nothing is written. It would be: "_s : QString()) + Summary(import.SoFar()));
    return ExitCode::Done;
}
} // namespace

void modCommands::AddImport(CLI::App& app, clsCommand& chosen)
{
    struct Words
    {
        Word site;
        Word file;
        bool dryRun = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* links = app.get_subcommand("links");
    links->require_subcommand(0, 1);
    CLI::App* command = links->add_subcommand("import", "Add and change links of a site as a CSV file says");
    command->footer(
        "The file is one that \"links --csv --site SITEID\" writes, or like it: UTF-8, RFC 4180, a heading line\n"
        "with the names of columns in any order. A line with the ID of a link of the site changes that link;\n"
        "without an ID, or with another one, it adds a link, which has its defaults where the line has\n"
        "nothing. A column Category with names takes the place of CategoryID; a name that the site does not\n"
        "have yet is added. SiteName, Offers, Results, LastSuccessfulTest and Exported are passed over.\n"
        "Changes are checked as in the window. One line that is refused, and nothing is imported.");
    words->file.option = command->add_option("file", words->file.text, "The CSV file")->required()->type_name("FILE");
    AddSiteName(*command, words->site);
    command->add_flag("--dry-run", words->dryRun, "Only say what would be done");
    command->callback([&chosen, links, words] {
        for (const CLI::Option* option : links->get_options()) {
            if (option->count() > 0)
                throw CLI::ExcludesError(option->get_name(), "import");
        }
        chosen = InDatabase([siteID = words->site.Text(), file = words->file.Text(), dryRun = words->dryRun](
                                clsDatabase& database) { return Import(database, siteID, file, dryRun); });
    });
}
