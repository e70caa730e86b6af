// SPDX-License-Identifier: GPL-3.0-or-later
// Where text stands on pages: lines, fields and tables with their page breaks, and the foot of each page. It knows
// nothing of where the pages go.
#pragma once

#include "platform/clsPrinter.h"

#include <QFont>
#include <QPainter>
#include <functional>
#include <memory>
#include <vector>

class QPagedPaintDevice;
class QTextLayout;

/// Paints one document, page by page, and keeps none of it. The words mean what they mean in clsPrinter.
class clsPagePainter
{
public:
    /// @param device   on its full paper.  @param margins  in its dots.
    /// @param newPage  has the device begin one; raises clsError when it cannot.
    clsPagePainter(QPagedPaintDevice& device, const QMarginsF& margins, std::function<void()> newPage);
    ~clsPagePainter();
    clsPagePainter(const clsPagePainter&) = delete;
    clsPagePainter& operator=(const clsPagePainter&) = delete;

    /// @return false when the device cannot be painted on.
    [[nodiscard]] bool Begin();
    /// @return false when something got lost.
    [[nodiscard]] bool End();

    void SetFooter(const QString& text) { m_footer = text; }
    void SetFont(const QString& family, double points, bool bold);
    void PrintLine(const QString& text);
    void PrintField(const QString& label, const QString& value);
    void StartTable(const std::vector<clsPrinter::Column>& columns);
    void PrintRow(const QStringList& cells);
    void EndTable();
    void RestartPages();

private:
    /// A part of the width, in dots from the paper's left edge.
    struct Place
    {
        qreal x;
        qreal width;
    };
    /// Texts side by side, broken into lines.
    struct Block
    {
        std::vector<std::unique_ptr<QTextLayout>> cells;
        std::vector<qreal> x;
        qreal height = 0; ///< of the highest
    };

    [[nodiscard]] qreal Dots(double points) const;
    [[nodiscard]] Block BlockOf(const std::vector<Place>& places, const QStringList& texts,
                                const std::vector<QFont>& fonts) const;
    [[nodiscard]] QFont Bold() const;
    void DrawBlock(const Block& block);
    void DrawHeadings();
    void DrawRule(const QColor& colour);
    void DrawFooter();
    /// The page that is painted on has been begun.
    void NeedPage();
    void NextPage();

    QPagedPaintDevice& m_device;
    QMarginsF m_margins;
    std::function<void()> m_newPage;
    QSizeF m_paper; ///< in dots, as all lengths here
    QPainter m_painter;
    QFont m_font;
    QString m_footer;
    int m_pageNumber = 0;
    bool m_blank = true; ///< the device's page has nothing on it
    qreal m_next = 0;    ///< where the next line begins
    qreal m_first = 0;   ///< where the first line of this page does, below the table's headings
    qreal m_bottom = 0;  ///< where the lines of this page have to end

    std::vector<Place> m_columns; ///< of the table; empty outside one
    QStringList m_headings;
    bool m_headingsDue = false;
};
