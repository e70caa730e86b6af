// SPDX-License-Identifier: GPL-3.0-or-later
// harvest: the links of a web page listed, and added to a site.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/impl/clsEndSignals.h"
#include "publish/clsHarvest.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Which of the listed links are added.
struct Choice
{
    bool all = false;
    std::vector<std::size_t> numbers; ///< as they are listed, from 1
};

/// Reads "all" or "1,4,17". @throws CLI::ValidationError
Choice ChoiceOf(const modCommands::Word& word)
{
    Choice choice;
    if (word.Text().isNull())
        return choice;
    if (word.Text() == "all"_L1)
        return {.all = true, .numbers = {}};
    for (const QString& part : word.Text().split(u',')) {
        bool whole = false;
        const uint number = part.trimmed().toUInt(&whole);
        if (!whole || number == 0)
            throw CLI::ValidationError("--add", "\"" + part.toStdString() + "\" is neither \"all\" nor a number");
        choice.numbers.push_back(number);
    }
    std::sort(choice.numbers.begin(), choice.numbers.end());
    choice.numbers.erase(std::unique(choice.numbers.begin(), choice.numbers.end()), choice.numbers.end());
    return choice;
}

/// A page's address may hold characters that a terminal would obey.
QString Printable(QString text)
{
    for (QChar& letter : text) {
        if (!letter.isPrint() && !letter.isSurrogate())
            letter = u' ';
    }
    return text;
}

void Print(const std::vector<clsHarvest::Link>& links)
{
    int number = 0;
    for (const clsHarvest::Link& link : links) {
        QString line = u"%1. %2"_s.arg(++number).arg(Printable(link.address));
        if (!link.marks.isEmpty())
            line += u'\t' + Printable(link.marks.join(", "_L1));
        modConsole::Write(line.toUtf8() + '\n');
    }
}

/// What a run that brought no list means to the shell.
ExitCode CodeOf(clsHarvest::Ending ending)
{
    switch (ending) {
    case clsHarvest::Ending::Done:
        return ExitCode::Done;
    case clsHarvest::Ending::NoLinks:
        return ExitCode::Findings;
    case clsHarvest::Ending::Stopped:
        return ExitCode::Stopped;
    case clsHarvest::Ending::NoConnection:
    case clsHarvest::Ending::PageFailed:
    case clsHarvest::Ending::UnknownSite:
    case clsHarvest::Ending::Failed:
        break;
    }
    return ExitCode::Failed;
}

ExitCode Add(clsHarvest& harvest, const Choice& choice)
{
    const std::size_t count = harvest.Links().size();
    if (!choice.numbers.empty() && choice.numbers.back() > count)
        return clsCommandSession::Refuse(u"There is no link %1 in the list."_s.arg(choice.numbers.back()));
    std::vector<std::size_t> chosen = choice.numbers;
    if (choice.all) {
        chosen.resize(count);
        std::iota(chosen.begin(), chosen.end(), std::size_t{0});
    } else {
        for (std::size_t& number : chosen)
            --number;
    }
    return harvest.Add(chosen) ? ExitCode::Done : ExitCode::Failed;
}

ExitCode Harvest(const clsCommandSession& session, clsHarvest::Wish wish, const Choice& choice)
{
    modBrambury::ProcessState& state = modBrambury::State();
    state.StopFlag = false;
    const clsEndSignals signals([&state] { state.StopFlag = true; });

    if (const ExitCode located = session.LocateDatabase(); located != ExitCode::Done)
        return located;
    const auto lock = state.Platform.Disk->Lock(state.Settings.DataPath + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
    if (!lock)
        return clsCommandSession::InUse(u"Another run is under way on this database."_s);
    if (const ExitCode opened = session.OpenDatabase(); opened != ExitCode::Done)
        return opened;
    {
        const auto sites = clsCommandSession::Database().OpenRecordset(u"tblSites"_s);
        if (const ExitCode found = clsCommandSession::FindSite(*sites, wish.site); found != ExitCode::Done)
            return found;
        wish.site = modCommonFunctions::TextOf(sites->Field(u"SiteID"_s));
    }
    clsHarvest harvest({.Platform = state.Platform, .Database = state.Database.get()});
    harvest.SetWish(std::move(wish));
    if (const QString problem = harvest.Problem(); !problem.isEmpty()) {
        modCommonFunctions::MsgBox(problem, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return ExitCode::Refused;
    }
    if (const ExitCode code = CodeOf(harvest.Run()); code != ExitCode::Done)
        return code;
    Print(harvest.Links());
    if (harvest.Links().empty()) {
        modConsole::ErrorLine(harvest.CountText());
        return ExitCode::Findings;
    }
    return choice.all || !choice.numbers.empty() ? Add(harvest, choice) : ExitCode::Done;
}
} // namespace

void modCommands::AddHarvest(CLI::App& app, clsCommand& chosen)
{
    struct Words
    {
        Word site;
        Word url;
        Word add;
        bool keepDuplicates = false;
        bool keepOwnHost = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* harvest = app.add_subcommand("harvest", "List the links of a web page, and add them to a site");
    harvest->footer(
        "Each link is a line \"N. ADDRESS\". What is known of it already stands behind a tab: that it is a\n"
        "partner of this site or of another, has been declined, or is no web address.");
    words->site.option =
        harvest->add_option("site", words->site.text, "The site that gets the links")->required()->type_name("SITEID");
    words->url.option =
        harvest->add_option("url", words->url.text, "Address of the page")->required()->type_name("URL");
    harvest->add_flag("--keep-duplicates", words->keepDuplicates, "List a link as often as it is on the page");
    harvest->add_flag("--keep-own-host", words->keepOwnHost, "List links that contain the page's own host name too");
    words->add.option = harvest
                            ->add_option("--add", words->add.text,
                                         "Add these links to the site as offers: all of them, or by their numbers")
                            ->type_name("all|N,N...");
    harvest->callback([&chosen, words] {
        const clsHarvest::Wish wish{.site = words->site.Text(),
                                    .url = words->url.Text(),
                                    .FilterDuplicates = !words->keepDuplicates,
                                    .FilterBaseURL = !words->keepOwnHost};
        chosen = [wish, choice = ChoiceOf(words->add)](clsCommandSession& session) {
            return Harvest(session, wish, choice);
        };
    });
}
