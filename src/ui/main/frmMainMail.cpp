// SPDX-License-Identifier: GPL-3.0-or-later
// What the main window does with mail: templates, the queue, and the runs that work through it.
#include "ui/main/frmMain.h"

#include "mail/clsMail.h"
#include "mail/clsMailLogins.h"
#include "mail/modMailCheck.h"
#include "mail/modQueueMail.h"
#include "platform/clsClock.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/mail/frmMailEditor.h"
#include "ui/main/clsResultsBox.h"
#include "ui/records/clsSelectionDialog.h"

#include <QScopeGuard>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
/// A box has room for so many.
constexpr std::size_t DoubtsNamed = 10;

clsMail::Doubts AskAboutDoubts(const std::vector<clsSendLedger::Doubt>& doubts)
{
    QString list;
    for (std::size_t i = 0; i < std::min(doubts.size(), DoubtsNamed); ++i)
        list += doubts[i].Title + u"  ["_s + doubts[i].Recipient + u"], "_s +
                modCommonFunctions::LongDate(doubts[i].Begun) + u" at "_s +
                modCommonFunctions::MediumTime(doubts[i].Begun) + u"\r\n"_s;
    if (doubts.size() > DoubtsNamed)
        list += u"... and %1 more\r\n"_s.arg(doubts.size() - DoubtsNamed);
    const auto answer = MsgBox(
        u"An earlier run ended while it was sending these messages, and it is not known whether they have arrived:"
        u"\r\n\r\n"_s +
            list +
            u"\r\nDo you wish to send them again?\r\n\r\n"
            u"Yes sends them again; a partner may then get the message twice.\r\n"
            u"No takes them off the e-mail queue.\r\n"
            u"Cancel sends the other messages only, and asks again next time."_s,
        clsDialogs::Buttons::YesNoCancel, clsDialogs::Icon::Question);
    switch (answer) {
    case clsDialogs::Answer::Yes:
        return clsMail::Doubts::Resend;
    case clsDialogs::Answer::No:
        return clsMail::Doubts::Drop;
    default:
        return clsMail::Doubts::Leave;
    }
}
} // namespace

void frmMain::SendMail(bool preview)
{
    RunSession("SendMail", [this, preview](const clsRun::Collaborators& with) {
        clsMail mail({.Run = with,
                      .LoginOf = [this](const clsRecordset& site) { return m_mailLogins->Of(site); },
                      .AskAboutDoubts = &AskAboutDoubts});
        mail.SendMail(preview);
        // The server may have refused a password that was mistyped.
        if (mail.LastEnding() == clsMail::Ending::Failed)
            m_mailLogins->ForgetAsked();
    });
}

void frmMain::SetEmail()
{
    const std::vector<modBrambury::MessageType>& types = State().MessageTypes;
    const std::vector<qint64> chosen = m_gridLinkList->ChosenLinks(); // the filter may go on behind the dialog
    clsSelectionDialog dialog;
    dialog.Caption = u"Select E-mail"_s;
    for (const modBrambury::MessageType& type : types)
        dialog.arraySelections << type.Title;
    dialog.GetSelection(this);
    // By its place: two types may have the same title.
    if (dialog.Selected() < 0)
        return;
    const clsHourglass hourglass;
    modQueueMail::SetMail(*State().Database, chosen, types.at(static_cast<std::size_t>(dialog.Selected())).ID);
    m_gridLinkList->Links().RefreshAll();
}

void frmMain::EditTemplates()
{
    frmMailEditor(*State().Database, this).exec();
}

void frmMain::CheckMail()
{
    State().StopFlag = false;
    SetBusy(true);
    const auto idle = qScopeGuard([this] { SetBusy(false); });
    const auto report = modMailCheck::Check(*State().Database, Platform(), [this](qint64 done, qint64 total) {
        RunProgress(done, total);
        return !State().StopFlag;
    });
    if (State().Terminating)
        return;
    clsStatusLog log(nullptr);
    log.SetLogWindow(ResultsLog());
    const QDateTime now = Platform().Clock->Now();
    log.LogItem(u"E-MAIL QUEUE CHECKED - "_s + modCommonFunctions::LongDate(now) + u" at "_s +
                    modCommonFunctions::MediumTime(now),
                0, false);
    for (const modMailCheck::Finding& finding : report.Findings)
        log.LogItem(finding.Where + u": "_s + finding.What, 1, true);
    const QString summary = (report.Stopped ? u"%1 message(s) checked before you stopped, %2 problem(s) found."_s
                                            : u"%1 message(s) checked, %2 problem(s) found."_s)
                                .arg(report.Messages)
                                .arg(report.Findings.size());
    log.LogItem(summary, 1, true);
    MsgBox(report.Findings.empty() ? summary : summary + u"  They are listed in the results log."_s,
           clsDialogs::Buttons::OK,
           report.Findings.empty() ? clsDialogs::Icon::Information : clsDialogs::Icon::Exclamation);
}
