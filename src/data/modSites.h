// SPDX-License-Identifier: GPL-3.0-or-later
// The user's sites as a whole: which one is selected, and what names, copies and removes them, in the window and
// without it. The routines that change something raise clsError; their caller is the trap.
#pragma once

#include <QStringList>

class clsDatabase;
class clsRecordset;

namespace modSites
{
/// The keys of all sites, in stored order.
QStringList Names(clsDatabase& database);
/// Moves to the site of this key, letter case ignored. @param sites  records of tblSites.
/// @return false, and the current record stays, when there is none.
bool Find(clsRecordset& sites, const QString& siteID);
/// Moves to the site that was selected last; to the first one when there is no such site.
/// @return false when there are no sites.
bool MoveToLastUsed(clsRecordset& sites, const QString& lastUsed);
/// Makes the current record the process's selected site: its key and its four test switches.
void Select(const clsRecordset& sites);

/// The most characters of a site's name.
inline constexpr int NameSize = 50;
/// What a name is wanted for.
enum class NameFor
{
    NewSite,
    Rename
};
/// Why a site cannot have this name, as the message says it; empty when it can. @param name  without blanks at its end.
/// @param renamed  the site that is to get it; may differ from the name in letter case alone.
QString NameProblem(clsDatabase& database, const QString& name, NameFor purpose, const QString& renamed = {});
/// A name as it is kept: without blanks at its end.
QString Trimmed(QString name);

/// Gives the site another name, in its links and categories too: all or nothing. The setting that remembers the
/// selected site follows. @param name  NameProblem has nothing against it.
void Rename(clsDatabase& database, const QString& siteID, const QString& name);
/// Copies a site with its categories and links, and without the password of its mail server. @return the copy's name;
/// empty when it could not be made.
QString Copy(clsDatabase& database, const QString& siteID);
/// Asks whether the site may go. @return the answer.
bool ConfirmDelete(const QString& siteID);
/// Removes a site, its links and its categories: all or nothing. Its password goes too.
void Delete(clsDatabase& database, const QString& siteID);
} // namespace modSites
