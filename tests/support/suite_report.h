// SPDX-License-Identifier: GPL-3.0-or-later
// What every robustness suite shares: its seed, whether it runs whole, and the report of its counts.
#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTextStream>
#include <algorithm>
#include <cstdio>

namespace suiteReport
{
/// Whether the suite runs whole instead of a sample.
inline bool Long()
{
    return qEnvironmentVariableIntValue("BRAMBURY_LONG") != 0;
}

/// The seed of this run; the same one gives the same choices.
inline quint32 Seed()
{
    bool given = false;
    const int seed = qEnvironmentVariableIntValue("BRAMBURY_SEED", &given);
    return given ? static_cast<quint32>(seed) : 20260105u;
}

/// Puts this suite's row into the table of docs/robustness.md, in the place of its old one.
inline void WriteRow(const QString& suite, const QString& seeds, const QString& counts)
{
    const QString path = QStringLiteral(BRAMBURY_SOURCE_DIR "/docs/robustness.md");
    const QString mark = QStringLiteral("| %1 |").arg(suite);
    QStringList rows;
    if (QFile old(path); old.open(QIODevice::ReadOnly)) {
        for (const QString& line : QString::fromUtf8(old.readAll()).split(u'\n'))
            if (line.startsWith(QStringLiteral("| ")) && !line.startsWith(QStringLiteral("| Suite")) &&
                !line.startsWith(mark))
                rows.append(line);
    }
    rows.append(
        QStringLiteral("%1 %2 | %3 | %4 |").arg(mark, seeds, counts, QDate::currentDate().toString(Qt::ISODate)));
    rows.sort();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("%s cannot be written", qPrintable(path));
    QTextStream(&file) << "# Robustness runs\n\n"
                          "What `./test.sh --long` counted when it last ran each suite whole. `BRAMBURY_SEED` gives "
                          "another seed.\n\n"
                          "| Suite | Seeds | Counts | Date |\n|---|---|---|---|\n"
                       << rows.join(u'\n') << "\n";
}

/// Puts a part into docs/data-safety.md, in the place of the old one with its heading.
inline void WritePart(const QString& heading, const QString& text)
{
    const QString path = QStringLiteral(BRAMBURY_SOURCE_DIR "/docs/data-safety.md");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(path));
    QStringList parts = QString::fromUtf8(file.readAll()).trimmed().split(QStringLiteral("\n\n## "));
    file.close();
    const qsizetype place =
        std::find_if(parts.cbegin(), parts.cend(), [&](const QString& part) { return part.startsWith(heading); }) -
        parts.cbegin();
    if (place == parts.size())
        parts.append(QString());
    parts[place] = heading + QStringLiteral("\n\n") + text.trimmed();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(parts.join(QStringLiteral("\n\n## ")).toUtf8() + '\n') < 0)
        qFatal("%s cannot be written", qPrintable(path));
}

/// Whether this run is one whose counts are written down: whole, and of the whole program.
inline bool Counts()
{
    return Long() && QCoreApplication::arguments().size() == 1; // not when only some functions were asked for
}

/// One line for whoever watches; after a long run the table in docs as well.
inline void Report(const QString& suite, const QString& counts, const QString& seeds = QString::number(Seed()))
{
    std::printf("%s: %s\n", qPrintable(suite), qPrintable(counts));
    std::fflush(stdout);
    if (Counts())
        WriteRow(suite, seeds, counts);
}
} // namespace suiteReport
