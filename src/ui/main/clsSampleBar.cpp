// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsSampleBar.h"

#include "ui/parts/clsElidedLabel.h"

#include <QHBoxLayout>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

clsSampleBar::clsSampleBar()
{
    setObjectName(u"SampleBar"_s);
    setAccessibleName(u"Sample"_s);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);
    setForegroundRole(QPalette::Text);
    auto* text = new clsElidedLabel(
        u"A sample: two invented sites.  Brambury itself plays their partners while links are tested; messages arrive nowhere."_s);
    text->setForegroundRole(QPalette::Text);
    auto* remove = new QPushButton(u"Remove the sample"_s);
    remove->setObjectName(u"RemoveSample"_s);
    remove->setToolTip(u"Take away what came with the sample, and nothing of your own"_s);
    remove->setAccessibleDescription(remove->toolTip());
    remove->setAutoDefault(false);
    connect(remove, &QPushButton::clicked, this, &clsSampleBar::RemoveWanted);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 2, 8, 2);
    row->addWidget(text, 1);
    row->addWidget(remove);
}
