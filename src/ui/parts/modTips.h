// SPDX-License-Identifier: GPL-3.0-or-later
// Texts of records where a window has little room for them: as tool tips, and on one line.
#pragma once

#include <QString>

namespace modTips
{
/// A partner's text as a tip shows it: as it is, even where it looks like markup, wrapped, and cut when it is very
/// long. No tip for an empty text.
QString Plain(const QString& text);

/// A text as a row shows it: line ends, tabs and other control characters are blanks.
QString OneLine(QString text);

/// A title bar's text: "Site Properties  [Garden]".
QString Title(const QString& window, const QString& record);
} // namespace modTips
