// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/clsErrorHandler.h"

clsErrorHandler& clsErrorHandler::Instance()
{
    static clsErrorHandler instance;
    return instance;
}
