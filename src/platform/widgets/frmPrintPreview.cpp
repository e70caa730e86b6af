// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/frmPrintPreview.h"

#include <QAction>
#include <QLabel>
#include <QPrintPreviewWidget>
#include <QScreen>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr QSize UsualSize(860, 900);
} // namespace

frmPrintPreview::frmPrintPreview(QPrinter& printer, QWidget* parent)
    : QDialog(parent, Qt::Window), m_preview(new QPrintPreviewWidget(&printer)), m_bar(new QToolBar),
      m_place(new QLabel)
{
    setObjectName(u"frmPrintPreview"_s);
    setWindowTitle(u"Print Preview"_s);
    resize(UsualSize.boundedTo(screen()->availableSize() * 0.9));

    m_bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    AddCommand("Print", u"&Print..."_s, QKeySequence::Print, [this] { Choose(Choice::Print); });
    AddCommand("SavePdf", u"&Save as PDF..."_s, QKeySequence::Save, [this] { Choose(Choice::SavePdf); });
    AddCommand("SetUp", u"Set &Up..."_s, {}, [this] { Choose(Choice::SetUp); });
    m_bar->addSeparator();
    AddCommand("Previous", u"&Back"_s, QKeySequence::MoveToPreviousPage, [this] { Turn(-1); });
    m_place->setObjectName(u"lblPage"_s);
    m_bar->addWidget(m_place);
    AddCommand("Next", u"&Next"_s, QKeySequence::MoveToNextPage, [this] { Turn(1); });
    m_bar->addSeparator();
    AddCommand("ZoomIn", u"Zoom &In"_s, QKeySequence::ZoomIn, [this] { m_preview->zoomIn(); });
    AddCommand("ZoomOut", u"Zoom &Out"_s, QKeySequence::ZoomOut, [this] { m_preview->zoomOut(); });
    AddCommand("FitWidth", u"Fit &Width"_s, {}, [this] { m_preview->fitToWidth(); });
    AddCommand("FitPage", u"&Fit Page"_s, {}, [this] { m_preview->fitInView(); });
    m_bar->addSeparator();
    AddCommand("Close", u"&Close"_s, QKeySequence::Close, [this] { Choose(Choice::Close); });

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins({});
    all->setSpacing(0);
    all->addWidget(m_bar);
    all->addWidget(m_preview, 1);
    m_preview->setAccessibleName(u"Pages"_s);
    connect(m_preview, &QPrintPreviewWidget::previewChanged, this, [this] { Turn(0); });
    m_preview->fitToWidth();
}

void frmPrintPreview::AddCommand(const char* name, const QString& text, const QKeySequence& key,
                                 const std::function<void()>& run)
{
    QAction* action = m_bar->addAction(text, this, run);
    action->setObjectName(QLatin1String(name));
    // With its key: a tool button would show the text without.
    action->setIconText(text);
    action->setShortcut(key);
    m_bar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
}

bool frmPrintPreview::Make(const std::function<bool()>& print)
{
    bool made = false;
    const auto painting = connect(m_preview, &QPrintPreviewWidget::paintRequested, this, [&] { made = print(); });
    m_preview->updatePreview();
    disconnect(painting);
    return made;
}

void frmPrintPreview::Choose(Choice choice)
{
    m_choice = choice;
    choice == Choice::Close ? reject() : accept();
}

void frmPrintPreview::Turn(int pages)
{
    const int page = m_preview->currentPage() + pages;
    const int count = m_preview->pageCount();
    if (pages != 0 && page >= 1 && page <= count)
        m_preview->setCurrentPage(page);
    m_place->setText(u" Page %1 of %2 "_s.arg(m_preview->currentPage()).arg(count));
}
