// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/frmExportOption.h"

#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
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
    auto* styleLabel = new QLabel(u"Page &style:"_s);
    styleLabel->setBuddy(m_pageStyle);
    auto* style = new QHBoxLayout;
    style->addWidget(styleLabel);
    style->addWidget(m_pageStyle, 1);

    auto* ok = new QPushButton(u"OK"_s);
    ok->setObjectName(u"Command1_0"_s);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    auto* cancel = new QPushButton(u"&Cancel"_s);
    cancel->setObjectName(u"Command1_1"_s);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* help = new QPushButton(u"&Help"_s);
    help->setObjectName(u"HelpButton"_s);
    const auto showHelp = [] {
        guarded("frmExportOption", "HelpButton_Click",
                [] { modBrambury::Platform().Windows->ShowHelp(modHelpTopics::ExportLinks); });
    };
    connect(help, &QPushButton::clicked, this, showHelp);
    connect(new QShortcut(QKeySequence::HelpContents, this), &QShortcut::activated, this, showHelp);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton* button : {ok, cancel, help})
        buttons->addWidget(button);

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
