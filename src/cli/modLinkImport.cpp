// SPDX-License-Identifier: GPL-3.0-or-later
// links import: the links of a site from a CSV file, as `links --csv` writes them or a spreadsheet does.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "cli/modRecordWords.h"
#include "data/clsLinkRecord.h"
#include "data/modCategories.h"
#include "platform/clsDisk.h"
#include "platform/pages/modCsv.h"
#include "shell/modBrambury.h"

#include <CLI/CLI.hpp>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// After so many lines that are refused the user knows what is wrong with the file.
constexpr int MostRefusals = 20;
const QString LinkTable = u"tblLinkList"_s;
constexpr const clsRecordEditor::Field* NoField = nullptr; ///< of a column that is passed over

/// Takes a file's records into the links of the selected site. Whoever uses it decides what becomes of the transaction.
class clsLinkImport
{
public:
    clsLinkImport(clsDatabase& database, QString file)
        : m_database(database), m_file(std::move(file)), m_siteID(modBrambury::State().CurrentSite),
          m_link(database, m_siteID, modBrambury::State().Tests.MyLinkAtRecipSite)
    {
    }

    /// @return Done when every line has been taken.
    ExitCode Run(const QByteArray& content)
    {
        m_references = modRecordWords::ReferencesOfLinks(m_database, m_siteID);
        for (const modCategories::Category& category : modCategories::Of(m_database, m_siteID))
            m_categories.insert(category.Name.toCaseFolded(), category.ID);
        if (!m_link.OpenNew(modDataModel::EveryStatus))
            return ExitCode::Failed;
        const auto problem = modCsv::Read(content, [this](const modCsv::Record& record) { return Take(record); });
        if (problem)
            Refuse(problem->line, problem->text);
        else if (m_columns.empty() && m_refused == 0)
            Refuse(1, u"There is no heading line with the names of columns."_s);
        if (m_failed)
            return ExitCode::Failed;
        return m_refused > 0 ? ExitCode::Refused : ExitCode::Done;
    }

    [[nodiscard]] QString Summary() const
    {
        return u"%1 link(s) added, %2 changed, %3 left as they were; %4 categories added."_s.arg(m_added.size())
            .arg(m_changed)
            .arg(m_unchanged)
            .arg(m_categoriesAdded);
    }

private:
    void Refuse(int line, const QString& why)
    {
        clsCommandSession::Refuse(u"%1, line %2: %3"_s.arg(m_file).arg(line).arg(why));
        ++m_refused;
    }

    bool Take(const modCsv::Record& record)
    {
        QString problem;
        if (m_columns.empty())
            problem = TakeHeading(record.fields);
        else if (record.fields.size() != std::ssize(m_columns))
            problem = u"It has %1 values for %2 columns."_s.arg(record.fields.size()).arg(m_columns.size());
        else
            problem = TakeLink(record.fields);
        if (!problem.isEmpty())
            Refuse(record.line, problem);
        return !m_failed && !m_columns.empty() && m_refused < MostRefusals;
    }

    QString TakeHeading(const QStringList& record)
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
                return modRecordWords::ColumnProblem(m_database, LinkTable, m_link, name);
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

    /// @return what is wrong, as far as the user has not been told.
    QString TakeLink(const QStringList& values)
    {
        QString problem = Begin(values);
        for (qsizetype i = 0; i < values.size() && problem.isEmpty() && !m_failed; ++i) {
            const clsRecordEditor::Field* field = m_columns[static_cast<std::size_t>(i)];
            // A new link has its defaults where the file has nothing.
            if (m_link.IsNew() && values.at(i).isEmpty())
                continue;
            if (field)
                problem = modRecordWords::Assign(m_link, *field, values.at(i), m_references);
            else if (i == m_categoryColumn)
                problem = AssignCategory(values.at(i));
        }
        return problem.isEmpty() && !m_failed ? Save() : problem;
    }

    /// Begins with the link that a line is about, or with a new one.
    QString Begin(const QStringList& values)
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

    QString AssignCategory(const QString& name)
    {
        if (name.isEmpty())
            return modRecordWords::Assign(m_link, *m_category, name, m_references);
        auto category = m_categories.constFind(name.toCaseFolded());
        if (category == m_categories.cend()) {
            if (const QString problem = modCategories::NameProblem(m_database, name); !problem.isEmpty())
                return problem;
            const qint64 id = modCategories::Add(m_database, m_siteID, name);
            category = m_categories.insert(name.toCaseFolded(), id);
            m_references[m_category->name].ids.insert(id);
            ++m_categoriesAdded;
        }
        return modRecordWords::Assign(m_link, *m_category, QString::number(*category), m_references);
    }

    QString Save()
    {
        const bool added = m_link.IsNew();
        if (!added && !m_link.Changed()) {
            ++m_unchanged;
            return {};
        }
        switch (m_link.Save()) {
        case clsRecordEditor::Saved::Yes:
            if (added)
                m_added.insert(m_link.LinkID());
            else
                ++m_changed;
            return {};
        case clsRecordEditor::Saved::Refused:
            return u"This line has been refused."_s;
        case clsRecordEditor::Saved::Failed:
            break;
        }
        m_failed = true;
        return {};
    }

    clsDatabase& m_database;
    const QString m_file;
    const QString m_siteID;
    clsLinkRecord m_link;
    const clsRecordEditor::Field* const m_category = m_link.FieldNamed(u"CategoryID"_s);
    /// What each column is assigned to, null: nothing. Empty until the heading line has been read.
    std::vector<const clsRecordEditor::Field*> m_columns;
    qsizetype m_idColumn = -1;
    qsizetype m_categoryColumn = -1; ///< with names
    modRecordWords::References m_references;
    QHash<QString, qint64> m_categories; ///< by name, case folded
    QSet<qint64> m_seen;                 ///< links that stand in the file
    QSet<qint64> m_added;                ///< links that the file has brought
    qint64 m_changed = 0;
    qint64 m_unchanged = 0;
    int m_categoriesAdded = 0;
    int m_refused = 0;
    bool m_failed = false; ///< an error has ended it and has been reported
};

ExitCode Import(clsDatabase& database, const QString& siteID, const QString& file, bool dryRun)
{
    const clsDisk& disk = *modBrambury::Platform().Disk;
    if (!disk.FileExists(file))
        return clsCommandSession::Refuse(u"There is no file "_s + file + u'.');
    if (const ExitCode selected = clsCommandSession::SelectSite(database, siteID); selected != ExitCode::Done)
        return selected;
    const QByteArray content = disk.ReadFile(file);

    clsTransaction transaction(database);
    clsLinkImport import(database, file);
    if (const ExitCode taken = import.Run(content); taken != ExitCode::Done) {
        modConsole::ErrorLine(u"Nothing has been imported."_s);
        return taken;
    }
    if (!dryRun)
        transaction.Commit();
    modConsole::WriteLine((dryRun ? u"Nothing is written. It would be: "_s : QString()) + import.Summary());
    return ExitCode::Done;
}
} // namespace

void modCommands::AddImport(CLI::App& app, clsCommand& chosen)
{
    struct Words
    {
        Word site;
        Word file;
        bool dryRun = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* links = app.get_subcommand("links");
    links->require_subcommand(0, 1);
    CLI::App* command = links->add_subcommand("import", "Add and change links of a site as a CSV file says");
    command->footer(
        "The file is one that \"links --csv --site SITEID\" writes, or like it: UTF-8, RFC 4180, a heading line\n"
        "with the names of columns in any order. A line with the ID of a link of the site changes that link;\n"
        "without an ID, or with another one, it adds a link, which has its defaults where the line has\n"
        "nothing. A column Category with names takes the place of CategoryID; a name that the site does not\n"
        "have yet is added. SiteName, Offers, Results, LastSuccessfulTest and Exported are passed over.\n"
        "Changes are checked as in the window. One line that is refused, and nothing is imported.");
    words->file.option = command->add_option("file", words->file.text, "The CSV file")->required()->type_name("FILE");
    AddSiteName(*command, words->site);
    command->add_flag("--dry-run", words->dryRun, "Only say what would be done");
    command->callback([&chosen, links, words] {
        for (const CLI::Option* option : links->get_options()) {
            if (option->count() > 0)
                throw CLI::ExcludesError(option->get_name(), "import");
        }
        chosen = InDatabase([siteID = words->site.Text(), file = words->file.Text(), dryRun = words->dryRun](
                                clsDatabase& database) { return Import(database, siteID, file, dryRun); });
    });
}
