// SPDX-License-Identifier: GPL-3.0-or-later
// The one plain answer of commands whose dialogs this version does not have yet.
#pragma once

#include <QString>

namespace modLater
{
/// Tells the user that `what` ("Editing sites", "Sending e-mail") comes with a later version.
void TellLater(const QString& what);
} // namespace modLater
