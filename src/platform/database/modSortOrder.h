// SPDX-License-Identifier: GPL-3.0-or-later
// The order in which people read lists, which the database itself does not know.
#pragma once

#include <QVariant>
#include <vector>

namespace modSortOrder
{
/// The positions of `values` in ascending order: Null, then numbers, then texts by the rules of the user's language
/// without regard to case; equal values keep their order.
std::vector<quint32> Ascending(const std::vector<QVariant>& values);
} // namespace modSortOrder
