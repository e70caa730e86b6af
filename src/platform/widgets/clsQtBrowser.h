// SPDX-License-Identifier: GPL-3.0-or-later
// The browser that the desktop has registered.
#pragma once

#include "platform/clsBrowser.h"

class clsQtBrowser final : public clsBrowser
{
public:
    [[nodiscard]] Outcome Open(const QString& address) override;
};
