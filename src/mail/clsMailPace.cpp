// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailPace.h"

#include "mail/clsSendLedger.h"

#include <QDateTime>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

clsMailPace::Delay clsMailPace::Next(const QString& server, const Limits& limits, const QDateTime& now) const
{
    Delay delay;
    // In any window of time no more than `most`: the newest message but `most` - 1 has to be out of it.
    const auto apply = [&](int most, milliseconds window, const QString& why) {
        if (most <= 0 || window <= 0ms)
            return;
        const auto begun = m_ledger.BegunBefore(server, now, most);
        if (!begun)
            return;
        const milliseconds left = *begun + window - milliseconds(now.toMSecsSinceEpoch());
        if (left > delay.Left)
            delay = {left, why};
    };
    apply(1, limits.Gap, u"the gap between two messages"_s);
    apply(limits.PerHour, 1h, u"the limit of %1 message(s) an hour"_s.arg(limits.PerHour));
    apply(limits.PerDay, 24h, u"the limit of %1 message(s) a day"_s.arg(limits.PerDay));
    return delay;
}
