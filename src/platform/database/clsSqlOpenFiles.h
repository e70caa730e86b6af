// SPDX-License-Identifier: GPL-3.0-or-later
// Which files are open, by path: record sets and queries reach their file through this, so that they find it closed
// after Close and find it again when it has been opened anew.
#pragma once

#include "platform/database/clsSqlConnection.h"

class clsSqlOpenFiles
{
public:
    /// The open connection to `path`, opened now unless one with this key stands. Whoever keeps it keeps it open.
    std::shared_ptr<clsSqlConnection> Open(const QString& path, const QString& key);
    /// @throws DatabaseClosed when no connection to `path` is open.
    [[nodiscard]] std::shared_ptr<clsSqlConnection> At(const QString& path) const;
    void CloseAll();

private:
    QHash<QString, std::weak_ptr<clsSqlConnection>> m_files;
};
