// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsLinkFilter.h"

#include <QLocale>
#include <algorithm>
#include <utility>

namespace
{
/// How many rows are read at once, and how many are looked at before the clock is.
constexpr int ReadAtOnce = 128;
constexpr int BetweenLooksAtTheClock = 64;
} // namespace

QByteArray clsLinkFilter::Fold(const QString& text)
{
    // Capitals by the language first: a Turkish i has another one than an English i, and that of a sharp s are two.
    // Accents may be letters of their own, or marks on another one.
    return QLocale().toUpper(text).toCaseFolded().normalized(QString::NormalizationForm_KC).toUtf8();
}

void clsLinkFilter::SetText(const QString& text)
{
    m_running = false;
    m_found.clear();
    m_words.clear();
    m_matchers.clear();
    const QList<QByteArray> words = Fold(text.simplified()).split(' ');
    for (const QByteArray& word : words) {
        if (word.isEmpty())
            continue;
        m_words.push_back(word);
        m_matchers.emplace_back(word);
    }
    if (m_words.empty()) {
        m_texts = {}; // tens of megabytes
        m_foundWords.clear();
    }
}

void clsLinkFilter::Forget()
{
    m_texts.assign(m_texts.size(), {});
    m_foundWords.clear();
    m_outdated = true;
}

void clsLinkFilter::ForgetRow(int row)
{
    if (static_cast<std::size_t>(row) < m_texts.size())
        m_texts[static_cast<std::size_t>(row)] = {};
    m_foundWords.clear();
    m_outdated = true;
}

bool clsLinkFilter::Narrows() const
{
    return !m_foundWords.empty() &&
           std::all_of(m_foundWords.begin(), m_foundWords.end(), [this](const QByteArray& before) {
               return std::any_of(m_words.begin(), m_words.end(),
                                  [&](const QByteArray& word) { return word.contains(before); });
           });
}

void clsLinkFilter::Start(int count, const std::vector<int>* shown)
{
    if (!shown)
        m_texts.clear();
    m_texts.resize(static_cast<std::size_t>(count));
    m_withinAll = !shown || !Narrows();
    m_within.clear();
    if (!m_withinAll)
        m_within = *shown;
    m_found.clear();
    m_next = 0;
    m_running = true;
    m_outdated = false;
}

bool clsLinkFilter::Matches(int row)
{
    const auto place = static_cast<std::size_t>(row);
    if (m_texts[place].isNull()) {
        const int count = std::min(ReadAtOnce, static_cast<int>(m_texts.size()) - row);
        const std::vector<QString> texts = m_reader(row, count);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            m_texts[place + i] = i < texts.size() && !texts[i].isEmpty() ? Fold(texts[i]) : QByteArray("");
    }
    return std::all_of(m_matchers.begin(), m_matchers.end(),
                       [&](const QByteArrayMatcher& word) { return word.indexIn(m_texts[place]) >= 0; });
}

bool clsLinkFilter::Turn(QDeadlineTimer until)
{
    const int end = static_cast<int>(m_withinAll ? m_texts.size() : m_within.size());
    while (m_next < end) {
        const int row = m_withinAll ? m_next : m_within[static_cast<std::size_t>(m_next)];
        if (Matches(row))
            m_found.push_back(row);
        ++m_next;
        if (m_next % BetweenLooksAtTheClock == 0 && until.hasExpired())
            return false;
    }
    m_running = false;
    m_foundWords = m_outdated ? std::vector<QByteArray>() : m_words;
    return true;
}

std::vector<int> clsLinkFilter::TakeFound()
{
    return std::exchange(m_found, {});
}
