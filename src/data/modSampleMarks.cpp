// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modSampleMarks.h"

#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::TextOf;

namespace
{
const QString Table = u"tblSample"_s;

/// The marks of a site: one, or none.
std::vector<clsBookmark> MarksOfSite(clsDatabase& database, const QString& siteID)
{
    std::vector<clsBookmark> marks;
    for (const modSampleMarks::Mark& mark : modSampleMarks::Read(database)) {
        if (mark.table == modSampleMarks::SitesTable && mark.record.compare(siteID, Qt::CaseInsensitive) == 0)
            marks.push_back(mark.bookmark);
    }
    return marks;
}
} // namespace

std::vector<modSampleMarks::Mark> modSampleMarks::Read(clsDatabase& database)
{
    std::vector<Mark> marks;
    const auto records = database.OpenRecordset(Table);
    const auto rows = records->Rows(0, records->RecordCount(), {u"TableName"_s, u"Record"_s, u"Content"_s});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!rows[i].empty())
            marks.push_back({records->BookmarkAt(static_cast<qint64>(i)), TextOf(rows[i][0]), TextOf(rows[i][1]),
                             TextOf(rows[i][2])});
    }
    return marks;
}

void modSampleMarks::Add(clsDatabase& database, const std::vector<Mark>& marks)
{
    const auto records = database.OpenRecordset(Table);
    for (const Mark& mark : marks) {
        records->AddNew();
        records->SetField(u"TableName"_s, mark.table);
        records->SetField(u"Record"_s, mark.record);
        records->SetField(u"Content"_s, mark.content);
        records->Update();
    }
}

void modSampleMarks::Clear(clsDatabase& database)
{
    std::vector<clsBookmark> all;
    for (const Mark& mark : Read(database))
        all.push_back(mark.bookmark);
    database.DeleteRecords(Table, all);
}

void modSampleMarks::SiteRenamed(clsDatabase& database, const QString& from, const QString& to)
{
    database.UpdateRecords(Table, MarksOfSite(database, from), {{u"Record"_s, to}});
}

void modSampleMarks::SiteDeleted(clsDatabase& database, const QString& siteID)
{
    database.DeleteRecords(Table, MarksOfSite(database, siteID));
}
