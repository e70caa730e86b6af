// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/clsSites.h"

#include "data/clsSiteRecord.h"
#include "data/modSites.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/records/frmSites.h"

#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;
using modBrambury::NewSiteID;

clsSites::clsSites(clsDatabase& database, QWidget* owner) : m_database(database), m_owner(owner) {}

bool clsSites::BeginNew(clsSiteRecord& site)
{
    bool begun = false;
    guarded("clsSites", "BeginNew", [&] {
        QString name;
        QString problem;
        do {
            name = modBrambury::Platform().Dialogs->InputBox(u"Enter a name for your new site:"_s, u"New Site"_s, name);
            name = modSites::Trimmed(name);
            if (name.isEmpty())
                return;
            problem = modSites::NameProblem(m_database, name, modSites::NameFor::NewSite);
            if (!problem.isEmpty())
                modCommonFunctions::MsgBox(problem, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        } while (!problem.isEmpty());
        begun = site.OpenNew(name);
    });
    return begun;
}

QString clsSites::SiteProperties(const QString& siteID)
{
    QString& current = modBrambury::State().CurrentSite;
    const auto back = qScopeGuard([&current, before = current] {
        if (current == NewSiteID)
            current = before;
    });
    clsSiteRecord site(m_database);
    const bool isNew = siteID == NewSiteID;
    if (isNew)
        current = NewSiteID;
    if (!(isNew ? BeginNew(site) : site.Open(siteID)))
        return QString(current);
    frmSites dialog(site, m_database, m_owner);
    QString shown = current;
    connect(&dialog, &clsRecordDialog::RecordSaved, this, [&] {
        const bool added = shown == NewSiteID;
        shown = current;
        Q_EMIT SiteSaved(shown, added);
    });
    connect(&dialog, &clsRecordDialog::RecordShown, this, [&] {
        if (shown == current)
            return;
        shown = current;
        Q_EMIT SiteShown(shown);
    });
    dialog.exec();
    return QString(current);
}
