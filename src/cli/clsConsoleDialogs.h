// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes of a program that runs without a window: texts on the error stream, questions answered by rule.
#pragma once

#include "platform/clsDialogs.h"

#include <optional>

class clsConsoleDialogs final : public clsDialogs
{
public:
    /// @param yes  questions are answered with Yes and not asked.
    explicit clsConsoleDialogs(bool yes) : m_yes(yes) {}

    /// Writes the text; a question is followed by the line "-> ANSWER". It is asked on a terminal; without one the
    /// answer is No. A box that offers to retry is always cancelled: nobody is there to put the cause right.
    Answer MsgBox(const QString& text, Buttons buttons, Icon icon, const QString& caption) override;
    /// The next question is answered so, and not asked.
    void AnswerNext(Answer answer) { m_next = answer; }
    /// There are no file dialogs here. @throws clsError DialogCancelled, always.
    [[nodiscard]] QString SaveFile(const FileRequest& request) override;
    [[nodiscard]] QString OpenFile(const FileRequest& request) override;
    /// Commands take every text from their words: cancelled, always.
    [[nodiscard]] QString InputBox(const QString& /*prompt*/, const QString& /*title*/,
                                   const QString& /*offered*/) override
    {
        return {};
    }
    /// Asks on a terminal, without showing what is typed. @throws clsError DialogCancelled without one.
    [[nodiscard]] QString PasswordBox(const QString& prompt, const QString& title) override;

private:
    [[nodiscard]] Answer AnswerOf(Buttons buttons) const;
    const bool m_yes;
    std::optional<Answer> m_next;
};
