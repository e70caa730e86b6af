// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modLinks.h"

#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString LinkTable = u"tblLinkList"_s;
/// Records looked at with one read: enough to make the reads cheap, few enough to keep memory flat.
constexpr qint64 BatchSize = 1000;
} // namespace

std::unique_ptr<clsRecordset> modLinks::Of(clsDatabase& database, const QString& siteID,
                                           modDataModel::StatusBounds bounds)
{
    const auto query = database.QueryDef(u"qryLinkList"_s);
    query->SetParameter(u"Site"_s, siteID);
    query->SetParameter(u"StatusLow"_s, bounds.low);
    query->SetParameter(u"StatusHigh"_s, bounds.high);
    return query->OpenRecordset();
}

std::unique_ptr<clsRecordset> modLinks::Queued(clsDatabase& database, const QString& query)
{
    const auto links = database.QueryDef(query)->OpenRecordset();
    links->SetSort(modDataModel::SortField(modBrambury::State().Settings.Sort));
    return links->OpenRecordset();
}

std::optional<modLinks::Filed> modLinks::WhereFiled(clsDatabase& database, qint64 id)
{
    const auto link = database.OpenRecordset(u"SELECT ID, Title, Status FROM tblLinkList WHERE ID = %1"_s.arg(id));
    if (link->RecordCount() == 0)
        return std::nullopt;
    return Filed{modCommonFunctions::TextOf(link->Field(u"Title"_s)), link->Field(u"Status"_s).toInt()};
}

std::vector<qint64> modLinks::Where(const clsRecordset& records, const QStringList& fields,
                                    const std::function<bool(const std::vector<QVariant>&)>& wanted)
{
    std::vector<qint64> found;
    const qint64 count = records.RecordCount();
    for (qint64 first = 0; first < count; first += BatchSize) {
        qint64 position = first;
        for (const auto& row : records.Rows(first, std::min(BatchSize, count - first), fields)) {
            if (!row.empty() && wanted(row))
                found.push_back(records.BookmarkAt(position));
            ++position;
        }
    }
    return found;
}

qint64 modLinks::SetFields(clsDatabase& database, const std::vector<qint64>& ids, const clsFieldValues& values)
{
    return database.UpdateRecords(LinkTable, ids, values);
}

qint64 modLinks::Delete(clsDatabase& database, const std::vector<qint64>& ids)
{
    return database.DeleteRecords(LinkTable, ids);
}

bool modLinks::ConfirmDelete(const QString& title)
{
    if (!IsOn(modBrambury::State().Settings.ConfirmDelete))
        return true;
    return modCommonFunctions::MsgBox(u"This will permanently remove all selected reciprocal links.\r\n"
                                      "(Alternately, you may wish to change its status to inactive.)\r\n"
                                      "\r\n"
                                      "Do you wish to continue?"_s,
                                      clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question,
                                      u"Delete Link \"%1\""_s.arg(title)) == clsDialogs::Answer::Yes;
}
