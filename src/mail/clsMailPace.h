// SPDX-License-Identifier: GPL-3.0-or-later
// How fast a mail server may be sent messages: counted in the ledger of sent messages, so that it holds across runs,
// restarts and sites.
#pragma once

#include <QString>
#include <chrono>

class QDateTime;
class clsSendLedger;

class clsMailPace
{
public:
    /// Zero: no limit.
    struct Limits
    {
        std::chrono::seconds Gap{0}; ///< least time from the beginning of one message to that of the next
        int PerHour = 0;             ///< most messages begun in any sixty minutes
        int PerDay = 0;              ///< most messages begun in any twenty-four hours
    };

    /// @param ledger  must outlive this.
    explicit clsMailPace(const clsSendLedger& ledger) : m_ledger(ledger) {}

    struct Delay
    {
        std::chrono::milliseconds Left{0}; ///< zero: now
        QString Why;                       ///< the limit that holds it up longest, for people
    };
    /// How long the next message to `server` has to wait. Whatever the ledger says of the time after `now` is passed
    /// over: the clock has been put back since. @throws clsError
    [[nodiscard]] Delay Next(const QString& server, const Limits& limits, const QDateTime& now) const;

private:
    const clsSendLedger& m_ledger;
};
