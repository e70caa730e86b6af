// SPDX-License-Identifier: GPL-3.0-or-later
// Spelling by hunspell.
#pragma once

#include "platform/clsSpelling.h"

#include <QHash>
#include <QStringConverter>
#include <memory>
#include <optional>

class Hunspell;
class clsDisk;

/// Reads the lists when it is first asked something, and not before: that takes a tenth of a second.
class clsHunspellSpelling final : public clsSpelling
{
public:
    explicit clsHunspellSpelling(clsDisk& disk);
    ~clsHunspellSpelling() override;

    void SetLexicons(const clsLexicons& lexicons) override;
    [[nodiscard]] QString Unavailable() const override;
    [[nodiscard]] bool Correct(const QString& word) override;
    [[nodiscard]] QStringList Suggestions(const QString& word) override;
    void Add(const QString& word) override;

private:
    /// What has been read. Without a dictionary `problem` says why.
    struct Lists
    {
        std::unique_ptr<Hunspell> dictionary;
        std::optional<QStringConverter::Encoding> encoding; ///< of the dictionary's words
        QHash<QString, QString> corrections;                ///< by the wrong word in small letters
        QString problem;
    };
    Lists& Read() const;
    [[nodiscard]] QString OpenDictionary(Lists& lists) const;
    void ReadUserLists(Lists& lists) const;
    /// A word in the dictionary's encoding. @return empty when it has letters that no word there has.
    static std::string Encoded(const Lists& lists, const QString& word);

    clsDisk& m_disk;
    clsLexicons m_lexicons;
    mutable std::optional<Lists> m_lists;
};
