// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmLinks.h"

#include "data/clsLinkRecord.h"
#include "data/modCategories.h"
#include "platform/clsClock.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/mail/frmMailHistory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int ResultsLines = 3;
constexpr int CommentsLines = 8;

/// No category, then those of the selected site.
void FillCategories(QComboBox& list, clsDatabase& database)
{
    list.addItem(QString());
    guarded("frmLinks", "FillCategories", [&] {
        for (const auto& [id, name] : modCategories::ByName(database, modBrambury::State().CurrentSite))
            list.addItem(name, id);
    });
}

/// The date and time of a stored date; a text that is none as it is.
QString Readable(const QString& stored)
{
    const QDateTime time = modCommonFunctions::FromStoredDate(stored);
    if (!time.isValid())
        return stored;
    return modCommonFunctions::LongDate(time) + u" - "_s + modCommonFunctions::MediumTime(time);
}
} // namespace

frmLinks::frmLinks(clsLinkRecord& link, clsDatabase& database, QWidget* parent)
    : clsRecordDialog(link, {u"frmLinks"_s, u"Link Properties"_s, u"buttonLinks"_s, modHelpTopics::LinkProperties},
                      parent)
{
    BuildGeneral(database);
    BuildComments(database);
    Begin();
}

QWidget* frmLinks::Information(clsDatabase& database)
{
    auto* information = new QGroupBox(u"Link Information"_s);
    auto* grid = new QGridLayout(information);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(3, 1);
    AddRow(*grid, Line(u"txtTitle"_s, u"Title"_s), u"T&itle:"_s);
    AddRow(*grid, Line(u"txtDescription"_s, u"Description"_s), u"&Description:"_s);
    AddAddressRow(*grid, Line(u"txtHomePage"_s, u"HomePage"_s), u"Home Page &URL:"_s, 0, u"Pre&view Home Page..."_s);
    AddAddressRow(*grid, Line(u"txtLinkPage"_s, u"LinkPage"_s), u"Lin&k Page URL:"_s, 1, u"Previe&w Link Page..."_s);

    const int row = grid->rowCount();
    AddField(*grid, Line(u"txtImageFile"_s, u"ImageFile"_s), u"Image &File Name:"_s, row, 0);
    AddField(*grid, Line(u"txtFullName"_s, u"FullName"_s), u"We&bmaster:"_s, row, 2);
    AddField(*grid, Line(u"txtEmail"_s, u"Email"_s), u"&E-Mail Address:"_s, row + 1, 0);
    AddIPAddress(*grid, row + 1, 2, u"IP Add&ress:"_s);
    QComboBox* category = List(u"comboCategory"_s, u"CategoryID"_s);
    FillCategories(*category, database);
    AddField(*grid, category, u"Link Cate&gory:"_s, row + 2, 0);
    return information;
}

QWidget* frmLinks::Results()
{
    auto* results = new QGroupBox(u"Current Test Results"_s);
    auto* lines = new QVBoxLayout(results);
    auto* lastResults = new QPlainTextEdit;
    lastResults->setObjectName(u"txtLastResults"_s);
    lastResults->setAccessibleName(results->title());
    lastResults->setReadOnly(true);
    lastResults->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    lastResults->setTabChangesFocus(true);
    lastResults->setMinimumHeight(ResultsLines * lastResults->fontMetrics().lineSpacing());
    auto* lastTest = new QLabel;
    lastTest->setObjectName(u"lblLastSuccessfulTest"_s);
    lastTest->setTextFormat(Qt::PlainText);
    auto* date = new QHBoxLayout;
    date->addWidget(new QLabel(u"Date of last successful test:"_s));
    date->addWidget(lastTest, 1);
    lines->addWidget(lastResults, 1);
    lines->addLayout(date);
    Shows([this, lastResults, lastTest] {
        lastResults->setPlainText(clsLinkRecord::ResultsText(Editor().Value(u"Results"_s).toInt()));
        lastTest->setText(Readable(Editor().Text(u"LastSuccessfulTest"_s)));
    });
    return results;
}

void frmLinks::BuildGeneral(clsDatabase& database)
{
    auto* page = new QVBoxLayout(AddPage(u"General"_s));
    page->addWidget(Information(database));

    auto* grid = new QGridLayout;
    grid->setContentsMargins(12, 0, 12, 0); // as in the frames above and below
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    const modBrambury::ProcessState& state = modBrambury::State();
    QComboBox* status = List(u"comboStatus"_s, u"Status"_s);
    for (const QString& name : state.StatusNames)
        status->addItem(name, status->count());
    AddField(*grid, status, u"Current &Status:"_s, 0, 0);

    auto* offers = new QLineEdit;
    offers->setReadOnly(true);
    offers->setObjectName(u"txtOffers"_s);
    Shows([this, offers] { offers->setText(Editor().Text(u"Offers"_s)); });
    AddField(*grid, offers, u"Offers &Made:"_s, 0, 2);

    auto* queue = new QWidget;
    auto* boxes = new QHBoxLayout(queue);
    boxes->setContentsMargins(0, 0, 0, 0);
    auto* sendEmail = Check(u"Send an E-mai&l"_s, u"Queue_0"_s, u"EmailQueue"_s, modDataModel::EmailNotToBeSent);
    boxes->addWidget(sendEmail);
    Shows([this, sendEmail] {
        const bool kept = Editor().Value(u"EmailQueue"_s).toInt() == modDataModel::EmailNotToBeSent;
        sendEmail->setToolTip(kept ? u"Half checked: you chose not to send this message."_s : QString());
    });
    boxes->addWidget(Check(u"&Test the Link"_s, u"Queue_1"_s, u"TestQueue"_s));
    boxes->addStretch();
    grid->addWidget(LabelFor(sendEmail, u"&Queue:"_s), 1, 0);
    grid->addWidget(queue, 1, 1);

    QComboBox* nextEmail = List(u"comboNextEmail"_s, u"Message"_s);
    for (const modBrambury::MessageType& type : state.MessageTypes)
        nextEmail->addItem(type.Title, type.ID);
    AddField(*grid, nextEmail, u"Select Ne&xt E-mail:"_s, 1, 2);

    page->addLayout(grid);
    page->addWidget(Results(), 1);
    page->addWidget(Legend());
}

void frmLinks::BuildComments(clsDatabase& database)
{
    auto* page = new QVBoxLayout(AddPage(u"Comments/Instructions"_s));
    QPlainTextEdit* comments = TextBox(u"txtComments"_s, u"Comments"_s, CommentsLines);
    comments->setAccessibleName(u"Comments/Instructions"_s);
    page->addWidget(comments, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(
        PageButton(u"&Insert Date/Time Stamp"_s, u"DateTimeStamp"_s, [this, comments] { Stamp(*comments); }));
    buttons->addStretch();
    QPushButton* history = PageButton(u"&Mail History..."_s, u"MailHistory"_s, [this, &database] {
        frmMailHistory(database, Editor().Value(u"ID"_s).toLongLong(), Editor().Text(u"Title"_s), this).exec();
    });
    // A link that is not stored yet has none.
    Shows([this, history] { history->setEnabled(Editor().Value(u"ID"_s).toLongLong() > 0); });
    buttons->addWidget(history);
    page->addLayout(buttons);
}

void frmLinks::Stamp(QPlainTextEdit& comments)
{
    const QString before = Editor().Text(u"Comments"_s);
    const QString after = clsLinkRecord::Stamped(before, modBrambury::Platform().Clock->Now());
    comments.moveCursor(QTextCursor::End);
    comments.insertPlainText(after.sliced(before.size()).replace("\r\n"_L1, "\n"_L1));
    comments.setFocus();
}
