// SPDX-License-Identifier: GPL-3.0-or-later
// Text on the default printer or in a PDF file.
#pragma once

#include "platform/clsPrinter.h"

#include <QFont>
#include <memory>

class QPainter;
class QPrinter;

/// Lines that are wider than the paper go on in the next line, so that nothing is lost at its edge.
class clsQtPrinter final : public clsPrinter
{
public:
    clsQtPrinter();
    ~clsQtPrinter() override;

    void StartDoc(const QString& title, int left, int top) override;
    void SetFont(const QString& family, double points, bool bold) override;
    void PrintLine(const QString& text) override;
    void EndDoc() override;
    void SetOutputFile(const QString& path) override { m_outputFile = path; }

private:
    [[nodiscard]] qreal Dots(int twips) const;
    void Abandon();

    QString m_outputFile;
    std::unique_ptr<QPrinter> m_printer;
    std::unique_ptr<QPainter> m_painter; ///< paints on m_printer, so it goes first
    QFont m_font;
    qreal m_left = 0; ///< in the printer's dots from the paper's edge, as the next two
    qreal m_top = 0;  ///< also kept free at the bottom
    qreal m_next = 0; ///< where the next line begins
};
