// SPDX-License-Identifier: GPL-3.0-or-later
// sites, links, categories, templates: the records as tables.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "data/modDataModel.h"
#include "mail/clsMailTemplate.h"
#include "platform/clsDatabase.h"
#include "publish/modIO.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Records read at once: few enough to keep memory flat.
constexpr qint64 BatchSize = 500;

/// A column of the form for people. Programs get every field, as it is stored.
struct Column
{
    QString field;
    std::function<QVariant(const QVariant&)> shown; ///< empty: as it is stored
};

struct Table
{
    QString source; ///< table in the database
    std::vector<Column> people;
    QString emptyText;
    QString siteField; ///< names the site of a record, where the table can be narrowed to one
};

/// Which records of a table are wanted.
struct Filter
{
    QString siteID;     ///< Null: of all sites
    QSet<int> statuses; ///< empty: all
};

/// The words that all tables share.
struct Words
{
    modCommands::Word site;
    modCommands::Word statuses;
    modCommands::Forms forms;
};

QVariant YesOrNothing(const QVariant& flag)
{
    return flag.toInt() != 0 ? u"yes"_s : QString();
}

QVariant StatusName(const QVariant& status)
{
    return modBrambury::State().StatusNames.value(status.toInt());
}

QVariant MailQueue(const QVariant& queue)
{
    if (queue.toInt() == modDataModel::EmailNotToBeSent)
        return u"not sent"_s;
    return modDataModel::EmailQueued(queue.toInt()) ? u"yes"_s : QString();
}

QVariant MessageTitle(const QVariant& type)
{
    const auto& types = modBrambury::State().MessageTypes;
    const auto found =
        std::find_if(types.cbegin(), types.cend(), [&](const auto& entry) { return entry.ID == type.toInt(); });
    return found == types.cend() ? type : QVariant(found->Title);
}

/// Writes records as they come; what is wanted of them is decided row by row, so that memory stays flat.
class clsRecordTable
{
public:
    clsRecordTable(const clsRecordset& records, modIO::TableForm form, const Table& table)
        : m_records(records), m_people(form == modIO::TableForm::People), m_fields(records.FieldNames()),
          m_table(table), m_writer(form, m_people ? PeopleColumns() : m_fields, &modConsole::Write)
    {
    }

    void Write(const Filter& filter)
    {
        const qint64 count = m_records.RecordCount();
        qint64 written = 0;
        for (qint64 first = 0; first < count; first += BatchSize) {
            for (const auto& row : m_records.Rows(first, std::min(BatchSize, count - first), m_fields)) {
                if (row.empty() || !Wanted(row, filter))
                    continue;
                m_writer.Row(m_people ? ForPeople(row) : row);
                ++written;
            }
        }
        if (m_people && written == 0)
            modCommonFunctions::MsgBox(m_table.emptyText, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
        else
            m_writer.End();
    }

private:
    [[nodiscard]] QStringList PeopleColumns() const
    {
        QStringList columns;
        for (const Column& column : m_table.people)
            columns.append(column.field);
        return columns;
    }
    [[nodiscard]] const QVariant& Value(const std::vector<QVariant>& row, const QString& field) const
    {
        return row.at(static_cast<std::size_t>(m_fields.indexOf(field)));
    }
    [[nodiscard]] bool Wanted(const std::vector<QVariant>& row, const Filter& filter) const
    {
        if (!filter.siteID.isNull() &&
            Value(row, m_table.siteField).toString().compare(filter.siteID, Qt::CaseInsensitive) != 0)
            return false;
        return filter.statuses.isEmpty() || filter.statuses.contains(Value(row, u"Status"_s).toInt());
    }
    [[nodiscard]] std::vector<QVariant> ForPeople(const std::vector<QVariant>& row) const
    {
        std::vector<QVariant> cells;
        for (const Column& column : m_table.people) {
            const QVariant& value = Value(row, column.field);
            cells.push_back(column.shown ? column.shown(value) : value);
        }
        return cells;
    }

    const clsRecordset& m_records;
    const bool m_people;
    const QStringList m_fields;
    const Table& m_table;
    modIO::clsTableWriter m_writer;
};

/// The body of a table command.
ExitCode Show(clsDatabase& database, modIO::TableForm form, const Table& table, const Filter& filter)
{
    if (!filter.siteID.isNull()) {
        const auto sites = database.OpenRecordset(u"tblSites"_s);
        if (const ExitCode found = clsCommandSession::FindSite(*sites, filter.siteID); found != ExitCode::Done)
            return found;
    }
    clsRecordTable(*database.OpenRecordset(table.source), form, table).Write(filter);
    return ExitCode::Done;
}

ExitCode ShowTemplates(clsDatabase& database, modIO::TableForm form)
{
    const clsMailTemplate templates(database);
    if (!templates.Templates())
        return ExitCode::Failed;
    const Table table{.source = {},
                      .people = {{u"MessageID"_s, {}},
                                 {u"Type"_s, &MessageTitle},
                                 {u"Template"_s, {}},
                                 {u"Subject"_s, {}},
                                 {u"LastModified"_s, {}}},
                      .emptyText = u"There are no templates available."_s,
                      .siteField = {}};
    clsRecordTable(*templates.Templates(), form, table).Write({});
    return ExitCode::Done;
}

CLI::App* AddTable(CLI::App& app, const char* name, const char* description, const std::shared_ptr<Words>& words)
{
    CLI::App* command = app.add_subcommand(name, description);
    modCommands::AddForms(*command, words->forms);
    return command;
}

void AddSiteOption(CLI::App& command, const std::shared_ptr<Words>& words)
{
    words->site.option =
        command.add_option("--site", words->site.text, "Of this site only; else of all")->type_name("SITEID");
}

void AddSites(CLI::App& app, clsCommand& chosen)
{
    static const Table table{.source = u"tblSites"_s,
                             .people = {{u"SiteID"_s, {}},
                                        {u"SiteName"_s, {}},
                                        {u"HomePage"_s, {}},
                                        {u"LinkPage"_s, {}},
                                        {u"TestForMyLinkAtRecipSite"_s, &YesOrNothing},
                                        {u"TestForRecipLinkAtMySite"_s, &YesOrNothing}},
                             .emptyText = u"There are no sites available."_s,
                             .siteField = {}};
    const auto words = std::make_shared<Words>();
    AddTable(app, "sites", "List your own sites", words)->callback([&chosen, words] {
        chosen = modCommands::InDatabase(
            [form = words->forms.Form()](clsDatabase& database) { return Show(database, form, table, {}); });
    });
}

void AddLinks(CLI::App& app, clsCommand& chosen)
{
    static const Table table{.source = u"tblLinkList"_s,
                             .people = {{u"ID"_s, {}},
                                        {u"SiteName"_s, {}},
                                        {u"Title"_s, {}},
                                        {u"Status"_s, &StatusName},
                                        {u"Results"_s, {}},
                                        {u"TestQueue"_s, &YesOrNothing},
                                        {u"EmailQueue"_s, &MailQueue},
                                        {u"LastSuccessfulTest"_s, {}},
                                        {u"LinkPage"_s, {}}},
                             .emptyText = u"There are no links available."_s,
                             .siteField = u"SiteName"_s};
    const auto words = std::make_shared<Words>();
    CLI::App* links = AddTable(app, "links", "List the link partners", words);
    AddSiteOption(*links, words);
    words->statuses.option =
        links
            ->add_option("--status", words->statuses.text, "Of these statuses only, separated by commas: active,broken")
            ->type_name("STATUS,...");
    links->callback([&chosen, links, words] {
        if (!links->get_subcommands().empty())
            return; // it is not the table that is wanted
        Filter filter{.siteID = words->site.Text(), .statuses = {}};
        if (words->statuses.option->count() > 0)
            filter.statuses = modCommands::StatusCodes(words->statuses);
        chosen = modCommands::InDatabase([filter, form = words->forms.Form()](clsDatabase& database) {
            return Show(database, form, table, filter);
        });
    });
}

void AddCategories(CLI::App& app, clsCommand& chosen)
{
    static const Table table{.source = u"tblCategory"_s,
                             .people = {{u"ID"_s, {}}, {u"SiteID"_s, {}}, {u"Category"_s, {}}},
                             .emptyText = u"There are no categories available."_s,
                             .siteField = u"SiteID"_s};
    const auto words = std::make_shared<Words>();
    CLI::App* categories = AddTable(app, "categories", "List the categories of links", words);
    AddSiteOption(*categories, words);
    categories->callback([&chosen, words] {
        chosen = modCommands::InDatabase(
            [filter = Filter{.siteID = words->site.Text(), .statuses = {}},
             form = words->forms.Form()](clsDatabase& database) { return Show(database, form, table, filter); });
    });
}

void AddTemplates(CLI::App& app, clsCommand& chosen)
{
    const auto words = std::make_shared<Words>();
    AddTable(app, "templates", "List the message templates", words)->callback([&chosen, words] {
        chosen = modCommands::InDatabase(
            [form = words->forms.Form()](clsDatabase& database) { return ShowTemplates(database, form); });
    });
}
} // namespace

void modCommands::AddTables(CLI::App& app, clsCommand& chosen)
{
    AddSites(app, chosen);
    AddLinks(app, chosen);
    AddCategories(app, chosen);
    AddTemplates(app, chosen);
}
