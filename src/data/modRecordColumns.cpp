// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modRecordColumns.h"

#include "data/modCategories.h"
#include "shell/modBrambury.h"

using namespace Qt::Literals::StringLiterals;

modRecordColumns::References modRecordColumns::OfLinks(clsDatabase& database, const QString& siteID)
{
    References references{{u"CategoryID"_s, {u"category of the site"_s, {}}}, {u"Message"_s, {u"message type"_s, {}}}};
    for (const modCategories::Category& category : modCategories::Of(database, siteID))
        references[u"CategoryID"_s].ids.insert(category.ID);
    for (const modBrambury::MessageType& type : modBrambury::State().MessageTypes)
        references[u"Message"_s].ids.insert(type.ID);
    return references;
}

QString modRecordColumns::Problem(clsDatabase& database, const QString& table, const clsRecordEditor& record,
                                  const QString& column)
{
    if (record.FieldNamed(column))
        return {};
    if (database.Fields(table).contains(column, Qt::CaseInsensitive))
        return u"The column %1 is written by the program alone."_s.arg(column);
    QStringList names;
    for (const clsRecordEditor::Field& field : record.Fields())
        names << field.name;
    return u"There is no column %1; the columns are %2."_s.arg(column, names.join(", "_L1));
}

QString modRecordColumns::Assign(clsRecordEditor& record, const clsRecordEditor::Field& field, const QString& value,
                                 const References& references)
{
    if (record.Text(field.name) == value)
        return {};
    if (const auto reference = references.find(field.name); reference != references.end() && !value.isEmpty()) {
        bool whole = false;
        if (const qint64 id = value.toLongLong(&whole); !whole || !reference->ids.contains(id))
            return u"%1 is the number of a %2, which \"%3\" is not."_s.arg(field.name, reference->what, value);
    }
    return record.Assign(field, value);
}
