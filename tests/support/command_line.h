// SPDX-License-Identifier: GPL-3.0-or-later
// The built program as a shell meets it: words and input in, streams and exit code out.
#pragma once

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>

namespace commandLine
{
struct Outcome
{
    int code = -1; ///< -1: it crashed, or did not end
    QString out;
    QString err;
    [[nodiscard]] QJsonArray Json() const { return QJsonDocument::fromJson(out.toUtf8()).array(); }
};

/// How long a command may take.
inline constexpr int LimitMs = 60'000;

/// Starts the program without a display, a keyring or settings of whoever runs the tests.
/// @param variables  "NAME=value", on top of the environment.
inline void Start(QProcess& process, const QStringList& words, const QStringList& variables = {})
{
    static const QRegularExpression unset(
        QStringLiteral("^(DISPLAY|WAYLAND_DISPLAY|QT_QPA_PLATFORM|BRAMBURY_|XDG_|DBUS_)"));
    QStringList environment = QProcess::systemEnvironment();
    environment.removeIf([](const QString& variable) { return unset.match(variable).hasMatch(); });
    process.setEnvironment(environment +
                           QStringList{QStringLiteral("DBUS_SESSION_BUS_ADDRESS=unix:path=/no/such/bus")} + variables);
    process.start(QStringLiteral(BRAMBURY_BINARY_DIR "/bin/brambury"), words);
}

inline Outcome Finish(QProcess& process)
{
    process.closeWriteChannel();
    if (!process.waitForFinished(LimitMs) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

/// Runs a command on an installation, in its folder, to its end.
inline Outcome Run(const QString& home, const QStringList& words, const QByteArray& input = {},
                   const QStringList& variables = {})
{
    QProcess process;
    if (QFileInfo::exists(home))
        process.setWorkingDirectory(home);
    Start(process, QStringList{QStringLiteral("--home"), home} + words, variables);
    process.write(input);
    return Finish(process);
}

/// Whether a text is as expected, where "*" stands for anything.
inline bool Fits(const QString& text, const QString& expected)
{
    const QString pattern = QRegularExpression::escape(expected).replace(QStringLiteral("\\*"), QStringLiteral(".*"));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::DotMatchesEverythingOption)
        .match(text)
        .hasMatch();
}
} // namespace commandLine
