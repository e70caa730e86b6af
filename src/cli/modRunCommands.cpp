// SPDX-License-Identifier: GPL-3.0-or-later
// test and queue: the link test run, and which links it will visit.
#include "cli/clsCommandSession.h"
#include "cli/clsConsoleLog.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modSample.h"
#include "linktest/clsHTTP.h"
#include "linktest/modTestQueue.h"
#include "platform/clsDatabase.h"
#include "platform/clsPageServer.h"
#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>

using namespace Qt::Literals::StringLiterals;

namespace
{
ExitCode CodeOf(const clsHTTP& test)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    const bool ended = test.LastEnding() == clsHTTP::Ending::Done || test.LastEnding() == clsHTTP::Ending::Empty;
    if (state.StopFlag && !state.Terminating && !ended)
        return ExitCode::Stopped;
    switch (test.LastEnding()) {
    case clsHTTP::Ending::Done:
        return test.FailedLinks() > 0 ? ExitCode::Findings : ExitCode::Done;
    case clsHTTP::Ending::Empty:
        return ExitCode::Done;
    case clsHTTP::Ending::Stopped:
        return ExitCode::Stopped;
    case clsHTTP::Ending::NoConnection:
    case clsHTTP::Ending::UnknownSite:
    case clsHTTP::Ending::Failed:
        break;
    }
    return ExitCode::Failed;
}

ExitCode QueueTest(clsDatabase& database, modTestQueue::Choice choice)
{
    if (!choice.allSites) {
        const auto sites = database.OpenRecordset(u"tblSites"_s);
        if (const ExitCode found = clsCommandSession::FindSite(*sites, choice.site); found != ExitCode::Done)
            return found;
        choice.site = modCommonFunctions::TextOf(sites->Field(u"SiteID"_s));
    }
    const modTestQueue::Outcome outcome = modTestQueue::SetTests(database, choice);
    if (!outcome.anyLinks) {
        modCommonFunctions::MsgBox(u"There are no links available."_s, clsDialogs::Buttons::OK,
                                   clsDialogs::Icon::Information);
        return ExitCode::Findings;
    }
    modConsole::WriteLine((choice.queue == modTestQueue::Queue::Select ? u"%1 link(s) added to the test queue."_s
                                                                       : u"%1 link(s) taken off the test queue."_s)
                              .arg(outcome.changed));
    return ExitCode::Done;
}
} // namespace

ExitCode modCommands::TestQueuedLinks()
{
    clsRunParent parent; // nobody watches the links go by
    clsConsoleLog log;
    clsHTTP test({.Parent = &parent,
                  .LogWindow = &log,
                  .Platform = modBrambury::Platform(),
                  .Database = &clsCommandSession::Database()});
    const auto pages = modSample::There(clsCommandSession::Database())
                           ? modPlatformImpl::MakePageServer(modSample::Pages(), modSample::PagesPort)
                           : nullptr;
    if (pages && !pages->Serving())
        modSample::TellPortTaken();
    test.CheckLinks();
    return CodeOf(test);
}

void modCommands::AddRuns(CLI::App& app, clsCommand& chosen)
{
    const auto testSite = std::make_shared<Word>();
    CLI::App* test = app.add_subcommand("test", "Test every link that is queued for testing");
    testSite->option = test->add_option("--site", testSite->text,
                                        "The site whose test switches count; else the one selected last, or the first")
                           ->type_name("SITEID");
    test->callback([&chosen, testSite] {
        chosen = [site = testSite->Text()](clsCommandSession& session) {
            return session.AsRun(site, &modCommands::TestQueuedLinks);
        };
    });

    struct Words
    {
        Word statuses;
        Word site;
        bool allSites = false;
        bool remove = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* queue = app.add_subcommand("queue", "Choose which links the next run visits");
    queue->require_subcommand(1);
    CLI::App* queueTest = queue->add_subcommand("test", "Queue links for testing by their status");
    words->statuses.option =
        queueTest->add_option("--status", words->statuses.text, "Statuses, separated by commas: active,broken")
            ->required()
            ->type_name("STATUS,...");
    words->site.option =
        queueTest->add_option("--site", words->site.text, "Links of this site; else of the one selected last")
            ->type_name("SITEID");
    queueTest->add_flag("--all-sites", words->allSites, "Links of all sites")->excludes(words->site.option);
    queueTest->add_flag("--remove", words->remove, "Take the links off the queue");
    queueTest->callback([&chosen, words] {
        const modTestQueue::Choice choice{.queue = words->remove ? modTestQueue::Queue::Unselect
                                                                 : modTestQueue::Queue::Select,
                                          .statuses = StatusCodes(words->statuses),
                                          .allSites = words->allSites,
                                          .site = words->site.Text()};
        chosen = InDatabase([choice](clsDatabase& database) { return QueueTest(database, choice); });
    });
}
