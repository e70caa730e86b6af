// SPDX-License-Identifier: GPL-3.0-or-later
// init: lays the program folder down. sample: adds the sample to a database, and takes it away.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modDBFunctions.h"
#include "data/modSample.h"
#include "platform/clsDisk.h"
#include "platform/parts/clsPlatformParts.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>
#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// An old database under its new name, put back unless a new one takes its place.
class clsSetAside
{
public:
    explicit clsSetAside(const QString& database) : m_database(database) {}
    /// Moves the database to its dated name. @throws clsError; what was moved until then goes back.
    void Aside()
    {
        if (!modBrambury::Platform().Disk->FileExists(m_database))
            return;
        m_kept = modDBFunctions::DatedPath(m_database);
        Move(m_database, m_kept);
    }
    ~clsSetAside()
    {
        if (!m_done && !m_kept.isEmpty())
            ignoringErrors([this] { Move(m_kept, m_database); });
    }
    clsSetAside(const clsSetAside&) = delete;
    clsSetAside& operator=(const clsSetAside&) = delete;
    void Done() { m_done = true; }
    [[nodiscard]] const QString& Kept() const { return m_kept; }

private:
    /// What an interrupted change left beside the file belongs to it, and would spoil another one.
    static void Move(const QString& from, const QString& to)
    {
        clsDisk& disk = *modBrambury::Platform().Disk;
        disk.RenameFile(from, to);
        if (disk.FileExists(from + u"-journal"_s))
            disk.RenameFile(from + u"-journal"_s, to + u"-journal"_s);
    }
    const QString m_database;
    QString m_kept;
    bool m_done = false;
};

ExitCode LayDown(clsPlatformParts& parts, bool force)
{
    if (!parts.Installed()) {
        parts.LayDown();
        return ExitCode::Done;
    }
    if (!force)
        return clsCommandSession::Refuse(u"There is a program folder already: "_s + parts.ProgramFolder() +
                                         u".  --force lays down a new database and keeps the old one beside it."_s);
    const auto lock = modBrambury::Platform().Disk->Lock(
        modBrambury::FolderPath(u"\\Data\\"_s) + modBrambury::DatabaseLockFile, clsDisk::Share::Exclusive);
    if (!lock)
        return clsCommandSession::InUse(u"The database is in use: close Brambury's window and end its runs first."_s);
    clsSetAside old(modBrambury::FolderPath(u"\\Data\\"_s) + modBrambury::DatabaseFile);
    old.Aside();
    parts.LayDown();
    old.Done();
    if (!old.Kept().isEmpty())
        modConsole::WriteLine(u"The old database is kept as "_s + old.Kept());
    return ExitCode::Done;
}

ExitCode Init(const clsCommandSession& session, bool sample, bool force)
{
    ExitCode code = LayDown(session.Parts(), force);
    if (code == ExitCode::Done && sample) {
        auto without = qScopeGuard([] {
            modConsole::ErrorLine(
                u"The program folder is there, but the sample is not in it; \"sample add\" adds it."_s);
        });
        // The database that has just been laid down, whichever one the settings name.
        modBrambury::State().Settings.DataPath = modBrambury::FolderPath(u"\\Data\\"_s);
        code = session.OpenDatabase();
        if (code == ExitCode::Done) {
            modSample::Add(clsCommandSession::Database());
            without.dismiss();
        }
    }
    if (code == ExitCode::Done)
        modConsole::WriteLine(u"The program folder is ready: "_s + session.Parts().ProgramFolder());
    return code;
}

ExitCode AddSample(clsDatabase& database)
{
    const QString problem = modSample::Problem(database);
    if (!problem.isEmpty())
        return clsCommandSession::Refuse(problem);
    modConsole::WriteLine(u"The sample is there; begin with the site "_s + modSample::Add(database));
    return ExitCode::Done;
}

ExitCode RemoveSample(clsDatabase& database)
{
    if (!modSample::There(database))
        return clsCommandSession::Refuse(u"There is no sample."_s);
    if (!modSample::Remove(database))
        return ExitCode::Refused;
    modConsole::WriteLine(u"The sample is gone."_s);
    return ExitCode::Done;
}
} // namespace

void modCommands::AddInit(CLI::App& app, clsCommand& chosen)
{
    struct Words
    {
        bool sample = false;
        bool force = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* init = app.add_subcommand("init", "Lay down the program folder with an empty database");
    init->add_flag("--sample", words->sample, "Add the sample: two sites and their partners");
    init->add_flag("--force", words->force,
                   "Lay it down over an existing one; the old database is kept under a dated name");
    init->callback([&chosen, words] {
        chosen = [=](clsCommandSession& session) { return Init(session, words->sample, words->force); };
    });

    CLI::App* sampleCommand = app.add_subcommand("sample", "Two invented sites with their partners, to look around in");
    sampleCommand->require_subcommand(1);
    sampleCommand->add_subcommand("add", "Add it to the database")->callback([&chosen] {
        chosen = InDatabase(&AddSample);
    });
    sampleCommand->add_subcommand("remove", "Take away what it brought, and nothing else")->callback([&chosen] {
        chosen = InDatabase(&RemoveSample);
    });
}
