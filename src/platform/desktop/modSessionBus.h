// SPDX-License-Identifier: GPL-3.0-or-later
// The message bus of the user's session: where it is, and whether it is alive.
#pragma once

#include <QString>

namespace modSessionBus
{
/// Empty where there is none. Timed jobs are not told of it, but it has its usual place. Nothing is asked of the
/// library here: it would start a bus of its own for the asking.
QString Address();
/// False when somebody listens there and does not answer: the library would wait for him without an end. Asks for two
/// seconds at most. Of an address without a socket in the file system nothing is known, and it counts as alive.
bool Answers(const QString& address);
} // namespace modSessionBus
