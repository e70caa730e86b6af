// SPDX-License-Identifier: GPL-3.0-or-later
// What is wrong with a database: damage of its file, and records that belong to nothing. Looks, and changes nothing.
#pragma once

#include "platform/clsDatabaseFiles.h"

#include <QString>
#include <QStringList>

class clsDatabase;
class clsError;

namespace modDatabaseCheck
{
/// Whether a failure says that the file is damaged. One without its beginning looks like one under another key.
[[nodiscard]] bool IsDamage(const clsError& failure);
/// Reads a file that nobody writes to. @return what is damaged, a line each; empty when the file is sound.
/// @throws clsError  for a file that cannot be read, as clsDatabaseFiles::Check; damage is no error here.
[[nodiscard]] QStringList DamageOf(const QString& path, const clsDatabaseFiles::Progress& progress = {});

/// Records of a site that does not exist.
struct Orphans
{
    qint64 links = 0;
    qint64 categories = 0;
};
/// @throws clsError
[[nodiscard]] Orphans CountOrphans(clsDatabase& database);
} // namespace modDatabaseCheck
