// SPDX-License-Identifier: GPL-3.0-or-later
// Queues links for testing, or takes them off the queue, by their status.
#pragma once

#include <QSet>
#include <QString>
#include <vector>

class clsDatabase;

namespace modTestQueue
{
enum class Queue
{
    Select,
    Unselect
};

/// Which links, and what becomes of them.
struct Choice
{
    Queue queue = Queue::Select;
    QSet<int> statuses; ///< status codes
    bool allSites = false;
    QString site; ///< SiteID, letter case ignored; of no account with `allSites`
};

struct Outcome
{
    bool anyLinks = false; ///< whether there are links at all, whatever their site and status
    qint64 changed = 0;    ///< links whose flag is another one now
};

/// Sets TestQueue of every chosen link, all of them or none. @throws clsError
Outcome SetTests(clsDatabase& database, const Choice& choice);
/// Turns TestQueue of these links round, each its own, all of them or none. A link deleted meanwhile is passed over.
/// @return links changed. @throws clsError
qint64 Toggle(clsDatabase& database, const std::vector<qint64>& ids);
} // namespace modTestQueue
