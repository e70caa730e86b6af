// SPDX-License-Identifier: GPL-3.0-or-later
// schedule: the link test as a job of the system's, and what such a run tells.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modDataModel.h"
#include "linktest/modTestQueue.h"
#include "linktest/modVerdictChanges.h"
#include "platform/clsClock.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsNotifier.h"
#include "platform/clsScheduler.h"
#include "platform/clsSettingsStore.h"
#include "platform/modPlatformImpl.h"
#include "platform/parts/clsPlatformParts.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Beside the user's other files: what each run by schedule has found changed.
const QString ChangesFile = u"\\Changes.log"_s;

const QString Section = u"Schedule"_s;
const QString LastRunKey = u"LastRun"_s;
const QString TimeFormat = u"HH:mm"_s;

struct Schedule
{
    clsScheduler::Often often = clsScheduler::Often::Daily;
    QTime at; ///< hours and minutes
    [[nodiscard]] QString Word() const { return often == clsScheduler::Often::Weekly ? u"weekly"_s : u"daily"_s; }
    /// The last time at or before `now` at which it had a run to make.
    [[nodiscard]] QDateTime LastDue(const QDateTime& now) const
    {
        const bool weekly = often == clsScheduler::Often::Weekly;
        constexpr int week = 7;
        const QDateTime due(now.date().addDays(weekly ? 1 - now.date().dayOfWeek() : 0), at);
        return due <= now ? due : due.addDays(weekly ? -week : -1);
    }
};

/// What was due until now is done with.
void NoteRun()
{
    const clsPlatform& platform = modBrambury::Platform();
    platform.Settings->SaveSetting(Section, LastRunKey, modCommonFunctions::StoredDateTime(platform.Clock->Now()));
    platform.Settings->Flush();
}

bool IsDue(const Schedule& schedule)
{
    const clsPlatform& platform = modBrambury::Platform();
    const QDateTime last =
        modCommonFunctions::FromStoredDate(platform.Settings->GetSetting(Section, LastRunKey, QString()));
    return !last.isValid() || last < schedule.LastDue(platform.Clock->Now());
}

/// One job for each installation: a portable one has its folder in the job's name.
QString JobName(const clsPlatformParts& parts)
{
    constexpr qsizetype fewDigits = 8;
    if (parts.Home().isEmpty())
        return u"brambury-test"_s;
    const QByteArray hash =
        QCryptographicHash::hash(parts.ProgramFolder().toUtf8(), QCryptographicHash::Sha256).toHex();
    return u"brambury-test-"_s + QString::fromLatin1(hash.left(fewDigits));
}

/// @return the code of a failure to reach the system's jobs, which has been told.
ExitCode WithScheduler(const std::function<void(clsScheduler&)>& body)
{
    const auto scheduler = modPlatformImpl::MakeScheduler(*modBrambury::Platform().Disk);
    const auto failure = failureOf([&] { body(*scheduler); });
    if (!failure)
        return ExitCode::Done;
    modConsole::ErrorLine(u"The system's timed jobs could not be reached: %1"_s.arg(failure->Description()));
    modConsole::ErrorLine(u"Install cron, or log in where systemd serves users; or let a job of your own run "
                          "\"brambury schedule run\"."_s);
    return ExitCode::Failed;
}

ExitCode Enter(const clsCommandSession& session, const Schedule& schedule)
{
    if (!session.Parts().Installed())
        return session.LocateDatabase();
    clsScheduler::Job job{.name = JobName(session.Parts()),
                          .description = u"Brambury link test"_s,
                          .command = {QCoreApplication::applicationFilePath()},
                          .onlyIfDue = {u"--due"_s, schedule.Word(), u"--at"_s, schedule.at.toString(TimeFormat)},
                          .often = schedule.often,
                          .at = schedule.at};
    if (!session.Parts().Home().isEmpty())
        job.command << u"--home"_s << session.Parts().ProgramFolder();
    job.command << u"schedule"_s << u"run"_s;
    return WithScheduler([&](clsScheduler& scheduler) {
        const QString by = scheduler.Enter(job);
        modConsole::WriteLine(u"The active and broken links of all sites will be tested %1 at %2, by %3."_s.arg(
            schedule.often == clsScheduler::Often::Weekly ? u"every Monday"_s : u"every day"_s,
            schedule.at.toString(TimeFormat), by));
        NoteRun();
        modConsole::WriteLine(u"What a run finds changed is added to %1"_s.arg(modBrambury::FolderPath(ChangesFile)));
    });
}

ExitCode Off(const QString& name)
{
    return WithScheduler([&](clsScheduler& scheduler) {
        modConsole::WriteLine(scheduler.Remove(name) ? u"Links are no longer tested by schedule."_s
                                                     : u"No test was scheduled."_s);
    });
}

ExitCode Tell(const QString& name)
{
    return WithScheduler([&](clsScheduler& scheduler) {
        const QString entered = scheduler.Entered(name);
        modConsole::WriteLine(entered.isEmpty() ? u"No test is scheduled."_s : u"Links are tested: "_s + entered);
    });
}

void TellDesktop(const QStringList& changes)
{
    constexpr qsizetype shown = 5;
    QStringList lines = changes.first(std::min(shown, changes.size()));
    if (changes.size() > shown)
        lines << u"and %1 more: see Changes.log"_s.arg(changes.size() - shown);
    modPlatformImpl::MakeNotifier(*modBrambury::Platform().EventLoop)
        ->Notify(u"%1 link(s) changed since the last test"_s.arg(changes.size()), lines.join(u'\n'));
}

/// The scheduled job itself.
ExitCode RunNow()
{
    clsDatabase& database = clsCommandSession::Database();
    modTestQueue::SetTests(database, {.queue = modTestQueue::Queue::Select,
                                      .statuses = {modDataModel::Active, modDataModel::Broken},
                                      .allSites = true,
                                      .site = {}});
    const modVerdictChanges::Verdicts before = modVerdictChanges::Now(database);
    const ExitCode code = modCommands::TestQueuedLinks();
    const QStringList changes = modVerdictChanges::Between(before, modVerdictChanges::Now(database));
    const QDateTime now = modBrambury::Platform().Clock->Now();
    const QString heading = u"%1 at %2"_s.arg(modCommonFunctions::LongDate(now), modCommonFunctions::MediumTime(now));
    modConsole::WriteLine(changes.isEmpty() ? u"Nothing has changed since the last run."_s
                                            : u"Changed since the last run:"_s);
    for (const QString& change : changes)
        modConsole::WriteLine(change);
    if (changes.isEmpty())
        return code;
    modBrambury::Platform().Disk->AppendFile(modBrambury::FolderPath(ChangesFile),
                                             (heading + u'\n' + changes.join(u'\n') + u"\n\n"_s).toUtf8());
    TellDesktop(changes);
    return code;
}

/// @param due  do nothing unless a run was due since the last one.
ExitCode Run(const clsCommandSession& session, const std::optional<Schedule>& due)
{
    if (due && !IsDue(*due))
        return ExitCode::Done;
    const ExitCode code = session.AsRun({}, &RunNow);
    // A run that could not be made now is still due.
    if (code != ExitCode::Failed && code != ExitCode::InUse)
        NoteRun();
    return code;
}
} // namespace

void modCommands::AddSchedule(CLI::App& app, clsCommand& chosen)
{
    CLI::App* schedule = app.add_subcommand("schedule", "Let the system test the active and broken links by itself");
    schedule->require_subcommand(1);

    const auto at = std::make_shared<std::string>("04:30");
    const auto time = [](const std::string& text) {
        return QTime::fromString(QString::fromStdString(text), u"H:mm"_s).isValid()
                   ? std::string()
                   : "There is no time of day " + text + "; write it as 04:30";
    };
    const auto addTime = [&](CLI::App& command) {
        command.add_option("--at", *at, "Time of day, local time (04:30 if none is given)")
            ->type_name("HH:MM")
            ->check(time);
    };
    const auto made = [at](clsScheduler::Often often) {
        return Schedule{often, QTime::fromString(QString::fromStdString(*at), u"H:mm"_s)};
    };
    const auto add = [&](const char* name, const char* what, clsScheduler::Often often) {
        CLI::App* each = schedule->add_subcommand(name, what);
        addTime(*each);
        each->callback([&chosen, made, often] {
            chosen = [wanted = made(often)](const clsCommandSession& session) { return Enter(session, wanted); };
        });
    };
    add("daily", "Test every day", clsScheduler::Often::Daily);
    add("weekly", "Test every Monday", clsScheduler::Often::Weekly);
    const auto named = [&](const char* name, const char* what, ExitCode (*body)(const QString&)) {
        schedule->add_subcommand(name, what)->callback([&chosen, body] {
            chosen = [body](const clsCommandSession& session) { return body(JobName(session.Parts())); };
        });
    };
    named("off", "Test by schedule no more", &Off);
    named("show", "Tell what is scheduled", &Tell);
    CLI::App* run = schedule->add_subcommand("run", "What the schedule runs: queue, test, and tell what has changed");
    const auto due = std::make_shared<std::string>();
    run->add_option("--due", *due, "Only if no run was made since such a schedule had one to make")
        ->type_name("daily|weekly")
        ->check(CLI::IsMember({"daily", "weekly"}));
    addTime(*run);
    run->callback([&chosen, made, due] {
        std::optional<Schedule> onlyIf;
        if (!due->empty())
            onlyIf = made(*due == "weekly" ? clsScheduler::Often::Weekly : clsScheduler::Often::Daily);
        chosen = [onlyIf](const clsCommandSession& session) { return Run(session, onlyIf); };
    });
}
