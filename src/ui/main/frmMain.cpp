// SPDX-License-Identifier: GPL-3.0-or-later
// Loading and closing of the main window.
#include "ui/main/frmMain.h"

#include "data/clsDeletedLinks.h"
#include "data/modDBFunctions.h"
#include "data/modDatedBackups.h"
#include "mail/clsMailLogins.h"
#include "platform/clsClock.h"
#include "platform/clsConnection.h"
#include "platform/clsDatabase.h"
#include "platform/clsEventLoop.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsSpelling.h"
#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/main/clsInvitation.h"
#include "ui/main/clsPanes.h"
#include "ui/main/frmMainInside.h"
#include "ui/parts/clsRunProgress.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QLayout>
#include <QScreen>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::TwipsPerPixel;

namespace
{
constexpr char Module[] = "frmMain";

/// What a stored WindowTop or WindowLeft means: let the system place the window.
constexpr int NotPlaced = -1;
/// Values of the setting WindowState.
enum StoredState : int
{
    Normal = 0,
    Minimised = 1,
    Maximised = 2
};

/// Large screens have more twips than the other settings' 16 bits hold.
int ToNumber(const QString& text)
{
    bool number = false;
    const double value = text.toDouble(&number);
    if (!number)
        throw clsError(clsError::TypeMismatch, u"Type mismatch"_s, modBrambury::ProgramTitle);
    return qRound(value);
}

int ToPixels(const QString& twips)
{
    return ToNumber(twips) / TwipsPerPixel;
}

QString ToTwips(int pixels)
{
    return QString::number(pixels * TwipsPerPixel);
}

/// Names the texts that lie beside the data folder to whoever reads them.
void SetHelpAndLexicons()
{
    using modBrambury::FolderPath;
    Platform().Windows->SetHelpFile(FolderPath(u"\\Bramdat.hlp"_s));
    if (Platform().Spelling)
        Platform().Spelling->SetLexicons({.affixes = FolderPath(u"\\ssceam.tlx"_s),
                                          .dictionary = FolderPath(u"\\ssceam2.clx"_s),
                                          .userWords = FolderPath(u"\\bramdat.tlx"_s),
                                          .corrections = FolderPath(u"\\correct.tlx"_s)});
}
/// While it lives, a window that is closed stays, and something else is done. A window in the middle of its own closing
/// does not hear of it.
class clsInsteadOfClosing final : public QObject
{
public:
    clsInsteadOfClosing(QObject* window, std::function<void()> action) : m_action(std::move(action))
    {
        if (window)
            window->installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() != QEvent::Close)
            return false;
        event->ignore();
        m_action();
        return true;
    }

private:
    std::function<void()> m_action;
};
} // namespace

frmMain::frmMain(QWidget* parent)
    : QMainWindow(parent), m_mailLogins(std::make_unique<clsMailLogins>(&modTokenCommand::Ask)),
      m_deletedLinks(std::make_unique<clsDeletedLinks>())
{
    setObjectName(u"frmMain"_s);
    setWindowTitle(modBrambury::ProgramTitle);
    setWindowIcon(modIcons::Picture(u"brambury"_s));
    BuildMenus();
    // Tab follows the order in which all this is made.
    QWidget* toolbar = BuildToolbar();
    QWidget* sites = BuildSitePane();
    QWidget* links = BuildLinkPane();
    m_panes = new clsPanes(toolbar, sites, links, BuildBottomPane());
    setCentralWidget(m_panes);
    SetBusy(false);
    UpdateCounter();
    m_highlightTimer.setSingleShot(true);
    m_highlightTimer.setInterval(33ms);
    connect(&m_highlightTimer, &QTimer::timeout, this, &frmMain::ShowPendingLink);
}

frmMain::~frmMain() = default;

void frmMain::Load()
{
    const clsInside inside(*this);
    const auto step = [](const char* routine, const std::function<void()>& body) {
        if (!State().Terminating)
            guarded(Module, routine, body);
    };
    RestoreSettings();
    // Without its database the program can do nothing at all.
    if (!State().Terminating && !modDBFunctions::OpenProcessDatabase(true) && !State().Terminating) {
        modErrorHandler::TellHiddenErrors();
        modBrambury::AbortProgram();
    }
    step("Form_Load", [] { SetHelpAndLexicons(); });
    step("Form_Load", [this] { TickTips(); });
    step("OpenLists", [this] { OpenLists(); });
    step("FillSiteList", [this] {
        if (m_sites) // why they could not be opened has been told
            FillSiteList();
    });
    step("RestoreLayout", [this] { m_gridLinkList->RestoreLayout(*Platform().Settings); });
    step("Form_Load", [this] {
        UpdateSort();
        m_gridLinkList->setFocus();
        ShowInState();
    });
    step("TellRepair", [this] { TellRepair(); });
    step("FirstStart", [this] { FirstStart(); });
}

void frmMain::RestoreSettings()
{
    const clsProgramSettings& settings = State().Settings;
    m_hideInactiveDeclined->setChecked(settings.HideInactiveDeclined != 0);
    m_chkShowURL->setChecked(settings.ShowURL != 0);
    // Each in its own trap: one bad value must not cost the others.
    guarded(Module, "RestorePlacement", [this] { RestorePlacement(); });
    guarded(Module, "RestorePanes", [&] {
        // The panes are to have their size.
        if (!testAttribute(Qt::WA_Resized))
            adjustSize();
        layout()->invalidate();
        layout()->activate();
        m_panes->SetPositions(ToNumber(settings.PaneLeft), ToNumber(settings.PaneTop));
    });
    SetIconSize(settings.IconSize);
}

void frmMain::RestorePlacement()
{
    const clsProgramSettings& settings = State().Settings;
    const QSize size(ToPixels(settings.WindowWidth), ToPixels(settings.WindowHeight));
    if (ToNumber(settings.WindowLeft) == NotPlaced || ToNumber(settings.WindowTop) == NotPlaced)
        return resize(modDialogParts::FirstSize(*this, size));
    resize(size);
    const QPoint place(ToPixels(settings.WindowLeft), ToPixels(settings.WindowTop));
    // A window that was left on a screen that is gone would be out of reach.
    const QRect titleBar(place, QSize(width(), 24));
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (std::any_of(screens.begin(), screens.end(),
                    [&](const QScreen* screen) { return screen->availableGeometry().intersects(titleBar); }))
        move(place);
}

void frmMain::ShowInState()
{
    int state = Normal;
    guarded(Module, "RestorePlacement", [&] { state = ToNumber(State().Settings.WindowState); });
    if (state == Minimised)
        showMinimized();
    else if (state == Maximised)
        showMaximized();
    else
        show();
}

void frmMain::SavePlacement()
{
    clsProgramSettings& settings = State().Settings;
    settings.PaneLeft = QString::number(m_panes->PaneLeft());
    settings.WindowState = QString::number(isMinimized() ? Minimised : isMaximized() ? Maximised : Normal);
    // A maximised or minimised window comes back to its normal place later. Places count the frame in.
    const QRect place = IsNormal() ? QRect(pos(), size()) : normalGeometry().translated(-m_frame);
    settings.PaneTop =
        QString::number(m_panes->PaneTop(m_panes->height() + (place.isValid() ? place.height() - height() : 0)));
    if (!place.isValid())
        return;
    settings.WindowWidth = ToTwips(place.width());
    settings.WindowHeight = ToTwips(place.height());
    settings.WindowTop = ToTwips(place.top());
    settings.WindowLeft = ToTwips(place.left());
}

bool frmMain::IsNormal() const
{
    return !isMinimized() && !isMaximized() && !isFullScreen();
}

bool frmMain::event(QEvent* event)
{
    const bool done = QMainWindow::event(event);
    const QEvent::Type type = event->type();
    // The hourglass of a command is not that of the window which the command opens.
    if (type == QEvent::WindowBlocked)
        Platform().Windows->SetPointer(clsWindows::Pointer::Default);
    // When a box and the window below it go at once, the desktop may hand the keyboard to the one that is just going.
    if (type == QEvent::WindowUnblocked && isVisible() && !isMinimized() &&
        QGuiApplication::applicationState() == Qt::ApplicationActive) {
        const QWidget* active = QApplication::activeWindow();
        if (!active || !active->isVisible())
            activateWindow();
    }
    // Who comes back may have been at work in another copy of the program.
    if (type == QEvent::WindowActivate)
        QTimer::singleShot(0, this, &frmMain::FollowOtherPrograms);
    // The frame comes some time after the window, and says so in one of these ways or another.
    if ((type == QEvent::Move || type == QEvent::Resize || type == QEvent::WindowActivate) && isVisible() && IsNormal())
        m_frame = geometry().topLeft() - pos();
    return done;
}

void frmMain::FirstStart()
{
    clsProgramSettings& settings = State().Settings;
    Platform().EventLoop->Yield();
    const bool first = settings.LastEntry.isEmpty();
    settings.LastEntry = Platform().Clock->Now().toString(u"yyyy-MM-dd"_s);
    if (first)
        Platform().Windows->ShowHelp(modHelpTopics::FirstSteps);
    if (IsOn(settings.ShowTips))
        guarded(Module, "ShowTips", [] { Platform().Windows->ShowTips(); });
    TickTips();
    FillCategoryList();
}

void frmMain::CloseIfPending()
{
    if (m_inside == 0 && std::exchange(m_closePending, false))
        QTimer::singleShot(0, this, &QWidget::close);
}

bool frmMain::MayHangUp() const
{
    const modBrambury::ProcessState& state = State();
    return !state.Terminating && !state.Restarting && !state.SessionEnding && !state.DatabaseWork && state.Dialled &&
           Platform().Connection->Connected();
}

void frmMain::KeepDatedBackup()
{
    // A restart is no end, and a session that ends does not wait.
    if (State().Terminating || State().Restarting || State().SessionEnding)
        return;
    const clsClock& clock = *Platform().Clock;
    const auto start = clock.Monotonic();
    State().StopFlag = false;
    const clsInsteadOfClosing closing(windowHandle(), [this] { StopRun(); });
    guarded(Module, "KeepDatedBackup", [&] {
        modDatedBackups::KeepAtEnd([&](int percent) {
            // Of a small file nobody is to see anything.
            if (!m_busy && clock.Monotonic() - start > 300ms) {
                m_invitation->hide();
                m_gridLinkList->SetEmptyState(u"Keeping a dated backup..."_s,
                                              u"The program then ends by itself.  \"Stop\" ends it without."_s);
                SetBusy(true);
            }
            RunProgress(percent, 100);
            return !State().StopFlag;
        });
    });
    m_busy = false;
}

void frmMain::closeEvent(QCloseEvent* event)
{
    if (m_unloaded)
        return;
    if (m_inside > 0) {
        // Some routine of this window still waits for a run or a dialog; it must return before its window goes.
        m_closePending = true;
        if (m_busy)
            StopRun();
        event->ignore();
        return;
    }
    const clsInside inside(*this);
    guarded(Module, "Form_QueryUnload", [this] {
        if (MayHangUp() && modCommonFunctions::MsgBox(u"Would you like to disconnect from the Internet now?"_s,
                                                      clsDialogs::Buttons::YesNo,
                                                      clsDialogs::Icon::Question) == clsDialogs::Answer::Yes)
            Platform().Connection->HangUp();
    });
    if (!State().Terminating) {
        guarded(Module, "SavePlacement", [this] { SavePlacement(); });
        guarded(Module, "SaveLayout", [this] { m_gridLinkList->SaveLayout(*Platform().Settings); });
    }
    // The list is let go of before the last question, not emptied: nobody is to think that the links are gone.
    m_gridLinkList->SetEmptyState({}, {});
    m_gridLinkList->SetLinks(nullptr);
    m_linkQuery.reset();
    m_sites.reset();
    m_unloaded = true;
    m_closePending = false;
    modBrambury::EndProgram(State().Terminating);
    KeepDatedBackup();
    Q_EMIT Closed();
}
