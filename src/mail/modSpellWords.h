// SPDX-License-Identifier: GPL-3.0-or-later
// Which parts of a template's text are words that can be misspelt.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace modSpellWords
{
struct Word
{
    qsizetype start;
    qsizetype length;
};
/// The words of a text in their order, without field tags, addresses, markup, and whatever has a digit or an underscore
/// in it. An apostrophe between letters belongs to the word. @param tags  the field tags, letter case ignored.
std::vector<Word> Words(const QString& text, const QStringList& tags);
} // namespace modSpellWords
