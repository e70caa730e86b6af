// SPDX-License-Identifier: GPL-3.0-or-later
// Tool tips that show texts of records.
#pragma once

#include <QString>

namespace modTips
{
/// A partner's text as a tip shows it: as it is, even where it looks like markup.
inline QString Plain(const QString& text)
{
    return text.contains(u'<') || text.contains(u'&') ? QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped())
                                                      : text;
}
} // namespace modTips
