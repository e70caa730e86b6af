// SPDX-License-Identifier: GPL-3.0-or-later
// What counts as a link or an image on a page, in whatever encoding and however broken; and that no page is too much.
#include "platform/impl/clsMarkupGuard.h"
#include "platform/impl/clsPageParser.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QStringEncoder>
#include <QTest>
#include <gumbo.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
QString Written(const clsPageList& list)
{
    QStringList all;
    for (int i = 0; i < list.Count(); ++i)
        all << list.Item(i).written;
    return all.join(u'|');
}

clsPageLists Parse(const QByteArray& html, const QByteArray& charset = {})
{
    return clsPageParser::Parse(html, charset, u"http://www.partner.example/dir/page.html?q=1"_s);
}

/// Every address as the bare parser sees it, and how deep its tree goes.
struct Reference
{
    std::multimap<unsigned, QString> links;
    int depth = 0;

    void Walk(const GumboNode* node, int level)
    {
        if (node->type != GUMBO_NODE_ELEMENT)
            return;
        depth = std::max(depth, level);
        const GumboElement& element = node->v.element;
        const GumboAttribute* href = gumbo_get_attribute(&element.attributes, "href");
        constexpr unsigned copies =
            GUMBO_INSERTION_ADOPTION_AGENCY_CLONED | GUMBO_INSERTION_RECONSTRUCTED_FORMATTING_ELEMENT;
        if (element.tag == GUMBO_TAG_A && href && !(static_cast<unsigned>(node->parse_flags) & copies))
            links.emplace(element.start_pos.offset, QString::fromUtf8(href->value));
        for (unsigned i = 0; i < element.children.length; ++i)
            Walk(static_cast<const GumboNode*>(element.children.data[i]), level + 1);
    }
    explicit Reference(const QByteArray& html)
    {
        GumboOptions options = kGumboDefaultOptions;
        options.max_errors = 0;
        GumboOutput* output = gumbo_parse_with_options(&options, html.constData(), static_cast<size_t>(html.size()));
        Walk(output->root, 1);
        gumbo_destroy_output(&options, output);
    }
    [[nodiscard]] QString Joined() const
    {
        QStringList all;
        for (const auto& [position, text] : links)
            all << text;
        return all.join(u'|');
    }
};
} // namespace

class tst_page_parser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void Lists_data()
    {
        QTest::addColumn<QByteArray>("html");
        QTest::addColumn<QString>("links");
        QTest::addColumn<QString>("images");
        const auto row = [](const char* name, const char* html, const QString& links, const QString& images = {}) {
            QTest::newRow(name) << QByteArray(html) << links << images;
        };
        row("entities, blanks and case", "<A HREF=' http://x.example/?a=1&amp;b=2\n'>x</A><IMG SRC=\"A&#46;gif\">",
            u"http://x.example/?a=1&b=2"_s, u"A.gif"_s);
        row("empty href counts, no href does not", "<a href=''>1</a><a href>2</a><a name=x>3</a><img><img src=''>",
            u"|"_s, u""_s);
        row("areas, svg anchors, duplicates",
            "<a href=1></a><map><area href=2></map><svg><a xlink:href=3 /></svg><a href=1>", u"1|2|3|1"_s);
        row("what is no part of the page",
            "<!-- <a href=1> --><script>'<a href=2>'</script><style><a href=3></style><textarea><a href=4></textarea>"
            "<template><a href=5></template><iframe><a href=6></iframe><frame src=f><link href=l><a href=7>",
            u"7"_s);
        row("script with a script in it", "<script><!-- <script></script><a href=1> --></script><a href=2>", u"2"_s);
        row("noscript is read", "<noscript><a href=1><img src=2></noscript>", u"1"_s, u"2"_s);
        row("open over blocks, once each", "<p><a href=1><b>x<p>y<div>z</div><p><a href=2>w<table><td>v", u"1|2"_s);
        row("misplaced in a table, in the page's order",
            "<a href=1></a><table><a href=2>x<tr><td><a href=3></table><a href=4>", u"1|2|3|4"_s);
        row("quotes, slashes and equal signs", "<a/href=1/><a title='>' href=\"2\"><a =x href=3><a href = 4>",
            u"1/|2|3|4"_s);
        row("page ends inside a tag", "<a href=1><a href=2", u"1"_s);
        row("first of two hrefs", "<a href=1 href=2>", u"1"_s);
        row("image of old", "<image src=1>", u""_s, u"1"_s);
    }
    void Lists()
    {
        QFETCH(QByteArray, html);
        const clsPageLists lists = Parse(html);
        QTEST(Written(lists.hyperlinks), "links");
        QTEST(Written(lists.images), "images");
    }

    void Resolved_data()
    {
        QTest::addColumn<QByteArray>("html");
        QTest::addColumn<QString>("resolved");
        const auto row = [](const char* name, const char* html, const char* resolved) {
            QTest::newRow(name) << QByteArray(html) << QString::fromLatin1(resolved);
        };
        row("relative", "<a href='../x y.htm'>", "http://www.partner.example/x%20y.htm");
        row("root", "<a href='/'>", "http://www.partner.example/");
        row("scheme left out", "<a href='//other.example/z'>", "http://other.example/z");
        row("empty is the page itself", "<a href=''>", "http://www.partner.example/dir/page.html?q=1");
        row("scheme of its own stays as written", "<a href='MailTo:Me@X.example'>", "MailTo:Me@X.example");
        row("host of its own stays as written", "<a href='HTTP://WWW.X.Example'>", "HTTP://WWW.X.Example");
        row("base, wherever it stands, the first", "<a href=z><base href='http://b.example/k/'><base href=/no/>",
            "http://b.example/k/z");
        row("relative base", "<base href='sub/'><a href=z>", "http://www.partner.example/dir/sub/z");
    }
    void Resolved()
    {
        QFETCH(QByteArray, html);
        QTEST(Parse(html).hyperlinks.Item(0).resolved, "resolved");
    }

    void Encodings_data()
    {
        QTest::addColumn<QByteArray>("html");
        QTest::addColumn<QByteArray>("charset");
        QTest::addColumn<QString>("link");
        const QString umlaut = u"\u00FC"_s;
        const auto utf16 = [](const char* html) {
            QStringEncoder encoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
            return QByteArray(encoder(QString::fromUtf8(html)));
        };
        QTest::newRow("plain UTF-8") << QByteArray("<a href=\xC3\xBC>") << QByteArray() << umlaut;
        QTest::newRow("neither: windows-1252") << QByteArray("<a href=\xFC\x80>") << QByteArray() << umlaut + u'\u20AC';
        QTest::newRow("charset of the answer") << QByteArray("<a href=\xC1>") << QByteArray("KOI8-R") << u"\u0430"_s;
        QTest::newRow("meta") << QByteArray("<meta charset='windows-1251'><a href=\xE0>") << QByteArray()
                              << u"\u0430"_s;
        QTest::newRow("old meta") << QByteArray("<META http-equiv=Content-Type content='text/html; charset=Shift_JIS'>"
                                                "<a href=\x83\x41>")
                                  << QByteArray() << u"\u30A2"_s;
        QTest::newRow("meta in a comment")
            << QByteArray("<!-- <meta charset=koi8-r> --><a href=\xFC>") << QByteArray() << umlaut;
        QTest::newRow("answer before meta")
            << QByteArray("<meta charset=koi8-r><a href=\xFC>") << QByteArray("iso-8859-1") << umlaut;
        QTest::newRow("mark before answer")
            << QByteArray("\xEF\xBB\xBF<a href=\xC3\xBC>") << QByteArray("koi8-r") << umlaut;
        QTest::newRow("UTF-16 by its mark") << utf16("<a href=\xC3\xBC>") << QByteArray() << umlaut;
        QTest::newRow("unknown name") << QByteArray("<a href=\xFC>") << QByteArray("x-no-such") << umlaut;
        QTest::newRow("broken UTF-8 goes on") << QByteArray("\xFF\xC3<a href=1>") << QByteArray("utf-8") << u"1"_s;
        QTest::newRow("zero bytes go on") << QByteArray("\0x\0<a href=1>", 14) << QByteArray() << u"1"_s;
    }
    void Encodings()
    {
        QFETCH(QByteArray, html);
        QFETCH(QByteArray, charset);
        QTEST(Written(Parse(html, charset).hyperlinks), "link");
    }

    void CutWhereItGoesTooFar_data()
    {
        QTest::addColumn<QByteArray>("between");
        QTest::addColumn<bool>("cut");
        const auto attributes = [](int count) {
            QByteArray tag = "<div";
            for (int i = 0; i < count; ++i)
                tag += " a" + QByteArray::number(i) + "='>'";
            return tag + "></div>";
        };
        const auto row = [](const char* name, const QByteArray& between, bool cut) {
            QTest::newRow(name) << between << cut;
        };
        // With html, body and the anchor behind.
        row("512 deep", QByteArray("<div>").repeated(508) + "<span>", false);
        row("513 deep", QByteArray("<div>").repeated(509) + "<span>", true);
        row("256 attributes", attributes(256), false);
        row("257 attributes", attributes(257), true);
        row("257 attributes on an end tag", "</x" + attributes(257).mid(4), true);
        row("tables in tables", QByteArray("<table><tr><td>").repeated(200), true);
        row("svg in svg", QByteArray("<svg><foreignObject>").repeated(300), true);
        // Open for ever as far as the page says, yet not deep as HTML reads it.
        for (const char* tag : {"<p>",
                                "<li>",
                                "<dt>x<dd>",
                                "<td>",
                                "<tr>",
                                "<tr><td>",
                                "<br>",
                                "<img>",
                                "<input>",
                                "<option>",
                                "<h1>",
                                "<a href=x>",
                                "<b>",
                                "<font color=red>",
                                "<button>",
                                "<form>",
                                "<hr>",
                                "<p><b>",
                                "<p><font size=2><a name=x>",
                                "<p><ul><li></ul>",
                                "<svg><path><p>",
                                "<select><div><option></select>",
                                "</div>",
                                "<ruby><rt></ruby>"})
            row(tag, QByteArray(tag).repeated(3000), false);
        for (const char* tag :
             {"<td>", "<tr>", "<tr><td>x", "<tbody><tr><td><font>", "<tr><td><p><a href=x>", "<caption>",
              "<tr><form><td>", "<td><table><tr><td></table>", "<tr><td><ul><li>", "<option>"})
            row(qPrintable(u"in a table: "_s + QLatin1StringView(tag)), "<table>" + QByteArray(tag).repeated(3000),
                false);
        row("deep only in a comment", "<!--" + QByteArray("<div>").repeated(3000) + "-->", false);
        row("deep only in a script", "<script>" + QByteArray("<div>").repeated(3000) + "</script>", false);
        row("deep only in a text field", "<textarea>" + QByteArray("<div>").repeated(3000) + "</textarea>", false);
        row("deep only in CDATA of an svg", "<svg><![CDATA[" + QByteArray("<g>").repeated(3000) + "]]></svg>", false);
    }
    void CutWhereItGoesTooFar()
    {
        QFETCH(QByteArray, between);
        QFETCH(bool, cut);
        const clsPageList list = Parse("<a href=before></a>" + between + "</select><a href=behind></a>").hyperlinks;
        QCOMPARE(list.IndexOf(u"before"_s), 0);
        QCOMPARE(list.IndexOf(u"behind"_s) < 0, cut);
    }

    /// Four megabytes of what costs the parser most. Without the guard each takes minutes, or all memory.
    void NothingTakesLong_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<QByteArray>("again"); // "#": a running number
        const auto row = [](const char* name, const QByteArray& start, const char* again) {
            QTest::newRow(name) << start << QByteArray(again);
        };
        const QByteArray deep = QByteArray("<div>").repeated(500);
        row("nested", "", "<div>");
        row("at the deepest", deep, "</p>");
        row("unknown ends at the deepest", QByteArray("<span>").repeated(500), "</x>");
        row("formatting left open", "", "<p><b id=#>");
        row("anchors left open", "", "<p><a href=#>x");
        row("attributes of the body", "", "<body a#>");
        row("attributes of a tag that never ends", "<x", " a#");
        row("misplaced in a table", "<table>", "<hr>");
        row("anchors in blocks", "", "<a href=#><div>");
        row("comments", "", "<!---->");
        row("half ends of a script", "<script>", "</scrip");
        row("index fields", "", "<isindex>");
    }
    void NothingTakesLong()
    {
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, again);
        QByteArray html = start;
        for (int i = 0; html.size() < 4 * 1024 * 1024; ++i)
            html += QByteArray(again).replace('#', QByteArray::number(i));
        QElapsedTimer timer;
        timer.start();
        const clsPageLists lists = Parse(html);
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(u"%1 ms"_s.arg(timer.elapsed())));
        QVERIFY(lists.hyperlinks.Count() <= html.size());
    }

    /// The guard may change nothing about the links of a page that is not deep: compared with the bare parser.
    void GuardChangesNoLinks()
    {
        // A formatting tag in svg or math ends that, as most tags do; blanked it does not. So never both on one page.
        static const QList<QByteArray> formatting = {"<b>", "</b>", "<font size=1>", "</font>", "<i>", "<nobr>"};
        static const QList<QByteArray> foreign = {"<svg>",   "</svg>",   "<path/>",   "<g>",
                                                  "<title>", "</title>", "<![CDATA[", "]]>",
                                                  "<math>",  "<mi>",     "</math>",   "<foreignObject>"};
        static const QList<QByteArray> common = {
            "<p>",       "</p>",       "<div>",      "</div>",      "<table>",    "</table>",    "<tr>",
            "<td>",      "</td>",      "</tr>",      "<th>",        "<tbody>",    "<caption>",   "<ul>",
            "</ul>",     "<li>",       "<dl>",       "<dd>",        "<dt>",       "<select>",    "</select>",
            "<option>",  "<optgroup>", "<form>",     "</form>",     "<h1>",       "</h2>",       "<button>",
            "</button>", "<script>",   "</script>",  "<!--",        "-->",        "<object>",    "</object>",
            "<span>",    "</span>",    "<textarea>", "</textarea>", "<br>",       "<img src=x>", "<input>",
            "text",      "&amp;",      "<style>",    "</style>",    "<noscript>", "</noscript>", "<body>",
            "</body>",   "<html a=b>", "<center>",   "</center>",   "</a>",       "</a>",        "<colgroup>",
            "<col>",     "<marquee>",  "<hr>",       "<ruby>",      "<rt>",       "'",           "\"",
            "<",         "</",         "<x y='>'>"};
        const bool whole = qEnvironmentVariableIsSet("BRAMBURY_LONG");
        const int pages = whole ? 200'000 : 3'000;
        QRandomGenerator random(20260105);
        int compared = 0;
        for (int page = 0; page < pages; ++page) {
            const QList<QByteArray> pieces = common + (page % 2 ? formatting : foreign);
            QByteArray html;
            const int length = random.bounded(5, 120);
            for (int i = 0; i < length; ++i) {
                html += random.bounded(5) == 0 ? "<a href=" + QByteArray::number(i) + '>'
                                               : pieces[random.bounded(pieces.size())];
            }
            const Reference reference(html);
            QByteArray guarded = html;
            clsMarkupGuard::Prepare(guarded);
            QCOMPARE_LE(guarded.size(), html.size());
            if (guarded.size() < html.size())
                QVERIFY2(reference.depth > 400, html.constData());
            const Reference seen(guarded);
            QVERIFY2(seen.Joined() == reference.Joined(),
                     html + "\n" + seen.Joined().toUtf8() + "\n" + reference.Joined().toUtf8());
            ++compared;
        }
        QCOMPARE(compared, pages);
        qInfo("%d pages compared", compared);
    }

    /// What the guard lets through must not be much deeper than it thinks, whatever is opened and closed.
    void GuardSeesDepth()
    {
        static const QList<QByteArray> openers = {"<div>",
                                                  "<p>",
                                                  "<a href=x>",
                                                  "<table>",
                                                  "<tr>",
                                                  "<td>",
                                                  "<svg>",
                                                  "<foreignObject>",
                                                  "<select>",
                                                  "<option>",
                                                  "<object>",
                                                  "<li>",
                                                  "<ul>",
                                                  "<b id=#>",
                                                  "<form>",
                                                  "<button>",
                                                  "<math>",
                                                  "<mi>",
                                                  "<span>",
                                                  "<h1>",
                                                  "<template>",
                                                  "<marquee>",
                                                  "<caption>",
                                                  "<ruby>",
                                                  "<rt>",
                                                  "</a>",
                                                  "</p>",
                                                  "</form>",
                                                  "<annotation-xml encoding=text/html>",
                                                  "<frameset>",
                                                  "<noscript>",
                                                  "</table>",
                                                  "<center>",
                                                  "<nobr>",
                                                  "<desc>",
                                                  "<title>",
                                                  "</title>",
                                                  "</select>",
                                                  "<dd>"};
        QRandomGenerator random(20260106);
        const int rounds = qEnvironmentVariableIsSet("BRAMBURY_LONG") ? 20'000 : 400;
        int deepest = 0;
        for (int round = 0; round < rounds; ++round) {
            QList<QByteArray> few;
            for (int i = random.bounded(1, 5); i > 0; --i)
                few << openers[random.bounded(openers.size())];
            QByteArray html;
            for (int i = 0; i < 3000; ++i)
                html += QByteArray(few[random.bounded(10) ? i % few.size() : random.bounded(few.size())])
                            .replace('#', QByteArray::number(i));
            clsMarkupGuard::Prepare(html);
            const Reference reference(html);
            QVERIFY2(reference.depth <= 1200, few.join(' ').constData());
            deepest = std::max(deepest, reference.depth);
        }
        qInfo("deepest of %d pages: %d", rounds, deepest);
    }
};

QTEST_GUILESS_MAIN(tst_page_parser)
#include "tst_page_parser.moc"
