// SPDX-License-Identifier: GPL-3.0-or-later
// init: lays the program folder down.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modDBFunctions.h"
#include "platform/clsDisk.h"
#include "platform/impl/clsPlatformParts.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>

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

ExitCode Init(const clsCommandSession& session, bool sample, bool force)
{
    clsPlatformParts& parts = session.Parts();
    if (!parts.Installed()) {
        parts.LayDown(sample);
    } else {
        if (!force)
            return clsCommandSession::Refuse(u"There is a program folder already: "_s + parts.ProgramFolder() +
                                             u".  --force lays down a new database and keeps the old one beside it."_s);
        const auto lock = modBrambury::Platform().Disk->Lock(modBrambury::FolderPath(u"\\Data\\Bramdat.use"_s),
                                                             clsDisk::Share::Exclusive);
        if (!lock)
            return clsCommandSession::InUse(
                u"The database is in use: close Brambury's window and end its runs first."_s);
        clsSetAside old(modBrambury::FolderPath(u"\\Data\\"_s) + modBrambury::DatabaseFile);
        old.Aside();
        parts.LayDown(sample);
        old.Done();
        if (!old.Kept().isEmpty())
            modConsole::WriteLine(u"The old database is kept as "_s + old.Kept());
    }
    modConsole::WriteLine(u"The program folder is ready: "_s + parts.ProgramFolder());
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
    init->add_flag("--sample", words->sample, "Lay down a sample with two sites and their partners instead");
    init->add_flag("--force", words->force,
                   "Lay it down over an existing one; the old database is kept under a dated name");
    init->callback([&chosen, words] {
        chosen = [=](clsCommandSession& session) { return Init(session, words->sample, words->force); };
    });
}
