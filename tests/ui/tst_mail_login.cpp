// SPDX-License-Identifier: GPL-3.0-or-later
// The window for the log-in at a mail server, opened from the site's editor as a user does: what reaches the site, when
// the password reaches the keyring, and the test.
#include "mail/clsMailLogins.h"
#include "main_window_fixture.h"
#include "platform/widgets/modWidgets.h"
#include "support/mail_fakes.h"
#include "ui/records/clsSites.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using clsWork = std::function<void(QDialog&)>;

namespace
{
const QString Unsaved = u"You have made changes without saving.  Do you wish to save them now?"_s;
}

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
    QString Fields(const QStringList& fields) { return m_program->Site(u"Shop"_s, fields); }

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
    void cleanup() { m_program.reset(); }

    void passwordGoesWithTheSite()
    {
        const QStringList fields{u"MailSecurity"_s, u"MailPort"_s, u"MailUser"_s};
        const clsWork enter = [](QDialog& dialog) {
            const auto& port = controlOf<QComboBox>(dialog, u"cbPort"_s);
            const auto& password = controlOf<QLineEdit>(dialog, u"txtPassword"_s);
            Choose(dialog, u"cbSecurity"_s, 2);
            QCOMPARE(port.currentText(), u"465"_s);
            Choose(dialog, u"cbSecurity"_s, 1);
            QCOMPARE(port.currentText(), u"587"_s);
            QVERIFY(!password.isEnabled());
            typeIn(dialog, u"txtUser"_s, u"ann"_s);
            typeIn(dialog, u"txtPassword"_s, u"secret"_s);
            QVERIFY(!password.displayText().contains(u"secret"_s));
            clickIn(dialog, u"buttonOK"_s);
        };
        // Cancel of the editor takes everything along.
        m_program->dialogs.Expect(u"You have made changes without saving.  Do you wish to save them now?"_s,
                                  clsDialogs::Answer::No);
        Edit(enter, u"buttonSites_3"_s, [&](QDialog& editor) {
            QCOMPARE(controlOf<QSpinBox>(editor, u"txtMailPort"_s).value(), 587);
            QVERIFY(m_keyring.entries.isEmpty());
        });
        QCOMPARE(Fields(fields), u"|25|"_s);
        QVERIFY(m_keyring.entries.isEmpty());
        Edit(enter, u"buttonSites_0"_s);
        QCOMPARE(Fields(fields), u"starttls|587|ann"_s);
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
                typeIn(dialog, u"txtUser"_s, u"ann"_s);
                QVERIFY(!controlOf<QRadioButton>(dialog, u"optKeyring"_s).isEnabled());
                QCOMPARE(controlOf<QLabel>(dialog, u"lblKeyring"_s).text(), u"There is none: No service."_s);
                QVERIFY(controlOf<QRadioButton>(dialog, u"optAsk"_s).isChecked());
                QTest::keyClick(&controlOf<QRadioButton>(dialog, u"optDatabase"_s), Qt::Key_Space);
                clickIn(dialog, u"buttonOK"_s); // refused
                QVERIFY(dialog.isVisible());
                typeIn(dialog, u"txtPassword"_s, u"secret"_s);
                controlOf<QSpinBox>(dialog, u"txtPerHour"_s).setValue(40);
                clickIn(dialog, u"buttonOK"_s);
            },
            u"buttonSites_0"_s);
        QCOMPARE(Fields({u"MailPort"_s, u"MailUser"_s, u"MailPerHour"_s, u"MailGap"_s}), u"25|ann|40|"_s);
        QVERIFY(Fields({u"MailKey"_s}).startsWith(u"database:"_s));
    }

    void testShowsWhatTheServerSays()
    {
        m_probe.report.connected = m_probe.report.encrypted = true;
        m_probe.report.certificateFlaw = u"self-signed certificate"_s;
        m_probe.report.dialogue = QStringList{u"< 220 mail.example ready"_s};
        Edit(
            [this](QDialog& dialog) {
                const auto& test = controlOf<QPushButton>(dialog, u"buttonTest"_s);
                const auto& advice = controlOf<QLabel>(dialog, u"lblAdvice"_s);
                Choose(dialog, u"cbSecurity"_s, 2);
                typeIn(dialog, u"txtUser"_s, u"ann"_s);
                typeIn(dialog, u"txtPassword"_s, u"secret"_s);
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(m_probe.asked, QStringList{u"mail.example 465 2 ann secret"_s});
                const QString report = controlOf<QPlainTextEdit>(dialog, u"txtReport"_s).toPlainText();
                QVERIFY(report.contains(u"< 220 mail.example ready"_s) && !report.contains(u"secret"_s));
                QVERIFY(advice.text().contains(u"self-signed certificate"_s));

                // While it waits nothing but Stop answers.
                m_probe.during = [&] {
                    QCOMPARE(test.text(), u"S&top"_s);
                    QVERIFY(!controlOf<QPushButton>(dialog, u"buttonOK"_s).isEnabled());
                    clickIn(dialog, u"buttonTest"_s);
                };
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(advice.text() + test.text(), u"You stopped the test.&Test"_s);
                // Closed meanwhile, it goes when the server has answered.
                m_program->dialogs.Expect(Unsaved, clsDialogs::Answer::No);
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
        m_programs.output = "token";
        const auto agreed = [&] { return m_program->settings.values.value(u"TokenCommands"_s).size(); };
        const auto test = [&](const QString& command, const QString& box, clsDialogs::Answer answer) {
            m_program->SetSite(u"Shop"_s, {{u"MailUser"_s, u"ann"_s}, {u"MailTokenCommand"_s, command}});
            if (!box.isEmpty())
                m_program->dialogs.Expect(box, answer);
            Edit(
                [](QDialog& dialog) {
                    clickIn(dialog, u"buttonTest"_s);
                    clickIn(dialog, u"buttonOK"_s);
                },
                u"buttonSites_3"_s);
        };
        const QString question = u"To log in at this mail server:*"_s;
        test(u"theirs"_s, question, clsDialogs::Answer::No);
        QVERIFY(m_probe.asked.isEmpty());
        test(u"theirs\nonce more"_s,
             u"The token command of the site Shop is not run: it, or the mail server's name, is too long or holds "
             "characters that cannot be seen."_s,
             {});
        QVERIFY(m_programs.commands.isEmpty() && agreed() == 0);
        test(u"theirs"_s, question, clsDialogs::Answer::Yes);
        test(u"theirs"_s, {}, {});
        QCOMPARE(m_programs.commands, (QStringList{u"theirs"_s, u"theirs"_s}));
        Edit(
            [&](QDialog& dialog) {
                typeIn(dialog, u"txtTokenCommand"_s, u"mine"_s);
                clickIn(dialog, u"buttonTest"_s);
                QCOMPARE(agreed(), 1);
                clickIn(dialog, u"buttonOK"_s);
            },
            u"buttonSites_0"_s);
        QCOMPARE(m_programs.commands.last(), u"mine"_s);
        QCOMPARE(agreed(), 2);
        test(u"mine"_s, {}, {});
    }

    void nothingTypedGoesUnasked()
    {
        Edit(
            [&](QDialog& dialog) {
                typeIn(dialog, u"txtUser"_s, u"ann"_s);
                typeIn(dialog, u"txtPassword"_s, u"secret"_s);
                m_program->dialogs.Expect(Unsaved, clsDialogs::Answer::Cancel);
                QTest::keyClick(&dialog, Qt::Key_Escape);
                QVERIFY(dialog.isVisible());
                m_program->dialogs.Expect(Unsaved, clsDialogs::Answer::Yes);
                QTest::keyClick(&dialog, Qt::Key_Escape);
            },
            u"buttonSites_0"_s);
        QCOMPARE(Fields({u"MailUser"_s}), u"ann"_s);
        QCOMPARE(m_keyring.entries.size(), 1);
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
};

QTEST_MAIN(tst_mail_login)
#include "tst_mail_login.moc"
