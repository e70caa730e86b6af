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
    /// Caption and text go to the standard output, the attachment to the error stream; the reply is a word on the
    /// standard input, asked for on a terminal: ok, skip or cancel. The end of the input, and any other word where
    /// nobody can be asked, is cancel.
    QString ShowPreview(const QString& caption, const QString& text, const QString& attachment) override;
    void SetHelpFile(const QString&) override {}
    void ShowHelp(int) override {}
    void ShowTips() override {}
};
