// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modOlderFiles.h"

#include "data/clsDAO.h"
#include "data/ledger_statements.h"
#include "data/mail_secrets_statements.h"
#include "data/sample_marks_statements.h"
#include "platform/clsDatabase.h"
#include "shell/modErrorHandler.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qint16 TextType = 10;
constexpr qint16 NumberType = 4;
constexpr qint16 AddressSize = 25;

/// Makes a table where it is missing.
void AddTable(clsDatabase& database, const QString& table, QLatin1StringView statements)
{
    guarded("modDBFunctions", "AddTable", [&] { // by this name the error log has always known it
        const auto failure = failureOf([&] { static_cast<void>(database.Fields(table)); });
        if (failure && failure->Number() != clsError::UnknownItem)
            throw clsError(*failure);
        if (failure)
            database.Declare(statements);
    });
}
} // namespace

void modOlderFiles::Complete(clsDAO& dao, clsDatabase& database)
{
    // Files made before sites and partners could have an IP address lack the field.
    dao.AddField(database, u"tblSites"_s, u"IPAddress"_s, TextType, AddressSize);
    dao.AddField(database, u"tblLinkList"_s, u"IPAddress"_s, TextType, AddressSize);
    // Those made before messages were sent lack what keeps the sending honest and in measure.
    for (const QString& field : {u"MailGap"_s, u"MailPerHour"_s, u"MailPerDay"_s})
        dao.AddField(database, u"tblSites"_s, field, NumberType, 0);
    AddTable(database, u"tblSendLedger"_s, modStatements::LedgerStatements);
    for (const auto& [field, size] :
         {std::pair(u"MailSecurity"_s, 8), {u"MailUser"_s, 255}, {u"MailTokenCommand"_s, 1000}, {u"MailKey"_s, 64}})
        dao.AddField(database, u"tblSites"_s, field, TextType, static_cast<qint16>(size));
    AddTable(database, u"tblMailSecrets"_s, modStatements::MailSecretsStatements);
    AddTable(database, u"tblSample"_s, modStatements::SampleMarksStatements);
}
