// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of the results log, and what becomes of them.
#include "log/clsStatusLog.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsPrinter.h"
#include "platform/impl/modPlatformImpl.h"
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

/// Writes down what is printed.
class recordingPrinter : public clsPrinter
{
public:
    QStringList calls;
    void StartDoc(const QString& title, int left, int top) override
    {
        calls << u"start %1 %2 %3"_s.arg(title).arg(left).arg(top);
    }
    void SetFont(const QString& family, double points, bool bold) override
    {
        calls << u"font %1 %2 %3"_s.arg(family).arg(points).arg(bold);
    }
    void PrintLine(const QString& text) override { calls << u"line "_s + text; }
    void EndDoc() override { calls << u"end"_s; }
    void SetFooter(const QString&) override {}
    void PrintField(const QString&, const QString&) override {}
    void StartTable(const std::vector<Column>&) override {}
    void PrintRow(const QStringList&) override {}
    void EndTable() override {}
    void RestartPages() override {}
    void CancelDoc() noexcept override {}
    void SetOutputFile(const QString&) override {}
    bool Available() const override { return true; }
    bool AskPrinter() override { return true; }
    Choice Preview(const std::function<bool()>&) override { return Choice::Close; }
    void SetUp() override {}
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
        row("first without bullet", {}, u"a"_s, 1, false, u"  a"_s);
        row("first and empty", {}, {}, 0, true, u" \u2022 "_s);
        row("later", u"x"_s, u"a"_s, 2, true, u"x\r\n    \u2022 a"_s);
        row("later without bullet", u"x"_s, u"a"_s, 4, false, u"x\r\n        a"_s);
        row("later and empty: a line break only", u"x"_s, {}, 4, true, u"x\r\n"_s);
        row("-1 goes on in the line", u"x"_s, u"a"_s, -1, true, u"xa"_s);
        row("-1 on an empty log", {}, u"a"_s, -1, true, u"a"_s);
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

    void SaveAndPrint()
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

        recordingPrinter printer;
        modResultsLog::PrintLog(u"a\r\n\r\n"_s + QString(111, u'w'), printer);
        QCOMPARE(
            printer.calls.join(u'|'),
            u"start Results Log 1008 1008|font Arial 12 1|line Results Log|line |font Arial 10 0|line a|line |line "_s +
                QString(110, u'w') + u"|line w|end"_s);
    }
};

QTEST_GUILESS_MAIN(tst_log)
#include "tst_log.moc"
