// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes and file dialogs on the screen.
#pragma once

#include "platform/clsDialogs.h"

#include <functional>

class QFileDialog;
class QIcon;
class QWidget;

/// Shows modal boxes above the window that `owner` names at that time. Their texts are plain and can be selected; the
/// default button is the answer that changes nothing.
class clsWidgetDialogs final : public clsDialogs
{
public:
    clsWidgetDialogs(std::function<QWidget*()> owner, std::function<QIcon(Icon)> pictures);
    ~clsWidgetDialogs() override;

    Answer MsgBox(const QString& text, Buttons buttons, Icon icon, const QString& caption) override;
    [[nodiscard]] QString SaveFile(const FileRequest& request) override;
    [[nodiscard]] QString OpenFile(const FileRequest& request) override;
    [[nodiscard]] QString InputBox(const QString& prompt, const QString& title, const QString& offered) override;
    [[nodiscard]] QString PasswordBox(const QString& prompt, const QString& title) override;

    /// Rejects what is open, newest first, and refuses new dialogs while `ending`.
    static void SetEnding(bool ending);
    [[nodiscard]] static bool Ending() { return s_ending; }

private:
    [[nodiscard]] QWidget* Owner() const { return m_owner ? m_owner() : nullptr; }
    [[nodiscard]] QString AskLine(const QString& prompt, const QString& title, const QString& offered,
                                  bool shown) const;
    [[nodiscard]] static QString Choose(QFileDialog& dialog, const FileRequest& request);

    std::function<QWidget*()> m_owner;
    std::function<QIcon(Icon)> m_pictures;
    static inline bool s_ending = false;
};
