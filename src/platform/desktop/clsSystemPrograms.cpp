// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/clsPrograms.h"
#include "platform/modPlatformImpl.h"

#include <QProcess>
#include <QScopeGuard>
#include <csignal>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype MostOutput = 64 * 1024;

[[noreturn]] void Fail(enum clsError::Number number, const QString& text)
{
    throw clsError(number, text, u"Programs"_s);
}

class clsSystemPrograms final : public clsPrograms
{
public:
    explicit clsSystemPrograms(clsEventLoop& eventLoop) : m_eventLoop(eventLoop) {}

    [[nodiscard]] QByteArray Output(const QString& command, std::chrono::milliseconds limit,
                                    const std::function<bool()>& stopped) override
    {
        QStringList words = QProcess::splitCommand(command);
        if (words.isEmpty())
            Fail(clsError::FileNotFound, u"The command names no program."_s);
        const QString program = words.takeFirst();
        QProcess process;
        process.setStandardInputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        // A group of its own, so that what it starts itself ends with it.
        process.setChildProcessModifier([] { ::setpgid(0, 0); });
        QByteArray output;
        const auto read = [&] { output += process.readAllStandardOutput(); };
        const auto end = qScopeGuard([&] {
            if (process.state() == QProcess::NotRunning)
                return;
            ::kill(-static_cast<pid_t>(process.processId()), SIGKILL);
            process.kill();
            process.waitForFinished();
        });
        process.start(program, words);
        const auto ended = [&] {
            read();
            return process.state() == QProcess::NotRunning || output.size() > MostOutput || (stopped && stopped());
        };
        const auto outcome = m_eventLoop.Wait(ended, limit);
        if (process.error() == QProcess::FailedToStart)
            Fail(clsError::FileNotFound, u"The program %1 could not be started."_s.arg(program));
        if (outcome == clsEventLoop::Outcome::Ending || (stopped && stopped()))
            Fail(clsError::WorkStopped, u"Stopped."_s);
        if (outcome == clsEventLoop::Outcome::TimedOut)
            Fail(clsError::DeviceUnavailable, u"The program %1 did not end in time."_s.arg(program));
        if (output.size() > MostOutput)
            Fail(clsError::DeviceUnavailable, u"The program %1 says too much."_s.arg(program));
        if (process.exitStatus() != QProcess::NormalExit)
            Fail(clsError::DeviceUnavailable, u"The program %1 ended by a signal."_s.arg(program));
        if (process.exitCode() != 0)
            Fail(clsError::DeviceUnavailable,
                 u"The program %1 ended with the exit code %2."_s.arg(program).arg(process.exitCode()));
        return output;
    }

private:
    clsEventLoop& m_eventLoop;
};
} // namespace

std::unique_ptr<clsPrograms> modPlatformImpl::MakePrograms(clsEventLoop& eventLoop)
{
    return std::make_unique<clsSystemPrograms>(eventLoop);
}
