// SPDX-License-Identifier: GPL-3.0-or-later
// The sample: two invented sites with their categories, partners and templates, to look around in. It is added to
// whatever the database holds, and taken away again without touching anything else.
#pragma once

#include <QByteArray>
#include <QString>

class clsDatabase;

namespace modSample
{
/// Whether any of it is in the database. @throws clsError, like the others here
bool There(clsDatabase& database);
/// Why it cannot be added; empty when it can.
QString Problem(clsDatabase& database);
/// Adds it: all or nothing. Problem() has nothing against it. @return the site to begin with.
QString Add(clsDatabase& database);
/// Takes it away: all or nothing. Where the user has changed or added something in it, he is asked whether that goes
/// too; what stays is his own from then on. A template that one of his own sites uses stays in any case.
/// @return false when he would rather leave everything as it is.
bool Remove(clsDatabase& database);

/// The pages of the sample's partners, which answer on a port of this machine while links are tested, and that port.
/// Whoever starts a link test serves them if the sample is there.
QByteArray Pages();
inline constexpr quint16 PagesPort = 28480;
/// Tells that somebody else has that port, and what comes of it.
void TellPortTaken();
} // namespace modSample
