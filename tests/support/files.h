// SPDX-License-Identifier: GPL-3.0-or-later
// Whole files, read and written past the program.
#pragma once

#include <QByteArray>
#include <QFile>

/// Empty when there is no such file.
inline QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void WriteAll(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(path));
}
