// SPDX-License-Identifier: GPL-3.0-or-later
// The fields of a record as people write them: Column=value on the command line, a column of a file. Values go through
// the record's editor, so that its rules are the dialogs'.
#pragma once

#include "cli/modExitCode.h"
#include "data/clsRecordEditor.h"
#include "publish/modIO.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <string>
#include <vector>

namespace modRecordWords
{
struct Assignment
{
    QString column;
    QString value;
};
/// @param words  "Column=value"; the value may be empty.
/// @throws CLI::ValidationError for a word without "=", and for a column that is given twice.
std::vector<Assignment> Assignments(const std::vector<std::string>& words);

/// What a field that names records of another table can name.
struct Reference
{
    QString what; ///< "category of the site"
    QSet<qint64> ids;
};
using References = QHash<QString, Reference>; ///< by field
/// What the fields of a site, or of a link of a site, can name. A dialog offers these in its lists.
References ReferencesOfSites(clsDatabase& database);
References ReferencesOfLinks(clsDatabase& database, const QString& siteID);

/// Why a column cannot be written: a sentence that names it. @param table  of the record.
QString ColumnProblem(clsDatabase& database, const QString& table, const clsRecordEditor& record,
                      const QString& column);
/// Gives a field a value, unless it is the one it has. @return why it cannot: a sentence; empty when it could.
QString Assign(clsRecordEditor& record, const clsRecordEditor::Field& field, const QString& value,
               const References& references);
/// Gives fields their values, up to the first that cannot be given. @return as above.
QString Assign(clsDatabase& database, const QString& table, clsRecordEditor& record,
               const std::vector<Assignment>& assignments, const References& references);

/// The numbers of the records that a word means: those with that name, letter case ignored, else the one of that
/// number.
template <class Record>
QStringList NumbersMeant(const std::vector<Record>& records, qint64 Record::*id, QString Record::*name,
                         const QString& word)
{
    QStringList named;
    QStringList numbered;
    for (const Record& record : records) {
        const QString number = QString::number(record.*id);
        if ((record.*name).compare(word, Qt::CaseInsensitive) == 0)
            named << number;
        if (number == word)
            numbered << number;
    }
    return named.isEmpty() ? numbered : named;
}

/// Saves the record. @return Refused when a value does not pass, Failed after an error; the user has been told.
ExitCode Save(clsRecordEditor& record);

/// Writes all fields of the current record to the standard output.
void Show(const clsRecordset& records, modIO::TableForm form);
} // namespace modRecordWords
