// SPDX-License-Identifier: GPL-3.0-or-later
#include "linktest/modVerdictChanges.h"

#include "data/clsLinkRecord.h"
#include "data/modDataModel.h"
#include "platform/clsDatabase.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::TextOf;

modVerdictChanges::Verdicts modVerdictChanges::Now(clsDatabase& database)
{
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    Verdicts verdicts;
    for (const std::vector<QVariant>& row :
         links->Rows(0, links->RecordCount(), {u"ID"_s, u"Title"_s, u"SiteName"_s, u"Results"_s, u"TestQueue"_s})) {
        if (!row.empty()) // it has not been deleted meanwhile
            verdicts.insert(row[0].toLongLong(),
                            {u"%1 (%2)"_s.arg(TextOf(row[1]), TextOf(row[2])), row[3].toInt(), row[4].toInt() != 0});
    }
    return verdicts;
}

QStringList modVerdictChanges::Between(const Verdicts& before, const Verdicts& after)
{
    QStringList changes;
    for (auto link = before.cbegin(); link != before.cend(); ++link) {
        const auto now = after.constFind(link.key());
        if (!link->queued || now == after.cend() || now->queued || now->results == link->results)
            continue;
        const bool passes = now->results == modDataModel::ResultPassed;
        const bool passed = link->results == modDataModel::ResultPassed || link->results == 0;
        const QString what = passes ? u"Passes now"_s : passed ? u"Fails now"_s : u"Fails in another way"_s;
        const QString why = clsLinkRecord::ResultsText(now->results).replace("\r\n"_L1, "  "_L1);
        changes << u"%1: %2%3"_s.arg(what, link->link, passes || why.isEmpty() ? QString() : u"  "_s + why);
    }
    changes.sort();
    return changes;
}
