// SPDX-License-Identifier: GPL-3.0-or-later
// Makes a new encrypted file from readable statements. For the build and for tests: the program itself never creates
// a database.
#pragma once

#include <QString>
#include <QStringList>

namespace modDatabaseMaker
{
/// @param path      the file to make; one that stands there is replaced when the new one is complete.
/// @param sqlFiles  UTF-8 files of statements, run in this order in one transaction.
/// @throws clsError  FileNotFound for a file of statements, else as the engine fails; then `path` is as it was.
void MakeDatabase(const QString& path, const QString& key, const QStringList& sqlFiles);
} // namespace modDatabaseMaker
