// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsSendLedger.h"

#include "data/clsDAO.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "shell/modCommonFunctions.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::StoredDateTime;
using std::chrono::milliseconds;

namespace
{
const QString Table = u"tblSendLedger"_s;

QString Word(clsSendLedger::Outcome outcome)
{
    switch (outcome) {
    case clsSendLedger::Outcome::Sent:
        return u"sent"_s;
    case clsSendLedger::Outcome::NotSent:
        return u"not sent"_s;
    case clsSendLedger::Outcome::Resent:
        return u"resent"_s;
    case clsSendLedger::Outcome::Dropped:
        return u"dropped"_s;
    }
    return {};
}
} // namespace

clsSendLedger::clsSendLedger(clsDatabase& database, clsDisk& disk)
    : m_database(database), m_disk(disk), m_rows(database.OpenRecordset(u"SELECT * FROM %1 WHERE 0"_s.arg(Table)))
{
}

clsSendLedger::~clsSendLedger() = default;

qint64 clsSendLedger::Begin(const Message& message, const std::vector<qint64>& instead, const QDateTime& now)
{
    clsTransaction transaction(m_database);
    if (!instead.empty())
        Close(instead, Outcome::Resent, {}, now);
    m_rows->AddNew();
    m_rows->SetField(u"LinkID"_s, message.LinkID);
    m_rows->SetField(u"SiteID"_s, message.SiteID);
    m_rows->SetField(u"Title"_s, message.Title);
    m_rows->SetField(u"Recipient"_s, message.Recipient);
    m_rows->SetField(u"Subject"_s, message.Subject);
    m_rows->SetField(u"Template"_s, message.Template);
    m_rows->SetField(u"MailID"_s, message.MailID);
    m_rows->SetField(u"Server"_s, message.Server);
    m_rows->SetField(u"Begun"_s, StoredDateTime(now));
    m_rows->SetField(u"Instant"_s, now.toMSecsSinceEpoch());
    m_rows->Update();
    transaction.Commit();
    return m_rows->LastModified();
}

void clsSendLedger::Flush()
{
    // Each commit flushes the file. The journal whose end makes it last is a name in the folder: without this a power
    // failure could bring that back, and take the row away.
    m_disk.Flush(QFileInfo(m_database.Path()).path());
}

void clsSendLedger::Close(const std::vector<qint64>& rows, Outcome outcome, const QString& reply, const QDateTime& now)
{
    clsFieldValues values{{u"Outcome"_s, Word(outcome)}, {u"Finished"_s, StoredDateTime(now)}};
    if (!reply.isEmpty())
        values.emplace_back(u"Reply"_s, reply);
    m_database.UpdateRecords(Table, rows, values);
}

void clsSendLedger::Note(qint64 row, const QString& reply)
{
    m_database.UpdateRecords(Table, {row}, {{u"Reply"_s, reply}});
}

std::vector<clsSendLedger::Doubt> clsSendLedger::InDoubt() const
{
    const auto records = m_database.OpenRecordset(
        u"SELECT ID, LinkID, Title, Recipient, Begun FROM %1 WHERE Outcome IS NULL ORDER BY ID"_s.arg(Table));
    std::vector<Doubt> doubts;
    for (const auto& row : records->Rows(0, records->RecordCount(), records->FieldNames())) {
        if (row.empty())
            continue;
        doubts.push_back({row[0].toLongLong(), row[1].toLongLong(), row[2].toString(), row[3].toString(),
                          modCommonFunctions::FromStoredDate(row[4].toString())});
    }
    return doubts;
}

std::optional<milliseconds> clsSendLedger::BegunBefore(const QString& server, const QDateTime& now, int n) const
{
    const auto records = m_database.OpenRecordset("SELECT Instant FROM "_L1 + Table + " WHERE "_L1 +
                                                  clsDAO::TextCriteria(u"Server"_s, server) + " AND Instant <= "_L1 +
                                                  QString::number(now.toMSecsSinceEpoch()) +
                                                  " ORDER BY Instant DESC LIMIT 1 OFFSET "_L1 + QString::number(n - 1));
    if (records->RecordCount() == 0)
        return std::nullopt;
    return milliseconds(records->Field(u"Instant"_s).toLongLong());
}

std::unique_ptr<clsRecordset> clsSendLedger::History(clsDatabase& database, qint64 linkID)
{
    const QString narrowed = linkID == 0 ? QString() : u" WHERE LinkID = %1"_s.arg(linkID);
    return database.OpenRecordset(u"SELECT * FROM %1%2 ORDER BY ID"_s.arg(Table, narrowed));
}

QString clsSendLedger::ServerName(const QString& host, int port)
{
    return u"%1:%2"_s.arg(host.trimmed().toLower()).arg(port);
}

QString clsSendLedger::OutcomeText(const QVariant& outcome)
{
    return outcome.isNull() ? u"in doubt"_s : outcome.toString();
}
