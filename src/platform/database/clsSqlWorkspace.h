// SPDX-License-Identifier: GPL-3.0-or-later
// A session of the engine: opens files and knows which are open.
#pragma once

#include "platform/clsDatabase.h"
#include "platform/database/clsSqlOpenFiles.h"

class clsSqlWorkspace : public clsWorkspace
{
public:
    ~clsSqlWorkspace() override;
    std::unique_ptr<clsDatabase> OpenDatabase(const QString& path, const QString& connect) override;
    void Close() override;

    /// The password of a connect string: parts separated by semicolons, the name in any letter case.
    [[nodiscard]] static QString PasswordOf(const QString& connect);

private:
    std::shared_ptr<clsSqlOpenFiles> m_files = std::make_shared<clsSqlOpenFiles>();
};
