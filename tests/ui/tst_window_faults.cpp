// SPDX-License-Identifier: GPL-3.0-or-later
// What the main window says when something outside it fails.
#include "main_window_fixture.h"
#include "ui/main/clsResultsBox.h"

#include <QFile>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_window_faults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Such an error is for Error.log alone, but a run that ends by it must not look like one that went well.
    void runWhoseDatabaseIsGone()
    {
        clsTestWindow program;
        program.Fill();
        program.opened->UpdateRecords(u"tblLinkList"_s, {program.ids.begin(), program.ids.end()},
                                      {{u"TestQueue"_s, true}});
        program.Open();
        const QString log = program.installation.Folder() + u"/Error.log"_s;
        QVERIFY(!QFile::exists(log));
        QVERIFY(QFile::remove(program.installation.DatabasePath()));
        for (int run = 0; run < 2; ++run) {
            program.dialogs.Expect(
                u"This did not go well:\r\n\r\nThe database file may not be written. (attempt to write a readonly "
                "database;  UPDATE tblLinkList SET Results = 0 WHERE SiteName = :SiteID)\r\n\r\nPlease remove the "
                "cause and try again.  Every error is recorded in "
                "%1."_s.arg(log));
            program.Trigger(u"ServicesMenuElement_2"_s);
            QVERIFY(program.dialogs.expected.isEmpty());
            QVERIFY(program.Find<clsResultsBox>(u"txtResults"_s)
                        .toPlainText()
                        .section(u'\n', -1)
                        .startsWith(u"END LINK TEST SESSION"_s));
        }
        QFile file(log);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("\"70\""));
    }
};

QTEST_MAIN(tst_window_faults)
#include "tst_window_faults.moc"
