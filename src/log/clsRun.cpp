// SPDX-License-Identifier: GPL-3.0-or-later
#include "log/clsRun.h"

#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsSound.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
/// Another program's lock on the database holds a run up in the event loop, where the window and its Stop button live:
/// the thread waits for it in short tries only. Tries and pauses together last as long as other work waits for a lock.
constexpr std::chrono::milliseconds LockPatience{25};
constexpr std::chrono::milliseconds LockPause{75};
constexpr auto LockTries = clsDatabase::UsualPatience / (LockPatience + LockPause);

QString Banner(const QString& begin, const QString& kind, const QDateTime& time)
{
    return begin + u' ' + kind + u" SESSION - "_s + modCommonFunctions::LongDate(time) + u" at "_s +
           modCommonFunctions::MediumTime(time);
}
} // namespace

clsRun::clsRun(const Collaborators& collaborators, const QString& kind)
    : m_with(collaborators), m_kind(kind), m_log(collaborators.Platform.EventLoop)
{
    m_log.SetLogWindow(m_with.LogWindow);
    m_with.Database->SetPatience(LockPatience);
}

clsRun::~clsRun()
{
    m_with.Database->SetPatience(clsDatabase::UsualPatience);
}

void clsRun::Begin()
{
    if (IsOn(State().Settings.ClearResultsLog))
        m_log.Clear();
    Log(Banner(u"BEGIN"_s, m_kind, Platform().Clock->Now()), 0, false);
}

void clsRun::End()
{
    Log(Banner(u"END"_s, m_kind, Platform().Clock->Now()), 0, false);
    const clsProgramSettings& settings = State().Settings;
    if (IsOn(settings.PlaySoundComplete) && Platform().Disk->FileExists(settings.SoundComplete))
        Platform().Sound->Play(settings.SoundComplete);
}

bool clsRun::Stopped()
{
    return State().StopFlag;
}

void clsRun::TellNoConnection()
{
    MsgBox(u"Could not establish a connected to the Internet."_s, clsDialogs::Buttons::OK,
           clsDialogs::Icon::Exclamation);
    Log(u"Could not establish a connection to the Internet.  Process aborted."_s, 1, true);
}

void clsRun::TellUnknownSite(const QString& siteID, qint16 indent)
{
    const QString text = u"Could not locate information for site "_s + siteID + u".  Process aborted."_s;
    MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    Log(text, indent, true);
}

bool clsRun::Unlocked(const std::function<void()>& body)
{
    auto outcome = clsEventLoop::Outcome::TimedOut;
    auto tries = LockTries;
    const bool done = untilUnlocked(body, [&] {
        if (--tries == 0)
            return false;
        outcome = Platform().EventLoop->Wait(&clsRun::Stopped, LockPause);
        return outcome == clsEventLoop::Outcome::TimedOut;
    });
    if (done || outcome != clsEventLoop::Outcome::TimedOut)
        return done;
    body(); // the last try: its failure is the run's
    return true;
}

void clsRun::UnlockedAtLast(const std::function<void()>& body)
{
    if (!Unlocked(body))
        body();
}
