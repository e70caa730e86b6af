// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/frmErrorMessage.h"

#include "shell/modBrambury.h"
#include "ui/parts/modIcons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int pictureSide = 48;
constexpr int detailsLines = 9;

QString withLineFeeds(QString text)
{
    return text.replace(u"\r\n"_s, u"\n"_s);
}
} // namespace

frmErrorMessage::frmErrorMessage(clsWindows::ErrorIcon icon, const QString& message, const QString& details,
                                 QWidget* parent)
    : QDialog(parent)
{
    setObjectName(u"frmErrorMessage"_s);
    setWindowTitle(modBrambury::ProgramTitle + u" error"_s);

    const bool critical = icon == clsWindows::ErrorIcon::Critical;
    auto* imgError = new QLabel;
    imgError->setObjectName(u"imgError"_s);
    imgError->setAccessibleName(critical ? u"Critical error"_s : u"Error"_s);
    imgError->setPixmap(modIcons::Picture(critical ? u"error-critical"_s : u"error-exclamation"_s)
                            .pixmap(QSize(pictureSide, pictureSide), devicePixelRatioF()));

    auto* lblMessage = new QLabel(withLineFeeds(message));
    lblMessage->setObjectName(u"lblMessage"_s);
    lblMessage->setTextFormat(Qt::PlainText);
    lblMessage->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    lblMessage->setFocusPolicy(Qt::ClickFocus); // Tab goes to what can be done

    auto* close = new QPushButton(u"OK"_s);
    close->setObjectName(u"errorButton_0"_s);
    close->setDefault(true);
    m_toggle = new QPushButton(u"&Details >"_s);
    m_toggle->setObjectName(u"errorButton_1"_s);
    m_toggle->setAutoDefault(false);
    m_toggle->setAccessibleName(u"Show the details"_s);

    m_details = new QPlainTextEdit(withLineFeeds(details));
    m_details->setObjectName(u"txtDetails"_s);
    m_details->setAccessibleName(u"Details"_s);
    m_details->setReadOnly(true);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_details->setTabChangesFocus(true);
    m_details->setTabStopDistance(m_details->fontMetrics().horizontalAdvance(u"Error Number:    "_s));
    m_details->setFixedHeight(m_details->fontMetrics().lineSpacing() * detailsLines);
    m_details->hide();

    auto* head = new QHBoxLayout;
    head->setSpacing(16);
    head->addWidget(imgError, 0, Qt::AlignTop);
    head->addWidget(lblMessage, 1, Qt::AlignTop);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(close);
    buttons->addWidget(m_toggle);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(head, 1);
    all->addLayout(buttons);
    all->addWidget(m_details);
    m_detailsHeight = m_details->maximumHeight() + all->spacing();
    resize(sizeHint());

    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_toggle, &QPushButton::clicked, this, &frmErrorMessage::ToggleDetails);
    close->setFocus();
}

void frmErrorMessage::ToggleDetails()
{
    const bool opening = m_details->isHidden();
    const QSize wanted(width(), height() + (opening ? m_detailsHeight : -m_detailsHeight));
    m_toggle->setText(opening ? u"< &Details"_s : u"&Details >"_s);
    m_toggle->setAccessibleName(opening ? u"Hide the details"_s : u"Show the details"_s);
    m_details->setVisible(opening);
    // The layout's new smallest size must stand before the window shrinks, or the old one holds it open.
    layout()->activate();
    resize(wanted);
}
