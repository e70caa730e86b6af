// SPDX-License-Identifier: GPL-3.0-or-later
// Questions, messages and file choices put to the user.
#pragma once

#include <QString>

/// The one entry for message boxes and file dialogs. Without a window the text goes to the error stream.
class clsDialogs
{
public:
    enum class Buttons
    {
        OK,
        YesNo,
        YesNoCancel,
        RetryCancel
    };
    enum class Icon
    {
        None,
        Critical,
        Question,
        Exclamation,
        Information
    };
    enum class Answer
    {
        OK,
        Yes,
        No,
        Cancel,
        Retry
    };

    /// What a save or open dialog offers.
    struct FileRequest
    {
        QString title;
        QString filter;   ///< "Log File (*.log)|*.log": pairs of name and pattern
        QString fileName; ///< offered name, without a folder
        QString folder;   ///< where the dialog starts; empty: where the last one ended
        bool confirmOverwrite = true;
    };

    virtual ~clsDialogs() = default;
    /// Shows a modal box and waits. Closing it counts as Cancel where there is Cancel, else as No, else OK.
    virtual Answer MsgBox(const QString& text, Buttons buttons, Icon icon, const QString& caption) = 0;
    /// @return the path chosen. @throws clsError DialogCancelled when the user cancels.
    [[nodiscard]] virtual QString SaveFile(const FileRequest& request) = 0;
    [[nodiscard]] virtual QString OpenFile(const FileRequest& request) = 0;
    /// Asks for one line of text. @param offered  stands there at first.  @return Null when the user cancels.
    [[nodiscard]] virtual QString InputBox(const QString& prompt, const QString& title,
                                           const QString& offered = {}) = 0;
    /// Asks for a password, which is not shown.  @return Null when the user cancels.
    /// @throws clsError DialogCancelled where nobody can be asked.
    [[nodiscard]] virtual QString PasswordBox(const QString& prompt, const QString& title) = 0;
};
