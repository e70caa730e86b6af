// SPDX-License-Identifier: GPL-3.0-or-later
// Makes and owns the real parts that need no window, and bundles them for the program.
#pragma once

#include "platform/clsPlatform.h"

#include <QString>
#include <memory>

/// The parts of one process. Windows and dialogs are added by whoever has them.
class clsPlatformParts
{
public:
    /// @param home  the folder of a portable installation, whose settings live in it too; empty: the user's own
    /// program folder and settings.
    explicit clsPlatformParts(const QString& home);
    ~clsPlatformParts();
    clsPlatformParts(const clsPlatformParts&) = delete;
    clsPlatformParts& operator=(const clsPlatformParts&) = delete;

    /// Handles to the parts, to be completed with Dialogs, Windows and the rest.
    [[nodiscard]] clsPlatform Bundle() const;
    /// The folder of this installation, which may not exist yet.
    [[nodiscard]] const QString& ProgramFolder() const { return m_programFolder; }
    /// The folder named to the constructor; empty for the user's own installation.
    [[nodiscard]] const QString& Home() const { return m_home; }
    /// True when that folder has been laid down.
    [[nodiscard]] bool Installed() const;
    /// Lays the program folder down from the share folder: Data with the empty database, and beside it sound, help,
    /// word lists and page template. An existing database is left alone. @throws clsError
    void LayDown();
    /// Brings what lies beside Data up to date: the help text is this program's, files that are not there are laid
    /// down. What the user may have made his own is left alone. @throws clsError
    void Complete();

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
    QString m_home;
    QString m_programFolder;
};
