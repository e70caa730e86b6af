// SPDX-License-Identifier: GPL-3.0-or-later
// The real main window used at random: keys, clicks, menus, boxes, runs started and stopped, closed at any moment.
// After every step it must be in order with itself, silent on the error stream, and ready for the next one.
#include "suites/suite_program.h"
#include "suites/suite_report.h"

#include "platform/clsBrowser.h"
#include "platform/clsDisk.h"
#include "platform/clsPrinter.h"
#include "platform/impl/clsPlatformParts.h"
#include "platform/impl/modPlatformImpl.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
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
#include <QTest>
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
    // What a display without a window system cannot do, and a click beside a window that has just shrunk, are none of
    // the window's doing.
    if (type != QtDebugMsg && type != QtInfoMsg && !text.startsWith(u"This plugin does not support"_s) &&
        !text.startsWith(u"Mouse event at"_s))
        s_warnings << text;
}

/// Opens nothing.
class deafBrowser final : public clsBrowser
{
public:
    Outcome Open(const QString&) override { return Outcome::Opened; }
};

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

template <class T> T AnyOf(QRandomGenerator& random, const QList<T>& list)
{
    return list[random.bounded(static_cast<int>(list.size()))];
}
} // namespace

/// Uses the window. Every step asks for the next one before it acts, so that it goes on inside dialogs and runs.
class monkey : public QObject
{
    Q_OBJECT

public:
    monkey(quint32 seed, int steps, clsWindowParts& parts, const clsTestInstallation& installation)
        : m_random(seed), m_steps(steps), m_parts(parts), m_installation(installation), m_database(installation.Open()),
          m_disk(modPlatformImpl::MakeDisk())
    {
    }

    void Begin() { Schedule(); }
    /// From now on nothing is scheduled.
    void End() { m_ended = true; }
    [[nodiscard]] bool Done() const { return m_done >= m_steps || !faults.isEmpty(); }

    QStringList faults;
    QStringList deeds;
    int runs = 0;
    int stops = 0;
    int boxes = 0;
    int done() const { return m_done; }
    int longestPause = 0;

private:
    void Schedule();
    void Step();
    void Check();
    void CheckRows(const frmMain& window);
    void Act();
    void ActOnDialog(QDialog& dialog);
    void ActOnPopup(QWidget& popup);
    void ActOnWindow(frmMain& window);
    void Click(QWidget& window, QWidget& target);
    void Drag(frmMain& window);
    void PressKey(QWidget& window);
    void Trigger(frmMain& window, const QString& name);
    void Note(const QString& deed);
    void Fault(const QString& what);
    int Below(int limit) { return m_random.bounded(limit); }

    QRandomGenerator m_random;
    int m_steps;
    int m_done = 0;
    bool m_ended = false;
    bool m_wasBusy = false;
    clsWindowParts& m_parts;
    const clsTestInstallation& m_installation;
    clsTestInstallation::Opened m_database;
    std::unique_ptr<clsDisk> m_disk;
    QElapsedTimer m_waiting;
    machineStall m_stall;
};

void monkey::Note(const QString& deed)
{
    deeds << u"%1: %2"_s.arg(m_done).arg(deed);
    // For a crash, which leaves nobody to tell the last deeds.
    if (qEnvironmentVariableIsSet("BRAMBURY_TRACE"))
        std::fprintf(stderr, "%s\n", qPrintable(deeds.last()));
    if (deeds.size() > DeedsKept)
        deeds.removeFirst();
}

void monkey::Fault(const QString& what)
{
    if (faults.isEmpty())
        faults << what;
}

void monkey::Schedule()
{
    if (m_ended)
        return;
    const int pause = Below(4) == 0 ? Below(12) : 0;
    m_waiting.start();
    m_stall.Take();
    QTimer::singleShot(pause, this, [this, pause] {
        const int waited = static_cast<int>(m_waiting.elapsed()) - pause;
        longestPause = std::max(longestPause, waited);
        if (waited > (LongestPause + 5 * m_stall.Take()) * BRAMBURY_SLOW)
            Fault(u"the window did not answer for %1 ms"_s.arg(waited));
        Step();
    });
}

void monkey::Step()
{
    Schedule();
    if (m_parts.Windows.Main()) {
        Check();
        ++m_done;
        Act();
    }
}

void monkey::Check()
{
    if (!s_warnings.isEmpty())
        Fault(u"on the error stream: "_s + s_warnings.takeFirst());
    const frmMain& window = *m_parts.Windows.Main();
    if (window.Unloaded())
        return;
    const QAction* stop = window.findChild<QAction*>(u"BigToolBar_3"_s);
    const bool busy = stop->isEnabled();
    // The lock on the run is what other copies of the program see of it.
    const bool locked = !m_disk->Lock(m_installation.DataPath() + u"Bramdat.run"_s, clsDisk::Share::Exclusive);
    if (busy != locked)
        Fault(busy ? u"busy without a run"_s : u"a run, and not busy"_s);
    for (const auto& name : {u"ServicesMenuElement_2"_s, u"LinkMenuElement_7"_s, u"BigToolBar_2"_s}) {
        if (window.findChild<QAction*>(name)->isEnabled() == busy)
            Fault(name + (busy ? u" is enabled while busy"_s : u" is disabled while idle"_s));
    }
    for (const auto& name :
         {u"SiteList"_s, u"LinksTab"_s, u"LinkButtons_4"_s, u"HideInactiveDeclined"_s, u"SiteButtons_0"_s}) {
        // By its own flag: a modal dialog does not change it.
        if (window.findChild<QWidget*>(name)->isEnabled() == busy)
            Fault(name + (busy ? u" is enabled while busy"_s : u" is disabled while idle"_s));
    }
    if (!window.findChild<QAction*>(u"ServicesMenuElement_10"_s)->isEnabled())
        Fault(u"Exit is disabled"_s);
    if (busy && !m_wasBusy)
        ++runs;
    m_wasBusy = busy;
    CheckRows(window);
}

void monkey::CheckRows(const frmMain& window)
{
    const auto* grid = window.findChild<QTableView*>(u"gridLinkList"_s);
    const int rows = grid->model()->rowCount();
    const QString counter = window.findChild<QLabel*>(u"lblLinksInView"_s)->text();
    if (counter != u"[ %1 link(s) in current view ]"_s.arg(rows))
        Fault(u"the counter says %1, and there are %2 rows"_s.arg(counter).arg(rows));
    if (m_wasBusy || m_done % 20 != 0 || QApplication::activeModalWidget() || !State().Database)
        return;
    const QString site = State().CurrentSite;
    if (!window.windowTitle().contains(u"[Site: "_s + site + u']'))
        Fault(u"the title \"%1\" does not name the site %2"_s.arg(window.windowTitle(), site));
    const int view = window.findChild<QTabBar*>(u"LinksTab"_s)->currentIndex() - 1;
    const bool hides = window.findChild<QCheckBox*>(u"HideInactiveDeclined"_s)->isChecked();
    const QString wanted = view >= 0 ? u"Status = %1"_s.arg(view) : hides ? u"Status < 4"_s : u"1"_s;
    const qint64 stored =
        m_database->OpenRecordset(u"SELECT * FROM tblLinkList WHERE SiteName = '%1' AND %2"_s.arg(site, wanted))
            ->RecordCount();
    if (stored != rows)
        Fault(u"%1 rows are shown of %2 links (%3, %4)"_s.arg(rows).arg(stored).arg(site, wanted));
}

void monkey::Act()
{
    frmMain& window = *m_parts.Windows.Main();
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (Done() && !window.Unloaded() && !dialog) {
        Note(u"last close"_s);
        window.close();
        return;
    }
    // Ends of every kind, also behind an open box or in the middle of a run.
    if (!window.Unloaded() && Below(200) == 0) {
        Note(dialog ? u"close behind a dialog"_s : u"close"_s);
        window.close();
        return;
    }
    if (dialog)
        return ActOnDialog(*dialog);
    if (QWidget* popup = QApplication::activePopupWidget())
        return ActOnPopup(*popup);
    if (window.isVisible())
        ActOnWindow(window);
}

void monkey::ActOnDialog(QDialog& dialog)
{
    if (dialog.objectName() == u"frmErrorMessage"_s) {
        Fault(u"an error window: "_s + dialog.findChild<QPlainTextEdit*>(u"txtDetails"_s)->toPlainText());
        dialog.reject();
        return;
    }
    if (auto* files = qobject_cast<QFileDialog*>(&dialog)) {
        if (Below(3) == 0) {
            Note(u"file dialog cancelled"_s);
            files->reject();
            return;
        }
        Note(u"file chosen"_s);
        files->findChild<QLineEdit*>()->setText(m_installation.Folder() + u"/Results%1.log"_s.arg(Below(3)));
        QTest::keyClick(files->findChild<QLineEdit*>(), Qt::Key_Return);
        return;
    }
    if (auto* box = qobject_cast<QMessageBox*>(&dialog))
        Note(u"in the box \"%1\""_s.arg(box->text().simplified()));
    switch (Below(6)) {
    case 0:
        Note(u"Escape in "_s + dialog.windowTitle());
        QTest::keyClick(&dialog, Qt::Key_Escape);
        return;
    case 1:
        // A click into the window behind has no effect.
        if (m_parts.Windows.Main()->windowHandle())
            Click(*m_parts.Windows.Main(), *m_parts.Windows.Main());
        return;
    default: {
        QList<QAbstractButton*> buttons;
        for (auto* button : dialog.findChildren<QAbstractButton*>()) {
            if (button->isVisible() && button->isEnabled())
                buttons << button;
        }
        if (buttons.isEmpty())
            return dialog.reject();
        QAbstractButton* chosen = AnyOf(m_random, buttons);
        boxes += qobject_cast<QPushButton*>(chosen) ? 1 : 0;
        Note(u"%1 in \"%2\""_s.arg(chosen->text(), dialog.windowTitle()));
        chosen->click();
    }
    }
}

void monkey::ActOnPopup(QWidget& popup)
{
    static const QList<Qt::Key> keys{Qt::Key_Down,  Qt::Key_Up,     Qt::Key_Left,
                                     Qt::Key_Right, Qt::Key_Return, Qt::Key_Escape};
    if (!popup.windowHandle() || Below(8) == 0) {
        Note(u"popup closed"_s);
        popup.close();
        return;
    }
    if (Below(2) == 0) {
        const Qt::Key key = AnyOf(m_random, keys);
        Note(u"key %1 in a menu"_s.arg(QKeySequence(key).toString()));
        QTest::keyClick(&popup, key);
        return;
    }
    Click(popup, popup);
}

void monkey::Click(QWidget& window, QWidget& target)
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
    Note(u"%1 click on %2 %3"_s.arg(kind == 2   ? u"double"_s
                                    : kind == 0 ? u"right"_s
                                                : u"simple"_s,
                                    QString::fromLatin1(target.metaObject()->className()), target.objectName()));
    if (kind == 2)
        QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, keys, place);
    else
        QTest::mouseClick(window.windowHandle(), button, keys, place);
}

void monkey::Drag(frmMain& window)
{
    const auto widgets = window.findChildren<QWidget*>();
    const QWidget* grip =
        window.findChild<QWidget*>(AnyOf<QString>(m_random, {u"imgVertSplitter"_s, u"imgHorzSplitter"_s}));
    const QWidget* start = Below(2) == 0 && grip ? grip : AnyOf(m_random, widgets);
    if (!start->isVisible())
        return;
    QWindow* handle = window.windowHandle();
    const QRect area({}, handle->size());
    const QPoint from = start->mapTo(&window, start->rect().center());
    const QPoint to = from + QPoint(Below(400) - 200, Below(400) - 200);
    if (!area.contains(from) || !area.contains(to))
        return;
    Note(u"drag from "_s + QString::fromLatin1(start->metaObject()->className()) + u' ' + start->objectName());
    QTest::mousePress(handle, Qt::LeftButton, {}, from);
    QTest::mouseMove(handle, (from + to) / 2);
    QTest::mouseMove(handle, to);
    QTest::mouseRelease(handle, Qt::LeftButton, {}, to);
}

void monkey::PressKey(QWidget& window)
{
    static const QList<QKeyCombination> keys{Qt::Key_Tab,
                                             Qt::SHIFT | Qt::Key_Tab,
                                             Qt::Key_Up,
                                             Qt::Key_Down,
                                             Qt::Key_Left,
                                             Qt::Key_Right,
                                             Qt::Key_Home,
                                             Qt::Key_End,
                                             Qt::Key_PageUp,
                                             Qt::Key_PageDown,
                                             Qt::Key_Return,
                                             Qt::Key_Space,
                                             Qt::Key_Insert,
                                             Qt::Key_Delete,
                                             Qt::Key_Escape,
                                             Qt::Key_F5,
                                             Qt::Key_F1,
                                             Qt::Key_F10,
                                             Qt::Key_A,
                                             Qt::Key_P,
                                             Qt::Key_9,
                                             Qt::CTRL | Qt::Key_A,
                                             Qt::ALT | Qt::Key_F,
                                             Qt::ALT | Qt::Key_L,
                                             Qt::Key_Menu,
                                             Qt::CTRL | Qt::Key_C,
                                             Qt::CTRL | Qt::Key_End,
                                             Qt::SHIFT | Qt::Key_Down,
                                             Qt::ALT | Qt::Key_G,
                                             Qt::CTRL | Qt::Key_Tab};
    const QKeyCombination key = AnyOf(m_random, keys);
    Note(u"key "_s + QKeySequence(key).toString());
    QTest::keyClick(window.windowHandle(), key.key(), key.keyboardModifiers());
}

void monkey::Trigger(frmMain& window, const QString& name)
{
    auto* action = window.findChild<QAction*>(name);
    if (action && action->isEnabled()) {
        Note(u"command "_s + name);
        action->trigger();
    }
}

void monkey::ActOnWindow(frmMain& window)
{
    const bool busy = m_wasBusy;
    const int dice = Below(100);
    if (dice < 30) {
        auto widgets = window.findChildren<QWidget*>();
        erase_if(widgets, [](const QWidget* widget) {
            return !widget->isVisible() || widget->window() != widget->topLevelWidget();
        });
        QWidget* target = AnyOf(m_random, widgets);
        if (target->window() == &window)
            Click(window, *target);
    } else if (dice < 55) {
        PressKey(window);
    } else if (dice < 68) {
        QList<QAction*> actions;
        for (auto* action : window.findChildren<QAction*>()) {
            if (!action->objectName().isEmpty() && action->objectName() != u"ServicesMenuElement_10"_s &&
                action->isEnabled() && !action->menu() && !action->isSeparator())
                actions << action;
        }
        if (!actions.isEmpty())
            Trigger(window, AnyOf(m_random, actions)->objectName());
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
        if (tabs->isEnabled()) {
            Note(u"tab %1"_s.arg(tab));
            tabs->setCurrentIndex(tab);
        }
    } else if (dice < 88) {
        auto* sites = window.findChild<QTreeWidget*>(u"SiteList"_s);
        if (sites->isEnabled()) {
            QTreeWidgetItem* item = sites->topLevelItem(Below(sites->topLevelItemCount()));
            Note(u"site "_s + item->text(0));
            sites->setCurrentItem(item);
        }
    } else if (dice < 91) {
        auto* grid = window.findChild<QTableView*>(u"gridLinkList"_s);
        Note(u"wheel"_s);
        QWheelEvent wheel(QPointF(5, 5), grid->viewport()->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, 240 - Below(480)),
                          {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(grid->viewport(), &wheel);
    } else if (dice < 94) {
        Trigger(window, u"LinkMenuElement_4"_s);
        Trigger(window, u"LinkMenuElement_7"_s);
    } else if (!busy) {
        Trigger(window, u"BigToolBar_2"_s);
    } else if (dice >= 98) {
        ++stops;
        Trigger(window, u"BigToolBar_3"_s);
    }
}

class tst_monkey : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void Window_data();
    void Window();
    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }
    void cleanupTestCase();

private:
    static void Fill(const clsTestInstallation& installation, const scriptedServer& server);

    QStringList m_seeds;
    bool m_failed = false;
    int m_steps = 0;
    int m_runs = 0;
    int m_stops = 0;
    int m_boxes = 0;
    int m_sessions = 0;
    int m_longest = 0;
};

void tst_monkey::Window_data()
{
    QTest::addColumn<quint32>("seed");
    const int seeds = suiteReport::Long() ? 8 : 1;
    for (int i = 0; i < seeds; ++i) {
        const quint32 seed = suiteReport::Seed() + static_cast<quint32>(i);
        QTest::newRow(qPrintable(u"seed %1"_s.arg(seed))) << seed;
    }
}

void tst_monkey::Fill(const clsTestInstallation& installation, const scriptedServer& server)
{
    const auto database = installation.Open();
    clsTransaction transaction(*database);
    const QList<std::pair<QString, int>> sites{{u"Shop"_s, 60}, {u"Garden \"Rose\""_s, 300}, {u"Empty"_s, 0}};
    for (const auto& [site, links] : sites) {
        clsTestInstallation::AddSite(
            *database, site, {{u"HomePage"_s, server.Url(u"/home/"_s)}, {u"LinkPage"_s, server.Url(u"/links/"_s)}});
        const qint64 category = clsTestInstallation::AddCategory(*database, site, u"Friends"_s);
        for (int i = 0; i < links; ++i) {
            const QString home = server.Url(u"/partner%1/"_s.arg(i));
            clsTestInstallation::AddLink(*database, site, u"Partner %1"_s.arg(i * 37 % 101),
                                         {{u"HomePage"_s, home},
                                          {u"LinkPage"_s, home + u"links.html"_s},
                                          {u"Status"_s, i % 6},
                                          {u"CategoryID"_s, i % 2 == 0 ? category : 0},
                                          {u"TestQueue"_s, links == 60 || i % 7 == 0 ? 1 : 0}});
        }
    }
    transaction.Commit();
}

void tst_monkey::Window()
{
    QFETCH(const quint32, seed);
    const int steps = suiteReport::Long() ? 5000 : 1000;
    const clsTestInstallation installation;
    scriptedServer server;
    server.AnswerOthers([](const serverRequest& request) {
        const int partner = request.target.mid(8, request.target.indexOf('/', 1) - 8).toInt();
        if (partner % 50 == 49)
            return serverReply().Silent();
        return serverReply::Page("<a href=\"/home/\">home</a>").After(std::chrono::milliseconds(partner % 40));
    });
    Fill(installation, server);
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
        monkey user(seed, steps, parts, installation);
        user.Begin();
        // Closed before its steps are done, the program is started again.
        do {
            modWidgets::AllowDialogs();
            ++m_sessions;
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
        m_steps += user.done();
        m_runs += user.runs;
        m_stops += user.stops;
        m_boxes += user.boxes;
        m_longest = std::max(m_longest, user.longestPause);
    }
    qInstallMessageHandler(before);
    faults += s_warnings;
    if (!faults.isEmpty())
        qInfo("seed %u, what was done last:\n  %s", seed, qPrintable(deeds.join(u"\n  "_s)));
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));

    QVERIFY(settings.open(QIODevice::ReadOnly));
    QVERIFY(settings.readAll().contains("WindowWidth"));
    QCOMPARE(suiteQueue::Integrity(installation.DatabasePath()), u"ok"_s);
    QCOMPARE(installation.Open()->OpenRecordset(u"tblLinkList"_s)->RecordCount(), 360);
    m_seeds << QString::number(seed);
}

void tst_monkey::cleanupTestCase()
{
    if (m_failed)
        return;
    QVERIFY2(m_runs > 0 && m_boxes > 0, "a monkey that starts no run and meets no box proves little");
    suiteReport::Report(
        u"monkey"_s,
        u"%1 steps, %2 sessions, %3 runs, %4 stops, %5 boxes answered, longest pause %6 ms, 0 faults"_s.arg(m_steps)
            .arg(m_sessions)
            .arg(m_runs)
            .arg(m_stops)
            .arg(m_boxes)
            .arg(m_longest),
        m_seeds.join(u", "_s));
}

QTEST_MAIN(tst_monkey)
#include "tst_monkey.moc"
