// SPDX-License-Identifier: GPL-3.0-or-later
// Which of the user's sites is the selected one, in the window and without it.
#pragma once

#include <QString>

class clsRecordset;

namespace modSites
{
/// Moves to the site of this key, letter case ignored. @param sites  records of tblSites.
/// @return false, and the current record stays, when there is none.
bool Find(clsRecordset& sites, const QString& siteID);
/// Moves to the site that was selected last; to the first one when there is no such site.
/// @return false when there are no sites.
bool MoveToLastUsed(clsRecordset& sites, const QString& lastUsed);
/// Makes the current record the process's selected site: its key and its four test switches.
void Select(const clsRecordset& sites);
} // namespace modSites
