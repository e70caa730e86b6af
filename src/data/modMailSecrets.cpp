// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modMailSecrets.h"

#include "data/clsDAO.h"
#include "platform/clsKeyring.h"
#include "shell/modBrambury.h"

#include <QUuid>

using namespace Qt::Literals::StringLiterals;
using modMailSecrets::Place;

namespace
{
const QString Table = u"tblMailSecrets"_s;
const QString KeyField = u"MailKey"_s;
const QString SecretField = u"Secret"_s;
// A key says where its password is.
const QString InKeyring = u"keyring:"_s;
const QString InDatabase = u"database:"_s;

clsKeyring& Keyring()
{
    return *modBrambury::Platform().Keyring;
}
} // namespace

Place modMailSecrets::PlaceOf(const QString& key)
{
    if (key.startsWith(InKeyring))
        return Place::Keyring;
    return key.startsWith(InDatabase) ? Place::Database : Place::Nowhere;
}

QString modMailSecrets::NewKey(Place place)
{
    return (place == Place::Keyring ? InKeyring : InDatabase) + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

void modMailSecrets::Write(clsDatabase& database, const QString& key, const QByteArray& secret)
{
    if (PlaceOf(key) == Place::Keyring)
        return Keyring().Write(key, secret);
    const auto secrets = database.OpenRecordset(Table);
    if (secrets->FindFirst(clsDAO::TextCriteria(KeyField, key)))
        secrets->Edit();
    else
        secrets->AddNew();
    secrets->SetField(KeyField, key);
    secrets->SetField(SecretField, QString::fromUtf8(secret));
    secrets->Update();
}

std::optional<QByteArray> modMailSecrets::Read(clsDatabase& database, const QString& key)
{
    switch (PlaceOf(key)) {
    case Place::Keyring:
        return Keyring().Read(key);
    case Place::Database: {
        const auto secrets = database.OpenRecordset(Table);
        if (secrets->FindFirst(clsDAO::TextCriteria(KeyField, key)))
            return secrets->Field(SecretField).toString().toUtf8();
        break;
    }
    case Place::Nowhere:
        break;
    }
    return std::nullopt;
}

void modMailSecrets::Remove(clsDatabase& database, const QString& key)
{
    switch (PlaceOf(key)) {
    case Place::Keyring:
        return Keyring().Remove(key);
    case Place::Database: {
        const auto secrets = database.OpenRecordset(Table);
        if (secrets->FindFirst(clsDAO::TextCriteria(KeyField, key)))
            secrets->Delete();
        break;
    }
    case Place::Nowhere:
        break;
    }
}
