// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/modRecordWords.h"

#include "cli/modConsole.h"
#include "data/clsSiteRecord.h"
#include "mail/clsMailTemplate.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// A value on a terminal: on lines of its own from the second on, without anything that the terminal would obey.
QString ForPeople(QString text)
{
    text = modCommonFunctions::WithLineFeeds(text);
    for (QChar& letter : text) {
        if (letter.category() == QChar::Other_Control && letter != u'\n' && letter != u'\t')
            letter = u' ';
    }
    return text.replace(u'\n', u"\n    "_s);
}
} // namespace

std::vector<modRecordWords::Assignment> modRecordWords::Assignments(const std::vector<std::string>& words)
{
    std::vector<Assignment> assignments;
    for (const std::string& word : words) {
        const QString text = QString::fromLocal8Bit(word.data(), std::ssize(word));
        const qsizetype sign = text.indexOf(u'=');
        if (sign < 1)
            throw CLI::ValidationError("Column=value", "\"" + word + "\" is no column, \"=\" and its value");
        const QString column = text.left(sign);
        if (std::any_of(assignments.cbegin(), assignments.cend(), [&](const Assignment& earlier) {
                return earlier.column.compare(column, Qt::CaseInsensitive) == 0;
            }))
            throw CLI::ValidationError("Column=value", "the column " + column.toStdString() + " is given twice");
        assignments.push_back({column, text.mid(sign + 1)});
    }
    return assignments;
}

modRecordColumns::References modRecordWords::ReferencesOfSites(clsDatabase& database)
{
    modRecordColumns::References references;
    const clsMailTemplate templates(database);
    const std::vector<modBrambury::MessageType>& types = modBrambury::State().MessageTypes;
    for (int i = 0; i < static_cast<int>(types.size()); ++i) {
        const modBrambury::MessageType& type = types[static_cast<std::size_t>(i)];
        modRecordColumns::Reference& reference = references[clsSiteRecord::TemplateField(i)];
        reference.what = u"template for "_s + type.Title;
        std::vector<clsMailTemplate::Name> names;
        templates.LoadMessageNames(names, static_cast<qint16>(type.ID));
        for (const clsMailTemplate::Name& name : names)
            reference.ids.insert(name.id);
    }
    return references;
}

QString modRecordWords::Assign(clsDatabase& database, const QString& table, clsRecordEditor& record,
                               const std::vector<Assignment>& assignments,
                               const modRecordColumns::References& references)
{
    for (const Assignment& assignment : assignments) {
        QString problem = modRecordColumns::Problem(database, table, record, assignment.column);
        if (problem.isEmpty())
            problem =
                modRecordColumns::Assign(record, *record.FieldNamed(assignment.column), assignment.value, references);
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

ExitCode modRecordWords::Save(clsRecordEditor& record)
{
    switch (record.Save()) {
    case clsRecordEditor::Saved::Yes:
        return ExitCode::Done;
    case clsRecordEditor::Saved::Refused:
        return ExitCode::Refused;
    case clsRecordEditor::Saved::Failed:
        break;
    }
    return ExitCode::Failed;
}

void modRecordWords::Show(const clsRecordset& records, modIO::TableForm form)
{
    const QStringList names = records.FieldNames();
    if (form == modIO::TableForm::People) {
        for (const QString& name : names)
            modConsole::WriteLine(name + ": "_L1 + ForPeople(modCommonFunctions::TextOf(records.Field(name))));
        return;
    }
    std::vector<QVariant> values;
    for (const QString& name : names)
        values.push_back(records.Field(name));
    modIO::clsTableWriter writer(form, names, &modConsole::Write);
    writer.Row(values);
    writer.End();
}
