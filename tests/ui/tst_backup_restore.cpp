// SPDX-License-Identifier: GPL-3.0-or-later
// Tools: backup, restore, compact and repair as the user meets them, and the restart that follows.
#include "main_window_fixture.h"
#include "shell/modCommonFunctions.h"

#include <malloc.h>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;

namespace
{
const QString RepairQuestion = u"Brambury is about to repair any problems in your databases.\r\n\r\n"
                               "Would you like to backup your databases before repairing?"_s;
const QString Restarts = u"Brambury will now restart."_s;

qsizetype OpenFiles()
{
    return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}
} // namespace

class tst_backup_restore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void BackupThenRestart()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        const QString folder = program.installation.Folder();
        bool looked = false;
        inNextDialog([&](QDialog& dialog) {
            auto& to = controlOf<QLineEdit>(dialog, u"ToPath"_s);
            auto& from = controlOf<QLineEdit>(dialog, u"FromPath"_s);
            auto& folders = controlOf<QListWidget>(dialog, u"Dir1"_s);
            QCOMPARE(to.text(), folder + u"/Backup"_s);
            QCOMPARE(from.text(), program.installation.DataPath());
            QVERIFY(from.isReadOnly() && !to.isReadOnly());
            // The folder is not there yet: the list shows the one above it. Enter goes into a folder and starts
            // nothing.
            folders.setCurrentItem(folders.findItems(u"Data"_s, Qt::MatchExactly).value(0));
            QTest::keyClick(&folders, Qt::Key_Return);
            QCOMPARE(to.text(), folder + u"/Data"_s);
            program.dialogs.Expect(
                u"You cannot backup from the same directory.  Please select another destination path."_s);
            auto& start = controlOf<QPushButton>(dialog, u"buttonBR"_s);
            start.click();
            // The other mode takes the chosen folder along.
            clickIn(dialog, u"SSRibbon1_1"_s);
            QVERIFY(to.isReadOnly() && !from.isReadOnly());
            QCOMPARE(to.text(), program.installation.DataPath());
            QCOMPARE(from.text(), folder + u"/Data"_s);
            clickIn(dialog, u"SSRibbon1_0"_s);
            // An emptied box once froze the window.
            to.selectAll();
            QTest::keyClick(&to, Qt::Key_Delete);
            to.setText(folder + u"/Backup"_s);
            program.dialogs.Expect(u"Backup complete."_s);
            program.dialogs.Expect(Restarts, {}, u"Backup/Restore Completed"_s);
            looked = true;
            QTimer::singleShot(0, &start, &QPushButton::click); // twice, as with a double click
            start.click();
        });
        program.Trigger(u"ToolsMenuElement_2"_s);
        QVERIFY(looked);
        QTRY_COMPARE(program.closed, 1);
        QCOMPARE(modBrambury::NextStep(), modBrambury::Next::Restart);
        QVERIFY(QFile::exists(folder + u"/Backup/Bramdat.mdb"_s));
        program.windows.Discard();
        program.Open();
        QVERIFY(!modBrambury::State().Settings.LastBackup.isEmpty());
    }

    /// The reminder at the end leads to the same window, and to no restart.
    void BackupAtTheEnd()
    {
        clsTestWindow program;
        program.Fill();
        program.Set(u"General"_s, u"AutoBackup"_s, u"Yes"_s);
        program.Open();
        program.dialogs.Expect(u"There have been no backups made of your database.\r\n\r\n"
                               "Do you wish to backup at this time?"_s,
                               Answer::Yes);
        program.dialogs.Expect(u"Backup complete."_s);
        inNextDialog([](QDialog& dialog) { clickIn(dialog, u"buttonBR"_s); });
        program.Window().close();
        QTRY_COMPARE(program.closed, 1);
        QCOMPARE(modBrambury::NextStep(), modBrambury::Next::End);
        QVERIFY(!modBrambury::State().Database);
        QVERIFY(!program.Setting(u"General"_s, u"LastBackup"_s).isEmpty());
    }

    /// The mistake of last week undone: what an end has kept is chosen from the list, by keys alone.
    void DatedBackupFromTheList()
    {
        clsTestWindow program;
        program.Set(u"Backup"_s, u"KeepDated"_s, u"Yes"_s);
        program.Fill();
        program.Open();
        program.Close();
        const QDir dated(program.installation.Folder() + u"/Backup/Dated"_s);
        QCOMPARE(dated.entryList(QDir::Files).size(), 1);
        const QString kept = dated.filePath(dated.entryList(QDir::Files)[0]);
        clsTestInstallation::AddLink(*program.opened, u"Shop"_s, u"Mistake"_s);
        program.Open();
        QCOMPARE(program.Counter(), u"[ 5 link(s) in current view ]"_s);
        const auto changed = [](const QString& path) {
            const QDateTime time = QFileInfo(path).lastModified();
            return modCommonFunctions::LongDate(time) + u"  "_s + modCommonFunctions::MediumTime(time);
        };
        program.dialogs.Expect(u"Replace current database %1\r\nwith last backup %2"_s.arg(
                                   changed(program.installation.DatabasePath()), changed(kept)),
                               Answer::Yes, u"Restore Database"_s);
        program.dialogs.Expect(u"Restore complete."_s);
        program.dialogs.Expect(Restarts, {}, u"Backup/Restore Completed"_s);
        inNextDialog([&](QDialog& dialog) {
            auto& list = controlOf<QTreeWidget>(dialog, u"lstDated"_s);
            QVERIFY(QTest::qWaitForWindowActive(&dialog) && !list.isVisible());
            QTest::keyClick(dialog.windowHandle(), Qt::Key_R, Qt::AltModifier);
            QTRY_VERIFY(list.isVisible());
            QTest::keyClick(dialog.windowHandle(), Qt::Key_A, Qt::AltModifier);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            QCOMPARE(list.selectedItems().size(), 1);
            QCOMPARE(list.selectedItems()[0]->text(2) + u'/' + list.selectedItems()[0]->text(3), u"1/6"_s);
            QCOMPARE(controlOf<QLineEdit>(dialog, u"FromPath"_s).text(), kept);
            QTest::keyClick(dialog.windowHandle(), Qt::Key_K, Qt::AltModifier);
            QTRY_COMPARE(program.Setting(u"Backup"_s, u"KeepDated"_s), u"No"_s);
            QTest::keyClick(dialog.windowHandle(), Qt::Key_S, Qt::AltModifier);
            QTRY_VERIFY(!dialog.isVisible());
        });
        program.Trigger(u"ToolsMenuElement_2"_s);
        program.windows.Discard();
        program.Open();
        QCOMPARE(program.Counter(), u"[ 4 link(s) in current view ]"_s);
    }

    /// Who cannot wait for the dated backup at the end closes the window once more.
    void DatedBackupIsStopped()
    {
        struct hurryingClock : fakeClock
        {
            mutable int asked = 0;
            std::chrono::milliseconds Monotonic() const override { return std::chrono::seconds(++asked); }
        } clock;
        clsTestWindow program;
        program.Set(u"Backup"_s, u"KeepDated"_s, u"Yes"_s);
        program.Fill();
        clsTestInstallation::AddLinks(*program.opened, u"Shop"_s, 3000);
        program.Open();
        modBrambury::State().Platform.Clock = &clock;
        const auto& stop = program.Find<QAction>(u"BigToolBar_3"_s);
        bool stayed = false;
        QTimer impatience;
        connect(&impatience, &QTimer::timeout, this, [&] {
            if (!stop.isEnabled())
                return;
            impatience.stop();
            QCloseEvent event; // as from the desktop: close() knows that it is closing already
            QCoreApplication::sendEvent(program.Window().windowHandle(), &event);
            stayed = !event.isAccepted() && program.Window().isVisible();
        });
        impatience.start(0);
        program.Window().close();
        QTRY_COMPARE(program.closed, 1);
        QVERIFY(stayed);
        QCOMPARE(QDir(program.installation.Folder() + u"/Backup/Dated"_s).entryList(QDir::Files), QStringList());
    }

    void CommandsWithoutDatabase()
    {
        clsTestWindow program;
        program.Fill();
        program.Open();
        // What an earlier compact has left is in the way of this one.
        QVERIFY(QFile::copy(program.installation.DatabasePath(), program.installation.DataPath() + u"_Bramdat.mdb"_s));
        int reports = 0;
        program.dialogs.Expect(RepairQuestion, Answer::No);
        for (const auto& command : {u"ToolsMenuElement_3"_s, u"SitesMenuElement_1"_s, u"LinkMenuElement_7"_s,
                                    u"ServicesMenuElement_2"_s, u"ToolsMenuElement_6"_s}) {
            const int before = reports;
            inNextDialog([&](QDialog& report) {
                ++reports;
                report.reject();
            });
            program.Trigger(command);
            QCOMPARE(reports, before + 1);
            QVERIFY(!modBrambury::State().Database);
        }
        QVERIFY(modBrambury::NextStep() == modBrambury::Next::End);
    }

    void RestartAHundredTimes()
    {
        clsTestWindow program;
        program.Fill();
        program.Set(u"General"_s, u"AutoBackup"_s, u"Yes"_s); // a restart is no end to be reminded at
        program.Open();
        qsizetype files = 0;
        qsizetype widgets = 0;
        std::size_t memory = 0;
        for (int i = 1; i <= 100; ++i) {
            program.Window().resize(700 + i % 20, 500);
            if (i % 20 == 0) { // now and then by the menu, with its work on the file
                program.dialogs.Expect(RepairQuestion, Answer::No);
                program.dialogs.Expect(u"The Brambury database was successfully repaired."_s);
                program.dialogs.Expect(Restarts, {}, u"Repair Completed"_s);
                program.Trigger(u"ToolsMenuElement_3"_s);
            } else {
                program.dialogs.Expect(Restarts);
                modBrambury::RestartProgram(u"Compact Completed"_s);
            }
            QTRY_COMPARE(program.closed, i);
            QCOMPARE(modBrambury::NextStep(), modBrambury::Next::Restart);
            program.windows.Discard();
            program.Open();
            QVERIFY(program.dialogs.expected.isEmpty());
            QCOMPARE(program.Window().width(), 700 + i % 20);
            QCOMPARE(program.Counter(), u"[ 4 link(s) in current view ]"_s);
            if (i == 20) {
                files = OpenFiles();
                widgets = QApplication::allWidgets().size();
                memory = mallinfo2().uordblks;
            }
        }
        QCOMPARE(OpenFiles(), files);
        QCOMPARE(QApplication::allWidgets().size(), widgets);
        const auto grown = static_cast<qint64>(mallinfo2().uordblks) - static_cast<qint64>(memory);
        QVERIFY2(grown < 80 * 1024, qPrintable(u"80 restarts took %1 bytes"_s.arg(grown)));
        modBrambury::State().Settings.AutoBackup = u"No"_s;
    }
};

QTEST_MAIN(tst_backup_restore)
#include "tst_backup_restore.moc"
