// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/modTestQueue.h"

#include "platform/clsDatabase.h"
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
    Outcome outcome{count > 0, 0};
    for (qint64 first = 0; first < count; first += BatchSize) {
        const auto rows = links->Rows(first, std::min(BatchSize, count - first), fields);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto& row = rows[i];
            if (row.empty() || !choice.statuses.contains(row[1].toInt()) || row[2].toBool() == queued)
                continue;
            const QString site = modCommonFunctions::TextOf(row[0]);
            if (!choice.allSites && site.compare(choice.site, Qt::CaseInsensitive) != 0)
                continue;
            links->MoveTo(links->BookmarkAt(first + static_cast<qint64>(i)));
            links->Edit();
            links->SetField(u"TestQueue"_s, queued);
            links->Update();
            ++outcome.changed;
        }
    }
    transaction.Commit();
    return outcome;
}
