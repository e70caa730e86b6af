// SPDX-License-Identifier: GPL-3.0-or-later
// Where the program is put together: the command line gets the window it may have to open.
#include "cli/modCommandLine.h"
#include "platform/clsPrinter.h"
#include "platform/modPlatformImpl.h"
#include "platform/widgets/modWidgets.h"
#include "ui/main/modWindow.h"

#include <QApplication>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <langinfo.h>
#include <string_view>
#include <unistd.h>

namespace
{
/// The outside world as the program expects it, before anything is built on it.
void PrepareProcess()
{
    // A server that hangs up while something is being sent, or a reader of our output that has gone away, is met where
    // the write fails; it is no reason to die in the middle of a record.
    std::signal(SIGPIPE, SIG_IGN);
    // A standard stream that was closed by whoever started us must not become the next file that is opened: read-only,
    // so that writing to it fails and is told.
    int descriptor = 0;
    do {
        descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        ::close(descriptor);
    // Texts are UTF-8. In a bare environment Qt would say on the error stream that it switches to this itself.
    std::setlocale(LC_ALL, "");
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8")
        qputenv("LC_ALL", "C.UTF-8");
}
} // namespace

int main(int argc, char** argv)
{
    PrepareProcess();
    const clsWindowEntry window{
        .MakeApplication =
            [](int& count, char** words) {
                modPlatformImpl::LeaveSilentSession();
                return std::make_unique<QApplication>(count, words);
            },
        .MakePrinter = [](clsSettingsStore* settings) { return modWidgets::MakePrinter(settings); },
        .OpenWindow = &modWindow::RunWindow,
        .RenderPictures = &modWindow::RenderPictures,
    };
    return RunCommandLine(argc, argv, window);
}
