// SPDX-License-Identifier: GPL-3.0-or-later
// The database engine over encrypted files.
#pragma once

#include "platform/clsDatabase.h"

class clsSqlDBEngine : public clsDBEngine
{
public:
    /// User and password of the session are of no meaning to files that carry a password of their own.
    std::unique_ptr<clsWorkspace> CreateWorkspace(const QString& name, const QString& user,
                                                  const QString& password) override;
};
