// SPDX-License-Identifier: GPL-3.0-or-later
// The text of messages as RFC 5322 wants it.
#pragma once

#include <QString>

namespace modMailText
{
inline constexpr qsizetype MostLine = 998; ///< characters, without the line's end

/// Every line end, alone or in a pair, as CR LF.
QString WithCrLf(const QString& text);
/// Line breaks and other control characters become blanks: a value can bring no further line along.
QString OnOneLine(const QString& text);
/// "Name: value" and CR LF, folded at blanks where it holds encoded words or is too long. Unfolding gives the value
/// back.
QString HeaderLine(const QString& name, const QString& value);
} // namespace modMailText
