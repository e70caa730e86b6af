// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/clsMarkupGuard.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace
{
constexpr qsizetype AroundBody = 2; ///< html and body
/// Steps through open elements and attributes that the parser may take for one page, about a second's worth. A page of
/// the full size with a tag every ten bytes gets there at an average depth of 150.
constexpr qint64 MostWork = 64'000'000;

bool IsBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\f';
}

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Tags that end svg and math content wherever they stand in it.
bool BreaksOutOfForeign(GumboTag tag)
{
    switch (tag) {
    case GUMBO_TAG_BLOCKQUOTE:
    case GUMBO_TAG_BODY:
    case GUMBO_TAG_BR:
    case GUMBO_TAG_CENTER:
    case GUMBO_TAG_DD:
    case GUMBO_TAG_DIV:
    case GUMBO_TAG_DL:
    case GUMBO_TAG_DT:
    case GUMBO_TAG_EMBED:
    case GUMBO_TAG_H1:
    case GUMBO_TAG_H2:
    case GUMBO_TAG_H3:
    case GUMBO_TAG_H4:
    case GUMBO_TAG_H5:
    case GUMBO_TAG_H6:
    case GUMBO_TAG_HEAD:
    case GUMBO_TAG_HR:
    case GUMBO_TAG_IMG:
    case GUMBO_TAG_LI:
    case GUMBO_TAG_LISTING:
    case GUMBO_TAG_MENU:
    case GUMBO_TAG_META:
    case GUMBO_TAG_OL:
    case GUMBO_TAG_P:
    case GUMBO_TAG_PRE:
    case GUMBO_TAG_RUBY:
    case GUMBO_TAG_SPAN:
    case GUMBO_TAG_SUB:
    case GUMBO_TAG_SUP:
    case GUMBO_TAG_TABLE:
    case GUMBO_TAG_UL:
    case GUMBO_TAG_VAR:
        return true;
    default:
        return false;
    }
}
} // namespace

const clsMarkupGuard::Rule* clsMarkupGuard::Rules()
{
    static const auto table = [] {
        std::array<Rule, GUMBO_TAG_LAST + 1> rules{};
        const auto set = [&rules](Kind kind, int flags, std::initializer_list<GumboTag> tags) {
            for (const GumboTag tag : tags)
                rules[tag] = {kind, static_cast<quint8>(flags)};
        };
        set(Kind::Root, Special, {GUMBO_TAG_HTML, GUMBO_TAG_HEAD, GUMBO_TAG_BODY});
        set(Kind::Void, Special,
            {GUMBO_TAG_AREA, GUMBO_TAG_BR, GUMBO_TAG_EMBED, GUMBO_TAG_IMG, GUMBO_TAG_IMAGE, GUMBO_TAG_WBR,
             GUMBO_TAG_PARAM, GUMBO_TAG_SOURCE, GUMBO_TAG_TRACK, GUMBO_TAG_BASE, GUMBO_TAG_BASEFONT, GUMBO_TAG_BGSOUND,
             GUMBO_TAG_LINK, GUMBO_TAG_META, GUMBO_TAG_FRAME, GUMBO_TAG_COL, GUMBO_TAG_ISINDEX});
        set(Kind::Input, Special, {GUMBO_TAG_INPUT, GUMBO_TAG_KEYGEN});
        set(Kind::Formatting, 0,
            {GUMBO_TAG_B, GUMBO_TAG_BIG, GUMBO_TAG_CODE, GUMBO_TAG_EM, GUMBO_TAG_FONT, GUMBO_TAG_I, GUMBO_TAG_NOBR,
             GUMBO_TAG_S, GUMBO_TAG_SMALL, GUMBO_TAG_STRIKE, GUMBO_TAG_STRONG, GUMBO_TAG_TT, GUMBO_TAG_U});
        set(Kind::RawText, Special,
            {GUMBO_TAG_TITLE, GUMBO_TAG_TEXTAREA, GUMBO_TAG_STYLE, GUMBO_TAG_XMP, GUMBO_TAG_IFRAME, GUMBO_TAG_NOEMBED,
             GUMBO_TAG_NOFRAMES});
        set(Kind::Script, Special, {GUMBO_TAG_SCRIPT});
        set(Kind::PlainText, Special, {GUMBO_TAG_PLAINTEXT});
        set(Kind::Paragraph, Special, {GUMBO_TAG_P});
        set(Kind::Block, Special,
            {GUMBO_TAG_ADDRESS,    GUMBO_TAG_ARTICLE, GUMBO_TAG_ASIDE,  GUMBO_TAG_BLOCKQUOTE, GUMBO_TAG_CENTER,
             GUMBO_TAG_DETAILS,    GUMBO_TAG_DIR,     GUMBO_TAG_DIV,    GUMBO_TAG_DL,         GUMBO_TAG_FIELDSET,
             GUMBO_TAG_FIGCAPTION, GUMBO_TAG_FIGURE,  GUMBO_TAG_FOOTER, GUMBO_TAG_HEADER,     GUMBO_TAG_HGROUP,
             GUMBO_TAG_MAIN,       GUMBO_TAG_MENU,    GUMBO_TAG_NAV,    GUMBO_TAG_SECTION,    GUMBO_TAG_SUMMARY,
             GUMBO_TAG_PRE,        GUMBO_TAG_LISTING});
        set(Kind::Block, Special | ListScope, {GUMBO_TAG_OL, GUMBO_TAG_UL});
        set(Kind::Heading, Special,
            {GUMBO_TAG_H1, GUMBO_TAG_H2, GUMBO_TAG_H3, GUMBO_TAG_H4, GUMBO_TAG_H5, GUMBO_TAG_H6});
        set(Kind::Item, Special, {GUMBO_TAG_LI});
        set(Kind::Term, Special, {GUMBO_TAG_DD, GUMBO_TAG_DT});
        set(Kind::Button, Special | ButtonScope, {GUMBO_TAG_BUTTON});
        set(Kind::Option, 0, {GUMBO_TAG_OPTION});
        set(Kind::OptGroup, 0, {GUMBO_TAG_OPTGROUP});
        set(Kind::Select, Special | Structure, {GUMBO_TAG_SELECT});
        set(Kind::Table, Special | Scope | TableScope | Structure, {GUMBO_TAG_TABLE});
        set(Kind::Caption, Special | Scope | Structure, {GUMBO_TAG_CAPTION});
        set(Kind::ColGroup, Special, {GUMBO_TAG_COLGROUP});
        set(Kind::Section, Special | Structure, {GUMBO_TAG_TBODY, GUMBO_TAG_THEAD, GUMBO_TAG_TFOOT});
        set(Kind::Row, Special | Structure, {GUMBO_TAG_TR});
        set(Kind::Cell, Special | Scope | Structure, {GUMBO_TAG_TD, GUMBO_TAG_TH});
        set(Kind::RubyPart, 0, {GUMBO_TAG_RB, GUMBO_TAG_RP, GUMBO_TAG_RT, GUMBO_TAG_RTC});
        set(Kind::Form, Special, {GUMBO_TAG_FORM});
        set(Kind::Marker, Special | Scope, {GUMBO_TAG_APPLET, GUMBO_TAG_MARQUEE, GUMBO_TAG_OBJECT});
        set(Kind::Svg, InForeign, {GUMBO_TAG_SVG});
        set(Kind::Math, InForeign, {GUMBO_TAG_MATH});
        set(Kind::Anchor, 0, {GUMBO_TAG_A});
        set(Kind::Template, Special | Scope | TableScope | Structure, {GUMBO_TAG_TEMPLATE});
        set(Kind::Other, Special, {GUMBO_TAG_NOSCRIPT});
        set(Kind::Frameset, Special, {GUMBO_TAG_FRAMESET});
        return rules;
    }();
    return table.data();
}

clsMarkupGuard::clsMarkupGuard(QByteArray& html)
    : m_html(html), m_begin(html.data()), m_end(html.constData() + html.size())
{
    m_open.reserve(MostElements);
}

void clsMarkupGuard::Prepare(QByteArray& html)
{
    clsMarkupGuard(html).Run();
}

void clsMarkupGuard::Run()
{
    const char* at = m_begin;
    while (at < m_end) {
        const char* open = static_cast<const char*>(memchr(at, '<', static_cast<std::size_t>(m_end - at)));
        if (!open)
            return;
        at = PastMarkup(open);
        if (m_tooMuch) {
            m_html.truncate(open - m_begin);
            return;
        }
    }
}

/// Behind the next occurrence of `text`; the page's end when there is none.
const char* clsMarkupGuard::Past(QByteArrayView text, const char* from) const
{
    const qsizetype found = QByteArrayView(from, m_end).indexOf(text);
    return found < 0 ? m_end : from + found + text.size();
}

/// Handles what begins at `open`. @return behind it.
const char* clsMarkupGuard::PastMarkup(const char* open)
{
    const char* next = open + 1;
    if (next == m_end)
        return next;
    if (*next == '!') {
        const QByteArrayView rest(next + 1, m_end);
        if (rest.startsWith("--")) {
            const char* text = next + 3;
            if (QByteArrayView(text, m_end).startsWith(">"))
                return text + 1;
            if (QByteArrayView(text, m_end).startsWith("->"))
                return text + 2;
            while (true) {
                text = Past("--", text) - 1; // the second dash may be the first of the next pair
                if (text + 1 >= m_end)
                    return m_end;
                if (text[1] == '>')
                    return text + 2;
                if (QByteArrayView(text + 1, m_end).startsWith("!>"))
                    return text + 3;
            }
        }
        if (TopIsForeign() && rest.startsWith("[CDATA["))
            return Past("]]>", next);
        return Past(">", next);
    }
    if (*next == '?')
        return Past(">", next);
    const bool end = *next == '/';
    if (end && ++next == m_end)
        return next;
    if (!IsLetter(*next))
        return end ? Past(">", next) : next;

    Tag tag;
    tag.end = end;
    const char* after = ReadTag(next, tag);
    m_work += static_cast<qint64>(m_open.size()) + tag.attributes * tag.attributes / 2;
    if (tag.attributes > MostAttributes || m_work > MostWork) {
        m_tooMuch = true;
        return m_end;
    }
    if (!after)
        return m_end;
    const Kind kind = Rules()[tag.known].kind;
    const bool again = !end && ((tag.known == GUMBO_TAG_HTML && std::exchange(m_htmlSeen, true)) ||
                                (tag.known == GUMBO_TAG_BODY && std::exchange(m_bodySeen, true)));
    if (kind == Kind::Formatting || tag.known == GUMBO_TAG_ISINDEX) {
        Blank(open, after);
        return after;
    }
    if (again)
        Blank(tag.name.end(), after - 1);
    if (!end)
        return Start(tag, after);
    End(tag);
    return after;
}

/// @param name  first letter of a tag's name. @return behind the tag; null when the page ends inside it.
const char* clsMarkupGuard::ReadTag(const char* name, Tag& tag) const
{
    const char* at = name;
    while (at < m_end && !IsBlank(*at) && *at != '/' && *at != '>')
        ++at;
    tag.name = QByteArrayView(name, at);
    tag.known = gumbo_tagn_enum(name, static_cast<unsigned>(at - name));
    tag.id = tag.known;
    if (tag.known == GUMBO_TAG_UNKNOWN) {
        quint64 hash = 14695981039346656037u; // FNV-1a
        for (const char* c = name; c < at; ++c)
            hash = (hash ^ static_cast<unsigned char>(IsLetter(*c) ? *c | 0x20 : *c)) * 1099511628211u;
        tag.id = hash | (quint64(1) << 63);
    }
    while (at < m_end) {
        if (*at == '>')
            return at + 1;
        if (*at == '/') {
            tag.selfClosing = at + 1 < m_end && at[1] == '>';
            ++at;
            continue;
        }
        if (IsBlank(*at)) {
            ++at;
            continue;
        }
        if (++tag.attributes > MostAttributes)
            break;
        ++at; // whatever it is, a first "=" included, it begins a name
        while (at < m_end && !IsBlank(*at) && *at != '/' && *at != '>' && *at != '=')
            ++at;
        while (at < m_end && IsBlank(*at))
            ++at;
        if (at == m_end || *at != '=')
            continue;
        ++at;
        while (at < m_end && IsBlank(*at))
            ++at;
        if (at == m_end)
            break;
        if (*at == '"' || *at == '\'') {
            at = static_cast<const char*>(memchr(at + 1, *at, static_cast<std::size_t>(m_end - at - 1)));
            if (!at)
                return nullptr;
            ++at;
        } else {
            while (at < m_end && !IsBlank(*at) && *at != '>')
                ++at;
        }
    }
    return nullptr;
}

bool clsMarkupGuard::EndsRawText(const char* at, const Tag& tag) const
{
    const char* behind = at + 2 + tag.name.size();
    return behind < m_end && at[1] == '/' &&
           qstrnicmp(at + 2, tag.name.data(), static_cast<size_t>(tag.name.size())) == 0 &&
           (IsBlank(*behind) || *behind == '/' || *behind == '>');
}

const char* clsMarkupGuard::PastRawText(const char* at, const Tag& tag) const
{
    while (true) {
        at = static_cast<const char*>(memchr(at, '<', static_cast<std::size_t>(m_end - at)));
        if (!at)
            return m_end;
        if (EndsRawText(at, tag))
            return at;
        ++at;
    }
}

/// A script may hold "<!--", and behind it a whole second script whose end is not that of the first.
const char* clsMarkupGuard::PastScript(const char* at, const Tag& tag) const
{
    bool escaped = false;
    bool inner = false;
    for (; at < m_end; ++at) {
        const QByteArrayView rest(at, m_end);
        if (escaped && *at == '-' && rest.startsWith("-->")) {
            escaped = inner = false;
        } else if (*at == '<') {
            if (!escaped && rest.startsWith("<!--")) {
                escaped = true;
                at += 1; // its dashes may be those of "-->" too
            } else if (EndsRawText(at, tag)) {
                if (!inner)
                    return at;
                inner = false;
            } else if (escaped && !inner && rest.size() > 7 && qstrnicmp(at + 1, "script", 6) == 0 &&
                       (IsBlank(at[7]) || at[7] == '/' || at[7] == '>')) {
                inner = true;
            }
        }
    }
    return m_end;
}

void clsMarkupGuard::Blank(const char* from, const char* to)
{
    std::fill(m_begin + (from - m_begin), m_begin + (to - m_begin), Filler);
}

void clsMarkupGuard::Push(quint64 id, Kind kind, quint8 flags)
{
    if (static_cast<qsizetype>(m_open.size()) + AroundBody >= MostElements) {
        m_tooMuch = true;
        return;
    }
    if (flags & Structure)
        m_structures.push_back(static_cast<qsizetype>(m_open.size()));
    m_paragraphs += kind == Kind::Paragraph;
    m_open.push_back({id, kind, flags});
}

void clsMarkupGuard::PopTo(qsizetype count)
{
    while (static_cast<qsizetype>(m_open.size()) > count) {
        m_paragraphs -= m_open.back().kind == Kind::Paragraph;
        if (m_open.back().flags & Structure)
            m_structures.pop_back();
        m_open.pop_back();
    }
}

/// Takes an element without Structure out, leaving those inside it open.
void clsMarkupGuard::RemoveAt(qsizetype index)
{
    m_open.erase(m_open.begin() + index);
    for (qsizetype& at : m_structures)
        at -= at > index;
}

clsMarkupGuard::Kind clsMarkupGuard::Innermost() const
{
    return m_structures.empty() ? Kind::Root : m_open[static_cast<std::size_t>(m_structures.back())].kind;
}

/// Position of the innermost open HTML element of that name, -1 when one with a flag of `stop` stands inside it.
qsizetype clsMarkupGuard::OpenInScope(quint64 id, quint8 stop) const
{
    for (auto i = static_cast<qsizetype>(m_open.size()) - 1; i >= 0; --i) {
        const Element& element = m_open[static_cast<std::size_t>(i)];
        if (element.id == id && !(element.flags & InForeign))
            return i;
        if (element.flags & stop)
            return -1;
    }
    return -1;
}

void clsMarkupGuard::CloseParagraph()
{
    if (m_paragraphs == 0)
        return;
    if (const qsizetype at = OpenInScope(GUMBO_TAG_P, Scope | ButtonScope); at >= 0)
        PopTo(at);
}

/// Elements that end without an end tag of their own when what stands around them goes on.
void clsMarkupGuard::CloseImplied()
{
    while (Top() == Kind::Item || Top() == Kind::Term || Top() == Kind::Option || Top() == Kind::OptGroup ||
           Top() == Kind::Paragraph || Top() == Kind::RubyPart)
        PopTo(static_cast<qsizetype>(m_open.size()) - 1);
}

void clsMarkupGuard::StartItem(const Tag& tag, Kind kind)
{
    for (auto i = static_cast<qsizetype>(m_open.size()) - 1; i >= 0; --i) {
        const Element& element = m_open[static_cast<std::size_t>(i)];
        if (element.kind == kind) {
            PopTo(i);
            break;
        }
        if ((element.flags & (Special | Integration)) && element.id != GUMBO_TAG_ADDRESS &&
            element.id != GUMBO_TAG_DIV && element.id != GUMBO_TAG_P)
            break;
    }
    CloseParagraph();
    Push(tag.id, kind, Special);
}

/// An anchor inside an anchor ends the outer one; elements between the two stay open.
void clsMarkupGuard::CloseAnchor(bool byStartTag)
{
    bool specialInside = false;
    bool scopeInside = false;
    for (auto i = static_cast<qsizetype>(m_open.size()) - 1; i >= 0; --i) {
        const Element& element = m_open[static_cast<std::size_t>(i)];
        if (element.kind == Kind::Anchor && !(element.flags & InForeign)) {
            if (scopeInside && !byStartTag)
                return;
            if (specialInside || scopeInside)
                RemoveAt(i);
            else
                PopTo(i);
            return;
        }
        if (element.kind == Kind::Marker || element.kind == Kind::Cell || element.kind == Kind::Caption ||
            element.kind == Kind::Template)
            return;
        specialInside = specialInside || (element.flags & (Special | Integration));
        scopeInside = scopeInside || (element.flags & Scope);
    }
}

/// @return whether the tag was dealt with; else it has ended the foreign content.
bool clsMarkupGuard::StartInForeign(const Tag& tag)
{
    if (BreaksOutOfForeign(tag.known)) {
        while (TopIsForeign())
            PopTo(static_cast<qsizetype>(m_open.size()) - 1);
        return false;
    }
    if (tag.selfClosing)
        return true;
    bool holdsHtml = false;
    switch (tag.known) {
    case GUMBO_TAG_FOREIGNOBJECT:
    case GUMBO_TAG_DESC:
    case GUMBO_TAG_TITLE:
        holdsHtml = Top() == Kind::Svg;
        break;
    case GUMBO_TAG_MI:
    case GUMBO_TAG_MO:
    case GUMBO_TAG_MN:
    case GUMBO_TAG_MS:
    case GUMBO_TAG_MTEXT:
    case GUMBO_TAG_ANNOTATION_XML:
        holdsHtml = Top() == Kind::Math;
        break;
    default:
        break;
    }
    Push(tag.id, Top(), holdsHtml ? InForeign | Integration | Scope : InForeign);
    return true;
}

/// @return whether the tag was dealt with; else it has ended the select.
bool clsMarkupGuard::StartInSelect(const Tag& tag, const Rule& rule)
{
    const auto open = static_cast<qsizetype>(m_open.size());
    switch (rule.kind) {
    case Kind::Option:
    case Kind::OptGroup:
        if (Top() == Kind::Option)
            PopTo(open - 1);
        if (rule.kind == Kind::OptGroup && Top() == Kind::OptGroup)
            PopTo(static_cast<qsizetype>(m_open.size()) - 1);
        Push(tag.id, rule.kind, rule.flags);
        return true;
    case Kind::Script:
    case Kind::Template:
        return false;
    case Kind::Select:
        PopTo(m_structures.back());
        return true;
    case Kind::Table:
    case Kind::Caption:
    case Kind::Section:
    case Kind::Row:
    case Kind::Cell:
        if (m_structures.size() < 2)
            return true;
        break;
    case Kind::Input:
        break;
    case Kind::RawText:
        if (tag.known != GUMBO_TAG_TEXTAREA)
            return true;
        break;
    default:
        return true;
    }
    PopTo(m_structures.back());
    return false;
}

/// Rows, cells and the like, which end what stands open in the table. @return whether the tag was one of them.
bool clsMarkupGuard::StartInTable(const Tag& tag, const Rule& rule)
{
    if (rule.kind != Kind::Caption && rule.kind != Kind::ColGroup && rule.kind != Kind::Section &&
        rule.kind != Kind::Row && rule.kind != Kind::Cell)
        return false;
    if (m_structures.empty())
        return true; // outside a table they mean nothing
    const auto closeTo = [this](std::initializer_list<Kind> kinds) {
        while (!m_open.empty() && std::find(kinds.begin(), kinds.end(), Top()) == kinds.end())
            PopTo(static_cast<qsizetype>(m_open.size()) - 1);
    };
    switch (rule.kind) {
    case Kind::Row:
        closeTo({Kind::Table, Kind::Section, Kind::Template});
        if (Top() == Kind::Table)
            Push(GUMBO_TAG_TBODY, Kind::Section, Special | Structure);
        break;
    case Kind::Cell:
        closeTo({Kind::Table, Kind::Section, Kind::Row, Kind::Template});
        if (Top() == Kind::Table)
            Push(GUMBO_TAG_TBODY, Kind::Section, Special | Structure);
        if (Top() == Kind::Section)
            Push(GUMBO_TAG_TR, Kind::Row, Special | Structure);
        break;
    default:
        closeTo({Kind::Table, Kind::Template});
        if (rule.kind == Kind::ColGroup)
            return true; // whatever follows, save a col, ends it
    }
    Push(tag.id, rule.kind, rule.flags);
    return true;
}

/// @param after  behind the tag. @return where to go on: behind the text that belongs to it, if it holds only text.
const char* clsMarkupGuard::Start(const Tag& tag, const char* after)
{
    const Rule& rule = Rules()[tag.known];
    if (TopIsForeign() && StartInForeign(tag))
        return after;
    if (Innermost() == Kind::Select && StartInSelect(tag, rule))
        return after;
    if (StartInTable(tag, rule))
        return after;
    const Kind around = Innermost();
    const bool betweenCells = around == Kind::Table || around == Kind::Section || around == Kind::Row;
    switch (rule.kind) {
    case Kind::Root:
    case Kind::Void:
    case Kind::Input:
    case Kind::Formatting:
        break;
    case Kind::RawText:
        if (tag.known == GUMBO_TAG_XMP)
            CloseParagraph();
        return PastRawText(after, tag);
    case Kind::Script:
        return PastScript(after, tag);
    case Kind::PlainText:
        return m_end;
    case Kind::Item:
    case Kind::Term:
        StartItem(tag, rule.kind);
        break;
    case Kind::Heading:
        CloseParagraph();
        if (Top() == Kind::Heading)
            PopTo(static_cast<qsizetype>(m_open.size()) - 1);
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Button:
        if (const qsizetype at = OpenInScope(tag.id, Scope); at >= 0)
            PopTo(at);
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Option:
    case Kind::OptGroup:
        if (Top() == Kind::Option)
            PopTo(static_cast<qsizetype>(m_open.size()) - 1);
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::RubyPart:
        if (OpenInScope(GUMBO_TAG_RUBY, Scope) >= 0)
            CloseImplied();
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Form:
        if (m_form)
            break;
        m_form = true;
        if (!betweenCells) {
            CloseParagraph();
            Push(tag.id, rule.kind, rule.flags);
        }
        break;
    case Kind::Anchor:
        CloseAnchor(true);
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Table:
        if (betweenCells) {
            if (const qsizetype at = OpenInScope(tag.id, TableScope); at >= 0)
                PopTo(at);
        }
        Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Frameset:
        m_tooMuch = ++m_framesets > MostElements - AroundBody;
        break;
    case Kind::Svg:
    case Kind::Math:
        if (!tag.selfClosing)
            Push(tag.id, rule.kind, rule.flags);
        break;
    case Kind::Paragraph:
    case Kind::Block:
        CloseParagraph();
        Push(tag.id, rule.kind, rule.flags);
        break;
    default:
        if (tag.known == GUMBO_TAG_HR)
            CloseParagraph();
        else
            Push(tag.id, rule.kind, rule.flags);
    }
    return after;
}

void clsMarkupGuard::End(const Tag& tag)
{
    const Rule& rule = Rules()[tag.known];
    auto i = static_cast<qsizetype>(m_open.size()) - 1;
    if (TopIsForeign()) {
        for (; i >= 0 && (m_open[static_cast<std::size_t>(i)].flags & InForeign); --i) {
            if (m_open[static_cast<std::size_t>(i)].id == tag.id)
                return PopTo(i);
        }
    }
    if (Innermost() == Kind::Select) {
        switch (rule.kind) {
        case Kind::Option:
            if (Top() == Kind::Option)
                PopTo(i);
            return;
        case Kind::OptGroup:
            if (Top() == Kind::Option && i > 0 && m_open[static_cast<std::size_t>(i) - 1].kind == Kind::OptGroup)
                PopTo(i - 1);
            else if (Top() == Kind::OptGroup)
                PopTo(i);
            return;
        case Kind::Select:
            return PopTo(m_structures.back());
        case Kind::Table:
        case Kind::Caption:
        case Kind::Section:
        case Kind::Row:
        case Kind::Cell:
            if (OpenInScope(tag.id, TableScope) < 0)
                return;
            PopTo(m_structures.back());
            break;
        case Kind::Template:
            break;
        default:
            return;
        }
    }
    qsizetype found = -1;
    switch (rule.kind) {
    case Kind::Frameset:
        m_framesets -= m_framesets > 0;
        return;
    case Kind::Anchor:
        return CloseAnchor(false);
    case Kind::Paragraph:
        return CloseParagraph();
    case Kind::Form:
        m_form = false;
        if (found = OpenInScope(tag.id, Scope); found >= 0) {
            CloseImplied();
            if (found < static_cast<qsizetype>(m_open.size()))
                RemoveAt(found);
        }
        return;
    case Kind::Heading:
        for (i = static_cast<qsizetype>(m_open.size()) - 1; i >= 0; --i) {
            const Element& element = m_open[static_cast<std::size_t>(i)];
            if (element.kind == Kind::Heading)
                return PopTo(i);
            if (element.flags & Scope)
                return;
        }
        return;
    case Kind::Item:
        found = OpenInScope(tag.id, Scope | ListScope);
        break;
    case Kind::Block:
    case Kind::Term:
    case Kind::Button:
    case Kind::Marker:
        found = OpenInScope(tag.id, Scope);
        break;
    case Kind::Table:
    case Kind::Caption:
    case Kind::Section:
    case Kind::Row:
    case Kind::Cell:
        found = OpenInScope(tag.id, TableScope);
        break;
    case Kind::Template:
        found = OpenInScope(tag.id, 0);
        break;
    case Kind::Root:
    case Kind::Void:
    case Kind::RawText:
    case Kind::Script:
        return;
    default:
        found = OpenInScope(tag.id, Special | Integration);
    }
    if (found >= 0)
        PopTo(found);
}
