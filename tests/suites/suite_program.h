// SPDX-License-Identifier: GPL-3.0-or-later
// The real program as a process of its own, and a queue of links whose right verdicts are known beforehand.
#pragma once

#include "platform/clsDatabase.h"
#include "support/installation.h"
#include "support/scripted_server.h"

#include <QMap>
#include <QProcess>
#include <functional>
#include <memory>

/// How a process of the program ended.
struct programRun
{
    int code = -1;
    bool killed = false; ///< by a signal
    bool hung = false;   ///< did not end in time, and was killed for it
    QByteArray out;
    QByteArray err;
    /// All of it, for a failing test's message.
    [[nodiscard]] QByteArray Story() const;
};

/// A process of the program on one installation.
class suiteProgram
{
public:
    explicit suiteProgram(const QString& home);
    ~suiteProgram();
    suiteProgram(const suiteProgram&) = delete;
    suiteProgram& operator=(const suiteProgram&) = delete;

    /// Has the calls that change files below the home fail as file_faults.cpp tells.
    /// @param paths  how the paths of the files concerned begin; empty: everything in the home.
    void SetFault(const QString& kind, int number, const QString& paths = {});
    /// Runs in the child before the program starts.
    void InChild(const std::function<void()>& prepare) { m_process.setChildProcessModifier(prepare); }
    void Start(const QStringList& words);
    programRun Finish(int milliseconds = 60000);
    programRun Run(const QStringList& words) { return Start(words), Finish(); }
    /// Calls counted by the fault library, when the process ended by itself.
    [[nodiscard]] int Calls() const;

    QProcess& Process() { return m_process; }

private:
    QString m_home;
    QProcess m_process;
};

/// What a database file holds, read with the library's own tools.
struct fileContent
{
    QByteArray complaint;                    ///< what the check of its pages says; empty when it is sound
    QMap<QByteArray, QByteArrayList> tables; ///< every field of every row by table; of a sound file only
    bool operator==(const fileContent&) const = default;
};
fileContent ContentOf(const QString& path);

/// An installation with one site and queued partners on a scripted server: two of four pass, one has no link, one hangs
/// up. All of it is asked for on one server at the loopback address.
class suiteQueue
{
public:
    /// What a run reads and writes of a link.
    struct Link
    {
        int status = 0;
        int results = 0;
        bool queued = false;
        QString lastSuccess;
        QString rest; ///< every other field
        bool operator==(const Link&) const = default;
    };
    using Links = QMap<qint64, Link>;

    explicit suiteQueue(int links);

    [[nodiscard]] QString Home() const { return m_installation.Folder(); }
    [[nodiscard]] QString DatabasePath() const { return m_installation.DatabasePath(); }
    [[nodiscard]] const clsTestInstallation& Installation() const { return m_installation; }
    /// Lays the untouched database down again.
    void Restore();
    /// Every link, read as another copy of the program would. @throws clsError
    [[nodiscard]] Links Read() const;
    /// How many links wait for a test.
    static int Queued(const Links& links);
    /// What a run that began with `before` and was cut short anywhere may not have left behind; empty: nothing is lost.
    /// A link is untouched and queued, or judged; those judged are the first ones of the queue.
    [[nodiscard]] QString Losses(const Links& before, const Links& after) const;
    /// Empty when the locks beside the database are free.
    [[nodiscard]] QString HeldLocks() const;

private:
    [[nodiscard]] static Link Judged(qint64 id, const Link& before);

    clsTestInstallation m_installation;
    scriptedServer m_server;
    QByteArray m_untouched;
};
