// SPDX-License-Identifier: GPL-3.0-or-later
// What nearly every dialog has: labels that name its controls, buttons, and a page of the help.
#pragma once

#include <QSize>
#include <QString>

class QAbstractButton;
class QBoxLayout;
class QLabel;
class QPushButton;
class QWidget;

namespace modDialogParts
{
/// A control's label in plain text, whose mnemonic leads to it.
QLabel* LabelFor(QWidget* control, const QString& caption);
/// A button at the end of a row.
QPushButton* AddButton(QBoxLayout& row, const QString& caption, const QString& name);
/// What a window's size is to be at first when its letters are larger than `usual` was reckoned for; fits the screen,
/// but is never smaller.
QSize FirstSize(const QWidget& window, QSize usual);
/// The help key opens a page of the help, as does the window's button for it. @param topic  of modHelpTopics.
void GiveHelp(QWidget& window, int topic, const QAbstractButton* button = nullptr);
} // namespace modDialogParts
