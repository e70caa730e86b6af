// SPDX-License-Identifier: GPL-3.0-or-later
// The small windows, the pictures, and the boxes, file dialogs, printer and browser behind the platform, used as a user
// would: by keys and mouse.
#include "platform/clsBrowser.h"
#include "platform/clsError.h"
#include "platform/clsPrinter.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "support/dialogs.h"
#include "support/fakes.h"
#include "support/faults.h"
#include "support/table.h"
#include "ui/main/clsLogo.h"
#include "ui/main/frmErrorMessage.h"
#include "ui/parts/modIcons.h"
#include "ui/records/frmSetTest.h"

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using Buttons = clsDialogs::Buttons;
using Choice = frmSetTest::Choice;
using Icon = clsDialogs::Icon;

namespace
{
/// The picture as it looks without colours on white paper.
QImage grey(const QIcon& icon, int side)
{
    QImage paper(side, side, QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter painter(&paper);
    painter.drawPixmap(0, 0, icon.pixmap(QSize(side, side), 1.0));
    painter.end();
    return paper.convertToFormat(QImage::Format_Grayscale8);
}

/// Share of the pixels of a picture that are as `wanted` says.
double share(const QImage& image, const std::function<bool(QPoint)>& wanted)
{
    int found = 0;
    for (int place = 0; place < image.width() * image.height(); ++place)
        found += wanted({place % image.width(), place / image.width()}) ? 1 : 0;
    return static_cast<double>(found) / (image.width() * image.height());
}

} // namespace

/// Takes the addresses that would go to the browser.
class urlCatcher final : public QObject
{
    Q_OBJECT

public:
    QStringList opened;
    Q_INVOKABLE void Take(const QUrl& url) { opened << url.toString(); }
};

class tst_small_windows : public QObject
{
    Q_OBJECT

private:
    fakeWindows m_windows;
    QTemporaryDir m_folder;
    const std::unique_ptr<clsDialogs> m_dialogs = modWidgets::MakeDialogs({});

    Answer Ask(Buttons buttons) const { return m_dialogs->MsgBox(u"?"_s, buttons, Icon::Question, u"Brambury"_s); }

private Q_SLOTS:
    void initTestCase()
    {
        // A printer of the machine that runs the test must not get the pages.
        qputenv("CUPS_SERVER", "/nowhere/cups.sock");
        modBrambury::LoadStatusNames();
        modBrambury::State().Platform.Windows = &m_windows;
        QVERIFY(m_folder.isValid());
    }

    void StatusesToTestByKeys()
    {
        const QList<std::tuple<Qt::Key, Qt::KeyboardModifiers, Choice>> answers{
            {Qt::Key_Return, {}, Choice::Select},
            {Qt::Key_U, Qt::AltModifier, Choice::Unselect},
            {Qt::Key_C, Qt::AltModifier, Choice::Cancel},
            {Qt::Key_Escape, {}, Choice::Cancel}};
        for (const auto& [key, with, choice] : answers) {
            frmSetTest dialog;
            inNextDialog([&, key = key, with = with](QDialog& shown) {
                QTest::keyClick(shown.focusWidget(), Qt::Key_Space); // the first
                controlOf<QCheckBox>(shown, u"SelectAllSites"_s).click();
                QTest::keyClick(&shown, Qt::Key_F1);
                QVERIFY(shown.isVisible());
                QTest::keyClick(&shown, key, with);
            });
            dialog.exec();
            QCOMPARE(dialog.Chosen(), choice);
            QVERIFY(dialog.StatusToTest(0) && dialog.SelectAllSites());
            // What it begins with.
            QVERIFY(!dialog.StatusToTest(1) && dialog.StatusToTest(2) && dialog.StatusToTest(3));
        }
        QCOMPARE(m_windows.calls, QStringList(4, u"help 112"_s));
    }

    void ErrorDetailsGrowAndShrinkExactly()
    {
        frmErrorMessage window(clsWindows::ErrorIcon::Critical,
                               u"An error has occured in this application.\r\n\r\nIf this error persists, exit."_s,
                               u"Error Number: \t3031\r\nSource:     \tDAO"_s);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto& details = controlOf<QPlainTextEdit>(window, u"txtDetails"_s);
        const auto& toggle = controlOf<QPushButton>(window, u"errorButton_1"_s);
        const auto& label = controlOf<QLabel>(window, u"lblMessage"_s);
        const QSize first = window.size();
        for (int round = 0; round < 3; ++round) {
            QVERIFY(!details.isVisible());
            clickIn(window, u"errorButton_1"_s);
            QCoreApplication::processEvents();
            QVERIFY(details.isVisible());
            QVERIFY(window.height() >= first.height() + details.height());
            // What was above stays above, unsqueezed.
            QVERIFY(label.height() >= label.sizeHint().height());
            QVERIFY(details.geometry().top() > toggle.geometry().bottom());
            details.selectAll();
            QCOMPARE(details.textCursor().selectedText(), u"Error Number: \t3031\u2029Source:     \tDAO"_s);
            QTest::keyClick(&window, Qt::Key_D, Qt::AltModifier);
            QTRY_COMPARE(toggle.text(), u"&Details >"_s);
            QCoreApplication::processEvents();
            QCOMPARE(window.size(), first);
        }
        const frmErrorMessage other(clsWindows::ErrorIcon::Exclamation, u"x"_s, u"y"_s);
        QVERIFY(controlOf<QLabel>(other, u"imgError"_s).pixmap().toImage() !=
                controlOf<QLabel>(window, u"imgError"_s).pixmap().toImage());
    }

    void MessageBoxAnswers_data()
    {
        const testTable<Buttons, int, Answer> row; // buttons, key (0: the close box), answer
        row("OK, Esc", Buttons::OK, Qt::Key_Escape, Answer::OK);
        row("Yes/No, Esc", Buttons::YesNo, Qt::Key_Escape, Answer::No);
        row("Yes/No, close box", Buttons::YesNo, 0, Answer::No);
        row("Yes/No, Enter is the safe answer", Buttons::YesNo, Qt::Key_Return, Answer::No);
        row("Yes/No, Y", Buttons::YesNo, Qt::Key_Y, Answer::Yes);
        row("Yes/No/Cancel, Esc", Buttons::YesNoCancel, Qt::Key_Escape, Answer::Cancel);
        row("Yes/No/Cancel, N", Buttons::YesNoCancel, Qt::Key_N, Answer::No);
        row("Retry/Cancel, close box", Buttons::RetryCancel, 0, Answer::Cancel);
        row("Retry/Cancel, R", Buttons::RetryCancel, Qt::Key_R, Answer::Retry);
    }
    void MessageBoxAnswers()
    {
        const auto [buttons, key, answer] = testRow<Buttons, int, Answer>();
        inNextDialog([key = key](QDialog& box) {
            if (key == 0)
                box.close();
            else
                QTest::keyClick(&box, static_cast<Qt::Key>(key));
        });
        QCOMPARE(Ask(buttons), answer);
    }

    void MessageBoxShowsRecordValuesAsText()
    {
        QWidget owner;
        owner.show();
        const auto dialogs = modWidgets::MakeDialogs([&] { return &owner; });
        inNextDialog<QMessageBox>([&](QMessageBox& box) {
            box.reject(); // first: a failure must not leave it open
            const auto& label = controlOf<QLabel>(box, u"qt_msgbox_label"_s);
            QCOMPARE(label.textFormat(), Qt::PlainText);
            QCOMPARE(label.text(), u"Settings for site \"<b>Berry</b>\"\ncould not be retrieved."_s);
            QVERIFY(label.textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
            QCOMPARE(box.windowTitle(), u"URL Failed"_s);
            QCOMPARE(box.parentWidget(), &owner);
        });
        (void)dialogs->MsgBox(u"Settings for site \"<b>Berry</b>\"\r\ncould not be retrieved."_s, Buttons::OK,
                              Icon::Exclamation, u"URL Failed"_s);
    }

    void EndingClosesDialogsNewestFirst()
    {
        QStringList returned;
        const auto note = [&](const QString& name, bool cancelled) {
            returned << name + (cancelled ? u" cancelled"_s : u" answered"_s);
        };
        // Window, box and file dialog, each opened from the one below.
        frmSetTest window;
        inNextDialog<frmSetTest>([&](frmSetTest&) {
            inNextDialog<QMessageBox>([&](QMessageBox&) {
                inNextDialog<QFileDialog>([&](QFileDialog&) { modWidgets::CloseDialogs(); });
                note(u"file"_s, ErrorOf([&] { (void)m_dialogs->SaveFile({}); }) == clsError::DialogCancelled);
                note(u"late"_s,
                     Ask(Buttons::YesNoCancel) == Answer::Cancel); // asked for while everything ends: not shown
            });
            note(u"box"_s, Ask(Buttons::YesNoCancel) == Answer::Cancel);
        });
        window.exec();
        note(u"window"_s, window.Chosen() == Choice::Cancel);
        QCOMPARE(returned.join(u", "_s), u"file cancelled, late cancelled, box cancelled, window cancelled"_s);
        QCOMPARE(Ask(Buttons::YesNo), Answer::No);
        QCOMPARE(ErrorOf([&] { (void)m_dialogs->OpenFile({}); }), clsError::DialogCancelled);

        modWidgets::AllowDialogs();
        inNextDialog([](QDialog& box) { QTest::keyClick(&box, Qt::Key_Y); });
        QCOMPARE(Ask(Buttons::YesNo), Answer::Yes);
    }

    void SaveDialog()
    {
        const clsDialogs::FileRequest request{
            u"Save To"_s, u"Log File (*.log)|*.log|Pages (*.htm,*.html)|*.htm,*.html|All (*.*)|*.*"_s, u"Results.log"_s,
            m_folder.path(), false};
        inNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            auto* name = dialog.findChild<QLineEdit*>();
            const QString offered = name->text();
            name->setText(u"Monday"_s);
            QTest::keyClick(name, Qt::Key_Return);
            QCOMPARE(offered, u"Results.log"_s);
            QCOMPARE(dialog.directory().path(), m_folder.path());
            // Both suffixes count, and a file without one is a file.
            QCOMPARE(dialog.nameFilters().mid(1),
                     QStringList({u"Pages (*.htm,*.html) (*.htm *.html)"_s, u"All (*.*) (*)"_s}));
            const auto* types = dialog.findChild<QComboBox*>(u"fileTypeCombo"_s);
            QCOMPARE(types->itemText(1), u"Pages (*.htm,*.html)"_s);
        });
        QCOMPARE(m_dialogs->SaveFile(request), m_folder.filePath(u"Monday.log"_s));
        // The folder is that of the last time.
        inNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            const QString start = dialog.directory().path();
            QTest::keyClick(&dialog, Qt::Key_Escape);
            QCOMPARE(start, m_folder.path());
        });
        QCOMPARE(ErrorOf([&] { (void)m_dialogs->SaveFile({}); }), clsError::DialogCancelled);
        // Everything chosen: nothing is hung onto the name.
        inNextDialog<QFileDialog>([](QFileDialog& dialog) {
            dialog.selectNameFilter(u"All (*.*)"_s);
            Q_EMIT dialog.filterSelected(u"All (*.*)"_s);
            dialog.findChild<QLineEdit*>()->setText(u"Monday"_s);
            static_cast<QDialog&>(dialog).accept();
        });
        QCOMPARE(m_dialogs->SaveFile(request), m_folder.filePath(u"Monday"_s));
    }

    void OverwriteIsAskedOnlyWhenWanted()
    {
        const QString path = m_folder.filePath(u"old.log"_s);
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        for (const bool confirm : {false, true}) {
            bool asked = false;
            const auto question = inNextDialog<QMessageBox>([&](QMessageBox& box) {
                asked = true;
                QTest::keyClick(&box, Qt::Key_Y);
            });
            inNextDialog<QFileDialog>(
                [](QFileDialog& dialog) { QTest::keyClick(dialog.findChild<QLineEdit*>(), Qt::Key_Return); });
            QCOMPARE(m_dialogs->SaveFile(
                         {u"Save To"_s, u"Log File (*.log)|*.log"_s, u"old.log"_s, m_folder.path(), confirm}),
                     path);
            QCOMPARE(asked, confirm);
            delete question;
        }
    }

    void PrintoutLosesNothing()
    {
        const QString pdf = m_folder.filePath(u"log.pdf"_s);
        const auto printer = modWidgets::MakePrinter();
        printer->SetOutputFile(pdf);
        printer->StartDoc(u"Results Log"_s, 1008, 1008);
        printer->SetFont(u"Arial"_s, 12, true);
        printer->PrintLine(u"Results Log"_s);
        printer->PrintLine({});
        printer->SetFont(u"Arial"_s, 10, false);
        for (int i = 1; i <= 300; ++i)
            printer->PrintLine(u"  line %1 of the log"_s.arg(i));
        printer->PrintLine(u"wide "_s + QString(110, u'W') + u" end"_s); // wider than the paper
        printer->EndDoc();

        QProcess process;
        process.start(u"pdftotext"_s, {u"-layout"_s, pdf, u"-"_s});
        QVERIFY(process.waitForFinished());
        const QString text = QString::fromUtf8(process.readAllStandardOutput());
        // A4 or Letter has 9.6 to 10.3 inches of room: 56 to 65 lines of 10 points.
        QVERIFY(text.count(u'\f') >= 5 && text.count(u'\f') <= 6);
        qsizetype place = text.indexOf(u"Results Log"_s);
        QVERIFY(place >= 0);
        for (int i = 1; i <= 300; ++i) {
            place = text.indexOf(u"line %1 of the log"_s.arg(i), place);
            QVERIFY2(place >= 0, qPrintable(u"line %1 is missing or in the wrong place"_s.arg(i)));
        }
        QCOMPARE(text.count(u'W'), 110);
        QVERIFY(text.contains(u"end"_s));
    }

    void PrinterFailures()
    {
        const auto printer = modWidgets::MakePrinter();
        const auto start = [&] { printer->StartDoc(u"x"_s, 1008, 1008); };
        QCOMPARE(ErrorOf(start), clsError::DeviceUnavailable);
        QCOMPARE(ErrorOf([&] { printer->PrintLine(u"x"_s); }), clsError::ObjectNotSet);
        printer->SetOutputFile(m_folder.filePath(u"no such folder/log.pdf"_s));
        QCOMPARE(ErrorOf(start), clsError::PathNotFound);
        // The same object still prints when the cause is gone, also over a document that was left open.
        const QString pdf = m_folder.filePath(u"again.pdf"_s);
        printer->SetOutputFile(pdf);
        start();
        start();
        printer->PrintLine(u"x"_s);
        printer->EndDoc();
        QVERIFY(QFileInfo(pdf).size() > 500);
    }

    void BrowserAddresses()
    {
        const QStringList schemes{u"http"_s, u"https"_s, u"file"_s, u"mailto"_s, u"javascript"_s, {}};
        urlCatcher catcher;
        for (const QString& scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, &catcher, "Take");
        const auto browser = modWidgets::MakeBrowser();
        const auto opened = [&](const QString& address) {
            catcher.opened.clear();
            const bool open = browser->Open(address) == clsBrowser::Outcome::Opened;
            return open == catcher.opened.isEmpty() ? u"something else than it says"_s : catcher.opened.join(u' ');
        };
        for (const auto& address : {u"http://www.berry.localhost:28480/links.htm?a=1"_s, u"file:///tmp/MyLinks.htm"_s})
            QCOMPARE(opened(address), address);
        QCOMPARE(opened(u"HTTPS://berry.example/"_s), u"https://berry.example/"_s);
        QCOMPARE(opened(u"/tmp/My Links.htm"_s), u"file:///tmp/My Links.htm"_s);
        // A file on another machine, mail, a script, no scheme, an option of the launcher, no host, nothing.
        for (const char* other : {"file://server/share/x.htm", "mailto:a@example.org", "javascript:alert(1)",
                                  "www.berry.example", "--help", "http://", ""})
            QCOMPARE(opened(QLatin1String(other)), QString());
        for (const QString& scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }

    void EveryPictureIsDrawn()
    {
        const QStringList files = QDir(u":/brambury/icons"_s).entryList();
        QVERIFY(files.size() > 40);
        for (const QString& file : files) {
            for (const auto& [side, scale] : {std::pair(16, 1), {16, 2}, {24, 1}, {32, 2}}) {
                const QImage image =
                    modIcons::Picture(file.section(u'.', 0, 0)).pixmap(QSize(side, side), scale).toImage();
                QCOMPARE(image.size(), QSize(side, side) * scale);
                // A file that does not parse leaves nothing, one with a wrong view box a speck or a full square.
                const double drawn = share(image, [&](QPoint at) { return qAlpha(image.pixel(at)) > 32; });
                QVERIFY2(drawn > 0.12 && drawn < 0.95, qPrintable(file));
            }
        }
    }

    /// Those that stand in one column, where they are told apart.
    void PicturesDifferWithoutColour()
    {
        for (const char* column :
             {"status-offer status-pending status-active status-broken status-inactive status-declined",
              "ball-green ball-yellow ball-red", "checked yellow-flag", "notes no-notes",
              "error-critical error-exclamation box-question box-information"}) {
            QList<QImage> before;
            for (const QString& name : QString::fromLatin1(column).split(u' ')) {
                const QImage image = grey(modIcons::Picture(name), 16);
                for (const QImage& other : before)
                    QVERIFY2(share(image,
                                   [&](QPoint at) {
                                       return qAbs(qGray(image.pixel(at)) - qGray(other.pixel(at))) > 64;
                                   }) > 0.12,
                             qPrintable(name));
                before << image;
            }
        }
    }

    void PicturesFollowThePalette()
    {
        const QPalette before = QApplication::palette();
        const QIcon icon = modIcons::Icon(u"link-new"_s);
        // The lines must stand out from the window they are drawn on, with the icon made before the change.
        for (const QColor window : {Qt::white, Qt::black}) {
            QApplication::setPalette(QPalette(window));
            const QImage image = icon.pixmap(QSize(48, 48), 1.0).toImage();
            QApplication::setPalette(before);
            const double lines = share(image, [&](QPoint at) {
                return qAlpha(image.pixel(at)) == 255 && qAbs(qGray(image.pixel(at)) - qGray(window.rgb())) > 150;
            });
            QVERIFY2(lines > 0, qPrintable(window.name()));
        }
    }

    void LogoMovesWhileRunning()
    {
        clsLogo logo;
        logo.resize(logo.sizeHint());
        const QImage rest = logo.grab().toImage();
        logo.Start();
        QTRY_VERIFY(logo.grab().toImage() != rest);
        logo.Stop();
        QCOMPARE(logo.grab().toImage(), rest);
    }
};

QTEST_MAIN(tst_small_windows)
#include "tst_small_windows.moc"
