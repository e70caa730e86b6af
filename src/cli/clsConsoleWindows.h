// SPDX-License-Identifier: GPL-3.0-or-later
// The windows of a program that runs without one: only the error report has something to say.
#pragma once

#include "platform/clsWindows.h"

class clsConsoleWindows final : public clsWindows
{
public:
    void ShowSplash(const QString&, const QString&) override {}
    void HideSplash() override {}
    void LoadMain() override {}
    void UnloadMain() override {}
    void UnloadAll(bool) override {}
    [[nodiscard]] bool AnyLoaded() const override { return false; }
    void RaiseMain() override {}
    void SetPointer(Pointer) override {}
    /// Writes message and details to the error stream.
    void ShowError(ErrorIcon icon, const QString& message, const QString& details) override;
    bool ShowBackupRestore() override { return false; }
    void SetHelpFile(const QString&) override {}
    void ShowHelp(int) override {}
    bool ShowTips() override { return false; }
};
