// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/modPlatformImpl.h"

#include <csv.h>
#include <curl/curl.h>
#include <gmime/gmime-version.h>
#include <openssl/crypto.h>
#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The cipher's own version is told by an open connection alone.
QString CipherVersion()
{
    sqlite3* connection = nullptr;
    QString version;
    if (sqlite3_open(":memory:", &connection) == SQLITE_OK) {
        const auto take = [](void* into, int, char** values, char**) {
            *static_cast<QString*>(into) = QString::fromUtf8(values[0]);
            return 0;
        };
        sqlite3_exec(connection, "PRAGMA cipher_version", take, &version, nullptr);
    }
    sqlite3_close(connection);
    return version;
}
} // namespace

std::vector<std::pair<QString, QString>> modPlatformImpl::Libraries()
{
    const curl_version_info_data* curl = curl_version_info(CURLVERSION_NOW);
    return {{u"Qt"_s, QString::fromUtf8(qVersion())},
            {u"SQLCipher"_s, CipherVersion()},
            {u"SQLite"_s, QString::fromUtf8(sqlite3_libversion())},
            {u"OpenSSL"_s, QString::fromUtf8(OpenSSL_version(OPENSSL_VERSION_STRING))},
            {u"libcurl"_s, QString::fromUtf8(curl->version)},
            {u"Gumbo"_s, QStringLiteral(GUMBO_VERSION)},
            {u"libcsv"_s, u"%1.%2.%3"_s.arg(CSV_MAJOR).arg(CSV_MINOR).arg(CSV_RELEASE)},
            {u"GMime"_s, u"%1.%2.%3"_s.arg(GMIME_MAJOR_VERSION).arg(GMIME_MINOR_VERSION).arg(GMIME_MICRO_VERSION)},
            {u"hunspell"_s, QStringLiteral(HUNSPELL_VERSION)},
            {u"QtKeychain"_s, QStringLiteral(QTKEYCHAIN_VERSION)},
            {u"libcanberra"_s, QStringLiteral(CANBERRA_VERSION)},
            {u"CLI11"_s, QStringLiteral(CLI11_VERSION)}};
}
