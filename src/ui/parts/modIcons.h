// SPDX-License-Identifier: GPL-3.0-or-later
// Every picture of the program by name: the desktop's theme where it has one, else the shipped drawings.
#pragma once

#include "platform/clsDialogs.h"

#include <QIcon>
#include <QString>

namespace modIcons
{
/// A command's or state's icon, crisp at any size and readable on light and dark. Names are those of the files in
/// resources/icons without ".svg": preview, send, test, stop, templates, options, help, site, site-new, site-edit,
/// site-copy, site-delete, link-new, link-edit, link-delete, set-email, set-test, change-status, set-multiple, legend,
/// save, print, clear, open, play, brambury, template-new, template-delete, save-as, undo, spelling, attach,
/// attach-remove, field-tag.
QIcon Icon(const QString& name);
/// Pictures that carry meaning in the grid; never from the theme, so that the legend is true: status-offer,
/// status-pending, status-active, status-broken, status-inactive, status-declined, ball-green, ball-yellow, ball-red,
/// checked, yellow-flag, notes, no-notes; and error-critical, error-exclamation of the error window.
QIcon Picture(const QString& name);
/// The picture of a status, by its code.
QIcon Status(int status);
/// The picture of a message box, for modWidgets::MakeDialogs; empty for Icon::None.
QIcon BoxPicture(clsDialogs::Icon icon);
} // namespace modIcons
