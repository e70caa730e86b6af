// SPDX-License-Identifier: GPL-3.0-or-later
// The window for the log-in at a mail server, opened from the site's editor as a user does: what reaches the site, when
// the password reaches the keyring, and the test.
#include "data/modSites.h"
#include "mail/clsMailLogins.h"
#include "main_window_fixture.h"
#include "platform/widgets/modWidgets.h"
#include "support/dialogs.h"
#include "support/mail_fakes.h"
#include "support/table.h"
#include "ui/records/clsSites.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using clsWork = std::function<void(QDialog&)>;

class tst_mail_login : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestWindow> m_program;
    fakeKeyring m_keyring;
    fakePrograms m_programs;
    fakeMailProbe m_probe;

    /// Opens the site's editor, does `login` in the window for the log-in, then `after` in the editor, and ends there
    /// with this button.
    void Edit(const clsWork& login, const QString& button, const clsWork& after = {})
    {
        inNextDialog([&](QDialog& editor) {
            inNextDialog([&](QDialog& dialog) {
                QTRY_VERIFY(dialog.findChild<QComboBox*>(u"cbSecurity"_s)->isEnabled()); // the keyring has answered
                login(dialog);
            });
            clickIn(editor, u"buttonLogin"_s);
            if (after)
                after(editor);
            clickIn(editor, button);
        });
        clsSites(*State().Database).SiteProperties(u"Shop"_s);
    }
    static void Choose(QDialog& dialog, const QString& box, int index)
    {
        auto& list = controlOf<QComboBox>(dialog, box);
        list.setFocus();
        QTest::keyClick(&list, Qt::Key_Home);
        for (int i = 0; i < index; ++i)
            QTest::keyClick(&list, Qt::Key_Down);
    }
    static void Type(QDialog& dialog, const QString& line, const QString& text)
    {
        controlOf<QLineEdit>(dialog, line).selectAll();
        QTest::keyClicks(&controlOf<QLineEdit>(dialog, line), text);
    }
    static QString PortOf(QDialog& dialog) { return controlOf<QComboBox>(dialog, u"cbPort"_s).currentText(); }
    QString Field(const QString& field)
    {
        const auto sites = m_program->opened->OpenRecordset(u"tblSites"_s);
        return modSites::Find(*sites, u"Shop"_s) ? sites->Field(field).toString() : u"no site"_s;
    }
    QString Fields() { return Field(u"MailSecurity"_s) + u' ' + Field(u"MailPort"_s) + u' ' + Field(u"MailUser"_s); }

private Q_SLOTS:
    void init()
    {
        m_keyring = {};
        m_probe = {};
        m_programs = {};
        m_program = std::make_unique<clsTestWindow>();
        State().Platform.Keyring = &m_keyring;
        State().Platform.Programs = &m_programs;
        State().Platform.MailProbe = &m_probe;
        clsTestInstallation::AddSite(*m_program->opened, u"Shop"_s,
                                     {{u"HostName"_s, u"mail.example"_s}, {u"MailPort"_s, 25}});
        m_program->Open();
    }
    void cleanup()
    {
        QVERIFY(m_program->dialogs.expected.isEmpty());
        m_program.reset();
    }

    void passwordGoesWithTheSite()
    {
        const clsWork enter = [](QDialog& dialog) {
            Choose(dialog, u"cbSecurity"_s, 2);
            QCOMPARE(PortOf(dialog), u"465"_s);
            Choose(dialog, u"cbSecurity"_s, 1);
            QCOMPARE(PortOf(dialog), u"587"_s);
            QVERIFY(!controlOf<QLineEdit>(dialog, u"txtPassword"_s).isEnabled());
            Type(dialog, u"txtUser"_s, u"ann"_s);
            Type(dialog, u"txtPassword"_s, u"secret"_s);
            QVERIFY(!controlOf<QLineEdit>(dialog, u"txtPassword"_s).displayText().contains(u"secret"_s));
            clickIn(dialog, u"buttonOK"_s);
        };
        // Cancel of the editor takes everything along.
        m_program->dialogs.Expect(u"You have made changes without saving.  Do you wish to save them now?"_s,
                                  clsDialogs::Answer::No);
        Edit(enter, u"buttonSites_3"_s, [&](QDialog& editor) {
            QCOMPARE(controlOf<QSpinBox>(editor, u"txtMailPort"_s).value(), 587);
            QVERIFY(m_keyring.entries.isEmpty());
        });
        QCOMPARE(Fields(), u" 25 "_s);
        QVERIFY(m_keyring.entries.isEmpty());

        Edit(enter, u"buttonSites_0"_s);
        QCOMPARE(Fields(), u"starttls 587 ann"_s);
        QCOMPARE(m_keyring.entries.values(), QList<QByteArray>{"secret"});

        // Seen again nothing changes, and nothing is asked; the password moves where it is told to, without being
        // typed.
        Edit([](QDialog& dialog) { clickIn(dialog, u"buttonOK"_s); }, u"buttonSites_3"_s);
        Edit(
            [](QDialog& dialog) {
                QVERIFY(controlOf<QRadioButton>(dialog, u"optKeyring"_s).isChecked());
                QTest::keyClick(&controlOf<QRadioButton>(dialog, u"optDatabase"_s), Qt::Key_Space);
                clickIn(dialog, u"buttonOK"_s);
            },
            u"buttonSites_0"_s);
        QVERIFY(m_keyring.entries.isEmpty());
        QCOMPARE(m_program->opened->OpenRecordset(u"tblMailSecrets"_s)->Field(u"Secret"_s), u"secret"_s);
    }

    void withoutAKeyring()
    {
        m_keyring.fault = u"No service."_s;
        m_program->dialogs.Expect(u"Enter the password, or choose to be asked for it."_s);
        Edit(
            [](QDialog& dialog) {
                Type(dialog, u"txtUser"_s, u"ann"_s);
                QVERIFY(!controlOf<QRadioButton>(dialog, u"optKeyring"_s).isEnabled());
                QCOMPARE(controlOf<QLabel>(dialog, u"lblKeyring"_s).text(), u"There is none: No service."_s);
                QVERIFY(controlOf<QRadioButton>(dialog, u"optAsk"_s).isChecked());
                QTest::keyClick(&controlOf<QRadioButton>(dialog, u"optDatabase"_s), Qt::Key_Space);
                clickIn(dialog, u"buttonOK"_s); // refused
                QVERIFY(dialog.isVisible());
                Type(dialog, u"txtPassword"_s, u"secret"_s);
                auto& tabs = controlOf<QTabWidget>(dialog, u"SSTab1"_s);
                tabs.setCurrentIndex(1);
                controlOf<QSpinBox>(dialog, u"txtPerHour"_s).setValue(40);
                clickIn(dialog, u"buttonOK"_s);
            },
            u"buttonSites_0"_s);
        QCOMPARE(Fields(), u" 25 ann"_s);
        QCOMPARE(Field(u"MailPerHour"_s), u"40"_s);
        QCOMPARE(Field(u"MailGap"_s), QString());
        QVERIFY(Field(u"MailKey"_s).startsWith(u"database:"_s));
    }

    void testShowsWhatTheServerSays()
    {
        m_probe.report.connected = m_probe.report.encrypted = true;
        m_probe.report.certificateFlaw = u"self-signed certificate"_s;
        m_probe.report.dialogue = QStringList{u"< 220 mail.example ready"_s};
        Edit(
            [this](QDialog& dialog) {
                Choose(dialog, u"cbSecurity"_s, 2);
                Type(dialog, u"txtUser"_s, u"ann"_s);
                Type(dialog, u"txtPassword"_s, u"secret"_s);
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(m_probe.asked, QStringList{u"mail.example 465 2 ann secret"_s});
                const QString report = controlOf<QPlainTextEdit>(dialog, u"txtReport"_s).toPlainText();
                QVERIFY(report.contains(u"< 220 mail.example ready"_s) && !report.contains(u"secret"_s));
                QVERIFY(controlOf<QLabel>(dialog, u"lblAdvice"_s).text().contains(u"self-signed certificate"_s));

                // While it waits nothing but Stop answers.
                m_probe.during = [&] {
                    QCOMPARE(controlOf<QPushButton>(dialog, u"buttonTest"_s).text(), u"S&top"_s);
                    QVERIFY(!controlOf<QPushButton>(dialog, u"buttonOK"_s).isEnabled());
                    clickIn(dialog, u"buttonTest"_s);
                };
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(controlOf<QLabel>(dialog, u"lblAdvice"_s).text(), u"You stopped the test."_s);
                QCOMPARE(controlOf<QPushButton>(dialog, u"buttonTest"_s).text(), u"&Test"_s);
                // Closed meanwhile, it goes when the server has answered.
                m_probe.during = [&] {
                    dialog.close();
                    QVERIFY(dialog.isVisible());
                };
                clickIn(dialog, u"buttonTest"_s);
                QTRY_VERIFY(!dialog.isVisible());
            },
            u"buttonSites_3"_s);
        QVERIFY(m_keyring.entries.isEmpty());
    }

    /// What the user enters is agreed to with OK; what the file brings along is asked for, whatever it is shown as.
    void aCommandIsAgreedTo()
    {
        const auto agreed = [&] { return m_program->settings.values.value(u"TokenCommands"_s).size(); };
        const auto test = [](QDialog& dialog) {
            clickIn(dialog, u"buttonTest"_s);
            clickIn(dialog, u"buttonOK"_s);
        };
        m_programs.output = "token";
        const auto sites = m_program->opened->OpenRecordset(u"tblSites"_s);
        const auto bring = [&](const QString& command) {
            m_program->opened->UpdateRecords(u"tblSites"_s, {sites->Bookmark()},
                                             {{u"MailUser"_s, u"ann"_s}, {u"MailTokenCommand"_s, command}});
        };
        bring(u"theirs"_s);
        m_program->dialogs.Expect(u"To log in at this mail server:*"_s, clsDialogs::Answer::No);
        Edit(test, u"buttonSites_3"_s);
        QVERIFY(m_programs.commands.isEmpty() && m_probe.asked.isEmpty() && agreed() == 0);
        bring(u"theirs\nonce more"_s);
        m_program->dialogs.Expect(
            u"The token command of the site Shop is not run: it, or the mail server's name, is too "
            "long or holds characters that cannot be seen."_s);
        Edit(test, u"buttonSites_3"_s);
        QVERIFY(m_programs.commands.isEmpty() && agreed() == 0);
        bring(u"theirs"_s);
        m_program->dialogs.Expect(u"To log in at this mail server:*"_s, clsDialogs::Answer::Yes);
        Edit(test, u"buttonSites_3"_s);
        Edit(test, u"buttonSites_3"_s);
        QCOMPARE(m_programs.commands, (QStringList{u"theirs"_s, u"theirs"_s}));
        Edit(
            [&](QDialog& dialog) {
                Type(dialog, u"txtTokenCommand"_s, u"mine"_s);
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(agreed(), 1);
                clickIn(dialog, u"buttonOK"_s);
            },
            u"buttonSites_0"_s);
        QCOMPARE(m_programs.commands.last(), u"mine"_s);
        QCOMPARE(agreed(), 2);
        Edit(test, u"buttonSites_3"_s);
    }

    void thePasswordBoxHidesIt()
    {
        inNextDialog([](QDialog& dialog) {
            auto* line = dialog.findChild<QLineEdit*>();
            QTest::keyClicks(line, u" secret "_s);
            QVERIFY(!line->displayText().contains(u"secret"_s));
            QTest::keyClick(line, Qt::Key_Return);
        });
        QCOMPARE(modWidgets::MakeDialogs({})->PasswordBox(u"Password:"_s, u"Log-in"_s), u" secret "_s);
    }

    void keysAndSmallScreens()
    {
        Edit(
            [](QDialog& dialog) {
                const QSize least = dialog.minimumSizeHint();
                QVERIFY2(least.width() <= 780 && least.height() <= 560, qPrintable(QString::number(least.height())));
                Type(dialog, u"txtUser"_s, u"ann"_s); // what a user needs is enabled
                controlOf<QComboBox>(dialog, u"cbSecurity"_s).setFocus();
                QStringList order;
                for (int i = 0; i < 11; ++i) {
                    order << dialog.focusWidget()->objectName();
                    QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
                }
                QCOMPARE(order.join(u' '), u"cbSecurity cbPort txtUser txtPassword optKeyring optDatabase optAsk "
                                           "buttonTest buttonOK buttonCancel buttonHelp"_s);
                auto& tabs = controlOf<QTabWidget>(dialog, u"SSTab1"_s);
                for (int page = 0; page < tabs.count(); ++page) {
                    tabs.setCurrentIndex(page);
                    QString letters;
                    for (QWidget* control : dialog.findChildren<QWidget*>()) {
                        const auto shortcut = QKeySequence::mnemonic(control->property("text").toString());
                        if (!control->isVisible() || shortcut.isEmpty())
                            continue;
                        const QString letter = shortcut.toString().right(1);
                        QVERIFY2(!letters.contains(letter), qPrintable(control->property("text").toString()));
                        letters += letter;
                    }
                }
                QTest::keyClick(&dialog, Qt::Key_Escape);
            },
            u"buttonSites_3"_s);
    }
};

QTEST_MAIN(tst_mail_login)
#include "tst_mail_login.moc"
