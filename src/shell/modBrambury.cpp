// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/modBrambury.h"

#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDatabaseFiles.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsWindows.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QDir>
#include <QFileInfo>
#include <QVersionNumber>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "modBrambury";

QString s_programFolder;
modBrambury::Next s_next = modBrambury::Next::End;

void Assign(clsProgramSettings& settings, const clsSettingEntry& entry, const QString& text)
{
    if (const auto* number = std::get_if<qint16 clsProgramSettings::*>(&entry.value))
        settings.*(*number) = static_cast<qint16>(
            std::clamp<int>(modCommonFunctions::ToInt16(text), entry.low, std::min(entry.high, 32767)));
    else if (const auto* port = std::get_if<quint16 clsProgramSettings::*>(&entry.value))
        settings.*(*port) = modCommonFunctions::ToPort(text);
    else
        settings.*std::get<QString clsProgramSettings::*>(entry.value) = text;
}

QString AsText(const QString& value)
{
    return value;
}

QString AsText(int value)
{
    return QString::number(value);
}

/// Puts every value of the process but the platform and the dialled connection back to its start.
void Reset()
{
    modBrambury::ProcessState& state = modBrambury::State();
    s_next = modBrambury::Next::End;
    state.Terminating = false;
    state.SessionEnding = false;
    state.BackupFromExit = false;
    state.DatabaseWork = false;
    state.FileInUse = false;
    state.StopFlag = false;
    state.Platform.EventLoop->Resume();
}

/// @return whether the program has started.
bool Start()
{
    modBrambury::ProcessState& state = modBrambury::State();
    const clsPlatform& platform = state.Platform;
    state.OtherCopy = platform.Instance && platform.Instance->PrevInstance();
    if (state.OtherCopy) {
        modCommonFunctions::ActivatePrevInstance();
        return false;
    }
    modBrambury::LoadProgramSettings();
    if (!modBrambury::LocateDatabase())
        return false;
    state.Workspace = platform.DBEngine->CreateWorkspace(QString(), u"admin"_s, QString());
    if (!state.Restarting)
        modBrambury::ShowSplash();
    state.Restarting = false;
    // The splash window lets events run, and one of them may tell the program to end.
    if (state.SessionEnding)
        return false;
    platform.Windows->LoadMain();
    return true;
}

/// The question about a backup, counted in calendar days. The date lies in the past, so the number carries a minus
/// sign; a date that cannot be read counts as no backup.
QString BackupPrompt()
{
    const QDateTime lastBackup = modCommonFunctions::FromStoredDate(modBrambury::State().Settings.LastBackup);
    const QString since = lastBackup.isValid()
                              ? u"It has been %1 day(s) since your last backup."_s.arg(
                                    modBrambury::Platform().Clock->Now().date().daysTo(lastBackup.date()))
                              : u"There have been no backups made of your database."_s;
    return since + u"\r\n\r\nDo you wish to backup at this time?"_s;
}

void OfferBackup()
{
    modBrambury::ProcessState& state = modBrambury::State();
    state.Platform.Windows->SetPointer(clsWindows::Pointer::Default);
    if (MsgBox(BackupPrompt(), clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) == clsDialogs::Answer::Yes) {
        state.BackupFromExit = true;
        state.Platform.Windows->ShowBackupRestore();
        state.BackupFromExit = false;
    }
    state.Platform.Windows->SetPointer(clsWindows::Pointer::Hourglass);
}
} // namespace

modBrambury::ProgramVersion modBrambury::Version()
{
    const QVersionNumber version = QVersionNumber::fromString(QLatin1String(BRAMBURY_VERSION));
    return {u"%1.%2"_s.arg(version.majorVersion()).arg(version.minorVersion()),
            u"%1"_s.arg(version.microVersion(), 3, 10, QLatin1Char('0'))};
}

modBrambury::ProcessState& modBrambury::State()
{
    static ProcessState state;
    return state;
}

modBrambury::Next modBrambury::NextStep()
{
    return s_next;
}

bool modBrambury::Main()
{
    Reset();
    bool started = false;
    guarded(Module, "Main", [&] { started = Start(); });
    if (started && !State().Terminating)
        return true;
    // Nothing may stay behind that would keep the process alive without a main window.
    ignoringErrors([] { UnloadAllForms(false); });
    CloseProcessDatabase();
    return false;
}

void modBrambury::EndProgram(bool bAbort)
{
    ProcessState& state = State();
    clsWindows& windows = *state.Platform.Windows;
    ignoringErrors([&] { windows.SetPointer(clsWindows::Pointer::Hourglass); });
    if (bAbort) {
        state.Terminating = true;
    } else {
        // A restart has just made its backup or could not be helped by one, and a session that ends cannot wait.
        if (IsOn(state.Settings.AutoBackup) && !state.Restarting && !state.SessionEnding)
            ignoringErrors(OfferBackup);
        SaveProgramSettings();
    }
    ignoringErrors([] { UnloadAllForms(true); });
    CloseProcessDatabase();
    ignoringErrors([&] { windows.SetPointer(clsWindows::Pointer::Default); });
}

void modBrambury::AbortProgram()
{
    ProcessState& state = State();
    state.Terminating = true;
    state.StopFlag = true;
    state.Platform.EventLoop->Interrupt();
    if (state.Platform.Windows->AnyLoaded())
        state.Platform.Windows->UnloadMain();
}

void modBrambury::RestartProgram(const QString& caption)
{
    MsgBox(ProgramTitle + u" will now restart."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Information, caption);
    ProcessState& state = State();
    state.DatabaseWork = false;
    state.Restarting = true;
    state.StopFlag = true;
    s_next = Next::Restart;
    state.Platform.EventLoop->Interrupt();
    UnloadAllForms(false);
}

void modBrambury::ShowSplash()
{
    const ProgramVersion version = Version();
    Platform().Windows->ShowSplash(version.Number, version.Build);
}

void modBrambury::UnloadAllForms(bool bKeepMain)
{
    Platform().Windows->UnloadAll(bKeepMain);
}

void modBrambury::LoadProgramSettings()
{
    guarded(Module, "LoadProgramSettings", [] {
        clsProgramSettings& settings = State().Settings;
        for (const clsSettingEntry& entry : SettingsTable())
            Assign(settings, entry, DefaultOf(entry));
        for (const clsSettingEntry& entry : SettingsTable())
            Assign(settings, entry,
                   Platform().Settings->GetSetting(QString::fromLatin1(entry.section), QString::fromLatin1(entry.key),
                                                   DefaultOf(entry)));
    });
}

bool modBrambury::SaveProgramSettings()
{
    const Guarded saved = guarded(Module, "SaveProgramSettings", [] {
        clsSettingsStore& store = *Platform().Settings;
        for (const clsSettingEntry& entry : SettingsTable()) {
            if (!entry.saved)
                continue;
            const QString text = std::visit([](auto member) { return AsText(State().Settings.*member); }, entry.value);
            store.SaveSetting(QString::fromLatin1(entry.section), QString::fromLatin1(entry.key), text);
        }
        store.Flush();
    });
    return saved == Guarded::Done;
}

void modBrambury::CloseProcessDatabase()
{
    ProcessState& state = State();
    ignoringErrors([&] {
        if (state.Database)
            state.Database->Close();
    });
    state.Database.reset();
    ignoringErrors([&] {
        if (state.Workspace)
            state.Workspace->Close();
    });
    state.Workspace.reset();
    state.DatabaseInUse.reset();
}

QString modBrambury::DatabasePath()
{
    return State().Settings.DataPath + DatabaseFile;
}

clsDatabase& modBrambury::OpenDatabase()
{
    if (!State().Database)
        throw clsError(clsError::DatabaseClosed, u"The database is closed."_s, ProgramTitle);
    return *State().Database;
}

std::unique_ptr<clsFileLock> modBrambury::LockDatabase()
{
    auto lock = Platform().Disk->Lock(State().Settings.DataPath + DatabaseLockFile, clsDisk::Share::Exclusive);
    State().FileInUse = !lock;
    if (!lock)
        MsgBox(u"The database is in use by another copy of Brambury.  Close its window and end its runs first."_s,
               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    return lock;
}

std::unique_ptr<clsFileLock> modBrambury::LockRun()
{
    return Platform().Disk->Lock(State().Settings.DataPath + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
}

std::unique_ptr<clsFileLock> modBrambury::LockRunAloud()
{
    auto lock = LockRun();
    if (!lock)
        MsgBox(u"Another link test or e-mail run is in progress on this database.  Please wait until it has ended."_s,
               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    return lock;
}

void modBrambury::PutBackDatabase()
{
    clsDisk& disk = *Platform().Disk;
    const QString temporary = State().Settings.DataPath + TemporaryDatabaseFile;
    if (const QStringList damage = Platform().DatabaseFiles->Check(temporary, ConnectString, {}); !damage.isEmpty())
        throw clsError(clsError::DatabaseDamaged,
                       u"The file \"%1\" is damaged and was not put back: %2"_s.arg(temporary, damage.first()),
                       ProgramTitle);
    disk.RenameFile(temporary, DatabasePath());
    disk.Flush(State().Settings.DataPath);
}

bool modBrambury::LocateDatabase()
{
    const clsDisk& disk = *Platform().Disk;
    State().FileInUse = false;
    if (disk.FileExists(DatabasePath()))
        return true;
    MsgBox(u"Brambury could not locate the database file "_s + DatabasePath() + u'.', clsDialogs::Buttons::OK,
           clsDialogs::Icon::Critical);
    const QString temporary = State().Settings.DataPath + TemporaryDatabaseFile;
    if (!disk.FileExists(temporary))
        return false;
    // Another copy may be at work on the file this very moment.
    const auto lock = LockDatabase();
    if (!lock)
        return false;
    if (MsgBox(u"A compact or repair that did not end has left the database as "_s + temporary +
                   u".\r\n\r\nDo you wish to put it back?"_s,
               clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) != clsDialogs::Answer::Yes)
        return false;
    ShowSplash(); // there is no window yet, and to prove a large file takes its time
    PutBackDatabase();
    return true;
}

void modBrambury::ClearResults(const QString& siteID)
{
    guarded(Module, "ClearResults", [&] {
        const auto query = OpenDatabase().QueryDef(u"qryClearResults"_s);
        query->SetParameter(u"SiteID"_s, siteID);
        query->Execute();
    });
}

void modBrambury::LoadMessageTypes()
{
    guarded(Module, "LoadMessageTypes", [] {
        std::vector<MessageType> types;
        const auto rows = OpenDatabase().OpenRecordset(u"tblMailType"_s);
        for (; !rows->AfterLast(); rows->MoveNext())
            types.push_back({rows->Field(u"ID"_s).toInt(), modCommonFunctions::TextOf(rows->Field(u"MessageType"_s)),
                             rows->Field(u"Offer"_s).toInt() != 0});
        State().MessageTypes = std::move(types);
    });
}

void modBrambury::LoadStatusNames()
{
    State().StatusNames = {u"Offer"_s, u"In-Process"_s, u"Active"_s, u"Broken"_s, u"Inactive"_s, u"Declined"_s};
}

QString modBrambury::ProgramFolder()
{
    return s_programFolder;
}

void modBrambury::SetProgramFolder(const QString& folder)
{
    s_programFolder = QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
}

QString modBrambury::FolderPath(const QString& literal)
{
    QString path = literal;
    path.replace(u'\\', QDir::separator());
    const bool root = s_programFolder.endsWith(QDir::separator());
    return (root ? s_programFolder.chopped(1) : s_programFolder) + path;
}
