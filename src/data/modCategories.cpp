// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modCategories.h"

#include "data/clsDAO.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"
#include "platform/clsError.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString CategoryTable = u"tblCategory"_s;
const QString NameField = u"Category"_s;

[[noreturn]] void Raise(enum clsError::Number number, const QString& description)
{
    throw clsError(number, description, u"modCategories"_s);
}

void CheckName(clsDatabase& database, const QString& category)
{
    if (const QString problem = modCategories::NameProblem(database, category); !problem.isEmpty())
        Raise(clsError::EngineFailure, problem);
}

std::vector<modCategories::Category> Read(const clsRecordset& records)
{
    std::vector<modCategories::Category> categories;
    for (const auto& row : records.Rows(0, records.RecordCount(), {u"ID"_s, NameField})) {
        // One that has been deleted since the keys were taken gives an empty row.
        if (!row.empty())
            categories.push_back({row[0].toLongLong(), modCommonFunctions::TextOf(row[1])});
    }
    return categories;
}
} // namespace

std::vector<modCategories::Category> modCategories::Of(clsDatabase& database, const QString& siteID)
{
    return Read(*database.OpenRecordset(u"SELECT tblCategory.* From tblCategory WHERE "_s +
                                        clsDAO::TextCriteria(u"tblCategory.SiteID"_s, siteID) + u" ORDER BY ID"_s));
}

std::vector<modCategories::Category> modCategories::ByName(clsDatabase& database, const QString& siteID)
{
    const auto query = database.QueryDef(u"qryCategories"_s);
    query->SetParameter(u"Site"_s, siteID);
    return Read(*query->OpenRecordset());
}

int modCategories::NameSize(clsDatabase& database)
{
    return database.FieldSize(CategoryTable, NameField);
}

QString modCategories::NameProblem(clsDatabase& database, const QString& category)
{
    if (category.trimmed().isEmpty())
        return u"A category cannot be empty."_s;
    if (const int size = NameSize(database); size > 0 && category.toUcs4().size() > size)
        return u"A category has at most %1 characters."_s.arg(size);
    return {};
}

qint64 modCategories::Add(clsDatabase& database, const QString& siteID, const QString& category)
{
    CheckName(database, category);
    clsTransaction transaction(database);
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (!modSites::Find(*sites, siteID))
        Raise(clsError::NoCurrentRecord, u"There is no site %1."_s.arg(siteID));
    const auto records = database.OpenRecordset(CategoryTable);
    records->AddNew();
    records->SetField(u"SiteID"_s, sites->Field(u"SiteID"_s));
    records->SetField(NameField, category);
    records->Update();
    const qint64 id = records->LastModified();
    transaction.Commit();
    return id;
}

void modCategories::Rename(clsDatabase& database, qint64 id, const QString& category)
{
    CheckName(database, category);
    if (database.UpdateRecords(CategoryTable, {id}, {{NameField, category}}) == 0)
        Raise(clsError::NoCurrentRecord, u"There is no category with the number %1."_s.arg(id));
}

qint64 modCategories::Delete(clsDatabase& database, const std::vector<qint64>& ids)
{
    return database.DeleteRecords(CategoryTable, ids);
}
