// SPDX-License-Identifier: GPL-3.0-or-later
// template: one message template shown, made, changed, copied and deleted.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "cli/modRecordWords.h"
#include "mail/clsMailTemplate.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <QStringDecoder>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modCommands::InDatabase;
using modCommands::Word;
using modRecordWords::Assignment;

namespace
{
const QStringList Columns{u"Type"_s, u"Subject"_s, u"Body"_s, u"AttachedFile"_s};

/// What a command does with the template that its words name, which is loaded.
using TemplateWork = std::function<ExitCode(clsMailTemplate&)>;

/// Loads the template that a word means. @return Refused when it means none, or several; the user has been told.
ExitCode Find(clsMailTemplate& templates, const QString& word)
{
    std::vector<clsMailTemplate::Name> all;
    if (!templates.LoadMessageNames(all, 0))
        return ExitCode::Failed;
    const QStringList meant =
        modRecordWords::NumbersMeant(all, &clsMailTemplate::Name::id, &clsMailTemplate::Name::name, word);
    if (meant.isEmpty())
        return clsCommandSession::Refuse(u"There is no template %1."_s.arg(word));
    if (meant.size() > 1)
        return clsCommandSession::Refuse(
            u"There are several templates %1: say which by its number, %2."_s.arg(word, meant.join(u", ")));
    return templates.GetMessage(meant.front()) ? ExitCode::Done : ExitCode::Failed;
}

/// A command for a template that exists. @param given  its name or number.
clsCommand ForTemplate(const QString& given, const TemplateWork& work)
{
    return InDatabase([given, work](clsDatabase& database) {
        clsMailTemplate templates(database);
        const ExitCode found = Find(templates, given);
        return found == ExitCode::Done ? work(templates) : found;
    });
}

/// Gives the loaded template a value. @return why it cannot: a sentence.
QString Assign(clsMailTemplate& templates, const Assignment& assignment)
{
    const auto is = [&](const QString& column) { return assignment.column.compare(column, Qt::CaseInsensitive) == 0; };
    if (is(u"Type"_s)) {
        const auto& types = modBrambury::State().MessageTypes;
        const int type = assignment.value.toInt();
        if (std::none_of(types.begin(), types.end(), [&](const auto& known) { return known.ID == type; }))
            return u"Type is the number of a message type, which \"%1\" is not."_s.arg(assignment.value);
        templates.TemplateType = static_cast<qint16>(type);
    } else if (is(u"Subject"_s)) {
        templates.Subject = modCommonFunctions::OnOneLine(assignment.value);
    } else if (is(u"Body"_s)) {
        templates.Body = modCommonFunctions::WithCrLf(assignment.value);
    } else if (is(u"AttachedFile"_s)) {
        templates.AttachedFile = assignment.value;
    } else if (is(u"Template"_s)) {
        return u"A template keeps its name; copy it to have it under another one."_s;
    } else if (is(u"MessageID"_s) || is(u"LastModified"_s)) {
        return u"The column %1 is written by the program alone."_s.arg(assignment.column);
    } else {
        return u"There is no column %1; the columns are %2."_s.arg(assignment.column, Columns.join(", "_L1));
    }
    return {};
}

/// What a template is given by the words of a command.
struct Content
{
    std::vector<Assignment> assignments;
    QString bodyFile; ///< Null: none
};

/// @return Refused when something cannot be given; the user has been told.
ExitCode Assign(clsMailTemplate& templates, const Content& content)
{
    for (const Assignment& assignment : content.assignments) {
        if (const QString problem = Assign(templates, assignment); !problem.isEmpty())
            return clsCommandSession::Refuse(problem);
    }
    if (content.bodyFile.isNull())
        return ExitCode::Done;
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString body = decoder(modBrambury::Platform().Disk->ReadFile(content.bodyFile));
    if (decoder.hasError())
        return clsCommandSession::Refuse(u"%1 is no text in UTF-8."_s.arg(content.bodyFile));
    templates.Body = modCommonFunctions::WithCrLf(body);
    return ExitCode::Done;
}

ExitCode Store(clsMailTemplate& templates)
{
    return templates.Update() ? ExitCode::Done : ExitCode::Failed;
}

/// Stores what is loaded under another name, over a template that has it already if the user says so. Prints the number
/// of the record.
ExitCode StoreAs(clsMailTemplate& templates, const QString& given)
{
    const QString name = templates.StoredName(given);
    if (name.isEmpty())
        return clsCommandSession::Refuse(u"A template cannot be without a name."_s);
    templates.Template = name;
    templates.EditMode = u"Copy"_s;
    if (templates.FindMessage(name, true)) {
        if (modCommonFunctions::MsgBox(u"This template name already exists.\r\nDo you want to replace it?"_s,
                                       clsDialogs::Buttons::YesNo,
                                       clsDialogs::Icon::Question) != clsDialogs::Answer::Yes)
            return ExitCode::Refused;
        templates.EditMode = u"Replace"_s;
    }
    const ExitCode stored = Store(templates);
    if (stored == ExitCode::Done)
        modConsole::WriteLine(QString::number(templates.MessageID));
    return stored;
}

ExitCode Add(clsMailTemplate& templates, const QString& name, const Content& content)
{
    templates.NewRecord();
    if (const ExitCode given = Assign(templates, content); given != ExitCode::Done)
        return given;
    if (templates.TemplateType == 0)
        return clsCommandSession::Refuse(u"A template is for a type of message: give it Type=NUMBER."_s);
    return StoreAs(templates, name);
}

ExitCode Delete(clsMailTemplate& templates)
{
    if (modCommonFunctions::MsgBox(u"Are you sure you wish to delete this e-mail template?"_s,
                                   clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) != clsDialogs::Answer::Yes)
        return ExitCode::Refused;
    return templates.Delete() ? ExitCode::Done : ExitCode::Failed;
}

ExitCode RefuseDefault()
{
    modCommonFunctions::MsgBox(u"You cannot delete the Default template."_s, clsDialogs::Buttons::OK,
                               clsDialogs::Icon::Critical);
    return ExitCode::Refused;
}

/// The words that these commands share.
struct Words
{
    Word name;
    Word newName;
    Word bodyFile;
    std::vector<std::string> assignments;
    modCommands::Forms forms;

    [[nodiscard]] ::Content Content() const { return {modRecordWords::Assignments(assignments), bodyFile.Text()}; }
};

CLI::App*
AddCommand(CLI::App& group, const char* name, const char* description, const std::shared_ptr<Words>& words,
           const char* meaning = "Its name, letter case ignored, or its number where no template has that name")
{
    CLI::App* command = group.add_subcommand(name, description);
    words->name.option = command->add_option("name", words->name.text, meaning)->required()->type_name("NAME");
    return command;
}

void AddContent(CLI::App& command, const std::shared_ptr<Words>& words)
{
    command
        .add_option("fields", words->assignments, "Type (the number of a message type), Subject, Body, AttachedFile")
        ->type_name("Column=value");
    words->bodyFile.option =
        command.add_option("--body-file", words->bodyFile.text, "File that holds the text, in UTF-8")
            ->type_name("FILE");
}
} // namespace

void modCommands::AddTemplate(CLI::App& app, clsCommand& chosen)
{
    CLI::App* group = app.add_subcommand("template", "Show, make, change, copy or delete a message template");
    group->require_subcommand(1);

    auto words = std::make_shared<Words>();
    CLI::App* command = AddCommand(*group, "show", "Show every field of a template", words);
    AddForms(*command, words->forms);
    command->callback([&chosen, words] {
        chosen = ForTemplate(words->name.Text(), [form = words->forms.Form()](clsMailTemplate& templates) {
            modRecordWords::Show(*templates.Templates(), form);
            return ExitCode::Done;
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*group, "new", "Make a template; prints its number", words, "The new template's name");
    AddContent(*command, words);
    command->callback([&chosen, words] {
        chosen = InDatabase([name = words->name.Text(), content = words->Content()](clsDatabase& database) {
            clsMailTemplate templates(database);
            return Add(templates, name, content);
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*group, "set", "Change fields of a template", words);
    AddContent(*command, words);
    command->callback([&chosen, words] {
        if (words->assignments.empty() && words->bodyFile.option->count() == 0)
            throw CLI::RequiredError("fields");
        chosen = ForTemplate(words->name.Text(), [content = words->Content()](clsMailTemplate& templates) {
            const ExitCode given = Assign(templates, content);
            return given == ExitCode::Done ? Store(templates) : given;
        });
    });

    words = std::make_shared<Words>();
    command = AddCommand(*group, "copy", "Copy a template under another name; prints the copy's number", words);
    words->newName.option =
        command->add_option("new", words->newName.text, "The copy's name")->required()->type_name("NEW");
    command->callback([&chosen, words] {
        chosen = ForTemplate(words->name.Text(), [name = words->newName.Text()](clsMailTemplate& templates) {
            return StoreAs(templates, name);
        });
    });

    words = std::make_shared<Words>();
    AddCommand(*group, "delete", "Delete a template, after a question", words)->callback([&chosen, words] {
        const QString name = words->name.Text();
        if (clsMailTemplate::IsDefault(name)) {
            chosen = InDatabase([](clsDatabase&) { return RefuseDefault(); });
            return;
        }
        chosen = ForTemplate(name, [](clsMailTemplate& templates) {
            return clsMailTemplate::IsDefault(templates.Template) ? RefuseDefault() : Delete(templates);
        });
    });
}
