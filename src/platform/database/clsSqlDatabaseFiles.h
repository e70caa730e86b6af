// SPDX-License-Identifier: GPL-3.0-or-later
// Work on whole encrypted files, on a thread that lives as long as the work, through connections of its own.
#pragma once

#include "platform/clsDatabaseFiles.h"

class clsDisk;
class clsEventLoop;
class clsFileWork;

class clsSqlDatabaseFiles final : public clsDatabaseFiles
{
public:
    clsSqlDatabaseFiles(clsEventLoop& eventLoop, clsDisk& disk) : m_eventLoop(eventLoop), m_disk(disk) {}

    [[nodiscard]] RowCounts Read(const QString& path, const QString& connect, const Progress& progress) override;
    [[nodiscard]] QStringList Check(const QString& path, const QString& connect, const Progress& progress) override;
    void Reindex(const QString& path, const QString& connect, const Progress& progress) override;
    void Compact(const QString& source, const QString& destination, const QString& connect, const QString& locale,
                 const RowCounts& rows, const Progress& progress) override;
    [[nodiscard]] QStringList Salvage(const QString& path, const QString& made, const QString& kept,
                                      const QString& connect, const Progress& progress) override;
    RowCounts Copy(const QString& source, const QString& destination, const QString& connect,
                   const Progress& progress) override;
    [[nodiscard]] bool SameState(const QString& one, const QString& other) const override;

private:
    /// Has the worker do `job` while the event loop runs. What it raises is raised here.
    void Do(const Progress& progress, const std::function<void(clsFileWork&)>& job);

    clsEventLoop& m_eventLoop;
    clsDisk& m_disk;
};
