// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modFieldTags.h"

#include "platform/clsDatabase.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <QLocale>
#include <QSet>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// So many replacements take no time that anybody would notice.
constexpr int BetweenYields = 100;

/// A text beside itself in folded letters, of the same length: searched without regard to letter case ten times as
/// fast.
struct FoldedText
{
    QString text;
    QString folded;

    FoldedText() = default;
    explicit FoldedText(const QString& from) : text(from), folded(from)
    {
        for (QChar& letter : folded)
            letter = letter.toCaseFolded();
    }
    void Prepend(const FoldedText& from)
    {
        text.prepend(from.text);
        folded.prepend(from.folded);
    }
    void RemoveFirst(qsizetype count)
    {
        text.remove(0, count);
        folded.remove(0, count);
    }
};

/// A text that is searched from its start after every replacement, without looking twice at what cannot have changed:
/// a new occurrence can begin at the earliest one letter less than a tag before the value just put in.
class clsExpansion
{
public:
    explicit clsExpansion(const QString& text) : m_ahead(text) {}

    /// Moves to the first occurrence. @return false when there is none: then Whole() is the text.
    bool Find(const FoldedText& tag)
    {
        const qsizetype at = m_ahead.folded.indexOf(tag.folded);
        if (at < 0)
            return false;
        m_behind.text += QStringView(m_ahead.text).first(at);
        m_behind.folded += QStringView(m_ahead.folded).first(at);
        m_ahead.RemoveFirst(at);
        return true;
    }
    void Replace(const FoldedText& tag, const QString& value)
    {
        m_ahead.RemoveFirst(tag.text.size());
        m_ahead.Prepend(FoldedText(value));
        const qsizetype seam = std::min(tag.text.size() - 1, m_behind.text.size());
        m_ahead.text.prepend(QStringView(m_behind.text).last(seam));
        m_ahead.folded.prepend(QStringView(m_behind.folded).last(seam));
        m_behind.text.chop(seam);
        m_behind.folded.chop(seam);
    }
    [[nodiscard]] qsizetype Size() const { return m_behind.text.size() + m_ahead.text.size(); }
    /// Begins again at the start of the text.
    void Rewind()
    {
        if (m_behind.text.isEmpty())
            return;
        m_ahead.Prepend(m_behind);
        // Its room is kept: getting a megabyte anew for every tag costs more than the search.
        m_behind.text.resize(0);
        m_behind.folded.resize(0);
    }
    [[nodiscard]] const QString& Whole() const { return m_ahead.text; }

private:
    FoldedText m_behind; ///< holds no occurrence
    FoldedText m_ahead;
};

void ThrowTooLong(const QString& tag)
{
    throw clsError(modFieldTags::TextTooLong,
                   u"The field tag %1 makes the text too long, or is replaced without end.  "
                   "Does the value that it stands for hold the tag itself?"_s.arg(tag),
                   modBrambury::ProgramTitle);
}
} // namespace

QString modFieldTags::AddTags(QString& text, const clsRecordset& tags, const FieldValue& fieldValue,
                              clsEventLoop& eventLoop, const std::function<bool()>& stopped)
{
    const auto breathe = [&] {
        eventLoop.Yield();
        if (stopped())
            throw clsError(clsError::WorkStopped, u"The message was not completed: stopped."_s,
                           modBrambury::ProgramTitle);
    };
    clsExpansion expansion(text);
    for (const auto& row : tags.Rows(0, tags.RecordCount(), {u"FieldTag"_s, u"TableMap"_s, u"FieldMap"_s})) {
        breathe();
        // A row that was deleted meanwhile is empty.
        const FoldedText tag(row.empty() ? QString() : row[0].toString());
        if (tag.text.isEmpty())
            continue;
        for (int count = 0; expansion.Find(tag); ++count) {
            if (count == MostReplacements)
                ThrowTooLong(tag.text);
            if (count % BetweenYields == BetweenYields - 1)
                breathe();
            expansion.Replace(tag, TextOf(fieldValue(row[1].toString(), row[2].toString())));
            if (expansion.Size() > LongestText)
                ThrowTooLong(tag.text);
        }
        expansion.Rewind();
    }
    text = expansion.Whole();
    return text;
}

QVariant modFieldTags::ValueOf(const clsRecordset& record, const QString& field)
{
    static const QSet<QString> truths{u"offer"_s,
                                      u"testqueue"_s,
                                      u"testformylinkatrecipsite"_s,
                                      u"testformyimageatrecipsite"_s,
                                      u"testforreciplinkatmysite"_s,
                                      u"testforrecipimageatmysite"_s};
    const QVariant value = record.Field(field);
    if (value.isNull())
        return {};
    const QString name = field.toLower();
    if (truths.contains(name))
        return value.toLongLong() != 0;
    if (name == "lastsuccessfultest"_L1) {
        const QDateTime time = modCommonFunctions::FromStoredDate(value.toString());
        return time.isValid() ? time : value;
    }
    return value;
}

QString modFieldTags::TextOf(const QVariant& value)
{
    if (value.isNull())
        return {};
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool() ? u"True"_s : u"False"_s;
    case QMetaType::QDateTime:
        return QLocale::c().toString(value.toDateTime(), u"M/d/yyyy h:mm:ss AP"_s);
    default:
        return value.toString();
    }
}

modFieldTags::Insertion modFieldTags::Insert(const QString& text, qsizetype from, qsizetype to, const QString& tag)
{
    const bool atStart = from == 0;
    while (from > 0 && text[from - 1] == u' ')
        --from;
    while (to < text.size() && text[to] == u' ')
        ++to;
    const bool lineBegins = from > 0 && text[from - 1] == u'\n';
    return {from, to, (atStart || lineBegins ? QString() : u" "_s) + tag + u' '};
}
