// SPDX-License-Identifier: GPL-3.0-or-later
// The export dialog from the menu: what each way out of it does, and that it begins anew each time.
#include "main_window_fixture.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

class tst_export_dialog : public QObject
{
    Q_OBJECT

private:
    clsTestWindow m_program;

    /// Exports by the menu; `work` is done in the dialog.
    void Export(const std::function<void(QDialog&)>& work)
    {
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                timer.stop();
                QVERIFY(dialog->findChild<QRadioButton*>(u"optExport_0"_s)->isChecked());
                QVERIFY(!dialog->findChild<QRadioButton*>(u"optExport_2"_s)->isVisible());
                QCOMPARE(dialog->findChild<QComboBox*>(u"PageStyle"_s)->currentText(), u"Classic page"_s);
                work(*dialog);
            }
        });
        timer.start(0);
        m_program.Trigger(u"ServicesMenuElement_5"_s);
    }

private Q_SLOTS:
    void EveryWayOut()
    {
        m_program.Fill();
        m_program.Open();
        const QString file = m_program.installation.Folder() + u"/table.csv"_s;
        const auto press = [](const QString& button) {
            return [button](QDialog& dialog) { dialog.findChild<QPushButton*>(button)->click(); };
        };
        Export([](QDialog& dialog) { dialog.close(); });
        Export(press(u"Command1_1"_s));
        Export([](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        QVERIFY(m_program.dialogs.fileRequests.isEmpty());

        m_program.dialogs.filesToChoose << file;
        m_program.dialogs.Expect(u"The file \"%1\" was created."_s.arg(file));
        Export([&](QDialog& dialog) {
            dialog.findChild<QRadioButton*>(u"optExport_1"_s)->click();
            dialog.findChild<QComboBox*>(u"PageStyle"_s)->setCurrentIndex(3);
            press(u"Command1_0"_s)(dialog);
        });
        QCOMPARE(m_program.disk->ReadFile(file),
                 QByteArray("Category,Title,HomePage,Description\r\nMiscellaneous,Partner 2,\"\",\"\"\r\n"));
        QVERIFY(m_program.dialogs.expected.isEmpty());
        QCOMPARE(
            clsTestInstallation::LinkField(*m_program.opened, m_program.ids.at(2), u"Exported"_s).toString().size(),
            10);
        m_program.Close();
    }
};

QTEST_MAIN(tst_export_dialog)
#include "tst_export_dialog.moc"
