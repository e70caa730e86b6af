// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/clsKeySet.h"

#include <algorithm>
#include <numeric>

qint64 clsKeySet::PositionOf(qint64 key) const
{
    if (m_byKey.empty() && !m_keys.empty()) {
        m_byKey.resize(m_keys.size());
        std::iota(m_byKey.begin(), m_byKey.end(), 0u);
        const auto byKey = [this](quint32 a, quint32 b) {
            return m_keys[a] != m_keys[b] ? m_keys[a] < m_keys[b] : a < b;
        };
        if (!std::is_sorted(m_keys.begin(), m_keys.end()))
            std::sort(m_byKey.begin(), m_byKey.end(), byKey);
    }
    const auto found = std::lower_bound(m_byKey.begin(), m_byKey.end(), key,
                                        [this](quint32 position, qint64 wanted) { return m_keys[position] < wanted; });
    return found != m_byKey.end() && m_keys[*found] == key ? static_cast<qint64>(*found) : -1;
}

void clsKeySet::Append(qint64 key)
{
    // A new record has the highest number so far, as a rule: then the order by key stays, and one comes on top.
    if (!m_byKey.empty() && m_keys[m_byKey.back()] < key)
        m_byKey.push_back(static_cast<quint32>(m_keys.size()));
    else
        m_byKey.clear();
    m_keys.push_back(key);
    for (auto& values : m_others)
        values.emplace_back();
}

void clsKeySet::SetOther(std::size_t other, qint64 position, const QVariant& value)
{
    m_others[other][static_cast<std::size_t>(position)] = value;
}

void clsKeySet::RemoveAt(qint64 position)
{
    m_keys.erase(m_keys.begin() + position);
    for (auto& values : m_others)
        values.erase(values.begin() + position);
    m_byKey.clear();
}

void clsKeySet::Remove(std::vector<qint64> keys)
{
    std::sort(keys.begin(), keys.end());
    std::vector<quint32> kept;
    kept.reserve(m_keys.size());
    for (std::size_t position = 0; position < m_keys.size(); ++position) {
        if (!std::binary_search(keys.begin(), keys.end(), m_keys[position]))
            kept.push_back(static_cast<quint32>(position));
    }
    *this = Arranged(kept);
}

clsKeySet clsKeySet::Arranged(const std::vector<quint32>& order) const
{
    clsKeySet result(m_others.size());
    result.m_keys.reserve(order.size());
    for (const quint32 position : order)
        result.m_keys.push_back(m_keys[position]);
    for (std::size_t other = 0; other < m_others.size(); ++other) {
        result.m_others[other].reserve(order.size());
        for (const quint32 position : order)
            result.m_others[other].push_back(m_others[other][position]);
    }
    return result;
}

void clsKeySet::SortByKey()
{
    std::sort(m_keys.begin(), m_keys.end());
    m_byKey.clear();
}
