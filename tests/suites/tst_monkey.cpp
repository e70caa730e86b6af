// SPDX-License-Identifier: GPL-3.0-or-later
// The real main window used at random: keys, clicks, menus, boxes, runs started and stopped, closed at any moment.
// After every step it must be in order with itself, silent on the error stream, and ready for the next one.
#include "suites/suite_program.h"
#include "support/suite_report.h"
#include "support/table.h"

#include "data/clsDAO.h"
#include "platform/clsBrowser.h"
#include "platform/clsDisk.h"
#include "platform/clsPrinter.h"
#include "platform/impl/clsPlatformParts.h"
#include "platform/impl/modPlatformImpl.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "ui/clsLinkGrid.h"
#include "ui/clsWindowParts.h"
#include "ui/frmMain.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTabBar>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QWindow>
#include <algorithm>
#include <atomic>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using modBrambury::State;

namespace
{
constexpr int LongestPause = 1000; ///< milliseconds in which the window must answer
constexpr qsizetype DeedsKept = 40;

/// What went to the error stream.
QStringList s_warnings;

void Collect(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    // What a display without a window system cannot do, a click beside a window that has just shrunk, and a page dialog
    // on a computer without printers, are none of the window's doing.
    if (type != QtDebugMsg && type != QtInfoMsg && !text.startsWith(u"This plugin does not support"_s) &&
        !text.startsWith(u"Mouse event at"_s) && !text.startsWith(u"QPageSetupDialog: "_s))
        s_warnings << text;
}

/// Opens nothing.
class deafBrowser final : public clsBrowser
{
public:
    Outcome Open(const QString&) override { return Outcome::Opened; }
};

/// A site with a category and partners in every status, some of them queued for testing.
void AddPartners(clsDatabase& database, const QString& serverUrl, const QString& site, int links)
{
    clsTransaction transaction(database);
    clsTestInstallation::AddSite(database, site,
                                 {{u"HomePage"_s, serverUrl + u"/home/"_s}, {u"LinkPage"_s, serverUrl + u"/links/"_s}});
    const qint64 category = clsTestInstallation::AddCategory(database, site, u"Friends"_s);
    for (int i = 0; i < links; ++i) {
        const QString home = serverUrl + u"/partner%1/"_s.arg(i);
        clsTestInstallation::AddLink(database, site, u"Partner %1"_s.arg(i * 37 % 101),
                                     {{u"HomePage"_s, home},
                                      {u"LinkPage"_s, home + u"links.html"_s},
                                      {u"Status"_s, i % 6},
                                      {u"CategoryID"_s, i % 2 == 0 ? category : 0},
                                      {u"TestQueue"_s, links < 100 || i % 7 == 0 ? 1 : 0}});
    }
    transaction.Commit();
}

/// Sees how long the machine itself kept everybody waiting.
class machineStall
{
public:
    machineStall()
        : m_thread([this] {
              QElapsedTimer nap;
              while (!m_ends) {
                  nap.start();
                  std::this_thread::sleep_for(10ms);
                  const int stall = static_cast<int>(nap.elapsed()) - 10;
                  if (stall > m_worst)
                      m_worst = stall;
              }
          })
    {
    }
    ~machineStall()
    {
        m_ends = true;
        m_thread.join();
    }
    machineStall(const machineStall&) = delete;
    machineStall& operator=(const machineStall&) = delete;
    int Take() { return m_worst.exchange(0); }

private:
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_worst{0};
    std::thread m_thread;
};
} // namespace

/// What all monkeys did.
struct monkeyCounts
{
    int steps = 0;
    int sessions = 0;
    int runs = 0;
    int stops = 0;
    int boxes = 0;
    int longestPause = 0;
};

/// Uses the window. Every step asks for the next one before it acts, so that it goes on inside dialogs and runs.
class monkey : public QObject
{
    Q_OBJECT

public:
    /// @param serverUrl  where the partners are that come in the place of deleted ones.
    monkey(quint32 seed, int steps, clsWindowParts& parts, const clsTestInstallation& installation, QString serverUrl,
           monkeyCounts& counts)
        : m_random(seed), m_steps(steps), m_parts(parts), m_installation(installation),
          m_serverUrl(std::move(serverUrl)), m_database(installation.Open()), m_disk(modPlatformImpl::MakeDisk()),
          m_counts(counts)
    {
    }

    void Begin() { Schedule(); }
    /// From now on nothing is scheduled.
    void End() { m_ended = true; }
    [[nodiscard]] bool Done() const { return m_done >= m_steps || !faults.isEmpty(); }

    QStringList faults;
    QStringList deeds;

private:
    QRandomGenerator m_random;
    int m_steps;
    int m_done = 0;
    bool m_ended = false;
    bool m_wasBusy = false;
    clsWindowParts& m_parts;
    const clsTestInstallation& m_installation;
    const QString m_serverUrl;
    clsTestInstallation::Opened m_database;
    std::unique_ptr<clsDisk> m_disk;
    monkeyCounts& m_counts;
    QElapsedTimer m_waiting;
    machineStall m_stall;

    int Below(int limit) { return m_random.bounded(limit); }
    template <class T> T AnyOf(const QList<T>& list) { return list[Below(static_cast<int>(list.size()))]; }

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
        m_stall.Take();
        QTimer::singleShot(pause, this, [this, pause] {
            const int waited = static_cast<int>(m_waiting.elapsed()) - pause;
            m_counts.longestPause = std::max(m_counts.longestPause, waited);
            FaultIf(waited > (LongestPause + 5 * m_stall.Take()) * BRAMBURY_SLOW,
                    u"the window did not answer for %1 ms"_s.arg(waited));
            Schedule();
            if (m_parts.Windows.Main()) {
                Check();
                ++m_done;
                ++m_counts.steps;
                Act();
            }
        });
    }

    void Check()
    {
        FaultIf(!s_warnings.isEmpty(), u"on the error stream: "_s + s_warnings.join(u'\n'));
        frmMain& window = *m_parts.Windows.Main();
        if (window.Unloaded())
            return;
        const bool busy = window.findChild<QAction*>(u"BigToolBar_3"_s)->isEnabled(); // Stop
        // The lock on the run is what other copies of the program see of it.
        const bool locked = !m_disk->Lock(m_installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
        // The window is busy too while its database is compacted or repaired.
        FaultIf(busy && !locked && !State().DatabaseWork, u"busy without a run"_s);
        FaultIf(!busy && locked, u"a run, and not busy"_s);
        for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"BigToolBar_2"_s})
            FaultIf(window.findChild<QAction*>(name)->isEnabled() == busy, name + u" does not follow the run"_s);
        for (const auto& name :
             {u"SiteList"_s, u"LinksTab"_s, u"LinkButtons_4"_s, u"HideInactiveDeclined"_s, u"SiteButtons_0"_s})
            FaultIf(window.findChild<QWidget*>(name)->isEnabled() == busy, name + u" does not follow the run"_s);
        FaultIf(!window.findChild<QAction*>(u"ServicesMenuElement_10"_s)->isEnabled(), u"Exit is disabled"_s);
        m_counts.runs += busy && !m_wasBusy ? 1 : 0;
        m_wasBusy = busy;

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
        const qint64 stored = m_database
                                  ->OpenRecordset(u"SELECT * FROM tblLinkList WHERE %1 AND %2"_s.arg(
                                      clsDAO::TextCriteria(u"SiteName"_s, site), wanted))
                                  ->RecordCount();
        const clsRecordset* shown = window.findChild<clsLinkGrid*>()->Links().Recordset();
        const qint64 held = shown ? shown->RecordCount() : 0;
        FaultIf(stored != held, u"the view holds %1 of %2 links (%3, %4)"_s.arg(held).arg(stored).arg(site, wanted));
        Replenish(window);
    }

    /// It deletes sites and links too; without any there would be no runs.
    void Replenish(frmMain& window)
    {
        const auto queued = m_database->OpenRecordset(u"qryTestLinks"_s);
        if (queued->RecordCount() >= 10 && window.findChild<QTreeWidget*>(u"SiteList"_s)->topLevelItemCount() > 1)
            return;
        AddPartners(*m_database, m_serverUrl, u"More %1"_s.arg(m_done), 40);
        window.FillSiteList();
    }

    void Act()
    {
        frmMain& window = *m_parts.Windows.Main();
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        const bool last = Done() && !dialog;
        // Ends of every kind, also behind an open box or in the middle of a run.
        if (!window.Unloaded() && (last || Below(200) == 0)) {
            Note(dialog ? u"close behind a dialog"_s : u"close"_s);
            window.close();
        } else if (dialog) {
            ActOnDialog(*dialog);
        } else if (QWidget* popup = QApplication::activePopupWidget()) {
            ActOnPopup(*popup);
        } else if (window.isVisible()) {
            ActOnWindow(window);
        }
    }

    void ActOnDialog(QDialog& dialog)
    {
        if (dialog.objectName() == u"frmErrorMessage"_s) {
            const QString details = dialog.findChild<QPlainTextEdit*>(u"txtDetails"_s)->toPlainText();
            FaultIf(!details.contains(u"There is no printer."_s), u"an error window: "_s + details);
            return dialog.reject();
        }
        if (auto* files = qobject_cast<QFileDialog*>(&dialog)) {
            Note(u"file dialog"_s);
            if (Below(3) == 0)
                return files->reject();
            files->findChild<QLineEdit*>()->setText(m_installation.Folder() + u"/Results%1.log"_s.arg(Below(3)));
            QTest::keyClick(files->findChild<QLineEdit*>(), Qt::Key_Return);
            return;
        }
        if (auto* box = qobject_cast<QMessageBox*>(&dialog))
            Note(u"in the box \"%1\""_s.arg(box->text().simplified()));
        const int dice = Below(9);
        if (dice > 5 && dialog.windowHandle()) {
            PressKey(*dialog.windowHandle(), u"Tab; A; 7; Space; Down; PgDown; Ctrl+Tab; Home; Del; Ins; Ctrl+Z; F1"_s);
        } else if (dice == 0) {
            Note(u"Escape in "_s + dialog.windowTitle());
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else if (dice == 1) { // a click into the window behind has no effect
            if (m_parts.Windows.Main()->windowHandle())
                Click(*m_parts.Windows.Main(), *m_parts.Windows.Main());
        } else {
            auto buttons = dialog.findChildren<QAbstractButton*>();
            erase_if(buttons, [](const auto* button) { return !button->isVisible() || !button->isEnabled(); });
            if (buttons.isEmpty())
                return dialog.reject();
            QAbstractButton* chosen = AnyOf(buttons);
            m_counts.boxes += qobject_cast<QPushButton*>(chosen) ? 1 : 0;
            Note(u"%1 in \"%2\""_s.arg(chosen->text(), dialog.windowTitle()));
            chosen->click();
        }
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

    void Click(QWidget& window, QWidget& target)
    {
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
        if (kind == 2)
            QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, keys, place);
        else
            QTest::mouseClick(window.windowHandle(), button, keys, place);
    }

    void Drag(frmMain& window)
    {
        const QWidget* grip = window.findChild<QWidget*>(Below(2) ? u"imgVertSplitter"_s : u"imgHorzSplitter"_s);
        const QWidget* start = Below(2) == 0 && grip ? grip : AnyOf(window.findChildren<QWidget*>());
        QWindow* handle = window.windowHandle();
        const QRect area({}, handle->size());
        const QPoint from = start->mapTo(&window, start->rect().center());
        const QPoint to = from + QPoint(Below(400) - 200, Below(400) - 200);
        if (!start->isVisible() || !area.contains(from) || !area.contains(to))
            return;
        Note(u"drag from "_s + QLatin1String(start->metaObject()->className()) + u' ' + start->objectName());
        QTest::mousePress(handle, Qt::LeftButton, {}, from);
        QTest::mouseMove(handle, (from + to) / 2);
        QTest::mouseMove(handle, to);
        QTest::mouseRelease(handle, Qt::LeftButton, {}, to);
    }

    void PressKey(QWindow& window, const QString& among)
    {
        const QKeySequence key = AnyOf(QKeySequence::listFromString(among));
        Note(u"key "_s + key.toString());
        QTest::keyClick(&window, key[0].key(), key[0].keyboardModifiers());
    }

    void Trigger(frmMain& window, const QString& name)
    {
        auto* action = window.findChild<QAction*>(name);
        if (action && action->isEnabled()) {
            Note(u"command "_s + name);
            action->trigger();
        }
    }

    void ActOnWindow(frmMain& window)
    {
        const int dice = Below(100);
        if (dice < 30) {
            auto widgets = window.findChildren<QWidget*>();
            erase_if(widgets, [&](const auto* widget) { return !widget->isVisible() || widget->window() != &window; });
            Click(window, *AnyOf(widgets));
        } else if (dice < 55) {
            PressKey(
                *window.windowHandle(),
                u"Tab; Shift+Tab; Up; Down; Left; Right; Home; End; PgUp; PgDown; Return; Space; Ins; Del; Esc; F5; "
                "F1; F10; A; P; 9; Ctrl+A; Alt+F; Alt+L; Menu; Ctrl+C; Ctrl+End; Shift+Down; Alt+G; Ctrl+Tab; Ctrl+F; Ctrl+Z; F2"_s);
        } else if (dice < 68) {
            auto actions = window.findChildren<QAction*>();
            erase_if(actions, [](const auto* action) {
                return action->objectName().isEmpty() || action->objectName() == u"ServicesMenuElement_10"_s ||
                       !action->isEnabled() || action->menu() || action->isSeparator();
            });
            if (!actions.isEmpty())
                Trigger(window, AnyOf(actions)->objectName());
        } else if (dice < 73) {
            const QSize size(200 + Below(1400), 150 + Below(900));
            Note(u"resize to %1 x %2"_s.arg(size.width()).arg(size.height()));
            window.resize(size);
        } else if (dice < 75) {
            Note(u"window state"_s);
            Below(2) == 0 ? window.showMaximized() : window.showNormal();
        } else if (dice < 80) {
            Drag(window);
        } else if (dice < 84) {
            auto* tabs = window.findChild<QTabBar*>(u"LinksTab"_s);
            const int tab = Below(tabs->count());
            Note(u"tab %1"_s.arg(tab));
            if (tabs->isEnabled())
                tabs->setCurrentIndex(tab);
        } else if (dice < 88) {
            auto* sites = window.findChild<QTreeWidget*>(u"SiteList"_s);
            if (sites->topLevelItemCount() == 0)
                return;
            QTreeWidgetItem* item = sites->topLevelItem(Below(sites->topLevelItemCount()));
            Note(u"site "_s + item->text(0));
            if (sites->isEnabled())
                sites->setCurrentItem(item);
        } else if (dice < 91) {
            QWidget* grid = window.findChild<QTableView*>(u"gridLinkList"_s)->viewport();
            Note(u"wheel"_s);
            QWheelEvent wheel(QPointF(5, 5), grid->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, 240 - Below(480)), {}, {},
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(grid, &wheel);
        } else if (dice < 94) {
            Trigger(window, u"LinkMenuElement_4"_s);
            Trigger(window, u"LinkMenuElement_7"_s);
        } else if (!m_wasBusy) {
            Trigger(window, u"BigToolBar_2"_s);
        } else if (dice >= 98) {
            ++m_counts.stops;
            Trigger(window, u"BigToolBar_3"_s);
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
        for (quint32 i = 0; i < (suiteReport::Long() ? 8 : 1); ++i) {
            const quint32 seed = suiteReport::Seed() + i;
            row(qPrintable(u"seed %1"_s.arg(seed)), seed);
        }
    }
    void Window()
    {
        const auto [seed] = testRow<quint32>();
        const int steps = suiteReport::Long() ? 5000 : 1000;
        const clsTestInstallation installation;
        scriptedServer server;
        server.AnswerOthers([](const serverRequest& request) {
            const int partner = request.target.mid(8, request.target.indexOf('/', 1) - 8).toInt();
            if (partner % 50 == 49)
                return serverReply().Silent();
            return serverReply::Page("<a href=\"/home/\">home</a>").After(std::chrono::milliseconds(partner % 40));
        });
        for (const auto& [site, links] :
             QList<std::pair<QString, int>>{{u"Shop"_s, 60}, {u"Garden \"Rose\""_s, 300}, {u"Empty"_s, 0}})
            AddPartners(*installation.Open(), server.Url({}), site, links);
        QFile settings(installation.Folder() + u"/Brambury.ini"_s);
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[Brambury]\nNetwork\\Timeout=1\nGeneral\\HideInactiveDeclined=0\n");
        settings.close();

        s_warnings.clear();
        const QtMessageHandler before = qInstallMessageHandler(&Collect);
        clsPlatformParts platform(installation.Folder());
        deafBrowser browser;
        const auto printer = modWidgets::MakePrinter();
        printer->SetOutputFile(installation.Folder() + u"/Results.pdf"_s);
        QStringList faults;
        QStringList deeds;
        {
            clsWindowParts parts(platform, nullptr);
            State().Platform.Browser = &browser;
            State().Platform.Printer = printer.get();
            monkey user(seed, steps, parts, installation, server.Url({}), m_counts);
            user.Begin();
            // Closed before its steps are done, the program is started again.
            do {
                modWidgets::AllowDialogs();
                ++m_counts.sessions;
                if (!modBrambury::Main()) {
                    faults << u"the program did not start"_s;
                    break;
                }
                if (parts.Windows.AnyLoaded())
                    QCoreApplication::exec();
                if (parts.Windows.AnyLoaded() || State().Database)
                    faults << u"the program ended and left a window or its database open"_s;
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

        QVERIFY(settings.open(QIODevice::ReadOnly));
        QVERIFY(settings.readAll().contains("WindowWidth"));
        QCOMPARE(ContentOf(installation.DatabasePath()).complaint, QByteArray());
        // It may delete what it likes, but no link is left without its site.
        const auto left = installation.Open();
        const auto orphans =
            left->OpenRecordset(u"SELECT ID FROM tblLinkList WHERE SiteName NOT IN (SELECT SiteID FROM tblSites)"_s);
        QCOMPARE(orphans->RecordCount(), 0);
        m_seeds << QString::number(seed);
    }

    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }
    void cleanupTestCase()
    {
        if (m_failed)
            return;
        QVERIFY2(m_counts.runs > 0 && m_counts.boxes > 0, "a monkey without a run and a box proves little");
        suiteReport::Report(
            u"monkey"_s,
            u"%1 steps, %2 sessions, %3 runs, %4 stops, %5 boxes answered, longest pause %6 ms, 0 faults"_s
                .arg(m_counts.steps)
                .arg(m_counts.sessions)
                .arg(m_counts.runs)
                .arg(m_counts.stops)
                .arg(m_counts.boxes)
                .arg(m_counts.longestPause),
            m_seeds.join(u", "_s));
    }
};

QTEST_MAIN(tst_monkey)
#include "tst_monkey.moc"
