// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modMenus.h"

#include "ui/parts/modIcons.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <span>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// No caption: a separator.
struct Entry
{
    int index;
    const char16_t* caption = nullptr;
    const char* icon = nullptr;
    QKeyCombination keys = QKeyCombination(Qt::NoModifier, Qt::Key_unknown);
};

// Two captions are misspelled for good: users and their notes know them by these words.
const Entry FileEntries[] = {
    {0, u"&Preview E-mail", "preview"},
    {1, u"&Send E-mail", "send"},
    {2, u"&Test Links", "test", Qt::Key_F5},
    {3},
    {4, u"Import Links..."},
    {5, u"Export Links..."},
    {6},
    {7, u"Site &Report"},
    {8, u"Print Set&up...", "print"},
    {9},
    {10, u"E&xit", nullptr, Qt::CTRL | Qt::Key_Q},
};
const Entry SitesEntries[] = {
    {0, u"&New...", "site-new"},
    {1, u"&Edit...", "site-edit"},
    {2, u"&Copy", "site-copy"},
    {3, u"&Rename"},
    {4},
    {5, u"&Delete", "site-delete"},
    {6},
    {7, u"<Ca&ncel>"},
};
const Entry LinksEntries[] = {
    {0, u"&New...", "link-new"},
    {1, u"&Edit...", "link-edit"},
    {2, u"&Delete", "link-delete"},
    {3},
    {4, u"Select &All"},
    {5},
    {6, u"Set E&mail", "set-email"},
    {7, u"Set for &Test", "set-test"},
    {8, u"Set M&ultiple Tests", "set-multiple"},
    {9, u"&Change Status", "change-status"},
    {10},
    {11, u"&Sort Links"},
    {12},
    {13, u"Customize Link &List..."},
    {14},
    {15, u"<Ca&ncel>"},
};
const Entry SortEntries[] = {
    {0, u"by Email Queue"},
    {1, u"by Test Queue"},
    {2, u"by Website Title"},
    {3, u"by Website Description"},
    {4, u"by Home Page"},
    {5, u"by Link Page"},
    {6, u"by Image File"},
    {7, u"by Webmaster"},
    {8, u"by E-mail Address"},
    {9, u"by Offers"},
    {10, u"by Status"},
    {11, u"by Results"},
    {12, u"by Category"},
    {13},
    {14, u"Natural Order [No Sort]"},
};
const Entry ToolsEntries[] = {
    {0, u"&E-mail Templates...", "templates"},
    {1},
    {2, u"&Backup/Restore Database..."},
    {3, u"&Repair Database..."},
    {4, u"&Compact Database..."},
    {5},
    {6, u"Modifiy &Link Categories"},
    {7},
    {8, u"&Set Program Options...", "options"},
    {9},
    {10, u"Check E-mail &Queue"},
};
const Entry HelpEntries[] = {
    {0, u"&Contents", "help", Qt::Key_F1},
    {1, u"&Search For Help On..."},
    {2, u"&How To Use Help"},
    {3},
    {4, u"Show &Tip of the Day at Statup"},
    {5},
    {7, u"Check the &Web for Current Updates"},
    {8},
    {9, u"Brambury Online"},
    {10},
    {11, u"&About Brambury", "brambury"},
};
const Entry OnlineEntries[] = {
    {0, u"Brambury Home Page"},
    {1, u"Product Support Page"},
    {2, u"Check for Updates"},
};
const Entry ToolbarEntries[] = {
    {0, u"Display &Small Icons in Toolbar"},
    {1, u"Display &Medium Icons in Toolbar"},
    {2, u"Display &Large Icons in Toolbar"},
};

std::span<const Entry> EntriesOf(modMenus::Menu menu)
{
    using modMenus::Menu;
    switch (menu) {
    case Menu::File:
        return FileEntries;
    case Menu::Sites:
        return SitesEntries;
    case Menu::Links:
        return LinksEntries;
    case Menu::Sort:
        return SortEntries;
    case Menu::Tools:
        return ToolsEntries;
    case Menu::Help:
        return HelpEntries;
    case Menu::Online:
        return OnlineEntries;
    case Menu::Toolbar:
        return ToolbarEntries;
    }
    return {};
}
} // namespace

QString modMenus::EntryName(Menu menu)
{
    switch (menu) {
    case Menu::File:
        return u"ServicesMenuElement"_s;
    case Menu::Sites:
        return u"SitesMenuElement"_s;
    case Menu::Links:
        return u"LinkMenuElement"_s;
    case Menu::Sort:
        return u"LinkMenuElementSub"_s;
    case Menu::Tools:
        return u"ToolsMenuElement"_s;
    case Menu::Help:
        return u"HelpMenuElement"_s;
    case Menu::Online:
        return u"BryOnline"_s;
    case Menu::Toolbar:
        return u"ToolbarPopupMenuSub"_s;
    }
    return {};
}

void modMenus::Fill(QMenu& menu, Menu which, const std::function<void(int)>& command)
{
    for (const Entry& entry : EntriesOf(which)) {
        QAction* action = entry.caption ? menu.addAction(QString::fromUtf16(entry.caption)) : menu.addSeparator();
        action->setObjectName(u"%1_%2"_s.arg(EntryName(which)).arg(entry.index));
        action->setData(entry.index);
        if (entry.icon)
            action->setIcon(modIcons::Icon(QString::fromLatin1(entry.icon)));
        if (entry.keys.key() != Qt::Key_unknown)
            action->setShortcut(entry.keys);
        if (entry.caption)
            QObject::connect(action, &QAction::triggered, &menu, [command, index = entry.index] { command(index); });
    }
}

QAction* modMenus::EntryOf(const QMenu& menu, int index)
{
    const QList<QAction*> actions = menu.actions();
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [index](const QAction* action) { return action->data().toInt() == index; });
    Q_ASSERT(found != actions.end());
    return *found;
}

QString modMenus::Plain(const QString& caption)
{
    QString plain = caption;
    plain.remove(u'&');
    while (plain.endsWith(u'.'))
        plain.chop(1);
    return plain;
}
