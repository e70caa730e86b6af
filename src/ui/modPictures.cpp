// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of the windows for the manual, and for looking at them on machines without a screen.
#include "ui/modWindow.h"

#include "data/clsLinkRecord.h"
#include "data/clsSiteRecord.h"
#include "platform/clsDatabase.h"
#include "platform/clsDialogs.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/impl/clsPlatformParts.h"
#include "platform/impl/modPlatformImpl.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/clsLinkGrid.h"
#include "ui/clsPanes.h"
#include "ui/clsWindowParts.h"
#include "ui/frmCategories.h"
#include "ui/frmCustomizeGrid.h"
#include "ui/frmErrorMessage.h"
#include "ui/frmHelp.h"
#include "ui/frmLinks.h"
#include "ui/frmMain.h"
#include "ui/frmOptions.h"
#include "ui/frmSelectionDialog.h"
#include "ui/frmSetTest.h"
#include "ui/frmSites.h"
#include "ui/frmSplash.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int CouldNotRun = 3;
constexpr QSize MainSize(1040, 720);
constexpr QSize SmallMainSize(800, 600);

/// Nobody sits before these windows: whatever is said goes to the error stream.
class clsWrittenDialogs final : public clsDialogs
{
public:
    Answer MsgBox(const QString& text, Buttons buttons, Icon, const QString&) override
    {
        std::fprintf(stderr, "%s\n", qUtf8Printable(text));
        return buttons == Buttons::OK ? Answer::OK : buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
    }
    QString SaveFile(const FileRequest& request) override { return OpenFile(request); }
    QString InputBox(const QString&, const QString&, const QString&) override { return {}; }
    QString OpenFile(const FileRequest&) override
    {
        throw clsError(clsError::DialogCancelled, u"Cancel was selected."_s, u"clsDialogs"_s);
    }
};

struct Theme
{
    QString name;
    QPalette palette;
};

QPalette DarkPalette()
{
    const QColor window(0x2a, 0x2b, 0x2f);
    const QColor base(0x1f, 0x20, 0x23);
    const QColor text(0xe6, 0xe6, 0xe6);
    const QColor faint(0x8a, 0x8c, 0x92);
    QPalette palette(window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x27, 0x2b));
    palette.setColor(QPalette::Button, QColor(0x34, 0x35, 0x3a));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xb5));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6f, 0xb3, 0xff));
    return palette;
}

/// Saves one window in every theme.
class clsCamera
{
public:
    explicit clsCamera(const QString& folder) : m_folder(folder)
    {
        const int scale = qRound(qApp->devicePixelRatio());
        m_suffix = scale == 1 ? QString() : u"@%1x"_s.arg(scale);
        m_themes = {{u"light"_s, QApplication::palette()}, {u"dark"_s, DarkPalette()}};
    }
    ~clsCamera() { QApplication::setPalette(m_themes.first().palette); }
    clsCamera(const clsCamera&) = delete;
    clsCamera& operator=(const clsCamera&) = delete;

    void Take(QWidget& window, const QString& name)
    {
        window.show();
        for (const Theme& theme : m_themes) {
            QApplication::setPalette(theme.palette);
            modBrambury::Platform().EventLoop->Yield();
            const QString file = u"%1-%2%3.png"_s.arg(name, theme.name, m_suffix);
            if (!window.grab().save(QDir(m_folder).filePath(file)))
                throw clsError(clsError::PermissionDenied, u"Could not write "_s + file, m_folder);
        }
    }

private:
    QString m_folder;
    QString m_suffix; ///< of the files' names: the scale, unless it is 1
    QList<Theme> m_themes;
};

/// Takes pictures of the main window of an installation, by `take`, and leaves the installation as it was.
/// @return whether there was one to take pictures of.
bool OfMain(const clsPlatformParts& parts, const std::function<void(frmMain&)>& take)
{
    clsWrittenDialogs dialogs;
    clsWindowParts with(parts, &dialogs);
    bool taken = false;
    if (modBrambury::Main() && with.Windows.AnyLoaded())
        taken = guarded("modWindow", "RenderPictures", [&] { take(*with.Windows.Main()); }) == Guarded::Done;
    // An end by abort saves nothing.
    modBrambury::State().Terminating = true;
    with.Windows.UnloadAll(false);
    with.Windows.Discard();
    return taken;
}

/// The error window with the texts of a real failure: a stored query that is missing. It is reported in the error log
/// as well, so this is for an installation that nobody keeps.
void TakeError(clsCamera& camera)
{
    bool taken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&] {
        auto* error = qobject_cast<frmErrorMessage*>(QApplication::activeModalWidget());
        if (!error)
            return;
        look.stop();
        taken = ignoringErrors([&] {
            camera.Take(*error, u"error"_s);
            error->findChild<QPushButton*>(u"errorButton_1"_s)->click();
            camera.Take(*error, u"error-details"_s);
        });
        error->accept();
    });
    look.start(0);
    guarded("frmMain", "OpenLists", [] { (void)modBrambury::State().Database->QueryDef(u"qryLinks"_s); });
    if (!taken)
        throw clsError(clsError::PermissionDenied, u"Could not take the error window's picture"_s, u"modWindow"_s);
}

/// Every page of a dialog.
void TakePages(clsCamera& camera, QDialog& editor, const QStringList& names)
{
    auto* pages = editor.findChild<QTabWidget*>();
    for (int i = 0; i < names.size(); ++i) {
        pages->setCurrentIndex(i);
        camera.Take(editor, names[i]);
    }
}

/// The editors of the selected site and of its first link with failed tests.
void TakeEditors(clsCamera& camera)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    clsDatabase& database = *state.Database;
    clsSiteRecord site(database);
    if (site.Open(state.CurrentSite))
        TakePages(camera, *std::make_unique<frmSites>(site, database),
                  {u"site"_s, u"site-templates"_s, u"site-rules"_s, u"site-html"_s});
    const modDataModel::StatusBounds all = modDataModel::BoundsOf(modDataModel::ViewAll, false);
    const auto failed = database.OpenRecordset(u"SELECT ID FROM tblLinkList WHERE Results >= 4 ORDER BY ID"_s);
    clsLinkRecord link(database, state.CurrentSite, state.Tests.MyLinkAtRecipSite);
    if (link.Open(failed->Field(u"ID"_s).toLongLong(), all))
        TakePages(camera, *std::make_unique<frmLinks>(link, database), {u"link"_s, u"link-comments"_s});
}

void TakeSmallDialogs(clsCamera& camera, clsLinkGrid& grid)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    frmCategories categories(*state.Database);
    camera.Take(categories, u"categories"_s);
    frmOptions options(*state.Database);
    TakePages(camera, options, {u"options"_s, u"options-defaults"_s, u"options-types"_s});
    frmSelectionDialog selection(u"Change Status"_s, state.StatusNames, modDataModel::Active);
    camera.Take(selection, u"selection"_s);
    frmCustomizeGrid customize(grid);
    camera.Take(customize, u"customize"_s);
}

/// The scale holds for a whole process, so the same pictures at the double scale take a second one.
int AgainAtDoubleScale(const QString& home, const QString& folder)
{
    QStringList words{u"pictures"_s, folder};
    if (!home.isEmpty())
        words = QStringList{u"--home"_s, home} + words;
    QProcess again;
    again.setProcessChannelMode(QProcess::ForwardedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_SCALE_FACTOR"_s, u"2"_s);
    again.setProcessEnvironment(environment);
    again.start(QCoreApplication::applicationFilePath(), words);
    constexpr int limitMs = 120'000;
    if (!again.waitForFinished(limitMs))
        return CouldNotRun;
    return again.exitStatus() == QProcess::NormalExit ? again.exitCode() : CouldNotRun;
}
} // namespace

int modWindow::RenderPictures(clsPlatformParts& parts, const QString& folder)
{
    if (!QDir().mkpath(folder))
        return CouldNotRun;
    clsCamera camera(folder);
    const bool all = OfMain(parts, [&](frmMain& window) {
        window.resize(MainSize);
        window.findChild<clsPanes*>()->SetPositions(clsPanes::FirstLeft, clsPanes::FirstTop);
        auto* grid = window.findChild<clsLinkGrid*>();
        grid->setFocus();
        camera.Take(window, u"main"_s);
        window.resize(SmallMainSize);
        camera.Take(window, u"main-small"_s);

        frmSetTest setTest;
        camera.Take(setTest, u"settest"_s);
        TakeEditors(camera);
        TakeSmallDialogs(camera, *grid);
        frmHelp help(
            clsHelpFile(modBrambury::Platform().Disk->ReadFile(modPlatformImpl::ShareFolder() + u"/Bramdat.hlp"_s)));
        help.ShowTopic(modHelpTopics::MainWindow);
        camera.Take(help, u"help"_s);
        help.ShowTopic(modHelpTopics::Legend);
        camera.Take(help, u"help-legend"_s);
        help.close();
        frmSplash splash(u"1.0"_s, u"000"_s);
        camera.Take(splash, u"splash"_s);
    });
    if (!all)
        return CouldNotRun;
    const QTemporaryDir empty;
    clsPlatformParts newParts(empty.path());
    if (!ignoringErrors([&] { newParts.LayDown(false); }))
        return CouldNotRun;
    const bool emptyToo = OfMain(newParts, [&](frmMain& window) {
        window.resize(SmallMainSize);
        camera.Take(window, u"main-empty"_s);
        TakeError(camera);
    });
    if (!emptyToo)
        return CouldNotRun;
    return qApp->devicePixelRatio() == 1 ? AgainAtDoubleScale(parts.Home(), folder) : 0;
}
