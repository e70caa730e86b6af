// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsQtPrinter.h"

#include "platform/clsError.h"
#include "platform/clsSettingsStore.h"
#include "platform/widgets/clsPagePainter.h"
#include "platform/widgets/clsPdfFile.h"
#include "platform/widgets/clsWidgetDialogs.h"
#include "platform/widgets/frmPrintPreview.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QLocale>
#include <QPageSetupDialog>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr double TwipsPerPoint = 20;
constexpr double PointsPerInch = 72;
/// In points; of a set-up that says nothing of margins. A whole number, to which the print dialog would round it: then
/// the paper has other pages than the preview.
constexpr double UsualMargin = 50;
/// What a set-up has to leave for the text, each way, in points.
constexpr double LeastRoom = 216;
constexpr double LargestPaper = 14400;

const QString Section = u"Print"_s;
const QString PrinterKey = u"Printer"_s;
const QString PaperWidth = u"PaperWidth"_s; ///< this and the following in points
const QString PaperHeight = u"PaperHeight"_s;
const QString Orientation = u"Orientation"_s;
const QString Landscape = u"Landscape"_s;
const QString MarginLeft = u"MarginLeft"_s;
const QString MarginTop = u"MarginTop"_s;
const QString MarginRight = u"MarginRight"_s;
const QString MarginBottom = u"MarginBottom"_s;

[[noreturn]] void fail(qint32 number, const QString& description)
{
    throw clsError(number, description, u"clsPrinter"_s);
}

/// The printer of this name, else the system's default one, else any it has.
QPrinterInfo printerToUse(const QString& name)
{
    for (const QPrinterInfo& info : {QPrinterInfo::printerInfo(name), QPrinterInfo::defaultPrinter()}) {
        if (!info.isNull())
            return info;
    }
    const QStringList names = QPrinterInfo::availablePrinterNames();
    return names.isEmpty() ? QPrinterInfo() : QPrinterInfo::printerInfo(names.first());
}

QPageSize usualPaper()
{
    const bool inches = QLocale::system().measurementSystem() == QLocale::ImperialUSSystem;
    return QPageSize(inches ? QPageSize::Letter : QPageSize::A4);
}

QPageLayout usualLayout(const QPageSize& paper)
{
    const QMarginsF margins(UsualMargin, UsualMargin, UsualMargin, UsualMargin);
    return QPageLayout(paper, QPageLayout::Portrait, margins, QPageLayout::Point);
}

/// The room for printers in the page dialog, which has none of its own.
QComboBox* addPrinters(QPageSetupDialog& dialog, const QString& current)
{
    auto* layout = qobject_cast<QBoxLayout*>(dialog.layout());
    const QStringList names = QPrinterInfo::availablePrinterNames();
    if (!layout || names.isEmpty())
        return nullptr;
    auto* printers = new QComboBox;
    printers->setObjectName(u"cboPrinter"_s);
    for (const QString& name : names)
        printers->addItem(QPrinterInfo::printerInfo(name).description(), name);
    printers->setCurrentIndex(static_cast<int>(names.indexOf(current)));
    auto* label = new QLabel(u"P&rinter:"_s);
    label->setBuddy(printers);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(printers, 1);
    layout->insertLayout(0, row);
    return printers;
}
} // namespace

clsQtPrinter::clsQtPrinter(clsSettingsStore* settings, std::function<QWidget*()> owner)
    : m_settings(settings), m_owner(std::move(owner))
{
}

clsQtPrinter::~clsQtPrinter()
{
    clsQtPrinter::CancelDoc();
}

void clsQtPrinter::StartDoc(const QString& title, int left, int top)
{
    CancelDoc(); // a document that an error left open
    std::unique_ptr<QPrinter> chosen = std::move(m_chosen);
    if (!m_shown && !m_outputFile.isEmpty())
        OpenPdf(m_outputFile, title, StoredLayout(usualLayout(usualPaper())));
    else if (!m_shown && chosen && chosen->outputFormat() == QPrinter::PdfFormat)
        OpenPdf(chosen->outputFileName(), title, chosen->pageLayout());
    else if (!m_shown)
        OpenPrinter(std::move(chosen), title);

    QPagedPaintDevice& device = m_shown ? *m_shown : *m_device;
    QPageLayout layout = device.pageLayout();
    QMarginsF margins = layout.margins(QPageLayout::Point);
    if (left != MarginOfSetUp)
        margins = QMarginsF(left / TwipsPerPoint, margins.top(), left / TwipsPerPoint, margins.bottom());
    if (top != MarginOfSetUp)
        margins = QMarginsF(margins.left(), top / TwipsPerPoint, margins.right(), top / TwipsPerPoint);
    layout.setMode(QPageLayout::FullPageMode);
    device.setPageLayout(layout);
    m_pages = std::make_unique<clsPagePainter>(device, margins * (device.logicalDpiY() / PointsPerInch),
                                               [this, &device] { NextPage(device); });
    if (m_pages->Begin())
        return;
    CancelDoc();
    fail(clsError::DeviceUnavailable, u"The printer does not answer."_s);
}

void clsQtPrinter::OpenPrinter(std::unique_ptr<QPrinter> chosen, const QString& title)
{
    std::unique_ptr<QPrinter> printer = chosen ? std::move(chosen) : SetUpPrinter();
    // A system that has no printer would quietly make a PDF file somewhere.
    if (printer->outputFormat() == QPrinter::PdfFormat)
        fail(clsError::DeviceUnavailable, u"There is no printer."_s);
    printer->setDocName(title);
    m_device = std::move(printer);
}

void clsQtPrinter::OpenPdf(const QString& path, const QString& title, const QPageLayout& layout)
{
    m_file = std::make_unique<clsPdfFile>(path);
    m_file->Open();
    auto writer = std::make_unique<QPdfWriter>(m_file.get());
    writer->setTitle(title);
    writer->setCreator(u"Brambury"_s);
    writer->setPageLayout(layout);
    m_device = std::move(writer);
}

void clsQtPrinter::NextPage(QPagedPaintDevice& device) const
{
    if (m_file)
        m_file->Check(); // no need to paint the rest
    if (!device.newPage())
        fail(clsError::DeviceIOError, u"The printer did not begin a new page."_s);
}

clsPagePainter& clsQtPrinter::Pages() const
{
    if (!m_pages)
        fail(clsError::ObjectNotSet, u"No document has been started on the printer."_s);
    return *m_pages;
}

void clsQtPrinter::SetFooter(const QString& text)
{
    Pages().SetFooter(text);
}

void clsQtPrinter::SetFont(const QString& family, double points, bool bold)
{
    Pages().SetFont(family, points, bold);
}

void clsQtPrinter::PrintLine(const QString& text)
{
    Pages().PrintLine(text);
}

void clsQtPrinter::PrintField(const QString& label, const QString& value)
{
    Pages().PrintField(label, value);
}

void clsQtPrinter::StartTable(const std::vector<Column>& columns)
{
    Pages().StartTable(columns);
}

void clsQtPrinter::PrintRow(const QStringList& cells)
{
    Pages().PrintRow(cells);
}

void clsQtPrinter::EndTable()
{
    Pages().EndTable();
}

void clsQtPrinter::RestartPages()
{
    Pages().RestartPages();
}

void clsQtPrinter::EndDoc()
{
    if (!m_pages)
        return;
    bool ended = m_pages->End();
    if (const auto* printer = dynamic_cast<const QPrinter*>(m_device.get()))
        ended = ended && printer->printerState() != QPrinter::Error;
    m_pages.reset();
    m_device.reset();
    const std::unique_ptr<clsPdfFile> file = std::move(m_file);
    if (file)
        file->Commit();
    if (!ended)
        fail(clsError::DeviceIOError, u"The document could not be printed to its end."_s);
}

void clsQtPrinter::CancelDoc() noexcept
{
    if (auto* printer = m_pages ? dynamic_cast<QPrinter*>(m_device.get()) : nullptr)
        printer->abort();
    m_pages.reset();
    m_device.reset();
    m_file.reset();
}

bool clsQtPrinter::Available() const
{
    return !m_outputFile.isEmpty() || !printerToUse({}).isNull();
}

bool clsQtPrinter::AskPrinter()
{
    if (!m_outputFile.isEmpty())
        return true;
    if (clsWidgetDialogs::Ending())
        return false;
    std::unique_ptr<QPrinter> printer = SetUpPrinter();
    QPrintDialog dialog(printer.get(), m_owner ? m_owner() : nullptr);
    for (const auto option : {QAbstractPrintDialog::PrintPageRange, QAbstractPrintDialog::PrintSelection,
                              QAbstractPrintDialog::PrintCurrentPage})
        dialog.setOption(option, false); // pages are printed as they are made: all of them
    if (dialog.exec() != QDialog::Accepted)
        return false;
    m_chosen = std::move(printer);
    return true;
}

clsPrinter::Choice clsQtPrinter::Preview(const std::function<bool()>& print)
{
    for (;;) {
        if (clsWidgetDialogs::Ending())
            return Choice::Close;
        // A new one each time: pages that are on the screen while others take their place could be painted no more.
        const std::unique_ptr<QPrinter> printer = SetUpPrinter();
        frmPrintPreview preview(*printer, m_owner ? m_owner() : nullptr);
        m_shown = printer.get();
        const bool made = preview.Make(print);
        m_shown = nullptr;
        if (!made || clsWidgetDialogs::Ending())
            return Choice::Close;
        preview.exec();
        switch (preview.Chosen()) {
        case frmPrintPreview::Choice::SetUp:
            SetUp();
            continue;
        case frmPrintPreview::Choice::Print:
            return Choice::Print;
        case frmPrintPreview::Choice::SavePdf:
            return Choice::SavePdf;
        case frmPrintPreview::Choice::Close:
            return Choice::Close;
        }
    }
}

void clsQtPrinter::SetUp()
{
    if (clsWidgetDialogs::Ending())
        return;
    const std::unique_ptr<QPrinter> printer = SetUpPrinter();
    QPageSetupDialog dialog(printer.get(), m_owner ? m_owner() : nullptr);
    const QComboBox* printers = addPrinters(dialog, printer->printerName());
    if (dialog.exec() != QDialog::Accepted || !m_settings)
        return;
    const QPageLayout layout = printer->pageLayout();
    const QMarginsF margins = layout.margins(QPageLayout::Point);
    const QSize paper = layout.pageSize().sizePoints();
    if (printers)
        m_settings->SaveSetting(Section, PrinterKey, printers->currentData().toString());
    m_settings->SaveSetting(Section, Orientation,
                            layout.orientation() == QPageLayout::Landscape ? Landscape : u"Portrait"_s);
    const std::pair<QString, double> numbers[]{{PaperWidth, paper.width()},    {PaperHeight, paper.height()},
                                               {MarginLeft, margins.left()},   {MarginTop, margins.top()},
                                               {MarginRight, margins.right()}, {MarginBottom, margins.bottom()}};
    for (const auto& [key, points] : numbers)
        m_settings->SaveSetting(Section, key, QString::number(points));
}

std::unique_ptr<QPrinter> clsQtPrinter::SetUpPrinter() const
{
    const QPrinterInfo info = printerToUse(m_settings ? m_settings->GetSetting(Section, PrinterKey) : QString());
    auto printer = info.isNull() ? std::make_unique<QPrinter>(QPrinter::HighResolution)
                                 : std::make_unique<QPrinter>(info, QPrinter::HighResolution);
    printer->setPageLayout(StoredLayout(usualLayout(info.isNull() ? usualPaper() : printer->pageLayout().pageSize())));
    return printer;
}

QPageLayout clsQtPrinter::StoredLayout(const QPageLayout& standard) const
{
    if (!m_settings)
        return standard;
    const auto points = [this](const QString& key, double usual, double least, double most) {
        bool number = false;
        const double value = m_settings->GetSetting(Section, key).toDouble(&number);
        return number && value >= least && value <= most ? value : usual;
    };
    const QSize usual = standard.pageSize().sizePoints();
    const QSizeF size(points(PaperWidth, usual.width(), LeastRoom, LargestPaper),
                      points(PaperHeight, usual.height(), LeastRoom, LargestPaper));
    const QPageSize paper(size, QPageSize::Point, QString(), QPageSize::FuzzyMatch);
    const bool landscape = m_settings->GetSetting(Section, Orientation) == Landscape;
    const QMarginsF margins(
        points(MarginLeft, UsualMargin, 0, LargestPaper), points(MarginTop, UsualMargin, 0, LargestPaper),
        points(MarginRight, UsualMargin, 0, LargestPaper), points(MarginBottom, UsualMargin, 0, LargestPaper));
    const QPageLayout layout(paper, landscape ? QPageLayout::Landscape : QPageLayout::Portrait, margins,
                             QPageLayout::Point);
    const QSizeF room = layout.paintRect(QPageLayout::Point).size();
    return room.width() >= LeastRoom && room.height() >= LeastRoom ? layout : standard;
}
