// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/parts/clsPlatformParts.h"

#include "platform/clsClock.h"
#include "platform/clsConnection.h"
#include "platform/clsDatabase.h"
#include "platform/clsDatabaseFiles.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/clsKeyring.h"
#include "platform/clsLinkFiles.h"
#include "platform/clsMailServer.h"
#include "platform/clsPrograms.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsSound.h"
#include "platform/clsSpelling.h"
#include "platform/frmResources.h"
#include "platform/modPlatformImpl.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString HelpFile = u"Bramdat.hlp"_s;

/// What every program folder gets a copy of. The help text is first: it is what a newer program needs most, should
/// something fail then.
const QStringList& SharedFiles()
{
    static const QStringList names{HelpFile, u"Musfall.wav"_s, u"ssceam.tlx"_s, u"ssceam2.clx"_s, u"LinksPage.html"_s};
    return names;
}
} // namespace

struct clsPlatformParts::Parts
{
    std::unique_ptr<clsDisk> disk;
    std::unique_ptr<clsSettingsStore> settings;
    std::unique_ptr<clsEventLoop> eventLoop;
    std::unique_ptr<clsClock> clock;
    std::unique_ptr<clsSound> sound;
    std::unique_ptr<clsSpelling> spelling;
    std::unique_ptr<clsConnection> connection;
    std::unique_ptr<clsDBEngine> engine;
    std::unique_ptr<clsDatabaseFiles> databaseFiles;
    std::unique_ptr<clsLinkFiles> linkFiles;
    std::unique_ptr<frmResources> resources;
    std::unique_ptr<clsMailProbe> mailProbe;
    std::unique_ptr<clsKeyring> keyring;
    std::unique_ptr<clsPrograms> programs;
};

clsPlatformParts::clsPlatformParts(const QString& home) : m_parts(std::make_unique<Parts>()), m_home(home)
{
    // Where the platform's habit is to install into the user's reach, the program's folder would be the executable's;
    // here it is one folder per user.
    m_programFolder = home.isEmpty()
                          ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Brambury"_s
                          : QDir(home).absolutePath();
    m_parts->disk = modPlatformImpl::MakeDisk();
    m_parts->settings =
        modPlatformImpl::MakeSettingsStore(home.isEmpty() ? QString() : m_programFolder + u"/Brambury.ini"_s);
    m_parts->eventLoop = modPlatformImpl::MakeEventLoop();
    m_parts->clock = modPlatformImpl::MakeClock();
    m_parts->sound = modPlatformImpl::MakeSound();
    m_parts->spelling = modPlatformImpl::MakeSpelling(*m_parts->disk);
    m_parts->connection = modPlatformImpl::MakeConnection();
    m_parts->engine = modPlatformImpl::MakeDBEngine();
    m_parts->databaseFiles = modPlatformImpl::MakeDatabaseFiles(*m_parts->eventLoop, *m_parts->disk);
    m_parts->linkFiles = modPlatformImpl::MakeLinkFiles(*m_parts->eventLoop, *m_parts->disk);
    m_parts->resources = std::make_unique<frmResources>(modPlatformImpl::MakeHTTPControl(*m_parts->disk),
                                                        modPlatformImpl::MakeSmtpControl(*m_parts->eventLoop),
                                                        modPlatformImpl::MakeMimeControl());
    m_parts->mailProbe = modPlatformImpl::MakeMailProbe(*m_parts->eventLoop);
    m_parts->keyring = modPlatformImpl::MakeKeyring(*m_parts->eventLoop);
    m_parts->programs = modPlatformImpl::MakePrograms(*m_parts->eventLoop);
}

clsPlatformParts::~clsPlatformParts() = default;

clsPlatform clsPlatformParts::Bundle() const
{
    clsPlatform bundle;
    bundle.DBEngine = m_parts->engine.get();
    bundle.DatabaseFiles = m_parts->databaseFiles.get();
    bundle.LinkFiles = m_parts->linkFiles.get();
    bundle.Settings = m_parts->settings.get();
    bundle.EventLoop = m_parts->eventLoop.get();
    bundle.Clock = m_parts->clock.get();
    bundle.Connection = m_parts->connection.get();
    bundle.Sound = m_parts->sound.get();
    bundle.Spelling = m_parts->spelling.get();
    bundle.Disk = m_parts->disk.get();
    bundle.Resources = m_parts->resources.get();
    bundle.MailProbe = m_parts->mailProbe.get();
    bundle.Keyring = m_parts->keyring.get();
    bundle.Programs = m_parts->programs.get();
    return bundle;
}

bool clsPlatformParts::Installed() const
{
    return m_parts->disk->FolderExists(m_programFolder + u"/Data"_s);
}

void clsPlatformParts::LayDown()
{
    clsDisk& disk = *m_parts->disk;
    const QString share = modPlatformImpl::ShareFolder();
    const QString source = share + u"/Bramdat.mdb"_s;
    const QString data = m_programFolder + u"/Data"_s;
    // Where what it is laid down from is missing, nothing is begun.
    static_cast<void>(disk.Facts(source));
    for (const QString& name : SharedFiles())
        static_cast<void>(disk.Facts(share + u'/' + name));
    disk.MakeFolder(m_programFolder);
    Complete();
    if (disk.FolderExists(data)) {
        if (!disk.FileExists(data + u"/Bramdat.mdb"_s))
            disk.CopyFile(source, data + u"/Bramdat.mdb"_s);
        return;
    }
    // A program folder is there once it holds Data, so Data appears with the database in it or not at all.
    disk.MakeFolder(data + u".new"_s);
    disk.CopyFile(source, data + u".new/Bramdat.mdb"_s);
    disk.RenameFile(data + u".new"_s, data);
}

void clsPlatformParts::Complete()
{
    clsDisk& disk = *m_parts->disk;
    const QString share = modPlatformImpl::ShareFolder() + u'/';
    const QString folder = m_programFolder + u'/';
    for (const QString& name : SharedFiles()) {
        const bool renewed = name == HelpFile;
        if (!disk.FileExists(folder + name) || (renewed && disk.ReadFile(folder + name) != disk.ReadFile(share + name)))
            disk.CopyFile(share + name, folder + name);
    }
    // The user's own lists begin empty.
    for (const QString& name : {u"bramdat.tlx"_s, u"correct.tlx"_s}) {
        if (!disk.FileExists(folder + name))
            disk.WriteFile(folder + name, {});
    }
}
