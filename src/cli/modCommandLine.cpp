// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/modCommandLine.h"

#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "platform/clsPrinter.h"
#include "platform/parts/clsPlatformParts.h"
#include "shell/modBrambury.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Footer[] =
    "Exit codes: 0 done, 1 done but a link failed, a message was not sent, damage was found or there\n"
    "was nothing to write, 2 wrong usage or refused input, 3 could not run or ended by an error,\n"
    "4 in use by another run, 5 stopped.";

int Number(ExitCode code)
{
    return static_cast<int>(code);
}

/// Everything that the words of the command line decide.
struct Wish
{
    modCommands::Word home;
    bool yes = false;
    clsCommand command;   ///< empty: the window, or pictures
    bool prints = false;  ///< the command does
    std::string pictures; ///< folder for the pictures
    bool makePictures = false;
    bool lightOnly = false; ///< only the light pictures of single size
};

void Describe(CLI::App& app, Wish& wish)
{
    app.name("brambury");
    app.description("Brambury manages the links that web sites trade with each other, and tests whether they are\n"
                    "still there. Without a command it opens its window.");
    app.footer(Footer);
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", "Brambury " BRAMBURY_VERSION, "Print the version and end");
    wish.home.option = app.add_option("--home", wish.home.text,
                                      "Program folder of a portable installation; its settings live in it too")
                           ->envname("BRAMBURY_HOME")
                           ->type_name("DIR");
    app.add_flag("--yes", wish.yes, "Answer questions with Yes instead of asking");
    modCommands::AddInit(app, wish.command);
    modCommands::AddRuns(app, wish.command);
    modCommands::AddMail(app, wish.command);
    modCommands::AddTables(app, wish.command);
    modCommands::AddSite(app, wish.command);
    modCommands::AddMailLogin(app, wish.command);
    modCommands::AddLink(app, wish.command);
    modCommands::AddCategory(app, wish.command);
    modCommands::AddTemplate(app, wish.command);
    modCommands::AddImport(app, wish.command);
    modCommands::AddHarvest(app, wish.command);
    modCommands::AddPage(app, wish.command);
    modCommands::AddReport(app, wish.command, wish.prints);
    modCommands::AddSettings(app, wish.command);
    modCommands::AddSafety(app, wish.command);
    modCommands::AddSchedule(app, wish.command);
    CLI::App* pictures = app.add_subcommand("pictures", "Render the windows to PNG files, without a display");
    pictures->add_option("folder", wish.pictures, "Folder that receives the files")->required()->type_name("DIR");
    pictures->add_flag("--light", wish.lightOnly, "Only light ones, in single size");
    pictures->callback([&wish] { wish.makePictures = true; });
}

/// @return the exit code when there is nothing more to do.
std::optional<int> Understand(CLI::App& app, int argc, char** argv)
{
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::CallForHelp&) {
        modConsole::Write(QByteArray::fromStdString(app.help()));
    } catch (const CLI::CallForVersion& version) {
        modConsole::WriteLine(QString::fromUtf8(version.what()));
    } catch (const CLI::ParseError& error) {
        return Number(clsCommandSession::Refuse(QString::fromLocal8Bit(error.what())));
    }
    return Number(modConsole::Finish() ? ExitCode::Done : ExitCode::Failed);
}

int TellNoDisplay()
{
    modConsole::ErrorLine(
        u"There is no display to open the window on; brambury --help lists the commands that need none."_s);
    return Number(ExitCode::Failed);
}

bool HasDisplay()
{
#ifdef Q_OS_LINUX
    constexpr std::array names{"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    return std::any_of(names.begin(), names.end(), [](const char* name) { return !qEnvironmentVariableIsEmpty(name); });
#else
    return true;
#endif
}

/// Hears what Qt says while it connects to the display: that it cannot is fatal to Qt, and an answer here.
void WhileConnecting(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    modConsole::ErrorLine(text);
    if (type != QtFatalMsg)
        return;
    std::_Exit(TellNoDisplay());
}

/// The offscreen platform says of every window that it cannot pass its size on, and a bare environment has no folder
/// for a session: nobody needs that for a picture, or for a page.
void WhileOffscreen(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text)
{
    if (!text.startsWith("This plugin does not support"_L1) && !text.startsWith("QStandardPaths: "_L1))
        modConsole::ErrorLine(text);
}

/// @param makePrinter  empty for a command that prints nothing.
int RunCommand(const clsCommand& command, const QString& home, bool yes,
               const decltype(clsWindowEntry::MakePrinter)& makePrinter = {})
{
    clsPlatformParts parts(home);
    clsCommandSession session(parts, yes);
    const std::unique_ptr<clsPrinter> printer = makePrinter ? makePrinter(parts.Bundle().Settings) : nullptr;
    modBrambury::Platform().Printer = printer.get();
    const ExitCode code = session.Run(command);
    const bool written = modConsole::Finish();
    return Number(written || code == ExitCode::Stopped ? code : ExitCode::Failed);
}
} // namespace

int RunCommandLine(int argc, char** argv, const clsWindowEntry& window)
{
    Wish wish;
    CLI::App app;
    Describe(app, wish);
    if (const std::optional<int> ended = Understand(app, argc, argv))
        return *ended;
    const QString home = wish.home.Text();
    if (!home.isNull() && home.trimmed().isEmpty())
        return Number(clsCommandSession::Refuse(u"--home names no folder."_s));

    // The words are all understood: the application object is to look for none of its own among them.
    int one = 1;
    if (wish.command && wish.prints) {
        // Fonts are the window system's, and this one needs no display.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qInstallMessageHandler(&WhileOffscreen);
        const auto application = window.MakeApplication(one, argv);
        return RunCommand(wish.command, home, wish.yes, window.MakePrinter);
    }
    if (wish.command) {
        const QCoreApplication application(one, argv);
        return RunCommand(wish.command, home, wish.yes);
    }
    if (!wish.makePictures && !HasDisplay())
        return TellNoDisplay();
    if (wish.makePictures)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler before = qInstallMessageHandler(&WhileConnecting);
    const auto application = window.MakeApplication(one, argv);
    qInstallMessageHandler(before);
    clsPlatformParts parts(home);
    if (wish.makePictures) {
        qInstallMessageHandler(&WhileOffscreen);
        return Number(window.RenderPictures(
            parts, QString::fromLocal8Bit(wish.pictures.data(), std::ssize(wish.pictures)), wish.lightOnly));
    }
    return Number(window.OpenWindow(parts));
}
