// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmSpelling.h"

#include "platform/modHelpTopics.h"
#include "shell/modErrorHandler.h"
#include "ui/mail/clsSpellCheck.h"
#include "ui/parts/clsExplanation.h"
#include "ui/parts/modDialogParts.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "frmSpelling";
/// Letters that are shown on either side of the word.
constexpr qsizetype Context = 50;
constexpr QSize FirstSize(500, 340);

/// On one line, and not taken for markup.
QString Shown(QStringView text)
{
    return text.toString().replace(u'\n', u' ').toHtmlEscaped();
}
} // namespace

frmSpelling::frmSpelling(clsSpellCheck& check, QWidget* parent)
    : QDialog(parent), m_check(check), m_lblContext(new clsExplanation({})), m_txtChangeTo(new QLineEdit),
      m_lstSuggestions(new QListWidget)
{
    setObjectName(u"frmSpelling"_s);
    setWindowTitle(u"Check Spelling"_s);
    m_lblContext->setObjectName(u"lblContext"_s);
    m_lblContext->setTextFormat(Qt::RichText);
    m_lblContext->setFrameShape(QFrame::StyledPanel);
    m_lblContext->setMargin(6);
    m_txtChangeTo->setObjectName(u"txtChangeTo"_s);
    m_lstSuggestions->setObjectName(u"lstSuggestions"_s);

    auto* texts = new QVBoxLayout;
    texts->addWidget(new QLabel(u"Not in the dictionary:"_s));
    texts->addWidget(m_lblContext);
    texts->addWidget(modDialogParts::LabelFor(m_txtChangeTo, u"Change &to:"_s));
    texts->addWidget(m_txtChangeTo);
    texts->addWidget(modDialogParts::LabelFor(m_lstSuggestions, u"&Suggestions:"_s));
    texts->addWidget(m_lstSuggestions, 1);

    auto* buttons = new QVBoxLayout;
    const QStringList captions{u"&Ignore"_s, u"I&gnore All"_s, u"&Add to Dictionary"_s,
                               u"&Change"_s, u"Change A&ll"_s, u"Cl&ose"_s};
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(u"SpellButton_%1"_s.arg(i));
        button->setAutoDefault(false);
        button->setDefault(i == Change);
        connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
        if (i == Change)
            buttons->addSpacing(8);
        if (i == Close)
            buttons->addStretch();
        buttons->addWidget(button);
    }
    connect(m_lstSuggestions, &QListWidget::currentTextChanged, this, [this](const QString& text) {
        if (!text.isEmpty())
            m_txtChangeTo->setText(text);
    });
    connect(m_lstSuggestions, &QListWidget::itemDoubleClicked, this, [this] { ButtonPressed(Change); });
    modDialogParts::GiveHelp(*this, modHelpTopics::MailEditor);

    auto* all = new QHBoxLayout(this);
    all->addLayout(texts, 1);
    all->addLayout(buttons);
    resize(FirstSize);
}

bool frmSpelling::Next()
{
    for (; m_box < m_check.Boxes().size(); ++m_box, m_from = 0) {
        clsSpelledBox& box = *m_check.Boxes()[m_box];
        for (;;) {
            const QString text = box.Text();
            const auto wrong = m_check.Wrong(text);
            const auto next = std::find_if(wrong.begin(), wrong.end(),
                                           [this](const modSpellWords::Word& word) { return word.start >= m_from; });
            if (next == wrong.end())
                break;
            m_place = *next;
            m_word = text.sliced(m_place.start, m_place.length);
            const auto known = m_changeAll.constFind(m_word);
            if (known == m_changeAll.cend()) {
                box.Select(m_place.start, m_place.length);
                ShowWord(text);
                return true;
            }
            ChangeTo(*known);
        }
    }
    return false;
}

void frmSpelling::ShowWord(const QString& text)
{
    const qsizetype end = m_place.start + m_place.length;
    const qsizetype first = std::max<qsizetype>(0, m_place.start - Context);
    const QStringView all(text);
    m_lblContext->Tell((first > 0 ? u"\u2026"_s : QString()) + Shown(all.sliced(first, m_place.start - first)) +
                       u"<b>"_s + Shown(all.sliced(m_place.start, m_place.length)) + u"</b>"_s +
                       Shown(all.sliced(end, std::min(Context, all.size() - end))) +
                       (end + Context < all.size() ? u"\u2026"_s : QString()));
    m_lstSuggestions->clear();
    m_txtChangeTo->setText(m_word);
    m_lstSuggestions->addItems(clsSpellCheck::Suggestions(m_word));
    m_lstSuggestions->setCurrentRow(0);
    m_txtChangeTo->setFocus();
    m_txtChangeTo->selectAll();
}

void frmSpelling::ChangeTo(const QString& replacement)
{
    clsSpelledBox& box = *m_check.Boxes()[m_box];
    const qsizetype before = box.Text().size();
    box.Replace(m_place.start, m_place.length, replacement);
    // What the user has put there himself is not asked about again.
    m_from = m_place.start + m_place.length + box.Text().size() - before;
}

void frmSpelling::ButtonPressed(int index)
{
    guarded(Module, "SpellButton_Click", [&] {
        switch (index) {
        case Ignore:
            m_from = m_place.start + m_place.length;
            break;
        case IgnoreAll:
            m_check.IgnoreAll(m_word);
            break;
        case AddToDictionary:
            m_check.Add(m_word);
            break;
        case ChangeAll:
            m_changeAll.insert(m_word, m_txtChangeTo->text());
            [[fallthrough]];
        case Change:
            ChangeTo(m_txtChangeTo->text());
            break;
        default:
            return reject();
        }
        if (!Next())
            accept();
    });
}
