// SPDX-License-Identifier: GPL-3.0-or-later
// Hears a run as the main window would.
#pragma once

#include "log/clsRunParent.h"

#include <QStringList>
#include <functional>

class recordingParent : public clsRunParent
{
public:
    QStringList highlighted; ///< "LinkID site"
    QStringList progress;    ///< "done/total"
    QStringList waits;       ///< "milliseconds why"
    std::function<void(qint64 linkID)> onHighLight;
    std::function<void(std::chrono::milliseconds left)> onWait;

    void HighLightLink(qint64 linkID, const QString& siteName) override
    {
        highlighted << QString::number(linkID) + u' ' + siteName;
        if (onHighLight)
            onHighLight(linkID);
    }
    void RunProgress(qint64 done, qint64 total) override { progress << QStringLiteral("%1/%2").arg(done).arg(total); }
    void RunWaits(std::chrono::milliseconds left, const QString& why) override
    {
        waits << QString::number(left.count()) + u' ' + why;
        if (onWait)
            onWait(left);
    }
};
