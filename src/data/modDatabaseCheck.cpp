// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modDatabaseCheck.h"

#include "platform/clsDatabase.h"
#include "platform/clsError.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;

bool modDatabaseCheck::IsDamage(const clsError& failure)
{
    return failure.Number() == clsError::DatabaseDamaged || failure.Number() == clsError::PasswordWrong;
}

QStringList modDatabaseCheck::DamageOf(const QString& path, const clsDatabaseFiles::Progress& progress)
{
    QStringList damage;
    const auto failure = failureOf(
        [&] { damage = modBrambury::Platform().DatabaseFiles->Check(path, modBrambury::ConnectString, progress); });
    if (failure && !IsDamage(*failure))
        throw clsError(*failure);
    if (failure)
        damage << failure->Description();
    return damage;
}

modDatabaseCheck::Orphans modDatabaseCheck::CountOrphans(clsDatabase& database)
{
    const auto count = [&](const QString& statement) { return database.OpenRecordset(statement)->RecordCount(); };
    return {.links = count(u"SELECT ID FROM tblLinkList WHERE SiteName IS NULL OR "
                           "SiteName NOT IN (SELECT SiteID FROM tblSites)"_s),
            .categories = count(u"SELECT ID FROM tblCategory WHERE SiteID IS NULL OR "
                                "SiteID NOT IN (SELECT SiteID FROM tblSites)"_s)};
}
