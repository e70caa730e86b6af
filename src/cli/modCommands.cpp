// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/modCommands.h"

#include "shell/modBrambury.h"

#include <CLI/CLI.hpp>
#include <QStringList>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QString modCommands::Word::Text() const
{
    return option->count() == 0 ? QString() : u""_s + QString::fromLocal8Bit(text.data(), std::ssize(text));
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
