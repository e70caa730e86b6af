// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlOpenFiles.h"

#include "platform/database/modSqlErrors.h"

using namespace Qt::Literals::StringLiterals;

std::shared_ptr<clsSqlConnection> clsSqlOpenFiles::Open(const QString& path, const QString& key)
{
    auto open = m_files.value(path).lock();
    if (!open || !open->IsOpen() || open->Key() != key) {
        open = clsSqlConnection::Open(path, key);
        m_files.insert(path, open);
    }
    return open;
}

std::shared_ptr<clsSqlConnection> clsSqlOpenFiles::At(const QString& path) const
{
    auto open = m_files.value(path).lock();
    if (!open || !open->IsOpen())
        modSqlErrors::Raise(clsError::DatabaseClosed, u"The database \"%1\" is not open."_s.arg(path));
    return open;
}

void clsSqlOpenFiles::CloseAll()
{
    for (const auto& file : std::as_const(m_files)) {
        if (const auto open = file.lock())
            open->Close();
    }
    m_files.clear();
}
