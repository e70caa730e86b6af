// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsInvitation.h"

#include "ui/parts/modIcons.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

clsInvitation::clsInvitation(QAbstractScrollArea& list) : QWidget(&list), m_list(list)
{
    setObjectName(u"Invitation"_s);
    setAccessibleName(u"How to begin"_s);
    auto* title = new QLabel(u"There is no site yet"_s);
    title->setObjectName(u"lblInvitation"_s);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    title->setAlignment(Qt::AlignCenter);
    m_text = new QLabel(u"Begin with your own web site, or look around in a sample first."_s);
    m_text->setAlignment(Qt::AlignCenter);

    auto* grid = new QGridLayout(this);
    grid->setRowStretch(0, 1);
    grid->setRowStretch(4, 1);
    grid->setColumnStretch(0, 1);
    grid->addWidget(title, 1, 0, 1, 5);
    grid->addWidget(m_text, 2, 0, 1, 5);
    const QList<QWidget*> buttons{
        AddButton(u"Add your first site"_s, u"site-new"_s, u"Enter the web site that you exchange links for"_s,
                  &clsInvitation::SiteWanted),
        AddButton(u"First steps"_s, u"help"_s, u"A guide through the first quarter of an hour"_s,
                  &clsInvitation::FirstStepsWanted),
        AddButton(u"Look at a sample"_s, u"open"_s,
                  u"Add two invented sites with their partners, to look around in; one click removes them"_s,
                  &clsInvitation::SampleWanted)};
    for (int column = 0; column < buttons.size(); ++column)
        grid->addWidget(buttons[column], 3, column + 1);
    grid->setColumnStretch(static_cast<int>(buttons.size()) + 1, 1);
    list.installEventFilter(this);
    CoverList();
}

QPushButton* clsInvitation::AddButton(const QString& caption, const QString& icon, const QString& tip,
                                      void (clsInvitation::*wanted)())
{
    auto* button = new QPushButton(modIcons::Icon(icon), caption);
    button->setObjectName(u"Invitation_%1"_s.arg(icon));
    button->setToolTip(tip);
    button->setAccessibleDescription(tip);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, wanted);
    return button;
}

void clsInvitation::resizeEvent(QResizeEvent* event)
{
    // In a low list the buttons come first.
    m_text->setVisible(height() >=
                       layout()->sizeHint().height() + (m_text->isHidden() ? m_text->sizeHint().height() : 0));
    QWidget::resizeEvent(event);
}

bool clsInvitation::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_list && (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest))
        CoverList();
    return QWidget::eventFilter(watched, event);
}

void clsInvitation::CoverList()
{
    setGeometry(m_list.viewport()->geometry());
    raise();
}
