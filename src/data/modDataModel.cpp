// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modDataModel.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr std::array<std::pair<int, const char16_t*>, 14> SortFields{{
    {0, u"EmailQueue"},
    {1, u"TestQueue"},
    {2, u"Title"},
    {3, u"Description"},
    {4, u"HomePage"},
    {5, u"LinkPage"},
    {6, u"ImageFile"},
    {7, u"FullName"},
    {8, u"Email"},
    {9, u"Offers"},
    {10, u"Status"},
    {11, u"Results"},
    {14, u"ID"},
    {20, u"CategoryID"},
}};

/// From here on a result says that a page could not be judged at all, rather than that something is missing on it.
constexpr int UndeterminedResults = 256;
constexpr int FailureCodes = 4 | 8 | 16 | 32 | 64 | 128;
} // namespace

QString modDataModel::SortField(int code)
{
    for (const auto& [known, field] : SortFields) {
        if (known == code)
            return QString::fromUtf16(field);
    }
    return {};
}

modDataModel::StatusBounds modDataModel::BoundsOf(int view, bool hideInactiveDeclined)
{
    if (view == ViewAll)
        return hideInactiveDeclined ? StatusBounds{-1, Inactive} : EveryStatus;
    return {view - 1, view + 1};
}

modDataModel::Ball modDataModel::BallOf(int results)
{
    if (results == ResultPassed)
        return Ball::Green;
    if (results >= UndeterminedResults)
        return Ball::Yellow;
    return (results & FailureCodes) != 0 ? Ball::Red : Ball::None;
}

bool modDataModel::EmailQueued(int value)
{
    return value != 0 && value != EmailNotToBeSent;
}
