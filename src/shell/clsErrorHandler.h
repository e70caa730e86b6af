// SPDX-License-Identifier: GPL-3.0-or-later
// The last error that was reported.
#pragma once

#include <QString>

/// One instance for the process, filled by modErrorHandler::ErrorHandler. Texts start empty, numbers 0.
class clsErrorHandler
{
public:
    static clsErrorHandler& Instance();

    QString Module;
    QString Routine;
    qint32 Number = 0;
    QString Description;
    QString Source;
    qint32 LastSystemError = 0;
    qint32 LineNumber = 0;
    int Count = 0;  ///< errors reported by this process; a cancelled dialog is none
    QString Hidden; ///< description of the first error that went to Error.log alone and was not told since
};
