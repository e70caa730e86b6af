// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of a record set in its order, with what was read beside them: values that belong to other tables.
#pragma once

#include <QVariant>
#include <vector>

class clsKeySet
{
public:
    /// @param others  how many values of other tables stand beside each key.
    explicit clsKeySet(std::size_t others = 0) : m_others(others) {}

    [[nodiscard]] qint64 Count() const { return static_cast<qint64>(m_keys.size()); }
    [[nodiscard]] qint64 KeyAt(qint64 position) const { return m_keys[static_cast<std::size_t>(position)]; }
    [[nodiscard]] const QVariant& OtherAt(std::size_t other, qint64 position) const
    {
        return m_others[other][static_cast<std::size_t>(position)];
    }
    /// 0-based place of a key, -1 when it is not in the set.
    [[nodiscard]] qint64 PositionOf(qint64 key) const;

    /// Adds a key at the end. Its values of other tables are Null until SetOther.
    void Append(qint64 key);
    void SetOther(std::size_t other, qint64 position, const QVariant& value);
    void RemoveAt(qint64 position);
    /// Takes out those of the keys that are in the set.
    void Remove(std::vector<qint64> keys);
    /// The keys at these positions, each once, in this order.
    [[nodiscard]] clsKeySet Arranged(const std::vector<quint32>& order) const;
    /// Orders the keys by number, for sources without values of other tables.
    void SortByKey();

private:
    std::vector<qint64> m_keys;
    std::vector<std::vector<QVariant>> m_others;
    mutable std::vector<quint32> m_byKey; ///< positions by ascending key, made when first asked for
};
