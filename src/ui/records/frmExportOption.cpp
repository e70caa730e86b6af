// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmExportOption.h"

#include "platform/modHelpTopics.h"
#include "ui/parts/modDialogParts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

frmExportOption::frmExportOption(QWidget* parent) : QDialog(parent)
{
    setObjectName(u"frmExportOption"_s);
    setWindowTitle(u"Export"_s);

    auto* options = new QVBoxLayout;
    options->addWidget(new QLabel(u"Select what active links you wish to export:"_s));
    const QStringList captions{u"Export all links"_s, u"Only those added since the last export"_s, u"User Canceled"_s};
    for (std::size_t i = 0; i < m_optExport.size(); ++i) {
        m_optExport[i] = new QRadioButton(captions.at(static_cast<qsizetype>(i)), this);
        m_optExport[i]->setObjectName(u"optExport_%1"_s.arg(i));
        if (i != UserCanceled)
            options->addWidget(m_optExport[i]);
    }
    m_optExport[UserCanceled]->hide();
    m_optExport[All]->setChecked(true);

    m_pageStyle = new QComboBox;
    m_pageStyle->setObjectName(u"PageStyle"_s);
    for (const modIO::PageStyleName& style : modIO::PageStyles())
        m_pageStyle->addItem(style.caption, static_cast<int>(style.style));
    auto* style = new QHBoxLayout;
    style->addWidget(modDialogParts::LabelFor(m_pageStyle, u"Page &style:"_s));
    style->addWidget(m_pageStyle, 1);

    using modDialogParts::AddButton;
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    QPushButton* ok = AddButton(*buttons, u"OK"_s, u"Command1_0"_s);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(AddButton(*buttons, u"&Cancel"_s, u"Command1_1"_s), &QPushButton::clicked, this, &QDialog::reject);
    modDialogParts::GiveHelp(*this, modHelpTopics::ExportLinks, AddButton(*buttons, u"&Help"_s, u"HelpButton"_s));

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(options);
    all->addLayout(style);
    all->addSpacing(4);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
    m_optExport[All]->setFocus();
}

std::optional<modIO::ExportOptions> frmExportOption::Ask(QWidget* parent)
{
    frmExportOption dialog(parent);
    dialog.exec();
    if (dialog.m_optExport[UserCanceled]->isChecked())
        return std::nullopt;
    return modIO::ExportOptions{.includeAll = dialog.m_optExport[All]->isChecked(),
                                .style = static_cast<modIO::PageStyle>(dialog.m_pageStyle->currentData().toInt())};
}

void frmExportOption::done(int result)
{
    // Closing the window, or the program's end, is no answer either.
    if (result != Accepted)
        m_optExport[UserCanceled]->setChecked(true);
    QDialog::done(result);
}
