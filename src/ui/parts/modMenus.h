// SPDX-License-Identifier: GPL-3.0-or-later
// The captions of every menu, by menu and index, and the menus made from them.
#pragma once

#include <QString>
#include <functional>

class QAction;
class QMenu;

namespace modMenus
{
/// One indexed array of menu entries each.
enum class Menu
{
    File,
    Sites,
    Links,
    Sort,
    Tools,
    Help,
    Online,
    Toolbar
};

/// The name by which the entries of a menu are known: "LinkMenuElement"; an entry's object name is this, "_" and its
/// index.
QString EntryName(Menu menu);

/// Adds every entry to `menu`; separators included. An entry's index stands in QAction::data, and is what `command`
/// gets when the entry is chosen.
void Fill(QMenu& menu, Menu which, const std::function<void(int)>& command);

/// The entry with this index. It must exist.
QAction* EntryOf(const QMenu& menu, int index);

/// A caption without its mnemonic mark and trailing dots.
QString Plain(const QString& caption);
} // namespace modMenus
