// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/clsHTTPControl.h"

#include <algorithm>

namespace
{
/// An index takes longer to build than a page without many addresses is worth: most pages are asked this often at most.
constexpr int LookUpsWithoutIndex = 8;

/// Whether `text` in upper case is `upper`.
bool IsInUpperCase(const QString& text, const QString& upper)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        char16_t c = text[i].unicode();
        if (c >= 0x80) // may have more than one letter in upper case
            return text.toUpper() == upper;
        if (c >= u'a' && c <= u'z')
            c -= u'a' - u'A';
        if (i == upper.size() || upper[i] != c)
            return false;
    }
    return text.size() == upper.size();
}
} // namespace

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
    const QString key = text.toUpper();
    if (m_lookUps < LookUpsWithoutIndex) {
        ++m_lookUps;
        for (int i = std::max(from, 0); i < Count(); ++i) {
            if (IsInUpperCase(Item(i).written, key))
                return i;
        }
        return -1;
    }
    if (m_byText.isEmpty()) {
        for (int i = 0; i < Count(); ++i)
            m_byText[Item(i).written.toUpper()].push_back(i);
    }
    return First(m_byText, key, from);
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
