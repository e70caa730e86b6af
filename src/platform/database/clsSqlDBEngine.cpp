// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlDBEngine.h"

#include "platform/database/clsSqlWorkspace.h"
#include "platform/modPlatformImpl.h"

std::unique_ptr<clsWorkspace> clsSqlDBEngine::CreateWorkspace(const QString&, const QString&, const QString&)
{
    return std::make_unique<clsSqlWorkspace>();
}

std::unique_ptr<clsDBEngine> modPlatformImpl::MakeDBEngine()
{
    return std::make_unique<clsSqlDBEngine>();
}
