// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modDatedBackups.h"

#include "platform/clsClock.h"
#include "platform/clsDisk.h"
#include "platform/clsSettingsStore.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;

namespace
{
constexpr std::size_t Most = 10;
const QString Stamp = u"yyyy-MM-dd-HHmmss"_s;

QString InFolder(const QString& name)
{
    return QDir(modDatedBackups::Folder()).filePath(name);
}

QString NameOf(const QDateTime& made, const clsDatabaseFiles::RowCounts& rows)
{
    return u"Bramdat-%1-%2-sites-%3-links.mdb"_s.arg(made.toString(Stamp))
        .arg(rows.value(u"tblSites"_s))
        .arg(rows.value(u"tblLinkList"_s));
}
} // namespace

QString modDatedBackups::Folder()
{
    return modBrambury::FolderPath(u"\\Backup\\Dated"_s);
}

std::vector<modDatedBackups::Backup> modDatedBackups::All()
{
    static const QRegularExpression form(u"^Bramdat-(\\d{4}-\\d\\d-\\d\\d-\\d{6})-(\\d+)-sites-(\\d+)-links\\.mdb$"_s);
    std::vector<Backup> all;
    const QStringList names = Platform().Disk->FileNames(Folder());
    for (auto name = names.crbegin(); name != names.crend(); ++name) {
        const QRegularExpressionMatch match = form.match(*name);
        Backup backup{.path = InFolder(*name),
                      .made = QDateTime::fromString(match.captured(1), Stamp),
                      .sites = match.captured(2).toLongLong(),
                      .links = match.captured(3).toLongLong()};
        // Another copy of the program may delete it this moment.
        if (backup.made.isValid() && ignoringErrors([&] { backup.size = Platform().Disk->Facts(backup.path).size; }))
            all.push_back(backup);
    }
    return all;
}

QString modDatedBackups::NewestText()
{
    const std::vector<Backup> all = All();
    if (all.empty())
        return {};
    return u"%1  %2: %3"_s.arg(modCommonFunctions::LongDate(all.front().made),
                               modCommonFunctions::MediumTime(all.front().made), all.front().path);
}

QString modDatedBackups::Keep(const Progress& progress)
{
    const QString kept = Add(progress);
    Drop({kept}); // whatever the clock said when it was made
    return kept;
}

QString modDatedBackups::Add(const Progress& progress)
{
    clsDisk& disk = *Platform().Disk;
    clsDatabaseFiles& files = *Platform().DatabaseFiles;
    const std::vector<Backup> all = All();
    for (const Backup& backup : all) {
        if (files.SameState(modBrambury::DatabasePath(), backup.path))
            return backup.path;
    }
    disk.MakeFolder(Folder());
    // What it holds is known when it has been proved. Until then it has a name that is not counted, always the same
    // one, so that what an interrupted copy leaves does not pile up.
    const QString copy = InFolder(u"Bramdat.tmp"_s);
    const auto rows = files.Copy(modBrambury::DatabasePath(), copy, modBrambury::ConnectString, progress);
    QDateTime made = Platform().Clock->Now();
    // Their names keep them in order.
    const auto taken = [&](const Backup& backup) { return backup.made.secsTo(made) == 0; };
    while (std::any_of(all.begin(), all.end(), taken))
        made = made.addSecs(1);
    const QString kept = InFolder(NameOf(made, rows));
    disk.RenameFile(copy, kept);
    disk.Flush(Folder());
    return kept;
}

void modDatedBackups::Drop(const QStringList& spared)
{
    const std::vector<Backup> all = All();
    std::size_t left = all.size();
    for (auto oldest = all.crbegin(); oldest != all.crend() && left > Most; ++oldest) {
        const QFileInfo file(oldest->path);
        if (std::any_of(spared.begin(), spared.end(), [&](const QString& path) { return QFileInfo(path) == file; }))
            continue;
        // One that cannot be deleted now goes with the next.
        ignoringErrors([&] { Platform().Disk->RemoveFile(file.filePath()); });
        --left;
    }
}

bool modDatedBackups::AreKept()
{
    return IsOn(State().Settings.KeepDated);
}

void modDatedBackups::SetKept(bool kept)
{
    State().Settings.KeepDated = kept ? u"Yes"_s : u"No"_s;
    Platform().Settings->SaveSetting(u"Backup"_s, u"KeepDated"_s, State().Settings.KeepDated);
    Platform().Settings->Flush();
}

void modDatedBackups::KeepAtEnd(const Progress& progress)
{
    if (!AreKept())
        return;
    const std::optional<clsError> failure = failureOf([&] {
        if (const auto lock = Platform().Disk->Lock(State().Settings.DataPath + modBrambury::DatabaseLockFile,
                                                    clsDisk::Share::Exclusive))
            Keep(progress);
    });
    if (failure && failure->Number() != clsError::WorkStopped)
        modCommonFunctions::MsgBox(u"The dated backup could not be made.  The older ones are all kept.\r\n\r\n"_s +
                                       failure->Description(),
                                   clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}
