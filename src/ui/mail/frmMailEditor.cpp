// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmMailEditor.h"

#include "mail/modFieldTags.h"
#include "platform/clsDisk.h"
#include "platform/clsPrinter.h"
#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/mail/clsSpellCheck.h"
#include "ui/mail/frmFieldTags.h"
#include "ui/mail/frmSpelling.h"
#include "ui/parts/clsCommandBar.h"
#include "ui/parts/clsElidedLabel.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"
#include "ui/parts/modMenus.h"
#include "ui/parts/modPrintJob.h"
#include "ui/parts/modTemplateList.h"
#include "ui/parts/modTextBoxes.h"
#include "ui/parts/modTips.h"

#include <QAction>
#include <QComboBox>
#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;
using modDialogParts::LabelFor;
using Answer = clsDialogs::Answer;
using Buttons = clsDialogs::Buttons;
using Icon = clsDialogs::Icon;

namespace
{
constexpr char Module[] = "frmMailEditor";
constexpr QSize FirstSize(780, 580);
constexpr int Spacing = 6;
constexpr int BodyLines = 8;
/// Of the file's name, size and date, in letters.
constexpr std::array FactWidths{16, 10, 16};
constexpr double PrintSize = 10;

const QString NewMode = u"New"_s;
const QString CopyMode = u"Copy"_s;
const QString ReplaceMode = u"Replace"_s;

/// A command in its menu and, where it has a key, on the toolbar.
struct Look
{
    const char16_t* caption;
    const char16_t* key; ///< nullptr: not on the toolbar
    const char16_t* icon;
    QKeySequence shortcut;
};

const Look& LookOf(int command)
{
    static const Look looks[] = {
        {u"&New Template...", u"New", u"template-new", QKeySequence::New},
        {u"&Open Template...", u"Open", u"open", QKeySequence::Open},
        {u"&Save Template", u"Save", u"save", QKeySequence::Save},
        {u"Save Template &As...", u"SaveAs", u"save-as", Qt::CTRL | Qt::SHIFT | Qt::Key_S},
        {u"&Delete Template", u"Delete", u"template-delete", {}},
        {u"&Print", u"Print", u"print", QKeySequence::Print},
        {u"Print &Setup...", nullptr, nullptr, {}},
        {u"E&xit", nullptr, nullptr, {}},
        {u"&Attach File...", nullptr, nullptr, {}},
        {u"&Remove Attachment", nullptr, nullptr, {}},
        {u"&Undo Since Last Save", u"Undo", u"undo", {}},
        {u"Check &Spelling...", u"Spelling", u"spelling", Qt::Key_F7},
        {u"&Help", u"Help", u"help", QKeySequence::HelpContents},
    };
    return looks[command];
}

/// "January 05, 2026 3:7:09 PM" has its minutes and seconds as they are counted.
QString ModifiedText(const QDateTime& time)
{
    return time.isValid() ? QLocale::c().toString(time, u"MMMM dd, yyyy h:m:s AP"_s) : QString();
}
} // namespace

frmMailEditor::frmMailEditor(clsDatabase& database, QWidget* parent)
    : QDialog(parent), m_database(database), m_template(database), m_spelling(new clsSpellCheck(database, this)),
      m_templateType(new QComboBox), m_templateName(new QComboBox), m_tSubject(new QLineEdit),
      m_tBody(new QPlainTextEdit), m_lblLastModified(new QLabel)
{
    setObjectName(u"frmMailEditor"_s);
    setWindowTitle(u"E-mail Templates"_s);
    BuildCommands();
    BuildTexts();

    auto* fieldTag = new QPushButton(modIcons::Icon(u"field-tag"_s), u"Insert &Field Tag"_s);
    fieldTag->setObjectName(u"FieldTagButton"_s);
    fieldTag->setToolTip(u"Insert Field Tag"_s);
    connect(fieldTag, &QPushButton::clicked, this,
            [this] { guarded(Module, "FieldTagButton_Click", [this] { InsertFieldTag(); }); });

    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    grid->addWidget(LabelFor(m_templateType, u"T&ype:"_s), 0, 0);
    grid->addWidget(m_templateType, 0, 1);
    grid->addWidget(LabelFor(m_templateName, u"&Name:"_s), 0, 2);
    grid->addWidget(m_templateName, 0, 3);
    grid->addWidget(LabelFor(m_tSubject, u"Sub&ject:"_s), 1, 0);
    grid->addWidget(m_tSubject, 1, 1, 1, 3);
    auto* tagRow = new QHBoxLayout;
    tagRow->addWidget(LabelFor(m_tBody, u"&Message:"_s));
    tagRow->addStretch();
    tagRow->addWidget(fieldTag);

    auto* body = new QVBoxLayout;
    body->setContentsMargins(12, 6, 12, 12);
    body->setSpacing(Spacing);
    body->addLayout(grid);
    body->addLayout(tagRow);
    body->addWidget(m_tBody, 1);
    body->addWidget(BuildAttachment());
    m_lblLastModified->setObjectName(u"lblLastModified"_s);
    body->addWidget(m_lblLastModified);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins({});
    all->setSpacing(0);
    all->setMenuBar(BuildMenus());
    all->addWidget(BuildToolbar());
    all->addLayout(body, 1);
    for (auto* button : findChildren<QPushButton*>())
        button->setAutoDefault(false); // Enter in the subject must press none
    // In the order in which a template is written.
    const std::initializer_list<QWidget*> order{m_templateType, m_templateName, m_tSubject,          m_tBody,
                                                fieldTag,       m_attachButton, m_removeAttachButton};
    for (auto widget = order.begin(); widget + 1 != order.end(); ++widget)
        setTabOrder(*widget, *(widget + 1));
    resize(FirstSize);

    FillTypes();
    ShowNew();
}

void frmMailEditor::BuildCommands()
{
    for (int i = 0; i < CommandCount; ++i) {
        const Look& look = LookOf(i);
        auto* action = new QAction(QString::fromUtf16(look.caption), this);
        action->setShortcut(look.shortcut);
        connect(action, &QAction::triggered, this, [this, i] { Do(static_cast<Command>(i)); });
        m_commands[static_cast<std::size_t>(i)] = action;
        addAction(action); // its key works wherever the focus is
    }
}

QMenuBar* frmMailEditor::BuildMenus()
{
    auto* bar = new QMenuBar;
    const auto fill = [this](QMenu* menu, const QString& name, int first, int last, const QList<int>& groupEnds) {
        menu->setObjectName(name);
        for (int i = first; i <= last; ++i) {
            QAction* action = m_commands[static_cast<std::size_t>(i)];
            action->setObjectName(u"%1_%2"_s.arg(name).arg(i - first));
            menu->addAction(action);
            if (groupEnds.contains(i))
                menu->addSeparator();
        }
    };
    fill(bar->addMenu(u"&Template"_s), u"submenuTemplate"_s, New, Exit, {OpenTemplate, SaveAs, Delete, PrintSetup});
    fill(bar->addMenu(u"&Edit"_s), u"submenuEdit"_s, AttachFile, CheckSpelling, {RemoveAttachment, Undo});
    m_commands[Help]->setObjectName(u"menuHelp"_s);
    bar->addAction(m_commands[Help]);
    return bar;
}

QWidget* frmMailEditor::BuildToolbar()
{
    auto* bar = new clsCommandBar;
    bar->setObjectName(u"Toolbar1"_s);
    const QHash<int, QString> captions{{New, u"New"_s},        {OpenTemplate, u"Open"_s},      {Save, u"Save"_s},
                                       {SaveAs, u"Save As"_s}, {Delete, u"Delete"_s},          {Print, u"Print"_s},
                                       {Undo, u"Undo"_s},      {CheckSpelling, u"Spelling"_s}, {Help, u"Help"_s}};
    for (int i = 0; i < CommandCount; ++i) {
        const Look& look = LookOf(i);
        if (!look.key)
            continue;
        QAction* command = m_commands[static_cast<std::size_t>(i)];
        auto* action = new QAction(modIcons::Icon(QString::fromUtf16(look.icon)), captions[i], this);
        action->setObjectName(u"Toolbar1_"_s + QString::fromUtf16(look.key));
        action->setToolTip(modMenus::Plain(command->text()));
        connect(action, &QAction::triggered, command, &QAction::trigger);
        connect(command, &QAction::enabledChanged, action, &QAction::setEnabled);
        bar->addAction(action);
    }
    return bar;
}

QWidget* frmMailEditor::BuildAttachment()
{
    auto* frame = new QGroupBox(u"Attached File"_s);
    frame->setObjectName(u"FileAttachmentInfo"_s);
    auto* row = new QHBoxLayout(frame);
    const std::array captions{u"Name:"_s, u"Size:"_s, u"Date:"_s};
    for (std::size_t i = 0; i < captions.size(); ++i) {
        auto* label = new QLabel(captions[i]);
        label->setObjectName(u"lblFileLabels_%1"_s.arg(i));
        m_lblFileInfo[i] = new clsElidedLabel;
        m_lblFileInfo[i]->setObjectName(u"lblFileInfo_%1"_s.arg(i));
        m_lblFileInfo[i]->setMinimumWidth(FactWidths[i] * fontMetrics().averageCharWidth());
        row->addWidget(label);
        row->addWidget(m_lblFileInfo[i], i == 0 ? 3 : 2);
    }
    m_attachButton = new QPushButton(modIcons::Icon(u"attach"_s), u"&Attach File"_s);
    m_attachButton->setObjectName(u"AttachButton"_s);
    m_removeAttachButton = new QPushButton(modIcons::Icon(u"attach-remove"_s), u"&Remove File"_s);
    m_removeAttachButton->setObjectName(u"RemoveAttachButton"_s);
    connect(m_attachButton, &QPushButton::clicked, m_commands[AttachFile], &QAction::trigger);
    connect(m_removeAttachButton, &QPushButton::clicked, m_commands[RemoveAttachment], &QAction::trigger);
    row->addWidget(m_attachButton);
    row->addWidget(m_removeAttachButton);
    return frame;
}

void frmMailEditor::BuildTexts()
{
    m_templateType->setObjectName(u"TemplateType"_s);
    m_templateType->setAccessibleName(u"Message type"_s);
    m_templateType->setPlaceholderText(u"Choose a message type"_s);
    m_templateName->setObjectName(u"TemplateName"_s);
    m_templateName->setAccessibleName(u"Template"_s);
    m_templateName->setPlaceholderText(u"New template"_s);
    for (QComboBox* list : {m_templateType, m_templateName})
        list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(m_templateType, &QComboBox::activated, this,
            [this] { guarded(Module, "TemplateType_Click", [this] { TypeChosen(); }); });
    connect(m_templateName, &QComboBox::activated, this,
            [this] { guarded(Module, "TemplateName_Click", [this] { NameChosen(); }); });

    m_tSubject->setObjectName(u"tSubject"_s);
    guarded(Module, "Form_Load", [this] { modTextBoxes::LimitSize(*m_tSubject, m_template.SubjectSize()); });
    m_tBody->setObjectName(u"tBody"_s);
    m_tBody->setTabChangesFocus(true);
    modTextBoxes::SetLines(*m_tBody, BodyLines);
    modTextBoxes::BreakLongLines(*m_tBody);
    m_spelling->Watch(*m_tSubject);
    m_spelling->Watch(*m_tBody);
    connect(m_tSubject, &QLineEdit::textChanged, this, &frmMailEditor::Changed);
    // Not textChanged: an underline is no change.
    connect(m_tBody->document(), &QTextDocument::modificationChanged, this, [this](bool modified) {
        if (modified)
            Changed();
    });
    m_tSubject->installEventFilter(this);
    m_tBody->installEventFilter(this);
}

bool frmMailEditor::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn && (watched == m_tSubject || watched == m_tBody))
        m_inBody = watched == m_tBody;
    // A line that loses the focus gives its selection up.
    if (event->type() == QEvent::FocusOut && watched == m_tSubject)
        RememberSubject();
    return QDialog::eventFilter(watched, event);
}

void frmMailEditor::RememberSubject()
{
    const bool selected = m_tSubject->hasSelectedText();
    m_subjectFrom = selected ? m_tSubject->selectionStart() : m_tSubject->cursorPosition();
    m_subjectTo = selected ? m_tSubject->selectionEnd() : m_subjectFrom;
}

bool frmMailEditor::event(QEvent* event)
{
    const bool done = QDialog::event(event);
    // Of a list that drops down before its window has the keyboard, Esc would close the window too.
    if (event->type() == QEvent::WindowActivate && !std::exchange(m_begun, true))
        QTimer::singleShot(0, this, [this] {
            if (isVisible() && m_type == 0)
                DropDown(*m_templateType);
        });
    return done;
}

void frmMailEditor::DropDown(QComboBox& list)
{
    list.setFocus();
    if (list.count() > 0)
        list.showPopup();
}

void frmMailEditor::Do(Command command)
{
    guarded(Module, "Menu_Click", [&] {
        switch (command) {
        case New:
            return NewTemplate();
        case OpenTemplate:
            return DropDown(*m_templateName);
        case Save:
            Store(m_template.EditMode == NewMode ? NewMode : QString());
            return;
        case SaveAs:
            Store(CopyMode);
            return;
        case Delete:
            return DeleteTemplate();
        case Print:
            return PrintTemplate();
        case PrintSetup:
            return Platform().Printer->SetUp();
        case Exit:
            return reject();
        case AttachFile:
            return Attach();
        case RemoveAttachment:
            m_attachment.clear();
            Changed();
            return ShowAttachment();
        case Undo:
            return UndoChanges();
        case CheckSpelling:
            return Spell();
        case Help:
            return Platform().Windows->ShowHelp(modHelpTopics::MailEditor);
        case CommandCount:
            return;
        }
    });
}

void frmMailEditor::Changed()
{
    if (!m_loading)
        m_template.Dirty = true;
}

bool frmMailEditor::MayLeave()
{
    if (!m_template.Dirty)
        return true;
    switch (MsgBox(u"Changes have been made.  Do you wish to save them?"_s, Buttons::YesNoCancel, Icon::Question)) {
    case Answer::Yes:
        return Store(m_template.EditMode == NewMode ? NewMode : QString());
    case Answer::No:
        return true;
    default:
        return false;
    }
}

void frmMailEditor::reject()
{
    bool leave = State().Terminating || State().SessionEnding;
    if (!leave)
        guarded(Module, "Form_QueryUnload", [&] { leave = MayLeave(); });
    if (leave)
        QDialog::reject();
}

void frmMailEditor::FillTypes()
{
    for (const modBrambury::MessageType& type : State().MessageTypes)
        m_templateType->addItem(type.Title, type.ID);
    m_templateType->setCurrentIndex(-1);
}

void frmMailEditor::LoadNames()
{
    modTemplateList::Fill(*m_templateName, m_template, m_type, false);
    m_templateName->setCurrentIndex(m_template.MessageID == 0 ? -1
                                                              : m_templateName->findData(qint64{m_template.MessageID}));
    m_templateType->setCurrentIndex(m_type == 0 ? -1 : m_templateType->findData(m_type));
}

void frmMailEditor::TypeChosen()
{
    const auto type = static_cast<qint16>(m_templateType->currentData().toInt());
    if (type == m_type)
        return;
    // A new template that gets its first type is not left.
    const bool stays = m_template.EditMode == NewMode && m_type == 0;
    if (!stays && !MayLeave())
        return LoadNames();
    m_type = type;
    if (stays)
        LoadNames();
    else
        ShowNew();
}

void frmMailEditor::NameChosen()
{
    if (m_templateName->currentIndex() >= 0)
        Open(m_templateName->currentData().toLongLong());
}

void frmMailEditor::Open(qint64 messageID)
{
    if (messageID == m_template.MessageID)
        return;
    if (MayLeave())
        Show(messageID);
    else
        LoadNames();
}

void frmMailEditor::Show(qint64 messageID)
{
    const clsHourglass hourglass; // another program's lock is waited for
    // One that another program has added is not in the set yet.
    if (!m_template.GetMessage(messageID) && m_template.BuildNewQuery(0) && !m_template.GetMessage(messageID)) {
        MsgBox(u"This template has been deleted."_s, Buttons::OK, Icon::Exclamation);
        return ShowNew();
    }
    ShowFields(Texts::Fill);
}

void frmMailEditor::ShowNew()
{
    m_template.NewRecord();
    ShowFields(Texts::Fill);
}

void frmMailEditor::ShowFields(Texts texts)
{
    const QScopedValueRollback loading(m_loading, true);
    if (m_template.TemplateType != 0)
        m_type = m_template.TemplateType;
    LoadNames();
    if (texts == Texts::Fill) {
        m_tSubject->setText(m_template.Subject);
        m_tSubject->home(false);
        modTextBoxes::SetText(*m_tBody, m_template.Body);
        m_tBody->document()->clearUndoRedoStacks(); // of the template that was there before
    }
    m_tBody->document()->setModified(false);
    m_attachment = m_template.AttachedFile;
    ShowAttachment();
    const QString modified = ModifiedText(m_template.LastModified);
    m_lblLastModified->setText(modified.isEmpty() ? u"Not saved yet"_s : u"Last Modified: "_s + modified);
    m_commands[Delete]->setEnabled(m_template.MessageID != 0);
    m_template.Dirty = false;
}

void frmMailEditor::ShowAttachment()
{
    std::array<QString, 3> facts;
    if (!m_attachment.isEmpty()) {
        facts[0] = QFileInfo(m_attachment).fileName();
        facts[1] = u"File not found"_s;
        if (Platform().Disk->FileExists(m_attachment))
            ignoringErrors([&] {
                const clsDisk::FileFacts file = Platform().Disk->Facts(m_attachment);
                facts[1] = modCommonFunctions::ByteSizeText(file.size);
                facts[2] = ModifiedText(file.changed);
            });
    }
    for (std::size_t i = 0; i < facts.size(); ++i)
        m_lblFileInfo[i]->setText(facts[i]);
    m_lblFileInfo[0]->setToolTip(modTips::Plain(m_attachment));
    m_removeAttachButton->setEnabled(!m_attachment.isEmpty());
    m_commands[RemoveAttachment]->setEnabled(!m_attachment.isEmpty());
}

void frmMailEditor::NewTemplate()
{
    if (!MayLeave())
        return;
    ShowNew();
    DropDown(*m_templateType);
}

bool frmMailEditor::AskName(const QString& mode)
{
    const QString title = mode == NewMode ? u"New E-Mail Template"_s : u"Save E-Mail Template As"_s;
    const QString name = m_template.StoredName(
        Platform().Dialogs->InputBox(u"Enter a name for this new template:"_s, title, m_template.Template));
    if (name.isEmpty())
        return false;
    QString storing = mode;
    if (m_template.FindMessage(name, true)) {
        if (MsgBox(u"This template name already exists.\r\nDo you want to replace it?"_s, Buttons::YesNo,
                   Icon::Question) != Answer::Yes) {
            m_template.ReturnToRecord();
            return false;
        }
        storing = ReplaceMode;
    }
    m_template.Template = name;
    m_template.EditMode = storing;
    return true;
}

bool frmMailEditor::Store(const QString& mode)
{
    if (m_type < 1) {
        MsgBox(u"Choose a message type for this template first."_s, Buttons::OK, Icon::Exclamation);
        DropDown(*m_templateType);
        return false;
    }
    const QString name = m_template.Template;
    const QString editMode = m_template.EditMode;
    if (!mode.isEmpty() && !AskName(mode))
        return false;
    m_template.TemplateType = m_type;
    m_template.Subject = m_tSubject->text();
    m_template.Body = modTextBoxes::StoredText(*m_tBody);
    m_template.AttachedFile = m_attachment;
    const clsHourglass hourglass; // another program's lock is waited for
    if (!m_template.Update()) {
        // The next attempt must not store it in this one's way.
        m_template.Template = name;
        m_template.EditMode = editMode;
        m_template.ReturnToRecord();
        return false;
    }
    ShowFields(Texts::Keep);
    return true;
}

void frmMailEditor::DeleteTemplate()
{
    if (clsMailTemplate::IsDefault(m_template.Template)) {
        MsgBox(u"You cannot delete the Default template."_s, Buttons::OK, Icon::Critical);
        return;
    }
    if (MsgBox(u"Are you sure you wish to delete this e-mail template?"_s, Buttons::YesNo, Icon::Question) !=
        Answer::Yes)
        return;
    const clsHourglass hourglass;
    if (!m_template.Delete())
        return;
    if (m_template.MessageID == 0)
        ShowNew();
    else
        ShowFields(Texts::Fill);
}

void frmMailEditor::PrintTemplate()
{
    const modPrintJob::Job job = [this] {
        return guarded(Module, "Print", [this] {
                   clsPrinter& printer = *Platform().Printer;
                   clsPrintDocument document(printer, u"E-mail Template"_s, clsPrinter::MarginOfSetUp,
                                             clsPrinter::MarginOfSetUp);
                   printer.SetFont(u"Arial"_s, PrintSize, false);
                   printer.PrintLine(u"Template Name: "_s + m_template.Template);
                   printer.PrintLine(u"Subject:"_s + m_tSubject->text());
                   printer.PrintLine(u"Last Modified:"_s + (m_template.LastModified.isValid()
                                                                ? modCommonFunctions::LongDate(m_template.LastModified)
                                                                : QString()));
                   printer.PrintLine({});
                   const QStringList lines = modTextBoxes::Lines(*m_tBody).split(u'\n');
                   for (const QString& line : lines)
                       printer.PrintLine(line);
                   document.End();
               }) == Guarded::Done;
    };
    modPrintJob::OnPaper(job, u"the template"_s,
                         (m_template.Template.isEmpty() ? u"Template"_s : m_template.Template) + u".pdf"_s);
}

void frmMailEditor::Attach()
{
    const QString path = Platform().Dialogs->OpenFile(
        {.title = u"Attach File"_s,
         .filter = u"All Files (*.*)|*.*|Gif and JPEG (*.gif,*.jpg)|*.gif,*.jpg|Bitmap (*.bmp)|*.bmp|"
                   "TIFF (*.tiff)|*.tiff|Windows Metafile (*.wmf)|*.wmf|Text File (*.txt)|*.txt"_s,
         .fileName = {},
         .folder = m_attachment.isEmpty() ? modBrambury::ProgramFolder() : QFileInfo(m_attachment).path()});
    m_attachment = path;
    Changed();
    ShowAttachment();
}

void frmMailEditor::UndoChanges()
{
    if (MsgBox(u"This will Undo all changes since your last save.\r\n Do you wish to Undo all changes?"_s,
               Buttons::YesNo, Icon::Question) != Answer::Yes)
        return;
    if (m_template.MessageID == 0)
        ShowNew();
    else
        Show(m_template.MessageID);
}

void frmMailEditor::Spell()
{
    if (const QString problem = clsSpellCheck::Unavailable(); !problem.isEmpty()) {
        MsgBox(problem, Buttons::OK, Icon::Exclamation);
    } else {
        frmSpelling dialog(*m_spelling, this);
        if (dialog.Begin())
            dialog.exec();
    }
    MsgBox(u"Spell checking complete."_s, Buttons::OK, Icon::Information);
}

void frmMailEditor::InsertFieldTag()
{
    if (m_tSubject->hasFocus())
        RememberSubject();
    frmFieldTags picker(m_database, this);
    picker.exec();
    const QString tag = picker.FieldTag();
    const QString text = m_inBody ? modTextBoxes::Lines(*m_tBody) : m_tSubject->text();
    const QTextCursor cursor = m_tBody->textCursor();
    const qsizetype from = std::min<qsizetype>(m_inBody ? cursor.selectionStart() : m_subjectFrom, text.size());
    const qsizetype to = std::min<qsizetype>(m_inBody ? cursor.selectionEnd() : m_subjectTo, text.size());
    if (m_inBody)
        m_tBody->setFocus();
    else
        m_tSubject->setFocus();
    clsSpelledBox& target = *m_spelling->Boxes()[m_inBody ? 1 : 0];
    if (tag.isEmpty())
        return target.Select(from, to - from);
    const modFieldTags::Insertion put = modFieldTags::Insert(text, from, to, tag);
    target.Replace(put.from, put.to - put.from, put.text);
    if (!m_inBody && m_tSubject->text() == text)
        MsgBox(u"The subject has no room for this field tag."_s, Buttons::OK, Icon::Exclamation);
}
