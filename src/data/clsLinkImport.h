// SPDX-License-Identifier: GPL-3.0-or-later
// What the records of a table from elsewhere become: links of the selected site that are added or changed.
#pragma once

#include "data/clsLinkRecord.h"
#include "data/modRecordColumns.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <vector>

/// Takes the records one by one, the heading first. Whoever uses it decides what becomes of the transaction.
class clsLinkImport
{
public:
    /// @throws clsError
    explicit clsLinkImport(clsDatabase& database);

    /// Takes a record: the names of the columns, in any order, then a link each. @return why it is refused: a sentence;
    /// empty when it was taken, and when Failed.
    [[nodiscard]] QString Take(const QStringList& record);
    /// An error has ended it and has been reported.
    [[nodiscard]] bool Failed() const { return m_failed; }
    /// Whether the names of the columns have been taken.
    [[nodiscard]] bool KnowsColumns() const { return !m_columns.empty(); }

    /// What has become of the links so far.
    struct Counts
    {
        qint64 added = 0;
        qint64 changed = 0;
        qint64 unchanged = 0;
        qint64 categoriesAdded = 0;
    };
    [[nodiscard]] const Counts& SoFar() const { return m_done; }

private:
    [[nodiscard]] QString TakeHeading(const QStringList& record);
    [[nodiscard]] QString TakeLink(const QStringList& values);
    /// Begins with the link that a record is about, or with a new one.
    [[nodiscard]] QString Begin(const QStringList& values);
    [[nodiscard]] QString AssignCategory(const QString& name);
    [[nodiscard]] QString Save();

    clsDatabase& m_database;
    const QString m_siteID;
    clsLinkRecord m_link;
    const clsRecordEditor::Field* const m_category;
    /// What each column is assigned to, null: nothing. Empty until the heading has been taken.
    std::vector<const clsRecordEditor::Field*> m_columns;
    qsizetype m_idColumn = -1;
    qsizetype m_categoryColumn = -1; ///< with names
    modRecordColumns::References m_references;
    QHash<QString, qint64> m_categories; ///< by name, case folded
    QSet<qint64> m_seen;                 ///< links that have been among the records
    QSet<qint64> m_added;                ///< links that the records have brought
    Counts m_done;
    bool m_failed = false;
};
