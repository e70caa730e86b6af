// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/modTestQueue.h"

#include "data/modLinks.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Records looked at with one read: enough to make the reads cheap, few enough to keep memory flat.
constexpr qint64 BatchSize = 1000;
} // namespace

modTestQueue::Outcome modTestQueue::SetTests(clsDatabase& database, const Choice& choice)
{
    const QStringList fields{u"SiteName"_s, u"Status"_s, u"TestQueue"_s};
    const bool queued = choice.queue == Queue::Select;

    clsTransaction transaction(database);
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    const qint64 count = links->RecordCount();
    std::vector<qint64> chosen;
    for (qint64 first = 0; first < count; first += BatchSize) {
        const auto rows = links->Rows(first, std::min(BatchSize, count - first), fields);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto& row = rows[i];
            if (row.empty() || !choice.statuses.contains(row[1].toInt()) || row[2].toBool() == queued)
                continue;
            const QString site = modCommonFunctions::TextOf(row[0]);
            if (!choice.allSites && site.compare(choice.site, Qt::CaseInsensitive) != 0)
                continue;
            chosen.push_back(links->BookmarkAt(first + static_cast<qint64>(i)));
        }
    }
    const qint64 changed = modLinks::SetFields(database, chosen, {{u"TestQueue"_s, queued}});
    transaction.Commit();
    return {count > 0, changed};
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
