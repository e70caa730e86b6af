// SPDX-License-Identifier: GPL-3.0-or-later
// harvest: the links of a web page or of a file listed, and added to a site.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "publish/clsHarvest.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>
#include <algorithm>
#include <numeric>

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

ExitCode Harvest(clsHarvest::Wish wish, const Choice& choice)
{
    wish.site = modBrambury::State().CurrentSite;
    clsHarvest harvest({.Platform = modBrambury::Platform(), .Database = &clsCommandSession::Database()});
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
    CLI::App* harvest = app.add_subcommand("harvest", "List the links of a web page or file, and add them to a site");
    harvest->footer(
        "Each link is a line \"N. ADDRESS\". What is known of it already stands behind a tab: that it is a\n"
        "partner of this site or of another, has been declined, or is no web address.\n"
        "A file may hold bookmarks or be a saved page (HTML), a table with a column HomePage, URL or Address\n"
        "(CSV), an outline (OPML) or JSON; its relative links are left out.");
    words->site.option =
        harvest->add_option("site", words->site.text, "The site that gets the links")->required()->type_name("SITEID");
    words->url.option = harvest->add_option("url", words->url.text, "Address of the page, or a file of this machine")
                            ->required()
                            ->type_name("URL|FILE");
    harvest->add_flag("--keep-duplicates", words->keepDuplicates, "List a link as often as it is on the page");
    harvest->add_flag("--keep-own-host", words->keepOwnHost, "List links that contain the page's own host name too");
    words->add.option = harvest
                            ->add_option("--add", words->add.text,
                                         "Add these links to the site as offers: all of them, or by their numbers")
                            ->type_name("all|N,N...");
    harvest->callback([&chosen, words] {
        const QFileInfo file(words->url.Text());
        const clsHarvest::Wish wish{.site = words->site.Text(),
                                    .url = file.exists() ? file.absoluteFilePath() : words->url.Text(),
                                    .FilterDuplicates = !words->keepDuplicates,
                                    .FilterBaseURL = !words->keepOwnHost};
        chosen = [wish, choice = ChoiceOf(words->add)](clsCommandSession& session) {
            return session.AsRun(wish.site, [&] { return Harvest(wish, choice); });
        };
    });
}
