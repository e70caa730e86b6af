// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/modTestQueue.h"

#include "data/modLinks.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

modTestQueue::Outcome modTestQueue::SetTests(clsDatabase& database, const Choice& choice)
{
    const bool queued = choice.queue == Queue::Select;

    clsTransaction transaction(database);
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    const auto chosen =
        modLinks::Where(*links, {u"SiteName"_s, u"Status"_s, u"TestQueue"_s}, [&](const std::vector<QVariant>& row) {
            return choice.statuses.contains(row[1].toInt()) && row[2].toBool() != queued &&
                   (choice.allSites ||
                    modCommonFunctions::TextOf(row[0]).compare(choice.site, Qt::CaseInsensitive) == 0);
        });
    const qint64 changed = modLinks::SetFields(database, chosen, {{u"TestQueue"_s, queued}});
    transaction.Commit();
    return {links->RecordCount() > 0, changed};
}

qint64 modTestQueue::Toggle(clsDatabase& database, const std::vector<qint64>& ids)
{
    clsTransaction transaction(database);
    const auto queued = database.OpenRecordset(u"qryTestLinks"_s);
    std::vector<qint64> on;
    std::vector<qint64> off;
    for (const qint64 id : ids)
        (queued->PositionOf(id) < 0 ? on : off).push_back(id);
    const qint64 changed = modLinks::SetFields(database, on, {{u"TestQueue"_s, true}}) +
                           modLinks::SetFields(database, off, {{u"TestQueue"_s, false}});
    transaction.Commit();
    return changed;
}
