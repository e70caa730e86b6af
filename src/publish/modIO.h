// SPDX-License-Identifier: GPL-3.0-or-later
// Tables of records written for people and for other programs.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <vector>

namespace modIO
{
enum class TableForm
{
    People, ///< columns in line, numbers to the right; a cell is one line and at most 60 characters wide
    Csv,    ///< RFC 4180: heading line, CR LF; Null is nothing at all, an empty text is ""
    Json,   ///< an array with one object a row, keyed by column name; numbers as numbers, Null as null
};

/// Writes one table, row by row, in UTF-8. Csv and Json go out as the rows come in; the form for people needs all of
/// them to know how wide its columns are.
class clsTableWriter
{
public:
    /// @param write  receives the bytes, in pieces of any size.
    clsTableWriter(TableForm form, QStringList columns, std::function<void(const QByteArray&)> write);

    /// @param values  one for each column; an invalid one is Null.
    void Row(const std::vector<QVariant>& values);
    /// Completes the table; to be called once, after the last row.
    void End();

private:
    void PeopleRow(const std::vector<QVariant>& values);
    void CsvRow(const std::vector<QVariant>& values);
    void JsonRow(const std::vector<QVariant>& values);
    void WritePeople();

    struct Cell
    {
        QString text;
        bool number;
    };

    const TableForm m_form;
    const QStringList m_columns;
    const std::function<void(const QByteArray&)> m_write;
    std::vector<QByteArray> m_keys;         ///< of the JSON objects, quoted
    std::vector<std::vector<Cell>> m_cells; ///< of the form for people
    bool m_anyRow = false;
};
} // namespace modIO
