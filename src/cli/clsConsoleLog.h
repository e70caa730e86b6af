// SPDX-License-Identifier: GPL-3.0-or-later
// The results log on the standard output.
#pragma once

#include "log/clsStatusLog.h"

/// Each line is written and flushed when it is logged, its end included, so that a reader who takes whole lines sees
/// it at once. What is logged later to continue a line therefore stands on a line of its own. Clearing takes nothing
/// back.
class clsConsoleLog final : public clsLogWindow
{
protected:
    void ShowAppended(const QString& text, qsizetype caret) override;
    void ShowCleared() override {}
};
