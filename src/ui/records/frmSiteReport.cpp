// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmSiteReport.h"

#include "data/modSites.h"
#include "platform/clsPrinter.h"
#include "platform/clsSettingsStore.h"
#include "platform/modHelpTopics.h"
#include "publish/modSiteReport.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/clsElidedLabel.h"
#include "ui/parts/clsPrintProgress.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modPrintJob.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;

namespace
{
const QString Section = u"Print"_s;
const QString PreviewKey = u"Preview"_s;
const QString FileName = u"Site Report.pdf"_s;
constexpr int SiteWidth = 280;
} // namespace

frmSiteReport::frmSiteReport(QWidget* parent) : QDialog(parent), m_chkPreview(new QCheckBox(u"Show pre&view first"_s))
{
    setObjectName(u"frmSiteReport"_s);
    setWindowTitle(u"Site Report"_s);

    auto* site = new clsElidedLabel(State().CurrentSite);
    site->setObjectName(u"lblCurrentSite"_s);
    QFont bold = site->font();
    bold.setBold(true);
    site->setFont(bold);
    site->setMinimumWidth(SiteWidth);
    auto* head = new QHBoxLayout;
    head->addWidget(new QLabel(u"Current Site:"_s));
    head->addWidget(site, 1);

    m_chkPreview->setObjectName(u"chkPreview"_s);
    m_chkPreview->setChecked(IsOn(Platform().Settings->GetSetting(Section, PreviewKey, u"Yes"_s)));

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    const QStringList captions{u"&Print Current Site"_s, u"Print &All Sites"_s, u"&Cancel"_s};
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(u"Command1_%1"_s.arg(i));
        button->setDefault(i == PrintCurrent);
        connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
        buttons->addWidget(button);
        if (i == PrintCurrent)
            button->setFocus();
    }
    modDialogParts::GiveHelp(*this, modHelpTopics::SiteReport);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(head);
    all->addWidget(m_chkPreview);
    all->addSpacing(4);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

void frmSiteReport::ButtonPressed(int index)
{
    guarded("frmSiteReport", "Command1_Click", [&] {
        switch (index) {
        case PrintCurrent:
            if (modSiteReport::Find(*State().Database, State().CurrentSite))
                Print({State().CurrentSite});
            return;
        case PrintAll:
            return Print(modSites::Names(*State().Database));
        default:
            return reject();
        }
    });
}

void frmSiteReport::Print(const QStringList& siteIDs)
{
    const bool preview = m_chkPreview->isChecked();
    Platform().Settings->SaveSetting(Section, PreviewKey, preview ? u"Yes"_s : u"No"_s);
    const modPrintJob::Job job = [this, &siteIDs] {
        bool printed = false;
        guarded("modSiteReport", "Print", [&] {
            clsPrintProgress window(this);
            printed = modSiteReport::Print(*State().Database, *Platform().Printer, siteIDs, [&](double done) {
                          return window.Show(done);
                      }) == modSiteReport::Outcome::Printed;
        });
        return printed;
    };
    const clsPrinter::Choice choice = preview ? Platform().Printer->Preview(job) : clsPrinter::Choice::Print;
    if (choice == clsPrinter::Choice::Close)
        return;
    if (choice == clsPrinter::Choice::SavePdf ? modPrintJob::IntoPdf(job, FileName)
                                              : modPrintJob::OnPaper(job, u"the report"_s, FileName))
        accept();
}
