// SPDX-License-Identifier: GPL-3.0-or-later
// backup, restore, compact, repair, check and rescue: the database file as a whole.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modDBFunctions.h"
#include "data/modDatabaseCheck.h"
#include "data/modDatedBackups.h"
#include "platform/clsDisk.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>
#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modDBFunctions::Ending;
using modDBFunctions::Progress;

namespace
{
ExitCode CodeOf(Ending ending)
{
    switch (ending) {
    case Ending::Done:
        return ExitCode::Done;
    case Ending::Refused:
        return ExitCode::Refused;
    case Ending::InUse:
        return ExitCode::InUse;
    case Ending::Stopped:
        return ExitCode::Stopped;
    case Ending::Failed:
        break;
    }
    return ExitCode::Failed;
}

/// Work that a signal to end stops.
ExitCode Stoppable(const std::function<Ending(const Progress&)>& work)
{
    const clsEndSignals signals = clsCommandSession::StopBySignals();
    return CodeOf(work([](int) { return !State().StopFlag; }));
}

QString FullPath(const QString& path)
{
    return path.isEmpty() ? path : QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

void Tell(const QStringList& report)
{
    for (const QString& line : report)
        modConsole::WriteLine(line);
}

ExitCode Backup(const clsCommandSession& session, const QString& folder)
{
    if (const ExitCode located = session.LocateDatabase(); located != ExitCode::Done)
        return located;
    return Stoppable(
        [&](const Progress& progress) { return modDBFunctions::BackupDatabase(FullPath(folder), progress); });
}

ExitCode Restore(const QString& from)
{
    modBrambury::LoadProgramSettings();
    QStringList report;
    const ExitCode code = Stoppable([&](const Progress& progress) {
        return modDBFunctions::RestoreDatabase(FullPath(modDBFunctions::BackupAt(from)), progress, report);
    });
    Tell(report);
    return code;
}

/// The backup that the window's end makes.
ExitCode BackupByDate(const clsCommandSession& session)
{
    if (const ExitCode located = session.LocateDatabase(); located != ExitCode::Done)
        return located;
    return Stoppable([](const Progress& progress) {
        const auto lock = modBrambury::LockDatabase();
        if (!lock)
            return Ending::InUse;
        QString kept;
        const auto failure = failureOf([&] { kept = modDatedBackups::Keep(progress); });
        if (failure && failure->Number() == clsError::WorkStopped)
            return Ending::Stopped;
        if (failure)
            throw clsError(*failure);
        modConsole::WriteLine(u"This state of the database is kept as "_s + kept);
        return Ending::Done;
    });
}

ExitCode ListBackups(modIO::TableForm form)
{
    modIO::clsTableWriter table(form, {u"Date"_s, u"Size"_s, u"Sites"_s, u"Links"_s, u"File"_s}, &modConsole::Write);
    const std::vector<modDatedBackups::Backup> all = modDatedBackups::All();
    for (const modDatedBackups::Backup& one : all)
        table.Row({modCommonFunctions::StoredDateTime(one.made), one.size, one.sites, one.links,
                   QFileInfo(one.path).fileName()});
    if (all.empty() && form == modIO::TableForm::People)
        modCommonFunctions::MsgBox(u"There are no dated backups yet."_s);
    else
        table.End();
    return ExitCode::Done;
}

/// Compact and repair, which offer a backup first: that is made here, or not at all. @param backup  Null: none.
ExitCode Rewrite(clsCommandSession& session, const QString& backup,
                 const std::function<Ending(const Progress&)>& rewriting)
{
    const ExitCode before = backup.isNull() ? session.LocateDatabase() : Backup(session, backup);
    if (before != ExitCode::Done)
        return before;
    session.Dialogs().AnswerNext(clsDialogs::Answer::No);
    return Stoppable(rewriting);
}

ExitCode Repair(clsCommandSession& session, const QString& backup)
{
    QStringList report;
    const ExitCode code = Rewrite(
        session, backup, [&](const Progress& progress) { return modDBFunctions::Repairdatabase(progress, report); });
    Tell(report);
    return code == ExitCode::Done && !report.isEmpty() ? ExitCode::Findings : code;
}

ExitCode Check(const clsCommandSession& session)
{
    if (const ExitCode located = session.LocateDatabase(); located != ExitCode::Done)
        return located;
    QStringList damage;
    {
        const auto lock = State().Platform.Disk->Lock(State().Settings.DataPath + modBrambury::DatabaseLockFile,
                                                      clsDisk::Share::Shared);
        if (!lock)
            return clsCommandSession::InUse(u"The database is being worked on by another copy of Brambury."_s);
        damage = modDatabaseCheck::DamageOf(modBrambury::DatabasePath());
    }
    Tell(damage);
    if (!damage.isEmpty())
        return ExitCode::Findings;
    if (const ExitCode opened = session.OpenDatabase(); opened != ExitCode::Done)
        return opened;
    const modDatabaseCheck::Orphans orphans = modDatabaseCheck::CountOrphans(clsCommandSession::Database());
    if (orphans.links > 0)
        modConsole::WriteLine(u"%1 link(s) of a site that does not exist"_s.arg(orphans.links));
    if (orphans.categories > 0)
        modConsole::WriteLine(u"%1 categories of a site that does not exist"_s.arg(orphans.categories));
    if (orphans.links > 0 || orphans.categories > 0)
        return ExitCode::Findings;
    modConsole::WriteLine(u"The database is sound."_s);
    return ExitCode::Done;
}

ExitCode Rescue()
{
    modBrambury::LoadProgramSettings();
    QString told;
    const ExitCode code = CodeOf(modDBFunctions::RescueDatabase(told));
    if (!told.isEmpty())
        modConsole::WriteLine(told);
    return code;
}

using BackupFolder = std::shared_ptr<modCommands::Word>;

BackupFolder AddBackupOption(CLI::App& command)
{
    const auto folder = std::make_shared<modCommands::Word>();
    folder->option =
        command.add_option("--backup", folder->text, "Back the database up into this folder first")->type_name("DIR");
    return folder;
}
} // namespace

void modCommands::AddSafety(CLI::App& app, clsCommand& chosen)
{
    struct BackupWords
    {
        Word folder;
        bool list = false;
        Forms forms;
    };
    const auto to = std::make_shared<BackupWords>();
    CLI::App* backup = app.add_subcommand("backup", "Copy the database, and prove the copy");
    to->folder.option = backup
                            ->add_option("folder", to->folder.text,
                                         "Folder that receives the copy; without it the copy becomes one of the "
                                         "last ten that are kept by date")
                            ->type_name("DIR");
    CLI::Option* list = backup->add_flag("--list", to->list, "List the backups that are kept by date instead");
    list->excludes(to->folder.option);
    AddForms(*backup, to->forms);
    backup->get_option("--json")->needs(list);
    backup->get_option("--csv")->needs(list);
    backup->callback([&chosen, to] {
        chosen = [words = *to, folder = to->folder.Text()](clsCommandSession& session) {
            return words.list        ? ListBackups(words.forms.Form())
                   : folder.isNull() ? BackupByDate(session)
                                     : Backup(session, folder);
        };
    });

    const auto from = std::make_shared<Word>();
    CLI::App* restore = app.add_subcommand("restore", "Put a backup in the database's place");
    from->option =
        restore
            ->add_option("from", from->text, "Folder that holds the backup, the backup itself, or one of backup --list")
            ->required()
            ->type_name("DIR|FILE");
    restore->callback(
        [&chosen, from] { chosen = [path = from->Text()](clsCommandSession&) { return Restore(path); }; });

    CLI::App* compact = app.add_subcommand("compact", "Write the database anew, without its gaps");
    const BackupFolder beforeCompact = AddBackupOption(*compact);
    compact->callback([&chosen, beforeCompact] {
        chosen = [folder = beforeCompact->Text()](clsCommandSession& session) {
            return Rewrite(session, folder, &modDBFunctions::Compactdatabase);
        };
    });

    CLI::App* repair = app.add_subcommand("repair", "Make the database's indexes anew, then compact it");
    const BackupFolder beforeRepair = AddBackupOption(*repair);
    repair->callback([&chosen, beforeRepair] {
        chosen = [folder = beforeRepair->Text()](clsCommandSession& session) { return Repair(session, folder); };
    });

    app.add_subcommand("check", "Look for damage, and for records that belong to nothing")->callback([&chosen] {
        chosen = [](clsCommandSession& session) { return Check(session); };
    });
    app.add_subcommand("rescue", "Put back what an unfinished compact or repair has left")->callback([&chosen] {
        chosen = [](clsCommandSession&) { return Rescue(); };
    });
}
