// SPDX-License-Identifier: GPL-3.0-or-later
// File locks kept by the kernel: they vanish with the process that holds them, so none is ever stale.
#pragma once

#include "platform/clsDisk.h"

#include <QString>
#include <memory>

namespace modKernelLock
{
/// What came of an attempt; one of the two is set, or neither when somebody else holds the lock.
struct Attempt
{
    std::unique_ptr<clsFileLock> lock;
    int error = 0; ///< errno of a file that could not be opened or locked
};

/// What becomes of the file when the lock is given back.
enum class Afterwards
{
    Keep,
    Remove
};

/// Tries once, without waiting; the file is created if absent.
Attempt Try(const QString& path, clsDisk::Share share, Afterwards afterwards);
} // namespace modKernelLock
