// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmSelectionDialog.h"

#include "platform/modHelpTopics.h"
#include "ui/parts/modDialogParts.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Entries that are seen without scrolling.
constexpr int FewestSeen = 4;
constexpr int MostSeen = 12;
constexpr int FewestLetters = 34;
constexpr int MostLetters = 70;
} // namespace

frmSelectionDialog::frmSelectionDialog(const QString& caption, const QStringList& entries, int selected,
                                       QWidget* parent)
    : QDialog(parent), m_lstSelections(new QListWidget)
{
    setObjectName(u"frmSelectionDialog"_s);
    setWindowTitle(caption);

    m_lstSelections->setObjectName(u"lstSelections"_s);
    m_lstSelections->setAccessibleName(caption);
    m_lstSelections->addItems(entries);
    if (!entries.isEmpty())
        m_lstSelections->setCurrentRow(std::clamp(selected, 0, static_cast<int>(entries.size()) - 1));
    const int seen = std::clamp(static_cast<int>(entries.size()), FewestSeen, MostSeen);
    const int letter = m_lstSelections->fontMetrics().averageCharWidth();
    m_lstSelections->setMinimumHeight(seen * std::max(m_lstSelections->sizeHintForRow(0), 1) +
                                      2 * m_lstSelections->frameWidth());
    m_lstSelections->setMinimumWidth(
        std::clamp(m_lstSelections->sizeHintForColumn(0) + 6 * letter, FewestLetters * letter, MostLetters * letter));
    connect(m_lstSelections, &QListWidget::itemDoubleClicked, this, &QDialog::accept);

    using modDialogParts::AddButton;
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    QPushButton* ok = AddButton(*buttons, u"&OK"_s, u"buttonSelection_0"_s);
    ok->setDefault(true);
    ok->setEnabled(!entries.isEmpty());
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(AddButton(*buttons, u"&Cancel"_s, u"buttonSelection_1"_s), &QPushButton::clicked, this, &QDialog::reject);
    modDialogParts::GiveHelp(*this, modHelpTopics::Selection);

    auto* all = new QVBoxLayout(this);
    all->addWidget(m_lstSelections, 1);
    all->addLayout(buttons);
    m_lstSelections->setFocus();
}

void frmSelectionDialog::done(int result)
{
    const QListWidgetItem* chosen = result == Accepted ? m_lstSelections->currentItem() : nullptr;
    m_selected = chosen ? m_lstSelections->currentRow() : -1;
    m_selectionMade = chosen ? chosen->text() : QString();
    QDialog::done(result);
}
