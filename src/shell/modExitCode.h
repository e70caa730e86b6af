// SPDX-License-Identifier: GPL-3.0-or-later
// What the process tells whoever started it, window and commands alike; scripts rely on these numbers.
#pragma once

/// The same for every command. Where several apply: Stopped, then Failed, then Findings.
enum class ExitCode : int
{
    Done = 0,     ///< all well; an empty queue too
    Findings = 1, ///< a link failed, a message was not sent or is in doubt, damage was found, nothing to write
    Refused = 2,  ///< wrong usage or refused input; nothing was changed
    Failed = 3,   ///< could not run, or ended by an error
    InUse = 4,    ///< another run, or an open window, is in the way
    Stopped = 5,  ///< stopped or cancelled by the user
};
