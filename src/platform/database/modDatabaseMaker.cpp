// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/modDatabaseMaker.h"

#include "platform/database/clsSqlConnection.h"
#include "platform/database/modSqlErrors.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace
{
QString Statements(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        modSqlErrors::Raise(clsError::FileNotFound, u"Could not read \"%1\": %2"_s.arg(path, file.errorString()));
    return QString::fromUtf8(file.readAll());
}
} // namespace

void modDatabaseMaker::MakeDatabase(const QString& path, const QString& key, const QStringList& sqlFiles)
{
    const QString unfinished = path + ".new"_L1;
    QFile::remove(unfinished);
    const auto connection = clsSqlConnection::Open(unfinished, key, clsSqlConnection::Create::Yes);
    clsSqlTransaction transaction(*connection);
    for (const QString& file : sqlFiles)
        connection->Run(Statements(file));
    transaction.Commit();
    connection->Close();
    QFile::remove(path);
    if (!QFile::rename(unfinished, path))
        modSqlErrors::Raise(clsError::PermissionDenied, u"Could not write \"%1\"."_s.arg(path));
}
