// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/clsPageTemplate.h"

#include "platform/clsError.h"

#include <QStringView>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

struct clsPageTemplate::Part
{
    enum class Kind
    {
        Plain,
        Text,
        Block
    };
    Kind kind = Kind::Plain;
    qsizetype place = 0;      ///< in the template
    QString text;             ///< plain, or the placeholder's name
    std::vector<Part> inside; ///< of a block
};

clsPageTemplate::clsPageTemplate(QString name, QString text) : m_name(std::move(name)), m_text(std::move(text)) {}

QByteArray clsPageTemplate::Page(const clsPageValues& values) const
{
    qsizetype place = 0;
    const std::vector<Part> parts = Read(place, {}, 0);
    QString page;
    Write(parts, {&values}, page);
    return page.toUtf8();
}

QString clsPageTemplate::Escaped(QString text)
{
    const auto isControl = [](QChar letter) {
        return letter.category() == QChar::Other_Control && letter != u'\t' && letter != u'\n' && letter != u'\r';
    };
    text.removeIf(isControl); // no page may hold them
    return text.toHtmlEscaped().replace(u'\'', u"&#39;"_s);
}

bool clsPageTemplate::AloneOnLine(qsizetype open, qsizetype end) const
{
    const QStringView line = QStringView(m_text).first(open);
    return line.sliced(line.lastIndexOf(u'\n') + 1).trimmed().isEmpty() &&
           QStringView(m_text).sliced(end).startsWith(u'\n');
}

std::vector<clsPageTemplate::Part> clsPageTemplate::Read(qsizetype& place, const QString& block, qsizetype begin) const
{
    std::vector<Part> parts;
    for (;;) {
        const qsizetype open = m_text.indexOf("{{"_L1, place);
        QString plain = m_text.mid(place, open < 0 ? -1 : open - place);
        const QString end = open >= 0 && m_text.mid(open, 5) == "{{!--"_L1 ? u"--}}"_s : u"}}"_s;
        const qsizetype close = open < 0 ? -1 : m_text.indexOf(end, open);
        if (open >= 0 && close < 0)
            Raise(open, u"%1 is missing"_s.arg(end));
        const QString name = open < 0 ? QString() : m_text.mid(open + 2, close - open - 2).trimmed();
        const QChar mark = name.isEmpty() ? QChar() : name.at(0);
        const bool shows = mark != u'!' && mark != u'#' && mark != u'/';
        const bool alone = open >= 0 && !shows && AloneOnLine(open, close + end.size());
        if (alone)
            plain.truncate(plain.lastIndexOf(u'\n') + 1);
        if (!plain.isEmpty())
            parts.push_back({Part::Kind::Plain, place, plain, {}});
        if (open < 0)
            break;
        place = close + end.size() + (alone ? 1 : 0);
        const QString inner = name.mid(1).trimmed();
        if (shows) {
            parts.push_back({Part::Kind::Text, open, name, {}});
        } else if (mark == u'#') {
            parts.push_back({Part::Kind::Block, open, inner, Read(place, inner, open)});
        } else if (mark == u'/') {
            if (block.isEmpty() || inner != block)
                Raise(open, u"{{/%1}} ends nothing that began"_s.arg(inner));
            return parts;
        }
    }
    if (!block.isEmpty())
        Raise(begin, u"{{/%1}} is missing"_s.arg(block));
    return parts;
}

void clsPageTemplate::Write(const std::vector<Part>& parts, const std::vector<const clsPageValues*>& around,
                            QString& page) const
{
    for (const Part& part : parts) {
        if (part.kind == Part::Kind::Plain) {
            page += part.text;
            continue;
        }
        const auto knows = [&part](const clsPageValues* values) {
            return values->texts.contains(part.text) || values->lists.contains(part.text);
        };
        const auto found = std::find_if(around.crbegin(), around.crend(), knows);
        if (found == around.crend())
            Raise(part.place, u"there is no %1 here"_s.arg(part.text));
        const clsPageValues& values = **found;
        if (const auto text = values.texts.constFind(part.text); text != values.texts.cend()) {
            if (part.kind == Part::Kind::Text)
                page += Escaped(*text);
            else if (!text->isEmpty())
                Write(part.inside, around, page);
            continue;
        }
        if (part.kind == Part::Kind::Text)
            Raise(part.place, u"%1 is a list: {{#%1}}...{{/%1}}"_s.arg(part.text));
        for (const clsPageValues& entry : *values.lists.constFind(part.text)) {
            std::vector<const clsPageValues*> within = around;
            within.push_back(&entry);
            Write(part.inside, within, page);
        }
    }
}

void clsPageTemplate::Raise(qsizetype place, const QString& what) const
{
    const qsizetype line = QStringView(m_text).first(place).count(u'\n') + 1;
    throw clsError(clsError::TypeMismatch, u"%1, line %2: %3."_s.arg(m_name).arg(line).arg(what), m_name);
}
