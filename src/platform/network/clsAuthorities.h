// SPDX-License-Identifier: GPL-3.0-or-later
// The certificate authorities that servers are checked against.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <memory>

class QTemporaryFile;

/// The system's, and those of one more file beside them. libcurl takes one file, so the two are put together.
class clsAuthorities
{
public:
    clsAuthorities();
    ~clsAuthorities();
    clsAuthorities(const clsAuthorities&) = delete;
    clsAuthorities& operator=(const clsAuthorities&) = delete;

    /// @param further  PEM file; empty: the system's alone.
    void Set(const QString& further);
    /// PEM file for CURLOPT_CAINFO; empty when the system names none. Stays until the next Set.
    [[nodiscard]] const QByteArray& File() const { return m_file; }

private:
    std::unique_ptr<QTemporaryFile> m_together;
    QByteArray m_file;
    QString m_further;
    QDateTime m_changed; ///< of that file
};
