// SPDX-License-Identifier: GPL-3.0-or-later
// Timers of the user's systemd, which catch up on what was missed; where there is none, lines of the user's crontab,
// which look every hour.
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsScheduler.h"
#include "platform/modPlatformImpl.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int LimitMs = 20'000;
const QString Source = u"Scheduler"_s;

/// Exit codes with which a command has done what it could. With any other it could not work now: no connection yet
/// after a night's sleep, or another run is on.
const QString NothingMoreToDo = u"1 2 5"_s;

/// What is said of a tool that is not installed.
const QByteArray NotThere = "it is not installed";

struct Said
{
    bool well = false;
    QByteArray output;
    QByteArray errors;
};

/// Runs a tool of the system and waits for its end.
Said Run(const QString& tool, const QStringList& words, const QByteArray& input = {})
{
    QProcess process;
    QProcessEnvironment plain = QProcessEnvironment::systemEnvironment();
    plain.insert(u"LC_ALL"_s, u"C"_s);
    process.setProcessEnvironment(plain);
    process.start(tool, words);
    if (!process.waitForStarted(LimitMs))
        return {false, {}, NotThere};
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(LimitMs)) {
        process.kill();
        process.waitForFinished();
        return {false, {}, "it does not answer"};
    }
    return {process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

void MustRun(const QString& tool, const QStringList& words, const QByteArray& input = {})
{
    const Said said = Run(tool, words, input);
    if (!said.well)
        throw clsError(clsError::DeviceUnavailable,
                       u"%1 %2: %3"_s.arg(tool, words.join(u' '), QString::fromUtf8(said.errors).trimmed()), Source);
}

/// @param argument  of a job's command. @throws clsError TypeMismatch for one that no line of a file can hold.
void CheckLine(const QString& argument)
{
    if (argument.contains(u'\n') || argument.contains(u'\r'))
        throw clsError(clsError::TypeMismatch, u"A timed job's words cannot hold a line break: "_s + argument, Source);
}

/// As systemd reads a word of ExecStart (systemd.service(5), "Command lines").
QString UnitWord(QString word)
{
    CheckLine(word);
    word.replace(u'\\', "\\\\"_L1).replace(u'"', "\\\""_L1).replace(u'%', "%%"_L1).replace(u'$', "$$"_L1);
    return u'"' + word + u'"';
}

/// As the shell reads it out of a crontab, where a % would end the command (crontab(5)).
QString CrontabWord(QString word)
{
    CheckLine(word);
    word.replace(u'\'', "'\\''"_L1).replace(u'%', "\\%"_L1);
    return u'\'' + word + u'\'';
}

template <typename Quoted> QString CommandLine(const QStringList& words, const Quoted& quoted)
{
    QStringList line;
    for (const QString& word : words)
        line << quoted(word);
    return line.join(u' ');
}

class clsSystemScheduler final : public clsScheduler
{
public:
    explicit clsSystemScheduler(clsDisk& disk) : m_disk(disk) {}

    QString Enter(const Job& job) override
    {
        if (QFile::exists(u"/.flatpak-info"_s))
            throw clsError(clsError::DeviceUnavailable,
                           u"they are outside the sandbox of the Flatpak, where the command to run is "
                           "\"flatpak run org.brambury.Brambury schedule run\""_s,
                           Source);
        // One of the other kind would run the job a second time.
        Remove(job.name);
        if (HasSystemd()) {
            EnterTimer(job);
            return u"the systemd timer %1"_s.arg(Timer(job.name));
        }
        EnterLine(job);
        return u"your crontab"_s;
    }

    bool Remove(const QString& name) override
    {
        bool removed = false;
        if (m_disk.FileExists(UnitPath(Timer(name)))) {
            if (HasSystemd())
                Run(u"systemctl"_s, {u"--user"_s, u"disable"_s, u"--now"_s, Timer(name)});
            m_disk.RemoveFile(UnitPath(Timer(name)));
            m_disk.RemoveFile(UnitPath(Service(name)));
            if (HasSystemd())
                MustRun(u"systemctl"_s, {u"--user"_s, u"daemon-reload"_s});
            removed = true;
        }
        const QList<QByteArray> lines = Crontab();
        const QList<QByteArray> others = Without(lines, name);
        if (others.size() != lines.size()) {
            WriteCrontab(others);
            removed = true;
        }
        return removed;
    }

    [[nodiscard]] QString Entered(const QString& name) override
    {
        if (m_disk.FileExists(UnitPath(Timer(name)))) {
            const QString unit = QString::fromUtf8(m_disk.ReadFile(UnitPath(Timer(name))));
            const QString when = unit.section("OnCalendar="_L1, 1, 1).section(u'\n', 0, 0);
            return u"%1, by the systemd timer %2"_s.arg(when, Timer(name));
        }
        for (const QByteArray& line : Crontab()) {
            if (line.endsWith(Mark(name)))
                return u"%1, by your crontab"_s.arg(QString::fromUtf8(line).section(" # "_L1, -2, -2));
        }
        return {};
    }

private:
    static QString Timer(const QString& name) { return name + u".timer"_s; }
    static QString Service(const QString& name) { return name + u".service"_s; }
    static QByteArray Mark(const QString& name) { return " # " + name.toUtf8(); }
    static QString UnitPath(const QString& unit)
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/systemd/user/"_s + unit;
    }
    /// Whether a systemd of the user's own is running.
    static bool HasSystemd() { return Run(u"systemctl"_s, {u"--user"_s, u"show-environment"_s}).well; }

    void EnterTimer(const Job& job)
    {
        // A job that systemd will not take is not entered.
        auto undo = qScopeGuard([&job] {
            Run(u"systemctl"_s, {u"--user"_s, u"disable"_s, Timer(job.name)});
            QFile::remove(UnitPath(Timer(job.name)));
            QFile::remove(UnitPath(Service(job.name)));
        });
        m_disk.MakeFolder(QDir(UnitPath({})).absolutePath());
        m_disk.ReplaceContent(UnitPath(Service(job.name)),
                              u"[Unit]\nDescription=%1\nStartLimitIntervalSec=12h\nStartLimitBurst=8\n\n"
                              "[Service]\nType=oneshot\nExecStart=%2\nSuccessExitStatus=%3\n"
                              "Restart=on-failure\nRestartSec=10min\n"_s
                                  .arg(job.description, CommandLine(job.command, &UnitWord), NothingMoreToDo)
                                  .toUtf8());
        const QString day = job.often == Often::Weekly ? u"Mon "_s : QString();
        m_disk.ReplaceContent(
            UnitPath(Timer(job.name)),
            u"[Unit]\nDescription=%1\n\n[Timer]\nOnCalendar=%2*-*-* %3:00\nPersistent=true\n\n"
            "[Install]\nWantedBy=timers.target\n"_s.arg(job.description, day, job.at.toString(u"HH:mm"_s))
                .toUtf8());
        MustRun(u"systemctl"_s, {u"--user"_s, u"daemon-reload"_s});
        MustRun(u"systemctl"_s, {u"--user"_s, u"enable"_s, u"--now"_s, Timer(job.name)});
        undo.dismiss();
    }

    static void EnterLine(const Job& job)
    {
        QList<QByteArray> lines = Without(Crontab(), job.name);
        const QString when = (job.often == Often::Weekly ? u"Mon "_s : QString()) + job.at.toString(u"HH:mm"_s);
        // What stands behind the "#" is the shell's comment.
        lines << u"%1 * * * * %2 # %3"_s.arg(job.at.minute())
                         .arg(CommandLine(job.command + job.onlyIfDue, &CrontabWord), when)
                         .toUtf8() +
                     Mark(job.name);
        WriteCrontab(lines);
    }

    /// The lines of the user's crontab, which may not exist. @throws clsError when it cannot be read: what is not seen
    /// would be lost when it is written.
    static QList<QByteArray> Crontab()
    {
        const Said said = Run(u"crontab"_s, {u"-l"_s});
        if (!said.well && said.errors != NotThere && !said.errors.contains("no crontab"))
            throw clsError(clsError::DeviceUnavailable, u"crontab -l: "_s + QString::fromUtf8(said.errors).trimmed(),
                           Source);
        QList<QByteArray> lines = said.output.split('\n');
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }
    static QList<QByteArray> Without(QList<QByteArray> lines, const QString& name)
    {
        lines.removeIf([&](const QByteArray& line) { return line.endsWith(Mark(name)); });
        return lines;
    }
    static void WriteCrontab(const QList<QByteArray>& lines)
    {
        MustRun(u"crontab"_s, {u"-"_s}, lines.isEmpty() ? QByteArray() : lines.join('\n') + '\n');
    }

    clsDisk& m_disk;
};
} // namespace

std::unique_ptr<clsScheduler> modPlatformImpl::MakeScheduler(clsDisk& disk)
{
    return std::make_unique<clsSystemScheduler>(disk);
}
