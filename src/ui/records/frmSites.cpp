// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmSites.h"

#include "data/clsSiteRecord.h"
#include "mail/clsMailTemplate.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "ui/mail/frmMailLogin.h"
#include "ui/parts/clsExplanation.h"
#include "ui/parts/clsPortBox.h"
#include "ui/parts/modTemplateList.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int SignatureLines = 3;
constexpr int HTMLLines = 3;

/// Of the buttons below the pages.
const QString ButtonLetters = u"onpcah"_s;
} // namespace

frmSites::frmSites(clsSiteRecord& site, clsDatabase& database, QWidget* parent)
    : clsRecordDialog(site, {u"frmSites"_s, u"Site Properties"_s, u"buttonSites"_s, modHelpTopics::SiteProperties},
                      parent),
      m_site(site)
{
    BuildGeneral();
    BuildTemplates(database);
    BuildRules();
    BuildHTML();
    Begin();
}

void frmSites::BuildGeneral()
{
    auto* page = new QVBoxLayout(AddPage(u"General"_s));
    auto* information = new QGroupBox(u"Site Information"_s);
    auto* grid = new QGridLayout(information);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(3, 1);
    AddRow(*grid, Line(u"txtSiteName"_s, u"SiteName"_s), u"&Site Title:"_s);
    AddRow(*grid, Line(u"txtSiteDescription"_s, u"SiteDescription"_s), u"Site &Description:"_s);
    AddAddressRow(*grid, Line(u"txtHomePage"_s, u"HomePage"_s), u"Home Page &URL:"_s, 0, u"Previe&w Home Page..."_s);
    AddAddressRow(*grid, Line(u"txtLinkPage"_s, u"LinkPage"_s), u"Lin&k Page URL:"_s, 1, u"Preview Link Page..."_s);

    int row = grid->rowCount();
    AddIPAddress(*grid, row, 0, u"&IP Address:"_s);
    AddField(*grid, Line(u"txtImageFile"_s, u"ImageFile"_s), u"Image &File Name:"_s, row++, 2);
    AddField(*grid, Line(u"txtFullName"_s, u"FullName"_s), u"We&bmaster's Name:"_s, row, 0);
    AddField(*grid, Line(u"txtEmail"_s, u"Email"_s), u"&E-Mail Address:"_s, row, 2);
    AddRow(*grid, Line(u"txtSender"_s, u"Sender"_s), u"E-&Mail Sender:"_s);

    row = grid->rowCount();
    auto* signature = TextBox(u"txtSignatureBlock"_s, u"SignatureBlock"_s, SignatureLines);
    grid->addWidget(LabelFor(signature, u"E-mail Si&gnature:"_s), row, 0, Qt::AlignTop);
    grid->addWidget(signature, row, 1, 1, 4);
    grid->setRowStretch(row++, 1);

    auto* host = Line(u"txtHostName"_s, u"HostName"_s);
    auto* mailPort = Port(u"txtMailPort"_s, u"MailPort"_s);
    auto* server = new QHBoxLayout;
    server->addWidget(host, 1);
    server->addWidget(LabelFor(mailPort, u"Por&t:"_s));
    server->addWidget(mailPort);
    server->addWidget(PageButton(u"&Log-in..."_s, u"buttonLogin"_s, [this] { EditLogin(); }));
    grid->addWidget(LabelFor(host, u"E-mail Ser&ver (SMTP):"_s), row, 0);
    grid->addLayout(server, row, 1, 1, 4);

    auto* http = new QGroupBox(u"HTTP Server"_s);
    auto* proxyRow = new QHBoxLayout(http);
    auto* proxy = Line(u"txtProxyServer"_s, u"ProxyServer"_s);
    auto* httpPort = Port(u"txtHTTPPort"_s, u"HTTPPort"_s);
    proxyRow->addWidget(LabelFor(proxy, u"Pro&xy Server:"_s));
    proxyRow->addWidget(proxy, 1);
    proxyRow->addWidget(LabelFor(httpPort, u"Po&rt:"_s));
    proxyRow->addWidget(httpPort);

    page->addWidget(information, 1);
    page->addWidget(http);
    page->addWidget(Legend());
}

void frmSites::EditLogin()
{
    if (frmMailLogin(m_site, this).exec() == Accepted)
        ShowRecord();
}

void frmSites::BuildTemplates(clsDatabase& database)
{
    auto* page = new QVBoxLayout(AddPage(u"E-Mail Assignments"_s));
    auto* assignments = new QGroupBox(u"E-Mail Template Assignments"_s);
    auto* grid = new QGridLayout(assignments);
    grid->setColumnStretch(1, 1);
    const clsMailTemplate templates(database);
    QString letters = ButtonLetters;
    int type = 0;
    for (const modBrambury::MessageType& messageType : modBrambury::State().MessageTypes) {
        QComboBox* list = List(u"cbMailTemplate_%1"_s.arg(type), clsSiteRecord::TemplateField(type));
        modTemplateList::Fill(*list, templates, static_cast<qint16>(type + 1), true);
        QLabel* label = LabelFor(list, WithMnemonic(messageType.Title, letters));
        label->setObjectName(u"Label2_%1"_s.arg(type));
        grid->addWidget(label, type, 0);
        grid->addWidget(list, type, 1);
        if (++type == clsSiteRecord::MessageTypeCount)
            break;
    }
    page->addWidget(assignments);
    page->addStretch(1);
}

void frmSites::BuildRules()
{
    auto* page = new QVBoxLayout(AddPage(u"Test Rules"_s));
    auto* rules = new QGroupBox(u"Test Rules"_s);
    auto* boxes = new QVBoxLayout(rules);
    boxes->addWidget(Check(u"&Test for my link on the Reciprocal site's link page."_s, u"chkTestRule_0"_s,
                           u"TestForMyLinkAtRecipSite"_s));
    boxes->addWidget(Check(u"Test for &Reciprocal site's link on my site's link page."_s, u"chkTestRule_1"_s,
                           u"TestForRecipLinkAtMySite"_s));
    boxes->addWidget(Check(u"Test for &my image on the Reciprocal site's link page."_s, u"chkTestRule2_0"_s,
                           u"TestForMyImageAtRecipSite"_s));
    boxes->addWidget(Check(u"Test for Reciprocal site's ima&ge on my site's link page."_s, u"chkTestRule2_1"_s,
                           u"TestForRecipImageAtMySite"_s));
    boxes->addWidget(PageButton(u"&Set Default"_s, u"Command1"_s,
                                [this] {
                                    m_site.SetDefaultRules();
                                    ShowRecord();
                                }),
                     0, Qt::AlignLeft);
    page->setSpacing(12);
    page->addWidget(new clsExplanation(
        u"You can test for the presence of your site's link and image on reciprocal sites and for the presence of "
        "their links and images on your site. The checkboxes below enable you to specify which tests should be "
        "performed. For example, you may wish to only search the reciprocal sites to make sure they are linked to your "
        "site, or you may wish to search your site to make sure you are linked to the reciprocal sites."_s));
    page->addWidget(
        new clsExplanation(u"The default rules are to test for the existence of links on both your site and the "
                           "reciprocal site, but not to check for graphical images."_s));
    page->addWidget(rules);
    page->addStretch(1);
}

void frmSites::BuildHTML()
{
    auto* page = new QVBoxLayout(AddPage(u"HTML"_s));
    auto* code = new QGroupBox(u"HTML Code"_s);
    auto* lines = new QVBoxLayout(code);
    const auto add = [&](QVBoxLayout& to, const QString& name, const QString& field, const QString& caption) {
        QPlainTextEdit* box = TextBox(name, field, HTMLLines);
        to.addWidget(LabelFor(box, caption));
        to.addWidget(box, 1);
    };
    add(*lines, u"txtLinkHTML"_s, u"LinkHTML"_s, u"&Text Link HTML:"_s);
    add(*lines, u"txtGraphicHTML"_s, u"GraphicHTML"_s, u"&Image Link HTML:"_s);
    lines->addWidget(new clsExplanation(
        u"This section can be used to pass special HTML code/tags to your recipients to ensure that your link is setup "
        "properly on their links page. It can be very useful when you are working with those who are not experienced "
        "in HTML scripting."_s));
    page->addWidget(code, 2);
    add(*page, u"txtSpecialText"_s, u"SpecialText"_s, u"&Special Instructions:"_s);
}
