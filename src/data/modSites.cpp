// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modSites.h"

#include "data/clsDAO.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

bool modSites::Find(clsRecordset& sites, const QString& siteID)
{
    return sites.FindFirst(clsDAO::TextCriteria(u"SiteID"_s, siteID));
}

bool modSites::MoveToLastUsed(clsRecordset& sites, const QString& lastUsed)
{
    if (sites.RecordCount() == 0)
        return false;
    if (lastUsed.isEmpty() || !Find(sites, lastUsed))
        sites.MoveFirst();
    return true;
}

void modSites::Select(const clsRecordset& sites)
{
    modBrambury::ProcessState& state = modBrambury::State();
    // Any number but zero is on, Null is off.
    const auto on = [&](const QString& field) { return sites.Field(field).toInt() != 0; };
    state.CurrentSite = modCommonFunctions::TextOf(sites.Field(u"SiteID"_s));
    state.Tests = {.MyLinkAtRecipSite = on(u"TestForMyLinkAtRecipSite"_s),
                   .MyImageAtRecipSite = on(u"TestForMyImageAtRecipSite"_s),
                   .RecipLinkAtMySite = on(u"TestForRecipLinkAtMySite"_s),
                   .RecipImageAtMySite = on(u"TestForRecipImageAtMySite"_s)};
}
