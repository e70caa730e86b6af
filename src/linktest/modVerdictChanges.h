// SPDX-License-Identifier: GPL-3.0-or-later
// What a run has changed of the links' verdicts: how they stood before it against how they stand after it.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

class clsDatabase;

namespace modVerdictChanges
{
/// What a run may change of a link.
struct Verdict
{
    QString link; ///< for people: its title and its site
    int results = 0;
    bool queued = false;
};
using Verdicts = QHash<qint64, Verdict>; ///< by the link's ID

/// The verdicts of all links as they stand now. @throws clsError
Verdicts Now(clsDatabase& database);
/// One line for each link whose verdict is another one than before the run, sorted. A link that is still queued was
/// not tested.
QStringList Between(const Verdicts& before, const Verdicts& after);
} // namespace modVerdictChanges
