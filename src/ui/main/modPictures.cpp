// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of the windows for the manual, and for looking at them on machines without a screen.
#include "ui/main/modWindow.h"

#include "data/clsLinkRecord.h"
#include "data/clsSiteRecord.h"
#include "linktest/clsHTTPEngine.h"
#include "mail/clsMailQueue.h"
#include "platform/clsConnection.h"
#include "platform/clsDatabase.h"
#include "platform/clsDialogs.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/clsKeyring.h"
#include "platform/clsMailServer.h"
#include "platform/clsPrinter.h"
#include "platform/modHelpTopics.h"
#include "platform/modPlatformImpl.h"
#include "platform/parts/clsPlatformParts.h"
#include "platform/widgets/modWidgets.h"
#include "publish/modSiteReport.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/help/frmAbout.h"
#include "ui/help/frmHelp.h"
#include "ui/help/frmSystemInformation.h"
#include "ui/help/frmTips.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/lists/frmCustomizeGrid.h"
#include "ui/mail/clsSpellCheck.h"
#include "ui/mail/frmFieldTags.h"
#include "ui/mail/frmMailEditor.h"
#include "ui/mail/frmMailHistory.h"
#include "ui/mail/frmMailLogin.h"
#include "ui/mail/frmPreview.h"
#include "ui/mail/frmSpelling.h"
#include "ui/main/clsPanes.h"
#include "ui/main/clsResultsBox.h"
#include "ui/main/clsWindowParts.h"
#include "ui/main/frmBackupRestore.h"
#include "ui/main/frmErrorMessage.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmOptions.h"
#include "ui/main/frmSplash.h"
#include "ui/parts/clsPrintProgress.h"
#include "ui/parts/modIcons.h"
#include "ui/records/frmCategories.h"
#include "ui/records/frmExportOption.h"
#include "ui/records/frmImportWizard.h"
#include "ui/records/frmLinks.h"
#include "ui/records/frmSelectionDialog.h"
#include "ui/records/frmSetTest.h"
#include "ui/records/frmSiteReport.h"
#include "ui/records/frmSites.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFontMetrics>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace
{
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
    QString PasswordBox(const QString&, const QString&) override { return {}; }
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

/// Saves one window in every theme, or has somebody else look at it.
class clsCamera
{
public:
    explicit clsCamera(modWindow::Look look) : m_look(std::move(look)) {}
    clsCamera(const QString& folder, bool lightOnly) : m_folder(folder)
    {
        const int scale = qRound(qApp->devicePixelRatio());
        m_suffix = scale == 1 ? QString() : u"@%1x"_s.arg(scale);
        m_themes = {{u"light"_s, QApplication::palette()}};
        if (!lightOnly)
            m_themes.append({u"dark"_s, DarkPalette()});
    }
    ~clsCamera()
    {
        if (!m_themes.isEmpty())
            QApplication::setPalette(m_themes.first().palette);
    }
    clsCamera(const clsCamera&) = delete;
    clsCamera& operator=(const clsCamera&) = delete;

    void Take(QWidget& window, const QString& name)
    {
        window.show();
        if (m_look) {
            modBrambury::Platform().EventLoop->Yield();
            return m_look(window, name);
        }
        for (const Theme& theme : m_themes) {
            QApplication::setPalette(theme.palette);
            modBrambury::Platform().EventLoop->Yield();
            const QString file = u"%1-%2%3.png"_s.arg(name, theme.name, m_suffix);
            if (!window.grab().save(QDir(m_folder).filePath(file)))
                throw clsError(clsError::PermissionDenied, u"Could not write "_s + file, m_folder);
        }
    }

private:
    modWindow::Look m_look;
    QString m_folder;
    QString m_suffix; ///< of the files' names: the scale, unless it is 1
    QList<Theme> m_themes;
};

/// Nobody closes the error window either: what it says goes to the error stream as well.
class clsWrittenErrors
{
public:
    clsWrittenErrors()
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this] {
            auto* error = qobject_cast<frmErrorMessage*>(QApplication::activeModalWidget());
            if (!error || m_wanted)
                return;
            Any = true;
            std::fprintf(stderr, "%s\n",
                         qUtf8Printable(error->findChild<QPlainTextEdit*>(u"txtDetails"_s)->toPlainText()));
            error->reject();
        });
        m_look.start(std::chrono::milliseconds(100));
    }
    /// Until the end of the answer's life an error window is left to its photographer.
    [[nodiscard]] static auto Wanted()
    {
        m_wanted = true;
        return qScopeGuard([] { m_wanted = false; });
    }
    bool Any = false; ///< one was opened that nobody wanted

private:
    QTimer m_look;
    static inline bool m_wanted = false;
};

/// Runs `body`; why it failed goes to the error stream. @return whether it ran through.
bool TellingFailure(const std::function<void()>& body)
{
    const std::optional<clsError> failure = failureOf(body);
    if (failure)
        std::fprintf(stderr, "%s\n", qUtf8Printable(failure->Description()));
    return !failure;
}

/// Takes pictures of the main window of an installation, by `take`, and leaves the installation as it was.
/// @return whether there was one to take pictures of, and nothing failed.
bool OfMain(const clsPlatformParts& parts, const std::function<void(frmMain&)>& take)
{
    clsWrittenDialogs dialogs;
    clsWindowParts with(parts, &dialogs);
    with.Windows.HoldTips();
    clsWrittenErrors errors;
    bool taken = false;
    modWidgets::AllowDialogs();
    if (modBrambury::Main() && with.Windows.AnyLoaded())
        taken = TellingFailure([&] { take(*with.Windows.Main()); }) && !errors.Any;
    // An end by abort saves nothing.
    modBrambury::State().Terminating = true;
    with.Windows.UnloadAll(false);
    with.Windows.Discard();
    return taken;
}

/// A dialog that `work` opens and waits for: `take` sees it, then it is closed.
void TakeModal(const std::function<void()>& work, const std::function<void(QDialog&)>& take)
{
    const auto wanted = clsWrittenErrors::Wanted();
    bool taken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        look.stop();
        taken = ignoringErrors([&] { take(*dialog); });
        dialog->reject();
    });
    look.start(0);
    work();
    if (!taken)
        throw clsError(clsError::PermissionDenied, u"Could not take a dialog's picture"_s, u"modWindow"_s);
}

/// The error window with the texts of a real failure: a stored query that is missing. It is reported in the error log
/// as well, so this is for an installation that nobody keeps.
void TakeError(clsCamera& camera)
{
    const auto fail = [] {
        guarded("frmMain", "OpenLists", [] { (void)modBrambury::State().Database->QueryDef(u"qryLinks"_s); });
    };
    TakeModal(fail, [&](QDialog& error) {
        camera.Take(error, u"error"_s);
        error.findChild<QPushButton*>(u"errorButton_1"_s)->click();
        camera.Take(error, u"error-details"_s);
    });
}

/// What is not a window of its own: the boxes that ask and tell, and what stands before the printer.
void TakeBoxes(clsCamera& camera)
{
    const auto boxes = modWidgets::MakeDialogs([] { return QApplication::activeWindow(); }, &modIcons::BoxPicture);
    const auto box = [&](const QString& name, const std::function<void()>& work) {
        TakeModal(work, [&](QDialog& dialog) { camera.Take(dialog, name); });
    };
    const QString title = modBrambury::ProgramTitle;
    box(u"box"_s, [&] {
        boxes->MsgBox(clsRecordEditor::MissingRecordText(), clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation,
                      title);
    });
    box(u"box-question"_s, [&] {
        boxes->MsgBox(u"You have made changes without saving.  Do you wish to save them now?"_s,
                      clsDialogs::Buttons::YesNoCancel, clsDialogs::Icon::Question, title);
    });
    box(u"box-input"_s, [&] { boxes->InputBox(u"Category:"_s, title, u"Nurseries"_s); });
    box(u"box-password"_s, [&] { boxes->PasswordBox(u"Password:"_s, title); });
    clsPrintProgress progress(nullptr);
    camera.Take(progress, u"print-progress"_s);
    progress.hide();
    const modBrambury::ProcessState& state = modBrambury::State();
    clsPrinter& printer = *state.Platform.Printer;
    box(u"print-preview"_s, [&] {
        printer.Preview([&] {
            return modSiteReport::Print(*state.Database, printer, {state.CurrentSite}, [](double) { return true; }) ==
                   modSiteReport::Outcome::Printed;
        });
    });
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

/// A mail server that is there without any.
class clsDrawnMailServer final : public clsMailProbe
{
public:
    [[nodiscard]] clsMailServerReport Probe(const QString&, int, const clsMailLogin&, int, const QString&,
                                            const std::function<bool()>&) override
    {
        clsMailServerReport report;
        report.connected = report.encrypted = report.offersStartTLS = report.triedLogin = true;
        report.methods = QStringList{u"PLAIN"_s, u"LOGIN"_s, u"XOAUTH2"_s};
        constexpr qint64 size = 35'882'577;
        report.sizeLimit = size;
        report.certificate = u"mail.example.com, issued by Example Authority, valid until 2027-05-01"_s;
        report.failure = u"535 5.7.8 Error: authentication failed"_s;
        report.dialogue = QStringList{u"< 220 mail.example.com ESMTP"_s,
                                      u"> EHLO desk.example.com"_s,
                                      u"< 250-mail.example.com"_s,
                                      u"< 250-SIZE 35882577"_s,
                                      u"< 250 AUTH PLAIN LOGIN XOAUTH2"_s,
                                      u"> AUTH PLAIN"_s,
                                      u"> (credentials)"_s,
                                      u"< 535 5.7.8 Error: authentication failed"_s};
        return report;
    }
};

class clsDrawnKeyring final : public clsKeyring
{
public:
    QString Unavailable() override { return {}; }
    std::optional<QByteArray> Read(const QString&) override { return std::nullopt; }
    void Write(const QString&, const QByteArray&) override {}
    void Remove(const QString&) override {}
};

/// Every page of the window for a log-in, after a test.
void TakeMailLogin(clsCamera& camera, clsSiteRecord& site)
{
    clsPlatform& platform = modBrambury::Platform();
    clsDrawnMailServer server;
    clsDrawnKeyring keyring;
    clsMailProbe* const probeBefore = std::exchange(platform.MailProbe, &server);
    clsKeyring* const keyringBefore = std::exchange(platform.Keyring, &keyring);
    const auto restore = qScopeGuard([&] {
        platform.MailProbe = probeBefore;
        platform.Keyring = keyringBefore;
    });
    site.SetValue(u"MailSecurity"_s, u"starttls"_s);
    site.SetValue(u"MailPort"_s, 587);
    frmMailLogin login(site);
    login.show();
    platform.EventLoop->Yield(); // it looks for the keyring
    login.findChild<QLineEdit*>(u"txtUser"_s)->setText(u"webmaster@example.com"_s);
    login.findChild<QLineEdit*>(u"txtPassword"_s)->setText(u"app password"_s);
    login.findChild<QPushButton*>(u"buttonTest"_s)->click();
    TakePages(camera, login, {u"login"_s, u"login-advanced"_s, u"login-test"_s});
}

/// What was sent to a partner, one message after the other; none of it stays in the database.
void TakeMailHistory(clsCamera& camera, const clsLinkRecord& link)
{
    clsDatabase& database = *modBrambury::State().Database;
    const clsTransaction never(database);
    const auto ledger = database.OpenRecordset(u"SELECT * FROM tblSendLedger WHERE 0"_s);
    for (const auto& [begun, outcome, subject, reply] :
         {std::tuple(u"2025-11-03 10:20:41"_s, u"sent"_s, u"A link between our gardens?"_s,
                     u"250 2.0.0 Ok: queued as 4Q8zWk1zz"_s),
          {u"2025-12-02 09:05:10"_s, u"not sent"_s, u"Our link on your page"_s,
           u"452 4.2.2 The recipient's mailbox is full"_s},
          {u"2025-12-03 08:30:02"_s, u"sent"_s, u"Our link on your page"_s, u"250 2.0.0 Ok: queued as 4Q9bTc2zz"_s}}) {
        ledger->AddNew();
        for (const auto& [field, value] : {std::pair(u"LinkID"_s, QVariant(link.LinkID())),
                                           {u"Recipient"_s, link.Text(u"Email"_s)},
                                           {u"Subject"_s, subject},
                                           {u"Begun"_s, begun},
                                           {u"Instant"_s, 0},
                                           {u"Outcome"_s, outcome},
                                           {u"Reply"_s, reply}})
            ledger->SetField(field, value);
        ledger->Update();
    }
    frmMailHistory history(database, link.LinkID(), link.Name());
    camera.Take(history, u"mail-history"_s);
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
    TakeMailLogin(camera, site);
    const modDataModel::StatusBounds all = modDataModel::BoundsOf(modDataModel::ViewAll, false);
    const auto failed = database.OpenRecordset(u"SELECT ID FROM tblLinkList WHERE Results >= 4 ORDER BY ID"_s);
    clsLinkRecord link(database, state.CurrentSite, state.Tests.MyLinkAtRecipSite);
    if (link.Open(failed->Field(u"ID"_s).toLongLong(), all))
        TakePages(camera, *std::make_unique<frmLinks>(link, database), {u"link"_s, u"link-comments"_s});
    TakeMailHistory(camera, link);
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
    frmExportOption exportOption;
    camera.Take(exportOption, u"export"_s);
    frmSiteReport report;
    camera.Take(report, u"report"_s);
    frmCustomizeGrid customize(grid);
    camera.Take(customize, u"customize"_s);
    frmBackupRestore backupRestore;
    camera.Take(backupRestore, u"backup"_s);
    frmTips tips(*state.Database->OpenRecordset(u"tblTips"_s), 0);
    camera.Take(tips, u"tips"_s);
    frmAbout about;
    camera.Take(about, u"about"_s);
    frmSystemInformation information;
    camera.Take(information, u"system"_s);
}

/// The windows in which messages are written and looked at.
void TakeMail(clsCamera& camera)
{
    clsDatabase& database = *modBrambury::State().Database;
    const auto templates = database.OpenRecordset(u"tblMailMessages"_s);
    frmMailEditor editor(database);
    editor.Open(templates->Field(u"MessageID"_s).toLongLong());
    auto* body = editor.findChild<QPlainTextEdit*>(u"tBody"_s);
    body->insertPlainText(u"We beleive that our visitors share many intrests.\n\n"_s);
    camera.Take(editor, u"templates"_s);
    editor.resize(editor.minimumSizeHint());
    camera.Take(editor, u"templates-small"_s);
    editor.hide();
    frmFieldTags tags(database);
    camera.Take(tags, u"tags"_s);
    clsSpellCheck check(database);
    check.Watch(*body);
    frmSpelling spelling(check, nullptr);
    if (spelling.Begin())
        camera.Take(spelling, u"spelling"_s);
    clsMailQueue queue(database);
    queue.Links().MoveFirst();
    queue.LoadSiteSettings(queue.LinkText(u"SiteName"_s));
    clsMailQueue::Template message;
    static_cast<void>(queue.FindTemplate(message));
    for (QString* text : {&message.Subject, &message.Body})
        queue.AddTags(*text, *modBrambury::Platform().EventLoop, [] { return false; });
    frmPreview preview(
        u"Preview E-mail [%1]"_s.arg(queue.LinkText(u"Title"_s)),
        u"From: %1 [%2]\r\nTo: %3\r\nSubject: %4\r\n\r\n\r\n%5"_s.arg(
            queue.Site().Sender, queue.Site().Email, queue.LinkText(u"Email"_s), message.Subject, message.Body),
        u"terms.pdf, 31.4KB (32,154 bytes)"_s);
    camera.Take(preview, u"mail-preview"_s);
}

/// A page that is there without any server: the home pages of the sample's partners, and some more.
class clsDrawnPage final : public clsHTTPEngine
{
public:
    /// @param whileFetching  called in the middle of the fetch.
    explicit clsDrawnPage(std::function<void()> whileFetching)
        : clsHTTPEngine({.Resources = modBrambury::Platform().Resources,
                         .EventLoop = modBrambury::Platform().EventLoop,
                         .Clock = modBrambury::Platform().Clock,
                         .Stopped = {},
                         .DefaultLocalFile = {}}),
          m_whileFetching(std::move(whileFetching))
    {
        const std::initializer_list<std::pair<const char16_t*, const char16_t*>> links{
            {u"http://www.rosewood.localhost:28480/", u"Rosewood Nursery"},
            {u"http://www.mosswalk.example/", u"Moss Walk \u2013 gardens in the shade"},
            {u"http://www.kiln.localhost:28480/", u"Kiln & Kettle"},
            {u"http://www.ferneryfriends.example/index.html", u"Friends of the Fernery"},
            {u"http://www.plantings.localhost:28480/", u"Plantings"},
            {u"http://www.heritage-apples.example/varieties/early.html?sort=name", u"Heritage apples, early ones"},
            {u"javascript:print()", u"Print this page"},
            {u"http://beeline.example/", u"Beeline"}};
        std::vector<clsPageAddress> addresses;
        QStringList texts;
        for (const auto& [address, text] : links) {
            addresses.push_back({QString::fromUtf16(address), QString::fromUtf16(address)});
            texts << QString::fromUtf16(text);
        }
        m_links = clsPageList(std::move(addresses));
        m_links.SetTexts(texts);
    }
    bool ConnectToServer(bool /*flag*/) override
    {
        m_whileFetching();
        return true;
    }
    [[nodiscard]] const clsPageList& Hyperlinks() const override { return m_links; }

private:
    std::function<void()> m_whileFetching;
    clsPageList m_links;
};

class clsDrawnConnection final : public clsConnection
{
public:
    [[nodiscard]] bool Connected() const override { return true; }
    bool Dial() override { return false; }
    void HangUp() override {}
};

/// Every page of the wizard, the one of the harvest in its middle.
void TakeWizard(clsCamera& camera)
{
    modBrambury::ProcessState& state = modBrambury::State();
    clsDrawnConnection connection;
    clsConnection* const before = std::exchange(state.Platform.Connection, &connection);
    const auto restore = qScopeGuard([&] { state.Platform.Connection = before; });
    frmImportWizard wizard({.Platform = state.Platform, .Database = state.Database.get(), .MakeEngine = [&] {
                                return std::make_unique<clsDrawnPage>(
                                    [&] { camera.Take(wizard, u"wizard-harvest"_s); });
                            }});
    wizard.findChild<QLineEdit*>(u"txtURL"_s)->setText(u"http://www.example.com/garden/links.html"_s);
    camera.Take(wizard, u"wizard"_s);
    const QString page = wizard.findChild<QLineEdit*>(u"txtURL"_s)->text();
    wizard.findChild<QLineEdit*>(u"txtURL"_s)->setText(u"/home/rose/Documents/bookmarks.html"_s);
    camera.Take(wizard, u"wizard-file"_s);
    wizard.findChild<QLineEdit*>(u"txtURL"_s)->setText(page);
    wizard.next();
    camera.Take(wizard, u"wizard-summary"_s);
    wizard.next();
    const auto listed = [&] { return wizard.currentId() == frmImportWizard::List; };
    static_cast<void>(state.Platform.EventLoop->Wait(listed, std::chrono::seconds(30)));
    wizard.findChild<QPushButton*>(u"SelectButton_2"_s)->click();
    camera.Take(wizard, u"wizard-list"_s);
    wizard.next();
    camera.Take(wizard, u"wizard-result"_s);
    if (wizard.currentId() != frmImportWizard::Result)
        throw clsError(clsError::PermissionDenied, u"Could not take the wizard's pictures"_s, u"modWindow"_s);
    wizard.hide();
}

/// The main window after the sample was added and tested. Its pages are the program's own: no network is needed.
void TakeTestedSample(clsCamera& camera, frmMain& window)
{
    modBrambury::ProcessState& state = modBrambury::State();
    clsDrawnConnection connection;
    clsConnection* const before = std::exchange(state.Platform.Connection, &connection);
    const auto restore = qScopeGuard([&] { state.Platform.Connection = before; });
    state.Settings.PlaySoundComplete = u"No"_s;
    window.resize(MainSize);
    window.findChild<clsPanes*>()->SetPositions(clsPanes::FirstLeft, clsPanes::FirstTop);
    window.findChild<QPushButton*>(u"Invitation_open"_s)->click();
    window.findChild<QAction*>(u"ServicesMenuElement_2"_s)->trigger();
    window.findChild<clsResultsBox*>()->verticalScrollBar()->setValue(0);
    camera.Take(window, u"main-tested"_s);
}

/// The scale holds for a whole process, so the same pictures at the double scale take a second one.
ExitCode AgainAtDoubleScale(const QString& home, const QString& folder)
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
        return ExitCode::Failed;
    return again.exitStatus() == QProcess::NormalExit ? static_cast<ExitCode>(again.exitCode()) : ExitCode::Failed;
}

/// Every window there is: the main window as this installation has it, and all others as a new one has them, so that
/// none needs certain records. @return whether all were taken.
bool TakeEverything(clsPlatformParts& parts, clsCamera& camera)
{
    const bool own = OfMain(parts, [&](frmMain& window) {
        window.resize(MainSize);
        window.findChild<clsPanes*>()->SetPositions(clsPanes::FirstLeft, clsPanes::FirstTop);
        window.findChild<clsLinkGrid*>()->setFocus();
        camera.Take(window, u"main"_s);
        window.resize(SmallMainSize);
        camera.Take(window, u"main-small"_s);
    });
    if (!own)
        return false;
    const QTemporaryDir empty;
    clsPlatformParts newParts(empty.path());
    if (!TellingFailure([&] { newParts.LayDown(); }))
        return false;
    return OfMain(newParts, [&](frmMain& window) {
        window.resize(SmallMainSize);
        camera.Take(window, u"main-empty"_s);
        TakeError(camera);
        TakeTestedSample(camera, window);

        frmSetTest setTest;
        camera.Take(setTest, u"settest"_s);
        TakeEditors(camera);
        TakeSmallDialogs(camera, *window.findChild<clsLinkGrid*>());
        TakeMail(camera);
        TakeWizard(camera);
        TakeBoxes(camera);
        frmHelp help(
            clsHelpFile(modBrambury::Platform().Disk->ReadFile(modPlatformImpl::ShareFolder() + u"/Bramdat.hlp"_s)),
            modPlatformImpl::ShareFolder() + u"/pictures"_s);
        help.ShowTopic(modHelpTopics::MainWindow);
        camera.Take(help, u"help"_s);
        help.ShowTopic(modHelpTopics::Legend);
        camera.Take(help, u"help-legend"_s);
        help.close();
        frmSplash splash(u"1.0"_s, u"000"_s);
        camera.Take(splash, u"splash"_s);
    });
}
} // namespace

bool modWindow::EachWindow(clsPlatformParts& parts, const Look& look)
{
    clsCamera eyes(look);
    return TakeEverything(parts, eyes);
}

ExitCode modWindow::RenderPictures(clsPlatformParts& parts, const QString& folder, bool lightOnly)
{
    if (!QFontMetrics(QApplication::font()).inFont(u'a')) {
        std::fprintf(stderr, "Without fonts there are no pictures: install some.\n");
        return ExitCode::Failed;
    }
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "Could not make the folder %s\n", qUtf8Printable(folder));
        return ExitCode::Failed;
    }
    clsCamera camera(folder, lightOnly);
    if (!TakeEverything(parts, camera))
        return ExitCode::Failed;
    return lightOnly || qApp->devicePixelRatio() != 1 ? ExitCode::Done : AgainAtDoubleScale(parts.Home(), folder);
}
