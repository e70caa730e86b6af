// SPDX-License-Identifier: GPL-3.0-or-later
// One open database: its tables, stored queries and transactions.
#pragma once

#include "platform/clsDatabase.h"
#include "platform/database/clsSqlOpenFiles.h"

class clsSqlDatabase : public clsDatabase
{
public:
    clsSqlDatabase(std::shared_ptr<clsSqlOpenFiles> files, QString path, std::shared_ptr<clsSqlConnection> connection);

    [[nodiscard]] QString Path() const override { return m_path; }
    [[nodiscard]] bool IsOpen() const override;
    void Close() override;
    std::unique_ptr<clsRecordset> OpenRecordset(const QString& source) override;
    std::unique_ptr<clsQueryDef> QueryDef(const QString& name) override;
    QStringList Fields(const QString& table) override;
    int FieldSize(const QString& table, const QString& field) override;
    void AppendField(const QString& table, const QString& field, int type, int size,
                     const QVariant& defaultValue) override;
    void Declare(const QString& statements) override;
    qint64 UpdateRecords(const QString& table, const std::vector<clsBookmark>& keys,
                         const clsFieldValues& values) override;
    qint64 DeleteRecords(const QString& table, const std::vector<clsBookmark>& keys) override;
    void SetPatience(std::chrono::milliseconds patience) noexcept override;
    void BeginTrans() override;
    void CommitTrans() override;
    void Rollback() noexcept override;

private:
    /// @throws DatabaseClosed
    [[nodiscard]] clsSqlConnection& Connection() const;
    /// Runs a statement that ends with the record's number once for each of them. @return rows changed
    qint64 ForEach(const QString& sql, const clsFieldValues& values, std::vector<clsBookmark> keys);

    std::shared_ptr<clsSqlOpenFiles> m_files;
    QString m_path;
    std::shared_ptr<clsSqlConnection> m_connection;
};
