// SPDX-License-Identifier: GPL-3.0-or-later
// A stored query and the values of its parameters.
#pragma once

#include "platform/clsDatabase.h"
#include "platform/database/clsSqlOpenFiles.h"

class clsSqlQueryDef : public clsQueryDef
{
public:
    /// @param sql  the stored text; several statements are separated by semicolons.
    clsSqlQueryDef(std::shared_ptr<clsSqlOpenFiles> files, QString path, const QString& sql);

    void SetParameter(const QString& name, const QVariant& value) override;
    std::unique_ptr<clsRecordset> OpenRecordset() override;
    qint64 Execute() override;

private:
    std::shared_ptr<clsSqlOpenFiles> m_files;
    QString m_path;
    QStringList m_statements;
    QStringList m_parameters; ///< every name that a statement has
    QHash<QString, QVariant> m_values;
};
