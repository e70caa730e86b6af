// SPDX-License-Identifier: GPL-3.0-or-later
// The filter box above the list of links: what it finds, and that every command keeps to the rows it leaves.
#include "main_window_fixture.h"

using namespace Qt::Literals::StringLiterals;
using M = clsLinkModel;

namespace
{
/// A window on four links; `Type` types into the box and waits until the rows follow.
struct Filtered
{
    clsTestWindow program;

    Filtered()
    {
        clsTestInstallation::AddSite(*program.opened, u"Shop"_s);
        const qint64 herbs = clsTestInstallation::AddCategory(*program.opened, u"Shop"_s, u"Herbs"_s);
        Add(u"Ann's Garden"_s, {{u"HomePage"_s, u"http://www.ann.example/"_s}, {u"CategoryID"_s, herbs}});
        Add(u"Bob & GARDEN tools"_s, {{u"HomePage"_s, u"http://www.bob.example/"_s}, {u"Status"_s, 3}});
        Add(u"Stra\u00dfe 7"_s, {{u"Email"_s, u"garden@seven.example"_s}});
        Add(u"Cafe\u0301"_s, {{u"HomePage"_s, u"http://www.gar.example/den"_s}});
        program.Open();
    }
    void Add(const QString& title, const clsRecordValues& values)
    {
        program.ids << clsTestInstallation::AddLink(*program.opened, u"Shop"_s, title, values);
    }
    QLineEdit& Box() const { return program.Find<QLineEdit>(u"txtFilter"_s); }
    QList<int> Rows() const
    {
        QList<int> rows;
        for (int row = 0; row < program.Grid().Links().rowCount(); ++row)
            rows << static_cast<int>(program.ids.indexOf(program.Grid().Links().LinkAt(row)));
        return rows;
    }
    QList<int> Type(const QString& words) const
    {
        Box().setText(words);
        [[maybe_unused]] const bool over = QTest::qWaitFor([this] { return !program.Grid().Links().Filtering(); });
        return Rows();
    }
};
} // namespace

class tst_filter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finds_data()
    {
        const testTable<QString, QList<int>> row;
        row("either case", u"gArDeN"_s, {0, 1});
        row("every word, in any column and order", u"ann GARDEN"_s, {0});
        row("blanks around and between", u"  bob \t tools "_s, {1});
        row("the status by its name", u"broken"_s, {1});
        row("no column that is not shown", u"seven"_s, {});
        row("no word across two columns", u"garden0http"_s, {});
        row("one word that is nowhere", u"garden nowhere"_s, {});
        row("sharp s and its capitals", u"STRASSE"_s, {2});
        row("an accent as a letter of its own", u"caf\u00c9"_s, {3});
        row("signs are signs", u"&"_s, {1});
        row("blanks only", u"   "_s, {0, 1, 2, 3});
    }

    void finds()
    {
        const auto [words, rows] = testRow<QString, QList<int>>();
        const Filtered filtered;
        QCOMPARE(filtered.Type(words), rows);
        QCOMPARE(filtered.program.Counter(), u"[ %1 link(s) in current view ]"_s.arg(rows.size()));
        // Letter by letter, as it is typed, and back again.
        QCOMPARE(filtered.Type({}), (QList<int>{0, 1, 2, 3}));
        for (qsizetype length = 1; length < words.size(); ++length)
            (void)filtered.Type(words.left(length));
        QCOMPARE(filtered.Type(words), rows);
    }

    /// The links are meant that were chosen when the dialog opened.
    void goesOnBehindADialog()
    {
        const Filtered filtered;
        QCOMPARE(filtered.Type(u"ann"_s), QList<int>{0});
        inNextDialog([&](QDialog& dialog) {
            filtered.Type(u"nowhere"_s);
            controlOf<QListWidget>(dialog, u"lstSelections"_s).setCurrentRow(4);
            clickIn(dialog, u"buttonSelection_0"_s);
        });
        filtered.program.Trigger(u"LinkMenuElement_9"_s);
        const auto link = filtered.program.opened->OpenRecordset(
            u"SELECT Status FROM tblLinkList WHERE ID = %1"_s.arg(filtered.program.ids[0]));
        QCOMPARE(link->Field(u"Status"_s).toInt(), 4);
    }

    /// A repair that failed leaves the window without its database.
    void databaseIsGone()
    {
        const Filtered filtered;
        modBrambury::CloseProcessDatabase();
        filtered.Box().setText(u"ann"_s);
        QTRY_COMPARE(filtered.program.Find<QLabel>(u"lblEmptyTitle"_s).text(),
                     u"No link in this view matches the filter"_s);
    }

    void keysAndEmptyView()
    {
        Filtered filtered;
        clsTestWindow& program = filtered.program;
        QVERIFY(QTest::qWaitForWindowActive(&program.Window()));
        QTest::keyClick(&program.Window(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(filtered.Box().hasFocus());
        QTest::keyClicks(&filtered.Box(), u"nowhere"_s);
        QTRY_COMPARE(filtered.Rows(), QList<int>());
        QVERIFY(program.Find<QLabel>(u"lblEmptyTitle"_s).isVisible());
        QVERIFY(program.Find<QLabel>(u"lblEmptyAdvice"_s).text().contains("Esc"_L1));
        program.Refused(u"LinkMenuElement_"_s, {1, 2, 4, 6, 7, 9}, u"There are no links available."_s);
        QTest::keyClick(&filtered.Box(), Qt::Key_Escape);
        QTRY_COMPARE(filtered.Rows().size(), 4);
        QVERIFY(filtered.Box().text().isEmpty());

        QTest::keyClicks(&filtered.Box(), u"garden"_s);
        QTRY_COMPARE(filtered.Rows().size(), 2);
        QTest::keyClick(&filtered.Box(), Qt::Key_Down);
        QVERIFY(program.Grid().hasFocus());
        QTest::keyClick(&program.Grid(), Qt::Key_Escape);
        QTRY_COMPARE(filtered.Rows().size(), 4);

        // In the list rows count, whichever cell has been clicked, and names are typed.
        for (const auto& [key, row] : {std::pair(Qt::Key_End, 3), {Qt::Key_Home, 0}, {Qt::Key_B, 1}, {Qt::Key_S, 2}}) {
            program.Grid().setCurrentIndex(program.Grid().currentIndex().siblingAtColumn(clsLinkModel::Status));
            QTest::keyClick(&program.Grid(), key);
            QCOMPARE(program.Grid().currentIndex().row(), row);
            program.Grid().keyboardSearch({}); // what is typed next is another name
        }
    }

    void commandsKeepToTheRows()
    {
        const Filtered filtered;
        const clsTestWindow& program = filtered.program;
        program.Grid().selectAll();
        QCOMPARE(filtered.Type(u"garden"_s), (QList<int>{0, 1}));
        // What was selected and is left out is selected no more.
        QCOMPARE(program.Grid().ChosenLinks(), (std::vector<qint64>{program.ids[0], program.ids[1]}));
        program.Grid().clearSelection();
        program.Trigger(u"LinkMenuElement_4"_s);
        program.Trigger(u"LinkMenuElement_7"_s);
        (void)filtered.Type({});
        for (int link = 0; link < 4; ++link)
            QCOMPARE(program.Style(link, M::TestQueue), link < 2 ? u"Checked"_s : QString());
        // A run's link that is left out is no error, and its row is there again with what has changed.
        (void)filtered.Type(u"garden"_s);
        QVERIFY(!program.Grid().MakeCurrent(program.ids[3]));
        program.opened->UpdateRecords(u"tblLinkList"_s, {program.ids[3]}, {{u"Title"_s, u"Garden Cafe"_s}});
        program.Grid().Links().RefreshLink(program.ids[3]);
        QCOMPARE(filtered.Rows(), (QList<int>{0, 1}));
        QCOMPARE(filtered.Type(u"garden cafe"_s), QList<int>{3});
    }

    void refillKeepsTheFilter()
    {
        const Filtered filtered;
        const clsTestWindow& program = filtered.program;
        QCOMPARE(filtered.Type(u"garden"_s), (QList<int>{0, 1}));
        program.Grid().MakeCurrent(program.ids[1]);
        program.Trigger(u"LinkMenuElementSub_10"_s); // by status
        QTRY_COMPARE(filtered.Rows(), (QList<int>{0, 1}));
        QCOMPARE(program.Grid().CurrentLink(), program.ids[1]);
        program.ShowTab(4);
        QTRY_COMPARE(filtered.Rows(), QList<int>{1});
        program.ShowTab(0);
        QTRY_COMPARE(filtered.Rows(), (QList<int>{0, 1}));
        // A column that is shown now is looked at too, and no longer when it is hidden.
        program.Grid().setColumnHidden(M::Email, false);
        QTRY_COMPARE(filtered.Rows(), (QList<int>{0, 2, 1})); // in their order
        program.Grid().setColumnHidden(M::Email, true);
        QTRY_COMPARE(filtered.Rows(), (QList<int>{0, 1}));
    }
};

QTEST_MAIN(tst_filter)
#include "tst_filter.moc"
