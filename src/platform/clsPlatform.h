// SPDX-License-Identifier: GPL-3.0-or-later
// The outside world as one bundle: what the entry function makes and hands to the program.
#pragma once

class clsBrowser;
class clsClock;
class clsConnection;
class clsDBEngine;
class clsDatabaseFiles;
class clsDialogs;
class clsDisk;
class clsEventLoop;
class clsInstance;
class clsKeyring;
class clsLinkFiles;
class clsMailProbe;
class clsPrinter;
class clsPrograms;
class clsSettingsStore;
class clsSound;
class clsSpelling;
class clsWindows;
class frmResources;

/// Handles to every interface; not owned. All are set while the program runs, but for those marked.
struct clsPlatform
{
    clsDBEngine* DBEngine = nullptr;
    clsDatabaseFiles* DatabaseFiles = nullptr;
    clsLinkFiles* LinkFiles = nullptr;
    clsSettingsStore* Settings = nullptr;
    clsEventLoop* EventLoop = nullptr;
    clsClock* Clock = nullptr;
    clsDialogs* Dialogs = nullptr;
    clsWindows* Windows = nullptr;
    clsConnection* Connection = nullptr;
    clsPrinter* Printer = nullptr; ///< empty without a window
    clsSound* Sound = nullptr;
    clsBrowser* Browser = nullptr;
    clsSpelling* Spelling = nullptr;
    clsDisk* Disk = nullptr;
    clsInstance* Instance = nullptr; ///< empty without a window
    frmResources* Resources = nullptr;
    clsKeyring* Keyring = nullptr;
    clsMailProbe* MailProbe = nullptr;
    clsPrograms* Programs = nullptr;
};
