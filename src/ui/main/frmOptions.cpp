// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/frmOptions.h"

#include "data/clsRecordEditor.h"
#include "data/modMessageTypes.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/clsSound.h"
#include "platform/modHelpTopics.h"
#include "shell/clsHourglass.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"
#include "ui/parts/modTextBoxes.h"

#include <QCheckBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "frmOptions";
constexpr int MostDays = 32767;
constexpr int UsualHTTPPort = 80;
constexpr int SignatureLines = 4;
constexpr int TypesPage = 2;

int SizeOf(clsDatabase& database, const QString& table, const QString& field)
{
    int size = 0;
    guarded(Module, "SizeOf", [&] { size = database.FieldSize(table, field); });
    return size;
}
} // namespace

frmOptions::frmOptions(clsDatabase& database, QWidget* parent)
    : QDialog(parent), m_database(database), m_tabs(new QTabWidget)
{
    setObjectName(u"frmOptions"_s);
    setWindowTitle(u"Program Options"_s);
    m_tabs->setObjectName(u"SSTab1"_s);
    m_tabs->addTab(BuildGeneral(), u"General"_s);
    m_tabs->addTab(BuildDefaults(), u"Program Defaults"_s);
    m_tabs->addTab(BuildTypes(), u"Message Types"_s);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(12, 12, 12, 12);
    all->addWidget(m_tabs, 1);
    all->addLayout(BuildButtons());

    // Another program may have changed them.
    modBrambury::LoadMessageTypes();
    ShowTypes();
    m_options.front()->setFocus();
    m_showing = false;
}

void frmOptions::Changed()
{
    if (!m_showing)
        m_changed = true;
}

QCheckBox* frmOptions::Option(const QString& caption, QString clsProgramSettings::*flag)
{
    auto* box = new QCheckBox(caption);
    box->setObjectName(u"ProgramOpt_%1"_s.arg(m_options.size()));
    box->setChecked(IsOn(State().Settings.*flag));
    connect(box, &QCheckBox::toggled, this, &frmOptions::Changed);
    m_options.push_back(box);
    m_takeBacks.push_back(
        [box, flag](clsProgramSettings& settings) { settings.*flag = box->isChecked() ? u"Yes"_s : u"No"_s; });
    return box;
}

QLineEdit* frmOptions::Default(const QString& name, QString clsProgramSettings::*text, const QString& field)
{
    auto* line = new QLineEdit(State().Settings.*text);
    line->setObjectName(name);
    line->home(false);
    modTextBoxes::LimitSize(*line, SizeOf(m_database, u"tblSites"_s, field));
    connect(line, &QLineEdit::textChanged, this, &frmOptions::Changed);
    m_takeBacks.push_back([line, text](clsProgramSettings& settings) { settings.*text = line->text(); });
    return line;
}

QSpinBox* frmOptions::Number(const QString& name, int least, int most, int value)
{
    auto* box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(least, most);
    box->setValue(value);
    box->setAccelerated(true);
    box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(box, &QSpinBox::textChanged, this, &frmOptions::Changed);
    return box;
}

QPushButton* frmOptions::MakeButton(Button index, const QString& caption)
{
    auto* button = new QPushButton(caption);
    button->setObjectName(u"buttonOptions_%1"_s.arg(int{index}));
    button->setAutoDefault(index <= Help);
    button->setDefault(index == OK);
    if (index == Help)
        modDialogParts::GiveHelp(*this, modHelpTopics::ProgramOptions, button);
    else
        connect(button, &QPushButton::clicked, this, [this, index] { ButtonPressed(index); });
    return button;
}

QGroupBox* frmOptions::BuildProgramOptions()
{
    const clsProgramSettings& settings = State().Settings;
    auto* frame = new QGroupBox(u"Program Options"_s);
    auto* lines = new QVBoxLayout(frame);
    lines->addWidget(
        Option(u"Clear &Results Log each time you test links or send e-mail"_s, &clsProgramSettings::ClearResultsLog));
    lines->addWidget(Option(u"Confirm before permanently &deleting a link."_s, &clsProgramSettings::ConfirmDelete));
    lines->addWidget(Option(u"&Show Tips at Startup"_s, &clsProgramSettings::ShowTips));

    auto* backup = Option(u"Prompt for &backup every"_s, &clsProgramSettings::AutoBackup);
    // What the settings hold is not changed by being shown.
    auto* days = Number(u"txtNumDays"_s, std::min<int>(0, settings.DaysToReminder), MostDays, settings.DaysToReminder);
    days->setAccessibleName(u"Days between prompts for backup"_s);
    days->setEnabled(backup->isChecked());
    connect(backup, &QCheckBox::toggled, days, &QWidget::setEnabled);
    m_takeBacks.push_back([days](clsProgramSettings& to) { to.DaysToReminder = static_cast<qint16>(days->value()); });
    auto* prompt = new QHBoxLayout;
    prompt->addWidget(backup);
    prompt->addWidget(days);
    prompt->addWidget(new QLabel(u"day(s)."_s));
    prompt->addStretch();
    lines->addLayout(prompt);
    return frame;
}

QGroupBox* frmOptions::BuildMailOptions()
{
    const clsProgramSettings& settings = State().Settings;
    auto* blind = new QGroupBox(u"Blind Carbon Copies (The recipient does not see BCCs)"_s);
    auto* all = new QRadioButton(u"BCC all &e-mail messages to your return address"_s);
    auto* none = new QRadioButton(u"&No BCC"_s);
    all->setObjectName(u"OptBCC_0"_s);
    none->setObjectName(u"OptBCC_1"_s);
    (settings.BCC != 0 ? all : none)->setChecked(true);
    connect(all, &QRadioButton::toggled, this, &frmOptions::Changed);
    m_takeBacks.push_back([all](clsProgramSettings& to) { to.BCC = all->isChecked() ? 1 : 0; });
    auto* choices = new QVBoxLayout(blind);
    choices->addWidget(all);
    choices->addWidget(none);

    auto* frame = new QGroupBox(u"E-mail/Test Options"_s);
    auto* lines = new QVBoxLayout(frame);
    lines->addWidget(blind);
    auto* play = Option(u"Play &WAV sound when tests and/or e-mail sending is complete."_s,
                        &clsProgramSettings::PlaySoundComplete);
    lines->addWidget(play);
    m_audioFile = new QLineEdit(settings.SoundComplete);
    m_audioFile->setObjectName(u"AudioFile"_s);
    m_audioFile->setAccessibleName(u"Sound file"_s);
    connect(m_audioFile, &QLineEdit::textChanged, this, &frmOptions::Changed);
    m_takeBacks.push_back([this, play](clsProgramSettings& to) {
        to.SoundComplete = play->isChecked() ? m_audioFile->text() : QString();
    });
    auto* sound = new QHBoxLayout;
    sound->addWidget(m_audioFile, 1);
    const auto add = [&](Button index, const QString& icon, const QString& tip) {
        QPushButton* button = MakeButton(index, {});
        button->setIcon(modIcons::Icon(icon));
        button->setToolTip(tip);
        button->setAccessibleName(tip);
        sound->addWidget(button);
    };
    add(Browse, u"open"_s, u"Browse for a sound file"_s);
    add(Play, u"play"_s, u"Play the sound"_s);
    for (int i = 0; i < sound->count(); ++i) {
        QWidget* control = sound->itemAt(i)->widget();
        control->setEnabled(play->isChecked());
        connect(play, &QCheckBox::toggled, control, &QWidget::setEnabled);
    }
    lines->addLayout(sound);
    return frame;
}

QWidget* frmOptions::BuildGeneral()
{
    auto* page = new QWidget;
    auto* frames = new QVBoxLayout(page);
    frames->addWidget(BuildProgramOptions());
    frames->addWidget(BuildMailOptions());
    frames->addStretch();
    return page;
}

QWidget* frmOptions::BuildDefaults()
{
    const clsProgramSettings& settings = State().Settings;
    auto* mail = new QGroupBox(u"E-mail Settings"_s);
    auto* mailForm = new QFormLayout(mail);
    mailForm->addRow(u"Web&master:"_s, Default(u"txtFullName"_s, &clsProgramSettings::DefaultWebMaster, u"FullName"_s));
    mailForm->addRow(u"A&ddress:"_s, Default(u"txtEmail"_s, &clsProgramSettings::DefaultEmail, u"Email"_s));
    mailForm->addRow(u"S&ender:"_s, Default(u"txtSender"_s, &clsProgramSettings::DefaultSender, u"Sender"_s));
    auto* signature = new QPlainTextEdit;
    signature->setObjectName(u"txtSignatureBlock"_s);
    signature->setTabChangesFocus(true);
    modTextBoxes::SetLines(*signature, SignatureLines);
    modTextBoxes::BreakLongLines(*signature);
    modTextBoxes::SetText(*signature, settings.DefaultSignatureBlock);
    connect(signature, &QPlainTextEdit::textChanged, this, &frmOptions::Changed);
    m_takeBacks.push_back(
        [signature](clsProgramSettings& to) { to.DefaultSignatureBlock = modTextBoxes::StoredText(*signature); });
    mailForm->addRow(u"&Signature:"_s, signature);

    auto* smtp = new QGroupBox(u"E-mail Server (SMTP)"_s);
    auto* smtpForm = new QFormLayout(smtp);
    smtpForm->addRow(u"Hos&t:"_s, Default(u"txtHostName"_s, &clsProgramSettings::DefaultHostName, u"HostName"_s));
    QSpinBox* mailPort = Number(u"txtMailPort"_s, 0, clsRecordEditor::MostPort, settings.DefaultMailPort);
    mailPort->setAccessibleName(u"SMTP Port"_s);
    m_takeBacks.push_back(
        [mailPort](clsProgramSettings& to) { to.DefaultMailPort = static_cast<quint16>(mailPort->value()); });
    smtpForm->addRow(u"&Port:"_s, mailPort);

    auto* http = new QGroupBox(u"HTTP Server"_s);
    auto* httpForm = new QFormLayout(http);
    httpForm->addRow(u"Pro&xy:"_s,
                     Default(u"txtProxyServer"_s, &clsProgramSettings::DefaultProxyServer, u"ProxyServer"_s));
    bool isNumber = false;
    const int stored = settings.DefaultHTTPPort.toInt(&isNumber);
    QSpinBox* httpPort = Number(u"txtHTTPPort"_s, 0, clsRecordEditor::MostPort, isNumber ? stored : UsualHTTPPort);
    httpPort->setAccessibleName(u"HTTP Port"_s);
    m_takeBacks.push_back(
        [httpPort](clsProgramSettings& to) { to.DefaultHTTPPort = QString::number(httpPort->value()); });
    httpForm->addRow(u"Po&rt:"_s, httpPort);

    // The boxes of all three begin at the same place.
    int widest = 0;
    for (QFormLayout* form : {mailForm, smtpForm, httpForm}) {
        for (int row = 0; row < form->rowCount(); ++row)
            widest = std::max(widest, form->itemAt(row, QFormLayout::LabelRole)->sizeHint().width());
    }
    for (QFormLayout* form : {mailForm, smtpForm, httpForm})
        form->itemAt(0, QFormLayout::LabelRole)->widget()->setMinimumWidth(widest);

    auto* frame = new QGroupBox(u"Default Settings for New Sites"_s);
    auto* lines = new QVBoxLayout(frame);
    lines->addWidget(mail, 1);
    lines->addWidget(smtp);
    lines->addWidget(http);
    auto* page = new QWidget;
    (new QVBoxLayout(page))->addWidget(frame);
    return page;
}

QWidget* frmOptions::BuildTypes()
{
    auto* page = new QWidget;
    auto* lines = new QVBoxLayout(page);
    auto* text = new QLabel(u"Brambury enables you to e-mail 8 different types of messages. The title of these message "
                            "types are displayed in various screens and picklists so that you can choose the "
                            "appropriate message to send. Customize the titles in this screen."_s);
    text->setWordWrap(true);
    lines->addWidget(text);
    lines->addSpacing(8);
    auto* grid = new QGridLayout;
    const int size = SizeOf(m_database, u"tblMailType"_s, u"MessageType"_s);
    for (std::size_t i = 0; i < TypeCount; ++i) {
        const int number = static_cast<int>(i) + 1;
        auto* title = new QLineEdit;
        title->setObjectName(u"txtMessageType_%1"_s.arg(number));
        title->setAccessibleName(u"Title of message type %1"_s.arg(number));
        modTextBoxes::LimitSize(*title, size);
        auto* offer = new QCheckBox(u"Offer"_s);
        offer->setObjectName(u"chkboxOffer_%1"_s.arg(number));
        offer->setAccessibleName(u"Message type %1 is an offer"_s.arg(number));
        connect(title, &QLineEdit::textChanged, this, &frmOptions::Changed);
        connect(offer, &QCheckBox::toggled, this, &frmOptions::Changed);
        grid->addWidget(modDialogParts::LabelFor(title, u"&%1"_s.arg(number)), number, 0);
        grid->addWidget(title, number, 1);
        grid->addWidget(offer, number, 2);
        m_titles.at(i) = title;
        m_offers.at(i) = offer;
    }
    lines->addLayout(grid);
    lines->addStretch();
    return page;
}

QLayout* frmOptions::BuildButtons()
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(MakeButton(OK, u"&OK"_s));
    row->addWidget(MakeButton(Cancel, u"&Cancel"_s));
    row->addWidget(MakeButton(Apply, u"&Apply"_s));
    row->addWidget(MakeButton(Help, u"&Help"_s));
    return row;
}

void frmOptions::ShowTypes()
{
    const QScopedValueRollback showing(m_showing, true);
    const auto& types = State().MessageTypes;
    for (std::size_t i = 0; i < TypeCount; ++i) {
        const bool stored = i < types.size();
        m_titles.at(i)->setText(stored ? types[i].Title : QString());
        m_offers.at(i)->setChecked(stored && types[i].Offer);
        m_titles.at(i)->setEnabled(stored);
        m_offers.at(i)->setEnabled(stored);
    }
}

std::vector<modBrambury::MessageType> frmOptions::Types() const
{
    std::vector<modBrambury::MessageType> types;
    for (std::size_t i = 0; i < TypeCount; ++i)
        types.push_back({.Title = m_titles.at(i)->text(), .Offer = m_offers.at(i)->isChecked()});
    return types;
}

bool frmOptions::Save()
{
    const auto types = Types();
    if (!modMessageTypes::Check(types)) {
        m_tabs->setCurrentIndex(TypesPage);
        m_offers.front()->setFocus();
        return false;
    }
    // They are kept in two places, which take them both or neither. The database goes first: it may be locked.
    const auto write = [this](const std::vector<modBrambury::MessageType>& all) {
        const Guarded written = guardedAloud(Module, "SaveMessageTypes", [&] {
            const clsHourglass hourglass;
            modMessageTypes::Write(m_database, all);
        });
        return written == Guarded::Done;
    };
    if (!write(types))
        return false;
    const clsProgramSettings before = State().Settings;
    for (const auto& takeBack : m_takeBacks)
        takeBack(State().Settings);
    bool stored = false;
    guardedAloud(Module, "SaveSettings", [&] { stored = modBrambury::SaveProgramSettings(); });
    if (!stored) {
        State().Settings = before;
        write(State().MessageTypes);
        return false;
    }
    modBrambury::LoadMessageTypes();
    ShowTypes();
    m_changed = false;
    return true;
}

void frmOptions::reject()
{
    const bool ending = State().Terminating || State().SessionEnding;
    if (ending || modCommonFunctions::MayLeave(m_changed, [this] { return Save(); }))
        QDialog::reject();
}

void frmOptions::BrowseSound()
{
    const QFileInfo now(m_audioFile->text());
    const QString file =
        Platform().Dialogs->OpenFile({.title = u"Open Sound File"_s,
                                      .filter = u"Sound (*.wav)|*.wav"_s,
                                      .fileName = now.isFile() ? now.fileName() : QString(),
                                      .folder = now.isFile() ? now.absolutePath() : modBrambury::ProgramFolder()});
    m_audioFile->setText(file);
}

void frmOptions::PlaySound() const
{
    const QString file = m_audioFile->text();
    if (file.isEmpty()) {
        MsgBox(u"You must select a sound to play."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return;
    }
    if (!Platform().Disk->FileExists(file)) {
        MsgBox(u"The following Sound File could not be found:\r\n%1.\r\n\r\n"
               "Please update with a correct path and filename."_s.arg(file),
               clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation, u"Sound File Not Found"_s);
        return;
    }
    Platform().Sound->Play(file);
}

void frmOptions::ButtonPressed(int index)
{
    guarded(Module, "buttonOptions_Click", [&] {
        switch (index) {
        case OK:
            if (Save())
                accept();
            return;
        case Cancel:
            return reject();
        case Apply:
            Save();
            return;
        case Browse:
            return BrowseSound();
        case Play:
            return PlaySound();
        default:
            return;
        }
    });
}
