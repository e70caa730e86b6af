// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/modQueueMail.h"

#include "data/modLinks.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

qint64 modQueueMail::SetMail(clsDatabase& database, const std::vector<qint64>& ids, int type)
{
    return modLinks::SetFields(database, ids, {{u"Message"_s, type}, {u"EmailQueue"_s, 1}});
}

std::vector<qint64> modQueueMail::LinksOf(clsDatabase& database, const QString& siteID, const QSet<int>& statuses)
{
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    return modLinks::Where(*links, {u"SiteName"_s, u"Status"_s}, [&](const std::vector<QVariant>& row) {
        return modCommonFunctions::TextOf(row[0]).compare(siteID, Qt::CaseInsensitive) == 0 &&
               (statuses.isEmpty() || statuses.contains(row[1].toInt()));
    });
}
