// SPDX-License-Identifier: GPL-3.0-or-later
// Is this word right, and what instead?
#pragma once

#include <QString>
#include <QStringList>

/// The word lists by their full paths, of which any may be missing.
struct clsLexicons
{
    QString affixes;     ///< of the language: a hunspell affix file
    QString dictionary;  ///< of the language: a hunspell dictionary
    QString userWords;   ///< the user's own: UTF-8, one word a line
    QString corrections; ///< the user's own: UTF-8, one pair a line, the wrong word, a tab, the right one
};

class clsSpelling
{
public:
    virtual ~clsSpelling() = default;
    /// Works with these lists from now on.
    virtual void SetLexicons(const clsLexicons& lexicons) = 0;
    /// Empty when spelling can be checked, else the reason why not (no dictionary, ...).
    [[nodiscard]] virtual QString Unavailable() const = 0;
    [[nodiscard]] virtual bool Correct(const QString& word) = 0;
    /// Best first; may take a tenth of a second.
    [[nodiscard]] virtual QStringList Suggestions(const QString& word) = 0;
    /// Adds a word to the user's own dictionary.
    virtual void Add(const QString& word) = 0;
};
