// SPDX-License-Identifier: GPL-3.0-or-later
// Codes and names of the data model: statuses, results, sort codes, tables and stored queries.
#pragma once

#include <QString>

namespace modDataModel
{
enum Status : int
{
    Offer = 0,
    InProcess = 1,
    Active = 2,
    Broken = 3,
    Inactive = 4,
    Declined = 5
};
inline constexpr int StatusCount = 6;
/// The status view that shows every status.
inline constexpr int ViewAll = -1;
/// EmailQueue of a message that is not to be sent; any other value but 0 and Null is queued.
inline constexpr int EmailNotToBeSent = 2;

/// Result of a link that passed every test; other values are sums of failure codes 4 to 512.
inline constexpr int ResultPassed = 1;

/// The field by which a sort code orders the links; empty: the query's own order.
QString SortField(int code);
/// The sort code of the natural order.
inline constexpr int SortNatural = 14;

/// Exclusive bounds of qryLinkList for a status view.
struct StatusBounds
{
    int low;
    int high;
};
inline constexpr StatusBounds EveryStatus{-1, 99};
/// @param view  a status code, or ViewAll.  @param hideInactiveDeclined  narrows the view of all.
StatusBounds BoundsOf(int view, bool hideInactiveDeclined);

/// How the last test result looks in the list.
enum class Ball
{
    None,
    Green,
    Yellow,
    Red
};
Ball BallOf(int results);
/// Whether an EmailQueue value means queued.
bool EmailQueued(int value);
} // namespace modDataModel
