// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/modLinkLists.h"

#include "publish/clsPageTemplate.h"
#include "publish/modIO.h"

#include <QLocale>
#include <QXmlStreamWriter>

using namespace Qt::Literals::StringLiterals;
using modIO::PageLink;

namespace
{
/// A text without the characters that no XML may hold, not even as numbers.
QString ForXml(const QString& text)
{
    QString allowed;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar letter = text[i];
        const bool pair = letter.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (pair)
            allowed += QStringView(text).sliced(i++, 2);
        else if (!letter.isSurrogate() && letter.unicode() < 0xfffe &&
                 (letter.unicode() >= 0x20 || letter == u'\t' || letter == u'\n' || letter == u'\r'))
            allowed += letter;
    }
    return allowed;
}
} // namespace

QByteArray modLinkLists::Table(modIO::PageStyle style, const std::vector<PageLink>& links)
{
    QByteArray bytes;
    const modIO::TableForm form = style == modIO::PageStyle::Json ? modIO::TableForm::Json : modIO::TableForm::Csv;
    modIO::clsTableWriter table(form, {u"Category"_s, u"Title"_s, u"HomePage"_s, u"Description"_s},
                                [&bytes](const QByteArray& piece) { bytes += piece; });
    for (const PageLink& link : links) {
        if (link.Active)
            table.Row({link.Category, link.Title, link.HomePage, link.Description});
    }
    table.End();
    return bytes;
}

QByteArray modLinkLists::Outline(const QString& title, const QDateTime& now, const std::vector<PageLink>& links)
{
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(u"opml"_s);
    xml.writeAttribute(u"version"_s, u"2.0"_s);
    xml.writeStartElement(u"head"_s);
    xml.writeTextElement(u"title"_s, ForXml(title));
    xml.writeTextElement(u"dateCreated"_s, QLocale::c().toString(now.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s));
    xml.writeEndElement();
    xml.writeStartElement(u"body"_s);
    modIO::ByCategory(
        links,
        [&xml](const QString& category) {
            xml.writeStartElement(u"outline"_s);
            xml.writeAttribute(u"text"_s, ForXml(category));
        },
        [&xml](const PageLink& link) {
            xml.writeEmptyElement(u"outline"_s);
            xml.writeAttribute(u"text"_s, ForXml(link.Title));
            if (!link.Description.isEmpty())
                xml.writeAttribute(u"description"_s, ForXml(link.Description));
            if (modIO::IsWebAddress(link.HomePage)) {
                xml.writeAttribute(u"type"_s, u"link"_s);
                xml.writeAttribute(u"url"_s, ForXml(link.HomePage.trimmed()));
            }
        },
        [&xml] { xml.writeEndElement(); });
    xml.writeEndDocument();
    return bytes;
}

QByteArray modLinkLists::Bookmarks(const QString& title, const std::vector<PageLink>& links)
{
    const auto escaped = &clsPageTemplate::Escaped;
    QString page = u"<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
                   "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
                   "<TITLE>%1</TITLE>\n"
                   "<H1>%1</H1>\n"
                   "<DL><p>\n"_s.arg(escaped(title));
    modIO::ByCategory(
        links,
        [&](const QString& category) { page += u"    <DT><H3>"_s + escaped(category) + u"</H3>\n    <DL><p>\n"_s; },
        [&](const PageLink& link) {
            page += u"        <DT>"_s;
            if (modIO::IsWebAddress(link.HomePage))
                page +=
                    u"<A HREF=\""_s + escaped(link.HomePage.trimmed()) + u"\">"_s + escaped(link.Title) + u"</A>\n"_s;
            else
                page += escaped(link.Title) + u'\n';
            if (!link.Description.isEmpty())
                page += u"        <DD>"_s + escaped(link.Description.simplified()) + u'\n';
        },
        [&] { page += u"    </DL><p>\n"_s; });
    page += u"</DL><p>\n"_s;
    return page.toUtf8();
}
