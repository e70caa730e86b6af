// SPDX-License-Identifier: GPL-3.0-or-later
// Where the rest of the program opens the editor of a site.
#pragma once

#include <QObject>
#include <QString>

class QWidget;
class clsDatabase;
class clsSiteRecord;

class clsSites final : public QObject
{
    Q_OBJECT

public:
    /// @param database  must outlive this.  @param owner  the window that the editor belongs to; may be null.
    explicit clsSites(clsDatabase& database, QWidget* owner = nullptr);

    /// Opens the editor and returns when it has been closed. Whatever site was edited last is the selected one then.
    /// @param siteID  a site's key, or modBrambury::NewSiteID: then a name for a new site is asked for, and
    /// State().CurrentSite is NewSiteID until a site has been added or shown.
    /// @return the selected site's key, NewSiteID when no site was created or shown; State().CurrentSite then is what
    /// it was before.
    QString SiteProperties(const QString& siteID);

Q_SIGNALS:
    /// The editor is open still, and State().CurrentSite is this site. Added says whether it has just been added.
    void SiteSaved(const QString& siteID, bool added);
    /// Next or Prev has come to another site, which is State().CurrentSite now.
    void SiteShown(const QString& siteID);

private:
    bool BeginNew(clsSiteRecord& site);

    clsDatabase& m_database;
    QWidget* m_owner;
};
