// SPDX-License-Identifier: GPL-3.0-or-later
// Stand-ins that script what the real part cannot be made to do on demand: answers to boxes, the time, a dead network.
#pragma once

#include "log/clsStatusLog.h"
#include "platform/clsClock.h"
#include "platform/clsConnection.h"
#include "platform/clsDialogs.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsSound.h"
#include "platform/clsWindows.h"

#include <QCoreApplication>
#include <QList>
#include <QMap>
#include <QTest>

/// Settings in memory.
class fakeSettings : public clsSettingsStore
{
public:
    QMap<QString, QMap<QString, QString>> values;
    QString GetSetting(const QString& s, const QString& k, const QString& d) const override
    {
        return HasSetting(s, k) ? values[s][k] : d;
    }
    bool HasSetting(const QString& s, const QString& k) const override
    {
        return values.contains(s) && values[s].contains(k);
    }
    void SaveSetting(const QString& s, const QString& k, const QString& v) override { values[s][k] = v; }
    void DeleteSetting(const QString& s, const QString& k) override { values[s].remove(k); }
    void DeleteSection(const QString& s) override { values.remove(s); }
    QStringList Sections() const override { return values.keys(); }
    std::vector<QPair<QString, QString>> GetAllSettings(const QString& s) const override
    {
        std::vector<QPair<QString, QString>> all;
        const auto section = values.value(s);
        for (auto it = section.cbegin(); it != section.cend(); ++it)
            all.emplace_back(it.key(), it.value());
        return all;
    }
    bool full = false; ///< nothing more can be stored
    void Flush() override
    {
        if (full)
            throw clsError(clsError::DiskFull, QStringLiteral("The disk is full."), QStringLiteral("Settings"));
    }
};

/// A clock that stands until it is moved; Monotonic moves with it.
class fakeClock : public clsClock
{
public:
    QDateTime now{QDate(2026, 1, 5), QTime(15, 7, 9)};
    std::chrono::milliseconds monotonic{0};
    QDateTime Now() const override { return now; }
    std::chrono::milliseconds Monotonic() const override { return monotonic; }
    void Advance(std::chrono::milliseconds by)
    {
        now = now.addMSecs(by.count());
        monotonic += by;
    }
};

/// Knows which boxes will come, in order: an unexpected text fails the test.
class fakeDialogs : public clsDialogs
{
public:
    struct Expected
    {
        QString text; ///< "...*": how it begins
        Answer answer = Answer::OK;
        QString caption; ///< empty: not looked at
    };
    QList<Expected> expected;
    QStringList shown;            ///< every text that came
    QList<QString> filesToChoose; ///< answers to file dialogs; none left: cancelled
    QList<FileRequest> fileRequests;

    void Expect(const QString& text, Answer answer = Answer::OK, const QString& caption = {})
    {
        expected.append({text, answer, caption});
    }
    Answer MsgBox(const QString& text, Buttons, Icon, const QString& caption) override
    {
        shown.append(text);
        if (expected.isEmpty()) {
            QTest::qFail(qPrintable(QStringLiteral("unexpected box: ") + text), __FILE__, __LINE__);
            return Answer::Cancel;
        }
        const Expected next = expected.takeFirst();
        const bool same = next.text.endsWith(u'*') ? text.startsWith(next.text.chopped(1)) : text == next.text;
        if (!same || (!next.caption.isEmpty() && next.caption != caption))
            QTest::qFail(
                qPrintable(
                    QStringLiteral("box: [%1] %2\nexpected: [%3] %4").arg(caption, text, next.caption, next.text)),
                __FILE__, __LINE__);
        return next.answer;
    }
    QString SaveFile(const FileRequest& request) override { return Choose(request); }
    QString OpenFile(const FileRequest& request) override { return Choose(request); }
    QStringList inputs;  ///< answers to input boxes; none left: cancelled
    QStringList offered; ///< what stood in the input boxes at first
    QString InputBox(const QString& prompt, const QString& title, const QString& text) override
    {
        shown.append(title + QStringLiteral(": ") + prompt);
        offered.append(text);
        return inputs.isEmpty() ? QString() : inputs.takeFirst();
    }
    QStringList passwords; ///< answers to password boxes; none left: cancelled
    QString PasswordBox(const QString& prompt, const QString& title) override
    {
        shown.append(title + QStringLiteral(": ") + prompt);
        return passwords.isEmpty() ? QString() : passwords.takeFirst();
    }

private:
    QString Choose(const FileRequest& request)
    {
        fileRequests.append(request);
        if (filesToChoose.isEmpty())
            throw clsError(clsError::DialogCancelled, QStringLiteral("Cancel was selected."), QStringLiteral("Dialog"));
        return filesToChoose.takeFirst();
    }
};

/// Records what windows the logic asked for.
class fakeWindows : public clsWindows
{
public:
    QStringList calls;
    bool mainLoaded = false;
    std::function<void()> onLoadMain;
    std::function<bool()> onBackup;
    void ShowSplash(const QString& version, const QString& build) override
    {
        calls << QStringLiteral("splash ") + version + u' ' + build;
    }
    void HideSplash() override { calls << QStringLiteral("hide splash"); }
    void LoadMain() override
    {
        calls << QStringLiteral("main");
        mainLoaded = true;
        if (onLoadMain)
            onLoadMain();
    }
    void UnloadMain() override
    {
        calls << QStringLiteral("unload main");
        mainLoaded = false;
    }
    void UnloadAll(bool keepMain) override
    {
        calls << (keepMain ? QStringLiteral("unload others") : QStringLiteral("unload all"));
        mainLoaded = mainLoaded && keepMain;
    }
    bool AnyLoaded() const override { return mainLoaded; }
    void RaiseMain() override { calls << QStringLiteral("raise"); }
    void SetPointer(Pointer) override {}
    void ShowError(ErrorIcon icon, const QString& message, const QString& details) override
    {
        calls << (icon == ErrorIcon::Critical ? QStringLiteral("error critical") : QStringLiteral("error exclamation"));
        lastMessage = message;
        lastDetails = details;
    }
    bool ShowBackupRestore() override
    {
        calls << QStringLiteral("backup");
        return onBackup ? onBackup() : true;
    }
    QStringList previewReplies; ///< none left: the preview is cancelled
    QString ShowPreview(const QString& caption, const QString& text, const QString& attachment) override
    {
        calls << QStringLiteral("preview ") + caption;
        lastMessage = text;
        lastDetails = attachment;
        return previewReplies.isEmpty() ? QStringLiteral("3") : previewReplies.takeFirst();
    }
    void SetHelpFile(const QString&) override {}
    void ShowHelp(int topic) override { calls << QStringLiteral("help %1").arg(topic); }
    void ShowTips() override { calls << QStringLiteral("tips"); }
    QString lastMessage;
    QString lastDetails;
};

/// Waits for nothing: a condition is true at once or never.
class fakeEventLoop : public clsEventLoop
{
public:
    int yields = 0;
    bool interrupted = false;
    Outcome Wait(const std::function<bool()>& done, std::chrono::milliseconds) override
    {
        return interrupted ? Outcome::Ending : done() ? Outcome::Done : Outcome::TimedOut;
    }
    void Yield() override { ++yields; }
    void Interrupt() override { interrupted = true; }
    void Resume() override { interrupted = false; }
};

/// A connection that is there or not.
class fakeConnection : public clsConnection
{
public:
    bool connected = true;
    bool dials = false;
    bool Connected() const override { return connected; }
    bool Dial() override { return dials; }
    void HangUp() override {}
};

/// Remembers what was played.
class fakeSound : public clsSound
{
public:
    QStringList played;
    void Play(const QString& path) override { played << path; }
};

/// A log window that only keeps the text.
class fakeLogWindow : public clsLogWindow
{
public:
    qsizetype caret = 0;

protected:
    void ShowAppended(const QString&, qsizetype place) override { caret = place; }
    void ShowCleared() override { caret = 0; }
};
