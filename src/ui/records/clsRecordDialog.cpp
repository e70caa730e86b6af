// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/clsRecordDialog.h"

#include "platform/clsWindows.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/clsPortBox.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modTextBoxes.h"
#include "ui/parts/modTips.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "clsRecordDialog";
/// A list's width in letters; longer entries are seen when it is open.
constexpr int ListLetters = 16;
/// Fits a screen of 800 by 600.
constexpr QSize UsualSize(760, 530);

/// The entry that stands for a field's value.
int EntryOf(const QComboBox& list, const QVariant& value)
{
    int none = -1;
    for (int i = list.count() - 1; i >= 0; --i) {
        const QVariant data = list.itemData(i);
        if (data.isNull())
            none = i;
        else if (!value.isNull() && data.toLongLong() == value.toLongLong())
            return i;
    }
    return none;
}
} // namespace

clsRecordDialog::clsRecordDialog(clsRecordEditor& editor, Look look, QWidget* parent)
    : QDialog(parent), m_editor(editor), m_look(std::move(look)), m_tabs(new QTabWidget)
{
    setObjectName(m_look.name);
    setWindowTitle(m_look.caption);
    m_tabs->setObjectName(u"SSTab1"_s);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(12, 12, 12, 12);
    all->addWidget(m_tabs, 1);
    m_editor.OnSaved([this] { Q_EMIT RecordSaved(); });
}

clsRecordDialog::~clsRecordDialog()
{
    m_editor.OnSaved({});
}

QWidget* clsRecordDialog::AddPage(const QString& caption)
{
    auto* page = new QWidget;
    m_tabs->addTab(page, caption);
    return page;
}

void clsRecordDialog::Bind(QWidget* control, const QString& name, const QString& field, std::function<void()> show)
{
    control->setObjectName(name);
    m_bindings.push_back({field, control});
    m_shows.push_back(std::move(show));
}

void clsRecordDialog::Enter(const QString& field, const QVariant& value)
{
    if (!m_showing)
        m_editor.SetValue(field, value);
}

QLineEdit* clsRecordDialog::Line(const QString& name, const QString& field)
{
    auto* line = new QLineEdit;
    modTextBoxes::LimitSize(*line, m_editor.Size(field));
    connect(line, &QLineEdit::textChanged, this, [this, field](const QString& text) { Enter(field, text); });
    Bind(line, name, field, [this, line, field] {
        const QString text = m_editor.Text(field);
        if (line->text() == text)
            return;
        line->setText(text);
        line->home(false);
    });
    return line;
}

QPlainTextEdit* clsRecordDialog::TextBox(const QString& name, const QString& field, int lines)
{
    auto* box = new QPlainTextEdit;
    box->setTabChangesFocus(true);
    modTextBoxes::SetLines(*box, lines);
    modTextBoxes::BreakLongLines(*box);
    connect(box, &QPlainTextEdit::textChanged, this,
            [this, box, field] { Enter(field, modTextBoxes::StoredText(*box)); });
    Bind(box, name, field, [this, box, field] { modTextBoxes::SetText(*box, m_editor.Text(field)); });
    return box;
}

QCheckBox* clsRecordDialog::Check(const QString& caption, const QString& name, const QString& field, int halfChecked)
{
    auto* box = new QCheckBox(caption);
    connect(box, &QCheckBox::stateChanged, this, [this, field, halfChecked](int state) {
        Enter(field, state == Qt::PartiallyChecked ? halfChecked : state == Qt::Checked ? 1 : 0);
    });
    Bind(box, name, field, [this, box, field, halfChecked] {
        const bool half = m_editor.Value(field).toInt() == halfChecked;
        box->setCheckState(half ? Qt::PartiallyChecked : m_editor.On(field) ? Qt::Checked : Qt::Unchecked);
        box->setTristate(half);
    });
    return box;
}

QComboBox* clsRecordDialog::List(const QString& name, const QString& field)
{
    auto* list = new QComboBox;
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->setMinimumContentsLength(ListLetters);
    connect(list, &QComboBox::currentIndexChanged, this, [this, list, field] { Enter(field, list->currentData()); });
    Bind(list, name, field, [this, list, field] { list->setCurrentIndex(EntryOf(*list, m_editor.Value(field))); });
    return list;
}

clsPortBox* clsRecordDialog::Port(const QString& name, const QString& field)
{
    auto* box = new clsPortBox;
    // Its label is the same as that of the other port.
    if (const clsRecordEditor::Field* edited = m_editor.FieldNamed(field))
        box->setAccessibleName(edited->missing.trimmed());
    connect(box, &QSpinBox::valueChanged, this,
            [this, field](int port) { Enter(field, port == 0 ? QVariant() : QVariant(port)); });
    Bind(box, name, field, [this, box, field] {
        const qlonglong port = m_editor.Value(field).toLongLong();
        box->setValue(port < 0 || port > clsRecordEditor::MostPort ? 0 : static_cast<int>(port));
    });
    return box;
}

QLabel* clsRecordDialog::LabelFor(QWidget* control, const QString& caption)
{
    QLabel* label = modDialogParts::LabelFor(control, caption);
    for (const Binding& binding : m_bindings) {
        const clsRecordEditor::Field* field = m_editor.FieldNamed(binding.field);
        if (binding.control != control || !field || field->missing.isEmpty())
            continue;
        m_redLabels.push_back(label);
        control->setAccessibleDescription(u"Required"_s);
    }
    return label;
}

QString clsRecordDialog::WithMnemonic(const QString& caption, QString& taken)
{
    QString marked = caption;
    marked.replace(u'&', "&&"_L1);
    for (qsizetype i = 0; i < marked.size(); ++i) {
        const QChar letter = marked[i].toLower();
        if (!letter.isLetterOrNumber() || taken.contains(letter))
            continue;
        taken += letter;
        return marked.insert(i, u'&');
    }
    return marked;
}

QLabel* clsRecordDialog::Legend()
{
    auto* legend = new QLabel(u"Bold and red: required information."_s);
    legend->setObjectName(u"lblLegend"_s);
    m_redLabels.push_back(legend);
    return legend;
}

QPushButton* clsRecordDialog::PageButton(const QString& caption, const QString& name,
                                         const std::function<void()>& press)
{
    auto* button = new QPushButton(caption);
    button->setObjectName(name);
    connect(button, &QPushButton::clicked, this, [press] { guarded(Module, "PageButton_Click", press); });
    return button;
}

void clsRecordDialog::AddRow(QGridLayout& grid, QWidget* control, const QString& caption)
{
    const int row = grid.rowCount();
    grid.addWidget(LabelFor(control, caption), row, 0);
    grid.addWidget(control, row, 1, 1, -1);
}

void clsRecordDialog::AddAddressRow(QGridLayout& grid, QLineEdit* address, const QString& caption, int index,
                                    const QString& preview)
{
    const int row = grid.rowCount();
    grid.addWidget(LabelFor(address, caption), row, 0);
    grid.addWidget(address, row, 1, 1, 3);
    grid.addWidget(PageButton(preview, u"PreviewURL_%1"_s.arg(index),
                              [address] { modCommonFunctions::OpenWebBrowser(address->text()); }),
                   row, 4);
}

void clsRecordDialog::AddField(QGridLayout& grid, QWidget* control, const QString& caption, int row, int column)
{
    grid.addWidget(LabelFor(control, caption), row, column);
    grid.addWidget(control, row, column + 1, 1, column == 0 ? 1 : -1);
}

void clsRecordDialog::AddIPAddress(QGridLayout& grid, int row, int column, const QString& caption)
{
    auto* line = Line(u"txtIPAddress"_s, u"IPAddress"_s);
    line->setMinimumWidth(line->fontMetrics().horizontalAdvance(u"255.255.255.255--"_s));
    auto* optional = new QHBoxLayout;
    optional->addWidget(line, 1);
    optional->addWidget(new QLabel(u"(Optional)"_s));
    grid.addWidget(LabelFor(line, caption), row, column);
    grid.addLayout(optional, row, column + 1, 1, column == 0 ? 1 : -1);
}

void clsRecordDialog::Begin()
{
    auto* row = new QHBoxLayout;
    const auto add = [&](Button index, const QString& caption, const QString& tip) {
        QPushButton* button = PageButton(caption, u"%1_%2"_s.arg(m_look.buttonName).arg(int{index}),
                                         [this, index] { ButtonPressed(index); });
        button->setToolTip(tip);
        button->setDefault(index == OK);
        row->addWidget(button);
    };
    add(Prev, u"&Prev"_s, u"Move to previous record"_s);
    add(Next, u"&Next"_s, u"Move to next record"_s);
    row->addStretch();
    add(OK, u"&OK"_s, {});
    add(Cancel, u"&Cancel"_s, {});
    add(Apply, u"&Apply"_s, {});
    add(Help, u"&Help"_s, {});
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
    m_bindings.front().control->setFocus();
    auto* help = new QShortcut(QKeySequence::HelpContents, this);
    connect(help, &QShortcut::activated, this, [this] { ButtonPressed(Help); });

    for (QLabel* label : m_redLabels) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    Colour();
    ShowRecord();
    m_showing = false;
    resize(minimumSizeHint().expandedTo(UsualSize));
}

void clsRecordDialog::ShowRecord()
{
    const QScopedValueRollback showing(m_showing, true);
    for (const auto& show : m_shows)
        show();
    setWindowTitle(modTips::Title(m_look.caption, m_editor.Name()));
}

void clsRecordDialog::Colour()
{
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    for (QLabel* label : m_redLabels) {
        QPalette colours = label->palette();
        colours.setColor(QPalette::WindowText, dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb0, 0x00, 0x20));
        label->setPalette(colours);
    }
    // What cannot be typed into must not look as if it could.
    for (QWidget* control : findChildren<QWidget*>()) {
        if (!control->property("readOnly").toBool())
            continue;
        QPalette colours = control->palette();
        colours.setColor(QPalette::Base, palette().color(QPalette::Window));
        control->setPalette(colours);
    }
}

void clsRecordDialog::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        Colour();
}

void clsRecordDialog::keyPressEvent(QKeyEvent* event)
{
    // Boxes in which these keys turn pages or change the number keep them to themselves.
    if (event->modifiers() == Qt::NoModifier && event->key() == Qt::Key_PageDown)
        ButtonPressed(Next);
    else if (event->modifiers() == Qt::NoModifier && event->key() == Qt::Key_PageUp)
        ButtonPressed(Prev);
    else
        QDialog::keyPressEvent(event);
}

void clsRecordDialog::ButtonPressed(int index)
{
    guarded(Module, "ButtonPressed", [&] {
        switch (index) {
        case OK:
            if (Save())
                accept();
            break;
        case Next:
            Move(clsRecordEditor::Step::Next);
            break;
        case Prev:
            Move(clsRecordEditor::Step::Previous);
            break;
        case Cancel:
            reject();
            break;
        case Apply:
            Save();
            break;
        case Help:
            modBrambury::Platform().Windows->ShowHelp(m_look.helpTopic);
            break;
        default:
            break;
        }
    });
}

bool clsRecordDialog::Save()
{
    if (m_editor.Save() != clsRecordEditor::Saved::Yes) {
        FocusFault();
        return false;
    }
    ShowRecord();
    return true;
}

void clsRecordDialog::Move(clsRecordEditor::Step step)
{
    if (!m_editor.Move(step)) {
        FocusFault();
        return;
    }
    ShowRecord();
    Q_EMIT RecordShown();
}

void clsRecordDialog::reject()
{
    const modBrambury::ProcessState& state = modBrambury::State();
    if (state.Terminating || state.SessionEnding || m_editor.MayLeave())
        QDialog::reject();
    else
        FocusFault();
}

void clsRecordDialog::FocusFault()
{
    for (const Binding& binding : m_bindings) {
        if (binding.field != m_editor.FieldAtFault())
            continue;
        for (int i = 0; i < m_tabs->count(); ++i) {
            if (m_tabs->widget(i)->isAncestorOf(binding.control))
                m_tabs->setCurrentIndex(i);
        }
        binding.control->setFocus();
        if (auto* line = qobject_cast<QLineEdit*>(binding.control))
            line->selectAll();
        return;
    }
}
