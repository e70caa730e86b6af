// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modMailCheck.h"

#include "mail/clsMailQueue.h"
#include "mail/clsSendLedger.h"
#include "mail/modFieldTags.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Longer texts in brackets are no tag that somebody has mistyped.
constexpr int LongestTag = 50;

struct Tag
{
    QString Name;
    QString Table;
    QString Field;
};

/// The check of one queue.
class clsCheck
{
public:
    clsCheck(clsDatabase& database, const clsPlatform& platform) : m_platform(platform), m_queue(database)
    {
        const clsRecordset& tags = m_queue.Tags();
        for (const auto& row : tags.Rows(0, tags.RecordCount(), {u"FieldTag"_s, u"TableMap"_s, u"FieldMap"_s})) {
            if (!row.empty() && !row[0].toString().isEmpty())
                m_tags.push_back({row[0].toString(), row[1].toString(), row[2].toString()});
        }
        for (const auto& doubt : clsSendLedger(database, *platform.Disk).InDoubt())
            m_doubts.insert(doubt.LinkID);
    }

    modMailCheck::Report Run(const std::function<bool(qint64, qint64)>& progress);

private:
    void CheckMessage();
    void CheckSite();
    bool CheckTemplate(clsMailQueue::Lack lack);
    void CheckUnknownTags();
    void CheckAttachment();
    void CheckAddress(const QString& partner);
    void CheckTags(const QString& partner, QString text);
    QVariant Value(const QString& partner, const QString& table, const QString& field);

    void Tell(const QString& where, const QString& what) { m_report.Findings.push_back({where, what}); }
    void TellOnce(const QString& where, const QString& what)
    {
        if (const QString key = where + u'\n' + what; !m_told.contains(key)) {
            m_told.insert(key);
            Tell(where, what);
        }
    }
    [[nodiscard]] QString SiteName() const { return u"Site "_s + m_queue.Site().SiteID; }
    [[nodiscard]] QString TemplateName() const
    {
        return u"Template "_s + m_template.Name + u" of message type "_s + m_queue.LinkText(u"Message"_s);
    }

    const clsPlatform& m_platform;
    clsMailQueue m_queue;
    std::vector<Tag> m_tags;
    QSet<qint64> m_doubts; ///< links whose last message is in doubt
    modMailCheck::Report m_report;
    QSet<QString> m_told;
    QHash<QString, QString> m_partners; ///< by address
    clsMailQueue::Template m_template;
};

modMailCheck::Report clsCheck::Run(const std::function<bool(qint64, qint64)>& progress)
{
    clsRecordset& links = m_queue.Links();
    const qint64 total = links.RecordCount();
    std::optional<QString> lastSite;
    for (; !links.AfterLast(); links.MoveNext()) {
        const QString key = m_queue.LinkText(u"SiteName"_s);
        const bool known =
            lastSite == key ? !m_queue.Site().SiteID.isEmpty() : !m_queue.LoadSiteSettings(key).isEmpty();
        lastSite = key;
        if (known)
            CheckMessage();
        else
            TellOnce(u"Site "_s + key, u"There is no such site; the run ends at its first link."_s);
        ++m_report.Messages;
        if (progress && !progress(m_report.Messages, total)) {
            m_report.Stopped = true;
            break;
        }
    }
    return m_report;
}

void clsCheck::CheckMessage()
{
    const QString title = m_queue.LinkText(u"Title"_s);
    const QString partner = title.isEmpty() ? u"Link %1"_s.arg(m_queue.Links().Bookmark()) : title;
    CheckSite();
    const auto lack = m_queue.FindTemplate(m_template);
    if (m_doubts.contains(m_queue.Links().Bookmark()))
        Tell(partner, u"It is in doubt whether the last message has arrived."_s);
    if (!CheckTemplate(lack))
        return;
    CheckAddress(partner);
    CheckAttachment();
    CheckUnknownTags();
    CheckTags(partner, m_template.Subject);
    CheckTags(partner, m_template.Body);
}

void clsCheck::CheckSite()
{
    const clsMailQueue::SiteSettings& site = m_queue.Site();
    if (site.Sender.isEmpty())
        TellOnce(SiteName(), u"The sender's name is missing."_s);
    if (!modMailCheck::IsAddress(site.Email))
        TellOnce(SiteName(), site.Email.isEmpty() ? u"The sender's e-mail address is missing."_s
                                                  : u"The sender's e-mail address is malformed: "_s + site.Email);
    if (site.HostName.isEmpty())
        TellOnce(SiteName(), u"The mail server is missing."_s);
    if (site.MailPort == 0)
        TellOnce(SiteName(), u"The mail server's port is missing."_s);
}

/// @return whether there is something to be sent.
bool clsCheck::CheckTemplate(clsMailQueue::Lack lack)
{
    const QString type = m_queue.LinkText(u"Message"_s);
    switch (lack) {
    case clsMailQueue::Lack::Nothing:
    case clsMailQueue::Lack::Address:
        return true;
    case clsMailQueue::Lack::Assignment:
        TellOnce(SiteName(), type.isEmpty() ? u"There are queued links without a message type."_s
                                            : u"No template is assigned to message type %1."_s.arg(type));
        return false;
    case clsMailQueue::Lack::Template:
        TellOnce(SiteName(), u"The template assigned to message type %1 does not exist any more."_s.arg(type));
        return false;
    case clsMailQueue::Lack::Body:
        TellOnce(TemplateName(), u"The text is empty."_s);
        return false;
    }
    return false;
}

void clsCheck::CheckAddress(const QString& partner)
{
    const QString address = m_queue.LinkText(u"Email"_s);
    if (address.isEmpty())
        return Tell(partner, u"The e-mail address is missing."_s);
    if (!modMailCheck::IsAddress(address))
        return Tell(partner, u"The e-mail address is malformed: "_s + address);
    QString& first = m_partners[address.toLower()];
    if (first.isEmpty())
        first = partner;
    else
        Tell(partner, u"The message goes to the same address as that for %1: %2"_s.arg(first, address));
}

void clsCheck::CheckAttachment()
{
    const QString path = m_template.AttachedFile;
    if (path.isEmpty() || m_told.contains(path))
        return;
    m_told.insert(path);
    if (!m_platform.Disk->FileExists(path))
        Tell(TemplateName(), u"The attached file is missing; messages go out without it: "_s + path);
    else if (const auto failure = failureOf([&] { static_cast<void>(m_platform.Disk->ReadFile(path)); }))
        Tell(TemplateName(), u"The attached file cannot be read: %1 (%2)"_s.arg(path, failure->Description()));
}

/// Texts that look like the tags of the list, and are none of them.
void clsCheck::CheckUnknownTags()
{
    const QString key = u"tags of "_s + TemplateName();
    if (m_told.contains(key))
        return;
    m_told.insert(key);
    QSet<QString> known;
    QSet<QString> shapes;
    for (const Tag& tag : m_tags) {
        known.insert(tag.Name.toLower());
        const QChar first = tag.Name.front();
        const QChar last = tag.Name.back();
        if (tag.Name.size() > 2 && !first.isLetterOrNumber() && !last.isLetterOrNumber())
            shapes.insert(QString(first) + last);
    }
    for (const QString& shape : std::as_const(shapes)) {
        const QString first = QRegularExpression::escape(shape.first(1));
        const QString last = QRegularExpression::escape(shape.last(1));
        const QRegularExpression form(u"%1[^%1%2\\r\\n]{1,%3}%2"_s.arg(first, last).arg(LongestTag));
        for (const QString* text : {&m_template.Subject, &m_template.Body}) {
            for (auto match = form.globalMatch(*text); match.hasNext();) {
                const QString found = match.next().captured();
                if (!known.contains(found.toLower()))
                    TellOnce(TemplateName(), found + u" is no field tag; it is sent as it stands."_s);
            }
        }
    }
}

void clsCheck::CheckTags(const QString& partner, QString text)
{
    const auto failure = failureOf([&] {
        modFieldTags::AddTags(
            text, m_queue.Tags(),
            [&](const QString& table, const QString& field) { return Value(partner, table, field); },
            *m_platform.EventLoop, [] { return false; });
    });
    if (failure)
        Tell(partner, failure->Description());
}

/// The value of a tag, looked at. One that holds its own tag is left out: it would never come to an end.
QVariant clsCheck::Value(const QString& partner, const QString& table, const QString& field)
{
    const bool ofSite = table == "tblSites"_L1;
    const QString where = ofSite ? SiteName() : partner;
    const auto tag = std::find_if(m_tags.cbegin(), m_tags.cend(),
                                  [&](const Tag& entry) { return entry.Table == table && entry.Field == field; });
    const QString name = tag == m_tags.cend() ? field : tag->Name; // the tags may be edited meanwhile
    QString value;
    if (const auto failure = failureOf([&] { value = modFieldTags::TextOf(m_queue.GetFieldValue(table, field)); })) {
        if (failure->Number() != clsError::UnknownItem)
            throw clsError(*failure);
        TellOnce(u"Field tag "_s + name, u"It stands for the field %1, which does not exist."_s.arg(field));
        return {};
    }
    if (value.isEmpty())
        TellOnce(where, u"The field tag %1 is empty."_s.arg(name));
    const auto own = std::find_if(m_tags.cbegin(), m_tags.cend(), [&](const Tag& entry) {
        return entry.Table == table && entry.Field == field && value.contains(entry.Name, Qt::CaseInsensitive);
    });
    if (own == m_tags.cend())
        return value;
    TellOnce(where,
             u"The value of the field tag %1 holds the tag itself: it would be replaced without end."_s.arg(own->Name));
    return {};
}
} // namespace

modMailCheck::Report modMailCheck::Check(clsDatabase& database, const clsPlatform& platform,
                                         const std::function<bool(qint64, qint64)>& progress)
{
    return clsCheck(database, platform).Run(progress);
}

bool modMailCheck::IsAddress(const QString& text)
{
    static const QRegularExpression form(
        u"^[^\\s\\x00-\\x1f<>()\\[\\]\\\\,;:@\"]+@[^\\s\\x00-\\x1f<>()\\\\,;@\".]+(\\.[^\\s\\x00-\\x1f<>()\\\\,;@\".]+)+$"_s);
    return form.match(text).hasMatch();
}
