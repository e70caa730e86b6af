// SPDX-License-Identifier: GPL-3.0-or-later
// Is this word right, and what instead?
#pragma once

#include <QString>
#include <QStringList>

class clsSpelling
{
public:
    virtual ~clsSpelling() = default;
    /// Empty when spelling can be checked, else the reason why not (no dictionary, ...).
    [[nodiscard]] virtual QString Unavailable() const = 0;
    [[nodiscard]] virtual bool Correct(const QString& word) = 0;
    /// Best first; may take a tenth of a second.
    [[nodiscard]] virtual QStringList Suggestions(const QString& word) = 0;
    /// Adds a word to the user's own dictionary.
    virtual void Add(const QString& word) = 0;
};
