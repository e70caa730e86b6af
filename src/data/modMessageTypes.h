// SPDX-License-Identifier: GPL-3.0-or-later
// The eight message types as the user sets them: their titles, and which of them are offers of an exchange.
#pragma once

#include "shell/modBrambury.h"

#include <vector>

class clsDatabase;

namespace modMessageTypes
{
/// Whether these types can be kept: one of them at least is an offer. The user is told when not.
bool Check(const std::vector<modBrambury::MessageType>& types);
/// Writes titles and offers, as far as they differ from what is stored: all or none. The first of `types` is for the
/// first stored type, and so on; their IDs are not looked at. @throws clsError
void Write(clsDatabase& database, const std::vector<modBrambury::MessageType>& types);
} // namespace modMessageTypes
