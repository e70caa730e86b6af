// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/help/clsHelpFile.h"

#include "platform/clsError.h"

#include <QTextDocumentFragment>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

clsHelpFile::clsHelpFile(const QByteArray& content)
{
    const QString all = QString::fromUtf8(content);
    QXmlStreamReader xml(all);
    if (!xml.readNextStartElement() || xml.name() != "help"_L1)
        xml.raiseError(u"no help file"_s);
    qsizetype bodyStart = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        const QStringView name = xml.name();
        if (xml.isEndElement() && name == "body"_L1 && !m_pages.isEmpty()) {
            // The offset is behind the end tag.
            const qsizetype end = all.lastIndexOf("</"_L1, xml.characterOffset() - 1);
            m_pages.last().html = all.mid(bodyStart, end - bodyStart).trimmed();
        }
        if (!xml.isStartElement())
            continue;
        if (name == "html"_L1) {
            m_pages.append(Page());
        } else if (m_pages.isEmpty()) {
            xml.raiseError(u"no page"_s);
        } else if (name == "title"_L1) {
            m_pages.last().title = xml.readElementText();
        } else if (name == "meta"_L1) {
            const QString value = xml.attributes().value("content"_L1).toString();
            if (xml.attributes().value("name"_L1) == "topic"_L1)
                m_pages.last().topic = value.toInt();
            else if (xml.attributes().value("name"_L1) == "chapter"_L1)
                m_pages.last().chapter = value;
        } else if (name == "body"_L1) {
            bodyStart = xml.characterOffset();
        }
    }
    if (xml.hasError() || m_pages.isEmpty())
        throw clsError(clsError::FileNotFound, u"The help text is damaged."_s, u"clsHelpFile"_s);
    for (Page& page : m_pages)
        page.text = page.title + u'\n' + QTextDocumentFragment::fromHtml(page.html).toPlainText();
}

const clsHelpFile::Page* clsHelpFile::Find(int topic) const
{
    const auto found =
        std::find_if(m_pages.begin(), m_pages.end(), [topic](const Page& page) { return page.topic == topic; });
    return found == m_pages.end() ? nullptr : &*found;
}
