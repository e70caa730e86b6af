// SPDX-License-Identifier: GPL-3.0-or-later
// Notes on the desktop, against a session bus of the test's own.
#include "platform/clsEventLoop.h"
#include "platform/clsNotifier.h"
#include "platform/modPlatformImpl.h"
#include "support/files.h"

#include <QDBusConnection>
#include <QLocalServer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

/// A desktop that shows notes.
class fakeDesktop : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList notes;

public Q_SLOTS:
    Q_SCRIPTABLE uint Notify(const QString& /*program*/, uint /*replaced*/, const QString& /*icon*/,
                             const QString& title, const QString& text, const QStringList& /*actions*/,
                             const QVariantMap& /*hints*/, int /*milliseconds*/)
    {
        notes << title + u'|' + text;
        return 1;
    }
};

class tst_notifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void told()
    {
        const auto eventLoop = modPlatformImpl::MakeEventLoop();
        const auto notifier = modPlatformImpl::MakeNotifier(*eventLoop);
        const QTemporaryDir folder;
        const QString socket = u"unix:path="_s + folder.filePath(u"bus"_s);
        qputenv("DBUS_SESSION_BUS_ADDRESS", socket.toUtf8());
        QVERIFY(!notifier->Notify(u"No bus"_s, u"a"_s));
        {
            QLocalServer silent; // the system takes its callers, and nobody ever answers them
            QVERIFY(silent.listen(folder.filePath(u"bus"_s)));
            QVERIFY(!notifier->Notify(u"No answer"_s, u"a"_s));
        }

        WriteAll(folder.filePath(u"bus.conf"_s),
                 "<busconfig><type>session</type><listen>" + socket.toUtf8() +
                     "</listen><policy context=\"default\"><allow send_destination=\"*\"/><allow eavesdrop=\"true\"/>"
                     "<allow own=\"*\"/></policy></busconfig>");
        QProcess bus;
        bus.start(u"dbus-daemon"_s, {u"--nofork"_s, u"--config-file="_s + folder.filePath(u"bus.conf"_s)});
        QTRY_VERIFY(QFile::exists(folder.filePath(u"bus"_s)));
        QVERIFY(!notifier->Notify(u"No desktop"_s, u"a"_s));

        // A job of cron is not told of the bus, which then is where it always is.
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
        fakeDesktop desktop;
        QDBusConnection session = QDBusConnection::connectToBus(socket, u"desktop"_s);
        QVERIFY(session.registerObject(u"/org/freedesktop/Notifications"_s, &desktop,
                                       QDBusConnection::ExportScriptableSlots));
        QVERIFY(session.registerService(u"org.freedesktop.Notifications"_s));
        QVERIFY(notifier->Notify(u"2 link(s)"_s, u"Stone & Fern\n<b>"_s));
        QCOMPARE(desktop.notes, QStringList{u"2 link(s)|Stone &amp; Fern\n&lt;b&gt;"_s});

        bus.terminate();
        QVERIFY(bus.waitForFinished());
    }
};

QTEST_GUILESS_MAIN(tst_notifier)
#include "tst_notifier.moc"
