// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modSpellWords.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// What covers words that are none: an HTML tag; something with "://" or "@" in it, or with a point between letters.
const QRegularExpression& Unspelt()
{
    static const QRegularExpression pattern(
        uR"(</?[a-z!][^<>\n]*>|[^\s<>"()\[\]]*(?:://|@)[^\s<>"]*|(?<![^\W_])www\.[^\s<>"]*|[^\W_]+(?:[-_][^\W_]+)*(?:\.[^\W_]{2,})+(?:/[^\s<>"]*)?)"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

/// Letters and digits that hang together.
const QRegularExpression& Run()
{
    static const QRegularExpression pattern(uR"(\w+(?:['\x{2019}]\w+)*)"_s,
                                            QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

/// A text of the same length, with blanks in the place of what is no word.
QString Masked(const QString& text, const QStringList& tags)
{
    QString masked = text;
    const auto blank = [&](qsizetype start, qsizetype length) {
        for (qsizetype i = start; i < start + length; ++i)
            masked[i] = u' ';
    };
    for (const QString& tag : tags) {
        if (tag.isEmpty())
            continue;
        for (qsizetype at = text.indexOf(tag, 0, Qt::CaseInsensitive); at >= 0;
             at = text.indexOf(tag, at + tag.size(), Qt::CaseInsensitive))
            blank(at, tag.size());
    }
    for (auto matches = Unspelt().globalMatch(QString(masked)); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        blank(match.capturedStart(), match.capturedLength());
    }
    return masked;
}
} // namespace

std::vector<modSpellWords::Word> modSpellWords::Words(const QString& text, const QStringList& tags)
{
    std::vector<Word> words;
    const QString masked = Masked(text, tags);
    for (auto matches = Run().globalMatch(masked); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const QStringView run = match.capturedView();
        if (std::none_of(run.begin(), run.end(), [](QChar c) { return c.isDigit() || c == u'_'; }))
            words.push_back({match.capturedStart(), match.capturedLength()});
    }
    return words;
}
