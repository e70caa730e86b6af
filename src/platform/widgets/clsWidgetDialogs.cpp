// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/widgets/clsWidgetDialogs.h"

#include "platform/clsError.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QIcon>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// What a set of buttons is on the screen, and the answer that changes nothing: default button and close box alike.
struct ButtonSet
{
    QMessageBox::StandardButtons shown;
    QMessageBox::StandardButton safe;
};

ButtonSet buttonSet(clsDialogs::Buttons buttons)
{
    switch (buttons) {
    case clsDialogs::Buttons::YesNo:
        return {QMessageBox::Yes | QMessageBox::No, QMessageBox::No};
    case clsDialogs::Buttons::YesNoCancel:
        return {QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Cancel};
    case clsDialogs::Buttons::RetryCancel:
        return {QMessageBox::Retry | QMessageBox::Cancel, QMessageBox::Cancel};
    case clsDialogs::Buttons::OK:
        break;
    }
    return {QMessageBox::Ok, QMessageBox::Ok};
}

QMessageBox::Icon pictureOf(clsDialogs::Icon icon)
{
    switch (icon) {
    case clsDialogs::Icon::Critical:
        return QMessageBox::Critical;
    case clsDialogs::Icon::Question:
        return QMessageBox::Question;
    case clsDialogs::Icon::Exclamation:
        return QMessageBox::Warning;
    case clsDialogs::Icon::Information:
        return QMessageBox::Information;
    case clsDialogs::Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

clsDialogs::Answer answerOf(QMessageBox::StandardButton button)
{
    switch (button) {
    case QMessageBox::Yes:
        return clsDialogs::Answer::Yes;
    case QMessageBox::No:
        return clsDialogs::Answer::No;
    case QMessageBox::Cancel:
        return clsDialogs::Answer::Cancel;
    case QMessageBox::Retry:
        return clsDialogs::Answer::Retry;
    default:
        return clsDialogs::Answer::OK;
    }
}

/// Some desktops put pictures of their own on buttons, which say nothing that the captions do not.
void withPlainButtons(const QDialog& dialog)
{
    for (const QDialogButtonBox* box : dialog.findChildren<QDialogButtonBox*>()) {
        for (QAbstractButton* button : box->buttons())
            button->setIcon({});
    }
}

/// "Log File (*.log)|*.log" as the file dialog wants it: one text for each pair, behind the name the patterns in round
/// brackets, which the dialog takes away again.
QStringList nameFilters(const QString& filter)
{
    const QStringList parts = filter.split(u'|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        // A file need not have a suffix.
        const QString patterns = parts[i + 1] == "*.*"_L1 ? u"*"_s : QString(parts[i + 1]).replace(u';', u' ');
        filters << u"%1 (%2)"_s.arg(parts[i], QString(patterns).replace(u',', u' '));
    }
    return filters;
}

/// The one of these that the user has chosen. @param shown  the whole of it, or as the dialog shows it.
QString chosenFilter(const QStringList& filters, const QString& shown)
{
    for (const QString& filter : filters) {
        if (filter == shown || filter.startsWith(shown + " ("_L1))
            return filter;
    }
    return {};
}

/// "log" of "Log File (*.log) (*.log)"; empty when the pattern leaves the suffix open.
QString suffixOf(const QString& nameFilter)
{
    const QString patterns = nameFilter.mid(nameFilter.lastIndexOf(u'(') + 1).chopped(1);
    const QString suffix = patterns.section(u' ', 0, 0).section(u'.', -1);
    return suffix.contains(u'*') ? QString() : suffix;
}
} // namespace

clsWidgetDialogs::clsWidgetDialogs(std::function<QWidget*()> owner, std::function<QIcon(Icon)> pictures)
    : m_owner(std::move(owner)), m_pictures(std::move(pictures))
{
}

clsWidgetDialogs::~clsWidgetDialogs() = default;

clsDialogs::Answer clsWidgetDialogs::MsgBox(const QString& text, Buttons buttons, Icon icon, const QString& caption)
{
    const ButtonSet set = buttonSet(buttons);
    if (s_ending)
        return answerOf(set.safe);
    QMessageBox box(Owner());
    box.setWindowTitle(caption);
    // Record values stand in the texts: as rich text they could pull in pictures or hide what they say.
    box.setTextFormat(Qt::PlainText);
    box.setText(QString(text).replace(u"\r\n"_s, u"\n"_s));
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box.setIcon(pictureOf(icon));
    if (const QIcon picture = m_pictures ? m_pictures(icon) : QIcon(); !picture.isNull()) {
        const int side = box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &box);
        box.setIconPixmap(picture.pixmap(QSize(side, side), box.devicePixelRatioF()));
    }
    box.setStandardButtons(set.shown);
    withPlainButtons(box);
    if (QAbstractButton* retry = box.button(QMessageBox::Retry))
        retry->setText(u"&Retry"_s); // the only one that has no key of its own otherwise
    box.setDefaultButton(set.safe);
    box.setEscapeButton(set.safe);
    box.exec();
    const QAbstractButton* clicked = box.clickedButton();
    return answerOf(clicked ? box.standardButton(box.clickedButton()) : set.safe);
}

QString clsWidgetDialogs::SaveFile(const FileRequest& request)
{
    QFileDialog dialog(Owner());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !request.confirmOverwrite);
    return Choose(dialog, request);
}

QString clsWidgetDialogs::OpenFile(const FileRequest& request)
{
    QFileDialog dialog(Owner());
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return Choose(dialog, request);
}

QString clsWidgetDialogs::InputBox(const QString& prompt, const QString& title, const QString& offered)
{
    return AskLine(prompt, title, offered, true);
}

QString clsWidgetDialogs::PasswordBox(const QString& prompt, const QString& title)
{
    return AskLine(prompt, title, {}, false);
}

QString clsWidgetDialogs::AskLine(const QString& prompt, const QString& title, const QString& offered, bool shown) const
{
    if (s_ending)
        return {};
    QInputDialog dialog(Owner());
    dialog.setWindowTitle(title);
    dialog.setLabelText(prompt);
    dialog.findChild<QLabel*>()->setTextFormat(Qt::PlainText);
    dialog.setTextValue(offered);
    dialog.setTextEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
    dialog.setOkButtonText(u"&OK"_s); // there are no buttons before
    dialog.setCancelButtonText(u"&Cancel"_s);
    withPlainButtons(dialog);
    // Never Null when it is accepted: an empty answer is an answer.
    return dialog.exec() == QDialog::Accepted ? u""_s + dialog.textValue() : QString();
}

QString clsWidgetDialogs::Choose(QFileDialog& dialog, const FileRequest& request)
{
    dialog.setWindowTitle(request.title);
    // Without one the dialog starts where the last one ended, and the first one in the working folder.
    if (!request.folder.isEmpty())
        dialog.setDirectory(request.folder);
    const QStringList filters = nameFilters(request.filter);
    if (!filters.isEmpty()) {
        dialog.setOption(QFileDialog::HideNameFilterDetails);
        dialog.setNameFilters(filters);
        dialog.setDefaultSuffix(suffixOf(filters.first()));
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog, filters](const QString& shown) {
            dialog.setDefaultSuffix(suffixOf(chosenFilter(filters, shown)));
        });
    }
    if (!request.fileName.isEmpty())
        dialog.selectFile(request.fileName);
    withPlainButtons(dialog);
    if (s_ending || dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        throw clsError(clsError::DialogCancelled, u"Cancel was selected."_s, u"clsDialogs"_s);
    return dialog.selectedFiles().first();
}

void clsWidgetDialogs::SetEnding(bool ending)
{
    s_ending = ending;
    if (!ending)
        return;
    // Each dialog's own event loop ends when control comes back to it, so the newest returns first.
    while (QWidget* newest = QApplication::activeModalWidget()) {
        if (auto* dialog = qobject_cast<QDialog*>(newest))
            dialog->reject();
        // A dialog may answer reject() with a question of its own; the program ends all the same.
        if (QApplication::activeModalWidget() == newest)
            newest->hide();
    }
}
