// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsDeletedLinks.h"

#include "data/modLinks.h"
#include "data/modSites.h"
#include "platform/clsDatabase.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString SiteField = u"SiteName"_s;

/// Which sites exist, asked once for each.
class clsKnownSites
{
public:
    explicit clsKnownSites(clsDatabase& database) : m_sites(database.OpenRecordset(u"tblSites"_s)) {}
    bool Has(const QString& siteID)
    {
        const auto known = m_known.constFind(siteID);
        return known != m_known.cend() ? *known : *m_known.insert(siteID, modSites::Find(*m_sites, siteID));
    }

private:
    std::unique_ptr<clsRecordset> m_sites;
    QHash<QString, bool> m_known;
};
} // namespace

qint64 clsDeletedLinks::Delete(clsDatabase& database, const std::vector<qint64>& ids)
{
    clsTransaction transaction(database);
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    Deletion deletion{.fields = links->FieldNames(), .rows = {}};
    deletion.rows.reserve(ids.size());
    for (const qint64 id : ids) {
        const qint64 position = links->PositionOf(id);
        if (position < 0)
            continue; // deleted by somebody else
        for (auto& row : links->Rows(position, 1, deletion.fields)) {
            if (!row.empty())
                deletion.rows.push_back(std::move(row));
        }
    }
    const qint64 deleted = modLinks::Delete(database, ids);
    transaction.Commit();
    if (!deletion.rows.empty())
        m_deletions.push_back(std::move(deletion));
    return deleted;
}

std::vector<qint64> clsDeletedLinks::Restore(clsDatabase& database)
{
    std::vector<qint64> restored;
    if (m_deletions.empty())
        return restored;
    const Deletion& deletion = m_deletions.back();
    const auto site = static_cast<std::size_t>(deletion.fields.indexOf(SiteField));

    clsTransaction transaction(database);
    clsKnownSites sites(database);
    const auto links = database.OpenRecordset(u"tblLinkList"_s);
    for (const std::vector<QVariant>& row : deletion.rows) {
        if (!sites.Has(row[site].toString()))
            continue;
        links->AddNew();
        for (std::size_t i = 0; i < row.size(); ++i)
            links->SetField(deletion.fields[static_cast<qsizetype>(i)], row[i]);
        links->Update();
        restored.push_back(links->LastModified());
    }
    transaction.Commit();
    m_deletions.pop_back();
    return restored;
}

void clsDeletedLinks::SiteRenamed(const QString& from, const QString& to)
{
    for (Deletion& deletion : m_deletions) {
        const auto site = static_cast<std::size_t>(deletion.fields.indexOf(SiteField));
        for (std::vector<QVariant>& row : deletion.rows) {
            if (row[site].toString().compare(from, Qt::CaseInsensitive) == 0)
                row[site] = to;
        }
    }
}
