// SPDX-License-Identifier: GPL-3.0-or-later
// What a look at a mail server means, in plain words: what was found, and what to choose next.
#pragma once

#include "platform/clsMailServer.h"

#include <QString>
#include <QStringList>

namespace modMailAdvice
{
/// What was looked at.
struct Target
{
    QString host;
    int port = 25;
    clsMailSecurity security = clsMailSecurity::None;
    bool user = false;  ///< somebody was to log in
    bool token = false; ///< with a token
};
enum class Verdict
{
    Well,
    Wanting, ///< it answered, but something is missing or was refused
    NotReached
};
[[nodiscard]] Verdict VerdictOf(const clsMailServerReport& report, const Target& target);
/// What to do about it, or that all is well; sentences, a line each.
[[nodiscard]] QStringList Advice(const clsMailServerReport& report, const Target& target);
/// What was found, "Name: value" a line, and below it what was said.
[[nodiscard]] QStringList Facts(const clsMailServerReport& report, const Target& target);

/// The ports that mail servers usually listen at.
[[nodiscard]] QList<int> UsualPorts();
/// The port that goes with a security, for one that went with another; a port of the server's own stays.
[[nodiscard]] int PortFor(clsMailSecurity security, int port);
} // namespace modMailAdvice
