// SPDX-License-Identifier: GPL-3.0-or-later
// Printing from the window, on a computer without a printer: preview, PDF files, the set-up that is remembered.
#include "main_window_fixture.h"
#include "platform/widgets/modWidgets.h"
#include "ui/main/clsResultsBox.h"

#include <QPageSetupDialog>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The program with the real printer, in front of which a script does one deed a dialog.
struct Office
{
    clsTestWindow program;
    std::unique_ptr<clsPrinter> printer =
        modWidgets::MakePrinter(&program.settings, [this] { return program.windows.DialogOwner(); });
    QString pdf = program.installation.Folder() + u"/Site Report.pdf"_s;

    Office()
    {
        program.Fill();
        modBrambury::Platform().Printer = printer.get();
        program.Open();
    }
    /// Chooses an entry of the File menu. @param deeds  one for each new modal dialog, in order.
    void Do(int entry, QList<std::function<void(QWidget&)>> deeds)
    {
        QPointer<QWidget> seen;
        QTimer look;
        look.callOnTimeout([&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog || dialog == seen || dialog->objectName() == u"clsPrintProgress" || deeds.isEmpty())
                return;
            seen = dialog;
            // Not in this timer's own turn, in which it would be still during a nested dialog.
            QTimer::singleShot(0, dialog, [deed = deeds.takeFirst(), dialog] { deed(*dialog); });
        });
        look.start(5);
        program.Trigger(u"ServicesMenuElement_%1"_s.arg(entry));
        QVERIFY(deeds.isEmpty());
    }
    QString Info() const
    {
        QProcess reader;
        reader.start(u"pdfinfo"_s, {pdf});
        return reader.waitForFinished() ? QString::fromUtf8(reader.readAllStandardOutput()).simplified() : QString();
    }
};

void press(QWidget& dialog, int button)
{
    clickIn(dialog, u"Command1_%1"_s.arg(button));
}
} // namespace

class tst_printing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // A printer of the machine that runs the test must not get the pages.
        qputenv("CUPS_SERVER", "/nowhere/cups.sock");
    }

    void previewThenPdf()
    {
        Office office;
        office.program.dialogs.filesToChoose << office.pdf;
        office.Do(7, {[&](QWidget& dialog) {
                          QCOMPARE(controlOf<QLabel>(dialog, u"lblCurrentSite"_s).text(), u"Shop"_s);
                          press(dialog, 0);
                      },
                      [](QWidget& preview) {
                          QCOMPARE(controlOf<QLabel>(preview, u"lblPage"_s).text(), u" Page 1 of 1 "_s);
                          controlOf<QAction>(preview, u"SavePdf"_s).trigger();
                      }});
        QVERIFY(office.Info().contains("Pages: 1 "_L1));
    }

    /// Given up while the pages are made, then made, looked at and left: nothing is written.
    void longPreview()
    {
        Office office;
        clsTestInstallation::AddLinks(*office.program.opened, u"Shop"_s, 2000);
        int made = 0;
        QTimer cancel;
        cancel.callOnTimeout([&] {
            QWidget* window = QApplication::activeModalWidget();
            if (!window || window->objectName() != u"clsPrintProgress")
                return;
            cancel.stop();
            window->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        });
        cancel.start(1);
        office.Do(7, {[&](QWidget& dialog) {
                          press(dialog, 1);
                          made += cancel.isActive() ? 1 : 0;
                          press(dialog, 1);
                          press(dialog, 2);
                      },
                      [&](QWidget& preview) {
                          for (const auto& step : {u"Next"_s, u"Next"_s, u"Previous"_s, u"ZoomIn"_s})
                              controlOf<QAction>(preview, step).trigger();
                          QVERIFY(controlOf<QLabel>(preview, u"lblPage"_s).text().startsWith(" Page 2 of "_L1));
                          controlOf<QAction>(preview, u"Close"_s).trigger();
                      }});
        QCOMPARE(made, 0);
        QVERIFY(!QFile::exists(office.pdf));
    }

    void withoutPrinter()
    {
        Office office;
        for (const clsDialogs::Answer answer : {clsDialogs::Answer::No, clsDialogs::Answer::Yes})
            office.program.dialogs.Expect(
                u"There is no printer on this computer.\r\nDo you want to save the report as a PDF file instead?"_s,
                answer);
        office.program.dialogs.filesToChoose << office.pdf;
        office.Do(7, {[](QWidget& dialog) {
                      controlOf<QCheckBox>(dialog, u"chkPreview"_s).setChecked(false);
                      press(dialog, 0);
                      press(dialog, 0);
                  }});
        QVERIFY(office.Info().contains("Pages: 1 "_L1));
        QCOMPARE(office.program.Setting(u"Print"_s, u"Preview"_s), u"No"_s);

        office.program.Find<clsResultsBox>(u"txtResults"_s).Append(u"Done."_s, 0);
        office.program.dialogs.Expect(
            u"There is no printer on this computer.\r\nDo you want to save the results log as a PDF file instead?"_s,
            clsDialogs::Answer::Yes);
        office.program.dialogs.filesToChoose << office.pdf;
        office.program.Find<QAbstractButton>(u"ResultButtons_1"_s).click();
        QVERIFY(office.Info().contains("Title: Results Log "_L1));
    }

    void setUpIsRemembered()
    {
        Office office;
        office.program.Set(u"Print"_s, u"MarginLeft"_s, u"90000"_s); // no such paper
        office.program.Set(u"Print"_s, u"PaperWidth"_s, u"420"_s);
        office.program.Set(u"Print"_s, u"PaperHeight"_s, u"595"_s);
        office.Do(8, {[](QWidget& dialog) {
                      QVERIFY(qobject_cast<QPageSetupDialog*>(&dialog));
                      controlOf<QRadioButton>(dialog, u"landscape"_s).click();
                      static_cast<QDialog&>(dialog).accept();
                  }});
        QCOMPARE(office.program.Setting(u"Print"_s, u"Orientation"_s), u"Landscape"_s);
        QVERIFY(office.program.Setting(u"Print"_s, u"MarginLeft"_s).toDouble() < 60);
        office.printer = modWidgets::MakePrinter(&office.program.settings);
        modBrambury::Platform().Printer = office.printer.get();
        office.program.Set(u"Print"_s, u"Preview"_s, u"No"_s);
        office.printer->SetOutputFile(office.pdf);
        office.Do(7, {[](QWidget& dialog) { press(dialog, 0); }});
        QVERIFY2(office.Info().contains("Page size: 595 x 420 pts"_L1), qPrintable(office.Info()));
    }
};

QTEST_MAIN(tst_printing)
#include "tst_printing.moc"
