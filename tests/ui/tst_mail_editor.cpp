// SPDX-License-Identifier: GPL-3.0-or-later
// The template editor, its picker, its spelling and the preview, used by keys and mouse on a real database and a real
// dictionary.
#include "mail/modSpellWords.h"
#include "main_window_fixture.h"
#include "platform/clsSpelling.h"
#include "support/program.h"
#include "ui/mail/frmFieldTags.h"
#include "ui/mail/frmMailEditor.h"
#include "ui/mail/frmPreview.h"
#include "ui/mail/frmSpelling.h"

#include <ctime>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modBrambury::State;

namespace
{
const QString SaveThem = u"Changes have been made.  Do you wish to save them?"_s;
const QString Exists = u"This template name already exists.\r\nDo you want to replace it?"_s;
} // namespace

class tst_mail_editor : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    std::unique_ptr<clsSpelling> m_spelling;
    std::unique_ptr<frmMailEditor> m_editor;
    fakePrinter m_printer;

    template <typename Control> Control& Find(const QString& name) const { return controlOf<Control>(*m_editor, name); }
    QLineEdit& Subject() const { return Find<QLineEdit>(u"tSubject"_s); }
    QPlainTextEdit& Body() const { return Find<QPlainTextEdit>(u"tBody"_s); }
    QComboBox& Types() const { return Find<QComboBox>(u"TemplateType"_s); }
    QComboBox& Names() const { return Find<QComboBox>(u"TemplateName"_s); }
    void Press(const QString& key) const { Find<QAction>(u"Toolbar1_"_s + key).trigger(); }
    QString Label(const QString& name) const { return Find<QLabel>(name).text(); }
    fakeDialogs& Dialogs() const { return m_program->dialogs; }

    void Show(qint64 id = 0)
    {
        m_editor = std::make_unique<frmMailEditor>(*State().Database);
        m_editor->setModal(true);
        if (id != 0)
            m_editor->Open(id);
        m_editor->show();
        QVERIFY(QTest::qWaitForWindowActive(m_editor.get()));
        if (id == 0)
            QTRY_VERIFY(Types().view()->isVisible());
    }
    /// Chooses an entry as a user does: the list is open, or is opened, and a key is pressed on the entry.
    void Choose(QComboBox& list, int row) const
    {
        list.showPopup();
        list.view()->setCurrentIndex(list.model()->index(row, 0));
        QTest::keyClick(list.view(), Qt::Key_Return);
        Back();
    }
    /// The platform without a screen forgets whose list it was that closed.
    void Back() const
    {
        QApplication::setActiveWindow(m_editor.get());
        QVERIFY(m_editor->isActiveWindow());
    }
    void Type(const QString& subject, const QString& body) const
    {
        Subject().setFocus();
        QTest::keyClicks(&Subject(), subject);
        Body().setFocus();
        const QStringList lines = body.split(u'\n');
        for (const QString& line : lines) {
            if (&line != &lines.first())
                QTest::keyClick(&Body(), Qt::Key_Return);
            QTest::keyClicks(&Body(), line);
        }
    }
    /// What stands in the boxes, and what is stored: name, type, subject and body.
    QString Texts() const { return Subject().text() + u'|' + Body().toPlainText(); }
    static QString Stored(qint64 id)
    {
        const auto records = State().Database->OpenRecordset(u"tblMailMessages"_s);
        if (records->PositionOf(id) < 0)
            return u"gone"_s;
        records->MoveTo(id);
        QStringList values;
        for (const auto& field : {u"Template"_s, u"Type"_s, u"Subject"_s, u"Body"_s})
            values << records->Field(field).toString();
        return values.join(u'|');
    }
    /// A button whose box is answered.
    void Answered(const QString& key, const QString& text, Answer answer = Answer::OK) const
    {
        Dialogs().Expect(text, answer);
        Press(key);
        QVERIFY(Dialogs().expected.isEmpty());
    }
    void NewWithoutType() const
    {
        Press(u"New"_s);
        QTest::keyClick(Types().view(), Qt::Key_Escape);
        Back();
    }
    static qint64 Count() { return State().Database->OpenRecordset(u"tblMailMessages"_s)->RecordCount(); }
    qint64 Current() const { return Names().currentData().toLongLong(); }
    static qint64 Added(const QString& name, qint16 type, const QString& subject = {}, const QString& body = {})
    {
        clsMailTemplate templates(*State().Database);
        templates.NewRecord();
        templates.Template = name;
        templates.TemplateType = type;
        templates.Subject = subject;
        templates.Body = body;
        templates.Update();
        return templates.MessageID;
    }
    /// The words of a line of the body that are underlined.
    QStringList Underlined(int line = 0) const
    {
        const QTextBlock block = Body().document()->findBlockByNumber(line);
        QStringList words;
        for (const auto& range : block.layout()->formats())
            words << block.text().mid(range.start, range.length);
        return words;
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        m_spelling = modPlatformImpl::MakeSpelling(*m_program->disk);
        const QString share = QStringLiteral(BRAMBURY_BINARY_DIR) + u"/share/brambury/"_s;
        m_spelling->SetLexicons({.affixes = share + u"ssceam.tlx"_s,
                                 .dictionary = share + u"ssceam2.clx"_s,
                                 .userWords = m_program->installation.Folder() + u"/bramdat.tlx"_s,
                                 .corrections = m_program->installation.Folder() + u"/correct.tlx"_s});
        State().Platform.Spelling = m_spelling.get();
        State().Platform.Printer = &m_printer;
        m_printer.lines.clear();
        modBrambury::LoadMessageTypes();
    }
    void cleanup()
    {
        QVERIFY2(Dialogs().expected.isEmpty(), "a box did not come");
        QVERIFY2(m_program->windows.calls.isEmpty(), "an error was reported");
        m_editor.reset();
        m_program.reset();
    }

    void ANewTemplateIsWrittenAndSaved()
    {
        Show();
        QCOMPARE(Names().count(), 8);
        QTest::keyClick(Types().view(), Qt::Key_Escape);
        Back();
        Type(u"Hello"_s, u"one\ntwo"_s);
        Dialogs().Expect(u"Choose a message type for this template first."_s);
        QTest::keyClick(&Body(), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(Types().view()->isVisible());
        Choose(Types(), 4); // without a question: the template gets its type, it is not left
        QCOMPARE(Texts(), u"Hello|one\ntwo"_s);
        QCOMPARE(Names().currentIndex(), -1);
        Dialogs().inputs = {u"  First  "_s};
        Press(u"Save"_s);
        QCOMPARE(Dialogs().shown.last(), u"New E-Mail Template: Enter a name for this new template:"_s);
        QCOMPARE(Names().currentText(), u"First"_s);
        QCOMPARE(Label(u"lblLastModified"_s), u"Last Modified: January 05, 2026 3:7:9 PM"_s);
        const qint64 id = Current();
        QCOMPARE(Stored(id), u"First|5|Hello|one\r\ntwo"_s);

        // Typing can be taken back after it was saved; saving again changes the same record.
        QTest::keyClicks(&Body(), u"!"_s);
        QTest::keyClick(&Body(), Qt::Key_Z, Qt::ControlModifier);
        Type({}, u"X"_s);
        Press(u"Save"_s);
        QCOMPARE(Stored(id), u"First|5|Hello|one\r\ntwoX"_s);
        QCOMPARE(Count(), 9);
    }

    void ChangesAreNotLostUnasked_data()
    {
        const testTable<QString, QString> row; // how it is changed, how it is left
        row("typing, another template", u"typing"_s, u"name"_s);
        row("Backspace, another type", u"backspace"_s, u"type"_s);
        row("a file, New", u"attach"_s, u"new"_s);
        row("the subject, Esc", u"subject"_s, u"esc"_s);
        row("a tag, the close box", u"tag"_s, u"close"_s);
    }
    void ChangesAreNotLostUnasked()
    {
        const auto [change, exit] = testRow<QString, QString>();
        const qint64 other = Added(u"Other"_s, 3);
        const qint64 id = Added(u"Mine"_s, 3, u"subject"_s, u"body"_s);
        Show(id);
        const QHash<QString, std::function<void()>> ways{
            {u"name"_s, [&] { Choose(Names(), Names().findData(other)); }},
            {u"type"_s, [&] { Choose(Types(), 6); }},
            {u"new"_s, [&] { QTest::keyClick(m_editor.get(), Qt::Key_N, Qt::ControlModifier); }},
            {u"esc"_s, [&] { QTest::keyClick(&Body(), Qt::Key_Escape); }},
            {u"close"_s, [&] { m_editor->close(); }},
            {u"typing"_s, [&] { QTest::keyClicks(&Body(), u"x"_s); }},
            {u"backspace"_s, [&] { QTest::keyClick(&Body(), Qt::Key_Backspace); }},
            {u"attach"_s, [&] { clickIn(*m_editor, u"AttachButton"_s); }},
            {u"subject"_s, [&] { QTest::keyClicks(&Subject(), u"x"_s); }},
            {u"tag"_s, [&] { Find<QPushButton>(u"FieldTagButton"_s).click(); }}};
        if (change == "tag"_L1)
            inNextDialog<frmFieldTags>([](frmFieldTags& picker) { QTest::keyClick(&picker, Qt::Key_Return); });
        Dialogs().filesToChoose << m_program->installation.DatabasePath();
        Body().setFocus();
        Body().moveCursor(QTextCursor::End);
        ways[change]();
        const QString texts = Texts();

        Dialogs().Expect(SaveThem, Answer::Cancel);
        ways[exit]();
        QVERIFY(m_editor->isVisible());
        QCOMPARE(Current(), id);
        QCOMPARE(Types().currentIndex(), 2);
        QCOMPARE(Texts(), texts);
        QCOMPARE(Stored(id), u"Mine|3|subject|body"_s);

        Dialogs().Expect(SaveThem, Answer::Yes);
        ways[exit]();
        QCOMPARE(Stored(id), u"Mine|3|"_s + texts);
        QCOMPARE(m_editor->isVisible(), exit != "esc"_L1 && exit != "close"_L1);
        QVERIFY(!m_editor->isVisible() || Current() != id);
        ways[exit](); // nothing has changed since
    }

    void DiscardedChangesAreGone()
    {
        const qint64 id = Added(u"Mine"_s, 3, u"subject"_s, u"body"_s);
        Show(id);
        Type(u"x"_s, u"y"_s);
        const QString undo = u"This will Undo all changes since your last save.\r\n Do you wish to Undo all changes?"_s;
        Answered(u"Undo"_s, undo, Answer::No);
        QCOMPARE(Texts(), u"xsubject|ybody"_s);
        Answered(u"Undo"_s, undo, Answer::Yes);
        QCOMPARE(Texts(), u"subject|body"_s);
        Type({}, u"z"_s);
        Dialogs().Expect(SaveThem, Answer::No);
        NewWithoutType();
        QTest::keyClick(&Body(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(Texts(), u"|"_s);
        QVERIFY(!Find<QAction>(u"Toolbar1_Delete"_s).isEnabled());
        QCOMPARE(Stored(id), u"Mine|3|subject|body"_s);
    }

    void ANameThatExistsIsReplacedOnlyWhenWanted()
    {
        const qint64 first = Added(u"First"_s, 2, u"1"_s, u"one"_s);
        const qint64 second = Added(u"Second"_s, 2, u"2"_s, u"two"_s);
        Show(second);
        Type({}, u"!"_s);
        Dialogs().inputs = {u"FIRST"_s};
        Dialogs().Expect(Exists, Answer::No);
        QTest::keyClick(m_editor.get(), Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(Dialogs().shown.value(0), u"Save E-Mail Template As: Enter a name for this new template:"_s);
        Press(u"SaveAs"_s); // and the name is cancelled
        Press(u"Save"_s);   // goes to its own record all the same
        QCOMPARE(Stored(first), u"First|2|1|one"_s);
        QCOMPARE(Stored(second), u"Second|2|2|!two"_s);

        Dialogs().inputs = {u"FIRST"_s};
        Answered(u"SaveAs"_s, Exists, Answer::Yes);
        QVERIFY(Stored(first).endsWith(u"2|!two"_s));
        QCOMPARE(Current(), first);
        Dialogs().inputs = {u"Third"_s};
        Press(u"SaveAs"_s);
        QCOMPARE(Count(), 11);

        NewWithoutType();
        Type(u"new"_s, u"new"_s);
        Dialogs().inputs = {u"Second"_s};
        Answered(u"Save"_s, Exists, Answer::No);
        Dialogs().Expect(SaveThem, Answer::No); // it still counts as changed
        m_editor->close();
        QCOMPARE(Count(), 11);
    }

    void TemplatesAreDeletedButNotDefault()
    {
        const qint64 id = Added(u"Zebra"_s, 2);
        Added(u"default  "_s, 4);
        Show(1);
        Answered(u"Delete"_s, u"You cannot delete the Default template."_s);
        Choose(Types(), 1);
        Choose(Names(), Names().findData(id));
        const QString question = u"Are you sure you wish to delete this e-mail template?"_s;
        Answered(u"Delete"_s, question, Answer::No);
        QCOMPARE(Stored(id), u"Zebra|2||"_s);
        Answered(u"Delete"_s, question, Answer::Yes);
        QCOMPARE(Stored(id), u"gone"_s);
        // The one before it is shown.
        QVERIFY(Names().currentText().startsWith(u"default"_s, Qt::CaseInsensitive));
        QCOMPARE(Subject().text(), Stored(Current()).section(u'|', 2, 2));
        QCOMPARE(Count(), 9);
    }

    void TagsGoWhereTheCaretWas()
    {
        Show(Added(u"Mine"_s, 2, u"to you"_s, u"one\ntwo three"_s));
        const auto insert = [&](const std::function<void(frmFieldTags&)>& act) {
            inNextDialog<frmFieldTags>(act);
            clickIn(*m_editor, u"FieldTagButton"_s);
        };
        const auto byDoubleClick = [](frmFieldTags& picker) {
            auto* grid = picker.findChild<QTableView*>(u"FieldTagGrid"_s);
            const QPoint place = grid->visualRect(grid->model()->index(0, 1)).center();
            QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, place);
            QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, place);
        };
        Body().setFocus();
        QTextCursor cursor = Body().textCursor();
        cursor.setPosition(4);
        Body().setTextCursor(cursor);
        insert(byDoubleClick);
        QCOMPARE(m_editor->focusWidget(), &Body());
        QTest::keyClicks(&Body(), u"|"_s);
        QCOMPARE(Body().toPlainText(), u"one\n[Last Successful Test] |two three"_s);
        QTest::keyClick(&Body(), Qt::Key_Z, Qt::ControlModifier);
        QTest::keyClick(&Body(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(Body().toPlainText(), u"one\ntwo three"_s);

        Back();
        Subject().setFocus();
        Subject().setSelection(3, 3);
        insert([](frmFieldTags& picker) {
            QTest::keyClick(picker.findChild<QTableView*>(), Qt::Key_Down);
            clickIn(picker, u"TagButton_0"_s);
        });
        QCOMPARE(Subject().text(), u"to [My E-mail] "_s);
        QCOMPARE(Subject().cursorPosition(), 15);
        insert([](frmFieldTags& picker) { clickIn(picker, u"TagButton_1"_s); });
        QCOMPARE(Subject().text(), u"to [My E-mail] "_s);
        QCOMPARE(m_editor->focusWidget(), &Subject());
        Subject().setText(QString(250, u'x'));
        Dialogs().Expect(u"The subject has no room for this field tag."_s);
        insert(byDoubleClick);
        QCOMPARE(Subject().text(), QString(250, u'x'));
    }

    void FilesAndPaper()
    {
        const QString file = m_program->installation.Folder() + u"/terms.txt"_s;
        m_program->disk->WriteFile(file, QByteArray(2048, 'x'));
        const qint64 id = Added(u"Mine"_s, 2, u"to you"_s, u"one\r\ntwo"_s);
        const auto label = [this] { return Label(u"lblFileInfo_0"_s) + u"; "_s + Label(u"lblFileInfo_1"_s); };
        Show(id);
        Dialogs().filesToChoose << file;
        for (int i = 0; i < 2; ++i) { // the second time it is cancelled
            clickIn(*m_editor, u"AttachButton"_s);
            QCOMPARE(label(), u"terms.txt; 2.0KB (2,048 bytes)"_s);
        }
        Press(u"Save"_s);
        m_program->disk->RemoveFile(file);
        Show(id);
        QCOMPARE(label(), u"terms.txt; File not found"_s);
        clickIn(*m_editor, u"RemoveAttachButton"_s);
        Press(u"Save"_s);
        Show(id);
        QCOMPARE(label(), u"; "_s);

        QTest::keyClick(&Body(), Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(m_printer.lines.join(u'\n'), u"Template Name: Mine\nSubject:to you\n"
                                              "Last Modified:Monday, January 5, 2026\n\none\ntwo"_s);
    }

    void WordsAreToldFromOtherThings_data()
    {
        const testTable<QString, QStringList> row;
        row("words", u"It's a well-known \u00fcbung, isn\u2019t it?"_s,
            {u"It's"_s, u"a"_s, u"well"_s, u"known"_s, u"\u00fcbung"_s, u"isn\u2019t"_s, u"it"_s});
        row("tags", u"Dear [my nayme], [other nayme]"_s, {u"Dear"_s, u"other"_s, u"nayme"_s});
        row("addresses", u"see http://exampel.org/pagge?x=1 or me@exampel.org, www.foo.bar/xyz, exampel.com."_s,
            {u"see"_s, u"or"_s});
        row("markup", u"<a href=\"x\" target=_blanc>linkk</a> 3 < 4 > 2"_s, {u"linkk"_s});
        row("numbers and names", u"2nd H2O foo_bar 12 'quoted' end.Next"_s, {u"quoted"_s});
    }
    void WordsAreToldFromOtherThings()
    {
        const auto [text, expected] = testRow<QString, QStringList>();
        QStringList words;
        for (const auto& word : modSpellWords::Words(text, {u"[My Nayme]"_s, QString()}))
            words << text.mid(word.start, word.length);
        QCOMPARE(words, expected);
    }

    void WrongWordsAreUnderlinedAndPutRight()
    {
        const qint64 id = Added(u"Mine"_s, 2, u"A lettter"_s, u"Dear [Partner Name],\r\nthis is wrng and Brambury"_s);
        Show(id);
        QTRY_COMPARE(Underlined(1), QStringList({u"wrng"_s, u"Brambury"_s}));
        QCOMPARE(Underlined(0), QStringList());
        QTest::keyClick(&Body(), Qt::Key_Escape); // underlines are no changes
        QVERIFY(!m_editor->isVisible());
        Show(id);

        const auto choose = [](const QString& caption) {
            QTimer::singleShot(0, qApp, [caption] {
                auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
                QVERIFY(menu);
                for (QAction* action : menu->actions()) {
                    if (action->text() == caption)
                        return menu->setActiveAction(action), QTest::keyClick(menu, Qt::Key_Return);
                }
                menu->close(); // and the text stays as it was
            });
        };
        const auto rightClick = [&](const QString& word, const QString& entry) {
            QTextCursor cursor = Body().document()->find(word);
            cursor.setPosition(cursor.selectionStart() + 1);
            choose(entry);
            Q_EMIT Body().customContextMenuRequested(Body().cursorRect(cursor).center());
        };
        rightClick(u"wrng"_s, u"wrong"_s);
        QVERIFY(Body().toPlainText().endsWith(u"this is wrong and Brambury"_s));
        rightClick(u"Brambury"_s, u"A&dd to Dictionary"_s);
        QCOMPARE(m_program->disk->ReadFile(m_program->installation.Folder() + u"/bramdat.tlx"_s), "Brambury\n");
        QTRY_COMPARE(Underlined(1), QStringList());
        choose(u"letter"_s);
        Q_EMIT Subject().customContextMenuRequested(
            QPoint(Subject().fontMetrics().horizontalAdvance(u"A lett"_s) + 4, Subject().height() / 2));
        QCOMPARE(Subject().text(), u"A letter"_s);
        Body().moveCursor(QTextCursor::Start);
        QTest::keyClicks(&Body(), u"qzx "_s);
        QTRY_COMPARE(Underlined(0), QStringList{u"qzx"_s});
        Dialogs().Expect(SaveThem, Answer::No);
        m_editor->close();
    }

    void SpellingGoesThroughSubjectAndBody()
    {
        m_program->disk->WriteFile(m_program->installation.Folder() + u"/correct.tlx"_s, "teh\tthe\n");
        Show(Added(u"Mine"_s, 2, u"Teh subjct"_s, u"subjct aaaq bbbq aaaq cccq\r\nbbbq dddq subjct eeeq"_s));
        QStringList asked;
        const auto step = [&](frmSpelling& dialog, const QString& word, int button, const QString& to = {}) {
            asked << dialog.findChild<QLabel*>(u"lblContext"_s)->text().section(u"<b>"_s, 1).section(u"</b>"_s, 0, 0);
            if (!to.isEmpty())
                typeIn(dialog, u"txtChangeTo"_s, to);
            if (asked.last() == word)
                clickIn(dialog, u"SpellButton_%1"_s.arg(button));
        };
        inNextDialog<frmSpelling>([&](frmSpelling& dialog) {
            asked << dialog.findChild<QListWidget*>(u"lstSuggestions"_s)->item(0)->text();
            step(dialog, u"Teh"_s, 3);                 // Change, to the first suggestion
            step(dialog, u"subjct"_s, 4, u"matter"_s); // Change All
            step(dialog, u"aaaq"_s, 0);                // Ignore
            step(dialog, u"bbbq"_s, 1);                // Ignore All
            step(dialog, u"aaaq"_s, 3, u"dddq"_s);     // what is put there is not asked about
            step(dialog, u"cccq"_s, 2);                // Add
            step(dialog, u"dddq"_s, 3, u"a longer one"_s);
            step(dialog, u"eeeq"_s, 5); // Close
        });
        Dialogs().Expect(u"Spell checking complete."_s);
        QTest::keyClick(m_editor.get(), Qt::Key_F7);
        QCOMPARE(asked, QStringList({u"the"_s, u"Teh"_s, u"subjct"_s, u"aaaq"_s, u"bbbq"_s, u"aaaq"_s, u"cccq"_s,
                                     u"dddq"_s, u"eeeq"_s}));
        QCOMPARE(Subject().text(), u"the matter"_s);
        QCOMPARE(Body().toPlainText(), u"matter aaaq bbbq dddq cccq\nbbbq a longer one matter eeeq"_s);
        QVERIFY(m_spelling->Correct(u"cccq"_s));
        Press(u"Save"_s);

        m_spelling->SetLexicons(
            {.affixes = u"/nowhere/a"_s, .dictionary = u"/nowhere/b"_s, .userWords = {}, .corrections = {}});
        Dialogs().Expect(m_spelling->Unavailable());
        Dialogs().Expect(u"Spell checking complete."_s);
        Press(u"Spelling"_s);
    }

    /// Broken at words it would take a minute a key.
    void AMillionLettersOnOneLine()
    {
        const QString line(1'000'000, u'x');
        Show(Added(u"Long"_s, 1, {}, u"Teh\r\n"_s + line));
        Body().setFocus();
        Body().moveCursor(QTextCursor::End);
        // Of the processor: others may be at work as well.
        const std::clock_t before = std::clock();
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(&Body(), Qt::Key_Y);
            QApplication::processEvents();
        }
        QVERIFY2((std::clock() - before) / CLOCKS_PER_SEC < 15, "typing takes too long");
        QCOMPARE(Body().document()->lastBlock().text(), line + u"yyy"_s);
        QVERIFY(Underlined(0) == QStringList{u"Teh"_s} && Underlined(1).isEmpty());
        // Without it words stay whole again.
        Body().moveCursor(QTextCursor::StartOfBlock, QTextCursor::KeepAnchor);
        QTest::keyClicks(&Body(), u"subjct"_s);
        QCOMPARE(Underlined(1), QStringList{u"subjct"_s});
        QCOMPARE(Body().wordWrapMode(), QPlainTextEdit().wordWrapMode());
    }

    void PreviewsAreAnswered()
    {
        const QString text = u"subject [me@x.example]\r\n\r\n\r\n"_s + QString(1'000'000, u'x') +
                             u"\nword "_s.repeated(9) + u"long words "_s.repeated(999);
        const QStringList buttons{{}, u"Command1_1"_s, u"Command1_2"_s, u"Command1_3"_s};
        for (int reply = 0; reply < 4; ++reply) {
            QElapsedTimer time;
            time.start();
            frmPreview preview({}, text, u"a.txt, 5 bytes"_s);
            inNextDialog<frmPreview>([&](frmPreview& window) {
                QVERIFY2(time.elapsed() < 3000, "a long text takes too long");
                auto* box = window.findChild<QPlainTextEdit*>(u"txtPreview"_s);
                QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClick(box, Qt::Key_C, Qt::ControlModifier);
                QVERIFY(QApplication::clipboard()->text() == QString(text).remove(u'\r'));
                if (reply == 0)
                    window.close();
                else
                    clickIn(window, buttons[reply]);
            });
            preview.exec();
            QCOMPARE(preview.Reply(), QString::number(reply));
        }
    }
};

QTEST_MAIN(tst_mail_editor)
#include "tst_mail_editor.moc"
