// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/clsHTTPControl.h"

#include <algorithm>

clsPageList::clsPageList(std::vector<clsPageAddress> items) : m_items(std::move(items)) {}

int clsPageList::First(const QHash<QString, std::vector<int>>& index, const QString& key, int from)
{
    const auto entry = index.constFind(key);
    if (entry == index.cend())
        return -1;
    const auto found = std::lower_bound(entry->begin(), entry->end(), from);
    return found == entry->end() ? -1 : *found;
}

int clsPageList::IndexOf(const QString& text, int from) const
{
    if (m_byText.isEmpty()) {
        for (int i = 0; i < Count(); ++i)
            m_byText[Item(i).written.toUpper()].push_back(i);
    }
    return First(m_byText, text.toUpper(), from);
}

int clsPageList::IndexOfFileName(const QString& name, int from) const
{
    if (m_byName.isEmpty()) {
        for (int i = 0; i < Count(); ++i) {
            const QString& written = Item(i).written;
            m_byName[written.mid(written.lastIndexOf(QLatin1Char('/')) + 1).toUpper()].push_back(i);
        }
    }
    return First(m_byName, name.toUpper(), from);
}
