// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that opens or closes a window, in the words of the logic that asks for it.
#pragma once

#include <QString>

/// The program's windows. With a window system `ui` implements it; the command line answers in text.
class clsWindows
{
public:
    enum class ErrorIcon
    {
        Critical,
        Exclamation
    };
    enum class Pointer
    {
        Default,
        Hourglass
    };

    virtual ~clsWindows() = default;
    /// Shows the splash window, not modal, and lets it paint. @param build  three digits, "012".
    virtual void ShowSplash(const QString& version, const QString& build) = 0;
    virtual void HideSplash() = 0;
    /// Loads and shows the main window; returns when its load has run.
    virtual void LoadMain() = 0;
    /// Closes the main window through its close request, as its close box does; while a run or a dialog is open, when
    /// they have returned.
    virtual void UnloadMain() = 0;
    /// Closes windows, newest first. @param keepMain  all but the main window.
    virtual void UnloadAll(bool keepMain) = 0;
    [[nodiscard]] virtual bool AnyLoaded() const = 0;
    /// Restores the main window if it is minimised and brings it to the front.
    virtual void RaiseMain() = 0;
    virtual void SetPointer(Pointer pointer) = 0;
    /// The error window, modal. @param message  what to do; @param details  the facts, hidden at first.
    virtual void ShowError(ErrorIcon icon, const QString& message, const QString& details) = 0;
    /// The backup and restore window, modal. @return whether a backup or a restore was made.
    virtual bool ShowBackupRestore() = 0;
    /// The preview of one message, modal. @param text  the whole of it, lines ended by CR LF.
    /// @param attachment  "name, size" of the file that goes with it, for people; empty: none.
    /// @return "1" it may be sent, "2" it is not to be sent, "3" the preview ends, "0" closed by its box.
    virtual QString ShowPreview(const QString& caption, const QString& text, const QString& attachment) = 0;
    /// Where the help text is read from, when help is asked for.
    virtual void SetHelpFile(const QString& path) = 0;
    /// The help window, not modal and usable beside modal ones. @param topic  one of modHelpTopics.h; for a number that
    /// the help file does not have its first page is shown.
    virtual void ShowHelp(int topic) = 0;
    /// The tip of the day, modal.
    virtual void ShowTips() = 0;
};
