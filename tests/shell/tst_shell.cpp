// SPDX-License-Identifier: GPL-3.0-or-later
// Start and end of the process, the error report, and the helpers that everything shares.
#include "shell/clsErrorHandler.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "shell/modSocketErrors.h"
#include "shell_fixture.h"
#include "support/table.h"

#include <QLocale>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;
using namespace modCommonFunctions;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString NoBackups = u"There have been no backups made of your database."_s;
const QString BackupNow = u"\r\n\r\nDo you wish to backup at this time?"_s;

clsError MadeError(qint32 number, const QString& description = u"It broke"_s)
{
    return {number, description, u"Disk"_s, 13};
}

/// What `ToInt16` or `ToPort` makes of a text: the number, or "error n".
template <class Function> QString Converted(Function convert, const QString& text)
{
    try {
        return QString::number(convert(text));
    } catch (const clsError& failure) {
        return u"error %1"_s.arg(failure.Number());
    }
}
} // namespace

class tst_shell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void Report_data()
    {
        const testTable<int, bool, int, QString> row; // number, log can be written, action, window
        const QString critical = u"error critical"_s;
        const QString exclamation = u"error exclamation"_s;
        row("no database ends the program", 3024, true, 3, critical);
        row("cancelled file dialog is silent", 32755, true, 0, {});
        row("type mismatch is silent", 13, true, 0, {});
        row("type mismatch shows when it cannot be logged", 13, false, 0, critical);
        row("component errors are like any other", clsError::ComponentBase + 61, true, 2, exclamation);
    }
    void Report()
    {
        const auto [number, logWritable, action, window] = testRow<int, bool, int, QString>();
        shellFixture f;
        if (!logWritable)
            f.BlockErrorLog();
        QCOMPARE(int(modErrorHandler::ErrorHandler(u"modX"_s, u"Y"_s, MadeError(number))), action);
        QCOMPARE(f.windows.calls.join(u'|'), window);
        QCOMPARE(f.ErrorLog().count("\r\n"), logWritable ? 1 : 0);
        modErrorHandler::ErrorHandler(u"modX"_s, u"Y"_s, MadeError(number), 0, true); // not to be shown
        QCOMPARE(f.windows.calls.join(u'|'), window);
    }

    void ReportTexts()
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
                 u"An error has occured in this application.\r\n\r\nIf this error persists, exit Brambury and restart "
                 "the program.\r\nIf it still persists, please contact Technical Support Services."_s);
        QCOMPARE(clsErrorHandler::Instance().LastSystemError, 13);
    }

    void TrapCarriesOutTheAction()
    {
        shellFixture f;
        QCOMPARE(guarded("m", "r", [] {}), Guarded::Done);
        QCOMPARE(guarded("m", "r", [] { throw MadeError(94); }), Guarded::Continued);
        QCOMPARE(guarded("m", "r", [] { throw std::runtime_error("foreign"); }), Guarded::Left);
        QCOMPARE(clsErrorHandler::Instance().Number, 3000);
        QCOMPARE(clsErrorHandler::Instance().Description, u"foreign"_s);
        QVERIFY(!State().Terminating);

        f.windows.calls.clear();
        f.windows.mainLoaded = true;
        QCOMPARE(guarded("m", "r", [] { throw MadeError(3031); }), Guarded::Left);
        QVERIFY(State().Terminating && State().StopFlag && f.eventLoop.interrupted);
        QCOMPARE(f.windows.calls.join(u'|'), u"error critical|unload main"_s);
    }

    void Start()
    {
        shellFixture f;
        f.MakeDatabaseFile();
        f.settings.values[u"General"_s][u"Site"_s] = u"Shop"_s;
        State().StopFlag = true; // left over from the copy of the program before a restart
        f.eventLoop.interrupted = true;
        QVERIFY(modBrambury::Main());
        QCOMPARE(f.windows.calls.join(u'|'), u"splash 1.0 000|main"_s);
        QCOMPARE(State().Settings.Site, u"Shop"_s);
        QVERIFY(!State().StopFlag && !f.eventLoop.interrupted);
        QCOMPARE(modBrambury::NextStep(), modBrambury::Next::End);
    }

    void StartThatEndsAtOnce()
    {
        { // a second copy: silent, and the first comes to the front
            shellFixture f;
            f.instance.running = true;
            QVERIFY(!modBrambury::Main());
            QCOMPARE(f.instance.activated, 1);
            QCOMPARE(f.windows.calls.join(u'|'), u"unload all"_s);
        }
        { // no database file; the folder is used as it is stored, without a separator of our own
            shellFixture f;
            f.settings.values[u"General"_s][u"DataPath"_s] = f.dir.filePath(u"Data"_s);
            f.MakeDatabaseFile();
            const auto before = f.settings.values;
            f.dialogs.Expect(u"Brambury could not locate the database file "_s + f.dir.path() + u"/DataBramdat.mdb."_s,
                             Answer::OK, u"Brambury"_s);
            QVERIFY(!modBrambury::Main());
            QCOMPARE(f.windows.calls.join(u'|'), u"unload all"_s);
            QCOMPARE(f.settings.values, before);
            QCOMPARE(f.engine.created, 0);
        }
        { // an error inside the main window's start that ends the program
            shellFixture f;
            f.MakeDatabaseFile();
            f.windows.onLoadMain = [] { guarded("frmMain", "Form_Load", [] { throw MadeError(3031); }); };
            QVERIFY(!modBrambury::Main());
            QVERIFY(!f.windows.mainLoaded);
            QCOMPARE(f.engine.closed, 1);
            QVERIFY(f.settings.values.isEmpty());
        }
    }

    void ExitReminder_data()
    {
        const testTable<QString, QString, QString> row; // AutoBackup, LastBackup, what the question begins with
        const QString yes = u"Yes"_s;
        row("a date that cannot be read counts as never", yes, u"last week"_s, NoBackups);
        row("calendar days, not hours; the sign stays", yes, u"2026-01-04 23:59:59"_s,
            u"It has been -1 day(s) since your last backup."_s);
        row("off: no question", u"No"_s, {}, {});
        row("on is exactly Yes", u"yes"_s, {}, {});
    }
    void ExitReminder()
    {
        const auto [autoBackup, lastBackup, since] = testRow<QString, QString, QString>();
        shellFixture f;
        modBrambury::LoadProgramSettings();
        State().Settings.AutoBackup = autoBackup;
        State().Settings.LastBackup = lastBackup;
        if (!since.isEmpty())
            f.dialogs.Expect(since + BackupNow, Answer::No, u"Brambury"_s);
        modBrambury::EndProgram();
        QCOMPARE(f.windows.calls.join(u'|'), u"unload others"_s);
        QCOMPARE(f.settings.values[u"General"_s][u"AutoBackup"_s], autoBackup);
    }

    void CloseOrder()
    {
        { // the backup sets its date, and that date must be among what is saved
            shellFixture f;
            f.MakeDatabaseFile();
            QVERIFY(modBrambury::Main());
            f.windows.calls.clear();
            f.windows.onBackup = [] {
                State().Settings.LastBackup = u"2026-01-05 15:07:09"_s;
                return State().BackupFromExit;
            };
            f.dialogs.Expect(NoBackups + BackupNow, Answer::Yes);
            modBrambury::EndProgram();
            QCOMPARE(f.windows.calls.join(u'|'), u"backup|unload others"_s);
            QCOMPARE(f.settings.values[u"General"_s][u"LastBackup"_s], u"2026-01-05 15:07:09"_s);
            QCOMPARE(f.engine.closed, 1);
        }
        { // an abort saves nothing, the end of the session does, and neither asks: any box would fail here
            shellFixture f;
            modBrambury::LoadProgramSettings();
            modBrambury::EndProgram(true);
            QVERIFY(State().Terminating && f.settings.values.isEmpty());
            State().SessionEnding = true;
            modBrambury::EndProgram();
            QVERIFY(!f.settings.values.isEmpty());
        }
    }

    void Numbers()
    {
        QCOMPARE(Converted(ToInt16, u" 2.5 "_s), u"2"_s); // half to even
        QCOMPARE(Converted(ToInt16, u"-32768"_s), u"-32768"_s);
        QCOMPARE(Converted(ToInt16, u"32767.5"_s), u"error 6"_s);
        QCOMPARE(Converted(ToInt16, u"1e999"_s), u"error 6"_s);
        QCOMPARE(Converted(ToPort, u"65535"_s), u"65535"_s);
        QCOMPARE(Converted(ToPort, u"-1"_s), u"error 6"_s);
        for (const char* text : {"", "inf", "7 days"})
            QCOMPARE(Converted(ToInt16, QLatin1String(text)), u"error 13"_s);
    }

    void Texts()
    {
        QLocale::setDefault(QLocale(QLocale::German)); // of no influence
        QCOMPARE(ByteSizeText(0), u" bytes ( bytes)"_s);
        QCOMPARE(ByteSizeText(1152), u"1.13KB (1,152 bytes)"_s); // half a hundredth goes up
        QCOMPARE(ByteSizeText(1047999), u"1,023.44KB (1,047,999 bytes)"_s);
        QCOMPARE(ByteSizeText(1048000), u"1.0MB (1,048,000 bytes)"_s); // MB come early

        const QDateTime afternoon(QDate(2026, 1, 5), QTime(15, 7, 9));
        QCOMPARE(LongDate(afternoon), u"Monday, January 5, 2026"_s);
        QCOMPARE(MediumTime(QDateTime(QDate(2026, 1, 5), QTime(0, 5))), u"12:05 AM"_s);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(FromStoredDate(StoredDateTime(afternoon)), afternoon);
        QCOMPARE(FromStoredDate(u"2026-01-05T15:07:09"_s), afternoon);
        QVERIFY(!FromStoredDate(u"5/1/26"_s).isValid());

        QCOMPARE(FileNameOf(u"../A/B: \"yes?\"\t\u82b1\x01.pdf"_s), u"-.-A-B- -yes-- \u82b1-.pdf"_s);

        QCOMPARE(WrapText(u"abcde fg"_s, 5), u"abcde\nfg"_s); // the blank stands just at the limit
        QCOMPARE(WrapText(u"ab  cd"_s, 3), u"ab \ncd"_s);     // one blank is dropped, not two
        QCOMPARE(WrapText(u"abcdefgh ij"_s, 3), u"abc\ndef\ngh\nij"_s);
        QCOMPARE(WrapText(u"a\r\n\r\nb\rc\n"_s, 5), u"a\n\nb\nc\n"_s);
        QCOMPARE(WrapText(u"ab\U0001F600cd"_s, 3), u"ab\n\U0001F600c\nd"_s); // no half characters

        // Refused carries the code name of timed out; the advice is for the mail dialogs only.
        QString code;
        QCOMPARE(modSocketErrors::SocketErrorText(61, &code), u"The SMTP server connection was refused"_s);
        QCOMPARE(code, u"WSAETIMEDOUT"_s);
        QCOMPARE(modSocketErrors::SocketErrorText(51, nullptr, true),
                 u"Your Internet connection is no longer active.  If you are still connect, \r\n"
                 "you may try to disconnect and then reconnect to solve this problem."_s);
    }

    void SmallHelpers()
    {
        shellFixture f;
        QVERIFY(IsEmailAddress(u".@"_s) && !IsEmailAddress(u"a@b"_s));
        QCOMPARE(DiskSpaceText(u"Q:\\x"_s), u"Error determining disk space free for drive Q:"_s);

        f.connection.connected = false;
        QVERIFY(!InternetConnection() && !State().Dialled);
        f.connection.dials = true;
        QVERIFY(InternetConnection() && State().Dialled);

        f.browser.outcome = clsBrowser::Outcome::NoBrowser;
        f.dialogs.Expect(u"Could not find associated Browser"_s, Answer::OK, u"Browser Not Found"_s);
        OpenWebBrowser(u"http://x/"_s);
        f.browser.outcome = clsBrowser::Outcome::Failed;
        f.dialogs.Expect(u"Web Page not Opened"_s, Answer::OK, u"URL Failed"_s);
        OpenWebBrowser(u"http://x/"_s);
    }
};

QTEST_GUILESS_MAIN(tst_shell)
#include "tst_shell.moc"
