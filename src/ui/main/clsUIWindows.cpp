// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsUIWindows.h"

#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/modPlatformImpl.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/help/frmHelp.h"
#include "ui/help/frmTips.h"
#include "ui/mail/frmPreview.h"
#include "ui/main/frmBackupRestore.h"
#include "ui/main/frmErrorMessage.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmSplash.h"

#include <QApplication>
#include <QPointer>
#include <utility>

using namespace Qt::Literals::StringLiterals;

clsUIWindows::clsUIWindows(std::function<void()> mainClosed) : m_mainClosed(std::move(mainClosed)) {}

clsUIWindows::~clsUIWindows() = default;

void clsUIWindows::ShowSplash(const QString& version, const QString& build)
{
    m_splash = std::make_unique<frmSplash>(version, build);
    m_splash->show();
    modBrambury::Platform().EventLoop->Yield();
}

void clsUIWindows::HideSplash()
{
    m_splash.reset();
}

void clsUIWindows::LoadMain()
{
    m_main = std::make_unique<frmMain>();
    QObject::connect(m_main.get(), &frmMain::Closed, m_main.get(), [this] { m_mainClosed(); });
    m_main->Load();
    HideSplash();
}

void clsUIWindows::UnloadMain()
{
    modWidgets::CloseDialogs();
    if (m_main)
        m_main->close();
}

void clsUIWindows::UnloadAll(bool keepMain)
{
    HideSplash();
    if (!keepMain)
        modWidgets::CloseDialogs();
    // Closing one window may delete others.
    QList<QPointer<QWidget>> windows;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        // The backup and restore window asks for this while it works.
        if (window->isVisible() && window != m_main.get() && window != m_backupRestore)
            windows.append(window);
    }
    // Windows that belong to another one were opened after it.
    std::stable_sort(windows.begin(), windows.end(), [](const QPointer<QWidget>& a, const QPointer<QWidget>& b) {
        return a->parentWidget() && !b->parentWidget();
    });
    for (const QPointer<QWidget>& window : windows) {
        if (window)
            window->close();
    }
    if (!keepMain && m_main)
        m_main->close();
}

bool clsUIWindows::AnyLoaded() const
{
    return m_main && !m_main->Unloaded();
}

void clsUIWindows::RaiseMain()
{
    if (!m_main)
        return;
    if (m_main->isMinimized())
        m_main->setWindowState(m_main->windowState() & ~Qt::WindowMinimized);
    m_main->raise();
    m_main->activateWindow();
}

void clsUIWindows::SetPointer(Pointer pointer)
{
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
    if (pointer == Pointer::Hourglass)
        QApplication::setOverrideCursor(Qt::WaitCursor);
}

QWidget* clsUIWindows::DialogOwner()
{
    // Asked for before every box, and no box may stand behind the splash window or under an hourglass.
    HideSplash();
    SetPointer(Pointer::Default);
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    return m_main && m_main->isVisible() ? m_main.get() : nullptr;
}

void clsUIWindows::ShowError(ErrorIcon icon, const QString& message, const QString& details)
{
    // What fails while the program is told to end stands in the error log.
    const modBrambury::ProcessState& state = modBrambury::State();
    if (state.Terminating || state.SessionEnding)
        return;
    frmErrorMessage(icon, message, details, DialogOwner()).exec();
}

bool clsUIWindows::ShowBackupRestore()
{
    frmBackupRestore window(DialogOwner());
    m_backupRestore = &window;
    window.exec();
    m_backupRestore = nullptr;
    return window.Completed();
}

QString clsUIWindows::ShowPreview(const QString& caption, const QString& text, const QString& attachment)
{
    frmPreview window(caption, text, attachment, DialogOwner());
    window.exec();
    return window.Reply();
}

void clsUIWindows::ShowHelp(int topic)
{
    // One that was closed has forgotten everything, and the file may have come back meanwhile.
    if (!m_help || !m_help->isVisible()) {
        m_help.reset();
        ignoringErrors([this] {
            m_help = std::make_unique<frmHelp>(clsHelpFile(modBrambury::Platform().Disk->ReadFile(m_helpFile)),
                                               modPlatformImpl::ShareFolder() + u"/pictures"_s);
        });
    }
    if (m_help)
        return m_help->ShowTopic(topic);
    modCommonFunctions::MsgBox(u"The help text could not be read.  This file is missing or damaged:\r\n%1\r\n\r\n"
                               "Close Brambury and start it again: it then puts the file back.  If that does not help, "
                               "install Brambury again."_s.arg(m_helpFile),
                               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

void clsUIWindows::ShowTips()
{
    if (std::exchange(m_tipsShown, true))
        return;
    const modBrambury::ProcessState& state = modBrambury::State();
    frmTips(*modBrambury::OpenDatabase().OpenRecordset(u"tblTips"_s), state.Platform.Clock->Now().date().toJulianDay(),
            DialogOwner())
        .exec();
}

void clsUIWindows::EndSession()
{
    modBrambury::ProcessState& state = modBrambury::State();
    state.SessionEnding = true;
    state.StopFlag = true;
    state.Platform.EventLoop->Interrupt();
    UnloadMain();
}

void clsUIWindows::Discard()
{
    m_help.reset();
    m_main.reset();
}
