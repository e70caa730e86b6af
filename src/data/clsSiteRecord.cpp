// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsSiteRecord.h"

#include "data/modMailSecurity.h"
#include "data/modSites.h"
#include "platform/modSecrets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsSiteRecord";

const QString MyLink = u"TestForMyLinkAtRecipSite"_s;
const QString MyImage = u"TestForMyImageAtRecipSite"_s;
const QString RecipLink = u"TestForRecipLinkAtMySite"_s;
const QString RecipImage = u"TestForRecipImageAtMySite"_s;

const QString MailSecurity = u"MailSecurity"_s;
const QString MailKey = u"MailKey"_s;

QStringList PaceFields()
{
    return {u"MailGap"_s, u"MailPerHour"_s, u"MailPerDay"_s};
}

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
                                               {MailSecurity, Kind::Text, {}},
                                               {u"MailUser"_s, Kind::Text, {}},
                                               {u"MailTokenCommand"_s, Kind::Text, {}},
                                               {u"ProxyServer"_s, Kind::Text, {}},
                                               {u"HTTPPort"_s, Kind::Port, u" HTTP Port"_s}};
    for (const QString& pace : PaceFields())
        fields.push_back({pace, Kind::Number, {}});
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

clsSiteRecord::~clsSiteRecord()
{
    DropSecret();
}

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
            TellMissing();
    });
    return open;
}

bool clsSiteRecord::OpenNew(const QString& siteID)
{
    bool open = false;
    guarded(Module, "OpenNew", [&] {
        DropSecret();
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
    if (auto refusal = CheckAddresses())
        return refusal;
    if (Text(u"HostName"_s).contains(u'@'))
        return Refusal{u"The E-mail Server (SMTP Server) must contain a valid domain name.\r\n"
                       "Presently it contains what appears to be an e-mail address.\r\n"
                       "\r\n"
                       "The following are examples of valid domain names:\r\n"
                       "    mail.example.com\r\n"
                       "    smtp.example.com\r\n"
                       "    mail1.example.com"_s,
                       u"HostName"_s};
    if (auto refusal = CheckMail())
        return refusal;
    if (auto refusal = CheckImageFile())
        return refusal;
    if (!On(MyLink) && !On(RecipLink) && !On(MyImage) && !On(RecipImage))
        return Refusal{u"You must select at least one test rule."_s, MyLink};
    if (On(RecipLink) && Text(u"LinkPage"_s).isEmpty())
        return Refusal{u"Since you have chosen in the Test Rules to search for reciprocal links on your site,\r\n"
                       "you must specify an address to your site's link page."_s,
                       u"LinkPage"_s};
    return std::nullopt;
}

QHash<QString, QVariant> clsSiteRecord::OwnValues() const
{
    // The key of one that exists is not this editor's to change: another program may have renamed it meanwhile.
    if (!IsNew())
        return {{MailKey, Value(MailKey)}};
    return {{u"SiteID"_s, m_siteID}, {MailKey, Value(MailKey)}};
}

std::optional<clsRecordEditor::Refusal> clsSiteRecord::CheckMail() const
{
    const QString security = Text(MailSecurity);
    if (!modMailSecurity::Of(security))
        return Refusal{u"MailSecurity is none, starttls or tls, which \"%1\" is not."_s.arg(security), MailSecurity};
    const QString user = Text(u"MailUser"_s);
    if (std::any_of(user.cbegin(), user.cend(), [](QChar letter) { return letter.category() == QChar::Other_Control; }))
        return Refusal{u"The user name of the mail server contains a character that no name can hold."_s,
                       u"MailUser"_s};
    for (const QString& field : PaceFields()) {
        if (Value(field).toLongLong() < 0)
            return Refusal{field + u" cannot be negative."_s, field};
    }
    return std::nullopt;
}

modMailSecrets::Place clsSiteRecord::MailSecretPlace() const
{
    return m_secret ? m_secret->place : modMailSecrets::PlaceOf(Text(MailKey));
}

std::optional<QByteArray> clsSiteRecord::MailSecret() const
{
    if (!m_secret)
        return modMailSecrets::Read(Database(), Text(MailKey));
    if (m_secret->place == modMailSecrets::Place::Nowhere)
        return std::nullopt;
    return m_secret->bytes;
}

void clsSiteRecord::SetMailSecret(modMailSecrets::Place place, const QByteArray& secret)
{
    DropSecret();
    m_secret = Secret{place, secret};
    SetValue(MailKey, Value(MailKey)); // the record has changed
}

void clsSiteRecord::ForgetMailSecret()
{
    SetMailSecret(modMailSecrets::Place::Nowhere, {});
}

void clsSiteRecord::DropSecret()
{
    if (m_secret)
        modSecrets::Wipe(m_secret->bytes);
    m_secret.reset();
}

std::optional<clsRecordEditor::Refusal> clsSiteRecord::Prepare()
{
    m_keyBefore = Text(MailKey);
    if (!m_secret)
        return std::nullopt;
    QString key;
    if (m_secret->place != modMailSecrets::Place::Nowhere) {
        const bool stays = modMailSecrets::PlaceOf(m_keyBefore) == m_secret->place;
        key = stays ? m_keyBefore : modMailSecrets::NewKey(m_secret->place);
        if (const auto failure = failureOf([&] { modMailSecrets::Write(Database(), key, m_secret->bytes); }))
            return Refusal{u"The password of the mail server could not be kept, and nothing was saved: %1\r\n"
                           "Choose another place for it."_s.arg(failure->Description()),
                           u"HostName"_s};
    }
    SetValue(MailKey, key.isEmpty() ? QVariant() : QVariant(key));
    return std::nullopt;
}

void clsSiteRecord::Ended(bool written)
{
    const QString key = Text(MailKey);
    const QString unused = written ? m_keyBefore : key;
    if (!written)
        SetValue(MailKey, m_keyBefore.isEmpty() ? QVariant() : QVariant(m_keyBefore));
    // One that cannot be removed is found by nobody.
    if (key != m_keyBefore)
        ignoringErrors([&] { modMailSecrets::Remove(Database(), unused); });
}

void clsSiteRecord::Shown()
{
    DropSecret();
    modSites::Select(Records());
    m_siteID = modBrambury::State().CurrentSite;
}
