// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsPageFile.h"

#include "platform/database/modSqlErrors.h"

#include <QFileInfo>
#include <QtEndian>
#include <algorithm>
#include <memory>
#include <openssl/evp.h>
#include <openssl/hmac.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
// Version 3 of the encrypted format: AES-256-CBC with an HMAC-SHA1 over text, vector and page number behind each page.
constexpr int KeySize = 32;
constexpr int SaltSize = 16;
constexpr int VectorSize = 16;
constexpr int MacSize = 20;
constexpr int KeyRounds = 64000;
constexpr int MacKeyRounds = 2;
constexpr char MacSaltMask = 0x3a;
constexpr int PageCountOffset = 28;

const unsigned char* Bytes(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

unsigned char* Bytes(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

QByteArray Derived(const QByteArray& secret, const QByteArray& salt, int rounds)
{
    QByteArray key(KeySize, '\0');
    if (PKCS5_PBKDF2_HMAC_SHA1(secret.constData(), static_cast<int>(secret.size()), Bytes(salt),
                               static_cast<int>(salt.size()), rounds, KeySize, Bytes(key)) != 1)
        modSqlErrors::Raise(clsError::EngineFailure, u"The key could not be derived."_s);
    return key;
}

QByteArray Decrypted(const QByteArray& key, const QByteArray& vector, const QByteArray& text)
{
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> cipher(EVP_CIPHER_CTX_new(),
                                                                                 EVP_CIPHER_CTX_free);
    QByteArray plain(text.size(), '\0');
    int length = 0;
    if (!cipher || EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_cbc(), nullptr, Bytes(key), Bytes(vector)) != 1 ||
        EVP_CIPHER_CTX_set_padding(cipher.get(), 0) != 1 ||
        EVP_DecryptUpdate(cipher.get(), Bytes(plain), &length, Bytes(text), static_cast<int>(text.size())) != 1 ||
        length != plain.size())
        modSqlErrors::Raise(clsError::EngineFailure, u"A page could not be decrypted."_s);
    return plain;
}
} // namespace

clsPageFile::clsPageFile(const QString& path, const QString& key) : m_file(path)
{
    if (!QFileInfo(path).isFile())
        modSqlErrors::Raise(clsError::DatabaseMissing, u"Could not find the database file \"%1\"."_s.arg(path));
    if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        modSqlErrors::Raise(clsError::PermissionDenied,
                            u"Could not read the database file \"%1\": %2"_s.arg(path, m_file.errorString()));
    m_inFile = static_cast<quint32>(std::min<qint64>(m_file.size() / PageSize, 0xfffffffe));
    m_count = m_inFile;
    DeriveKeys(key, m_file.read(SaltSize));

    if (const auto first = Page(1)) {
        m_count = std::max(m_inFile, qFromBigEndian<quint32>(first->constData() + PageCountOffset));
        return;
    }
    for (quint32 number = 2; number <= m_inFile; ++number) {
        if (Page(number))
            modSqlErrors::Raise(clsError::DatabaseDamaged,
                                u"The beginning of the database file \"%1\" is damaged."_s.arg(path));
    }
    modSqlErrors::Raise(
        clsError::PasswordWrong,
        u"The password is wrong, or the file \"%1\" is no database of this program, or not any more."_s.arg(path));
}

void clsPageFile::DeriveKeys(const QString& key, const QByteArray& salt)
{
    m_key = Derived(key.toUtf8(), salt, KeyRounds);
    QByteArray macSalt = salt;
    for (char& byte : macSalt)
        byte = static_cast<char>(byte ^ MacSaltMask);
    m_macKey = Derived(m_key, macSalt, MacKeyRounds);
}

std::optional<QByteArray> clsPageFile::Page(quint32 number)
{
    if (number < 1 || number > m_inFile || !m_file.seek(qint64{number - 1} * PageSize))
        return std::nullopt;
    const QByteArray raw = m_file.read(PageSize); // a bad sector is a damaged page like any other
    if (raw.size() != PageSize)
        return std::nullopt;

    const int begin = number == 1 ? SaltSize : 0; // the salt stands in the place of the file's signature
    QByteArray authenticated = raw.mid(begin, UsableSize - begin + VectorSize);
    const QByteArray mac = raw.mid(UsableSize + VectorSize, MacSize);
    QByteArray expected(MacSize, '\0');
    QByteArray littleEndian(sizeof(quint32), '\0');
    qToLittleEndian(number, littleEndian.data());
    authenticated += littleEndian;
    unsigned int length = 0;
    if (!HMAC(EVP_sha1(), m_macKey.constData(), static_cast<int>(m_macKey.size()), Bytes(authenticated),
              static_cast<std::size_t>(authenticated.size()), Bytes(expected), &length) ||
        expected != mac)
        return std::nullopt;
    return QByteArray(begin, '\0') +
           Decrypted(m_key, raw.mid(UsableSize, VectorSize), raw.mid(begin, UsableSize - begin));
}
