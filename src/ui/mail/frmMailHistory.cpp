// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmMailHistory.h"

#include "mail/clsSendLedger.h"
#include "platform/clsDatabase.h"
#include "platform/modHelpTopics.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/clsRowDelegate.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modTips.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "frmMailHistory";
constexpr QSize FirstSize(880, 320);
const QStringList Fields{u"Begun"_s, u"Outcome"_s, u"Subject"_s, u"Recipient"_s, u"Reply"_s};
constexpr int OutcomeColumn = 1;
} // namespace

frmMailHistory::frmMailHistory(clsDatabase& database, qint64 linkID, const QString& title, QWidget* parent)
    : QDialog(parent), m_list(new QTreeWidget)
{
    setObjectName(u"frmMailHistory"_s);
    setWindowTitle(modTips::Title(u"Mail History"_s, title));
    m_list->setObjectName(u"HistoryList"_s);
    m_list->setAccessibleName(u"Messages sent to this partner"_s);
    m_list->setRootIsDecorated(false);
    m_list->setAlternatingRowColors(true);
    m_list->setUniformRowHeights(true);
    m_list->setItemDelegate(new clsRowDelegate(*m_list));
    m_list->setHeaderLabels({u"Sent"_s, u"Outcome"_s, u"Subject"_s, u"E-mail Address"_s, u"Server's Reply"_s});

    using modDialogParts::AddButton;
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    QPushButton* close = AddButton(*buttons, u"&Close"_s, u"buttonHistory_0"_s);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    modDialogParts::GiveHelp(*this, modHelpTopics::SendingMail, AddButton(*buttons, u"&Help"_s, u"buttonHistory_1"_s));
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_list, 1);
    guarded(Module, "Fill", [&] { Fill(database, linkID); });
    if (m_list->topLevelItemCount() == 0)
        column->addWidget(new QLabel(u"No messages were sent to this partner yet."_s));
    column->addLayout(buttons);
    resize(FirstSize);
}

void frmMailHistory::Fill(clsDatabase& database, qint64 linkID)
{
    const auto records = clsSendLedger::History(database, linkID);
    for (const auto& row : records->Rows(0, records->RecordCount(), Fields)) {
        if (row.empty())
            continue;
        auto* item = new QTreeWidgetItem;
        for (int column = 0; column < Fields.size(); ++column) {
            const QVariant& value = row[static_cast<std::size_t>(column)];
            const QString text =
                column == OutcomeColumn ? clsSendLedger::OutcomeText(value) : value.toString().simplified();
            item->setText(column, text);
            item->setToolTip(column, modTips::Plain(text));
        }
        m_list->insertTopLevelItem(0, item); // newest first
    }
    for (int column = 0; column < Fields.size() - 1; ++column)
        m_list->resizeColumnToContents(column);
    m_list->setCurrentItem(m_list->topLevelItem(0));
}
