// SPDX-License-Identifier: GPL-3.0-or-later
// Puts links into the e-mail queue.
#pragma once

#include <QSet>
#include <QString>
#include <vector>

class clsDatabase;

namespace modQueueMail
{
/// Gives the links a message type and queues them: all of them, or none. A link deleted meanwhile is passed over.
/// @return how many links there were. @throws clsError
qint64 SetMail(clsDatabase& database, const std::vector<qint64>& ids, int type);
/// The links of a site, letter case ignored. @param statuses  empty: all. @throws clsError
std::vector<qint64> LinksOf(clsDatabase& database, const QString& siteID, const QSet<int>& statuses);
} // namespace modQueueMail
