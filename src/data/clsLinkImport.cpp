// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsLinkImport.h"

#include "data/modCategories.h"
#include "data/modDataModel.h"
#include "shell/modBrambury.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString LinkTable = u"tblLinkList"_s;
constexpr const clsRecordEditor::Field* NoField = nullptr; ///< of a column that is passed over
} // namespace

clsLinkImport::clsLinkImport(clsDatabase& database)
    : m_database(database), m_siteID(modBrambury::State().CurrentSite),
      m_link(database, m_siteID, modBrambury::State().Tests.MyLinkAtRecipSite),
      m_category(m_link.FieldNamed(u"CategoryID"_s)), m_references(modRecordColumns::OfLinks(database, m_siteID))
{
    for (const modCategories::Category& category : modCategories::Of(m_database, m_siteID))
        m_categories.insert(category.Name.toCaseFolded(), category.ID);
    m_failed = !m_link.OpenNew(modDataModel::EveryStatus);
}

QString clsLinkImport::Take(const QStringList& record)
{
    if (m_columns.empty())
        return TakeHeading(record);
    if (record.size() != std::ssize(m_columns))
        return u"It has %1 values for %2 columns."_s.arg(record.size()).arg(m_columns.size());
    return TakeLink(record);
}

QString clsLinkImport::TakeHeading(const QStringList& record)
{
    QStringList names;
    std::vector<const clsRecordEditor::Field*> columns;
    for (const QString& cell : record) {
        const QString name = cell.trimmed();
        const clsRecordEditor::Field* field = m_link.FieldNamed(name);
        const auto is = [&](QLatin1StringView other) { return name.compare(other, Qt::CaseInsensitive) == 0; };
        if (is("ID"_L1))
            m_idColumn = names.size();
        else if (is("Category"_L1))
            m_categoryColumn = names.size();
        else if (!field && !m_database.Fields(LinkTable).contains(name, Qt::CaseInsensitive))
            return modRecordColumns::Problem(m_database, LinkTable, m_link, name);
        if (names.contains(name, Qt::CaseInsensitive))
            return u"The column %1 is given twice."_s.arg(name);
        names << name;
        columns.push_back(field);
    }
    // The name of a category goes before its number, which may be another site's.
    if (m_categoryColumn >= 0)
        std::replace(columns.begin(), columns.end(), m_category, NoField);
    m_columns = std::move(columns);
    return {};
}

QString clsLinkImport::TakeLink(const QStringList& values)
{
    QString problem = Begin(values);
    for (qsizetype i = 0; i < values.size() && problem.isEmpty() && !m_failed; ++i) {
        const clsRecordEditor::Field* field = m_columns[static_cast<std::size_t>(i)];
        // A new link has its defaults where the record has nothing.
        if (m_link.IsNew() && values.at(i).isEmpty())
            continue;
        if (field)
            problem = modRecordColumns::Assign(m_link, *field, values.at(i), m_references);
        else if (i == m_categoryColumn)
            problem = AssignCategory(values.at(i));
    }
    return problem.isEmpty() && !m_failed ? Save() : problem;
}

QString clsLinkImport::Begin(const QStringList& values)
{
    const QString number = m_idColumn >= 0 ? values.at(m_idColumn) : QString();
    bool whole = true;
    const qint64 id = number.isEmpty() ? 0 : number.toLongLong(&whole);
    if (!whole)
        return u"ID is a whole number, which \"%1\" is not."_s.arg(number);
    if (id == 0 || m_added.contains(id) || !m_link.Holds(id)) {
        m_link.GoToNew();
        return {};
    }
    if (m_seen.contains(id))
        return u"The link %1 has been in the file before."_s.arg(id);
    m_seen.insert(id);
    m_failed = !m_link.GoTo(id);
    return {};
}

QString clsLinkImport::AssignCategory(const QString& name)
{
    if (name.isEmpty())
        return modRecordColumns::Assign(m_link, *m_category, name, m_references);
    auto category = m_categories.constFind(name.toCaseFolded());
    if (category == m_categories.cend()) {
        if (const QString problem = modCategories::NameProblem(m_database, name); !problem.isEmpty())
            return problem;
        const qint64 id = modCategories::Add(m_database, m_siteID, name);
        category = m_categories.insert(name.toCaseFolded(), id);
        m_references[m_category->name].ids.insert(id);
        ++m_done.categoriesAdded;
    }
    return modRecordColumns::Assign(m_link, *m_category, QString::number(*category), m_references);
}

QString clsLinkImport::Save()
{
    const bool added = m_link.IsNew();
    if (!added && !m_link.Changed()) {
        ++m_done.unchanged;
        return {};
    }
    switch (m_link.Save()) {
    case clsRecordEditor::Saved::Yes:
        if (added)
            m_added.insert(m_link.LinkID());
        ++(added ? m_done.added : m_done.changed);
        return {};
    case clsRecordEditor::Saved::Refused:
        return u"This line has been refused."_s;
    case clsRecordEditor::Saved::Failed:
        break;
    }
    m_failed = true;
    return {};
}
