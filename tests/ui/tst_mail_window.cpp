// SPDX-License-Identifier: GPL-3.0-or-later
// Mail from the main window: the runs with their busy state, the preview, what is asked for, and what can be looked up.
#include "main_window_fixture.h"
#include "shell/modCommonFunctions.h"
#include "support/mail_fakes.h"
#include "support/scripted_smtp.h"
#include "ui/main/clsResultsBox.h"

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Answer = clsDialogs::Answer;

class tst_mail_window : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<scriptedSmtp> m_server;
    std::unique_ptr<clsTestWindow> m_program;

    clsTestWindow& Program() { return *m_program; }
    QString Log() { return Program().Find<clsResultsBox>(u"txtResults"_s).Text(); }
    void SetLink(int index, const clsFieldValues& values)
    {
        Program().opened->UpdateRecords(u"tblLinkList"_s, {Program().ids[index]}, values);
    }
    int Queued(int index) { return Program().Link(index, u"EmailQueue"_s).toInt(); }

private Q_SLOTS:
    /// Six partners; the first two are queued for an ordinary message.
    void init()
    {
        m_server = std::make_unique<scriptedSmtp>();
        m_program = std::make_unique<clsTestWindow>();
        Program().Fill();
        Program().SetSite(u"Shop"_s, {{u"Sender"_s, u"Ann"_s},
                                      {u"HostName"_s, u"127.0.0.1"_s},
                                      {u"MailPort"_s, m_server->Port()},
                                      {u"EMessage4"_s, 4}});
        Program().opened->UpdateRecords(u"tblMailMessages"_s, {4},
                                        {{u"Subject"_s, u"Hello"_s}, {u"Body"_s, u"Dear [Partner Name]"_s}});
        for (int i = 0; i < 6; ++i)
            SetLink(i, {{u"Email"_s, u"p%1@partner.example"_s.arg(i)}, {u"FullName"_s, u"P%1"_s.arg(i)}});
        for (int i = 0; i < 2; ++i)
            SetLink(i, {{u"Message"_s, 4}, {u"EmailQueue"_s, 1}});
        Program().Set(u"General"_s, u"PlaySoundComplete"_s, u"No"_s);
        Program().Open();
        QVERIFY(QTest::qWaitForWindowActive(&Program().Window()));
    }
    void cleanup()
    {
        m_program.reset();
        m_server.reset();
    }

    void SendingKeepsTheWindowBusyAndAlive()
    {
        modBrambury::State().Settings.MailGap = 3600;
        QString progress;
        bool enabled = true;
        QTimer watch;
        watch.callOnTimeout([&] {
            progress = Program().Find<QLabel>(u"lblRunProgress"_s).text();
            if (!progress.contains(u"waiting 59:"_s))
                return;
            watch.stop();
            enabled = Program().Find<QAction>(u"ServicesMenuElement_1"_s).isEnabled() ||
                      Program().Find<QAction>(u"BigToolBar_1"_s).isEnabled();
            QTest::keyClick(&Program().Window(), Qt::Key_Escape);
        });
        watch.start(50ms);
        QTimer::singleShot(30s, &watch, [] { modBrambury::State().StopFlag = true; });
        Program().Trigger(u"BigToolBar_1"_s);
        QVERIFY2(progress.startsWith(u"1 of 2, 0:"_s) && progress.endsWith(u" for the gap between two messages"_s),
                 qPrintable(progress));
        QVERIFY(!enabled);
        QVERIFY(Program().Find<QAction>(u"ServicesMenuElement_1"_s).isEnabled());
        QVERIFY2(Log().contains(u"Sending mail to Partner 0  [p0@partner.example]....Done\r\n"
                                "  \u2022 Stop button was pressed.  Process aborted.\r\nEND MAIL SESSION"_s),
                 qPrintable(Log()));
        // The list shows at once who has left the queue.
        QCOMPARE(Program().Style(0, clsLinkModel::EmailQueue), QString());
        QCOMPARE(Program().Style(1, clsLinkModel::EmailQueue), u"Checked"_s);
        QCOMPARE(m_server->Messages().size(), 1);
    }

    void PreviewAsksForEachMessage()
    {
        QString text;
        inNextDialog([&](QDialog& first) {
            text = controlOf<QPlainTextEdit>(first, u"txtPreview"_s).toPlainText();
            QCOMPARE(first.windowTitle(), u"Preview E-mail [Partner 0]"_s);
            inNextDialog([](QDialog& second) { second.reject(); });
            clickIn(first, u"Command1_2"_s);
        });
        Program().Trigger(u"ServicesMenuElement_0"_s);
        QVERIFY2(text.startsWith(u"From: Ann [me@mysite.example]\nTo: p0@partner.example\nSubject: "_s),
                 qPrintable(text));
        QVERIFY(Log().contains(u"You chose not to send the message for Partner 0  [p0@partner.example]"_s));
        QVERIFY(Log().contains(u"You canceled the e-mail preview."_s));
        QCOMPARE(Queued(0), 2);
        QCOMPARE(Program().Style(0, clsLinkModel::EmailQueue), u"YellowFlag"_s);
        QCOMPARE(Queued(1), 1);
        QVERIFY(m_server->Commands().isEmpty());
    }

    /// A message in doubt is asked for; the link's dialog shows both attempts.
    void DoubtAndHistory()
    {
        m_server->At("end", serverReply().Close());
        inNextDialog([](QDialog& error) { error.reject(); });
        Program().Trigger(u"ServicesMenuElement_1"_s);
        m_server->Forget("end");
        const QDateTime now = QDateTime::currentDateTime();
        Program().dialogs.Expect(u"An earlier run ended while it was sending these messages, and it is not known "
                                 "whether they have arrived:\r\n\r\nPartner 0  [p0@partner.example], "_s +
                                     modCommonFunctions::LongDate(now) + u'*',
                                 Answer::Yes);
        Program().Trigger(u"ServicesMenuElement_1"_s);
        QCOMPARE(Queued(0), 0);
        QCOMPARE(Queued(1), 0);

        QStringList rows;
        inNextDialog([&](QDialog& link) {
            inNextDialog([&](QDialog& history) {
                QCOMPARE(history.windowTitle(), u"Mail History  [Partner 0]"_s);
                const auto& list = controlOf<QTreeWidget>(history, u"HistoryList"_s);
                for (int i = 0; i < list.topLevelItemCount(); ++i)
                    rows << list.topLevelItem(i)->text(1) + u": "_s + list.topLevelItem(i)->text(4);
                clickIn(history, u"buttonHistory_0"_s);
            });
            controlOf<QPushButton>(link, u"MailHistory"_s).click();
            link.reject();
        });
        Program().Grid().MakeCurrent(Program().ids[0]);
        Program().Trigger(u"LinkMenuElement_1"_s);
        QCOMPARE(rows.size(), 2);
        QVERIFY2(rows[0].startsWith(u"sent: 250"_s) && rows[1].startsWith(u"resent: "_s), qPrintable(rows.join(u'\n')));
    }

    /// Whoever does not agree to what the database file wants to have run has stopped the run.
    void ACommandFromTheFileIsAskedFor()
    {
        fakePrograms programs;
        modBrambury::State().Platform.Programs = &programs;
        Program().SetSite(u"Shop"_s,
                          {{u"MailUser"_s, u"ann"_s}, {u"MailTokenCommand"_s, u"get-token "_s + QString(90, u'x')}});
        Program().dialogs.Expect(u"To log in at this mail server:\r\n\r\n127.0.0.1\r\n\r\nthis command is to be run:"
                                 "\r\n\r\nget-token "_s +
                                     QString(50, u'x') + u"\r\n"_s + QString(40, u'x') + u"\r\n\r\n*"_s,
                                 Answer::No, u"Log-in"_s);
        Program().Trigger(u"ServicesMenuElement_1"_s);
        QVERIFY2(Log().contains(u"  \u2022 Stop button was pressed.  Process aborted.\r\nEND MAIL SESSION"_s),
                 qPrintable(Log()));
        QVERIFY(programs.commands.isEmpty() && m_server->Commands().isEmpty());
        QVERIFY(Queued(0) == 1 && Queued(1) == 1);
    }

    void CheckListsInTheResultsLog()
    {
        SetLink(1, {{u"Email"_s, u"nobody"_s}});
        Program().dialogs.Expect(u"2 message(s) checked, 1 problem(s) found.  They are listed in the results log."_s);
        Program().Trigger(u"ToolsMenuElement_10"_s);
        QVERIFY2(Log().contains(u"\u2022 Partner 1: The e-mail address is malformed: nobody\r\n"_s), qPrintable(Log()));
        QVERIFY(m_server->Commands().isEmpty());
    }
};

QTEST_MAIN(tst_mail_window)
#include "tst_mail_window.moc"
