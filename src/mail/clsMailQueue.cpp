// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailQueue.h"

#include "data/clsDAO.h"
#include "data/clsSiteRecord.h"
#include "data/modLinks.h"
#include "mail/modFieldTags.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::TextOf;

namespace
{
/// A site's own number, else the settings'.
int Own(const QVariant& value, int usual)
{
    return value.isNull() ? usual : std::max(0, value.toInt());
}
} // namespace

clsMailQueue::clsMailQueue(clsDatabase& database)
    : m_templates(database.OpenRecordset(u"tblMailMessages"_s)), m_tags(database.OpenRecordset(u"tblTagList"_s)),
      m_sites(database.OpenRecordset(u"tblSites"_s)), m_links(modLinks::Queued(database, u"qrySendEmail"_s))
{
}

clsMailQueue::~clsMailQueue() = default;

QString clsMailQueue::LinkText(const QString& field) const
{
    return TextOf(m_links->Field(field));
}

QString clsMailQueue::LoadSiteSettings(const QString& key)
{
    m_site = {};
    if (!m_sites->FindFirst(clsDAO::TextCriteria(u"SiteID"_s, key)))
        return {};
    const clsProgramSettings& settings = modBrambury::State().Settings;
    const auto text = [this](const QString& field) { return TextOf(m_sites->Field(field)); };
    const QVariant port = m_sites->Field(u"MailPort"_s);
    m_site = {.SiteID = text(u"SiteID"_s),
              .Email = text(u"Email"_s),
              .HostName = text(u"HostName"_s),
              .MailPort = port.isNull() ? clsSiteRecord::UsualMailPort : port.toInt(),
              .Sender = text(u"Sender"_s),
              .Pace = {.Gap = std::chrono::seconds(Own(m_sites->Field(u"MailGap"_s), settings.MailGap)),
                       .PerHour = Own(m_sites->Field(u"MailPerHour"_s), settings.MailPerHour),
                       .PerDay = Own(m_sites->Field(u"MailPerDay"_s), settings.MailPerDay)}};
    return m_site.SiteID;
}

qint64 clsMailQueue::GetTemplate() const
{
    const qint64 type = m_links->Field(u"Message"_s).toLongLong();
    return type < 1 || type > clsSiteRecord::MessageTypeCount
               ? 0
               : m_sites->Field(clsSiteRecord::TemplateField(static_cast<int>(type) - 1)).toLongLong();
}

clsMailQueue::Lack clsMailQueue::FindTemplate(Template& found) const
{
    found = {};
    const qint64 id = GetTemplate();
    if (id < 1)
        return Lack::Assignment;
    if (!m_templates->FindFirst(clsDAO::NumberCriteria(u"MessageID"_s, id)))
        return Lack::Template;
    const auto text = [this](const QString& field) { return TextOf(m_templates->Field(field)); };
    found = {text(u"Template"_s), text(u"Subject"_s), text(u"Body"_s), text(u"AttachedFile"_s)};
    if (found.Body.isEmpty())
        return Lack::Body;
    return LinkText(u"Email"_s).isEmpty() ? Lack::Address : Lack::Nothing;
}

QVariant clsMailQueue::GetFieldValue(const QString& table, const QString& field) const
{
    return modFieldTags::ValueOf(table == "tblSites"_L1 ? *m_sites : *m_links, field);
}

QString clsMailQueue::AddTags(QString& text, clsEventLoop& eventLoop, const std::function<bool()>& stopped) const
{
    return modFieldTags::AddTags(
        text, *m_tags, [this](const QString& table, const QString& field) { return GetFieldValue(table, field); },
        eventLoop, stopped);
}
