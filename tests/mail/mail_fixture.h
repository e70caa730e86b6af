// SPDX-License-Identifier: GPL-3.0-or-later
// What every test of the mail run starts from: the site of Ann, partners that want a message, and a server for it.
#pragma once

#include "mail/clsMail.h"
#include "platform/clsDatabase.h"
#include "support/program.h"
#include "support/run_parent.h"
#include "support/scripted_smtp.h"

/// A fresh installation and a fresh server for every test function.
class mailFixture
{
public:
    mailFixture() { modBrambury::State().Settings.Timeout = 1; }

    clsTestProgram program;
    scriptedSmtp server;
    recordingParent parent;
    fakeLogWindow log;
    int questions = 0; ///< about messages in doubt
    clsMail::Ending ending = clsMail::Ending::Failed;
    qint64 notSent = -1;

    static clsDatabase& Database() { return *modBrambury::State().Database; }
    /// A site that can send by the server, and assigns the DEFAULT templates.
    void AddSite(const QString& siteID, const clsRecordValues& values = {}) const
    {
        clsRecordValues all{{QStringLiteral("Sender"), QStringLiteral("Ann of ") + siteID},
                            {QStringLiteral("Email"), QStringLiteral("ann@shop.example")},
                            {QStringLiteral("HostName"), QStringLiteral("127.0.0.1")},
                            {QStringLiteral("MailPort"), server.Port()}};
        for (int type = 1; type <= 8; ++type)
            all.insert(QStringLiteral("EMessage%1").arg(type), type);
        all.insert(values);
        clsTestInstallation::AddSite(Database(), siteID, all);
    }
    /// A queued partner with the message type 1. @return its ID
    static qint64 AddLink(const QString& siteID, const QString& title, const clsRecordValues& values = {})
    {
        clsRecordValues all{{QStringLiteral("Email"), title.toLower() + QStringLiteral("@partner.example")},
                            {QStringLiteral("Message"), 1},
                            {QStringLiteral("EmailQueue"), 1}};
        all.insert(values);
        return clsTestInstallation::AddLink(Database(), siteID, title, all);
    }
    static void SetTemplate(int id, const clsFieldValues& values)
    {
        Database().UpdateRecords(QStringLiteral("tblMailMessages"), {id}, values);
    }
    static int Queued(qint64 id)
    {
        return clsTestInstallation::LinkField(Database(), id, QStringLiteral("EmailQueue")).toInt();
    }
    /// "LinkID outcome reply" of every row of the ledger.
    static QStringList Ledger()
    {
        const auto rows = clsSendLedger::History(Database(), 0);
        QStringList lines;
        for (; !rows->AfterLast(); rows->MoveNext())
            lines << QStringLiteral("%1 %2: %3")
                         .arg(rows->Field(QStringLiteral("LinkID")).toString(),
                              clsSendLedger::OutcomeText(rows->Field(QStringLiteral("Outcome"))),
                              rows->Field(QStringLiteral("Reply")).toString());
        return lines;
    }

    void Run(bool preview = false)
    {
        log.Clear();
        clsMail mail(
            {.Run = {&parent, &log, modBrambury::Platform(), &Database()}, .AskAboutDoubts = [this](const auto&) {
                 ++questions;
                 return clsMail::Doubts::Leave;
             }});
        mail.SendMail(preview);
        ending = mail.LastEnding();
        notSent = mail.NotSent();
    }
    [[nodiscard]] QStringList Lines() const { return log.Text().split(QStringLiteral("\r\n")); }
};
