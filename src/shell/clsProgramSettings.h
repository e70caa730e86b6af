// SPDX-License-Identifier: GPL-3.0-or-later
// The values of every persisted setting, and the one table that holds key, kind and default of each.
#pragma once

#include <QString>
#include <variant>
#include <vector>

/// Process-wide settings values. Flags are the texts "Yes"/"No"; on only when exactly "Yes".
struct clsProgramSettings
{
    QString DataPath;
    QString Site;
    qint16 Sort = 14;
    qint16 HideInactiveDeclined = 1;
    QString ClearResultsLog;
    qint16 ShowURL = 0;
    QString LastEntry;
    QString ShowTips;
    QString ConfirmDelete;
    QString PlaySoundComplete;
    QString SoundComplete;
    QString AutoBackup;
    QString LastBackup;
    qint16 DaysToReminder = 7;
    QString DefaultWebMaster;
    QString DefaultEmail;
    QString DefaultSender;
    QString DefaultSignatureBlock;
    QString DefaultHostName;
    quint16 DefaultMailPort = 25;
    QString DefaultProxyServer;
    QString DefaultHTTPPort;
    qint16 BCC = 0;
    QString PaneTop;
    QString PaneLeft;
    QString WindowState;
    QString WindowWidth;
    QString WindowHeight;
    QString WindowTop;
    QString WindowLeft;
    qint16 IconSize = 1;
    // Section "Backup": never written unless the user changes it.
    QString KeepDated;
    // Section "Network": read at start, never written unless the user changes them.
    qint16 Timeout = 60;               ///< seconds, 1 to 3600
    qint16 SimultaneousDownloads = 32; ///< 1 to 64
    qint16 PerHostConnections = 4;     ///< 1 to 16
    QString CaFile;
    // Section "Mail", likewise: for each mail server, where a site does not say otherwise.
    qint16 MailGap = 0;     ///< least seconds from one message to the next, 0 to 3600
    qint16 MailPerHour = 0; ///< most messages in an hour, 0 no limit
    qint16 MailPerDay = 0;  ///< most messages in a day, 0 no limit
};

/// True for a flag that is on.
inline bool IsOn(const QString& flag)
{
    return flag == QLatin1String("Yes");
}

/// One line of the settings table.
struct clsSettingEntry
{
    const char* section;
    const char* key;
    std::variant<QString clsProgramSettings::*, qint16 clsProgramSettings::*, quint16 clsProgramSettings::*> value;
    const char* defaultText; ///< a leading "\" stands for the program folder
    bool saved;              ///< written by SaveProgramSettings
    int low = -32768;        ///< the range of a number; one outside it counts as the nearest one inside
    int high = 65535;
};

/// Every setting, in the order in which they are read.
const std::vector<clsSettingEntry>& SettingsTable();
/// An entry's default as text, with the program folder filled in.
QString DefaultOf(const clsSettingEntry& entry);
/// The entry of a (section, key); null for one that the table does not know.
const clsSettingEntry* EntryOf(const QString& section, const QString& key);
