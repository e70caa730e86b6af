// SPDX-License-Identifier: GPL-3.0-or-later
// The model behind the list of links, on a real database: a hundred thousand rows, styles of cells, tips, refills.
#include "main_window_fixture.h"
#include "ui/parts/modTips.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Many = 100'000;
} // namespace

class tst_link_model : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void styles_data()
    {
        using M = clsLinkModel;
        const testTable<QString, QVariant, int, QString, QString, QString> row;
        row("queued for mail", u"EmailQueue"_s, 1, M::EmailQueue, u"Checked"_s, {}, u"Queued for e-mail"_s);
        row("converted true", u"EmailQueue"_s, -1, M::EmailQueue, u"Checked"_s, {}, u"Queued for e-mail"_s);
        row("not to be sent", u"EmailQueue"_s, 2, M::EmailQueue, u"YellowFlag"_s, {}, u"E-mail not to be sent"_s);
        row("mail Null", u"EmailQueue"_s, {}, M::EmailQueue, {}, {}, u"No e-mail queued"_s);
        row("queued for testing", u"TestQueue"_s, 1, M::TestQueue, u"Checked"_s, {}, u"Queued for testing"_s);
        row("status 1 has two names", u"Status"_s, 1, M::Status, u"Pending"_s, u"In-Process"_s,
            u"Status: In-Process"_s);
        row("passed", u"Results"_s, 1, M::TestResults, u"GreenBall"_s, {}, u"Passed the last test"_s);
        row("link missing", u"Results"_s, 4, M::TestResults, u"RedBall"_s, {}, u"Failed the last test"_s);
        row("page missing", u"Results"_s, 192, M::TestResults, u"RedBall"_s, {}, u"Failed the last test"_s);
        row("bad address", u"Results"_s, 260, M::TestResults, u"YellowBall"_s, {},
            u"A page's address could not be used in the last test"_s);
        row("never tested", u"Results"_s, 0, M::TestResults, {}, {}, u"No test result"_s);
        row("odd result", u"Results"_s, 2, M::TestResults, {}, {}, u"No test result"_s);
        row("comments Null", u"Comments"_s, {}, M::Notes, u"NoNotes"_s, {}, u"No comments"_s);
        row("comments", u"Comments"_s, u"Wrote in May"_s, M::Notes, u"Notes"_s, {}, u"Has comments"_s);
        row("text Null", u"HomePage"_s, {}, M::HomePage, {}, {}, {});
    }

    void styles()
    {
        const auto [field, value, column, style, shown, spoken] =
            testRow<QString, QVariant, int, QString, QString, QString>();
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Bob"_s, {{field, value}});
        program.Open();
        const QModelIndex cell = program.Grid().Links().index(0, column);
        QCOMPARE(cell.data(clsLinkModel::StyleRole).toString(), style);
        QCOMPARE(cell.data().toString(), shown);
        QCOMPARE(cell.data(Qt::AccessibleTextRole).toString(), spoken);
        QCOMPARE(!cell.data(Qt::DecorationRole).isNull(), !style.isEmpty());
    }

    void tips()
    {
        const auto inside = [](const QString& text) {
            return modTips::Plain(text).remove(u"<span style=\"white-space: pre-wrap\">"_s).remove(u"</span>"_s);
        };
        QVERIFY(modTips::Plain({}).isEmpty());
        QCOMPARE(inside(u"<b>Tom & Jerry</b>"_s), u"&lt;b&gt;Tom &amp; Jerry&lt;/b&gt;"_s);
        const QString face = u"\U0001F600"_s;
        const QString cut = inside(u"a"_s + face.repeated(5000)).remove(QChar(0x200B));
        QCOMPARE(cut, u"a"_s + face.repeated(249) + u'\u2026');        // no half of a pair
        QVERIFY(inside(QString(200, u'w')).count(QChar(0x200B)) >= 3); // it can be wrapped
        QCOMPARE(modTips::OneLine(u"one\r\ntwo\tthree\u2028four"_s), u"one two three four"_s);
    }

    void manyLinks()
    {
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        clsTestInstallation::AddLinks(*program.opened, u"Shop"_s, Many);
        program.Set(u"General"_s, u"HideInactiveDeclined"_s, u"0"_s);
        QElapsedTimer time;
        time.start();
        program.Open();
        qInfo("load: %lld ms", time.restart());
        clsLinkModel& model = program.Grid().Links();
        QCOMPARE(model.rowCount(), Many);
        QCOMPARE(program.Counter(), u"[ 100000 link(s) in current view ]"_s);

        const QModelIndex last = model.index(Many - 1, clsLinkModel::Title);
        program.Grid().scrollTo(last);
        QCOMPARE(program.Grid().rowAt(program.Grid().viewport()->height() - 4), Many - 1);
        QVERIFY(last.data().toString().startsWith(u"Partner "_s));

        program.Grid().selectAll();
        program.Grid().MakeCurrent(model.LinkAt(4711));
        const qint64 current = program.Grid().CurrentLink();
        time.restart();
        program.Trigger(u"LinkMenuElementSub_2"_s);
        qInfo("sort with everything selected: %lld ms", time.restart());
        QStringList titles;
        for (int row = 0; row < Many; row += 997)
            titles << model.index(row, clsLinkModel::Title).data().toString();
        QVERIFY(std::is_sorted(titles.begin(), titles.end()));
        QCOMPARE(program.Grid().CurrentLink(), current);
        QCOMPARE(program.Grid().ChosenLinks().size(), std::size_t{Many});

        program.ShowTab(3);
        qInfo("another view: %lld ms", time.restart());
        QVERIFY(model.rowCount() < Many);

        constexpr int toggled = 10'000;
        program.Grid().selectionModel()->select(
            QItemSelection(model.index(0, 0), model.index(toggled - 1, clsLinkModel::ColumnCount - 1)),
            QItemSelectionModel::ClearAndSelect);
        const QString queued = program.Style(toggled - 1, clsLinkModel::TestQueue);
        time.restart();
        program.Trigger(u"LinkMenuElement_7"_s);
        qInfo("Set for Test of %d: %lld ms", toggled, time.restart());
        QVERIFY(program.Style(toggled - 1, clsLinkModel::TestQueue) != queued);

        // The longest that the event loop does not come round while a filter is typed.
        qint64 longest = 0;
        QTimer pulse;
        pulse.callOnTimeout([&] { longest = std::max(longest, time.restart()); });
        pulse.start(0);
        program.ShowTab(0);
        int before = Many;
        for (const auto& words : {u"p"_s, u"partner 0"_s, u"partner 01 active"_s, u"nowhere"_s, u""_s}) {
            time.restart();
            program.Find<QLineEdit>(u"txtFilter"_s).setText(words);
            QTRY_VERIFY_WITH_TIMEOUT(!model.Filtering(), 30'000);
            QVERIFY(words.isEmpty() || model.rowCount() <= std::exchange(before, model.rowCount()));
            for (int row = 0; words.endsWith(u"active"_s) && row < model.rowCount(); row += 97) {
                const QString texts = model.index(row, clsLinkModel::Title).data().toString() +
                                      model.index(row, clsLinkModel::HomePage).data().toString();
                QVERIFY(texts.contains("01"_L1));
            }
            QCOMPARE(model.rowCount() == 0, words == "nowhere"_L1);
        }
        pulse.stop();
        QCOMPARE(model.rowCount(), Many);
        // Loosely, for machines that are busy with other tests; docs/measurements.md has the real figure.
        qInfo("longest turn: %lld ms", longest);
        QVERIFY2(longest < 1000, qPrintable(QString::number(longest)));

        // The tester looks at every cell whenever anything happens, so it comes when all else is done.
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        program.ShowTab(3);
        program.ShowTab(0);
    }

    void refillKeepsPlace()
    {
        clsTestWindow program;
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        QList<qint64> ids;
        for (int i = 0; i < 300; ++i)
            ids << clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Partner %1"_s.arg(i, 3, 10, '0'_L1));
        program.Open();
        clsLinkGrid& grid = program.Grid();
        const auto select = [&](int row) {
            grid.selectionModel()->select(grid.Links().index(row, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
        };
        grid.MakeCurrent(ids[120]);
        grid.clearSelection();
        for (const int row : {100, 101, 150})
            select(row);
        grid.verticalScrollBar()->setValue(grid.verticalHeader()->sectionPosition(110) + 3);

        // Two links above the view and one that is selected go; the others stay where they are on the screen.
        program.opened->DeleteRecords(u"tblLinkList"_s, {ids[5], ids[6], ids[101]});
        program.Window().FillLinkGrid();
        QCOMPARE(grid.CurrentLink(), ids[120]);
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{ids[100], ids[150]}));
        QCOMPARE(grid.Links().LinkAt(grid.rowAt(0)), ids[110]);
        QCOMPARE(grid.rowViewportPosition(grid.rowAt(0)), -3);

        // The same records again, one changed: no reset, the cell shows it.
        const QSignalSpy reset(&grid.Links(), &QAbstractItemModel::modelReset);
        program.opened->UpdateRecords(u"tblLinkList"_s, {ids[120]}, {{u"Title"_s, u"Renamed"_s}});
        program.Window().FillLinkGrid();
        QCOMPARE(reset.size(), 0);
        QCOMPARE(grid.Links().index(grid.Links().RowOf(ids[120]), clsLinkModel::Title).data().toString(), u"Renamed"_s);

        // The current link leaves the view: another row becomes current, so that commands have one.
        program.opened->DeleteRecords(u"tblLinkList"_s, {ids[120]});
        grid.clearSelection();
        program.Window().FillLinkGrid();
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{ids[0]}));

        // Many are taken out: the neighbour of the current link becomes current, the others keep selection and place.
        grid.MakeCurrent(ids[200]);
        select(grid.Links().RowOf(ids[210]));
        grid.verticalScrollBar()->setValue(grid.verticalHeader()->sectionPosition(grid.Links().RowOf(ids[195])));
        const int rows = grid.Links().rowCount();
        grid.RemoveLinks({ids[201], ids[10], ids[200]});
        QCOMPARE(grid.Links().rowCount(), rows - 3);
        QCOMPARE(grid.CurrentLink(), ids[202]);
        QCOMPARE(grid.ChosenLinks(), (std::vector<qint64>{ids[210]}));
        QCOMPARE(grid.Links().LinkAt(grid.rowAt(0)), ids[195]);
    }

    void closedDatabaseIsReportedOnce()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        clsLinkModel& model = program.Grid().Links();
        disconnect(&model, &clsLinkModel::ReadFailed, nullptr, nullptr); // no error window here
        const QSignalSpy failures(&model, &clsLinkModel::ReadFailed);
        modBrambury::State().Database->Close();
        model.RefreshAll();
        for (int row = 0; row < model.rowCount(); ++row)
            QCOMPARE(model.index(row, clsLinkModel::Title).data().toString(), QString());
        QCOMPARE(failures.size(), 0);
        QTRY_COMPARE(failures.size(), 1);
        QVERIFY_THROWS_EXCEPTION(clsError, model.ReadFailedRows());
    }
};

QTEST_MAIN(tst_link_model)
#include "tst_link_model.moc"
