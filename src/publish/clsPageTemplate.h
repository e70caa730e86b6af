// SPDX-License-Identifier: GPL-3.0-or-later
// A web page with placeholders, which its user may change as he likes.
#pragma once

#include <QHash>
#include <QString>
#include <vector>

/// What the placeholders of a template stand for. Inside a list each entry's own values come first, then those around
/// it.
struct clsPageValues
{
    QHash<QString, QString> texts;
    QHash<QString, std::vector<clsPageValues>> lists;
};

/// The language of templates: {{name}} is a text, escaped for HTML. {{#name}}...{{/name}} is repeated for each entry of
/// a list, and left out when it is empty; for a text it stands once, unless the text is empty. {{! ... }} is a remark,
/// and so is {{!-- ... --}}, which may hold braces. What begins or ends a block, and a remark, leaves no line behind
/// when it stands on lines of its own.
class clsPageTemplate
{
public:
    /// @param name  of the template's file, as errors call it.
    clsPageTemplate(QString name, QString text);

    /// The page. @throws clsError with file and line: a block that does not end, an unknown name.
    [[nodiscard]] QByteArray Page(const clsPageValues& values) const;

    /// A text as it may stand in HTML, between tags and in quoted attributes.
    static QString Escaped(QString text);

private:
    struct Part; ///< plain text, a placeholder or a block

    /// Whether a mark has its lines for itself.
    [[nodiscard]] bool AloneOnLine(qsizetype open, qsizetype end) const;
    /// Reads up to the end of `block`, which began at `begin`, or of the template when it is empty.
    [[nodiscard]] std::vector<Part> Read(qsizetype& place, const QString& block, qsizetype begin) const;
    void Write(const std::vector<Part>& parts, const std::vector<const clsPageValues*>& around, QString& page) const;
    [[noreturn]] void Raise(qsizetype place, const QString& what) const;

    const QString m_name;
    const QString m_text;
};
