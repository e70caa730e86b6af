// SPDX-License-Identifier: GPL-3.0-or-later
// The ledger of sent messages. A row is on the disk before the first byte of its message goes out, and closed when the
// server has answered; what lies between is in doubt, and is never sent again without the user's word.
#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

class clsDatabase;
class clsDisk;
class clsRecordset;

class clsSendLedger
{
public:
    /// How a message ended. What is none of these is in doubt.
    enum class Outcome
    {
        Sent,
        NotSent, ///< the server has not taken it
        Resent,  ///< it was in doubt; another one took its place
        Dropped, ///< it was in doubt; the user wants no other one
    };
    struct Message
    {
        qint64 LinkID = 0;
        QString SiteID = {};
        QString Title = {};
        QString Recipient = {};
        QString Subject = {};
        QString Template = {};
        QString MailID = {}; ///< the Message-ID
        QString Server = {}; ///< see ServerName
    };
    /// A message in doubt.
    struct Doubt
    {
        qint64 ID = 0; ///< of the row
        qint64 LinkID = 0;
        QString Title;
        QString Recipient;
        QDateTime Begun;
    };

    /// Neither is owned. @param disk  flushes the database's folder.
    clsSendLedger(clsDatabase& database, clsDisk& disk);
    ~clsSendLedger();
    clsSendLedger(const clsSendLedger&) = delete;
    clsSendLedger& operator=(const clsSendLedger&) = delete;

    /// Writes the row of a message that is about to go out. Flush follows before the message does.
    /// @param instead  rows in doubt whose place this message takes. @return the row's number. @throws clsError
    qint64 Begin(const Message& message, const std::vector<qint64>& instead, const QDateTime& now);
    /// Waits until the medium has every row written. @throws clsError
    void Flush();
    /// Closes rows; part of the caller's transaction if there is one. @param reply  left alone when it is empty.
    /// @throws clsError
    void Close(const std::vector<qint64>& rows, Outcome outcome, const QString& reply, const QDateTime& now);
    /// Notes at a row in doubt what is known. @throws clsError
    void Note(qint64 row, const QString& reply);

    /// Every message in doubt, oldest first. @throws clsError
    [[nodiscard]] std::vector<Doubt> InDoubt() const;
    /// When the n-th newest message to a server was begun, counted back from `now`. @param n  from 1 on.
    /// @return none when there are not so many. @throws clsError
    [[nodiscard]] std::optional<std::chrono::milliseconds> BegunBefore(const QString& server, const QDateTime& now,
                                                                       int n) const;
    /// The messages to one link, or with 0 to all, oldest first: every column. @throws clsError
    [[nodiscard]] static std::unique_ptr<clsRecordset> History(clsDatabase& database, qint64 linkID);

    /// A stored outcome for people: Null is "in doubt".
    [[nodiscard]] static QString OutcomeText(const QVariant& outcome);
    /// How the ledger calls a mail server.
    [[nodiscard]] static QString ServerName(const QString& host, int port);

private:
    clsDatabase& m_database;
    clsDisk& m_disk;
    std::unique_ptr<clsRecordset> m_rows; ///< for adding alone
};
