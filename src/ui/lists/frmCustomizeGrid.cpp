// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/frmCustomizeGrid.h"

#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/parts/clsFieldList.h"
#include "ui/parts/modDialogParts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;

namespace
{
/// Fields that are seen without scrolling.
constexpr int ShownFields = 14;
} // namespace

frmCustomizeGrid::frmCustomizeGrid(clsLinkGrid& grid, QWidget* parent)
    : QDialog(parent), m_grid(grid), m_available(new clsFieldList), m_current(new clsFieldList)
{
    setObjectName(u"frmCustomizeGrid"_s);
    setWindowTitle(u"Customize"_s);

    struct MoveKey
    {
        QString caption;
        QString tip;
        QKeySequence key;
    };
    const QList<MoveKey> moves{{u"&Insert >"_s, u"Show the field"_s, Qt::ALT | Qt::Key_Right},
                               {u"< &Remove"_s, u"Do not show the field"_s, Qt::ALT | Qt::Key_Left},
                               {u"&Up"_s, u"Further to the left in the list of links"_s, Qt::ALT | Qt::Key_Up},
                               {u"&Down"_s, u"Further to the right in the list of links"_s, Qt::ALT | Qt::Key_Down}};
    auto* moveButtons = new QVBoxLayout;
    moveButtons->addStretch();
    for (int i = 0; i < moves.size(); ++i) {
        auto* button = new QPushButton(moves[i].caption);
        button->setObjectName(u"MoveButton_%1"_s.arg(i));
        button->setToolTip(u"%1 (%2)"_s.arg(moves[i].tip, moves[i].key.toString(QKeySequence::NativeText)));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, i] { MoveEntry(static_cast<Move>(i)); });
        connect(new QShortcut(moves[i].key, this), &QShortcut::activated, button, &QPushButton::click);
        if (i == Up)
            moveButtons->addSpacing(12);
        moveButtons->addWidget(button);
    }
    moveButtons->addStretch();

    const auto listed = [](clsFieldList* list, const QString& name, const QString& caption) {
        list->setObjectName(name);
        list->setMinimumHeight(ShownFields * (list->fontMetrics().height() + 2));
        auto* column = new QVBoxLayout;
        column->addWidget(modDialogParts::LabelFor(list, caption));
        column->addWidget(list, 1);
        return column;
    };
    auto* lists = new QHBoxLayout;
    lists->addLayout(listed(m_available, u"Available"_s, u"A&vailable Fields"_s), 1);
    lists->addLayout(moveButtons);
    lists->addLayout(listed(m_current, u"Current"_s, u"Current &Fields"_s), 1);

    auto* buttons = new QHBoxLayout;
    const QStringList captions{u"&Default"_s, u"&Apply"_s, u"&Cancel"_s, u"&Help"_s};
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(u"CustomizeButtons_%1"_s.arg(i));
        button->setAutoDefault(i != Default);
        if (i == Help)
            modDialogParts::GiveHelp(*this, modHelpTopics::CustomizeLinkList, button);
        else
            connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
        buttons->addWidget(button);
        if (i == Default)
            buttons->addStretch();
        if (i == Apply)
            m_apply = button;
    }
    m_apply->setDefault(true);

    auto* all = new QVBoxLayout(this);
    all->addLayout(lists, 1);
    all->addSpacing(4);
    all->addLayout(buttons);

    connect(m_available, &QListWidget::itemDoubleClicked, this, [this] { MoveEntry(ToCurrent); });
    connect(m_current, &QListWidget::itemDoubleClicked, this, [this] { MoveEntry(ToAvailable); });
    for (clsFieldList* list : {m_available, m_current}) {
        // A grid without any column cannot be understood, nor brought back by its own header.
        connect(list, &clsFieldList::Moved, this, [this] { m_apply->setEnabled(m_current->count() > 0); });
    }
    FillLists();
    m_available->setFocus();
}

void frmCustomizeGrid::FillLists()
{
    m_available->clear();
    m_current->clear();
    for (const int column : m_grid.ColumnsInOrder()) {
        clsFieldList* list = m_grid.isColumnHidden(column) ? m_available : m_current;
        list->Add(m_grid.Links().headerData(column, Qt::Horizontal, Qt::DisplayRole).toString(), column);
    }
    for (clsFieldList* list : {m_available, m_current})
        list->setCurrentRow(0);
    m_apply->setEnabled(m_current->count() > 0);
}

void frmCustomizeGrid::MoveEntry(Move move)
{
    const int row = m_current->currentRow();
    switch (move) {
    case ToCurrent:
        return m_current->Take(*m_available, m_current->count());
    case ToAvailable:
        return m_available->Take(*m_current, m_available->count());
    case Up:
        if (row > 0)
            m_current->Take(*m_current, row - 1);
        return;
    case Down:
        if (row < m_current->count() - 1)
            m_current->Take(*m_current, row + 2);
        return;
    }
}

void frmCustomizeGrid::ButtonPressed(int index)
{
    guarded("frmCustomizeGrid", "CustomizeButtons_Click", [&] {
        switch (index) {
        case Default:
            m_grid.SetDefault(*Platform().Settings);
            return FillLists();
        case Apply:
            m_grid.ShowColumns(m_current->Columns());
            return accept();
        case Cancel:
            return reject();
        default:
            return;
        }
    });
}
