// SPDX-License-Identifier: GPL-3.0-or-later
// The words that a site's field MailSecurity has for how its mail server is reached.
#pragma once

#include "platform/clsMailServer.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace modMailSecurity
{
/// What a word says; Null and the empty text are none. @return empty for a word of another kind.
[[nodiscard]] std::optional<clsMailSecurity> Of(const QString& word);
[[nodiscard]] QString WordOf(clsMailSecurity security);
/// All of them, the least secure first.
[[nodiscard]] QStringList Words();
} // namespace modMailSecurity
