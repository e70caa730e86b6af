// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmSetTest.h"

#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int HelpButton = 3;
} // namespace

frmSetTest::frmSetTest(QWidget* parent) : QDialog(parent)
{
    setObjectName(u"frmSetTest"_s);
    setWindowTitle(u"Set Links for Testing"_s);

    auto* label = new QLabel(u"Use check boxes to select or unselect all links for testing."_s);
    label->setObjectName(u"Label1"_s);
    label->setTextFormat(Qt::PlainText);

    auto* status = new QGroupBox(u"Status"_s);
    auto* grid = new QGridLayout(status);
    grid->setHorizontalSpacing(24);
    const QStringList& names = modBrambury::State().StatusNames;
    for (int i = 0; i < static_cast<int>(m_statusToTest.size()); ++i) {
        const QString name = names.value(i);
        auto* box = new QCheckBox(name);
        box->setObjectName(u"StatusToTest_%1"_s.arg(i));
        box->setIcon(modIcons::Status(i));
        box->setChecked(name == u"Active"_s || name == u"Broken"_s);
        grid->addWidget(box, i % 3, i / 3);
        m_statusToTest[static_cast<std::size_t>(i)] = box;
    }

    m_selectAllSites = new QCheckBox(u"Include all sites."_s);
    m_selectAllSites->setObjectName(u"SelectAllSites"_s);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    const QStringList captions{u"&Select"_s, u"&Unselect"_s, u"&Cancel"_s, u"&Help"_s};
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(u"buttonLinks_%1"_s.arg(i));
        button->setDefault(i == 0);
        buttons->addWidget(button);
        if (i == HelpButton)
            modDialogParts::GiveHelp(*this, modHelpTopics::SetForTest, button);
        else
            connect(button, &QPushButton::clicked, this, [this, i] { ButtonPressed(i); });
    }

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addWidget(label);
    all->addWidget(status);
    all->addWidget(m_selectAllSites);
    all->addSpacing(4);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
    m_statusToTest[0]->setFocus();
}

frmSetTest::Choice frmSetTest::Chosen() const
{
    // An empty text would convert to 0, which is Select: closing the window must not select anything.
    if (m_userChoice == u"0"_s)
        return Choice::Select;
    return m_userChoice == u"1"_s ? Choice::Unselect : Choice::Cancel;
}

bool frmSetTest::StatusToTest(int status) const
{
    return m_statusToTest.at(static_cast<std::size_t>(status))->isChecked();
}

bool frmSetTest::SelectAllSites() const
{
    return m_selectAllSites->isChecked();
}

void frmSetTest::ButtonPressed(int index)
{
    m_userChoice = QString::number(index);
    done(index == static_cast<int>(Choice::Cancel) ? Rejected : Accepted);
}
