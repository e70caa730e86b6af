// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/clsLinkFileParser.h"

#include "platform/pages/clsPageParser.h"
#include "platform/pages/modCsv.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QXmlStreamReader>
#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Where a file says of what kind it is.
constexpr qsizetype HeadSize = 4096;
/// Tags of a page, objects and lists of a JSON text: each of them costs far more memory than its few bytes.
constexpr qsizetype MostParts = 1'500'000;
/// Attributes of one tag: the reader compares each of them with all others. They are counted by their equals signs.
constexpr qsizetype MostAttributes = 2000;
/// What a column or a value with addresses is called, the surest name first; without blanks, in lower case.
const QStringList AddressNames{u"homepage"_s, u"url"_s,     u"uri"_s,     u"address"_s, u"href"_s,
                               u"link"_s,     u"website"_s, u"webpage"_s, u"site"_s};
const QStringList TitleNames{u"title"_s, u"name"_s, u"text"_s, u"sitename"_s};

QString Sentence(int line, const QString& text)
{
    return u"Line %1: %2"_s.arg(line).arg(text);
}

QString PlainName(QStringView name)
{
    QString plain = name.toString().toLower();
    plain.removeIf([](QChar letter) { return !letter.isLetterOrNumber(); });
    return plain;
}

bool IsAbsolute(const QString& address)
{
    return !QUrl(address, QUrl::TolerantMode).isRelative();
}

/// Gathers links up to the limit.
class clsGatherer
{
public:
    /// What leads nowhere without the page that it has stood on is left out. @return false when there are too many.
    bool Take(const QString& written, const QString& text)
    {
        const QString address = written.trimmed();
        if (!IsAbsolute(address))
            return true;
        if (std::ssize(m_items) == clsLinkFiles::MostLinks) {
            m_tooMany = true;
            return false;
        }
        m_items.push_back({address, address});
        QString title = text.simplified().left(clsPageList::TextSize);
        if (!title.isEmpty() && title.back().isHighSurrogate())
            title.chop(1);
        m_texts.push_back(title);
        return true;
    }
    /// @param problem  of the file.
    clsLinkFiles::Content Content(QString problem = {})
    {
        if (m_tooMany)
            problem = u"It holds more than %1 links."_s.arg(clsLinkFiles::MostLinks);
        if (!problem.isEmpty())
            return {{}, problem};
        clsPageList list(std::move(m_items));
        list.SetTexts(std::move(m_texts));
        return {std::move(list), {}};
    }

private:
    std::vector<clsPageAddress> m_items;
    QStringList m_texts;
    bool m_tooMany = false;
};

clsLinkFiles::Content FromPage(const QByteArray& bytes)
{
    const clsPageLists lists = clsPageParser::Parse(bytes, {}, {}, true);
    clsGatherer links;
    for (int i = 0; i < lists.hyperlinks.Count(); ++i) {
        if (!links.Take(lists.hyperlinks.Item(i).resolved, lists.hyperlinks.Text(i)))
            break;
    }
    return links.Content();
}

bool HasCrowdedTag(const QByteArray& bytes)
{
    qsizetype attributes = 0;
    for (const char byte : bytes) {
        if (byte == '<')
            attributes = 0;
        else if (byte == '=' && ++attributes > MostAttributes)
            return true;
    }
    return false;
}

clsLinkFiles::Content FromOutline(const QByteArray& bytes)
{
    if (HasCrowdedTag(bytes))
        return {{}, u"It has a tag with too many attributes."_s};
    QXmlStreamReader xml(bytes);
    clsGatherer links;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != "outline"_L1)
            continue;
        const QXmlStreamAttributes values = xml.attributes();
        const auto first = [&values](QLatin1StringView one, QLatin1StringView other) {
            return values.value(values.value(one).isEmpty() ? other : one).toString();
        };
        // A feed's own address (xmlUrl) is no page.
        if (!links.Take(first("htmlUrl"_L1, "url"_L1), first("text"_L1, "title"_L1)))
            break;
    }
    return links.Content(xml.hasError() ? Sentence(static_cast<int>(xml.lineNumber()), xml.errorString()) : QString());
}

/// A value of an object by the first of the names that it has.
QString ValueOf(const QJsonObject& object, const QStringList& names)
{
    qsizetype best = names.size();
    QString value;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const qsizetype place = names.indexOf(PlainName(entry.key()));
        if (place < 0 || place >= best || !entry->isString())
            continue;
        best = place;
        value = entry->toString();
    }
    return value;
}

/// Every object with an address, however deep it lies; Qt reads no text that would be too deep for this.
bool TakeJson(const QJsonValue& value, clsGatherer& links)
{
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        return std::all_of(array.begin(), array.end(), [&](const QJsonValue& entry) { return TakeJson(entry, links); });
    }
    if (!value.isObject())
        return true;
    const QJsonObject object = value.toObject();
    const QString address = ValueOf(object, AddressNames);
    if (!address.isEmpty() && !links.Take(address, ValueOf(object, TitleNames)))
        return false;
    return std::all_of(object.begin(), object.end(), [&](const QJsonValue& entry) { return TakeJson(entry, links); });
}

clsLinkFiles::Content FromJson(const QByteArray& bytes)
{
    if (bytes.count('{') + bytes.count('[') > MostParts)
        return {{}, u"It has too many parts."_s};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    clsGatherer links;
    if (error.error != QJsonParseError::NoError) {
        const auto line = static_cast<int>(bytes.first(std::min<qsizetype>(error.offset, bytes.size())).count('\n'));
        return links.Content(Sentence(line + 1, error.errorString()));
    }
    TakeJson(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()), links);
    return links.Content();
}

/// The column of the first name that a heading has; -1: none.
qsizetype ColumnOf(const QStringList& heading, const QStringList& names)
{
    for (const QString& name : names) {
        const auto cell =
            std::find_if(heading.begin(), heading.end(), [&](const QString& text) { return PlainName(text) == name; });
        if (cell != heading.end())
            return cell - heading.begin();
    }
    return -1;
}

clsLinkFiles::Content FromTable(const QByteArray& bytes)
{
    struct Columns
    {
        qsizetype address;
        qsizetype title;
    };
    std::optional<Columns> columns;
    clsGatherer links;
    const auto take = [&](const modCsv::Record& record) {
        const QStringList& fields = record.fields;
        if (!columns) {
            columns = {ColumnOf(fields, AddressNames), ColumnOf(fields, TitleNames)};
            if (columns->address >= 0)
                return true;
            // No headings: then it is the column that begins with an address.
            const auto address = std::find_if(fields.begin(), fields.end(), [](const QString& field) {
                return field.trimmed().startsWith("http"_L1, Qt::CaseInsensitive) && IsAbsolute(field.trimmed());
            });
            if (address == fields.end())
                return false;
            columns = {address - fields.begin(), -1};
        }
        return links.Take(fields.value(columns->address), fields.value(columns->title));
    };
    const std::optional<modCsv::Problem> problem = modCsv::Read(bytes, take);
    if (problem)
        return links.Content(Sentence(problem->line, problem->text));
    if (columns && columns->address < 0)
        return links.Content(
            u"It is neither a web page nor an outline, and none of its columns is called HomePage, URL "
            "or Address."_s);
    return links.Content();
}
} // namespace

clsLinkFiles::Content clsLinkFileParser::Parse(const QByteArray& bytes)
{
    // Whatever the encoding, these are the bytes of its letters.
    QByteArray head = bytes.left(HeadSize).toLower();
    head.removeIf([](char byte) { return byte == '\0' || static_cast<unsigned char>(byte) >= 0x80; });
    const QByteArray begin = head.trimmed();
    if (begin.startsWith('<') && bytes.count('<') > MostParts)
        return {{}, u"It has too many tags."_s};
    if (begin.startsWith('<'))
        return begin.contains("<opml") ? FromOutline(bytes) : FromPage(bytes);
    return begin.startsWith('{') || begin.startsWith('[') ? FromJson(bytes) : FromTable(bytes);
}
