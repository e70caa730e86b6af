// SPDX-License-Identifier: GPL-3.0-or-later
// The commands by group: how each one is written, and what it does.
#pragma once

#include "publish/modIO.h"
#include "shell/modExitCode.h"

#include <QSet>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class clsCommandSession;
class clsDatabase;
namespace CLI
{
class App;
class Option;
} // namespace CLI

/// What a command does once its words have been understood.
using clsCommand = std::function<ExitCode(clsCommandSession&)>;

/// Each routine adds the commands of a group to `app`; the one that the user names puts its body into `chosen`.
namespace modCommands
{
void AddInit(CLI::App& app, clsCommand& chosen);      ///< init, sample
void AddRuns(CLI::App& app, clsCommand& chosen);      ///< test, queue
void AddMail(CLI::App& app, clsCommand& chosen);      ///< send, preview, mail, queue mail; to be called after AddRuns
void AddTables(CLI::App& app, clsCommand& chosen);    ///< sites, links, categories, templates
void AddSite(CLI::App& app, clsCommand& chosen);      ///< site
void AddMailLogin(CLI::App& app, clsCommand& chosen); ///< site login, site probe; to be called after AddSite
void AddLink(CLI::App& app, clsCommand& chosen);      ///< link
void AddCategory(CLI::App& app, clsCommand& chosen);  ///< category
void AddTemplate(CLI::App& app, clsCommand& chosen);  ///< template
void AddImport(CLI::App& app, clsCommand& chosen);    ///< links import; to be called after AddTables
void AddHarvest(CLI::App& app, clsCommand& chosen);   ///< harvest
void AddSettings(CLI::App& app, clsCommand& chosen);  ///< settings
void AddSafety(CLI::App& app, clsCommand& chosen);    ///< backup, restore, compact, repair, check, rescue
void AddPage(CLI::App& app, clsCommand& chosen);      ///< links-page
void AddSchedule(CLI::App& app, clsCommand& chosen);  ///< schedule
/// report. @param prints  set when it is chosen: it needs Platform().Printer.
void AddReport(CLI::App& app, clsCommand& chosen, bool& prints);

/// The run that `test` makes, inside clsCommandSession::AsRun.
[[nodiscard]] ExitCode TestQueuedLinks();

/// A word of the command line that may be absent.
struct Word
{
    std::string text;
    CLI::Option* option = nullptr;
    /// Null when it was not given; an empty word is not Null.
    [[nodiscard]] QString Text() const;
};
/// Which form of a table is wanted.
struct Forms
{
    bool json = false;
    bool csv = false;
    [[nodiscard]] modIO::TableForm Form() const
    {
        return json ? modIO::TableForm::Json : csv ? modIO::TableForm::Csv : modIO::TableForm::People;
    }
};
/// Adds --json and --csv to a command. @param forms  must live as long as `command`.
void AddForms(CLI::App& command, Forms& forms);
/// Adds the site that a command changes, which has to be named. @param site  must live as long as `command`.
void AddSiteName(CLI::App& command, Word& site);
/// Adds Column=value... to a command. @param words  must live as long as `command`.
CLI::Option* AddAssignments(CLI::App& command, std::vector<std::string>& words);
/// Whether a file may be written: it does not exist, or the user says that it may be replaced.
[[nodiscard]] bool MayReplace(const QString& file);
/// A command that opens the database, or says why it cannot, and works in it.
[[nodiscard]] clsCommand InDatabase(std::function<ExitCode(clsDatabase&)> body);
/// The status codes of a list of names, "active,broken". @throws CLI::ValidationError for a name that is none.
[[nodiscard]] QSet<int> StatusCodes(const Word& names);
} // namespace modCommands
