// SPDX-License-Identifier: GPL-3.0-or-later
// Saves what a damaged database file still holds into a new one. Plain work on values for the worker thread: it asks,
// reports and logs nothing.
#pragma once

#include <QString>
#include <atomic>
#include <vector>

namespace modSalvage
{
/// Record numbers, both ends included; an end that nobody knows is the smallest or greatest 64-bit number.
struct Range
{
    qint64 first = 0;
    qint64 last = 0;
};

struct Table
{
    QString name;
    qint64 rows = 0; ///< records saved whole
    /// Records saved with some of their fields: those that an index repeats, or that stand before a broken page.
    std::vector<Range> partial;
    /// Where records are lost. Numbers in between may never have been used.
    std::vector<Range> unread;
    /// The file's own declaration of the table could not be read; the shipped one has taken its place.
    bool shippedDefinition = false;
    /// Records of the program's own that could not be read and were taken from the shipped database.
    qint64 shippedRows = 0;
};

struct Report
{
    std::vector<Table> tables; ///< all there are in the new file
    bool stopped = false;      ///< given up on request; there is no new file
};

/// Reads every record that can be reached in `source`, also those behind a damaged page, and writes them under their
/// numbers into `target`, with all indexes, and counters that never give out a number again.
/// @param source   nobody may write it meanwhile; it is only read. A journal left beside it has been played back, as
///                 opening it does even when it then fails.
/// @param target   made anew; a file that stands there is replaced. Gone again when this fails.
/// @param shipped  the database that a first installation gets, same key: for what the program ships. Opened only when
///                 it is needed.
/// @param stop     looked at between records.
/// @throws clsError  for the source as clsPageFile tells (DatabaseDamaged: its first page is broken, there is nothing
///                   to begin with); for the others as the engine fails (DiskFull, PermissionDenied, ...).
Report Salvage(const QString& source, const QString& target, const QString& key, const QString& shipped,
               const std::atomic<bool>& stop);
} // namespace modSalvage
