// SPDX-License-Identifier: GPL-3.0-or-later
// The program's windows as the logic asks for them.
#pragma once

#include "platform/clsWindows.h"

#include <functional>
#include <memory>

class QWidget;
class frmBackupRestore;
class frmHelp;
class frmMain;
class frmSplash;

class clsUIWindows final : public clsWindows
{
public:
    /// @param mainClosed  called when the main window has been closed and its work is done.
    explicit clsUIWindows(std::function<void()> mainClosed);
    ~clsUIWindows() override;
    clsUIWindows(const clsUIWindows&) = delete;
    clsUIWindows& operator=(const clsUIWindows&) = delete;

    void ShowSplash(const QString& version, const QString& build) override;
    void HideSplash() override;
    void LoadMain() override;
    void UnloadMain() override;
    void UnloadAll(bool keepMain) override;
    [[nodiscard]] bool AnyLoaded() const override;
    void RaiseMain() override;
    void SetPointer(Pointer pointer) override;
    void ShowError(ErrorIcon icon, const QString& message, const QString& details) override;
    bool ShowBackupRestore() override;
    QString ShowPreview(const QString& caption, const QString& text, const QString& attachment) override;
    void SetHelpFile(const QString& path) override { m_helpFile = path; }
    void ShowHelp(int topic) override;
    /// Once in a process: a restart is no new day.
    void ShowTips() override;
    /// For windows that nobody sits before: no tip is shown from now on.
    void HoldTips() { m_tipsShown = true; }

    /// The end of the session or of the process from outside: whatever waits returns, then the main window closes
    /// without a question.
    void EndSession();
    /// Deletes a main window that has been closed. Only where none of its routines can be under way.
    void Discard();
    /// The loaded main window, null when there is none.
    [[nodiscard]] frmMain* Main() const { return m_main.get(); }
    /// The window that a box asked for now belongs to; may be null.
    [[nodiscard]] QWidget* DialogOwner();

private:
    std::function<void()> m_mainClosed;
    std::unique_ptr<frmMain> m_main;
    std::unique_ptr<frmSplash> m_splash;
    std::unique_ptr<frmHelp> m_help;
    frmBackupRestore* m_backupRestore = nullptr; ///< while it is shown
    QString m_helpFile;
    bool m_tipsShown = false;
};
