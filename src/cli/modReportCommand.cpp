// SPDX-License-Identifier: GPL-3.0-or-later
// report: the report of a site, or of all sites, as a PDF file.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modSites.h"
#include "platform/clsDisk.h"
#include "platform/clsPrinter.h"
#include "publish/modSiteReport.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;

namespace
{
ExitCode Report(clsDatabase& database, const QString& siteID, const QString& file)
{
    if (!siteID.isNull() && !modSiteReport::Find(database, siteID))
        return ExitCode::Refused;
    const QStringList sites = siteID.isNull() ? modSites::Names(database) : QStringList{siteID};
    if (sites.isEmpty()) {
        modCommonFunctions::MsgBox(u"There are no sites available."_s, clsDialogs::Buttons::OK,
                                   clsDialogs::Icon::Information);
        return ExitCode::Findings;
    }
    if (file.isEmpty() || Platform().Disk->FolderExists(file))
        return clsCommandSession::Refuse(u"\"%1\" is no name of a file."_s.arg(file));
    if (!modCommands::MayReplace(file))
        return ExitCode::Refused;

    const clsEndSignals signals = clsCommandSession::StopBySignals();
    const bool& stop = modBrambury::State().StopFlag;
    Platform().Printer->SetOutputFile(file);
    switch (modSiteReport::Print(database, *Platform().Printer, sites, [&stop](double) { return !stop; })) {
    case modSiteReport::Outcome::Printed:
        modConsole::WriteLine(u"The report of %1 site(s) has been written to %2."_s.arg(sites.size()).arg(file));
        return ExitCode::Done;
    case modSiteReport::Outcome::Cancelled:
        return ExitCode::Stopped;
    case modSiteReport::Outcome::Nothing:
        break; // removed by another program in this moment
    }
    return ExitCode::Findings;
}
} // namespace

void modCommands::AddReport(CLI::App& app, clsCommand& chosen, bool& prints)
{
    struct Words
    {
        std::vector<std::string> given;
        bool all = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* report = app.add_subcommand("report", "Write the report of a site, or of all sites, as a PDF file");
    CLI::Option* given =
        report->add_option("words", words->given, "The site, and the file to write: FILE alone with --all")
            ->required()
            ->type_name("[SITEID] FILE");
    report->add_flag("--all", words->all, "Every site, each from a new page");
    report->callback([&chosen, &prints, words, given] {
        const std::size_t wanted = words->all ? 1 : 2;
        if (words->given.size() != wanted)
            throw CLI::ValidationError(given->get_name(), words->all ? "with --all there is one word, the file's name"
                                                                     : "a site and a file have to be named");
        const QString site = words->all ? QString() : u""_s + QString::fromLocal8Bit(words->given.front().c_str());
        const QString file = QString::fromLocal8Bit(words->given.back().c_str());
        prints = true;
        chosen = InDatabase([site, file](clsDatabase& database) { return Report(database, site, file); });
    });
}
