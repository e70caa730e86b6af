// SPDX-License-Identifier: GPL-3.0-or-later
// Backups that the program keeps by itself: the last ten states of the database, each in a file whose name tells when
// it was made and what it holds.
#pragma once

#include "platform/clsDatabaseFiles.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <vector>

namespace modDatedBackups
{
using Progress = clsDatabaseFiles::Progress;

struct Backup
{
    QString path;
    QDateTime made;
    qint64 size = 0; ///< bytes
    qint64 sites = 0;
    qint64 links = 0;
};

/// Backup/Dated in the program folder.
QString Folder();
/// Newest first. Other files in the folder are nobody's business.
std::vector<Backup> All();
/// The newest one for people, "Monday, January 5, 2026  03:07 PM: /path"; empty when there is none.
QString NewestText();

/// Copies the database file, unless its state is kept already; once the copy is proved, the oldest ones above ten go.
/// The database is closed, and the caller holds Bramdat.use alone. @return the backup that holds the state.
/// @throws clsError  as clsDatabaseFiles::Copy; then every older one is still there.
QString Keep(const Progress& progress);
/// The same, and none goes: what is put in the database's place next may be the oldest of them.
QString Add(const Progress& progress);
/// Deletes the oldest ones above ten, but no file of `spared`.
void Drop(const QStringList& spared);

/// The setting Backup/KeepDated, written at once.
bool AreKept();
void SetKept(bool kept);
/// What the end of the program does when they are kept; the database is closed. A failure is told. While another copy
/// of the program has the database open, the last one to end does it.
void KeepAtEnd(const Progress& progress);
} // namespace modDatedBackups
