// SPDX-License-Identifier: GPL-3.0-or-later
// settings: the settings store as (section, key) and text.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "platform/clsDisk.h"
#include "platform/clsSettingsStore.h"
#include "platform/modPlatformImpl.h"
#include "platform/parts/clsPlatformParts.h"
#include "shell/clsProgramSettings.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <CLI/CLI.hpp>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The one section whose keys are not known beforehand: columns of the link list and their widths.
constexpr char16_t GridSection[] = u"LinkGrid";

clsSettingsStore& Store()
{
    return *modBrambury::Platform().Settings;
}

/// Whether the program has such a setting, or the store holds one of that name.
bool Known(const QString& section, const QString& key)
{
    return section == GridSection || EntryOf(section, key) || Store().HasSetting(section, key);
}

ExitCode RefuseUnknown(const QString& section, const QString& key)
{
    return clsCommandSession::Refuse(u"There is no setting "_s + section + u'/' + key + u'.');
}

/// Without a program folder there is no installation whose settings could be meant.
ExitCode NeedFolder(const clsCommandSession& session)
{
    if (session.Parts().Installed())
        return ExitCode::Done;
    return session.LocateDatabase() == ExitCode::Done ? ExitCode::Done : ExitCode::Failed;
}

/// Keeps a window from opening while settings are changed. @throws clsError
std::unique_ptr<clsInstance> KeepWindowClosed()
{
    auto instance = modPlatformImpl::MakeInstance(modBrambury::ProgramFolder(), {});
    if (instance->PrevInstance())
        return nullptr;
    return instance;
}

/// One setting a line, whatever the value holds.
void ListLine(const QString& section, const QString& key, QString value)
{
    value.replace(u"\r\n"_s, u"\\n"_s).replace(u'\n', u"\\n"_s).replace(u'\r', u"\\n"_s);
    modConsole::WriteLine(section + u'/' + key + u'=' + value);
}

ExitCode List(const clsCommandSession& session, bool withDefaults)
{
    if (const ExitCode folder = NeedFolder(session); folder != ExitCode::Done)
        return folder;
    if (withDefaults) {
        for (const clsSettingEntry& entry : SettingsTable()) {
            const QString section = QString::fromLatin1(entry.section);
            const QString key = QString::fromLatin1(entry.key);
            ListLine(section, key, Store().GetSetting(section, key, DefaultOf(entry)));
        }
    }
    const QStringList sections = Store().Sections();
    for (const QString& section : sections) {
        for (const auto& [key, value] : Store().GetAllSettings(section)) {
            if (!withDefaults || !EntryOf(section, key))
                ListLine(section, key, value);
        }
    }
    return ExitCode::Done;
}

ExitCode Get(const clsCommandSession& session, const QString& section, const QString& key)
{
    if (const ExitCode folder = NeedFolder(session); folder != ExitCode::Done)
        return folder;
    const clsSettingEntry* entry = EntryOf(section, key);
    if (!entry && !Store().HasSetting(section, key))
        return RefuseUnknown(section, key);
    modConsole::WriteLine(Store().GetSetting(section, key, entry ? DefaultOf(*entry) : QString()));
    return ExitCode::Done;
}

/// A text that the setting cannot hold would end the reading of the settings at every start from now on.
bool Converts(const clsSettingEntry& entry, const QString& value)
{
    bool inRange = true;
    const bool converts = ignoringErrors([&] {
        if (std::holds_alternative<qint16 clsProgramSettings::*>(entry.value)) {
            const int number = modCommonFunctions::ToInt16(value);
            inRange = number >= entry.low && number <= entry.high;
        } else if (std::holds_alternative<quint16 clsProgramSettings::*>(entry.value)) {
            static_cast<void>(modCommonFunctions::ToPort(value));
        }
    });
    return converts && inRange;
}

/// Changes the store unless a window is open, whose end would write over it.
ExitCode Change(const std::function<void()>& change)
{
    const auto instance = KeepWindowClosed();
    if (!instance)
        return clsCommandSession::InUse(u"Brambury's window is open; its end would write over the settings."_s);
    change();
    Store().Flush();
    instance->Release();
    return ExitCode::Done;
}

ExitCode Set(const clsCommandSession& session, const QString& section, const QString& key, const QString& value)
{
    if (const ExitCode folder = NeedFolder(session); folder != ExitCode::Done)
        return folder;
    if (!Known(section, key))
        return RefuseUnknown(section, key);
    if (const clsSettingEntry* entry = EntryOf(section, key); entry && !Converts(*entry, value))
        return clsCommandSession::Refuse(u'"' + value + u"\" is no number that "_s + section + u'/' + key +
                                         u" can hold."_s);
    return Change([&] { Store().SaveSetting(section, key, value); });
}

ExitCode Unset(const clsCommandSession& session, const QString& section, const QString& key)
{
    if (const ExitCode folder = NeedFolder(session); folder != ExitCode::Done)
        return folder;
    if (key.isNull()) {
        const auto& table = SettingsTable();
        const bool known = section == GridSection || Store().Sections().contains(section) ||
                           std::any_of(table.cbegin(), table.cend(), [&](const clsSettingEntry& entry) {
                               return section == QLatin1String(entry.section);
                           });
        if (!known)
            return clsCommandSession::Refuse(u"There is no section "_s + section + u'.');
        return Change([&] { Store().DeleteSection(section); });
    }
    if (!Known(section, key))
        return RefuseUnknown(section, key);
    return Change([&] { Store().DeleteSetting(section, key); });
}

struct Words
{
    modCommands::Word section;
    modCommands::Word key;
    modCommands::Word value;
    bool withDefaults = false;
};

void AddSection(CLI::App& command, Words& words)
{
    words.section.option =
        command.add_option("section", words.section.text, "General, Interface, LinkGrid, Backup, Network or Mail")
            ->required();
}

CLI::Option* AddKey(CLI::App& command, Words& words)
{
    return words.key.option = command.add_option("key", words.key.text, "Name of the setting");
}
} // namespace

void modCommands::AddSettings(CLI::App& app, clsCommand& chosen)
{
    const auto words = std::make_shared<Words>();
    CLI::App* settings = app.add_subcommand("settings", "Read and change the settings");
    settings->require_subcommand(1);

    CLI::App* list = settings->add_subcommand("list", "List the stored settings as Section/Key=Value");
    list->add_flag("--all", words->withDefaults, "Also the defaults of those that are not stored");
    list->callback([&chosen, words] {
        chosen = [words](clsCommandSession& session) { return List(session, words->withDefaults); };
    });

    const auto get = std::make_shared<Words>();
    CLI::App* getCommand = settings->add_subcommand("get", "Print a setting, or its default when it is not stored");
    AddSection(*getCommand, *get);
    AddKey(*getCommand, *get)->required();
    getCommand->callback([&chosen, get] {
        chosen = [get](clsCommandSession& session) { return Get(session, get->section.Text(), get->key.Text()); };
    });

    const auto set = std::make_shared<Words>();
    CLI::App* setCommand = settings->add_subcommand("set", "Store a setting");
    AddSection(*setCommand, *set);
    AddKey(*setCommand, *set)->required();
    set->value.option =
        setCommand->add_option("value", set->value.text, "Its text; after -- it may begin with -")->required();
    setCommand->callback([&chosen, set] {
        chosen = [set](clsCommandSession& session) {
            return Set(session, set->section.Text(), set->key.Text(), set->value.Text());
        };
    });

    const auto unset = std::make_shared<Words>();
    CLI::App* unsetCommand = settings->add_subcommand("unset", "Forget a setting, or a section");
    AddSection(*unsetCommand, *unset);
    AddKey(*unsetCommand, *unset);
    unsetCommand->callback([&chosen, unset] {
        chosen = [unset](clsCommandSession& session) {
            return Unset(session, unset->section.Text(), unset->key.Text());
        };
    });
}
