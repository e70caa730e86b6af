// SPDX-License-Identifier: GPL-3.0-or-later
// Start and end of the process, the error report, and the helpers that everything shares.
#include "shell/clsErrorHandler.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "shell/modSocketErrors.h"
#include "shell_fixture.h"

#include <QLocale>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;
using namespace modCommonFunctions;
using Answer = clsDialogs::Answer;

class tst_shell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void Report_data();
    void Report();
    void ReportTexts();
    void TrapCarriesOutTheAction();
    void Start();
    void StartThatEndsAtOnce();
    void StartThatIsAborted();
    void ExitReminder_data();
    void ExitReminder();
    void CloseOrder();
    void CloseSavesWithoutAsking();
    void Restart();
    void Numbers_data();
    void Numbers();
    void ByteSizes_data();
    void ByteSizes();
    void Wrapping_data();
    void Wrapping();
    void Dates();
    void SmallHelpers();
};

namespace
{
clsError MadeError(qint32 number, const QString& description = u"It broke"_s)
{
    return {number, description, u"Disk"_s, 13};
}
} // namespace

void tst_shell::Report_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("logWritable");
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("window");
    const QString critical = u"error critical"_s;
    const QString exclamation = u"error exclamation"_s;
    QTest::newRow("no database ends the program") << 3024 << true << 3 << critical;
    QTest::newRow("wrong password ends the program") << 3031 << true << 3 << critical;
    QTest::newRow("cancelled file dialog is silent") << 32755 << true << 0 << QString();
    QTest::newRow("cancelled file dialog is silent without a log") << 32755 << false << 0 << QString();
    QTest::newRow("type mismatch is silent") << 13 << true << 0 << QString();
    QTest::newRow("type mismatch shows when it cannot be logged") << 13 << false << 0 << critical;
    QTest::newRow("overflow is an error like any other") << 6 << true << 2 << exclamation;
    QTest::newRow("component errors are like any other")
        << int(clsError::ComponentBase) + 61 << true << 2 << exclamation;
}

void tst_shell::Report()
{
    QFETCH(int, number);
    QFETCH(bool, logWritable);
    QFETCH(int, action);
    QFETCH(QString, window);
    shellFixture f;
    if (!logWritable)
        f.BlockErrorLog();
    QCOMPARE(int(modErrorHandler::ErrorHandler(u"modX"_s, u"Y"_s, MadeError(number))), action);
    QCOMPARE(f.windows.calls, window.isEmpty() ? QStringList() : QStringList{window});
    QCOMPARE(f.ErrorLog().count("\r\n"), logWritable ? 1 : 0);

    f.windows.calls.clear();
    modErrorHandler::ErrorHandler(u"modX"_s, u"Y"_s, MadeError(number), 0, true);
    QCOMPARE(f.windows.calls, QStringList());
}

void tst_shell::ReportTexts()
{
    shellFixture f;
    modErrorHandler::ErrorHandler(u"clsDAO"_s, u"OpenDB"_s, MadeError(3050, u"say \"no\"\r\nor\nelse"_s), 7);
    // Written by hand: the components' base 0x80040000 is taken off in the log only.
    modErrorHandler::ErrorHandler(u"a"_s, u"b"_s, MadeError(-2147221499, u"\u00fc %1"_s));
    QCOMPARE(f.ErrorLog(),
             "\"2026-01-05 15:07:09\",\"3050\",\"say \"no\" or else\",\"Disk\",\"clsDAO\",\"OpenDB\",\"13\","
             "\"7\",\r\n"
             "\"2026-01-05 15:07:09\",\"5\",\"\xC3\xBC %1\",\"Disk\",\"a\",\"b\",\"13\",\"0\",\r\n");
    QCOMPARE(f.windows.lastDetails, u"The following run-time error occured:\r\nError Number: \t-2147221499\r\n"
                                    "Description: \t\u00fc %1\r\nSource:     \tDisk\r\nModule:     \ta\r\n"
                                    "Sub/Func: \tb\r\nLine Number: \t0"_s);
    QCOMPARE(f.windows.lastMessage,
             u"An error has occured in this application.\r\n\r\nIf this error persists, exit Brambury and restart the "
             "program.\r\nIf it still persists, please contact Technical Support Services."_s);
    QCOMPARE(clsErrorHandler::Instance().LastSystemError, 13);
}

void tst_shell::TrapCarriesOutTheAction()
{
    shellFixture f;
    QCOMPARE(guarded("m", "r", [] {}), Guarded::Done);
    QCOMPARE(guarded("m", "r", [] { throw MadeError(94); }), Guarded::Continued);
    QCOMPARE(guarded("m", "r", [] { throw std::runtime_error("foreign"); }), Guarded::Left);
    QCOMPARE(clsErrorHandler::Instance().Number, 3000);
    QCOMPARE(clsErrorHandler::Instance().Description, u"foreign"_s);
    QVERIFY(!modBrambury::State().Terminating);

    f.windows.calls.clear();
    f.windows.mainLoaded = true;
    QCOMPARE(guarded("m", "r", [] { throw MadeError(3031); }), Guarded::Left);
    QVERIFY(modBrambury::State().Terminating);
    QVERIFY(modBrambury::State().StopFlag);
    QVERIFY(f.eventLoop.interrupted);
    QCOMPARE(f.windows.calls, QStringList({u"error critical"_s, u"unload main"_s}));
}

void tst_shell::Start()
{
    shellFixture f;
    f.MakeDatabaseFile();
    f.settings.values[u"General"_s][u"Site"_s] = u"Shop"_s;
    modBrambury::State().StopFlag = true; // left over from the copy of the program before a restart
    f.eventLoop.interrupted = true;
    QVERIFY(modBrambury::Main());
    QCOMPARE(f.windows.calls, QStringList({u"splash 1.0 000"_s, u"main"_s}));
    QCOMPARE(modBrambury::State().Settings.Site, u"Shop"_s);
    QVERIFY(!modBrambury::State().StopFlag);
    QVERIFY(!f.eventLoop.interrupted);
    QCOMPARE(modBrambury::NextStep(), modBrambury::Next::End);
}

void tst_shell::StartThatEndsAtOnce()
{
    { // a second copy: silent, and the first comes to the front
        shellFixture f;
        f.instance.running = true;
        QVERIFY(!modBrambury::Main());
        QCOMPARE(f.instance.activated, 1);
        QCOMPARE(f.windows.calls, QStringList{u"unload all"_s});
    }
    { // no database file; the folder is used as it is stored, without a separator of our own
        shellFixture f;
        f.settings.values[u"General"_s][u"DataPath"_s] = f.dir.filePath(u"Data"_s);
        f.MakeDatabaseFile();
        const auto before = f.settings.values;
        f.dialogs.Expect(u"Brambury could not locate the database file "_s + f.dir.path() + u"/DataBramdat.mdb."_s,
                         Answer::OK, u"Brambury"_s);
        QVERIFY(!modBrambury::Main());
        QCOMPARE(f.windows.calls, QStringList{u"unload all"_s});
        QCOMPARE(f.settings.values, before);
        QCOMPARE(f.engine.created, 0);
    }
    { // the engine does not start: reported, and no splash window stays behind
        shellFixture f;
        f.MakeDatabaseFile();
        f.engine.fails = true;
        QVERIFY(!modBrambury::Main());
        QCOMPARE(f.windows.calls, QStringList({u"error exclamation"_s, u"unload all"_s}));
        QVERIFY(f.ErrorLog().contains("\"modBrambury\",\"Main\""));
    }
}

void tst_shell::StartThatIsAborted()
{
    shellFixture f;
    f.MakeDatabaseFile();
    f.windows.onLoadMain = [] { guarded("frmMain", "Form_Load", [] { throw MadeError(3031); }); };
    QVERIFY(!modBrambury::Main());
    QVERIFY(!f.windows.mainLoaded);
    QCOMPARE(f.engine.closed, 1);
    QVERIFY(f.settings.values.isEmpty());
}

void tst_shell::ExitReminder_data()
{
    QTest::addColumn<QString>("autoBackup");
    QTest::addColumn<QString>("lastBackup");
    QTest::addColumn<QString>("since"); // empty: no question
    const QString none = u"There have been no backups made of your database."_s;
    QTest::newRow("never") << u"Yes"_s << QString() << none;
    QTest::newRow("a date that cannot be read counts as never") << u"Yes"_s << u"last week"_s << none;
    QTest::newRow("the sign stays") << u"Yes"_s << u"2025-12-30 23:59:59"_s
                                    << u"It has been -6 day(s) since your last backup."_s;
    QTest::newRow("calendar days, not hours")
        << u"Yes"_s << u"2026-01-04 23:59:59"_s << u"It has been -1 day(s) since your last backup."_s;
    QTest::newRow("today asks too") << u"Yes"_s << u"2026-01-05 00:00:00"_s
                                    << u"It has been 0 day(s) since your last backup."_s;
    QTest::newRow("a date to come") << u"Yes"_s << u"2026-01-07"_s << u"It has been 2 day(s) since your last backup."_s;
    QTest::newRow("off") << u"No"_s << QString() << QString();
    QTest::newRow("on is exactly Yes") << u"yes"_s << QString() << QString();
}

void tst_shell::ExitReminder()
{
    QFETCH(QString, autoBackup);
    QFETCH(QString, lastBackup);
    QFETCH(QString, since);
    shellFixture f;
    modBrambury::LoadProgramSettings();
    modBrambury::State().Settings.AutoBackup = autoBackup;
    modBrambury::State().Settings.LastBackup = lastBackup;
    if (!since.isEmpty())
        f.dialogs.Expect(since + u"\r\n\r\nDo you wish to backup at this time?"_s, Answer::No, u"Brambury"_s);
    modBrambury::EndProgram();
    QCOMPARE(f.windows.calls, QStringList{u"unload others"_s});
    QCOMPARE(f.settings.values[u"General"_s][u"AutoBackup"_s], autoBackup);
}

void tst_shell::CloseOrder()
{
    { // the backup sets its date, and that date must be among what is saved
        shellFixture f;
        f.MakeDatabaseFile();
        QVERIFY(modBrambury::Main());
        f.windows.calls.clear();
        f.windows.onBackup = [] {
            modBrambury::State().Settings.LastBackup = u"2026-01-05 15:07:09"_s;
            return modBrambury::State().BackupFromExit;
        };
        f.dialogs.Expect(
            u"There have been no backups made of your database.\r\n\r\nDo you wish to backup at this time?"_s,
            Answer::Yes);
        modBrambury::EndProgram();
        QCOMPARE(f.windows.calls, QStringList({u"backup"_s, u"unload others"_s}));
        QCOMPARE(f.settings.values[u"General"_s][u"LastBackup"_s], u"2026-01-05 15:07:09"_s);
        QCOMPARE(f.engine.closed, 1);
    }
    { // a version without the backup window says so and closes
        shellFixture f;
        modBrambury::LoadProgramSettings();
        f.windows.onBackup = [] { return false; };
        f.dialogs.Expect(
            u"There have been no backups made of your database.\r\n\r\nDo you wish to backup at this time?"_s,
            Answer::Yes);
        f.dialogs.Expect(u"Backing up comes with a later version of Brambury."_s);
        modBrambury::EndProgram();
        QVERIFY(!f.settings.values.isEmpty());
    }
    { // one failing step does not keep the others from closing
        shellFixture f;
        f.MakeDatabaseFile();
        QVERIFY(modBrambury::Main());
        f.windows.onBackup = []() -> bool { throw MadeError(57); };
        f.dialogs.Expect(
            u"There have been no backups made of your database.\r\n\r\nDo you wish to backup at this time?"_s,
            Answer::Yes);
        modBrambury::EndProgram();
        QVERIFY(!f.settings.values.isEmpty());
        QCOMPARE(f.engine.closed, 1);
    }
}

void tst_shell::CloseSavesWithoutAsking()
{
    shellFixture f; // knows no box: any question fails
    modBrambury::LoadProgramSettings();
    modBrambury::EndProgram(true);
    QVERIFY(modBrambury::State().Terminating);
    QVERIFY(f.settings.values.isEmpty());
    modBrambury::State().SessionEnding = true;
    modBrambury::EndProgram();
    QVERIFY(!f.settings.values.isEmpty());
}

void tst_shell::Restart()
{
    shellFixture f;
    f.MakeDatabaseFile();
    QVERIFY(modBrambury::Main());
    f.windows.calls.clear();
    modBrambury::State().DatabaseWork = true;
    f.dialogs.Expect(u"Brambury will now restart."_s, Answer::OK, u"Compact Completed"_s);
    modBrambury::RestartProgram(u"Compact Completed"_s);
    QCOMPARE(modBrambury::NextStep(), modBrambury::Next::Restart);
    QVERIFY(f.eventLoop.interrupted);
    QVERIFY(!modBrambury::State().DatabaseWork);
    modBrambury::State().Settings.LastBackup = u"2026-01-05"_s;
    modBrambury::EndProgram(); // what the main window's close request does; no question about a backup

    modBrambury::State().Settings = {};
    QVERIFY(modBrambury::Main());
    QCOMPARE(f.windows.calls, QStringList({u"unload all"_s, u"unload others"_s, u"main"_s}));
    QCOMPARE(modBrambury::State().Settings.LastBackup, u"2026-01-05"_s);
    QCOMPARE(f.engine.created, 2);
    QCOMPARE(modBrambury::NextStep(), modBrambury::Next::End);
    QVERIFY(!modBrambury::State().Restarting);
}

void tst_shell::Numbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("error");
    QTest::newRow("blanks around") << u" 7 "_s << 7 << 0;
    QTest::newRow("half to even, down") << u"2.5"_s << 2 << 0;
    QTest::newRow("half to even, up") << u"-3.5"_s << -4 << 0;
    QTest::newRow("least") << u"-32768"_s << -32768 << 0;
    QTest::newRow("rounds into the range") << u"32767.4"_s << 32767 << 0;
    QTest::newRow("rounds out of the range") << u"32767.5"_s << 0 << 6;
    QTest::newRow("far too big") << u"1e999"_s << 0 << 6;
    QTest::newRow("text") << u"abc"_s << 0 << 13;
    QTest::newRow("empty") << u""_s << 0 << 13;
    QTest::newRow("infinity is no number") << u"inf"_s << 0 << 13;
    QTest::newRow("trailing text") << u"7 days"_s << 0 << 13;
}

void tst_shell::Numbers()
{
    QFETCH(QString, text);
    QFETCH(int, value);
    QFETCH(int, error);
    const auto convert = [&](auto function) {
        try {
            return std::pair<int, int>(function(text), 0);
        } catch (const clsError& failure) {
            return std::pair<int, int>(0, failure.Number());
        }
    };
    QCOMPARE(convert(ToInt16), std::pair(value, error));
    if (error == 13)
        QCOMPARE(convert(ToPort), std::pair(value, error));
    QCOMPARE(ToPort(u"65535"_s), quint16(65535));
    QVERIFY_EXCEPTION_THROWN(ToPort(u"-1"_s), clsError);
}

void tst_shell::ByteSizes_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << qint64(0) << u" bytes ( bytes)"_s;
    QTest::newRow("bytes") << qint64(1023) << u"1,023 bytes (1,023 bytes)"_s;
    QTest::newRow("first KB") << qint64(1024) << u"1.0KB (1,024 bytes)"_s;
    QTest::newRow("half a hundredth goes up") << qint64(1152) << u"1.13KB (1,152 bytes)"_s;
    QTest::newRow("carry into the whole") << qint64(2047) << u"2.0KB (2,047 bytes)"_s;
    QTest::newRow("last KB") << qint64(1047999) << u"1,023.44KB (1,047,999 bytes)"_s;
    QTest::newRow("MB come early") << qint64(1048000) << u"1.0MB (1,048,000 bytes)"_s;
    QTest::newRow("more than 32 bits") << qint64(5368709120) << u"5,120.0MB (5,368,709,120 bytes)"_s;
}

void tst_shell::ByteSizes()
{
    QFETCH(qint64, count);
    QFETCH(QString, text);
    QLocale::setDefault(QLocale(QLocale::German));
    QCOMPARE(ByteSizeText(count), text);
    QLocale::setDefault(QLocale::c());
}

void tst_shell::Wrapping_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("wrapped");
    QTest::newRow("fits exactly") << u"abcde"_s << 5 << u"abcde"_s;
    QTest::newRow("blank just at the limit") << u"abcde fg"_s << 5 << u"abcde\nfg"_s;
    QTest::newRow("last blank before the limit") << u"a bc def"_s << 6 << u"a bc\ndef"_s;
    QTest::newRow("one blank is dropped, not two") << u"ab  cd"_s << 3 << u"ab \ncd"_s;
    QTest::newRow("long word") << u"abcdefgh ij"_s << 3 << u"abc\ndef\ngh\nij"_s;
    QTest::newRow("lines are kept") << u"a\r\n\r\nb\rc\n"_s << 5 << u"a\n\nb\nc\n"_s;
    QTest::newRow("no half characters") << u"ab\U0001F600cd"_s << 3 << u"ab\n\U0001F600c\nd"_s;
    QTest::newRow("empty") << QString() << 5 << QString();
}

void tst_shell::Wrapping()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QFETCH(QString, wrapped);
    QCOMPARE(WrapText(text, width), wrapped);
}

void tst_shell::Dates()
{
    QLocale::setDefault(QLocale(QLocale::German));
    const QDateTime afternoon(QDate(2026, 1, 5), QTime(15, 7, 9));
    QCOMPARE(LongDate(afternoon), u"Monday, January 5, 2026"_s);
    QCOMPARE(MediumTime(afternoon), u"03:07 PM"_s);
    QCOMPARE(MediumTime(QDateTime(QDate(2026, 1, 5), QTime(0, 5))), u"12:05 AM"_s);
    QLocale::setDefault(QLocale::c());
    QCOMPARE(FromStoredDate(StoredDateTime(afternoon)), afternoon);
    QCOMPARE(FromStoredDate(u"2026-01-05T15:07:09"_s), afternoon);
    QCOMPARE(FromStoredDate(u"2026-01-05"_s), QDateTime(QDate(2026, 1, 5), QTime(0, 0)));
    QVERIFY(!FromStoredDate(u"5/1/26"_s).isValid());
    QVERIFY(!FromStoredDate(QString()).isValid());
}

void tst_shell::SmallHelpers()
{
    shellFixture f;
    QVERIFY(IsEmailAddress(u".@"_s));
    QVERIFY(!IsEmailAddress(u"a@b"_s));
    QVERIFY(HasWebPrefix(u"see HTTPS://x"_s));
    QVERIFY(!HasWebPrefix(u"http:/x"_s));
    QCOMPARE(NullToDefault(QVariant(), 25), QVariant(25));
    QCOMPARE(NullToDefault(u""_s, 25), QVariant(u""_s));

    f.connection.connected = false;
    QVERIFY(!InternetConnection());
    QVERIFY(!modBrambury::State().Dialled);
    f.connection.dials = true;
    QVERIFY(InternetConnection());
    QVERIFY(modBrambury::State().Dialled);

    f.browser.outcome = clsBrowser::Outcome::NoBrowser;
    f.dialogs.Expect(u"Could not find associated Browser"_s, Answer::OK, u"Browser Not Found"_s);
    OpenWebBrowser(u"http://x/"_s);
    f.browser.outcome = clsBrowser::Outcome::Failed;
    f.dialogs.Expect(u"Web Page not Opened"_s, Answer::OK, u"URL Failed"_s);
    OpenWebBrowser(u"http://x/"_s);

    QVERIFY(DiskSpaceText(f.dir.path()).toLongLong() > 0);
    QCOMPARE(DiskSpaceText(u"Q:\\x"_s), u"Error determining disk space free for drive Q:"_s);

    // Refused carries the code name of timed out; the advice is for the mail dialogs only.
    QString code;
    QCOMPARE(modSocketErrors::SocketErrorText(61, &code), u"The SMTP server connection was refused"_s);
    QCOMPARE(code, u"WSAETIMEDOUT"_s);
    QCOMPARE(modSocketErrors::SocketErrorText(51, nullptr, true),
             u"Your Internet connection is no longer active.  If you are still connect, \r\n"
             "you may try to disconnect and then reconnect to solve this problem."_s);
    QCOMPARE(modSocketErrors::SocketErrorText(54, &code, true), u"Connection reset by peer"_s);
    QCOMPARE(modSocketErrors::SocketErrorText(404, &code), u"Unknown Error"_s);
    QVERIFY(code.isEmpty());
}

QTEST_GUILESS_MAIN(tst_shell)
#include "tst_shell.moc"
