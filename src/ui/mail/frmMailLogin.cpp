// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmMailLogin.h"

#include "data/clsSiteRecord.h"
#include "data/modMailSecurity.h"
#include "mail/modMailAdvice.h"
#include "mail/modTokenCommand.h"
#include "platform/clsKeyring.h"
#include "platform/modHelpTopics.h"
#include "platform/modSecrets.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/clsExplanation.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modTextBoxes.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScopeGuard>
#include <QSpinBox>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;
using modMailSecrets::Place;

namespace
{
constexpr char Module[] = "frmMailLogin";
constexpr int MostSeconds = 3600;
constexpr int MostMessages = 100'000;
constexpr int TestPage = 2;

void Warn(const QString& text)
{
    MsgBox(text, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}
} // namespace

frmMailLogin::frmMailLogin(clsSiteRecord& site, QWidget* parent) : QDialog(parent), m_site(site), m_tabs(new QTabWidget)
{
    setObjectName(u"frmMailLogin"_s);
    setWindowTitle(u"Log-in to the Mail Server"_s);
    m_tabs->setObjectName(u"SSTab1"_s);
    m_tabs->addTab(m_loginPage = BuildLogin(), u"Log-in"_s);
    m_tabs->addTab(m_advancedPage = BuildAdvanced(), u"Advanced"_s);
    m_tabs->addTab(BuildTest(), u"Test"_s);

    auto* buttons = new QHBoxLayout;
    using modDialogParts::AddButton;
    m_buttonTest = AddButton(*buttons, u"&Test"_s, u"buttonTest"_s);
    m_buttonTest->setToolTip(u"Connect and log in with what is entered here; no message is sent"_s);
    m_buttonTest->setAutoDefault(false);
    connect(m_buttonTest, &QPushButton::clicked, this, &frmMailLogin::TestPressed);
    buttons->addStretch();
    m_buttonOK = AddButton(*buttons, u"&OK"_s, u"buttonOK"_s);
    m_buttonOK->setDefault(true);
    connect(m_buttonOK, &QPushButton::clicked, this, &frmMailLogin::accept);
    connect(AddButton(*buttons, u"&Cancel"_s, u"buttonCancel"_s), &QPushButton::clicked, this, &frmMailLogin::reject);
    modDialogParts::GiveHelp(*this, modHelpTopics::MailLogin, AddButton(*buttons, u"&Help"_s, u"buttonHelp"_s));

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(12, 12, 12, 12);
    all->addWidget(m_tabs, 1);
    all->addLayout(buttons);
    ShowRecord();
    m_cbSecurity->setFocus();
}

QWidget* frmMailLogin::BuildLogin()
{
    auto* page = new QWidget;
    auto* connection = new QGroupBox(u"Connection"_s);
    auto* form = new QFormLayout(connection);
    auto* server = new QLabel(m_site.Text(u"HostName"_s));
    server->setObjectName(u"lblServer"_s);
    server->setTextFormat(Qt::PlainText);
    server->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(u"Server:"_s, server);
    m_cbSecurity = new QComboBox;
    m_cbSecurity->setObjectName(u"cbSecurity"_s);
    for (const auto& [text, security] :
         {std::pair(u"None: nothing is encrypted"_s, clsMailSecurity::None),
          {u"STARTTLS: encrypted before anything is said, or not at all"_s, clsMailSecurity::StartTLS},
          {u"TLS: encrypted from the start"_s, clsMailSecurity::TLS}})
        m_cbSecurity->addItem(text, static_cast<int>(security));
    form->addRow(u"&Security:"_s, m_cbSecurity);
    m_cbPort = new QComboBox;
    m_cbPort->setObjectName(u"cbPort"_s);
    m_cbPort->setEditable(true);
    m_cbPort->setInsertPolicy(QComboBox::NoInsert);
    m_cbPort->setCompleter(nullptr);
    m_cbPort->setValidator(new QIntValidator(1, clsRecordEditor::MostPort, m_cbPort));
    for (const int port : modMailAdvice::UsualPorts())
        m_cbPort->addItem(QString::number(port));
    form->addRow(u"&Port:"_s, m_cbPort);

    auto* login = new QGroupBox(u"Log-in"_s);
    auto* fields = new QFormLayout(login);
    m_txtUser = new QLineEdit;
    m_txtUser->setObjectName(u"txtUser"_s);
    m_txtUser->setPlaceholderText(u"nobody logs in"_s);
    modTextBoxes::LimitSize(*m_txtUser, m_site.Size(u"MailUser"_s));
    fields->addRow(u"&User:"_s, m_txtUser);
    m_txtPassword = new QLineEdit;
    m_txtPassword->setObjectName(u"txtPassword"_s);
    m_txtPassword->setEchoMode(QLineEdit::Password);
    fields->addRow(u"Pass&word:"_s, m_txtPassword);
    fields->addRow(new clsExplanation(
        u"Many providers want an app password here: a password for one program alone, which you make in the security "
        "settings of your account, and can take back there. The password of the account itself is then refused."_s));
    m_places = new QButtonGroup(this);
    auto* places = new QVBoxLayout;
    for (const auto& [caption, name, place] :
         {std::tuple(u"Keep the password in the system's &keyring"_s, u"optKeyring"_s, Place::Keyring),
          {u"Keep it in this encrypted &file"_s, u"optDatabase"_s, Place::Database},
          {u"&Ask for it, once until the program ends"_s, u"optAsk"_s, Place::Nowhere}}) {
        auto* option = new QRadioButton(caption);
        option->setObjectName(name);
        m_places->addButton(option, static_cast<int>(place));
        places->addWidget(option);
        if (place != Place::Keyring)
            continue;
        m_lblKeyring = new clsExplanation({});
        m_lblKeyring->setObjectName(u"lblKeyring"_s);
        m_lblKeyring->setIndent(24);
        m_lblKeyring->hide();
        places->addWidget(m_lblKeyring);
    }
    fields->addRow(places);

    auto* all = new QVBoxLayout(page);
    all->addWidget(connection);
    all->addWidget(login);
    all->addStretch(1);
    // Only what the user does changes a port.
    connect(m_cbSecurity, &QComboBox::activated, this, &frmMailLogin::SecurityChosen);
    connect(m_txtUser, &QLineEdit::textChanged, this, &frmMailLogin::ShowPlaces);
    return page;
}

QSpinBox* frmMailLogin::Pace(const QString& name, const QString& field, int most, const QString& unit)
{
    constexpr int asSettings = -1;
    auto* box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(asSettings, most);
    box->setSpecialValueText(u"as the settings say"_s);
    box->setSuffix(unit);
    box->setAccelerated(true);
    const QVariant stored = m_site.Value(field);
    box->setValue(stored.isNull() ? asSettings : static_cast<int>(std::clamp<qlonglong>(stored.toLongLong(), 0, most)));
    m_paces.push_back([this, box, field, before = box->value()] {
        if (box->value() != before)
            m_site.SetValue(field, box->value() == asSettings ? QVariant() : QVariant(box->value()));
    });
    return box;
}

QWidget* frmMailLogin::BuildAdvanced()
{
    auto* page = new QWidget;
    auto* token = new QGroupBox(u"Token instead of a password (XOAUTH2)"_s);
    auto* fields = new QFormLayout(token);
    m_txtTokenCommand = new QLineEdit;
    m_txtTokenCommand->setObjectName(u"txtTokenCommand"_s);
    modTextBoxes::LimitSize(*m_txtTokenCommand, m_site.Size(u"MailTokenCommand"_s));
    fields->addRow(u"Token co&mmand:"_s, m_txtTokenCommand);
    fields->addRow(new clsExplanation(
        u"A program of your own that prints a token for the user. It is run, without a shell, when messages are "
        "to be sent, and has a minute. Leave this empty to log in with a password. Write no secret into it: other "
        "programs can see the words with which one is run."_s));
    connect(m_txtTokenCommand, &QLineEdit::textChanged, this, &frmMailLogin::ShowPlaces);

    auto* pace = new QGroupBox(u"Pace of messages to this server"_s);
    auto* numbers = new QFormLayout(pace);
    numbers->addRow(u"&Gap between two:"_s, Pace(u"txtGap"_s, u"MailGap"_s, MostSeconds, u" seconds"_s));
    numbers->addRow(u"At most in an hou&r:"_s, Pace(u"txtPerHour"_s, u"MailPerHour"_s, MostMessages, u" messages"_s));
    numbers->addRow(u"At most in a &day:"_s, Pace(u"txtPerDay"_s, u"MailPerDay"_s, MostMessages, u" messages"_s));
    numbers->addRow(new clsExplanation(u"0 is no limit. Sites that use the same server count together."_s));

    auto* all = new QVBoxLayout(page);
    all->addWidget(token);
    all->addWidget(pace);
    all->addStretch(1);
    return page;
}

QWidget* frmMailLogin::BuildTest()
{
    auto* page = new QWidget;
    m_lblAdvice = new clsExplanation(u"\"Test\" connects to the server with what is entered here, logs in, and sends "
                                     "nothing. What it finds is shown here, and what to choose next."_s);
    m_lblAdvice->setObjectName(u"lblAdvice"_s);
    m_lblAdvice->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_txtReport = new QPlainTextEdit;
    m_txtReport->setObjectName(u"txtReport"_s);
    m_txtReport->setAccessibleName(u"What the server said"_s);
    m_txtReport->setReadOnly(true);
    m_txtReport->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_txtReport->setTabChangesFocus(true);
    m_txtReport->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* all = new QVBoxLayout(page);
    all->addWidget(m_lblAdvice);
    all->addWidget(m_txtReport, 1);
    return page;
}

void frmMailLogin::ShowRecord()
{
    const auto security = modMailSecurity::Of(m_site.Text(u"MailSecurity"_s));
    m_cbSecurity->setCurrentIndex(security ? m_cbSecurity->findData(static_cast<int>(*security)) : -1);
    const qlonglong port = m_site.Value(u"MailPort"_s).toLongLong();
    m_cbPort->setEditText(port > 0 ? QString::number(port) : QString());
    m_txtUser->setText(m_site.Text(u"MailUser"_s));
    m_txtTokenCommand->setText(m_site.Text(u"MailTokenCommand"_s));
    m_tokenShown = m_txtTokenCommand->text();
    Place place = m_site.MailSecretPlace();
    // Where nothing is kept yet the keyring is offered.
    if (place == Place::Nowhere && m_site.Text(u"MailUser"_s).isEmpty())
        place = Place::Keyring;
    m_places->button(static_cast<int>(place))->setChecked(true);
    ShowPlaces();
    m_entriesShown = Entries();
}

QStringList frmMailLogin::Entries() const
{
    QStringList entries{m_cbSecurity->currentText()};
    const auto lines = findChildren<QLineEdit*>(); // those of numbers and of the port too
    for (const QLineEdit* line : lines)
        entries << line->text();
    return entries;
}

void frmMailLogin::SecurityChosen()
{
    const auto security = static_cast<clsMailSecurity>(m_cbSecurity->currentData().toInt());
    m_cbPort->setEditText(QString::number(modMailAdvice::PortFor(security, Port())));
}

void frmMailLogin::ShowPlaces()
{
    const bool password = !m_txtUser->text().isEmpty() && m_txtTokenCommand->text().trimmed().isEmpty();
    m_txtPassword->setEnabled(password);
    m_txtPassword->setPlaceholderText(m_site.MailSecretPlace() == Place::Nowhere ? QString()
                                                                                 : u"kept; type to change it"_s);
    for (QAbstractButton* option : m_places->buttons())
        option->setEnabled(password &&
                           (m_noKeyring.isEmpty() || m_places->id(option) != static_cast<int>(Place::Keyring)));
    m_lblKeyring->Tell(u"There is none: "_s + m_noKeyring);
    m_lblKeyring->setVisible(!m_noKeyring.isEmpty());
}

void frmMailLogin::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (m_looked)
        return;
    m_looked = true;
    // It may have to be started: the window is seen by then.
    QTimer::singleShot(0, this, [this] {
        guarded(Module, "LookForKeyring", [this] {
            Waiting([this] { m_noKeyring = Platform().Keyring->Unavailable(); });
            const auto keyring = static_cast<int>(Place::Keyring);
            if (!m_noKeyring.isEmpty() && m_places->checkedId() == keyring &&
                m_site.MailSecretPlace() == Place::Nowhere)
                m_places->button(static_cast<int>(Place::Nowhere))->setChecked(true);
            ShowPlaces();
        });
    });
}

Place frmMailLogin::ChosenPlace() const
{
    return static_cast<Place>(m_places->checkedId());
}

int frmMailLogin::Port() const
{
    return m_cbPort->currentText().toInt();
}

bool frmMailLogin::Check()
{
    QString problem;
    QWidget* fault = nullptr;
    const bool password = !m_txtUser->text().isEmpty() && m_txtTokenCommand->text().trimmed().isEmpty();
    if (m_cbSecurity->currentIndex() < 0) {
        problem = u"Choose whether the connection is to be encrypted."_s;
        fault = m_cbSecurity;
    } else if (Port() < 1 || Port() > clsRecordEditor::MostPort) {
        problem = u"The port is a number from 1 to %1."_s.arg(clsRecordEditor::MostPort);
        fault = m_cbPort;
    } else if (m_txtUser->text().isEmpty() && !m_txtTokenCommand->text().trimmed().isEmpty()) {
        problem = u"Enter the user for whom the command prints a token."_s;
        fault = m_txtUser;
    } else if (password && ChosenPlace() != Place::Nowhere && m_txtPassword->text().isEmpty() &&
               m_site.MailSecretPlace() == Place::Nowhere) {
        problem = u"Enter the password, or choose to be asked for it."_s;
        fault = m_txtPassword;
    }
    if (problem.isEmpty())
        return true;
    Warn(problem);
    m_tabs->setCurrentWidget(m_loginPage);
    fault->setFocus();
    return false;
}

bool frmMailLogin::CommandTyped() const
{
    return m_txtTokenCommand->text() != m_tokenShown;
}

modTokenCommand::Use frmMailLogin::Token() const
{
    // A line shows a text with line breaks as another one.
    return {.command = CommandTyped() ? m_txtTokenCommand->text().trimmed() : m_site.Text(u"MailTokenCommand"_s),
            .host = m_site.Text(u"HostName"_s),
            .siteID = m_site.Text(u"SiteID"_s)};
}

void frmMailLogin::TakeOver()
{
    const auto take = [this](const QString& field, const QString& text) {
        if (m_site.Text(field) != text)
            m_site.SetValue(field, text);
    };
    const QString word = modMailSecurity::WordOf(static_cast<clsMailSecurity>(m_cbSecurity->currentData().toInt()));
    if (modMailSecurity::Of(m_site.Text(u"MailSecurity"_s)) != modMailSecurity::Of(word))
        take(u"MailSecurity"_s, word);
    if (m_site.Value(u"MailPort"_s).toLongLong() != Port())
        m_site.SetValue(u"MailPort"_s, Port());
    take(u"MailUser"_s, m_txtUser->text());
    const modTokenCommand::Use token = Token();
    if (CommandTyped() && !token.command.isEmpty())
        modTokenCommand::Agree(token);
    take(u"MailTokenCommand"_s, token.command);
    for (const auto& pace : m_paces)
        pace();
}

void frmMailLogin::accept()
{
    guarded(Module, "buttonOK_Click", [this] {
        if (m_waiting || !Check())
            return;
        const Place before = m_site.MailSecretPlace();
        const bool password = m_txtPassword->isEnabled();
        const Place place = password ? ChosenPlace() : Place::Nowhere;
        QByteArray secret = m_txtPassword->text().toUtf8();
        const auto wipe = qScopeGuard([&] { modSecrets::Wipe(secret); });
        if (place != Place::Nowhere && secret.isEmpty() && place != before) {
            // The kept one goes to another place.
            std::optional<QByteArray> kept;
            std::optional<clsError> failure;
            Waiting([&] { failure = failureOf([&] { kept = m_site.MailSecret(); }); });
            if (!kept) {
                if (!m_closing)
                    Warn(u"The password could not be read from where it is kept.  Enter it again."_s +
                         (failure ? u"\r\n\r\n"_s + failure->Description() : QString()));
                m_txtPassword->setFocus();
                return;
            }
            secret = *kept;
        }
        if (m_closing)
            return;
        TakeOver();
        if (place == Place::Nowhere && before != Place::Nowhere)
            m_site.ForgetMailSecret();
        else if (place != Place::Nowhere && !secret.isEmpty())
            m_site.SetMailSecret(place, secret);
        QDialog::accept();
    });
}

void frmMailLogin::reject()
{
    if (m_waiting) {
        m_closing = true;
        return TestPressed(); // stops what is waited for, as the button does
    }
    m_closing = false;
    const auto takeOver = [this] {
        accept();
        return result() == Accepted;
    };
    const bool ending = State().Terminating || State().SessionEnding;
    if ((ending || modCommonFunctions::MayLeave(Entries() != m_entriesShown, takeOver)) && result() != Accepted)
        QDialog::reject();
}

void frmMailLogin::Waiting(const std::function<void()>& body)
{
    m_waiting = true;
    m_stopped = false;
    const QPointer<QWidget> focus = focusWidget(); // what is disabled loses it
    for (QWidget* part : {m_loginPage, m_advancedPage, static_cast<QWidget*>(m_buttonOK)})
        part->setEnabled(false);
    const auto end = qScopeGuard([this, focus] {
        for (QWidget* part : {m_loginPage, m_advancedPage, static_cast<QWidget*>(m_buttonOK)})
            part->setEnabled(true);
        if (focus)
            focus->setFocus();
        m_waiting = false;
        // What called for it goes on first.
        if (m_closing)
            QTimer::singleShot(0, this, &QDialog::reject);
    });
    body();
}

void frmMailLogin::TestPressed()
{
    if (m_waiting) {
        m_stopped = true;
        State().StopFlag = true; // a token command ends by it
        return;
    }
    guarded(Module, "buttonTest_Click", [this] {
        if (Check())
            Test();
    });
}

bool frmMailLogin::Fill(clsMailLogin& login)
{
    login.security = static_cast<clsMailSecurity>(m_cbSecurity->currentData().toInt());
    login.user = m_txtUser->text();
    const modTokenCommand::Use token = Token();
    login.token = !token.command.isEmpty();
    if (login.user.isEmpty())
        return true;
    QString problem;
    bool permitted = true;
    const auto failure = failureOf([&] {
        if (login.token) {
            permitted = CommandTyped() || modTokenCommand::Permitted(token, &modTokenCommand::Ask);
            if (permitted)
                login.secret = modTokenCommand::Token(token.command);
        } else if (!m_txtPassword->text().isEmpty())
            login.secret = m_txtPassword->text().toUtf8();
        else if (const auto kept = m_site.MailSecret())
            login.secret = *kept;
        else
            problem = u"Enter the password to test with."_s;
    });
    if (failure)
        problem = failure->Description();
    if (problem.isEmpty())
        return permitted;
    if (!m_stopped)
        Warn(problem);
    return false;
}

void frmMailLogin::Test()
{
    clsMailLogin login;
    const auto wipe = qScopeGuard([&] { modSecrets::Wipe(login.secret); });
    const auto settle = qScopeGuard([this] { m_buttonTest->setText(u"&Test"_s); });
    m_buttonTest->setText(u"S&top"_s);
    m_buttonTest->setFocus();
    State().StopFlag = false;
    bool filled = false;
    Waiting([&] { filled = Fill(login); });
    if (!filled || m_closing || m_stopped) {
        if (!m_closing)
            m_txtPassword->setFocus();
        return;
    }
    const modMailAdvice::Target target{.host = m_site.Text(u"HostName"_s),
                                       .port = Port(),
                                       .security = login.security,
                                       .user = !login.user.isEmpty(),
                                       .token = login.token};
    if (target.host.isEmpty())
        return Warn(u"The site has no mail server yet.  Enter its name in the site's properties."_s);
    m_tabs->setCurrentIndex(TestPage);
    m_txtReport->clear();
    m_lblAdvice->Tell(u"Connecting to %1, port %2..."_s.arg(target.host).arg(target.port));
    clsMailServerReport report;
    Waiting([&] {
        report = Platform().MailProbe->Probe(target.host, target.port, login, State().Settings.Timeout,
                                             State().Settings.CaFile, [this] { return m_stopped; });
    });
    if (m_closing)
        return;
    m_txtReport->setPlainText(modMailAdvice::Facts(report, target).join(u'\n'));
    m_lblAdvice->Tell(m_stopped ? u"You stopped the test."_s : modMailAdvice::Advice(report, target).join(u'\n'));
}
