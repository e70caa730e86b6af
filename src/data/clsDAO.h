// SPDX-License-Identifier: GPL-3.0-or-later
// The four database operations that need care: open with the password, open a record set, find without losing one's
// place, add a field that an older file lacks.
#pragma once

#include "platform/clsDatabase.h"

#include <QString>

/// Holds no open object of its own; the caller owns every handle that is returned. Failures are reported through the
/// common error report and leave the caller with an empty handle or false.
class clsDAO
{
public:
    /// @param workspace  where databases are opened.
    explicit clsDAO(clsWorkspace* workspace) : m_workspace(workspace) {}

    std::unique_ptr<clsDatabase> OpenDB(const QString& path);
    std::unique_ptr<clsRecordset> OpenTable(clsDatabase& database, const QString& source);
    /// True if a record matches. Without a match the current record stays; with `bKeepPosition` it stays in any case.
    bool Search(clsRecordset& recordset, const QString& criteria, bool bKeepPosition = false);
    /// Whether the field exists afterwards. @param type  10 = text of `size` characters.
    bool AddField(clsDatabase& database, const QString& table, const QString& field, qint16 type, qint16 size,
                  const QVariant& defaultValue = {});

    /// The path last opened, and the source last opened.
    [[nodiscard]] const QString& DatabasePath() const { return m_path; }
    [[nodiscard]] const QString& Source() const { return m_source; }

    /// Criteria of the two forms that FindFirst knows: a text in double quotes (quotes inside doubled), a number.
    static QString TextCriteria(const QString& field, const QString& text);
    static QString NumberCriteria(const QString& field, qint64 number);

private:
    clsWorkspace* m_workspace;
    QString m_path;
    QString m_source;
};
