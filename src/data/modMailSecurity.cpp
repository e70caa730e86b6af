// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modMailSecurity.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr std::pair<clsMailSecurity, QLatin1StringView> Known[] = {
    {clsMailSecurity::None, "none"_L1}, {clsMailSecurity::StartTLS, "starttls"_L1}, {clsMailSecurity::TLS, "tls"_L1}};
} // namespace

std::optional<clsMailSecurity> modMailSecurity::Of(const QString& word)
{
    if (word.isEmpty())
        return clsMailSecurity::None;
    for (const auto& [security, name] : Known) {
        if (word == name)
            return security;
    }
    return std::nullopt;
}

QString modMailSecurity::WordOf(clsMailSecurity security)
{
    for (const auto& [known, name] : Known) {
        if (known == security)
            return name;
    }
    return {};
}

QStringList modMailSecurity::Words()
{
    QStringList words;
    for (const auto& [security, name] : Known)
        words << name;
    return words;
}
