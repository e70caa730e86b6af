// SPDX-License-Identifier: GPL-3.0-or-later
// Every window of the program used at random: keys, clicks, menus, boxes, all kinds of runs started and stopped, closed
// at any moment. After every step it must be in order with itself, silent on the error stream, and ready for the next
// one; every run that began has its end in the results log.
#include "suites/suite_program.h"
#include "support/authority.h"
#include "support/files.h"
#include "support/scripted_smtp.h"
#include "support/suite_report.h"
#include "support/table.h"

#include "data/clsDAO.h"
#include "log/clsStatusLog.h"
#include "platform/clsBrowser.h"
#include "platform/clsDisk.h"
#include "platform/modPlatformImpl.h"
#include "platform/parts/clsPlatformParts.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/main/clsWindowParts.h"
#include "ui/main/frmMain.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QTabBar>
#include <QTableView>
#include <QThread>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QWindow>
#include <QWizard>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using modBrambury::State;

namespace
{
constexpr int LongestPause = 1000; ///< milliseconds in which the window must answer
constexpr qsizetype DeedsKept = 40;
constexpr int Seeds = 8; ///< of the long form, which takes an hour
constexpr std::chrono::seconds EachSeed = std::chrono::seconds(1h) / Seeds;

/// The runs, and what is read of them in the results log or in a box.
const QList<std::pair<QString, QString>> Runs{{u"link test"_s, u"END LINK TEST SESSION"_s},
                                              {u"mail run"_s, u"END MAIL SESSION"_s},
                                              {u"Stop"_s, u"Stop button was pressed."_s},
                                              {u"mail preview"_s, u"Previewing mail for "_s},
                                              {u"mail check"_s, u"E-MAIL QUEUE CHECKED"_s},
                                              {u"message in doubt"_s, u"An earlier run ended while it was sending"_s},
                                              {u"links page"_s, u"\" was created."_s},
                                              {u"backup"_s, u"Backup complete."_s},
                                              {u"restore"_s, u"Restore complete."_s},
                                              {u"compact"_s, u"successfully compacted"_s},
                                              {u"repair"_s, u"successfully repaired"_s},
                                              {u"restart"_s, u"will now restart."_s},
                                              {u"spelling"_s, u"Spell checking complete."_s}};

/// Commands of the main window from which the ways lead to everything.
const QStringList Openers =
    u"ServicesMenuElement_0 ServicesMenuElement_1 ServicesMenuElement_2 ServicesMenuElement_4 ServicesMenuElement_5 "
    "ServicesMenuElement_7 ServicesMenuElement_8 SitesMenuElement_0 SitesMenuElement_1 LinkMenuElement_0 "
    "LinkMenuElement_1 LinkMenuElement_4 LinkMenuElement_6 LinkMenuElement_7 LinkMenuElement_8 LinkMenuElement_9 "
    "LinkMenuElement_13 ToolsMenuElement_0 ToolsMenuElement_2 ToolsMenuElement_3 ToolsMenuElement_4 "
    "ToolsMenuElement_2 ToolsMenuElement_3 ToolsMenuElement_4 ToolsMenuElement_6 ToolsMenuElement_8 ToolsMenuElement_10 HelpMenuElement_0 HelpMenuElement_11"_s.split(u' ');

/// Errors that this world has in store: no printer, a mail server that is at odds with everybody, a partner whose title
/// is the field tag for its title, any text as a token command.
const QStringList Errors{u"There is no printer."_s, u"An error occured while sending mail."_s,
                         u"makes the text too long, or is replaced without end."_s, u"The token command "_s,
                         u"could not be started."_s};

/// Everything that can be met: windows, pages of the wizard, runs, ends.
QStringList Everything()
{
    QStringList names = u"clsPrintProgress|frmPrintPreview|QPageSetupDialog|QFileDialog|QInputDialog|QMessageBox|QMenu|"
                        "picFrame_0|picFrame_1|picFrame_2|picFrame_3|picFrame_4|log-in|message|close|"
                        "close behind a dialog|end of the session"_s.split(u'|');
    for (QDirIterator file(QStringLiteral(BRAMBURY_SOURCE_DIR "/src/ui"), {u"frm*.h"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
         file.hasNext();) {
        file.next();
        names << file.fileInfo().baseName();
    }
    names.removeOne(u"frmMainInside"_s); // no window
    for (const auto& [run, heard] : Runs)
        names << run;
    return names;
}

/// What went to the error stream.
QStringList s_warnings;

void Collect(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    // What a display without a window system cannot do, a click beside a window that has just shrunk, a page dialog on
    // a computer without printers, and a slow second click whose renaming comes due when the list is closed to changes,
    // are none of the window's doing.
    if (type != QtDebugMsg && type != QtInfoMsg && !text.startsWith(u"This plugin does not support"_s) &&
        !text.startsWith(u"Mouse event at"_s) && !text.startsWith(u"QPageSetupDialog: "_s) &&
        text != "edit: editing failed"_L1)
        s_warnings << text;
}

/// Opens nothing.
class deafBrowser final : public clsBrowser
{
public:
    Outcome Open(const QString&) override { return Outcome::Opened; }
};

/// How long this thread could have run and the machine was busy with others, in milliseconds, since the process began.
qint64 Kept()
{
    return ReadAll(u"/proc/thread-self/schedstat"_s).split(' ').value(1).toLongLong() / 1'000'000;
}

/// What a monkey lives in: an installation with sites and partners in every status, and their servers.
struct monkeyWorld
{
    const clsTestInstallation installation;
    const testAuthority authority;
    scriptedServer web;
    scriptedSmtp mail{{.certificate = authority.Read(u"good.pem"_s),
                       .key = authority.Read(u"good.key"_s),
                       .offers = {"STARTTLS"},
                       .encryptedOffers = {"AUTH PLAIN XOAUTH2"},
                       .user = "ann",
                       .secret = "secret"}};
    int sites = 0;

    monkeyWorld()
    {
        QByteArray page;
        for (int i = 0; i < 60; ++i)
            page += "<a href=\"/partner" + QByteArray::number(i * 7) + "/\">partner</a>\n";
        web.Answer("/harvest/", serverReply::Page(page).After(50ms));
        web.AnswerOthers([](const serverRequest& request) {
            const int partner = request.target.mid(8, request.target.indexOf('/', 1) - 8).toInt();
            if (partner % 50 == 49)
                return serverReply().Silent();
            return serverReply::Page("<a href=\"/home/\">home</a>").After(std::chrono::milliseconds(partner % 40));
        });
        const auto database = installation.Open();
        AddSite(*database, u"Shop"_s, 60);
        AddSite(*database, u"Garden \"Rose\""_s, 300);
        AddSite(*database, u"Empty"_s, 0);
        WriteAll(Path(u"Brambury.ini"_s), "[Brambury]\nNetwork\\Timeout=1\nGeneral\\HideInactiveDeclined=0\n"
                                          "Network\\CaFile=" +
                                              authority.CaFile().toUtf8() + '\n');
        WriteAll(Path(u"links.html"_s), page);
        WriteAll(Path(u"links.csv"_s), "Title,HomePage\nRose,http://www.rose.example/\n");
        if (!QDir().mkpath(Path(u"Backup"_s)) ||
            !QFile::copy(installation.DatabasePath(), Path(u"Backup/Bramdat.mdb"_s)))
            qFatal("no backup could be made");
    }
    QString Path(const QString& file) const { return installation.Folder() + u'/' + file; }

    /// A site with a category and partners, some of them queued. At its mail server nobody logs in, or somebody with a
    /// token, or with a password that is asked for.
    void AddSite(clsDatabase& database, const QString& site, int links)
    {
        clsTransaction transaction(database);
        clsRecordValues values{{u"HomePage"_s, web.Url(u"/home/"_s)},
                               {u"LinkPage"_s, web.Url(u"/links/"_s)},
                               {u"Sender"_s, u"Ann"_s},
                               {u"HostName"_s, u"127.0.0.1"_s},
                               {u"MailPort"_s, mail.Port()}};
        for (int type = 1; type <= 8; ++type)
            values.insert(u"EMessage%1"_s.arg(type), type);
        if (const int kind = sites++ % 3; kind != 0)
            values.insert({{u"MailSecurity"_s, u"starttls"_s},
                           {u"MailUser"_s, u"ann"_s},
                           {u"MailTokenCommand"_s, kind == 1 ? u"echo secret"_s : QString()}});
        clsTestInstallation::AddSite(database, site, values);
        const qint64 category = clsTestInstallation::AddCategory(database, site, u"Friends"_s);
        for (int i = 0; i < links; ++i) {
            const QString home = web.Url(u"/partner%1/"_s.arg(i));
            clsTestInstallation::AddLink(database, site, u"Partner %1"_s.arg(i * 37 % 101),
                                         {{u"HomePage"_s, home},
                                          {u"LinkPage"_s, home + u"links.html"_s},
                                          {u"Email"_s, u"p%1@partner.example"_s.arg(i)},
                                          {u"Status"_s, i % 6},
                                          {u"Message"_s, 1 + i % 8},
                                          {u"CategoryID"_s, i % 2 == 0 ? category : 0},
                                          {u"EmailQueue"_s, i % 4 == 0 ? 1 : 0},
                                          {u"TestQueue"_s, links < 100 || i % 7 == 0 ? 1 : 0}});
        }
        transaction.Commit();
    }
};
} // namespace

/// What all monkeys did and met.
struct monkeyCounts
{
    int steps = 0;
    int sessions = 0;
    int longestPause = 0;
    QMap<QString, int> met;
};

/// Uses the windows. Every step asks for the next one before it acts, so that it goes on inside dialogs and runs.
class monkey : public QObject
{
    Q_OBJECT

public:
    monkey(quint32 seed, clsWindowParts& parts, monkeyWorld& world, monkeyCounts& counts)
        : m_random(seed),
          m_time(suiteReport::Long() ? QDeadlineTimer(EachSeed) : QDeadlineTimer(QDeadlineTimer::Forever)),
          m_parts(parts), m_world(world), m_disk(modPlatformImpl::MakeDisk()), m_counts(counts),
          m_texts(
              u"%1|%1|%1|%2|7|0|587|ann|p1@partner.example|[Partner Title] mispelled|100% \"Gr\u00fc\u00dfe\" \u202e <b>||"_s
                  .arg(world.web.Url(u"/harvest/"_s), world.Path(u"links.csv"_s))
                  .split(u'|')
              << u"long "_s.repeated(60))
    {
    }

    void Begin() { Schedule(); }
    /// From now on nothing is scheduled.
    void End() { m_ended = true; }
    [[nodiscard]] bool Done() const
    {
        return (m_done >= ShortSteps && !suiteReport::Long()) || m_time.hasExpired() || !faults.isEmpty();
    }
    /// The program has ended, or is about to be started again.
    void SessionEnded()
    {
        ++m_counts.sessions;
        if (m_parts.Windows.Main())
            HearLog(*m_parts.Windows.Main());
        FaultIf(!m_run.isEmpty(), u"the program ended and left a run without its end: "_s + m_run);
        m_run.clear();
        m_waiting.invalidate(); // a start is no pause
    }

    QStringList faults;
    QStringList deeds;

private:
    static constexpr int ShortSteps = 1000;

    QRandomGenerator m_random;
    QDeadlineTimer m_time;
    int m_done = 0;
    bool m_ended = false;
    clsWindowParts& m_parts;
    monkeyWorld& m_world;
    std::unique_ptr<clsDisk> m_disk;
    monkeyCounts& m_counts;
    const QStringList m_texts;          ///< what it types
    QList<QPointer<QWidget>> m_windows; ///< that are open
    QString m_page;                     ///< of the wizard
    QString m_log;                      ///< what has been read of the results log
    int m_pressing = -1;                ///< the depth at which a key or button is pressed
    QString m_run;                      ///< the kind of the run that has begun there
    QElapsedTimer m_waiting;
    qint64 m_kept = 0;

    int Below(int limit) { return m_random.bounded(limit); }
    template <class T> T AnyOf(const QList<T>& list) { return list[Below(static_cast<int>(list.size()))]; }
    /// The controls of this kind that a user can use now.
    template <class T> static QList<T*> Usable(const QWidget& window)
    {
        auto controls = window.findChildren<T*>();
        erase_if(controls, [&](const auto* control) {
            return !control->isVisible() || !control->isEnabled() || control->window() != &window;
        });
        return controls;
    }
    [[nodiscard]] QDialog* Dialog() const { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); }
    /// Null when it is not open.
    [[nodiscard]] QWidget* Window(const QString& name) const
    {
        for (const auto& window : m_windows) {
            if (window && window->isVisible() && window->objectName() == name)
                return window;
        }
        return nullptr;
    }

    void Note(const QString& deed)
    {
        deeds << u"%1: %2"_s.arg(m_done).arg(deed);
        // For a crash, which leaves nobody to tell the last deeds.
        if (qEnvironmentVariableIsSet("BRAMBURY_TRACE"))
            std::fprintf(stderr, "%s\n", qPrintable(deeds.last()));
        if (deeds.size() > DeedsKept)
            deeds.removeFirst();
    }
    void FaultIf(bool wrong, const QString& what)
    {
        if (wrong && faults.isEmpty())
            faults << what;
    }

    void Schedule()
    {
        if (m_ended)
            return;
        const int pause = Below(4) == 0 ? Below(12) : 0;
        m_waiting.start();
        m_kept = Kept();
        QTimer::singleShot(pause, this, [this, pause] {
            if (m_waiting.isValid()) {
                const int waited = static_cast<int>(m_waiting.elapsed() - pause - (Kept() - m_kept));
                m_counts.longestPause = std::max(m_counts.longestPause, waited);
                FaultIf(waited > LongestPause * BRAMBURY_SLOW, u"the window did not answer for %1 ms"_s.arg(waited));
            }
            Schedule();
            // Inside a click or key only the dialog, menu or run is used that it has opened.
            if (Depth() <= m_pressing)
                return;
            LookAround();
            if (m_parts.Windows.Main()) {
                Check();
                ++m_done;
                ++m_counts.steps;
                Act();
            }
        });
    }

    /// Counts what has opened since the last step, and reads what it says.
    void LookAround()
    {
        erase_if(m_windows, [](const auto& window) { return !window || !window->isVisible(); });
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible() || m_windows.contains(window))
                continue;
            m_windows << window;
            const QString name = QString::fromLatin1(window->metaObject()->className());
            ++m_counts.met[name];
            if (const auto* box = qobject_cast<QMessageBox*>(window)) {
                Note(u"a box: "_s + box->text().simplified());
                Hear(box->text());
            } else if (name == "frmErrorMessage"_L1) {
                const QString details = window->findChild<QPlainTextEdit*>(u"txtDetails"_s)->toPlainText();
                Note(u"an error window: "_s + details);
                FaultIf(std::none_of(Errors.cbegin(), Errors.cend(),
                                     [&](const QString& error) { return details.contains(error); }),
                        u"an error window: "_s + details);
            }
        }
        const auto* wizard = qobject_cast<QWizard*>(Window(u"frmImportWizard"_s));
        const QString page = wizard && wizard->currentPage() ? wizard->currentPage()->objectName() : QString();
        if (std::exchange(m_page, page) != page && !page.isEmpty())
            ++m_counts.met[page];
    }

    void Hear(const QString& text)
    {
        for (const auto& [run, heard] : Runs)
            m_counts.met[run] += static_cast<int>(text.count(heard));
    }

    void HearLog(const frmMain& window)
    {
        const QString& log = window.ResultsLog()->Text();
        const QString added = log.startsWith(m_log) ? log.mid(m_log.size()) : log; // it may have been cleared
        m_log = log;
        if (added.isEmpty())
            return;
        Hear(added);
        static const QRegularExpression banner(u"(BEGIN|END) (LINK TEST|MAIL) SESSION"_s);
        for (auto line = banner.globalMatch(added); line.hasNext();) {
            const auto found = line.next();
            const bool begins = found.captured(1) == "BEGIN"_L1;
            FaultIf(m_run != (begins ? QString() : found.captured(2)),
                    found.captured() + u" in the log after the beginning of a run of the kind \""_s + m_run + u'"');
            m_run = begins ? found.captured(2) : QString();
        }
    }

    void Check()
    {
        FaultIf(!s_warnings.isEmpty(), u"on the error stream: "_s + s_warnings.join(u'\n'));
        frmMain& window = *m_parts.Windows.Main();
        HearLog(window);
        if (window.Unloaded())
            return;
        const bool busy = IsBusy();
        // The lock on the run is what other copies of the program see of it.
        const bool locked =
            !m_disk->Lock(m_world.installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
        FaultIf(!m_run.isEmpty() && (!busy || !locked), u"a run that is not busy, or without its lock"_s);
        FaultIf(!busy && locked && !Window(u"frmImportWizard"_s), u"a run, and not busy"_s);
        for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"BigToolBar_2"_s})
            FaultIf(window.findChild<QAction*>(name)->isEnabled() == busy, name + u" does not follow the run"_s);
        for (const auto& name :
             {u"SiteList"_s, u"LinksTab"_s, u"LinkButtons_4"_s, u"HideInactiveDeclined"_s, u"SiteButtons_0"_s})
            FaultIf(window.findChild<QWidget*>(name)->isEnabled() == busy, name + u" does not follow the run"_s);
        FaultIf(!window.findChild<QAction*>(u"ServicesMenuElement_10"_s)->isEnabled(), u"Exit is disabled"_s);

        const auto rows = window.findChild<QTableView*>(u"gridLinkList"_s)->model()->rowCount();
        const QString counter = window.findChild<QLabel*>(u"lblLinksInView"_s)->text();
        FaultIf(counter != u"[ %1 link(s) in current view ]"_s.arg(rows), counter + u", and %1 rows"_s.arg(rows));
        if (busy || m_done % 20 != 0 || QApplication::activeModalWidget() || !State().Database)
            return;
        const QString site = State().CurrentSite;
        if (site == modBrambury::NewSiteID)
            return;
        const QString title = site.isEmpty() ? u"Brambury"_s : u"Brambury    [Site: %1]"_s.arg(site);
        FaultIf(window.windowTitle() != title, u"the title is \"%1\", not \"%2\""_s.arg(window.windowTitle(), title));
        // An edited link stays in the view until it is filled anew.
        window.FillLinkGrid();
        const int view = window.findChild<QTabBar*>(u"LinksTab"_s)->currentIndex() - 1;
        const bool hides = window.findChild<QCheckBox*>(u"HideInactiveDeclined"_s)->isChecked();
        const QString wanted = view >= 0 ? u"Status = %1"_s.arg(view) : hides ? u"Status < 4"_s : u"1"_s;
        const auto database = m_world.installation.Open(); // as another program sees it
        const qint64 stored = database
                                  ->OpenRecordset(u"SELECT * FROM tblLinkList WHERE %1 AND %2"_s.arg(
                                      clsDAO::TextCriteria(u"SiteName"_s, site), wanted))
                                  ->RecordCount();
        const clsRecordset* shown = window.findChild<clsLinkGrid*>()->Links().Recordset();
        const qint64 held = shown ? shown->RecordCount() : 0;
        FaultIf(stored != held, u"the view holds %1 of %2 links (%3, %4)"_s.arg(held).arg(stored).arg(site, wanted));
        // It deletes sites and links too; without any there would be no runs.
        for (const auto& [queue, least] : {std::pair(u"qryTestLinks"_s, 10), {u"qrySendEmail"_s, 3}}) {
            if (database->OpenRecordset(queue)->RecordCount() >= least &&
                window.findChild<QTreeWidget*>(u"SiteList"_s)->topLevelItemCount() > 1)
                continue;
            m_world.AddSite(*database, u"More %1"_s.arg(m_done), 40);
            return window.FillSiteList();
        }
    }

    [[nodiscard]] bool IsBusy() const
    {
        const frmMain* window = m_parts.Windows.Main();
        return window && window->findChild<QAction*>(u"BigToolBar_3"_s)->isEnabled(); // Stop
    }
    /// Greater with each dialog, run or menu that has opened, in this order.
    [[nodiscard]] int Depth() const
    {
        return 4 * QThread::currentThread()->loopLevel() + (IsBusy() ? 2 : 0) +
               (QApplication::activePopupWidget() ? 1 : 0);
    }

    void Act()
    {
        if (State().DatabaseWork && Below(10) != 0)
            return; // copying and mending take longer than a step: mostly they are waited for
        frmMain& window = *m_parts.Windows.Main();
        QDialog* dialog = Dialog();
        if (Below(60) == 0)
            UpsetMailServer();
        // Ends of every kind, also behind an open box or in the middle of a run.
        if (!window.Unloaded() && ((Done() && !dialog) || Below(300) == 0)) {
            const bool told = Below(3) == 0;
            const QString deed = told ? u"end of the session"_s : dialog ? u"close behind a dialog"_s : u"close"_s;
            Note(deed);
            ++m_counts.met[deed];
            told ? m_parts.Windows.EndSession() : static_cast<void>(window.close());
        } else if (QWidget* popup = QApplication::activePopupWidget()) {
            ActOnPopup(*popup);
        } else if (QWidget* help = Below(6) == 0 ? Window(u"frmHelp"_s) : nullptr) {
            ActOn(*help); // it stands beside all others
        } else if (auto* files = qobject_cast<QFileDialog*>(dialog)) {
            ActOnFiles(*files);
        } else if (dialog) {
            ActOn(*dialog);
        } else if (window.isVisible() && !window.Unloaded()) {
            ActOn(window);
        }
    }

    void UpsetMailServer()
    {
        // At the end it leaves a message in doubt, which the next run asks about.
        static const QByteArrayList steps{"greeting", "EHLO", "AUTH", "MAIL", "RCPT", "DATA", "end", "end", "end"};
        for (const QByteArray& step : steps)
            m_world.mail.Forget(step);
        if (Below(5) != 0)
            return;
        const QByteArray step = AnyOf(steps);
        m_world.mail.At(
            step, AnyOf(QList<serverReply>{serverReply::Bytes("451 later\r\n"), serverReply::Bytes("550 no\r\n"),
                                           serverReply().Close(), serverReply().Reset(), serverReply().Silent()}));
        Note(u"the mail server is odd at "_s + QString::fromLatin1(step));
    }

    void ActOnFiles(QFileDialog& files)
    {
        if (Below(3) == 0)
            return files.reject();
        const QString file = AnyOf(QStringList{u"links.html"_s, u"links.csv"_s, u"Results.log"_s, u"Page.html"_s,
                                               u"Report.pdf"_s, u"none.txt"_s});
        Note(u"file "_s + file);
        files.findChild<QLineEdit*>()->setText(m_world.Path(file));
        QTest::keyClick(files.findChild<QLineEdit*>(), Qt::Key_Return);
    }

    void ActOnPopup(QWidget& popup)
    {
        if (!popup.windowHandle() || Below(8) == 0) {
            Note(u"popup closed"_s);
            popup.close();
        } else if (Below(2) == 0) {
            PressKey(*popup.windowHandle(), u"Down; Up; Left; Right; Return; Esc"_s);
        } else {
            Click(popup, popup);
        }
    }

    void ActOn(QWidget& window)
    {
        if (!window.windowHandle())
            return;
        KeepBackupsHere(window);
        if (const auto* box = qobject_cast<QMessageBox*>(&window); box && Below(3) == 0) {
            QAbstractButton* answer = AnyOf(box->buttons());
            Note(u"answer "_s + answer->text());
            return answer->click(); // the ways to the rarer runs lead through questions
        }
        const bool main = &window == m_parts.Windows.Main();
        const int dice = Below(100);
        if (dice < (main ? 25 : 18)) {
            Click(window, *AnyOf(Usable<QWidget>(window) << &window));
        } else if (dice < (main ? 45 : 32)) {
            PressKey(
                *window.windowHandle(),
                u"Tab; Shift+Tab; Up; Down; Left; Right; Home; End; PgUp; PgDown; Return; Space; Ins; Del; Esc; F5; "
                "F1; F10; A; P; 9; Ctrl+A; Alt+F; Alt+L; Menu; Ctrl+C; Ctrl+End; Shift+Down; Alt+G; Ctrl+Tab; Ctrl+F; Ctrl+Z; F2; F7"_s);
        } else if (dice < (main ? 62 : 36)) {
            TriggerAny(window);
        } else if (dice < (main ? 65 : 64)) {
            const auto buttons = Usable<QAbstractButton>(window);
            if (buttons.isEmpty())
                return window.close(), void();
            QAbstractButton* button = AnyOf(buttons);
            Note(u"%1 in \"%2\""_s.arg(button->text(), window.windowTitle()));
            button->click();
        } else if (dice < 76) {
            Choose(window);
        } else if (dice < (main ? 78 : 85)) {
            Type(window);
        } else if (dice < (main ? 81 : 88)) {
            Drag(window);
        } else if (dice < (main ? 83 : 90)) {
            const QSize size(200 + Below(1400), 150 + Below(900));
            Note(u"size %1 x %2"_s.arg(size.width()).arg(size.height()));
            Below(3) != 0 ? window.resize(size) : Below(2) != 0 ? window.showMaximized() : window.showNormal();
        } else if (!main && dice < 95) {
            Click(*m_parts.Windows.Main(), *m_parts.Windows.Main()); // what is behind does not feel it
        } else if (!main) {
            Note(u"the close box of "_s + window.windowTitle());
            window.close();
        } else if (!IsBusy()) {
            Trigger(window, AnyOf(Openers));
        } else if (Below(30) == 0) {
            Trigger(window, u"BigToolBar_3"_s); // Stop
        }
    }

    /// It may look at the whole disk, but writes nothing outside of its installation.
    void KeepBackupsHere(const QWidget& window) const
    {
        if (window.objectName() != "frmBackupRestore"_L1)
            return;
        for (const auto& name : {u"FromPath"_s, u"ToPath"_s}) {
            auto* path = window.findChild<QLineEdit*>(name);
            if (!path->isReadOnly() && !path->text().startsWith(m_world.installation.Folder()))
                path->setText(m_world.Path(u"Backup"_s));
        }
    }

    void Click(QWidget& window, QWidget& target)
    {
        if (!window.windowHandle())
            return;
        const QPoint inside(Below(std::max(1, target.width())), Below(std::max(1, target.height())));
        const QPoint place = target.mapTo(&window, inside);
        if (!QRect({}, window.windowHandle()->size()).contains(place))
            return;
        const int kind = Below(10);
        const Qt::MouseButton button = kind == 0 ? Qt::RightButton : kind == 1 ? Qt::MiddleButton : Qt::LeftButton;
        const Qt::KeyboardModifiers keys = Below(6) == 0   ? Qt::ControlModifier
                                           : Below(6) == 0 ? Qt::ShiftModifier
                                                           : Qt::NoModifier;
        Note(
            u"click %1 on %2 %3"_s.arg(kind).arg(QLatin1String(target.metaObject()->className()), target.objectName()));
        if (kind == 3) {
            QWheelEvent wheel(inside, target.mapToGlobal(inside), {}, QPoint(0, 240 - Below(480)), {}, keys,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(&target, &wheel);
        } else {
            const QScopedValueRollback pressing(m_pressing, Depth());
            const QPointer<QWindow> handle = window.windowHandle(); // the help's may go when events run
            for (int clicks = kind == 2 ? 2 : 1; clicks > 0 && handle; --clicks) {
                QTest::mousePress(handle, button, keys, place);
                if (handle)
                    QTest::mouseRelease(handle, button, keys, place);
                if (m_parts.Windows.Main())
                    HearLog(*m_parts.Windows.Main()); // the second click may begin another run
            }
        }
    }

    void Drag(QWidget& window)
    {
        const QWidget* start = AnyOf(Usable<QWidget>(window) << &window);
        const QPointer<QWindow> handle = window.windowHandle();
        const QRect area({}, handle->size());
        const QPoint from = start->mapTo(&window, start->rect().center());
        const QPoint to = from + QPoint(Below(400) - 200, Below(400) - 200);
        if (!area.contains(from) || !area.contains(to))
            return;
        Note(u"drag from "_s + QLatin1String(start->metaObject()->className()) + u' ' + start->objectName());
        const QScopedValueRollback pressing(m_pressing, Depth());
        QTest::mousePress(handle, Qt::LeftButton, {}, from);
        for (const QPoint place : {(from + to) / 2, to}) {
            if (handle)
                QTest::mouseMove(handle, place);
        }
        if (handle)
            QTest::mouseRelease(handle, Qt::LeftButton, {}, to);
    }

    void PressKey(QWindow& window, const QString& among)
    {
        const QKeySequence key = AnyOf(QKeySequence::listFromString(among));
        Note(u"key "_s + key.toString());
        const QScopedValueRollback pressing(m_pressing, Depth());
        QTest::keyClick(&window, key[0].key(), key[0].keyboardModifiers());
    }

    void Trigger(const QWidget& window, const QString& name)
    {
        auto* action = window.findChild<QAction*>(name);
        if (action && action->isEnabled()) {
            Note(u"command "_s + name);
            action->trigger();
        }
    }
    void TriggerAny(const QWidget& window)
    {
        auto actions = window.findChildren<QAction*>();
        erase_if(actions, [](const auto* action) { // all but Exit and Stop
            return action->objectName().isEmpty() || action->objectName() == u"ServicesMenuElement_10" ||
                   action->objectName() == u"BigToolBar_3" || !action->isEnabled() || action->menu() ||
                   action->isSeparator();
        });
        if (!actions.isEmpty())
            Trigger(window, AnyOf(actions)->objectName());
    }

    /// Another tab, row or entry of a list.
    void Choose(const QWidget& window)
    {
        auto controls = Usable<QWidget>(window);
        erase_if(controls, [](QWidget* control) {
            return !qobject_cast<QTabBar*>(control) && !qobject_cast<QComboBox*>(control) &&
                   !qobject_cast<QAbstractItemView*>(control);
        });
        if (controls.isEmpty())
            return;
        QWidget* control = AnyOf(controls);
        Note(u"choice in %1 %2"_s.arg(QLatin1String(control->metaObject()->className()), control->objectName()));
        if (auto* tabs = qobject_cast<QTabBar*>(control)) {
            tabs->setCurrentIndex(Below(tabs->count()));
        } else if (auto* list = qobject_cast<QAbstractItemView*>(control)) {
            const QAbstractItemModel* rows = list->model();
            if (rows && rows->rowCount() > 0)
                list->setCurrentIndex(rows->index(Below(rows->rowCount()), 0));
        } else {
            QTest::keyClick(control, AnyOf(QList{Qt::Key_Down, Qt::Key_Up, Qt::Key_Home, Qt::Key_End}));
        }
    }

    void Type(const QWidget& window)
    {
        auto controls = Usable<QWidget>(window);
        erase_if(controls, [](const QWidget* control) {
            return (!qobject_cast<const QLineEdit*>(control) && !qobject_cast<const QPlainTextEdit*>(control)) ||
                   control->property("readOnly").toBool();
        });
        if (controls.isEmpty())
            return;
        QWidget* control = AnyOf(controls);
        Note(u"text into "_s + control->objectName());
        if (auto* line = qobject_cast<QLineEdit*>(control)) {
            line->selectAll();
            line->insert(line->echoMode() == QLineEdit::Password && Below(4) != 0 ? u"secret"_s : AnyOf(m_texts));
        } else {
            qobject_cast<QPlainTextEdit*>(control)->insertPlainText(AnyOf(m_texts));
        }
    }
};

class tst_monkey : public QObject
{
    Q_OBJECT

private:
    QStringList m_seeds;
    bool m_failed = false;
    monkeyCounts m_counts;

private Q_SLOTS:
    void Window_data()
    {
        const testTable<quint32> row;
        for (quint32 i = 0; i < (suiteReport::Long() ? Seeds : 1); ++i) {
            const quint32 seed = suiteReport::Seed() + i;
            row(qPrintable(u"seed %1"_s.arg(seed)), seed);
        }
    }
    void Window()
    {
        const auto [seed] = testRow<quint32>();
        monkeyWorld world;
        s_warnings.clear();
        const QtMessageHandler before = qInstallMessageHandler(&Collect);
        clsPlatformParts platform(world.installation.Folder());
        platform.Complete();
        deafBrowser browser;
        QStringList faults;
        QStringList deeds;
        {
            clsWindowParts parts(platform, nullptr);
            State().Platform.Browser = &browser;
            monkey user(seed, parts, world, m_counts);
            user.Begin();
            // Closed before its steps are done, the program is started again.
            do {
                modWidgets::AllowDialogs();
                if (!modBrambury::Main()) {
                    faults << u"the program did not start"_s;
                    break;
                }
                if (parts.Windows.AnyLoaded())
                    QCoreApplication::exec();
                if (parts.Windows.AnyLoaded() || State().Database)
                    faults << u"the program ended and left a window or its database open"_s;
                user.SessionEnded();
                parts.Windows.Discard();
            } while (!user.Done() && faults.isEmpty());
            user.End();
            QCoreApplication::processEvents(); // the step that was still to come
            faults += user.faults;
            deeds = user.deeds;
        }
        qInstallMessageHandler(before);
        faults += s_warnings;
        if (!faults.isEmpty())
            qInfo("seed %u, what was done last:\n  %s", seed, qPrintable(deeds.join(u"\n  "_s)));
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));

        QVERIFY(ReadAll(world.Path(u"Brambury.ini"_s)).contains("WindowWidth"));
        QCOMPARE(ContentOf(world.installation.DatabasePath()).complaint, QByteArray());
        // It may delete what it likes, but no link is left without its site.
        const auto left = world.installation.Open();
        const auto orphans =
            left->OpenRecordset(u"SELECT ID FROM tblLinkList WHERE SiteName NOT IN (SELECT SiteID FROM tblSites)"_s);
        QCOMPARE(orphans->RecordCount(), 0);
        for (const QByteArray& command : world.mail.Commands())
            m_counts.met[u"log-in"_s] += command.startsWith("AUTH") ? 1 : 0;
        m_counts.met[u"message"_s] += static_cast<int>(world.mail.Messages().size());
        m_seeds << QString::number(seed);
    }

    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }
    void cleanupTestCase()
    {
        QStringList met;
        QStringList missed;
        for (const QString& name : Everything())
            (m_counts.met.value(name) > 0 ? met : missed) << u"%1 %2"_s.arg(name).arg(m_counts.met.value(name));
        std::printf("met: %s\nmissed: %s\n", qPrintable(met.join(u", "_s)), qPrintable(missed.join(u", "_s)));
        if (m_failed)
            return;
        QVERIFY2(missed.isEmpty() || !suiteReport::Counts(), "not everything was met");
        suiteReport::Report(
            u"monkey"_s,
            u"%1 steps, %2 sessions, %3 link tests, %4 mail runs, %5 messages, %6 Stops, longest pause %7 "
            "ms, 0 faults"_s.arg(m_counts.steps)
                .arg(m_counts.sessions)
                .arg(m_counts.met[u"link test"_s])
                .arg(m_counts.met[u"mail run"_s])
                .arg(m_counts.met[u"message"_s])
                .arg(m_counts.met[u"Stop"_s])
                .arg(m_counts.longestPause),
            m_seeds.join(u", "_s));
    }
};

QTEST_MAIN(tst_monkey)
#include "tst_monkey.moc"
