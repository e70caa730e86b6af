// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/clsHunspellSpelling.h"

#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"

#include <QFile>
#include <QStringList>
#include <hunspell/hunspell.hxx>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Longer words are no words, and the library takes long over them.
constexpr qsizetype LongestWord = 100;
constexpr qsizetype MostSuggestions = 10;

/// The lines of one of the user's own lists. The language's words without them are better than none, so one that
/// cannot be read is empty.
QStringList Lines(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split(u'\n') : QStringList();
}

/// The first line of a dictionary says how many words follow. The library takes any file for a dictionary.
bool LooksLikeDictionary(QFile& file)
{
    const QByteArray first = file.readLine(64).trimmed();
    return first.mid(first.startsWith("\xef\xbb\xbf") ? 3 : 0).toLongLong() > 0;
}

/// Typographic apostrophes are apostrophes.
QString Plain(const QString& word)
{
    return QString(word).replace(u'\u2019', u'\'');
}
} // namespace

clsHunspellSpelling::clsHunspellSpelling(clsDisk& disk) : m_disk(disk) {}

clsHunspellSpelling::~clsHunspellSpelling() = default;

void clsHunspellSpelling::SetLexicons(const clsLexicons& lexicons)
{
    m_lexicons = lexicons;
    m_lists.reset();
}

QString clsHunspellSpelling::OpenDictionary(Lists& lists) const
{
    QFile affixes(m_lexicons.affixes);
    QFile dictionary(m_lexicons.dictionary);
    for (QFile* file : {&affixes, &dictionary}) {
        if (!file->open(QIODevice::ReadOnly))
            return u"Spelling cannot be checked: the word list %1 cannot be read.  %2"_s.arg(file->fileName(),
                                                                                             file->errorString());
    }
    if (!LooksLikeDictionary(dictionary))
        return u"Spelling cannot be checked: %1 is no word list."_s.arg(dictionary.fileName());
    lists.dictionary = std::make_unique<Hunspell>(QFile::encodeName(m_lexicons.affixes).constData(),
                                                  QFile::encodeName(m_lexicons.dictionary).constData());
    const std::string name = lists.dictionary->get_dict_encoding(); // a copy: the dictionary may have to go
    lists.encoding = QStringConverter::encodingForName(name.c_str());
    // The library's own name for it has no second hyphen.
    if (!lists.encoding && qstricmp(name.c_str(), "ISO8859-1") == 0)
        lists.encoding = QStringConverter::Latin1;
    if (!lists.encoding) {
        lists.dictionary.reset();
        return u"Spelling cannot be checked: the word list is written in %1, not in UTF-8."_s.arg(
            QString::fromStdString(name));
    }
    return {};
}

void clsHunspellSpelling::ReadUserLists(Lists& lists) const
{
    for (const QString& line : Lines(m_lexicons.userWords)) {
        if (const std::string word = Encoded(lists, Plain(line.trimmed())); !word.empty())
            lists.dictionary->add(word);
    }
    for (const QString& line : Lines(m_lexicons.corrections)) {
        const QString wrong = line.section(u'\t', 0, 0).trimmed();
        const QString right = line.section(u'\t', 1).trimmed();
        if (!wrong.isEmpty() && !right.isEmpty())
            lists.corrections.insert(wrong.toLower(), right);
    }
}

clsHunspellSpelling::Lists& clsHunspellSpelling::Read() const
{
    if (m_lists)
        return *m_lists;
    Lists lists;
    lists.problem = OpenDictionary(lists);
    if (lists.problem.isEmpty())
        ReadUserLists(lists);
    return m_lists.emplace(std::move(lists));
}

QString clsHunspellSpelling::Unavailable() const
{
    return Read().problem;
}

std::string clsHunspellSpelling::Encoded(const Lists& lists, const QString& word)
{
    if (word.isEmpty() || word.size() > LongestWord)
        return {};
    QStringEncoder encoder(*lists.encoding, QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder(word);
    return encoder.hasError() ? std::string() : bytes.toStdString();
}

bool clsHunspellSpelling::Correct(const QString& word)
{
    Lists& lists = Read();
    if (!lists.dictionary || word.isEmpty())
        return true;
    const std::string encoded = Encoded(lists, Plain(word));
    return !encoded.empty() && lists.dictionary->spell(encoded);
}

QStringList clsHunspellSpelling::Suggestions(const QString& word)
{
    Lists& lists = Read();
    QStringList suggestions;
    if (const auto correction = lists.corrections.constFind(word.toLower()); correction != lists.corrections.cend())
        suggestions << *correction;
    const std::string encoded = lists.dictionary ? Encoded(lists, Plain(word)) : std::string();
    if (encoded.empty())
        return suggestions;
    QStringDecoder decoder(*lists.encoding, QStringConverter::Flag::Stateless);
    for (const std::string& found : lists.dictionary->suggest(encoded)) {
        const QString suggestion = decoder(QByteArrayView(found.data(), std::ssize(found)));
        if (suggestions.size() < MostSuggestions && !suggestions.contains(suggestion))
            suggestions << suggestion;
    }
    return suggestions;
}

void clsHunspellSpelling::Add(const QString& word)
{
    const QString plain = Plain(word.trimmed());
    if (plain.isEmpty())
        return;
    // Somebody may have edited the list without ending its last line.
    const QStringList before = Lines(m_lexicons.userWords);
    const QByteArray lineEnd = before.isEmpty() || before.last().isEmpty() ? "" : "\n";
    m_disk.AppendFile(m_lexicons.userWords, lineEnd + plain.toUtf8() + '\n');
    Lists& lists = Read();
    if (const std::string encoded = lists.dictionary ? Encoded(lists, plain) : std::string(); !encoded.empty())
        lists.dictionary->add(encoded);
}

std::unique_ptr<clsSpelling> modPlatformImpl::MakeSpelling(clsDisk& disk)
{
    return std::make_unique<clsHunspellSpelling>(disk);
}
