// SPDX-License-Identifier: GPL-3.0-or-later
// Finds the rows whose texts hold every word that the user has typed; knows nothing of links and windows.
#pragma once

#include <QByteArray>
#include <QByteArrayMatcher>
#include <QDeadlineTimer>
#include <QString>
#include <functional>
#include <vector>

/// Works in passes over the rows, each cut into turns, so that a window stays alive while a hundred thousand rows are
/// searched. Texts are read once and kept until they are forgotten.
class clsLinkFilter
{
public:
    /// The texts of `count` rows from a place on, one each; fewer: they could not be read.
    using Reader = std::function<std::vector<QString>(int first, int count)>;

    /// Letters that differ in case only become the same, by the rules of the user's language.
    static QByteArray Fold(const QString& text);

    explicit clsLinkFilter(Reader reader) : m_reader(std::move(reader)) {}

    /// Words separated by blanks; each must stand somewhere in a row's text. A running pass is abandoned.
    void SetText(const QString& text);
    /// Whether there is a word to look for.
    [[nodiscard]] bool Active() const { return !m_words.empty(); }

    /// Texts have changed. A running pass goes on with what is new.
    void Forget();
    void ForgetRow(int row);

    /// Begins a pass over `count` rows. @param shown  the rows that the last pass found, null when these are other
    /// rows: words that only narrow it look no further.
    void Start(int count, const std::vector<int>* shown);
    /// Goes on with the pass until it is over or time is up. @return whether it is over.
    bool Turn(QDeadlineTimer until);
    [[nodiscard]] bool Running() const { return m_running; }
    void Stop() { m_running = false; }
    /// What the pass has found, in ascending order.
    [[nodiscard]] std::vector<int> TakeFound();

private:
    [[nodiscard]] bool Narrows() const;
    [[nodiscard]] bool Matches(int row);

    Reader m_reader;
    std::vector<QByteArray> m_words;
    std::vector<QByteArrayMatcher> m_matchers;
    std::vector<QByteArray> m_foundWords; ///< of the last pass that came to its end; empty: all rows
    std::vector<QByteArray> m_texts;      ///< folded; null: not read
    std::vector<int> m_within;            ///< the rows of the pass, where it does not go over all
    bool m_withinAll = true;
    int m_next = 0;
    bool m_running = false;
    bool m_outdated = false; ///< texts have changed since the pass began
    std::vector<int> m_found;
};
