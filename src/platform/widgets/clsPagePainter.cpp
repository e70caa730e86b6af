// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsPagePainter.h"

#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QTextLayout>
#include <algorithm>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr double PointsPerInch = 72;
/// Between two columns.
constexpr double ColumnGap = 8;
/// Between a line of a table and the text above and below it.
constexpr double RowGap = 2.5;
constexpr double RuleWidth = 0.5;
constexpr double FooterPoints = 8;
/// Between the text and the foot of the page.
constexpr double FooterGap = 8;
/// Of the width, for the labels of fields.
constexpr double LabelShare = 0.27;

const QColor HeadingRule(0x40, 0x40, 0x40);
const QColor RowRule(0xc8, 0xc8, 0xc8);
} // namespace

clsPagePainter::clsPagePainter(QPagedPaintDevice& device, const QMarginsF& margins, std::function<void()> newPage)
    : m_device(device), m_margins(margins), m_newPage(std::move(newPage)),
      m_paper(device.pageLayout().fullRectPixels(device.logicalDpiY()).size())
{
}

clsPagePainter::~clsPagePainter() = default;

bool clsPagePainter::Begin()
{
    return m_painter.begin(&m_device);
}

bool clsPagePainter::End()
{
    return m_painter.end();
}

void clsPagePainter::SetFont(const QString& family, double points, bool bold)
{
    m_font = QFont(family);
    m_font.setPointSizeF(points);
    m_font.setBold(bold);
}

void clsPagePainter::PrintLine(const QString& text)
{
    NeedPage();
    DrawBlock(BlockOf({{m_margins.left(), m_paper.width() - m_margins.left() - m_margins.right()}}, {text}, {m_font}));
}

void clsPagePainter::PrintField(const QString& label, const QString& value)
{
    NeedPage();
    const qreal width = m_paper.width() - m_margins.left() - m_margins.right();
    const qreal beside = width * LabelShare + Dots(ColumnGap);
    DrawBlock(BlockOf({{m_margins.left(), width * LabelShare}, {m_margins.left() + beside, width - beside}},
                      {label, value}, {Bold(), m_font}));
    m_next += Dots(RowGap);
}

void clsPagePainter::StartTable(const std::vector<clsPrinter::Column>& columns)
{
    const int shares = std::accumulate(columns.begin(), columns.end(), 0,
                                       [](int sum, const clsPrinter::Column& column) { return sum + column.share; });
    const qreal gap = Dots(ColumnGap);
    const qreal width = m_paper.width() - m_margins.left() - m_margins.right() -
                        gap * static_cast<qreal>(std::max<std::size_t>(columns.size(), 1) - 1);
    qreal x = m_margins.left();
    m_columns.clear();
    m_headings.clear();
    for (const clsPrinter::Column& column : columns) {
        m_columns.push_back({x, width * column.share / shares});
        m_headings << column.heading;
        x += m_columns.back().width + gap;
    }
    m_headingsDue = true;
}

void clsPagePainter::PrintRow(const QStringList& cells)
{
    NeedPage();
    const Block row = BlockOf(m_columns, cells, {m_font});
    qreal height = row.height + Dots(RowGap);
    if (m_headingsDue)
        height += BlockOf(m_columns, m_headings, {Bold()}).height + 2 * Dots(RowGap);
    // Broken between pages is only what would not fit on the next one either.
    if (m_next + height > m_bottom && height <= m_bottom - m_margins.top())
        NextPage();
    DrawHeadings();
    DrawBlock(row);
    DrawRule(RowRule);
}

void clsPagePainter::EndTable()
{
    NeedPage();
    DrawHeadings();
    m_columns.clear();
}

void clsPagePainter::RestartPages()
{
    if (m_blank)
        return;
    m_newPage();
    m_pageNumber = 0;
    m_blank = true;
}

qreal clsPagePainter::Dots(double points) const
{
    return points * m_device.logicalDpiY() / PointsPerInch;
}

QFont clsPagePainter::Bold() const
{
    QFont font = m_font;
    font.setBold(true);
    return font;
}

clsPagePainter::Block clsPagePainter::BlockOf(const std::vector<Place>& places, const QStringList& texts,
                                              const std::vector<QFont>& fonts) const
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    Block block;
    for (std::size_t i = 0; i < places.size(); ++i) {
        QString text = texts.value(static_cast<qsizetype>(i));
        text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n').replace(u'\n', QChar::LineSeparator);
        auto layout = std::make_unique<QTextLayout>(text, fonts[std::min(i, fonts.size() - 1)], &m_device);
        layout->setTextOption(option);
        layout->beginLayout();
        qreal height = 0;
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            line.setLineWidth(places[i].width);
            height += line.height();
        }
        layout->endLayout();
        block.cells.push_back(std::move(layout));
        block.x.push_back(places[i].x);
        block.height = std::max(block.height, height);
    }
    return block;
}

void clsPagePainter::DrawBlock(const Block& block)
{
    std::vector<int> drawn(block.cells.size(), 0);
    for (;;) {
        qreal lowest = m_next;
        bool more = false;
        for (std::size_t i = 0; i < block.cells.size(); ++i) {
            qreal y = m_next;
            for (; drawn[i] < block.cells[i]->lineCount(); ++drawn[i]) {
                const QTextLine line = block.cells[i]->lineAt(drawn[i]);
                // A page takes one line at least, however low it is.
                if (y + line.height() > m_bottom && y > m_first) {
                    more = true;
                    break;
                }
                line.draw(&m_painter, QPointF(block.x[i], y - line.y()));
                y += line.height();
            }
            lowest = std::max(lowest, y);
        }
        m_next = lowest;
        if (!more)
            return;
        NextPage();
        if (!m_columns.empty())
            DrawHeadings();
    }
}

void clsPagePainter::DrawHeadings()
{
    if (!std::exchange(m_headingsDue, false))
        return;
    DrawBlock(BlockOf(m_columns, m_headings, {Bold()}));
    DrawRule(HeadingRule);
    m_first = m_next;
}

void clsPagePainter::DrawRule(const QColor& colour)
{
    const qreal y = m_next + Dots(RowGap) / 2;
    m_painter.setPen(QPen(colour, Dots(RuleWidth)));
    m_painter.drawLine(QPointF(m_margins.left(), y), QPointF(m_paper.width() - m_margins.right(), y));
    m_painter.setPen(Qt::black);
    m_next += Dots(RowGap);
}

void clsPagePainter::DrawFooter()
{
    QFont font = m_font;
    font.setPointSizeF(FooterPoints);
    font.setBold(false);
    m_painter.setFont(font);
    const qreal height = QFontMetricsF(font, &m_device).height();
    const QRectF foot(m_margins.left(), m_paper.height() - m_margins.bottom() - height,
                      m_paper.width() - m_margins.left() - m_margins.right(), height);
    m_painter.drawText(foot, Qt::AlignLeft | Qt::AlignTop, m_footer);
    m_painter.drawText(foot, Qt::AlignRight | Qt::AlignTop, u"Page No: %1"_s.arg(m_pageNumber));
    m_bottom = foot.top() - Dots(FooterGap);
}

void clsPagePainter::NeedPage()
{
    if (!m_blank)
        return;
    m_blank = false;
    ++m_pageNumber;
    m_next = m_first = m_margins.top();
    m_bottom = m_paper.height() - m_margins.bottom();
    if (!m_footer.isEmpty())
        DrawFooter();
}

void clsPagePainter::NextPage()
{
    m_newPage();
    m_blank = true;
    NeedPage();
    m_headingsDue = !m_columns.empty();
}
