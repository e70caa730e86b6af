// SPDX-License-Identifier: GPL-3.0-or-later
// The e-mail queue, and what a message is made of: the link's site, the template that the site assigns to the link's
// message type, and the field tags. The mail run and the check of the queue stand on it.
#pragma once

#include "mail/clsMailPace.h"

#include <QString>
#include <QVariant>
#include <functional>
#include <memory>

class clsDatabase;
class clsEventLoop;
class clsRecordset;

class clsMailQueue
{
public:
    /// Opens the tables and the queue, in the order of the setting Sort. @throws clsError
    explicit clsMailQueue(clsDatabase& database);
    ~clsMailQueue();
    clsMailQueue(const clsMailQueue&) = delete;
    clsMailQueue& operator=(const clsMailQueue&) = delete;

    /// The queued links; the current record is the one being dealt with.
    [[nodiscard]] clsRecordset& Links() { return *m_links; }
    [[nodiscard]] const clsRecordset& Links() const { return *m_links; }
    /// A text field of the current link, Null as the empty text.
    [[nodiscard]] QString LinkText(const QString& field) const;

    /// What a message needs of its site.
    struct SiteSettings
    {
        QString SiteID;
        QString Email; ///< the sender's address
        QString HostName;
        int MailPort = 25;
        QString Sender; ///< display name
        clsMailPace::Limits Pace;
    };
    /// Makes the site of this key the current one. @return its SiteID as it is stored, empty when there is none.
    QString LoadSiteSettings(const QString& key);
    [[nodiscard]] const SiteSettings& Site() const { return m_site; }
    /// The record of the current site.
    [[nodiscard]] const clsRecordset& SiteRecord() const { return *m_sites; }

    /// The template that the current site assigns to the current link's message type; 0 when there is none.
    [[nodiscard]] qint64 GetTemplate() const;
    struct Template
    {
        QString Name;
        QString Subject;
        QString Body;
        QString AttachedFile;
    };
    /// Why no message can be made for the current link, in the order in which it is looked for.
    enum class Lack
    {
        Nothing,
        Assignment, ///< the site assigns no template to the message type
        Template,   ///< the template assigned is gone
        Body,
        Address
    };
    /// Finds the current link's template. @param found  filled as far as it is there.
    [[nodiscard]] Lack FindTemplate(Template& found) const;

    /// A field of the current site ("tblSites") or, for every other table, of the current link. @throws UnknownItem
    [[nodiscard]] QVariant GetFieldValue(const QString& table, const QString& field) const;
    /// Replaces every field tag, see modFieldTags::AddTags.
    QString AddTags(QString& text, clsEventLoop& eventLoop, const std::function<bool()>& stopped) const;
    /// The list of field tags.
    [[nodiscard]] const clsRecordset& Tags() const { return *m_tags; }

private:
    std::unique_ptr<clsRecordset> m_templates;
    std::unique_ptr<clsRecordset> m_tags;
    std::unique_ptr<clsRecordset> m_sites;
    std::unique_ptr<clsRecordset> m_links;
    SiteSettings m_site;
};
