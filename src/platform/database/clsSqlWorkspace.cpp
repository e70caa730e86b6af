// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsSqlWorkspace.h"

#include "platform/database/clsSqlDatabase.h"

using namespace Qt::Literals::StringLiterals;

QString clsSqlWorkspace::PasswordOf(const QString& connect)
{
    const QStringList parts = connect.split(u';');
    for (const QString& part : parts) {
        if (part.startsWith("pwd="_L1, Qt::CaseInsensitive))
            return part.mid(4);
    }
    return {};
}

clsSqlWorkspace::~clsSqlWorkspace()
{
    m_files->CloseAll();
}

std::unique_ptr<clsDatabase> clsSqlWorkspace::OpenDatabase(const QString& path, const QString& connect)
{
    return std::make_unique<clsSqlDatabase>(m_files, path, m_files->Open(path, PasswordOf(connect)));
}

void clsSqlWorkspace::Close()
{
    m_files->CloseAll();
}
