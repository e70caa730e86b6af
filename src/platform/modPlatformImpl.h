// SPDX-License-Identifier: GPL-3.0-or-later
// The real parts behind the platform's interfaces, as far as they need no window.
#pragma once

#include "platform/clsPlatform.h"

#include <QString>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class clsDatabaseFiles;
class clsNotifier;
class clsScheduler;
class clsHTTPControl;
class clsMimeControl;
class clsPageServer;
class clsSmtpControl;
class clsLinkFiles;

namespace modPlatformImpl
{
/// Encrypted files of SQLCipher.
std::unique_ptr<clsDBEngine> MakeDBEngine();
/// The same files as a whole, worked on by a thread of its own while the event loop runs.
std::unique_ptr<clsDatabaseFiles> MakeDatabaseFiles(clsEventLoop& eventLoop, clsDisk& disk);
/// HTML by the same parser as downloaded pages, OPML, CSV and JSON; the file is read at once, and parsed on a worker
/// thread.
std::unique_ptr<clsLinkFiles> MakeLinkFiles(clsEventLoop& eventLoop, clsDisk& disk);
/// HTTP/1.1 by libcurl, page lists by an HTML5 parser on a worker thread.
std::unique_ptr<clsHTTPControl> MakeHTTPControl(clsDisk& disk);
/// SMTP by libcurl.
std::unique_ptr<clsSmtpControl> MakeSmtpControl(clsEventLoop& eventLoop);
std::unique_ptr<clsMailProbe> MakeMailProbe(clsEventLoop& eventLoop);
/// Has this process, before it uses it for the first time, do without the message bus of a session that is there and
/// does not answer: a window would never open. Waits two seconds for an answer.
void LeaveSilentSession();
/// The secret service of the user's session, or KWallet.
std::unique_ptr<clsKeyring> MakeKeyring(clsEventLoop& eventLoop);
std::unique_ptr<clsPrograms> MakePrograms(clsEventLoop& eventLoop);
/// Base64 and its relatives by GMime, files on a worker thread.
std::unique_ptr<clsMimeControl> MakeMimeControl();
std::unique_ptr<clsEventLoop> MakeEventLoop();
std::unique_ptr<clsClock> MakeClock();
std::unique_ptr<clsDisk> MakeDisk();
std::unique_ptr<clsSound> MakeSound();
/// Timers of the user's systemd, else the user's crontab.
std::unique_ptr<clsScheduler> MakeScheduler(clsDisk& disk);
/// The notification service of the user's session. @param eventLoop  must outlive it.
std::unique_ptr<clsNotifier> MakeNotifier(clsEventLoop& eventLoop);
/// Word lists of hunspell, read when the first word is asked for. @param disk  must outlive it.
std::unique_ptr<clsSpelling> MakeSpelling(clsDisk& disk);
/// BRAMBURY_OFFLINE=1 makes it say no.
std::unique_ptr<clsConnection> MakeConnection();
/// @param iniFile  the file of a portable installation; empty: the user's own settings.
std::unique_ptr<clsSettingsStore> MakeSettingsStore(const QString& iniFile);
/// @param programFolder  what the one running window is counted by.  @param activated  called in the first copy when
/// another one asks it to come to the front.
std::unique_ptr<clsInstance> MakeInstance(const QString& programFolder, std::function<void()> activated);

/// @param pages  a line each, fields separated by a tab: host, path, status; with status 200 also title, addresses of
/// links and of images, separated by blanks, "-" for none. Lines that begin with # are comments.
std::unique_ptr<clsPageServer> MakePageServer(const QByteArray& pages, quint16 port);

/// The libraries that the program runs on, and their versions.
std::vector<std::pair<QString, QString>> Libraries();

/// The folder with what a first installation is laid down from (Bramdat.mdb, Musfall.wav, Bramdat.hlp,
/// LinksPage.html, the word lists): beside the program's own, ../share/brambury.
QString ShareFolder();
} // namespace modPlatformImpl
