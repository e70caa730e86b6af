// SPDX-License-Identifier: GPL-3.0-or-later
// What the link test and the mail run have in common: banners, the ways in which they end, and how they wait for
// another program that holds the database.
#pragma once

#include "log/clsRunParent.h"
#include "log/clsStatusLog.h"
#include "platform/clsPlatform.h"

#include <QString>
#include <functional>

class clsDatabase;

/// Everything that lives as long as one run; the run itself derives from it.
class clsRun
{
public:
    /// What every run works with; not owned.
    struct Collaborators
    {
        clsRunParent* Parent = nullptr;
        clsLogWindow* LogWindow = nullptr;
        clsPlatform Platform;
        clsDatabase* Database = nullptr;
    };

    clsRun(const clsRun&) = delete;
    clsRun& operator=(const clsRun&) = delete;

protected:
    /// @param kind  as the banners call it: "MAIL".
    clsRun(const Collaborators& collaborators, const QString& kind);
    ~clsRun();

    /// Clears the log where the setting says so, and writes the first banner.
    void Begin();
    /// The last banner and the sound: after every end.
    void End();

    void Log(const QString& text, qint16 indent, bool bullet) { m_log.LogItem(text, indent, bullet); }
    [[nodiscard]] clsStatusLog& StatusLog() { return m_log; }
    static bool Stopped();
    void LogStopped() { Log(QStringLiteral("Stop button was pressed.  Process aborted."), 1, true); }
    /// Box and line for the ends that every run knows.
    void TellNoConnection();
    void TellUnknownSite(const QString& siteID, qint16 indent);

    /// Does what meets the database; `body` may be run more than once. @return false when the run was stopped while
    /// another program held the file. @throws RecordLocked when it holds it for too long
    bool Unlocked(const std::function<void()>& body);
    /// The same for what must not be left undone: at Stop one more try, whose failure is raised.
    void UnlockedAtLast(const std::function<void()>& body);

    [[nodiscard]] const clsPlatform& Platform() const { return m_with.Platform; }
    [[nodiscard]] clsDatabase& Database() const { return *m_with.Database; }
    [[nodiscard]] clsRunParent& Parent() const { return *m_with.Parent; }

private:
    const Collaborators m_with;
    const QString m_kind;
    clsStatusLog m_log;
};
