// SPDX-License-Identifier: GPL-3.0-or-later
// The process's database file as a whole: opened here, and later compacted, repaired and copied here.
#pragma once

namespace modDBFunctions
{
/// Opens DataPath + "Bramdat.mdb" as the process's database under a shared lock on Bramdat.use, adds the fields that
/// older files lack, loads status names and message types: what the main window's load and every command without a
/// window do alike. @return whether the database is open afterwards; failures have been reported.
bool OpenProcessDatabase();

/// How an attempt to take Bramdat.use went, for callers with an exit code to choose.
enum class Use
{
    Free,
    InUse
};
Use LastUse();
} // namespace modDBFunctions
