// SPDX-License-Identifier: GPL-3.0-or-later
// Where the passwords of mail servers are kept: in the system's keyring, or in the encrypted database file. A site
// names its password by the key in its field MailKey; a site without a key has none that is kept.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

class clsDatabase;

namespace modMailSecrets
{
enum class Place
{
    Nowhere, ///< asked for when it is needed
    Keyring,
    Database
};
/// Where the password of a key is kept. A key of no known form is kept nowhere.
[[nodiscard]] Place PlaceOf(const QString& key);
/// A key that no other site has, on any machine. @param place  not Nowhere.
[[nodiscard]] QString NewKey(Place place);

/// Keeps a password under its key; an earlier one is replaced. @throws clsError
void Write(clsDatabase& database, const QString& key, const QByteArray& secret);
/// @return empty when there is none. @throws clsError
[[nodiscard]] std::optional<QByteArray> Read(clsDatabase& database, const QString& key);
/// One that is not there is no error. @throws clsError
void Remove(clsDatabase& database, const QString& key);
} // namespace modMailSecrets
