// SPDX-License-Identifier: GPL-3.0-or-later
// The table that tells which records came with the sample. What changes the key of such a record keeps it true.
#pragma once

#include "platform/clsDatabase.h"

#include <QString>
#include <vector>

namespace modSampleMarks
{
/// One record that came with the sample.
struct Mark
{
    clsBookmark bookmark = 0; ///< of the mark itself
    QString table;            ///< "tblLinkList"
    QString record;           ///< a site's SiteID, else the record's number
    QString content;          ///< a digest of what the record held
};
/// All of them. @throws clsError, like the others here
std::vector<Mark> Read(clsDatabase& database);
void Add(clsDatabase& database, const std::vector<Mark>& marks);
/// Forgets all of them: whatever is left of the sample is the user's own from now on.
void Clear(clsDatabase& database);

/// The sites' table, whose records are known by their names.
inline const QString SitesTable = QStringLiteral("tblSites");
/// A site's mark follows its name. Harmless for the user's own sites, as the next one is.
void SiteRenamed(clsDatabase& database, const QString& from, const QString& to);
/// A site of the same name that the user makes later is his own.
void SiteDeleted(clsDatabase& database, const QString& siteID);
} // namespace modSampleMarks
