// SPDX-License-Identifier: GPL-3.0-or-later
// The fields of a record as people write them: a column of a file, Column=value on the command line. Values go through
// the record's editor, so that its rules are the dialogs'.
#pragma once

#include "data/clsRecordEditor.h"

#include <QHash>
#include <QSet>
#include <QString>

namespace modRecordColumns
{
/// What a field that names records of another table can name. A dialog offers these in its lists.
struct Reference
{
    QString what; ///< "category of the site"
    QSet<qint64> ids;
};
using References = QHash<QString, Reference>; ///< by field
/// What the fields of a link of a site can name. @throws clsError
References OfLinks(clsDatabase& database, const QString& siteID);

/// Why a column cannot be written: a sentence that names it; empty when it can. @param table  of the record.
QString Problem(clsDatabase& database, const QString& table, const clsRecordEditor& record, const QString& column);
/// Gives a field a value, unless it is the one it has. @return why it cannot: a sentence; empty when it could.
QString Assign(clsRecordEditor& record, const clsRecordEditor::Field& field, const QString& value,
               const References& references);
} // namespace modRecordColumns
