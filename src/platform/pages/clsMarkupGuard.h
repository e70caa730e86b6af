// SPDX-License-Identifier: GPL-3.0-or-later
// Looks a page over before the HTML parser sees it, so that no page costs the parser more than its size is worth.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <gumbo.h>
#include <vector>

/// The parser's time is quadratic in three things, and this takes each away:
///  - Depth and the number of attributes of one tag: the page is cut in front of the first tag that goes over a limit,
///    or with which the two together have cost too much. Which elements are open is followed by the rules of HTML
///    (implied end tags, table and select contexts, foreign content), so that a page which merely leaves its tags open
///    is not taken for a deep one.
///  - Formatting elements that are left open (b, font, i, ...): HTML opens each of them again in every paragraph that
///    follows. They carry no address and hide none, so the parser is shown blanks in their place.
///  - Attributes of html and body tags after the first, which HTML would gather on one element: blanked likewise. So is
///    isindex, a tag that becomes ten.
class clsMarkupGuard
{
public:
    static constexpr qsizetype MostElements = 512; ///< open inside one another, html and body included
    static constexpr int MostAttributes = 256;     ///< on one tag
    static constexpr char Filler = '\f';           ///< the blank that is shown, of a kind that pages do not use

    /// @param html  UTF-8; changed in place: shortened where it goes over a limit, blanked, never lengthened.
    static void Prepare(QByteArray& html);

private:
    enum class Kind : quint8
    {
        Other,
        Void,
        Formatting,
        RawText,
        Script,
        PlainText,
        Root,
        Paragraph,
        Block,
        Heading,
        Item,
        Term,
        Button,
        Option,
        OptGroup,
        Select,
        Input,
        Table,
        Caption,
        ColGroup,
        Section,
        Row,
        Cell,
        RubyPart,
        Form,
        Marker,
        Svg,
        Math,
        Anchor,
        Template,
        Frameset
    };
    enum Flag : quint8
    {
        Scope = 1, ///< "in scope" ends here
        ButtonScope = 2,
        ListScope = 4,
        TableScope = 8,
        Special = 16,
        InForeign = 32,   ///< an element of svg or math
        Integration = 64, ///< one of those that holds HTML again
        Structure = 128,  ///< decides which rules hold for what stands in it
    };
    struct Rule
    {
        Kind kind = Kind::Other;
        quint8 flags = 0;
    };
    struct Element
    {
        quint64 id; ///< same name, same number
        Kind kind;
        quint8 flags;
    };
    struct Tag
    {
        quint64 id = 0;
        GumboTag known = GUMBO_TAG_UNKNOWN;
        QByteArrayView name;
        bool end = false;
        bool selfClosing = false;
        int attributes = 0;
    };

    explicit clsMarkupGuard(QByteArray& html);
    static const Rule* Rules();
    void Run();
    const char* PastMarkup(const char* open);
    const char* ReadTag(const char* open, Tag& tag) const;
    const char* PastRawText(const char* at, const Tag& tag) const;
    const char* PastScript(const char* at, const Tag& tag) const;
    [[nodiscard]] bool EndsRawText(const char* at, const Tag& tag) const;
    const char* Past(QByteArrayView text, const char* from) const;
    const char* Start(const Tag& tag, const char* after);
    void End(const Tag& tag);
    bool StartInForeign(const Tag& tag);
    bool StartInSelect(const Tag& tag, const Rule& rule);
    bool StartInTable(const Tag& tag, const Rule& rule);
    void StartItem(const Tag& tag, Kind kind);
    void CloseAnchor(bool byStartTag);
    void CloseParagraph();
    void CloseImplied();
    void Push(quint64 id, Kind kind, quint8 flags);
    void PopTo(qsizetype count);
    void RemoveAt(qsizetype index);
    [[nodiscard]] qsizetype OpenInScope(quint64 id, quint8 stop) const;
    [[nodiscard]] Kind Innermost() const;
    [[nodiscard]] Kind Top() const { return m_open.empty() ? Kind::Root : m_open.back().kind; }
    [[nodiscard]] bool TopIsForeign() const
    {
        return !m_open.empty() && (m_open.back().flags & (InForeign | Integration)) == InForeign;
    }
    void Blank(const char* from, const char* to);

    QByteArray& m_html;
    char* const m_begin;
    const char* const m_end;
    std::vector<Element> m_open;         ///< inside body
    std::vector<qsizetype> m_structures; ///< where in m_open those stand that have the flag Structure
    int m_paragraphs = 0;                ///< of m_open
    int m_framesets = 0;                 ///< a page of frames holds nothing else, other pages hold none
    bool m_form = false;                 ///< a form was begun and not ended by its end tag
    qint64 m_work = 0;                   ///< what the tags so far cost the parser
    bool m_tooMuch = false;
    bool m_htmlSeen = false;
    bool m_bodySeen = false;
};
