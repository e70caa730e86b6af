// SPDX-License-Identifier: GPL-3.0-or-later
// The mail run: one message for every link in the e-mail queue, sent or shown for approval first.
#pragma once

#include "log/clsRun.h"
#include "mail/clsSendLedger.h"
#include "platform/clsMailServer.h"

#include <QString>
#include <functional>
#include <vector>

class clsRecordset;

/// One session over every link queued for mail. Reports through the log, message boxes, the records and the ledger of
/// sent messages.
class clsMail
{
public:
    /// What becomes of the queued messages of which nobody knows whether an earlier run has sent them.
    enum class Doubts
    {
        Leave, ///< they stay queued, and are asked for again
        Resend,
        Drop ///< their links leave the queue
    };
    /// What the run works with; not owned.
    struct Collaborators
    {
        clsRun::Collaborators Run;
        /// How to log in at a site's mail server; empty: nobody logs in.
        std::function<clsMailLogin(const clsRecordset& site)> LoginOf = {};
        /// Asked at most once a run, before the first message. Empty: Leave.
        std::function<Doubts(const std::vector<clsSendLedger::Doubt>&)> AskAboutDoubts = {};
        /// Receives every message as it goes out, byte for byte, before it does; what it throws keeps it from going
        /// out. May be empty.
        std::function<void(const clsSendLedger::Message& message, const QByteArray& bytes)> Keep = {};
    };

    /// How a session ended, for callers that have an exit code to choose.
    enum class Ending
    {
        Done,         ///< the end of the queue was reached
        Empty,        ///< nothing was queued
        Stopped,      ///< the stop flag
        Cancelled,    ///< in the preview
        NoConnection, ///< not connected to the Internet
        NoServer,     ///< the mail server was not reached
        UnknownSite,  ///< a link's site was not found
        Failed,       ///< an error that was reported
    };

    explicit clsMail(Collaborators collaborators);
    clsMail(const clsMail&) = delete;
    clsMail& operator=(const clsMail&) = delete;

    /// Runs one session. @param Preview  every message is shown instead of being sent.
    void SendMail(bool Preview = false);
    [[nodiscard]] Ending LastEnding() const { return m_ending; }
    /// Links of the last session whose message could not be made, sent or shown, those in doubt among them.
    [[nodiscard]] qint64 NotSent() const { return m_notSent; }

private:
    class Session;
    Collaborators m_with;
    Ending m_ending = Ending::Done;
    qint64 m_notSent = 0;
};
