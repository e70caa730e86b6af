// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modTextBoxes.h"

#include "shell/modCommonFunctions.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextDocument>
#include <QToolTip>
#include <QValidator>

using namespace Qt::Literals::StringLiterals;

namespace
{
class clsSizeLimit final : public QValidator
{
public:
    clsSizeLimit(int size, QObject* parent) : QValidator(parent), m_size(size) {}
    State validate(QString& input, int&) const override
    {
        return input.toUcs4().size() > m_size ? Invalid : Acceptable;
    }

private:
    const int m_size;
};
} // namespace

void modTextBoxes::LimitSize(QLineEdit& line, int size)
{
    if (size <= 0)
        return;
    line.setValidator(new clsSizeLimit(size, &line));
    QObject::connect(&line, &QLineEdit::inputRejected, &line, [&line, size] {
        QToolTip::showText(line.mapToGlobal(QPoint(0, line.height())),
                           u"At most %1 characters can be kept here."_s.arg(size), &line);
    });
}

void modTextBoxes::BreakLongLines(QPlainTextEdit& box)
{
    const QTextOption::WrapMode usual = box.wordWrapMode();
    // Said before the lines are laid out.
    QObject::connect(box.document(), &QTextDocument::contentsChange, &box, [&box, usual](int position, int, int added) {
        const QTextDocument& document = *box.document();
        const bool before = box.wordWrapMode() != usual;
        bool any = false;
        // Where there was none, only what has changed can be one.
        for (QTextBlock block = before ? document.begin() : document.findBlock(position);
             block.isValid() && (before || block.position() <= position + added) && !any; block = block.next())
            any = block.length() > LongLine;
        box.setWordWrapMode(any ? QTextOption::WrapAnywhere : usual);
    });
}

void modTextBoxes::SetLines(QPlainTextEdit& box, int lines)
{
    const int frame = 2 * (box.frameWidth() + qRound(box.document()->documentMargin()));
    box.setMinimumHeight(lines * box.fontMetrics().lineSpacing() + frame);
}

void modTextBoxes::SetText(QPlainTextEdit& box, const QString& stored)
{
    const QString text = modCommonFunctions::WithLineFeeds(stored);
    if (Lines(box) != text)
        box.setPlainText(text);
}

QString modTextBoxes::StoredText(const QPlainTextEdit& box)
{
    return Lines(box).replace(u'\n', "\r\n"_L1);
}

QString modTextBoxes::Lines(const QPlainTextEdit& box)
{
    // Blanks that must not break are kept, unlike in toPlainText(). Shift and Enter make the second kind of line end.
    return box.document()->toRawText().replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
}
