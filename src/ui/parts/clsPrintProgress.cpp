// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsPrintProgress.h"

#include "shell/modBrambury.h"
#include "ui/parts/modDialogParts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Steps = 1000;
constexpr int BarWidth = 320;
} // namespace

clsPrintProgress::clsPrintProgress(QWidget* parent) : QDialog(parent), m_bar(new QProgressBar)
{
    setObjectName(u"clsPrintProgress"_s);
    setWindowTitle(u"Printing"_s);
    setModal(true);

    m_bar->setRange(0, Steps);
    m_bar->setMinimumWidth(BarWidth);
    auto* label = new QLabel(u"The pages are being made..."_s);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    connect(modDialogParts::AddButton(*buttons, u"&Cancel"_s, u"cmdCancel"_s), &QPushButton::clicked, this,
            &QDialog::reject);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addWidget(label);
    all->addWidget(m_bar);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

bool clsPrintProgress::Show(double done)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    if (state.Terminating || state.SessionEnding)
        return false;
    m_bar->setValue(static_cast<int>(done * Steps));
    if (!m_shown) {
        m_shown = true;
        show();
    }
    // However it was closed, it was to give up.
    return isVisible();
}
