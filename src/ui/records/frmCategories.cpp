// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmCategories.h"

#include "data/modCategories.h"
#include "data/modSites.h"
#include "platform/modHelpTopics.h"
#include "shell/clsHourglass.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsCategoryGrid.h"
#include "ui/lists/clsCategoryModel.h"
#include "ui/parts/modDialogParts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;

namespace
{
constexpr char Module[] = "frmCategories";
constexpr QSize FirstSize(440, 420);
} // namespace

frmCategories::frmCategories(clsDatabase& database, QWidget* parent)
    : QDialog(parent), m_cboxSites(new QComboBox), m_categories(new clsCategoryModel(database, this))
{
    setObjectName(u"frmCategories"_s);
    setWindowTitle(u"Categories"_s);

    m_cboxSites->setObjectName(u"cboxSites"_s);
    m_cboxSites->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    int size = 0;
    guarded(Module, "Load", [&] { size = modCategories::NameSize(database); });
    m_gridCategory = new clsCategoryGrid(*m_categories, size);
    m_gridCategory->setObjectName(u"gridCategory"_s);
    m_gridCategory->setAccessibleName(u"Categories"_s);

    auto* buttons = new QVBoxLayout;
    const std::array captions{u"&Add"_s, u"&Delete"_s, u"&Close"_s};
    for (int i = 0; i < static_cast<int>(captions.size()); ++i) {
        auto* button = new QPushButton(captions[static_cast<std::size_t>(i)]);
        button->setObjectName(u"cmdButton_%1"_s.arg(i));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
        buttons->addWidget(button);
    }
    QPushButton* help = modDialogParts::AddButton(*buttons, u"&Help"_s, u"HelpButton"_s);
    help->setAutoDefault(false);
    modDialogParts::GiveHelp(*this, modHelpTopics::Categories, help);
    buttons->addStretch();

    auto* body = new QHBoxLayout;
    body->addWidget(m_gridCategory, 1);
    body->addLayout(buttons);
    auto* all = new QVBoxLayout(this);
    all->addWidget(modDialogParts::LabelFor(m_cboxSites, u"&Select a site:"_s));
    all->addWidget(m_cboxSites);
    all->addSpacing(4);
    all->addLayout(body, 1);
    all->addWidget(new QLabel(u"Note: All changes are permanent."_s));
    resize(FirstSize);

    FillSites(database);
    connect(m_cboxSites, &QComboBox::currentIndexChanged, this, &frmCategories::SiteChosen);
    connect(m_gridCategory, &clsCategoryGrid::DeleteWanted, this, &frmCategories::DeleteHighlighted);
    connect(m_categories, &clsCategoryModel::Written, this, [this] {
        if (m_site.compare(State().CurrentSite, Qt::CaseInsensitive) == 0)
            m_refillMain = true;
    });
}

void frmCategories::FillSites(clsDatabase& database)
{
    guarded(Module, "FillSites", [&] { m_cboxSites->addItems(modSites::Names(database)); });
    const bool any = m_cboxSites->count() > 0;
    if (any)
        m_cboxSites->setCurrentIndex(std::max(0, m_cboxSites->findText(State().CurrentSite, Qt::MatchFixedString)));
    SiteChosen();
    m_cboxSites->setEnabled(any);
    m_gridCategory->setEnabled(any);
    for (const int button : {Add, Delete})
        findChild<QPushButton*>(u"cmdButton_%1"_s.arg(button))->setEnabled(any);
    if (any)
        m_gridCategory->setFocus();
}

void frmCategories::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (m_cboxSites->count() > 0 || std::exchange(m_told, true))
        return;
    // The box belongs over the window, not before it.
    QTimer::singleShot(0, this, [] {
        modCommonFunctions::MsgBox(
            u"There are no sites available.  You must add a new site before setting link categories."_s,
            clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    });
}

void frmCategories::SiteChosen()
{
    if (!m_gridCategory->CommitEdit()) {
        const QSignalBlocker blocker(m_cboxSites);
        m_cboxSites->setCurrentIndex(m_cboxSites->findText(m_site, Qt::MatchExactly | Qt::MatchCaseSensitive));
        return;
    }
    const clsHourglass hourglass; // another program's lock is waited for
    m_site = m_cboxSites->currentText();
    m_categories->SetSite(m_site);
}

void frmCategories::ButtonPressed(int index)
{
    guarded(Module, "cmdButton_Click", [&] {
        switch (index) {
        case Add:
            return m_gridCategory->GoToNewRow();
        case Delete:
            return DeleteHighlighted();
        case Close:
            return accept();
        default:
            return;
        }
    });
}

void frmCategories::DeleteHighlighted()
{
    const QList<int> rows = m_gridCategory->HighlightedRows();
    if (!rows.isEmpty())
        return m_categories->Delete(rows);
    modCommonFunctions::MsgBox(u"To delete a record, click on the button directly to the\r\n"
                               "left of the appropriate row to highlight the item."_s,
                               clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
}

void frmCategories::done(int result)
{
    if (State().Terminating || State().SessionEnding || m_gridCategory->CommitEdit())
        QDialog::done(result);
}
