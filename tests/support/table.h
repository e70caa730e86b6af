// SPDX-License-Identifier: GPL-3.0-or-later
// Tables of test cases with a case on a line.
#pragma once

#include <QTest>
#include <tuple>
#include <type_traits>
#include <utility>

namespace testTableColumns
{
inline constexpr const char* Names[] = {"1st", "2nd", "3rd", "4th", "5th", "6th", "7th"};
} // namespace testTableColumns

/// For a ..._data() function: `const testTable<QString, int> row; row("name", u"text"_s, 7);`
template <class... T> class testTable
{
public:
    testTable()
    {
        const char* const* name = testTableColumns::Names;
        (QTest::addColumn<T>(*name++), ...);
    }
    void operator()(const char* name, const std::type_identity_t<T>&... values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};

/// For the function of that table: `const auto [text, number] = testRow<QString, int>();`
template <class... T> std::tuple<T...> testRow()
{
    return []<std::size_t... Column>(std::index_sequence<Column...>)
    {
        return std::tuple<T...>(
            *static_cast<const T*>(QTest::qData(testTableColumns::Names[Column], qMetaTypeId<T>()))...);
    }
    (std::index_sequence_for<T...>());
}
