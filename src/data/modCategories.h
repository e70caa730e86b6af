// SPDX-License-Identifier: GPL-3.0-or-later
// The categories under which a site's links are filed: rows of tblCategory. The routines raise clsError; their caller
// is the trap. Links keep the category they were given, whatever becomes of it here.
#pragma once

#include <QString>
#include <vector>

class clsDatabase;

namespace modCategories
{
struct Category
{
    qint64 ID = 0;
    QString Name;
};

/// A site's categories, in the order in which they were added.
std::vector<Category> Of(clsDatabase& database, const QString& siteID);
/// The same by name, as lists offer them.
std::vector<Category> ByName(clsDatabase& database, const QString& siteID);
/// The most characters of a category.
int NameSize(clsDatabase& database);

/// Why a category cannot be called this: a sentence; empty when it can.
QString NameProblem(clsDatabase& database, const QString& category);

/// Adds a category; a site may have several of the same name. @return its ID.
/// @throws clsError NoCurrentRecord when there is no such site; EngineFailure for a name that is blank or too long.
qint64 Add(clsDatabase& database, const QString& siteID, const QString& category);
/// @throws clsError NoCurrentRecord when there is no such category; EngineFailure as above.
void Rename(clsDatabase& database, qint64 id, const QString& category);
/// Deletes all of these categories or none; one that somebody else has deleted meanwhile is passed over.
/// @return how many were deleted.
qint64 Delete(clsDatabase& database, const std::vector<qint64>& ids);
} // namespace modCategories
