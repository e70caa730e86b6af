// SPDX-License-Identifier: GPL-3.0-or-later
// The help: its text, its window, and where the program opens it. What users read is the shipped file.
#include "main_window_fixture.h"
#include "platform/clsSpelling.h"
#include "platform/modHelpTopics.h"
#include "support/files.h"
#include "ui/help/clsHelpFile.h"
#include "ui/help/frmHelp.h"
#include "ui/records/frmSetTest.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
const QByteArray shipped = ReadAll(QStringLiteral(BRAMBURY_BINARY_DIR "/share/brambury/Bramdat.hlp"));

QString sourceText(const QString& path)
{
    return QString::fromUtf8(ReadAll(QStringLiteral(BRAMBURY_SOURCE_DIR "/") + path));
}

frmHelp* helpWindow()
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* help = qobject_cast<frmHelp*>(window); help && help->isVisible())
            return help;
    }
    return nullptr;
}

QString pageShown(const frmHelp& help)
{
    return help.findChild<QTextBrowser*>()->source().toString();
}

QStringList entriesShown(const frmHelp& help)
{
    QStringList titles;
    for (QTreeWidgetItemIterator entry(help.findChild<QTreeWidget*>(), QTreeWidgetItemIterator::NotHidden); *entry;
         ++entry) {
        if ((*entry)->parent())
            titles << (*entry)->text(0);
    }
    return titles;
}

/// Types as the keyboard does: a window that is blocked gets nothing of it. @return what then stands in the search box
QString typed(frmHelp& help, const QString& text)
{
    auto* box = help.findChild<QLineEdit*>();
    help.activateWindow();
    if (!QTest::qWaitForWindowActive(&help))
        return u"(the window is not active)"_s;
    QTest::mouseClick(help.windowHandle(), Qt::LeftButton, {}, box->mapTo(&help, QPoint(20, 10)));
    QTest::keyClick(help.windowHandle(), Qt::Key_End);
    for (const QChar letter : text)
        QTest::keyClick(help.windowHandle(), letter.toLatin1());
    return box->text();
}

class fakeSpelling : public clsSpelling
{
public:
    clsLexicons lexicons;
    void SetLexicons(const clsLexicons& lists) override { lexicons = lists; }
    QString Unavailable() const override { return {}; }
    bool Correct(const QString&) override { return true; }
    QStringList Suggestions(const QString&) override { return {}; }
    void Add(const QString&) override {}
};
} // namespace

class tst_help : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLinkAndPictureLeadsSomewhere()
    {
        const clsHelpFile help(shipped);
        frmHelp window(help);
        auto* browser = window.findChild<QTextBrowser*>();
        const QString taken = sourceText(u"src/ui/main/modPictures.cpp"_s);
        QSet<int> topics;
        for (const clsHelpFile::Page& page : help.Pages()) {
            QVERIFY2(!topics.contains(page.topic), qPrintable(page.title));
            topics << page.topic;
            QVERIFY(!page.title.isEmpty() && !page.chapter.isEmpty() && page.text.size() > 200);
            static const QRegularExpression address(u"(?:href|src)=\"([^\"]*)\""_s);
            for (const auto& found : address.globalMatch(page.html)) {
                const QUrl target(found.captured(1));
                const bool there =
                    target.scheme() == u"topic"_s ? help.Find(target.path().toInt()) != nullptr
                    : target.scheme() == u"window"_s
                        ? taken.contains(u"u\"%1\"_s"_s.arg(target.path()))
                        : !browser->loadResource(QTextDocument::ImageResource, target).value<QPixmap>().isNull();
                QVERIFY2(there, qPrintable(page.title + u": "_s + found.captured(1)));
            }
        }
        static const QRegularExpression topic(u"= (\\d+),"_s);
        for (const auto& found : topic.globalMatch(sourceText(u"src/platform/modHelpTopics.h"_s)))
            QVERIFY2(topics.contains(found.captured(1).toInt()), qPrintable(found.captured()));
    }

    void picturesOfWindowsAreShownWhereTheyAre()
    {
        const QTemporaryDir folder;
        QImage picture(QSize(2000, 500), QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(folder.filePath(u"wizard-light.png"_s)));
        const clsHelpFile file(shipped);
        QVERIFY(file.Find(modHelpTopics::ImportWizard)->html.contains(u"window:wizard-list"));
        const auto shown = [&](const QString& pictures) {
            frmHelp help(file, pictures);
            help.ShowTopic(modHelpTopics::ImportWizard);
            const auto* page = help.findChild<QTextBrowser*>();
            QStringList found = page->document()->toHtml().split(u"<img src=\""_s).mid(1);
            for (QString& source : found)
                source = source.section(u'"', 0, 0);
            // It has to fit beside the contents.
            return page->document()->size().width() > page->viewport()->width() ? u"too wide"_s : found.join(u' ');
        };
        QCOMPARE(shown(folder.path()), u"window:wizard"_s);
        QCOMPARE(shown({}), QString());
    }

    void theMenusOpenTheirPages()
    {
        clsTestWindow program;
        fakeSpelling spelling;
        modBrambury::State().Platform.Spelling = &spelling;
        program.Fill();
        program.disk->WriteFile(program.installation.Folder() + u"/Bramdat.hlp"_s, shipped);
        program.Open();
        const auto& [affixes, dictionary, userWords, corrections] = spelling.lexicons;
        const QString lists = QStringList{affixes, dictionary, userWords, corrections}.join(u' ');
        QCOMPARE(lists,
                 u"%1/ssceam.tlx %1/ssceam2.clx %1/bramdat.tlx %1/correct.tlx"_s.arg(program.installation.Folder()));

        program.Trigger(u"HelpMenuElement_0"_s);
        QVERIFY(helpWindow());
        const frmHelp* const first = helpWindow();
        QCOMPARE(pageShown(*first), u"topic:1"_s);
        program.Trigger(u"HelpMenuElement_2"_s);
        QCOMPARE(pageShown(*first), u"topic:2"_s);
        program.Find<QToolButton>(u"LinkButtons_7"_s).click();
        QCOMPARE(pageShown(*first), u"topic:313"_s);
        QVERIFY(!QApplication::activeModalWidget());
        program.Trigger(u"HelpMenuElement_1"_s);
        QTRY_VERIFY(first->findChild<QLineEdit*>()->hasFocus());
        program.windows.ShowHelp(4711);
        QCOMPARE(pageShown(*first), u"topic:1"_s);
        QCOMPARE(helpWindow(), first);
        program.Close();
        QVERIFY(!helpWindow());
    }

    void missingOrDamagedFileIsSaidOnce()
    {
        clsTestWindow program;
        const QString path = program.installation.Folder() + u"/Bramdat.hlp"_s;
        program.Open();
        for (const QByteArray& content :
             {QByteArray(), QByteArray(""), shipped.left(shipped.size() / 2),
              QByteArray("<html><head><title>Not found</title></head></html>"), QByteArray(2000, '\xfe')}) {
            if (!content.isNull())
                WriteAll(path, content);
            program.Refused(u"HelpMenuElement_"_s, {0},
                            u"The help text could not be read.  This file is missing or damaged:\r\n"_s + path +
                                u"\r\n\r\nClose Brambury and start it again: it then puts the file back.  If that "
                                "does not help, install Brambury again."_s);
            QVERIFY(!helpWindow());
        }
        // The file is back.
        WriteAll(path, shipped);
        program.Trigger(u"HelpMenuElement_0"_s);
        QVERIFY(helpWindow());
    }

    void isUsableBesideAModalDialog()
    {
        clsTestWindow program;
        program.disk->WriteFile(program.installation.Folder() + u"/Bramdat.hlp"_s, shipped);
        frmMain& window = program.Open();
        inNextDialog([](QDialog& dialog) {
            clickIn(dialog, u"buttonLinks_3"_s);
            QVERIFY(helpWindow());
            QCOMPARE(pageShown(*helpWindow()), u"topic:112"_s);
            QCOMPARE(typed(*helpWindow(), u"tag"_s), u"tag"_s);
            QVERIFY(dialog.isVisible());
            dialog.reject();
        });
        frmSetTest(&window).exec();
        // It outlives the dialog, and a dialog that comes later does not block it either.
        QVERIFY(helpWindow());
        QCOMPARE(typed(*helpWindow(), u"s"_s), u"tags"_s);
        inNextDialog([](QDialog& dialog) {
            QCOMPARE(typed(*helpWindow(), u" x"_s), u"tags x"_s);
            dialog.reject();
        });
        frmSetTest(&window).exec();
    }

    void linksCanBeReadOnAnyGround()
    {
        const QPalette usual = QApplication::palette();
        frmHelp help{clsHelpFile(shipped)};
        help.ShowTopic(modHelpTopics::FirstSteps);
        help.show();
        const auto linkColour = [&] {
            QTextCursor place(help.findChild<QTextBrowser*>()->document());
            while (!place.charFormat().isAnchor() && place.movePosition(QTextCursor::NextCharacter)) {
            }
            return place.charFormat().foreground().color();
        };
        for (const QColor ground : {QColor(Qt::white), QColor(0x1f, 0x20, 0x23)}) {
            QPalette palette(ground); // brings the usual dark blue for links
            palette.setColor(QPalette::Base, ground);
            QApplication::setPalette(palette); // while it is read
            QTRY_COMPARE(linkColour().lightness() > 160, ground != Qt::white);
            QVERIFY(linkColour().blue() > linkColour().red()); // still told from the text
        }
        QApplication::setPalette(usual);
    }

    void searchAndSteps()
    {
        frmHelp help{clsHelpFile(shipped)};
        help.ShowTopic(modHelpTopics::MainWindow);
        QVERIFY(QTest::qWaitForWindowActive(&help));
        const QStringList all = entriesShown(help);
        auto* search = help.findChild<QLineEdit*>();
        QTest::keyClick(&help, Qt::Key_F, Qt::ControlModifier);
        QVERIFY(search->hasFocus());
        QTest::keyClicks(search, u"MASTHEAD  image"_s);
        QCOMPARE(entriesShown(help), QStringList{u"How links are tested"_s});
        QTest::keyClick(search, Qt::Key_Return);
        QCOMPARE(pageShown(help), u"topic:301"_s);
        auto* page = help.findChild<QTextBrowser*>();
        QVERIFY(page->extraSelections().size() > 1);
        QCOMPARE(page->extraSelections().constFirst().cursor.selectedText().toLower(), u"masthead"_s);
        QTest::keyClicks(search, u" zzz"_s);
        QVERIFY(entriesShown(help).isEmpty());
        search->clear();
        QCOMPARE(entriesShown(help), all);
        QVERIFY(page->extraSelections().isEmpty());

        QTest::keyClick(&help, Qt::Key_Left, Qt::AltModifier);
        QTRY_COMPARE(pageShown(help), u"topic:1"_s);
        QCOMPARE(help.findChild<QTreeWidget*>()->currentItem()->text(0), u"The main window"_s);
        QTest::keyClick(&help, Qt::Key_Right, Qt::AltModifier);
        QTRY_COMPARE(pageShown(help), u"topic:301"_s);
        QTest::keyClick(&help, Qt::Key_Escape);
        QVERIFY(!help.isVisible());
    }
};

QTEST_MAIN(tst_help)
#include "tst_help.moc"
