// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsDAO.h"

#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<clsDatabase> clsDAO::OpenDB(const QString& path)
{
    std::unique_ptr<clsDatabase> database;
    guarded("clsDAO", "OpenDB", [&] {
        m_path = path;
        database = m_workspace->OpenDatabase(path, modBrambury::ConnectString);
    });
    return database;
}

std::unique_ptr<clsRecordset> clsDAO::OpenTable(clsDatabase& database, const QString& source)
{
    std::unique_ptr<clsRecordset> recordset;
    guarded("clsDAO", "OpenTable", [&] {
        m_source = source;
        recordset = database.OpenRecordset(source);
    });
    return recordset;
}

bool clsDAO::Search(clsRecordset& recordset, const QString& criteria, bool bKeepPosition)
{
    bool found = false;
    guarded("clsDAO", "Search", [&] {
        if (criteria.isEmpty() || recordset.RecordCount() <= 0)
            return;
        // FindFirst itself leaves the place alone when nothing matches.
        const bool hasPlace = !recordset.BeforeFirst() && !recordset.AfterLast();
        const clsBookmark place = hasPlace ? recordset.Bookmark() : clsBookmark{};
        found = recordset.FindFirst(criteria);
        if (found && bKeepPosition && hasPlace)
            recordset.MoveTo(place);
    });
    return found;
}

bool clsDAO::AddField(clsDatabase& database, const QString& table, const QString& field, qint16 type, qint16 size,
                      const QVariant& defaultValue)
{
    bool exists = false;
    guarded("clsDAO", "AddField", [&] {
        // The engine takes no second field whose name differs in letter case alone.
        if (!database.Fields(table).contains(field, Qt::CaseInsensitive))
            database.AppendField(table, field, type, size, defaultValue);
        exists = true;
    });
    return exists;
}

QString clsDAO::TextCriteria(const QString& field, const QString& text)
{
    QString doubled = text;
    return field + " = \""_L1 + doubled.replace(u'"', "\"\""_L1) + u'"';
}

QString clsDAO::NumberCriteria(const QString& field, qint64 number)
{
    return field + " = "_L1 + QString::number(number);
}
