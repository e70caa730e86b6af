// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/modMailText.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype FoldAt = 76; ///< the length that RFC 2047 allows lines with encoded words
} // namespace

QString modMailText::WithCrLf(const QString& text)
{
    QString result;
    result.reserve(text.size() + text.size() / 32);
    qsizetype from = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar c = text[at];
        if (c != u'\r' && c != u'\n')
            continue;
        result += QStringView(text).sliced(from, at - from);
        result += u"\r\n";
        if (c == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')
            ++at;
        from = at + 1;
    }
    result += QStringView(text).sliced(from);
    return result;
}

QString modMailText::OnOneLine(const QString& text)
{
    QString line = text;
    line.replace(u"\r\n"_s, u" "_s);
    for (QChar& c : line) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return line;
}

QString modMailText::HeaderLine(const QString& name, const QString& value)
{
    QString rest = name + u": "_s + OnOneLine(value);
    QString result;
    const qsizetype most = rest.contains(u"=?") ? FoldAt : MostLine;
    while (rest.size() > most) {
        // Not at the blank behind the name, and not where only blanks would follow: such a line counts as none.
        qsizetype blank = rest.lastIndexOf(u' ', most);
        const qsizetype first = result.isEmpty() ? name.size() + 2 : 1;
        if (blank < first)
            blank = rest.indexOf(u' ', std::max(most, first));
        if (blank < 0 || QStringView(rest).sliced(blank).trimmed().isEmpty())
            break;
        result += rest.left(blank) + u"\r\n"_s;
        rest.remove(0, blank);
    }
    return result + rest + u"\r\n"_s;
}
