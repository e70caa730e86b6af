// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/clsProgramSettings.h"

#include "shell/modBrambury.h"

#include <algorithm>

const std::vector<clsSettingEntry>& SettingsTable()
{
    using S = clsProgramSettings;
    static const std::vector<clsSettingEntry> table{
        {"General", "DataPath", &S::DataPath, "\\Data\\", false},
        {"General", "Site", &S::Site, "", true},
        {"General", "Sort", &S::Sort, "14", true},
        {"General", "HideInactiveDeclined", &S::HideInactiveDeclined, "1", true},
        {"General", "ClearResultsLog", &S::ClearResultsLog, "Yes", true},
        {"General", "ShowURL", &S::ShowURL, "0", true},
        {"General", "LastEntry", &S::LastEntry, "", true},
        {"General", "ShowTips", &S::ShowTips, "Yes", true},
        {"General", "ConfirmDelete", &S::ConfirmDelete, "Yes", true},
        {"General", "PlaySoundComplete", &S::PlaySoundComplete, "Yes", true},
        {"General", "SoundComplete", &S::SoundComplete, "\\Musfall.wav", true},
        {"General", "AutoBackup", &S::AutoBackup, "Yes", true},
        {"General", "LastBackup", &S::LastBackup, "", true},
        {"General", "DaysToReminder", &S::DaysToReminder, "7", true},
        {"General", "DefaultWebMaster", &S::DefaultWebMaster, "", true},
        {"General", "DefaultEmail", &S::DefaultEmail, "", true},
        {"General", "DefaultSender", &S::DefaultSender, "", true},
        {"General", "DefaultSignatureBlock", &S::DefaultSignatureBlock, "", true},
        {"General", "DefaultHostName", &S::DefaultHostName, "", true},
        {"General", "DefaultMailPort", &S::DefaultMailPort, "25", true},
        {"General", "DefaultProxyServer", &S::DefaultProxyServer, "", true},
        {"General", "DefaultHTTPPort", &S::DefaultHTTPPort, "80", true},
        {"General", "BCC", &S::BCC, "0", true},
        {"Interface", "PaneTop", &S::PaneTop, "4230", true},
        {"Interface", "PaneLeft", &S::PaneLeft, "1690", true},
        {"Interface", "WindowState", &S::WindowState, "0", true},
        {"Interface", "WindowWidth", &S::WindowWidth, "9480", true},
        {"Interface", "WindowHeight", &S::WindowHeight, "6555", true},
        {"Interface", "WindowTop", &S::WindowTop, "-1", true},
        {"Interface", "WindowLeft", &S::WindowLeft, "-1", true},
        {"Interface", "IconSize", &S::IconSize, "1", true},
        {"Backup", "KeepDated", &S::KeepDated, "Yes", false},
        {"Network", "Timeout", &S::Timeout, "60", false, 1, 3600},
        {"Network", "SimultaneousDownloads", &S::SimultaneousDownloads, "32", false, 1, 64},
        {"Network", "PerHostConnections", &S::PerHostConnections, "4", false, 1, 16},
        {"Network", "CaFile", &S::CaFile, "", false},
        {"Mail", "GapSeconds", &S::MailGap, "0", false, 0, 3600},
        {"Mail", "PerHour", &S::MailPerHour, "0", false, 0, 32767},
        {"Mail", "PerDay", &S::MailPerDay, "0", false, 0, 32767},
    };
    return table;
}

QString DefaultOf(const clsSettingEntry& entry)
{
    const QString text = QString::fromLatin1(entry.defaultText);
    return text.startsWith(u'\\') ? modBrambury::FolderPath(text) : text;
}

const clsSettingEntry* EntryOf(const QString& section, const QString& key)
{
    const auto& table = SettingsTable();
    const auto found = std::find_if(table.cbegin(), table.cend(), [&](const clsSettingEntry& entry) {
        return section == QLatin1String(entry.section) && key == QLatin1String(entry.key);
    });
    return found == table.cend() ? nullptr : &*found;
}
