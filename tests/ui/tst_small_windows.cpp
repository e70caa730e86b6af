// SPDX-License-Identifier: GPL-3.0-or-later
// The small windows, the pictures, and the boxes, file dialogs, printer and browser behind the platform, used as a user
// would: by keys and mouse.
#include "platform/clsBrowser.h"
#include "platform/clsError.h"
#include "platform/clsPrinter.h"
#include "platform/widgets/modWidgets.h"
#include "shell/modBrambury.h"
#include "support/fakes.h"
#include "ui/clsLogo.h"
#include "ui/frmErrorMessage.h"
#include "ui/frmSetTest.h"
#include "ui/modIcons.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <QtEndian>
#include <functional>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using Buttons = clsDialogs::Buttons;
using Choice = frmSetTest::Choice;

namespace
{
/// Runs `act` on the modal dialog that comes next, inside its own event loop. Deleting what it returns gives up.
template <typename Dialog> QPointer<QTimer> onNextDialog(const std::function<void(Dialog*)>& act)
{
    auto* timer = new QTimer(qApp);
    timer->setInterval(0);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible() || !dialog->isActiveWindow())
            return;
        timer->stop();
        timer->deleteLater();
        act(dialog);
    });
    timer->start();
    return timer;
}

/// The error number that `body` raises, 0 when it raises none.
qint32 numberRaised(const std::function<void()>& body)
{
    try {
        body();
    } catch (const clsError& error) {
        return error.Number();
    }
    return 0;
}

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

/// Share of pixels whose brightness differs clearly.
double difference(const QImage& one, const QImage& other)
{
    int different = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            different += qAbs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) > 64 ? 1 : 0;
    return static_cast<double>(different) / (one.width() * one.height());
}

const QStringList meaningfulPictures{
    u"status-offer"_s,    u"status-pending"_s, u"status-active"_s, u"status-broken"_s,  u"status-inactive"_s,
    u"status-declined"_s, u"ball-green"_s,     u"ball-yellow"_s,   u"ball-red"_s,       u"checked"_s,
    u"yellow-flag"_s,     u"notes"_s,          u"no-notes"_s,      u"error-critical"_s, u"error-exclamation"_s,
    u"box-question"_s,    u"box-information"_s};
const QStringList commandIcons{u"preview"_s,   u"send"_s,        u"test"_s,          u"stop"_s,        u"templates"_s,
                               u"options"_s,   u"help"_s,        u"site"_s,          u"site-new"_s,    u"site-edit"_s,
                               u"site-copy"_s, u"site-delete"_s, u"link-new"_s,      u"link-edit"_s,   u"link-delete"_s,
                               u"set-email"_s, u"set-test"_s,    u"change-status"_s, u"legend"_s,      u"save"_s,
                               u"print"_s,     u"clear"_s,       u"brambury"_s,      u"set-multiple"_s};
} // namespace

class tst_small_windows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void SetTestStartsWithActiveAndBroken();
    void SetTestChoice_data();
    void SetTestChoice();
    void SetTestHelpLeavesItOpen();
    void ErrorDetailsGrowAndShrinkExactly();
    void ErrorWindowKeys();
    void MessageBoxAnswers_data();
    void MessageBoxAnswers();
    void MessageBoxShowsRecordValuesAsText();
    void EndingClosesDialogsNewestFirst();
    void SaveDialog();
    void OverwriteIsAskedOnlyWhenWanted();
    void PrintoutLosesNothing();
    void PrinterFailures();
    void BrowserAddresses_data();
    void BrowserAddresses();
    void EveryPictureIsDrawn();
    void PicturesDifferWithoutColour();
    void PicturesFollowThePalette();
    void LogoMovesWhileRunning();
    void ChimeIsASoundFile();

private:
    fakeWindows m_windows;
    fakeDialogs m_dialogs;
    QTemporaryDir m_folder;
};

void tst_small_windows::initTestCase()
{
    // A printer of the machine that runs the test must not get the pages.
    qputenv("CUPS_SERVER", "/nowhere/cups.sock");
    modBrambury::LoadStatusNames();
    modBrambury::State().Platform.Windows = &m_windows;
    modBrambury::State().Platform.Dialogs = &m_dialogs;
    QVERIFY(m_folder.isValid());
}

void tst_small_windows::SetTestStartsWithActiveAndBroken()
{
    frmSetTest dialog;
    QString checked;
    QStringList captions;
    for (int i = 0; i < 6; ++i) {
        checked += dialog.StatusToTest(i) ? u'x' : u'-';
        captions << dialog.findChild<QCheckBox*>(u"StatusToTest_%1"_s.arg(i))->text();
    }
    QCOMPARE(checked, u"--xx--"_s);
    QCOMPARE(captions.join(u','), u"Offer,In-Process,Active,Broken,Inactive,Declined"_s);
    QVERIFY(!dialog.SelectAllSites());
    QCOMPARE(dialog.UserChoice(), QString());

    // What a user then does by keys: the first box has the focus, the blank checks it.
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    QVERIFY(dialog.StatusToTest(0));
    QTest::mouseClick(dialog.findChild<QCheckBox*>(u"SelectAllSites"_s), Qt::LeftButton, {}, QPoint(8, 8));
    QVERIFY(dialog.SelectAllSites());
}

void tst_small_windows::SetTestChoice_data()
{
    QTest::addColumn<std::function<void(frmSetTest*)>>("act");
    QTest::addColumn<Choice>("choice");
    QTest::addColumn<QString>("userChoice");
    const auto key = [](Qt::Key which, Qt::KeyboardModifiers with = {}) {
        return std::function<void(frmSetTest*)>(
            [which, with](frmSetTest* dialog) { QTest::keyClick(dialog, which, with); });
    };
    QTest::newRow("Enter selects") << key(Qt::Key_Return) << Choice::Select << u"0"_s;
    QTest::newRow("Alt+U unselects") << key(Qt::Key_U, Qt::AltModifier) << Choice::Unselect << u"1"_s;
    QTest::newRow("Alt+C cancels") << key(Qt::Key_C, Qt::AltModifier) << Choice::Cancel << u"2"_s;
    QTest::newRow("Esc selects nothing") << key(Qt::Key_Escape) << Choice::Cancel << QString();
    QTest::newRow("the close box selects nothing")
        << std::function<void(frmSetTest*)>([](frmSetTest* dialog) { dialog->close(); }) << Choice::Cancel << QString();
}

void tst_small_windows::SetTestChoice()
{
    QFETCH(const std::function<void(frmSetTest*)>, act);
    frmSetTest dialog;
    onNextDialog<frmSetTest>(act);
    dialog.exec();
    QTEST(dialog.Chosen(), "choice");
    QTEST(dialog.UserChoice(), "userChoice");
}

void tst_small_windows::SetTestHelpLeavesItOpen()
{
    frmSetTest dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto* help = dialog.findChild<QPushButton*>(u"buttonLinks_3"_s);
    QTest::mouseClick(help, Qt::LeftButton);
    QTest::keyClick(&dialog, Qt::Key_F1);
    QCOMPARE(m_windows.calls, QStringList(2, u"help 112"_s));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.UserChoice(), QString());
}

void tst_small_windows::ErrorDetailsGrowAndShrinkExactly()
{
    const QString message = u"An error has occured in this application.\r\n\r\nIf this error persists, exit."_s;
    frmErrorMessage window(clsWindows::ErrorIcon::Critical, message, u"Error Number: \t3031\r\nSource:     \tDAO"_s);
    QCOMPARE(window.windowTitle(), u"Brambury error"_s);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    auto* details = window.findChild<QPlainTextEdit*>(u"txtDetails"_s);
    auto* toggle = window.findChild<QPushButton*>(u"errorButton_1"_s);
    auto* label = window.findChild<QLabel*>(u"lblMessage"_s);
    QVERIFY(!details->isVisible());

    const QSize first = window.size();
    for (int round = 0; round < 3; ++round) {
        QTest::mouseClick(toggle, Qt::LeftButton);
        QCoreApplication::processEvents();
        QCOMPARE(toggle->text(), u"< &Details"_s);
        QVERIFY(details->isVisible());
        QVERIFY(window.height() >= first.height() + details->height());
        // What was above stays above, unsqueezed.
        QVERIFY(label->height() >= label->sizeHint().height());
        QVERIFY(details->geometry().top() > toggle->geometry().bottom());
        QTest::keyClick(&window, Qt::Key_D, Qt::AltModifier);
        QTRY_COMPARE(toggle->text(), u"&Details >"_s);
        QCoreApplication::processEvents();
        QCOMPARE(window.size(), first);
    }

    QTest::mouseClick(toggle, Qt::LeftButton);
    details->selectAll();
    QCOMPARE(details->textCursor().selectedText(), u"Error Number: \t3031\u2029Source:     \tDAO"_s);
}

void tst_small_windows::ErrorWindowKeys()
{
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
        frmErrorMessage window(clsWindows::ErrorIcon::Exclamation, u"x"_s, u"y"_s);
        onNextDialog<frmErrorMessage>([key](frmErrorMessage* shown) { QTest::keyClick(shown, key); });
        window.exec();
        QVERIFY(!window.isVisible());
    }
    const auto picture = [](clsWindows::ErrorIcon icon) {
        return frmErrorMessage(icon, u"x"_s, u"y"_s).findChild<QLabel*>(u"imgError"_s)->pixmap().toImage();
    };
    QVERIFY(picture(clsWindows::ErrorIcon::Critical) != picture(clsWindows::ErrorIcon::Exclamation));
}

void tst_small_windows::MessageBoxAnswers_data()
{
    QTest::addColumn<Buttons>("buttons");
    QTest::addColumn<int>("key");
    QTest::addColumn<Answer>("answer");
    const int close = 0;
    QTest::newRow("OK, Esc") << Buttons::OK << int(Qt::Key_Escape) << Answer::OK;
    QTest::newRow("Yes/No, Esc") << Buttons::YesNo << int(Qt::Key_Escape) << Answer::No;
    QTest::newRow("Yes/No, close box") << Buttons::YesNo << close << Answer::No;
    QTest::newRow("Yes/No, Enter is the safe answer") << Buttons::YesNo << int(Qt::Key_Return) << Answer::No;
    QTest::newRow("Yes/No, Y") << Buttons::YesNo << int(Qt::Key_Y) << Answer::Yes;
    QTest::newRow("Yes/No/Cancel, Esc") << Buttons::YesNoCancel << int(Qt::Key_Escape) << Answer::Cancel;
    QTest::newRow("Yes/No/Cancel, N") << Buttons::YesNoCancel << int(Qt::Key_N) << Answer::No;
    QTest::newRow("Retry/Cancel, close box") << Buttons::RetryCancel << close << Answer::Cancel;
    QTest::newRow("Retry/Cancel, R") << Buttons::RetryCancel << int(Qt::Key_R) << Answer::Retry;
}

void tst_small_windows::MessageBoxAnswers()
{
    QFETCH(const int, key);
    QFETCH(const Buttons, buttons);
    onNextDialog<QMessageBox>([key](QMessageBox* box) {
        if (key == 0)
            box->close();
        else
            QTest::keyClick(box, static_cast<Qt::Key>(key));
    });
    const auto dialogs = modWidgets::MakeDialogs({});
    QTEST(dialogs->MsgBox(u"?"_s, buttons, clsDialogs::Icon::Question, u"Brambury"_s), "answer");
}

void tst_small_windows::MessageBoxShowsRecordValuesAsText()
{
    QWidget owner;
    owner.show();
    const auto dialogs = modWidgets::MakeDialogs([&] { return &owner; });
    QString shown;
    QString caption;
    bool selectable = false;
    onNextDialog<QMessageBox>([&](QMessageBox* box) {
        auto* label = box->findChild<QLabel*>(u"qt_msgbox_label"_s);
        shown = label->textFormat() == Qt::PlainText ? label->text() : u"rich"_s;
        selectable = label->textInteractionFlags().testFlag(Qt::TextSelectableByMouse);
        caption = box->parentWidget() == &owner ? box->windowTitle() : u"no owner"_s;
        box->reject();
    });
    (void)dialogs->MsgBox(u"Settings for site \"<b>Berry</b>\"\r\ncould not be retrieved."_s, Buttons::OK,
                          clsDialogs::Icon::Exclamation, u"URL Failed"_s);
    QCOMPARE(shown, u"Settings for site \"<b>Berry</b>\"\ncould not be retrieved."_s);
    QCOMPARE(caption, u"URL Failed"_s);
    QVERIFY(selectable);
}

void tst_small_windows::EndingClosesDialogsNewestFirst()
{
    const auto dialogs = modWidgets::MakeDialogs({});
    QStringList returned;
    const auto ask = [&](const QString& name) {
        const Answer answer = dialogs->MsgBox(name, Buttons::YesNoCancel, clsDialogs::Icon::Question, name);
        returned << name + (answer == Answer::Cancel ? u" cancelled"_s : u" answered"_s);
    };
    // Window, box and file dialog, each opened from the one below.
    frmSetTest window;
    onNextDialog<frmSetTest>([&](frmSetTest*) {
        onNextDialog<QMessageBox>([&](QMessageBox*) {
            onNextDialog<QFileDialog>([&](QFileDialog*) { modWidgets::CloseDialogs(); });
            if (numberRaised([&] { (void)dialogs->SaveFile({}); }) == clsError::DialogCancelled)
                returned << u"file cancelled"_s;
            ask(u"late"_s); // asked for while everything ends: not shown at all
        });
        ask(u"box"_s);
    });
    window.exec();
    returned << (window.Chosen() == Choice::Cancel ? u"window cancelled"_s : u"window answered"_s);
    const QStringList order{u"file cancelled"_s, u"late cancelled"_s, u"box cancelled"_s, u"window cancelled"_s};
    QCOMPARE(returned, order);
    QCOMPARE(dialogs->MsgBox(u"?"_s, Buttons::YesNo, clsDialogs::Icon::None, u"x"_s), Answer::No);
    QCOMPARE(numberRaised([&] { (void)dialogs->OpenFile({}); }), clsError::DialogCancelled);

    modWidgets::AllowDialogs();
    onNextDialog<QMessageBox>([](QMessageBox* box) { box->button(QMessageBox::Yes)->click(); });
    QCOMPARE(dialogs->MsgBox(u"?"_s, Buttons::YesNo, clsDialogs::Icon::None, u"x"_s), Answer::Yes);
}

void tst_small_windows::SaveDialog()
{
    const auto dialogs = modWidgets::MakeDialogs({});
    const clsDialogs::FileRequest request{u"Save To"_s,
                                          u"Log File (*.log)|*.log|Pages (*.htm;*.html)|*.htm;*.html|All|*.*"_s,
                                          u"Results.log"_s, m_folder.path(), false};
    QStringList filters;
    QString title;
    QString offered;
    onNextDialog<QFileDialog>([&](QFileDialog* dialog) {
        filters = dialog->nameFilters();
        title = dialog->windowTitle();
        auto* name = dialog->findChild<QLineEdit*>();
        offered = name->text();
        name->setText(u"Monday"_s);
        QTest::keyClick(name, Qt::Key_Return);
    });
    QCOMPARE(dialogs->SaveFile(request), m_folder.filePath(u"Monday.log"_s));
    QCOMPARE(title, u"Save To"_s);
    QCOMPARE(offered, u"Results.log"_s);
    const QStringList converted{u"Log File (*.log)"_s, u"Pages (*.htm *.html)"_s, u"All (*.*)"_s};
    QCOMPARE(filters, converted);

    // Everything chosen: nothing is hung onto the name.
    onNextDialog<QFileDialog>([](QFileDialog* dialog) {
        dialog->selectNameFilter(u"All (*.*)"_s);
        Q_EMIT dialog->filterSelected(u"All (*.*)"_s);
        dialog->findChild<QLineEdit*>()->setText(u"Monday"_s);
        static_cast<QDialog*>(dialog)->accept();
    });
    QCOMPARE(dialogs->SaveFile(request), m_folder.filePath(u"Monday"_s));

    onNextDialog<QFileDialog>([](QFileDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    QCOMPARE(numberRaised([&] { (void)dialogs->SaveFile(request); }), clsError::DialogCancelled);
}

void tst_small_windows::OverwriteIsAskedOnlyWhenWanted()
{
    const QString path = m_folder.filePath(u"old.log"_s);
    QFile old(path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.close();
    const auto dialogs = modWidgets::MakeDialogs({});
    for (const bool confirm : {false, true}) {
        bool asked = false;
        const auto question = onNextDialog<QMessageBox>([&](QMessageBox* box) {
            asked = true;
            box->button(QMessageBox::Yes)->click();
        });
        onNextDialog<QFileDialog>(
            [](QFileDialog* dialog) { QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return); });
        QCOMPARE(dialogs->SaveFile({u"Save To"_s, u"Log File (*.log)|*.log"_s, u"old.log"_s, m_folder.path(), confirm}),
                 path);
        QCOMPARE(asked, confirm);
        delete question;
    }
}

void tst_small_windows::PrintoutLosesNothing()
{
    const QString reader = QStandardPaths::findExecutable(u"pdftotext"_s);
    QVERIFY2(!reader.isEmpty(), "pdftotext is part of poppler-utils");
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
    process.start(reader, {u"-layout"_s, pdf, u"-"_s});
    QVERIFY(process.waitForFinished());
    const QString text = QString::fromUtf8(process.readAllStandardOutput());
    const auto pages = text.count(u'\f');
    // A4 or Letter has 9.6 to 10.3 inches of room: 56 to 65 lines of 10 points.
    QVERIFY2(pages >= 5 && pages <= 6, qPrintable(u"%1 pages"_s.arg(pages)));
    qsizetype place = text.indexOf(u"Results Log"_s);
    QVERIFY(place >= 0);
    for (int i = 1; i <= 300; ++i) {
        place = text.indexOf(u"line %1 of the log"_s.arg(i), place);
        QVERIFY2(place >= 0, qPrintable(u"line %1 is missing or in the wrong place"_s.arg(i)));
    }
    QCOMPARE(text.count(u'W'), 110);
    QVERIFY(text.contains(u"end"_s));
}

void tst_small_windows::PrinterFailures()
{
    const auto printer = modWidgets::MakePrinter();
    QCOMPARE(numberRaised([&] { printer->StartDoc(u"x"_s, 1008, 1008); }), clsError::DeviceUnavailable);
    QCOMPARE(numberRaised([&] { printer->PrintLine(u"x"_s); }), clsError::ObjectNotSet);
    printer->SetOutputFile(m_folder.filePath(u"no such folder/log.pdf"_s));
    QTest::ignoreMessage(QtWarningMsg, "QPainter::begin(): Returned false");
    QCOMPARE(numberRaised([&] { printer->StartDoc(u"x"_s, 1008, 1008); }), clsError::DeviceIOError);
    // The same object still prints when the cause is gone, also over a document that was left open.
    const QString pdf = m_folder.filePath(u"again.pdf"_s);
    printer->SetOutputFile(pdf);
    printer->StartDoc(u"abandoned"_s, 1008, 1008);
    printer->StartDoc(u"x"_s, 1008, 1008);
    printer->PrintLine(u"x"_s);
    printer->EndDoc();
    QVERIFY(QFileInfo(pdf).size() > 500);
}

/// Takes the addresses that would go to the browser.
class urlCatcher final : public QObject
{
    Q_OBJECT

public:
    QStringList opened;
    Q_INVOKABLE void Take(const QUrl& url) { opened << url.toString(); }
};

void tst_small_windows::BrowserAddresses_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("opened");
    QTest::newRow("http") << u"http://www.berry.localhost:28480/links.htm?a=1"_s
                          << u"http://www.berry.localhost:28480/links.htm?a=1"_s;
    QTest::newRow("https in capitals") << u"HTTPS://berry.example/"_s << u"https://berry.example/"_s;
    QTest::newRow("local path") << u"/tmp/My Links.htm"_s << u"file:///tmp/My Links.htm"_s;
    QTest::newRow("local address") << u"file:///tmp/MyLinks.htm"_s << u"file:///tmp/MyLinks.htm"_s;
    QTest::newRow("file on another machine") << u"file://server/share/x.htm"_s << QString();
    QTest::newRow("mail") << u"mailto:a@example.org"_s << QString();
    QTest::newRow("script") << u"javascript:alert(1)"_s << QString();
    QTest::newRow("no scheme") << u"www.berry.example"_s << QString();
    QTest::newRow("option of the launcher") << u"--help"_s << QString();
    QTest::newRow("no host") << u"http://"_s << QString();
    QTest::newRow("empty") << QString() << QString();
}

void tst_small_windows::BrowserAddresses()
{
    QFETCH(const QString, opened);
    urlCatcher catcher;
    for (const auto& scheme : {u"http"_s, u"https"_s, u"file"_s, u"mailto"_s, u"javascript"_s, QString()})
        QDesktopServices::setUrlHandler(scheme, &catcher, "Take");
    const auto browser = modWidgets::MakeBrowser();
    QFETCH(const QString, address);
    const auto outcome = browser->Open(address);
    for (const auto& scheme : {u"http"_s, u"https"_s, u"file"_s, u"mailto"_s, u"javascript"_s, QString()})
        QDesktopServices::unsetUrlHandler(scheme);
    QCOMPARE(catcher.opened.join(u' '), opened);
    QCOMPARE(outcome, opened.isEmpty() ? clsBrowser::Outcome::Failed : clsBrowser::Outcome::Opened);
}

void tst_small_windows::EveryPictureIsDrawn()
{
    const auto check = [](const QString& name, const QIcon& icon) {
        for (const int side : {16, 24, 32}) {
            for (const qreal scale : {1.0, 2.0}) {
                const QPixmap picture = icon.pixmap(QSize(side, side), scale);
                const QString what = u"%1 at %2 px, scale %3"_s.arg(name).arg(side).arg(scale);
                QVERIFY2(picture.size() == QSize(side, side) * scale, qPrintable(what));
                const QImage image = picture.toImage();
                int drawn = 0;
                for (int y = 0; y < image.height(); ++y)
                    for (int x = 0; x < image.width(); ++x)
                        drawn += qAlpha(image.pixel(x, y)) > 32 ? 1 : 0;
                // A file that does not parse leaves nothing, one with a wrong view box a speck or a full square.
                const double share = static_cast<double>(drawn) / (image.width() * image.height());
                QVERIFY2(share > 0.12 && share < 0.95, qPrintable(what + u": %1"_s.arg(share)));
            }
        }
    };
    for (const auto& name : commandIcons)
        check(name, modIcons::Icon(name));
    for (const auto& name : meaningfulPictures)
        check(name, modIcons::Picture(name));
}

void tst_small_windows::PicturesDifferWithoutColour()
{
    // Those that stand in one column, where they are told apart.
    const QList<QStringList> columns{meaningfulPictures.mid(0, 6), meaningfulPictures.mid(6, 3),
                                     meaningfulPictures.mid(9, 2), meaningfulPictures.mid(11, 2),
                                     meaningfulPictures.mid(13, 4)};
    for (const auto& names : columns) {
        for (qsizetype i = 0; i < names.size(); ++i) {
            for (qsizetype j = i + 1; j < names.size(); ++j) {
                const double share =
                    difference(grey(modIcons::Picture(names[i]), 16), grey(modIcons::Picture(names[j]), 16));
                QVERIFY2(share > 0.12, qPrintable(u"%1 and %2 look alike: %3"_s.arg(names[i], names[j]).arg(share)));
            }
        }
    }
}

void tst_small_windows::PicturesFollowThePalette()
{
    const QPalette before = QApplication::palette();
    const QIcon icon = modIcons::Icon(u"link-new"_s);
    // The lines must stand out from the window they are drawn on, with the icon made before the change.
    const auto lines = [&icon](const QColor& window, const QColor& text) {
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        palette.setColor(QPalette::WindowText, text);
        QApplication::setPalette(palette);
        const QImage image = icon.pixmap(QSize(48, 48), 1.0).toImage();
        int strongest = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (qAlpha(image.pixel(x, y)) == 255)
                    strongest = qMax(strongest, qAbs(qGray(image.pixel(x, y)) - qGray(window.rgb())));
        return strongest;
    };
    const int light = lines(Qt::white, Qt::black);
    const int dark = lines(QColor(32, 32, 32), Qt::white);
    QApplication::setPalette(before);
    QVERIFY2(light > 150, qPrintable(QString::number(light)));
    QVERIFY2(dark > 150, qPrintable(QString::number(dark)));
}

void tst_small_windows::LogoMovesWhileRunning()
{
    clsLogo logo;
    logo.resize(logo.sizeHint());
    const QImage rest = logo.grab().toImage();
    logo.Start();
    const QImage first = logo.grab().toImage();
    QTRY_VERIFY(logo.grab().toImage() != first);
    QVERIFY(first != rest);
    logo.Stop();
    QCOMPARE(logo.grab().toImage(), rest);
}

void tst_small_windows::ChimeIsASoundFile()
{
    QFile file(QStringLiteral(BRAMBURY_BINARY_DIR "/share/brambury/Musfall.wav"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray sound = file.readAll();
    QVERIFY(sound.size() > 20000 && sound.size() < 60000);
    const auto number = [&sound](qsizetype place) { return qFromLittleEndian<quint32>(sound.constData() + place); };
    QCOMPARE(sound.left(4) + sound.mid(8, 8), QByteArray("RIFFWAVEfmt "));
    QCOMPARE(number(4), static_cast<quint32>(sound.size() - 8));
    QCOMPARE(sound.mid(36, 4), QByteArray("data"));
    QCOMPARE(number(40), static_cast<quint32>(sound.size() - 44));
    qint16 loudest = 0;
    for (qsizetype i = 44; i + 1 < sound.size(); i += 2)
        loudest = qMax(loudest, static_cast<qint16>(qAbs(qFromLittleEndian<qint16>(sound.constData() + i))));
    QVERIFY(loudest > 8000 && loudest < 30000);
    // It begins and ends in silence: otherwise it clicks.
    QVERIFY(qAbs(qFromLittleEndian<qint16>(sound.constData() + 44)) < 200);
    QVERIFY(qAbs(qFromLittleEndian<qint16>(sound.constData() + sound.size() - 2)) < 200);
}

QTEST_MAIN(tst_small_windows)
#include "tst_small_windows.moc"
