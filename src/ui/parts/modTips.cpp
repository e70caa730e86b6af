// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modTips.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
/// More than this nobody reads in a tip.
constexpr qsizetype LongestTip = 500;
/// A word longer than this would make the tip wider than a small screen.
constexpr int LongestWord = 60;
constexpr QChar MayBreakHere(0x200B);

/// Tips break lines between words only.
QString WithBreaks(const QString& text)
{
    QString broken;
    int letters = 0;
    for (const QChar letter : text) {
        letters = letter.isSpace() ? 0 : letters + 1;
        if (letters > LongestWord && !letter.isLowSurrogate()) {
            broken += MayBreakHere;
            letters = 1;
        }
        broken += letter;
    }
    return broken;
}
} // namespace

QString modTips::Plain(const QString& text)
{
    if (text.isEmpty())
        return {};
    QString shown = text;
    if (shown.size() > LongestTip) {
        shown.truncate(LongestTip - (shown.at(LongestTip - 1).isHighSurrogate() ? 1 : 0));
        shown += QChar(0x2026);
    }
    return u"<span style=\"white-space: pre-wrap\">%1</span>"_s.arg(WithBreaks(shown).toHtmlEscaped());
}

QString modTips::OneLine(QString text)
{
    text.replace("\r\n"_L1, " "_L1);
    for (QChar& letter : text) {
        const QChar::Category category = letter.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            letter = u' ';
    }
    return text;
}

QString modTips::Title(const QString& window, const QString& record)
{
    // "[*]" in a title is the place of a mark for changes.
    return u"%1  [%2]"_s.arg(window, OneLine(record)).replace("[*]"_L1, "[*][*]"_L1);
}
