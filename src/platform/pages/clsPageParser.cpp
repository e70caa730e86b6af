// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/clsPageParser.h"

#include "platform/pages/clsMarkupGuard.h"
#include "platform/pages/clsParserMemory.h"
#include "platform/pages/modPageEncoding.h"

#include <QUrl>
#include <algorithm>
#include <gumbo.h>
#include <optional>
#include <vector>

namespace
{
/// One address and where in the page its tag begins.
struct Found
{
    unsigned position;
    QString written;
};

struct Harvest
{
    bool wantsTexts;
    std::vector<Found> hyperlinks;
    std::vector<Found> texts; ///< of the hyperlinks
    std::vector<Found> images;
    std::optional<QString> base;
};

QString Trimmed(const char* value)
{
    return QString::fromUtf8(value).trimmed();
}

QString Attribute(const GumboElement& element, const char* name)
{
    const GumboAttribute* attribute = gumbo_get_attribute(&element.attributes, name);
    return attribute ? Trimmed(attribute->value) : QString();
}

/// Collects what stands inside a hyperlink, pictures by their alternative text.
/// @param nodes  that may still be visited: links may contain links, and a hostile page a great many of them.
void AppendText(const GumboElement& element, QString& text, int& nodes)
{
    for (unsigned i = 0; i < element.children.length && --nodes > 0 && text.size() < 4 * clsPageList::TextSize; ++i) {
        const auto* node = static_cast<const GumboNode*>(element.children.data[i]);
        if (node->type == GUMBO_NODE_TEXT || node->type == GUMBO_NODE_CDATA) {
            text += QString::fromUtf8(node->v.text.text);
        } else if (node->type == GUMBO_NODE_WHITESPACE) {
            text += u' ';
        } else if (node->type == GUMBO_NODE_ELEMENT) {
            const GumboElement& inner = node->v.element;
            if (inner.tag == GUMBO_TAG_SCRIPT || inner.tag == GUMBO_TAG_STYLE)
                continue;
            if (inner.tag == GUMBO_TAG_IMG)
                text += Attribute(inner, "alt");
            // These are seen as being apart from what stands before and behind them.
            const bool apart = inner.tag == GUMBO_TAG_BR || inner.tag == GUMBO_TAG_IMG || inner.tag == GUMBO_TAG_DIV ||
                               inner.tag == GUMBO_TAG_P || inner.tag == GUMBO_TAG_LI || inner.tag == GUMBO_TAG_TD ||
                               (inner.tag >= GUMBO_TAG_H1 && inner.tag <= GUMBO_TAG_H6);
            if (apart)
                text += u' ';
            AppendText(inner, text, nodes);
            if (apart)
                text += u' ';
        }
    }
}

QString TextOf(const GumboElement& link)
{
    constexpr int mostNodes = 1000;
    int nodes = mostNodes;
    QString text;
    if (link.tag == GUMBO_TAG_AREA)
        text = Attribute(link, "alt");
    else
        AppendText(link, text, nodes);
    // Markup inside a word does not part it.
    text = text.remove(QLatin1Char(clsMarkupGuard::Filler)).simplified();
    for (const char* name : {"aria-label", "title"}) {
        if (text.isEmpty())
            text = Attribute(link, name).simplified();
    }
    text.truncate(clsPageList::TextSize);
    if (!text.isEmpty() && text.back().isHighSurrogate())
        text.chop(1);
    return text;
}

void Visit(const GumboElement& element, unsigned parseFlags, Harvest& harvest)
{
    // The parser repeats an anchor that was left open in each block that follows; only the one that was written counts.
    if (parseFlags & (GUMBO_INSERTION_ADOPTION_AGENCY_CLONED | GUMBO_INSERTION_RECONSTRUCTED_FORMATTING_ELEMENT))
        return;
    const bool html = element.tag_namespace == GUMBO_NAMESPACE_HTML;
    std::vector<Found>* list = nullptr;
    const char* name = "href";
    if (element.tag == GUMBO_TAG_A || (element.tag == GUMBO_TAG_AREA && html)) {
        list = &harvest.hyperlinks;
    } else if (html && element.tag == GUMBO_TAG_IMG) {
        list = &harvest.images;
        name = "src";
    } else if (!html || element.tag != GUMBO_TAG_BASE || harvest.base) {
        return;
    }
    const GumboAttribute* attribute = gumbo_get_attribute(&element.attributes, name);
    if (!attribute)
        return;
    if (list)
        list->push_back({element.start_pos.offset, Trimmed(attribute->value)});
    else
        harvest.base = Trimmed(attribute->value);
    if (harvest.wantsTexts && list == &harvest.hyperlinks)
        harvest.texts.push_back({element.start_pos.offset, TextOf(element)});
}

/// Every element but those inside templates, which are no part of the page.
void Walk(const GumboNode* root, Harvest& harvest)
{
    std::vector<std::pair<const GumboVector*, unsigned>> path;
    path.emplace_back(&root->v.element.children, 0);
    while (!path.empty()) {
        auto& [children, next] = path.back();
        if (next == children->length) {
            path.pop_back();
            continue;
        }
        const auto* node = static_cast<const GumboNode*>(children->data[next++]);
        if (node->type != GUMBO_NODE_ELEMENT)
            continue;
        Visit(node->v.element, static_cast<unsigned>(node->parse_flags), harvest);
        if (node->v.element.children.length > 0)
            path.emplace_back(&node->v.element.children, 0);
    }
}

bool HasScheme(const QString& address)
{
    for (qsizetype i = 0; i < address.size(); ++i) {
        const char16_t c = address[i].unicode();
        const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
        if (letter || (i > 0 && ((c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.')))
            continue;
        return c == u':' && i > 0;
    }
    return false;
}

QString Resolved(const QUrl& base, const QString& written)
{
    if (HasScheme(written))
        return written;
    const QUrl relative(written);
    if (!relative.isValid() && !written.isEmpty())
        return written;
    QUrl whole = base.resolved(relative);
    if (written.isEmpty())
        whole.setFragment(QString());
    return whole.toString(QUrl::FullyEncoded);
}

/// Tags that stand misplaced in a table are moved in front of it in the tree.
void SortByPosition(std::vector<Found>& found)
{
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.position < b.position; });
}

clsPageList List(std::vector<Found>& found, const QUrl& base, qsizetype& bytes)
{
    SortByPosition(found);
    std::vector<clsPageAddress> items;
    items.reserve(found.size());
    for (Found& one : found) {
        QString resolved = Resolved(base, one.written);
        bytes += static_cast<qsizetype>(sizeof(clsPageAddress)) + 2 * one.written.size() + 32;
        if (resolved.constData() != one.written.constData())
            bytes += 2 * resolved.size() + 32;
        items.push_back({std::move(one.written), std::move(resolved)});
    }
    return clsPageList(std::move(items));
}
} // namespace

clsPageLists clsPageParser::Parse(const QByteArray& body, const QByteArray& charset, const QString& url, bool texts)
{
    QByteArray html = modPageEncoding::ToUtf8(body, charset);
    clsMarkupGuard::Prepare(html);
    clsParserMemory& memory = clsParserMemory::OfThread();
    GumboOptions options = memory.Options();
    options.max_errors = 0;
    const GumboOutput* output =
        gumbo_parse_with_options(&options, html.constData(), static_cast<std::size_t>(html.size()));
    Harvest harvest{.wantsTexts = texts, .hyperlinks = {}, .texts = {}, .images = {}, .base = {}};
    Walk(output->document, harvest);
    memory.Clear();

    QUrl base(url);
    if (harvest.base)
        base = base.resolved(QUrl(*harvest.base));
    clsPageLists lists;
    lists.hyperlinks = List(harvest.hyperlinks, base, lists.bytes);
    lists.images = List(harvest.images, base, lists.bytes);
    if (texts) {
        SortByPosition(harvest.texts);
        QStringList inOrder;
        inOrder.reserve(static_cast<qsizetype>(harvest.texts.size()));
        for (Found& one : harvest.texts) {
            lists.bytes += static_cast<qsizetype>(sizeof(QString)) + 2 * one.written.size() + 32;
            inOrder.push_back(std::move(one.written));
        }
        lists.hyperlinks.SetTexts(std::move(inOrder));
    }
    return lists;
}
