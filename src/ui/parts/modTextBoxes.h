// SPDX-License-Identifier: GPL-3.0-or-later
// Boxes for the texts of fields: what they may hold, and how they show lines.
#pragma once

#include <QString>

class QLineEdit;
class QPlainTextEdit;

namespace modTextBoxes
{
/// Keeps a text from growing beyond what its field holds, counted as the field counts, and says so at the box.
/// @param size  in characters, 0: unlimited.
void LimitSize(QLineEdit& line, int size);

/// A longer line is a burden with every key that is pressed in it, in UTF-16 code units.
constexpr int LongLine = 10'000;
/// Keeps a box with such a line usable: lines are then broken anywhere, because to look for a place between two words
/// takes a time that grows with the square of a line's length.
void BreakLongLines(QPlainTextEdit& box);

/// Makes room for at least so many lines.
void SetLines(QPlainTextEdit& box, int lines);
/// Fields keep lines that end in CR LF. A box that shows the text already is left as it is.
void SetText(QPlainTextEdit& box, const QString& stored);
QString StoredText(const QPlainTextEdit& box);
/// The text of a box with line feeds, letter for letter where the box has them.
QString Lines(const QPlainTextEdit& box);
} // namespace modTextBoxes
