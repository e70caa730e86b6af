// SPDX-License-Identifier: GPL-3.0-or-later
// The links in the bytes of a file, whichever of the usual forms it has.
#pragma once

#include "platform/clsLinkFiles.h"

#include <QByteArray>

class clsLinkFileParser
{
public:
    /// May run on any thread. Time and memory are bounded by clsLinkFiles' limits.
    static clsLinkFiles::Content Parse(const QByteArray& bytes);
};
