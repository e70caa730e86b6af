// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/frmSelectionDialog.h"

#include "platform/clsWindows.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
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

    auto* ok = new QPushButton(u"&OK"_s);
    ok->setObjectName(u"buttonSelection_0"_s);
    ok->setDefault(true);
    ok->setEnabled(!entries.isEmpty());
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    auto* cancel = new QPushButton(u"&Cancel"_s);
    cancel->setObjectName(u"buttonSelection_1"_s);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(new QShortcut(QKeySequence::HelpContents, this), &QShortcut::activated, this, [] {
        guarded("frmSelectionDialog", "Help",
                [] { modBrambury::Platform().Windows->ShowHelp(modHelpTopics::Selection); });
    });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
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
