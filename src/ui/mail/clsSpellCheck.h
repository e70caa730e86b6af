// SPDX-License-Identifier: GPL-3.0-or-later
// Spelling while a template is written: what is wrong in a text, shown where it stands, and what to do about it.
#pragma once

#include "mail/modSpellWords.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <functional>

class QLineEdit;
class QMenu;
class QPlainTextEdit;
class clsDatabase;

/// A text box of any kind, as a text whose letters have places.
class clsSpelledBox
{
public:
    virtual ~clsSpelledBox() = default;
    [[nodiscard]] virtual QString Text() const = 0;
    virtual void Select(qsizetype start, qsizetype length) = 0;
    /// Can be undone in the box. Where the box holds no more letters, nothing changes.
    virtual void Replace(qsizetype start, qsizetype length, const QString& text) = 0;
};

/// One for each window. Asks the dictionary for a word once.
class clsSpellCheck final : public QObject
{
    Q_OBJECT

public:
    /// @param database  its field tags are not words.
    explicit clsSpellCheck(clsDatabase& database, QObject* parent = nullptr);
    ~clsSpellCheck() override;

    /// Underlines what is wrong in a box from now on, and offers in its menu what would be right.
    void Watch(QLineEdit& line);
    void Watch(QPlainTextEdit& box);
    /// The boxes that are watched, in this order.
    [[nodiscard]] const std::vector<std::unique_ptr<clsSpelledBox>>& Boxes() const { return m_boxes; }

    /// Why spelling cannot be checked; empty when it can.
    [[nodiscard]] static QString Unavailable();
    /// The words that are wrong, in their order.
    [[nodiscard]] std::vector<modSpellWords::Word> Wrong(const QString& text);
    [[nodiscard]] static QStringList Suggestions(const QString& word);
    /// The word is right until the window is closed.
    void IgnoreAll(const QString& word);
    /// The word is right from now on.
    void Add(const QString& word);

Q_SIGNALS:
    /// Words that were wrong are not any more.
    void WordsChanged();

private:
    void ShowMenu(QMenu& menu, clsSpelledBox& box, qsizetype place);

    QStringList m_tags;
    QSet<QString> m_ignored;
    QHash<QString, bool> m_known; ///< whether a word is right
    std::vector<std::unique_ptr<clsSpelledBox>> m_boxes;
};
