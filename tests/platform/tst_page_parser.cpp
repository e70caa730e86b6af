// SPDX-License-Identifier: GPL-3.0-or-later
// What counts as a link or an image on a page, in whatever encoding and however broken; and that no page is too much.
#include "platform/pages/clsMarkupGuard.h"
#include "platform/pages/clsPageParser.h"
#include "support/suite_report.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QStringEncoder>
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

/// Tags that stand in a line, parted by blanks.
QList<QByteArray> Pieces(const char* line)
{
    return QByteArray(line).split(' ');
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
        const testTable<QByteArray, QString, QString> row; // page, links, images
        row("entities, blanks and case", "<A HREF=' http://x.example/?a=1&amp;b=2\n'>x</A><IMG SRC=\"A&#46;gif\">",
            u"http://x.example/?a=1&b=2"_s, u"A.gif"_s);
        row("empty href counts, no href does not", "<a href=''>1</a><a href>2</a><a name=x>3</a><img><img src=''>",
            u"|"_s, {});
        row("areas, svg anchors, duplicates",
            "<a href=1></a><map><area href=2></map><svg><a xlink:href=3 /></svg><a href=1>", u"1|2|3|1"_s, {});
        row("what is no part of the page",
            "<!-- <a href=1> --><script>'<a href=2>'</script><style><a href=3></style><textarea><a href=4></textarea>"
            "<template><a href=5></template><iframe><a href=6></iframe><frame src=f><link href=l><a href=7>",
            u"7"_s, {});
        row("noscript is read", "<noscript><a href=1><img src=2></noscript>", u"1"_s, u"2"_s);
        row("open over blocks, once each", "<p><a href=1><b>x<p>y<div>z</div><p><a href=2>w<table><td>v", u"1|2"_s, {});
        row("misplaced in a table, in the page's order",
            "<a href=1></a><table><a href=2>x<tr><td><a href=3></table><a href=4>", u"1|2|3|4"_s, {});
        row("quotes, slashes and equal signs", "<a/href=1/><a title='>' href=\"2\"><a =x href=3><a href = 4>",
            u"1/|2|3|4"_s, {});
    }
    void Lists()
    {
        const auto [html, links, images] = testRow<QByteArray, QString, QString>();
        const clsPageLists lists = Parse(html);
        QCOMPARE(Written(lists.hyperlinks), links);
        QCOMPARE(Written(lists.images), images);
    }

    void Resolved()
    {
        const auto resolved = [](const QByteArray& html) { return Parse(html).hyperlinks.Item(0).resolved; };
        QCOMPARE(resolved("<a href='../x y.htm'>"), u"http://www.partner.example/x%20y.htm"_s);
        QCOMPARE(resolved("<a href=''>"), u"http://www.partner.example/dir/page.html?q=1"_s);
        // With a scheme or host of its own it stays as written.
        QCOMPARE(resolved("<a href='MailTo:Me@X.example'>"), u"MailTo:Me@X.example"_s);
        QCOMPARE(resolved("<a href='HTTP://WWW.X.Example'>"), u"HTTP://WWW.X.Example"_s);
        // The first base counts, wherever it stands, and may be relative.
        QCOMPARE(resolved("<a href=z><base href='http://b.example/k/'><base href=/no/>"), u"http://b.example/k/z"_s);
    }

    void Encodings()
    {
        const auto link = [](const QByteArray& html, const QByteArray& charset = {}) {
            return Written(Parse(html, charset).hyperlinks);
        };
        QStringEncoder utf16(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
        QCOMPARE(link("<a href=\xFC\x80>"), u"\u00FC\u20AC"_s); // no UTF-8: windows-1252
        QCOMPARE(link("<a href=\xC1>", "KOI8-R"), u"\u0430"_s);
        QCOMPARE(link("<meta charset='windows-1251'><a href=\xE0>"), u"\u0430"_s);
        QCOMPARE(link("<!-- <meta charset=koi8-r> --><a href=\xFC>"), u"\u00FC"_s);
        // The mark goes before the answer's charset, and that before the page's own.
        QCOMPARE(link("<meta charset=koi8-r><a href=\xFC>", "iso-8859-1"), u"\u00FC"_s);
        QCOMPARE(link("\xEF\xBB\xBF<a href=\xC3\xBC>", "koi8-r"), u"\u00FC"_s);
        QCOMPARE(link(utf16(u"<a href=\u00FC>"_s)), u"\u00FC"_s);
        // Broken bytes do not end the page.
        QCOMPARE(link("\xFF\xC3<a href=1>", "utf-8"), u"1"_s);
        QCOMPARE(link(QByteArray("\0x\0<a href=1>", 14)), u"1"_s);
    }

    void CutWhereItGoesTooFar_data()
    {
        const testTable<QByteArray, bool> row; // what stands between two links, whether the second is cut off
        const auto attributes = [](int count) {
            QByteArray tag = "<div";
            for (int i = 0; i < count; ++i)
                tag += " a" + QByteArray::number(i) + "='>'";
            return tag + "></div>";
        };
        // With html, body and the anchor behind.
        row("512 deep", QByteArray("<div>").repeated(508) + "<span>", false);
        row("513 deep", QByteArray("<div>").repeated(509) + "<span>", true);
        row("256 attributes", attributes(256), false);
        row("257 attributes", attributes(257), true);
        row("svg in svg", QByteArray("<svg><foreignObject>").repeated(300), true);
        // Open for ever as far as the page says, yet not deep as HTML reads it.
        for (const QByteArray& tag :
             Pieces("<p> <dt>x<dd> <tr><td> <br> <option> <h1> <a\thref=x> <b> <p><font\tsize=2><a\tname=x> "
                    "<p><ul><li></ul> <svg><path><p> <select><div><option></select> </div> <ruby><rt></ruby>"))
            row(tag, tag.repeated(3000), false);
        for (const QByteArray& tag :
             Pieces("<tbody><tr><td><font> <tr><td><p><a\thref=x> <caption> <td><table><tr><td></table>"))
            row("in a table: " + tag, "<table>" + tag.repeated(3000), false);
        row("deep only in a script", "<script>" + QByteArray("<div>").repeated(3000) + "</script>", false);
        row("deep only in CDATA of an svg", "<svg><![CDATA[" + QByteArray("<g>").repeated(3000) + "]]></svg>", false);
    }
    void CutWhereItGoesTooFar()
    {
        const auto [between, cut] = testRow<QByteArray, bool>();
        const clsPageList list = Parse("<a href=before></a>" + between + "</select><a href=behind></a>").hyperlinks;
        QCOMPARE(list.IndexOf(u"before"_s), 0);
        QCOMPARE(list.IndexOf(u"behind"_s) < 0, cut);
    }

    /// The first look-ups walk the list, later ones ask an index.
    void LookUpsAgree()
    {
        const clsPageList list = Parse("<a href=A/b></a><a href=stra\xC3\x9F"
                                       "e></a><a href=a/B></a>",
                                       "utf-8")
                                     .hyperlinks;
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(list.IndexOf(u"a/b"_s), 0);
            QCOMPARE(list.IndexOf(u"a/b"_s, 1), 2);
            QCOMPARE(list.IndexOf(u"STRASSE"_s), 1);
            QCOMPARE(list.IndexOf(u"a/"_s), -1);
        }
    }

    /// Four megabytes of what costs the parser most. Without the guard each takes minutes, or all memory.
    void NothingTakesLong_data()
    {
        const testTable<QByteArray, QByteArray> row; // start, what comes again and again; "#": a running number
        const QByteArray deep = QByteArray("<div>").repeated(500);
        row("nested", "", "<div>");
        row("at the deepest", deep, "</p>");
        row("formatting left open", "", "<p><b id=#>");
        row("attributes of a tag that never ends", "<x", " a#");
        row("misplaced in a table", "<table>", "<hr>");
        row("comments", "", "<!---->");
        row("half ends of a script", "<script>", "</scrip");
    }
    void NothingTakesLong()
    {
        const auto [start, again] = testRow<QByteArray, QByteArray>();
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
        const QList<QByteArray> formatting = Pieces("<b> </b> <font\tsize=1> </font> <i> <nobr>");
        const QList<QByteArray> foreign =
            Pieces("<svg> </svg> <path/> <g> <title> </title> <![CDATA[ ]]> <math> <mi> </math> <foreignObject>");
        const QList<QByteArray> common = Pieces(
            "<p> </p> <div> </div> <table> </table> <tr> <td> </td> </tr> <th> <tbody> <caption> <ul> </ul> <li> <dl> "
            "<dd> <dt> <select> </select> <option> <optgroup> <form> </form> <h1> </h2> <button> </button> <script> "
            "</script> <!-- --> <object> </object> <span> </span> <textarea> </textarea> <br> <img\tsrc=x> <input> "
            "text &amp; <style> </style> <noscript> </noscript> <body> </body> <html\ta=b> <center> </center> </a> "
            "</a> "
            "<colgroup> <col> <marquee> <hr> <ruby> <rt> ' \" < </ <x\ty='>'>");
        const int pages = suiteReport::Long() ? 200'000 : 3'000;
        QRandomGenerator random(suiteReport::Seed());
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
        }
        suiteReport::Report(u"fuzz (links of a page)"_s, u"%1 pages compared, 0 differences"_s.arg(pages));
    }

    /// What the guard lets through must not be much deeper than it thinks, whatever is opened and closed.
    void GuardSeesDepth()
    {
        const QList<QByteArray> openers = Pieces(
            "<div> <p> <a\thref=x> <table> <tr> <td> <svg> <foreignObject> <select> <option> <object> <li> <ul> "
            "<b\tid=#> <form> <button> <math> <mi> <span> <h1> <template> <marquee> <caption> <ruby> <rt> </a> </p> "
            "</form> <annotation-xml\tencoding=text/html> <frameset> <noscript> </table> <center> <nobr> <desc> "
            "<title> "
            "</title> </select> <dd>");
        QRandomGenerator random(suiteReport::Seed());
        const int rounds = suiteReport::Long() ? 20'000 : 400;
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
        suiteReport::Report(u"fuzz (depth of a page)"_s, u"%1 pages, the deepest %2"_s.arg(rounds).arg(deepest));
    }
};

QTEST_GUILESS_MAIN(tst_page_parser)
#include "tst_page_parser.moc"
