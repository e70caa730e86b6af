// SPDX-License-Identifier: GPL-3.0-or-later
// The standard streams in UTF-8 with plain line feeds.
#pragma once

#include <QByteArray>
#include <QString>

namespace modConsole
{
/// Writes bytes to the standard output, through its buffer.
void Write(const QByteArray& bytes);
/// Writes a line to the standard output and flushes it, so that whoever reads along has it at once.
void WriteLine(const QString& text);
/// Writes a text that may not be the whole of its line, and flushes it.
void WritePart(const QString& text);
/// Writes a line to the error stream.
void ErrorLine(const QString& text);
/// Flushes the standard output. @return false when anything written to it got lost; the reason is told once, unless
/// the reader has merely gone away.
[[nodiscard]] bool Finish();
/// True when a question on the error stream can be answered on the standard input.
[[nodiscard]] bool CanAsk();
/// Puts `prompt` on the error stream and reads a line. @return a Null text at the input's end or after a signal.
[[nodiscard]] QString Ask(const QString& prompt);
/// The same without the terminal's echo; blanks around it count, and the last line needs no end.
[[nodiscard]] QString AskSecret(const QString& prompt);
} // namespace modConsole
