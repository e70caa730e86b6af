// SPDX-License-Identifier: GPL-3.0-or-later
// The pages of an encrypted database file, each read by itself. The engine gives up on a file whose end is missing or
// whose schema cannot be read; a page that proves whole here is worth reading whatever became of its neighbours.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <optional>

class clsPageFile
{
public:
    static constexpr int PageSize = 1024; ///< bytes of a page in the file
    /// What a page holds for its user; the rest of its 1024 bytes belongs to the encryption.
    static constexpr int UsableSize = 976;

    /// Opens the file for reading and proves the key by its first page.
    /// @throws clsError  DatabaseMissing, PermissionDenied; DatabaseDamaged when the first page is broken though the
    /// key fits others; PasswordWrong when the key fits no page (also: no database, an empty file, a broken salt).
    clsPageFile(const QString& path, const QString& key);

    /// How many pages the database has, those that the file has lost at its end among them.
    [[nodiscard]] quint32 Count() const { return m_count; }
    /// A page's UsableSize bytes, none when it is missing or not as it was written. @param number  1-based
    [[nodiscard]] std::optional<QByteArray> Page(quint32 number);

private:
    void DeriveKeys(const QString& key, const QByteArray& salt);

    QFile m_file;
    QByteArray m_key;     ///< decrypts
    QByteArray m_macKey;  ///< authenticates
    quint32 m_inFile = 0; ///< whole pages in the file
    quint32 m_count = 0;
};
