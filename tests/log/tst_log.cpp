// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of the results log, and what becomes of them.
#include "log/clsStatusLog.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/modPlatformImpl.h"
#include "support/fakes.h"
#include "support/table.h"

#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Keeps what it is told to show; may refuse.
class recordingWindow : public clsLogWindow
{
public:
    QStringList appended;
    qsizetype caret = -1;
    bool fails = false;

protected:
    void ShowAppended(const QString& text, qsizetype place) override
    {
        if (fails)
            throw clsError(57, u"no window"_s, u"Test"_s);
        appended << text;
        caret = place;
    }
    void ShowCleared() override { appended.clear(); }
};

} // namespace

class tst_log : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void Lines_data()
    {
        const testTable<QString, QString, int, bool, QString> row; // before, text, indent, bullet, after
        row("only the first bulleted line begins with a blank", {}, u"a"_s, 1, true, u"   \u2022 a"_s);
        row("later", u"x"_s, u"a"_s, 2, true, u"x\r\n    \u2022 a"_s);
        row("later and empty: a line break only", u"x"_s, {}, 4, true, u"x\r\n"_s);
        row("-1 goes on in the line", u"x"_s, u"a"_s, -1, true, u"xa"_s);
        row("-2 is 2", u"x"_s, u"a"_s, -2, true, u"x\r\n    \u2022 a"_s);
    }
    void Lines()
    {
        const auto [before, text, indent, bullet, after] = testRow<QString, QString, int, bool, QString>();
        fakeEventLoop eventLoop;
        recordingWindow window;
        clsStatusLog log(&eventLoop);
        log.SetLogWindow(&window);
        if (!before.isEmpty())
            log.LogItem(before, -1);
        const int yields = eventLoop.yields;
        log.LogItem(text, qint16(indent), bullet);
        QCOMPARE(window.Text(), after);
        QCOMPARE(window.caret, after.size() - text.size());
        QCOMPARE(eventLoop.yields, yields + 1);
        // The window is told what is new, never the whole text again.
        QCOMPARE(window.appended.last(), after.mid(before.size()));
    }

    void OneWindowForAllRuns()
    {
        recordingWindow window;
        clsStatusLog first(nullptr);
        clsStatusLog second(nullptr);
        first.LogItem(u"lost"_s);
        first.SetLogWindow(&window);
        second.SetLogWindow(&window);
        first.LogItem(u"a"_s, 0, false);
        second.LogItem(u"b"_s);
        QCOMPARE(window.Text(), u"a\r\n\u2022 b"_s);

        window.fails = true;
        second.LogItem(u"c"_s); // must not leave the log, whatever the window does
        window.fails = false;
        second.Clear();
        QVERIFY(window.appended.isEmpty());
        first.LogItem(u"d"_s);
        QCOMPARE(window.Text(), u" \u2022 d"_s);
    }

    void SaveAppends()
    {
        const QTemporaryDir dir;
        const auto disk = modPlatformImpl::MakeDisk();
        const QString path = dir.filePath(u"Results.log"_s);
        const QString word(60, u'w');
        modResultsLog::SaveLog(u" \u2022 "_s + word + u' ' + word + u"\r\n\r\nend"_s, path, *disk);
        modResultsLog::SaveLog(u"again"_s, path, *disk);
        QCOMPARE(disk->ReadFile(path),
                 " \xE2\x80\xA2 " + word.toLatin1() + "\r\n" + word.toLatin1() + "\r\n\r\nend\r\nagain\r\n");
        QVERIFY_EXCEPTION_THROWN(modResultsLog::SaveLog(u"a"_s, dir.filePath(u"no/x.log"_s), *disk), clsError);
    }
};

QTEST_GUILESS_MAIN(tst_log)
#include "tst_log.moc"
