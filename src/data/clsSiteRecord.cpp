// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsSiteRecord.h"

#include "data/modSites.h"
#include "platform/clsDialogs.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsSiteRecord";

const QString MyLink = u"TestForMyLinkAtRecipSite"_s;
const QString MyImage = u"TestForMyImageAtRecipSite"_s;
const QString RecipLink = u"TestForRecipLinkAtMySite"_s;
const QString RecipImage = u"TestForRecipImageAtMySite"_s;

std::vector<clsRecordEditor::Field> SiteFields()
{
    using Kind = clsRecordEditor::Kind;
    std::vector<clsRecordEditor::Field> fields{{u"SiteName"_s, Kind::Text, u" Site Title"_s},
                                               {u"SiteDescription"_s, Kind::Text, {}},
                                               {u"HomePage"_s, Kind::Text, u" Home Page URL"_s},
                                               {u"LinkPage"_s, Kind::Text, {}},
                                               {u"IPAddress"_s, Kind::Text, {}},
                                               {u"ImageFile"_s, Kind::Text, {}},
                                               {u"FullName"_s, Kind::Text, {}},
                                               {u"Email"_s, Kind::Text, u" E-mail Address"_s},
                                               {u"Sender"_s, Kind::Text, {}},
                                               {u"SignatureBlock"_s, Kind::Text, {}},
                                               {u"HostName"_s, Kind::Text, u" E-mail Server (SMTP)"_s},
                                               {u"MailPort"_s, Kind::Port, u" SMTP Port"_s},
                                               {u"ProxyServer"_s, Kind::Text, {}},
                                               {u"HTTPPort"_s, Kind::Port, u" HTTP Port"_s}};
    for (int type = 0; type < clsSiteRecord::MessageTypeCount; ++type)
        fields.push_back({clsSiteRecord::TemplateField(type), Kind::Number, {}});
    for (const QString& rule : {MyLink, RecipLink, MyImage, RecipImage})
        fields.push_back({rule, Kind::Switch, {}});
    for (const QString& text : {u"LinkHTML"_s, u"GraphicHTML"_s, u"SpecialText"_s})
        fields.push_back({text, Kind::Text, {}});
    return fields;
}

QVariant PortOf(int number)
{
    return number > 0 ? QVariant(number) : QVariant();
}
} // namespace

clsSiteRecord::clsSiteRecord(clsDatabase& database) : clsRecordEditor(database, u"tblSites"_s, SiteFields()) {}

QString clsSiteRecord::TemplateField(int type)
{
    return u"EMessage%1"_s.arg(type + 1);
}

bool clsSiteRecord::Open(const QString& siteID)
{
    bool open = false;
    guarded(Module, "Open", [&] {
        auto sites = Database().OpenRecordset(u"tblSites"_s);
        if (modSites::Find(*sites, siteID))
            open = Begin(std::move(sites));
        else
            modCommonFunctions::MsgBox(MissingRecordText(), clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    });
    return open;
}

bool clsSiteRecord::OpenNew(const QString& siteID)
{
    bool open = false;
    guarded(Module, "OpenNew", [&] {
        const clsProgramSettings& settings = modBrambury::State().Settings;
        BeginNew(Database().OpenRecordset(u"tblSites"_s), {{u"FullName"_s, settings.DefaultWebMaster},
                                                           {u"Email"_s, settings.DefaultEmail},
                                                           {u"Sender"_s, settings.DefaultSender},
                                                           {u"SignatureBlock"_s, settings.DefaultSignatureBlock},
                                                           {u"HostName"_s, settings.DefaultHostName},
                                                           {u"MailPort"_s, PortOf(settings.DefaultMailPort)},
                                                           {u"ProxyServer"_s, settings.DefaultProxyServer},
                                                           {u"HTTPPort"_s, PortOf(settings.DefaultHTTPPort.toInt())},
                                                           {MyLink, 1},
                                                           {RecipLink, 1},
                                                           {MyImage, 0},
                                                           {RecipImage, 0}});
        m_siteID = siteID;
        open = true;
    });
    return open;
}

void clsSiteRecord::SetDefaultRules()
{
    SetValue(MyLink, 1);
    SetValue(RecipLink, 1);
    SetValue(MyImage, 0);
    SetValue(RecipImage, 0);
}

std::optional<clsRecordEditor::Refusal> clsSiteRecord::Check() const
{
    if (auto refusal = CheckEmail())
        return refusal;
    if (auto refusal = CheckAddress(u"HomePage"_s, u"Home Page"_s))
        return refusal;
    const bool hasLinkPage = !Text(u"LinkPage"_s).isEmpty();
    if (hasLinkPage) {
        if (auto refusal = CheckAddress(u"LinkPage"_s, u"Link Page"_s))
            return refusal;
    }
    if (Text(u"HostName"_s).contains(u'@'))
        return Refusal{u"The E-mail Server (SMTP Server) must contain a valid domain name.\r\n"
                       "Presently it contains what appears to be an e-mail address.\r\n"
                       "\r\n"
                       "The following are examples of valid domain names:\r\n"
                       "    mail.example.com\r\n"
                       "    smtp.example.com\r\n"
                       "    mail1.example.com"_s,
                       u"HostName"_s};
    if (auto refusal = CheckImageFile())
        return refusal;
    if (!On(MyLink) && !On(RecipLink) && !On(MyImage) && !On(RecipImage))
        return Refusal{u"You must select at least one test rule."_s, MyLink};
    if (On(RecipLink) && !hasLinkPage)
        return Refusal{u"Since you have chosen in the Test Rules to search for reciprocal links on your site,\r\n"
                       "you must specify an address to your site's link page."_s,
                       u"LinkPage"_s};
    return std::nullopt;
}

QHash<QString, QVariant> clsSiteRecord::OwnValues() const
{
    // The key of one that exists is not this editor's to change: another program may have renamed it meanwhile.
    if (!IsNew())
        return {};
    return {{u"SiteID"_s, m_siteID}};
}

void clsSiteRecord::Shown()
{
    modSites::Select(Records());
    m_siteID = modBrambury::State().CurrentSite;
}
