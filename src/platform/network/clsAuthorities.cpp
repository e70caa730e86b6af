// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsAuthorities.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <curl/curl.h>

clsAuthorities::clsAuthorities()
{
    Set({});
}

clsAuthorities::~clsAuthorities() = default;

void clsAuthorities::Set(const QString& further)
{
    const QDateTime changed = further.isEmpty() ? QDateTime() : QFileInfo(further).lastModified();
    if (m_together && further == m_further && changed == m_changed)
        return; // asked for each message of a run
    m_further = further;
    m_changed = changed;
    const char* system = curl_version_info(CURLVERSION_NOW)->cainfo;
    m_together.reset();
    m_file = system;
    if (further.isEmpty())
        return;
    // A file that cannot be read is handed on as it is: then every certificate check fails and says so.
    m_file = QFile::encodeName(further);
    QFile own(further);
    QFile systems(QString::fromLocal8Bit(system));
    auto together = std::make_unique<QTemporaryFile>();
    if (own.open(QIODevice::ReadOnly) && systems.open(QIODevice::ReadOnly) && together->open() &&
        together->write(own.readAll() + '\n' + systems.readAll()) > 0 && together->flush()) {
        m_file = QFile::encodeName(together->fileName());
        m_together = std::move(together);
    }
}
