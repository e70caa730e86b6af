// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/modCommands.h"

#include "cli/clsCommandSession.h"
#include "platform/clsDisk.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <QStringList>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QString modCommands::Word::Text() const
{
    return option->count() == 0 ? QString() : u""_s + QString::fromLocal8Bit(text.data(), std::ssize(text));
}

void modCommands::AddForms(CLI::App& command, Forms& forms)
{
    CLI::Option* json =
        command.add_flag("--json", forms.json, "An array of objects, every field keyed by its column name");
    command.add_flag("--csv", forms.csv, "A heading line and one line a record, every field (RFC 4180)")
        ->excludes(json);
}

void modCommands::AddSiteName(CLI::App& command, Word& site)
{
    site.option = command.add_option("--site", site.text, "The site")->required()->type_name("SITEID");
}

CLI::Option* modCommands::AddAssignments(CLI::App& command, std::vector<std::string>& words)
{
    return command.add_option("fields", words, "Columns and what they are given; letter case of columns is ignored")
        ->type_name("Column=value");
}

bool modCommands::MayReplace(const QString& file)
{
    return !modBrambury::Platform().Disk->FileExists(file) ||
           modCommonFunctions::MsgBox(file + u" already exists.\r\nDo you want to replace it?"_s,
                                      clsDialogs::Buttons::YesNo,
                                      clsDialogs::Icon::Question) == clsDialogs::Answer::Yes;
}

clsCommand modCommands::InDatabase(std::function<ExitCode(clsDatabase&)> body)
{
    return [body = std::move(body)](clsCommandSession& session) {
        ExitCode code = session.LocateDatabase();
        if (code == ExitCode::Done)
            code = session.OpenDatabase();
        return code == ExitCode::Done ? body(clsCommandSession::Database()) : code;
    };
}

QSet<int> modCommands::StatusCodes(const Word& names)
{
    modBrambury::LoadStatusNames();
    const QStringList& known = modBrambury::State().StatusNames;
    QSet<int> codes;
    const QStringList given = names.Text().split(u',');
    for (const QString& name : given) {
        const auto status = std::find_if(known.cbegin(), known.cend(), [&](const QString& entry) {
            return entry.compare(name.trimmed(), Qt::CaseInsensitive) == 0;
        });
        if (status == known.cend())
            throw CLI::ValidationError(
                names.option->get_name(),
                (u"there is no status \""_s + name + u"\"; the statuses are "_s + known.join(u", "_s).toLower())
                    .toStdString());
        codes.insert(static_cast<int>(status - known.cbegin()));
    }
    return codes;
}
