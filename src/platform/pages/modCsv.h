// SPDX-License-Identifier: GPL-3.0-or-later
// Tables that come from other programs, as CSV files (RFC 4180).
#pragma once

#include <QByteArray>
#include <QStringList>
#include <functional>
#include <optional>

namespace modCsv
{
struct Record
{
    int line = 0; ///< on which it begins, 1 is the first
    QStringList fields;
};
/// Why a file is none.
struct Problem
{
    int line = 0;
    QString text; ///< a sentence
};

/// Reads a file record by record: UTF-8, with or without a byte order mark; lines end as on any system; empty lines are
/// passed over.
/// @param take  receives each record as it is read; false ends the reading.
/// @return what is wrong with the file; records before that place have been taken.
std::optional<Problem> Read(const QByteArray& bytes, const std::function<bool(const Record&)>& take);
} // namespace modCsv
