// SPDX-License-Identifier: GPL-3.0-or-later
// The pointer that asks the user to wait.
#pragma once

#include "platform/clsWindows.h"
#include "shell/modBrambury.h"

/// The hourglass for as long as it lives.
class clsHourglass
{
public:
    clsHourglass() { modBrambury::Platform().Windows->SetPointer(clsWindows::Pointer::Hourglass); }
    ~clsHourglass() { modBrambury::Platform().Windows->SetPointer(clsWindows::Pointer::Default); }
    clsHourglass(const clsHourglass&) = delete;
    clsHourglass& operator=(const clsHourglass&) = delete;
};
