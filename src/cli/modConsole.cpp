// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/modConsole.h"

#include "platform/modSecrets.h"
#include "shell/modCommonFunctions.h"

#include <QScopeGuard>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// errno of the first write that failed, 0 while none has.
int s_writeError = 0;

QByteArray Encoded(const QString& text)
{
    return modCommonFunctions::WithLineFeeds(text).toUtf8();
}

void Flush()
{
    if (std::fflush(stdout) != 0 && s_writeError == 0)
        s_writeError = errno;
}

/// Bytes that a line which somebody types does not exceed.
constexpr qsizetype UsualLine = 4096;

/// Reads up to a line feed. @param whole  only a line that is ended so counts.
/// @return Null at the input's end or after a signal.
QString AskLine(const QString& prompt, bool whole)
{
    const QByteArray bytes = Encoded(prompt);
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);
    QByteArray line;
    line.reserve(UsualLine); // growing would leave copies of a password behind
    const auto wipe = qScopeGuard([&] { modSecrets::Wipe(line); });
    for (;;) {
        char letter = 0;
        // Waiting by poll and not by read: a signal ends this wait, whatever its handler says of interrupted calls.
        struct pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
        const ssize_t got = ::poll(&input, 1, -1) == 1 ? ::read(STDIN_FILENO, &letter, 1) : -1;
        const bool ended = got == 0 && !whole && !line.isEmpty();
        if (got != 1 && !ended)
            return {};
        if (letter == '\n' || ended)
            return line.isEmpty() ? u""_s : QString::fromUtf8(line); // never Null
        line += letter;
    }
}
} // namespace

void modConsole::Write(const QByteArray& bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    // After a failure nothing more is written: half a line would be taken for a whole one.
    if (s_writeError == 0 && std::fwrite(bytes.constData(), 1, size, stdout) != size)
        s_writeError = errno;
}

void modConsole::WriteLine(const QString& text)
{
    WritePart(text + u'\n');
}

void modConsole::WritePart(const QString& text)
{
    Write(Encoded(text));
    Flush();
}

void modConsole::ErrorLine(const QString& text)
{
    const QByteArray bytes = Encoded(text) + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

bool modConsole::Finish()
{
    Flush();
    if (s_writeError != 0 && s_writeError != EPIPE)
        ErrorLine(u"The standard output could not be written: "_s +
                  QString::fromLocal8Bit(std::strerror(s_writeError)));
    return s_writeError == 0;
}

bool modConsole::CanAsk()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

QString modConsole::Ask(const QString& prompt)
{
    const QString line = AskLine(prompt, true);
    return line.isNull() ? line : u""_s + line.trimmed(); // never Null, not even for an empty line
}

QString modConsole::AskSecret(const QString& prompt)
{
    struct termios before = {};
    const bool terminal = ::tcgetattr(STDIN_FILENO, &before) == 0;
    const auto restore = qScopeGuard([&] {
        if (!terminal)
            return;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        ErrorLine({}); // the user's line end was not shown either
    });
    struct termios silent = before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (terminal)
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    return AskLine(prompt, false);
}
