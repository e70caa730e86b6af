// SPDX-License-Identifier: GPL-3.0-or-later
// Short sounds.
#pragma once

#include <QString>

class clsSound
{
public:
    virtual ~clsSound() = default;
    /// Starts playing a WAVE file and returns at once; a machine without sound stays silent.
    virtual void Play(const QString& path) = 0;
};
