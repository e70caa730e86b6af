// SPDX-License-Identifier: GPL-3.0-or-later
// The commands by group: how each one is written, and what it does.
#pragma once

#include "cli/modExitCode.h"

#include <QSet>
#include <QString>
#include <functional>
#include <memory>
#include <string>

class clsCommandSession;
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
void AddInit(CLI::App& app, clsCommand& chosen);     ///< init
void AddRuns(CLI::App& app, clsCommand& chosen);     ///< test, queue
void AddTables(CLI::App& app, clsCommand& chosen);   ///< sites, links, categories, templates
void AddSettings(CLI::App& app, clsCommand& chosen); ///< settings

/// A word of the command line that may be absent.
struct Word
{
    std::string text;
    CLI::Option* option = nullptr;
    /// Null when it was not given; an empty word is not Null.
    [[nodiscard]] QString Text() const;
};
/// The status codes of a list of names, "active,broken". @throws CLI::ValidationError for a name that is none.
[[nodiscard]] QSet<int> StatusCodes(const Word& names);
} // namespace modCommands
