// SPDX-License-Identifier: GPL-3.0-or-later
// Records in the words of the command line: Column=value, the number or name of another record, all fields as lines.
#pragma once

#include "data/modRecordColumns.h"
#include "publish/modIO.h"
#include "shell/modExitCode.h"

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

/// What the fields of a site can name.
modRecordColumns::References ReferencesOfSites(clsDatabase& database);
/// Gives fields their values, up to the first that cannot be given. @param table  of the record.
/// @return why it cannot: a sentence; empty when all could.
QString Assign(clsDatabase& database, const QString& table, clsRecordEditor& record,
               const std::vector<Assignment>& assignments, const modRecordColumns::References& references);

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
