// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/clsSpellCheck.h"

#include "platform/clsDatabase.h"
#include "platform/clsSpelling.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modTextBoxes.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsSpellCheck";
constexpr int MostOffered = 6;

QTextCharFormat Underline()
{
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
    format.setUnderlineColor(QColor(0xe0, 0x3c, 0x31)); // seen on light and on dark
    return format;
}

class clsHighlighter final : public QSyntaxHighlighter
{
public:
    clsHighlighter(QTextDocument* document, clsSpellCheck& check) : QSyntaxHighlighter(document), m_check(check) {}

protected:
    void highlightBlock(const QString& text) override
    {
        if (text.size() >= modTextBoxes::LongLine)
            return; // each key that is pressed looks through all of it
        for (const modSpellWords::Word& word : m_check.Wrong(text))
            setFormat(static_cast<int>(word.start), static_cast<int>(word.length), Underline());
    }

private:
    clsSpellCheck& m_check;
};

class clsSpelledLine final : public clsSpelledBox
{
public:
    explicit clsSpelledLine(QLineEdit& line) : m_line(line) {}
    [[nodiscard]] QString Text() const override { return m_line.text(); }
    void Select(qsizetype start, qsizetype length) override
    {
        m_line.setSelection(static_cast<int>(start), static_cast<int>(length));
    }
    void Replace(qsizetype start, qsizetype length, const QString& text) override
    {
        Select(start, length);
        m_line.insert(text);
    }

private:
    QLineEdit& m_line;
};

class clsSpelledLines final : public clsSpelledBox
{
public:
    explicit clsSpelledLines(QPlainTextEdit& box) : m_box(box) {}
    [[nodiscard]] QString Text() const override { return modTextBoxes::Lines(m_box); }
    void Select(qsizetype start, qsizetype length) override { m_box.setTextCursor(At(start, length)); }
    void Replace(qsizetype start, qsizetype length, const QString& text) override
    {
        QTextCursor cursor = At(start, length);
        cursor.insertText(text);
        m_box.setTextCursor(cursor);
    }

private:
    [[nodiscard]] QTextCursor At(qsizetype start, qsizetype length) const
    {
        QTextCursor cursor = m_box.textCursor();
        cursor.setPosition(static_cast<int>(start));
        cursor.setPosition(static_cast<int>(start + length), QTextCursor::KeepAnchor);
        return cursor;
    }
    QPlainTextEdit& m_box;
};

/// A line has no formats of its own; those of an input method are drawn all the same.
void UnderlineWrong(QLineEdit& line, clsSpellCheck& check)
{
    QList<QInputMethodEvent::Attribute> formats;
    for (const modSpellWords::Word& word : check.Wrong(line.text()))
        formats.append({QInputMethodEvent::TextFormat, static_cast<int>(word.start) - line.cursorPosition(),
                        static_cast<int>(word.length), Underline()});
    QInputMethodEvent event(QString(), formats);
    QCoreApplication::sendEvent(&line, &event);
}
} // namespace

clsSpellCheck::clsSpellCheck(clsDatabase& database, QObject* parent) : QObject(parent)
{
    guarded(Module, "LoadTags", [&] {
        const auto tags = database.OpenRecordset(u"tblTagList"_s);
        for (const auto& row : tags->Rows(0, tags->RecordCount(), {u"FieldTag"_s})) {
            if (!row.empty())
                m_tags << row[0].toString();
        }
    });
}

clsSpellCheck::~clsSpellCheck() = default;

void clsSpellCheck::Watch(QLineEdit& line)
{
    clsSpelledBox& box = *m_boxes.emplace_back(std::make_unique<clsSpelledLine>(line));
    const auto underline = [this, &line] { UnderlineWrong(line, *this); };
    connect(&line, &QLineEdit::textChanged, this, underline);
    connect(this, &clsSpellCheck::WordsChanged, &line, underline);
    line.setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&line, &QWidget::customContextMenuRequested, this, [this, &line, &box](QPoint place) {
        const std::unique_ptr<QMenu> menu(line.createStandardContextMenu());
        ShowMenu(*menu, box, line.cursorPositionAt(place));
        menu->exec(line.mapToGlobal(place));
    });
}

void clsSpellCheck::Watch(QPlainTextEdit& lines)
{
    clsSpelledBox& box = *m_boxes.emplace_back(std::make_unique<clsSpelledLines>(lines));
    auto* highlighter = new clsHighlighter(lines.document(), *this);
    connect(this, &clsSpellCheck::WordsChanged, highlighter, &QSyntaxHighlighter::rehighlight);
    lines.setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&lines, &QWidget::customContextMenuRequested, this, [this, &lines, &box](QPoint place) {
        const std::unique_ptr<QMenu> menu(lines.createStandardContextMenu(place));
        ShowMenu(*menu, box, lines.cursorForPosition(place).position());
        menu->exec(lines.viewport()->mapToGlobal(place));
    });
}

void clsSpellCheck::ShowMenu(QMenu& menu, clsSpelledBox& box, qsizetype place)
{
    const QString text = box.Text();
    const auto wrong = Wrong(text);
    const auto word = std::find_if(wrong.begin(), wrong.end(), [&](const modSpellWords::Word& candidate) {
        return place >= candidate.start && place <= candidate.start + candidate.length;
    });
    if (word == wrong.end())
        return;
    const QString meant = text.sliced(word->start, word->length);
    const QList<QAction*> usual = menu.actions();
    QAction* before = usual.isEmpty() ? nullptr : usual.first();
    const auto add = [&](const QString& caption, const std::function<void()>& act) {
        auto* action = new QAction(caption, &menu);
        connect(action, &QAction::triggered, &menu, [act] { guarded(Module, "Menu_Click", act); });
        menu.insertAction(before, action);
        return action;
    };
    const QStringList suggestions = Suggestions(meant).mid(0, MostOffered);
    for (const QString& suggestion : suggestions) {
        QAction* action = add(QString(suggestion).replace(u'&', "&&"_L1), [&box, found = *word, suggestion] {
            box.Replace(found.start, found.length, suggestion);
        });
        QFont bold = action->font();
        bold.setBold(true);
        action->setFont(bold);
    }
    if (suggestions.isEmpty())
        add(u"(no suggestions)"_s, [] {})->setEnabled(false);
    menu.insertSeparator(before);
    add(u"A&dd to Dictionary"_s, [this, meant] { Add(meant); });
    add(u"I&gnore All"_s, [this, meant] { IgnoreAll(meant); });
    menu.insertSeparator(before);
}

QString clsSpellCheck::Unavailable()
{
    const clsSpelling* spelling = modBrambury::Platform().Spelling;
    return spelling ? spelling->Unavailable() : u"Spelling cannot be checked."_s;
}

std::vector<modSpellWords::Word> clsSpellCheck::Wrong(const QString& text)
{
    std::vector<modSpellWords::Word> words = modSpellWords::Words(text, m_tags);
    if (words.empty() || !Unavailable().isEmpty())
        return {};
    clsSpelling& spelling = *modBrambury::Platform().Spelling;
    std::erase_if(words, [&](const modSpellWords::Word& place) {
        const QString word = text.sliced(place.start, place.length);
        if (m_ignored.contains(word))
            return true;
        auto known = m_known.find(word);
        if (known == m_known.end())
            known = m_known.insert(word, spelling.Correct(word));
        return *known;
    });
    return words;
}

QStringList clsSpellCheck::Suggestions(const QString& word)
{
    return modBrambury::Platform().Spelling->Suggestions(word);
}

void clsSpellCheck::IgnoreAll(const QString& word)
{
    m_ignored.insert(word);
    Q_EMIT WordsChanged();
}

void clsSpellCheck::Add(const QString& word)
{
    modBrambury::Platform().Spelling->Add(word);
    m_known.clear(); // its other forms may be right now too
    Q_EMIT WordsChanged();
}
