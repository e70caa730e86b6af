// SPDX-License-Identifier: GPL-3.0-or-later
// The help text: pages by topic number, read from one file.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// The file is UTF-8 XML: in the element `help` one XHTML document a page, whose head says the page's title and, in
/// `meta` elements, its `topic` number and the `chapter` of the contents that it stands in.
class clsHelpFile
{
public:
    struct Page
    {
        int topic = 0;
        QString chapter;
        QString title;
        QString html; ///< what stands in the body
        QString text; ///< the same as plain text, for searching
    };

    /// @throws clsError FileNotFound when the content is no help file, or only a part of one.
    explicit clsHelpFile(const QByteArray& content);

    /// Never empty; in the order of the contents.
    [[nodiscard]] const QList<Page>& Pages() const { return m_pages; }
    /// @return null when there is no such page.
    [[nodiscard]] const Page* Find(int topic) const;

private:
    QList<Page> m_pages;
};
