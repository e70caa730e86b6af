// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modDialogParts.h"

#include "platform/clsWindows.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modMenus.h"

#include <QAbstractItemView>
#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <algorithm>

QLabel* modDialogParts::LabelFor(QWidget* control, const QString& caption)
{
    auto* label = new QLabel(caption);
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(control);
    // Screen readers do not look for the label of a list.
    if (qobject_cast<QAbstractItemView*>(control) && control->accessibleName().isEmpty())
        control->setAccessibleName(modMenus::Plain(caption).remove(u':'));
    return label;
}

QPushButton* modDialogParts::AddButton(QBoxLayout& row, const QString& caption, const QString& name)
{
    auto* button = new QPushButton(caption);
    button->setObjectName(name);
    row.addWidget(button);
    return button;
}

QSize modDialogParts::FirstSize(const QWidget& window, QSize usual)
{
    constexpr double usualLine = 18; // as high as lines are on any desktop that has not been told to enlarge them
    const double larger = std::max(1.0, window.fontMetrics().height() / usualLine);
    return (usual * larger).boundedTo(window.screen()->availableSize() * 0.9).expandedTo(usual);
}

void modDialogParts::GiveHelp(QWidget& window, int topic, const QAbstractButton* button)
{
    const auto show = [topic] {
        guarded("modDialogParts", "ShowHelp", [topic] { modBrambury::Platform().Windows->ShowHelp(topic); });
    };
    QObject::connect(new QShortcut(QKeySequence::HelpContents, &window), &QShortcut::activated, &window, show);
    if (button)
        QObject::connect(button, &QAbstractButton::clicked, &window, show);
}
