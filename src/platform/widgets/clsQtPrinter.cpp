// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsQtPrinter.h"

#include "platform/clsError.h"

#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QTextLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int twipsPerInch = 1440;

[[noreturn]] void fail(qint32 number, const QString& description)
{
    throw clsError(number, description, u"clsPrinter"_s);
}

/// The system's default printer, else any it has.
QPrinterInfo printerToUse()
{
    const QPrinterInfo standard = QPrinterInfo::defaultPrinter();
    if (!standard.isNull())
        return standard;
    const QStringList names = QPrinterInfo::availablePrinterNames();
    return names.isEmpty() ? QPrinterInfo() : QPrinterInfo::printerInfo(names.first());
}
} // namespace

clsQtPrinter::clsQtPrinter() = default;

clsQtPrinter::~clsQtPrinter()
{
    Abandon();
}

void clsQtPrinter::StartDoc(const QString& title, int left, int top)
{
    Abandon(); // a document that an error left open
    if (m_outputFile.isEmpty()) {
        // Without this look a system that has no printer would quietly get a PDF file somewhere.
        const QPrinterInfo info = printerToUse();
        if (info.isNull())
            fail(clsError::DeviceUnavailable, u"There is no printer."_s);
        m_printer = std::make_unique<QPrinter>(info, QPrinter::HighResolution);
    } else {
        m_printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
        m_printer->setOutputFormat(QPrinter::PdfFormat);
        m_printer->setOutputFileName(m_outputFile);
    }
    m_printer->setDocName(title);
    m_printer->setFullPage(true);
    m_painter = std::make_unique<QPainter>();
    if (!m_painter->begin(m_printer.get())) {
        Abandon();
        if (m_outputFile.isEmpty())
            fail(clsError::DeviceUnavailable, u"The printer does not answer."_s);
        fail(clsError::DeviceIOError, u"The file %1 could not be written."_s.arg(m_outputFile));
    }
    m_left = Dots(left);
    m_top = Dots(top);
    m_next = m_top;
}

void clsQtPrinter::SetFont(const QString& family, double points, bool bold)
{
    m_font = QFont(family);
    m_font.setPointSizeF(points);
    m_font.setBold(bold);
}

void clsQtPrinter::PrintLine(const QString& text)
{
    if (!m_painter)
        fail(clsError::ObjectNotSet, u"No document has been started on the printer."_s);
    const QRectF paper = m_printer->paperRect(QPrinter::DevicePixel);
    QTextLayout layout(text, m_font, m_printer.get());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine())
        line.setLineWidth(paper.width() - 2 * m_left);
    layout.endLayout();
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        if (m_next + line.height() > paper.height() - m_top) {
            if (!m_printer->newPage())
                fail(clsError::DeviceIOError, u"The printer did not begin a new page."_s);
            m_next = m_top;
        }
        line.draw(m_painter.get(), QPointF(m_left, m_next - line.y()));
        m_next += line.height();
    }
}

void clsQtPrinter::EndDoc()
{
    if (!m_painter)
        return;
    const bool ended = m_painter->end() && m_printer->printerState() != QPrinter::Error;
    m_painter.reset();
    m_printer.reset();
    if (!ended)
        fail(clsError::DeviceIOError, u"The document could not be printed to its end."_s);
}

qreal clsQtPrinter::Dots(int twips) const
{
    return static_cast<qreal>(twips) * m_printer->resolution() / twipsPerInch;
}

void clsQtPrinter::Abandon()
{
    if (m_painter && m_painter->isActive()) {
        m_printer->abort();
        m_painter->end();
    }
    m_painter.reset();
    m_printer.reset();
}
