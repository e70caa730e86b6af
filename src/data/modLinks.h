// SPDX-License-Identifier: GPL-3.0-or-later
// Many links at once: the same values for all of them, or their end. What every command on a selection of links uses.
#pragma once

#include "data/modDataModel.h"
#include "platform/clsDatabase.h"

#include <functional>
#include <optional>

namespace modLinks
{
/// The links of a site whose status lies between the bounds, in the order in which they were added. @throws clsError
std::unique_ptr<clsRecordset> Of(clsDatabase& database, const QString& siteID,
                                 modDataModel::StatusBounds bounds = modDataModel::EveryStatus);
/// The links of one of the stored queues, in the order of the setting Sort. @throws clsError
std::unique_ptr<clsRecordset> Queued(clsDatabase& database, const QString& query);
/// What a link is called and where it is filed.
struct Filed
{
    QString Title;
    int Status = 0;
};
/// @return empty when there is no such link (any more). @throws clsError
std::optional<Filed> WhereFiled(clsDatabase& database, qint64 id);
/// Numbers of the records whose values of `fields` are `wanted`, in the set's order. Memory stays flat.
/// @throws clsError
std::vector<qint64> Where(const clsRecordset& records, const QStringList& fields,
                          const std::function<bool(const std::vector<QVariant>&)>& wanted);
/// Gives fields of these links the same values: all of them, or none when it fails. A link that somebody else has
/// deleted meanwhile is passed over. Joins a transaction of the caller.
/// @param ids  of the links, in any order.  @return how many links there were.  @throws clsError
qint64 SetFields(clsDatabase& database, const std::vector<qint64>& ids, const clsFieldValues& values);
/// Deletes these links, in the same way. @return how many were deleted.  @throws clsError
qint64 Delete(clsDatabase& database, const std::vector<qint64>& ids);

/// Asks whether the chosen links may go, when the setting ConfirmDelete wants it asked. @param title  of the current
/// link.
bool ConfirmDelete(const QString& title);
} // namespace modLinks
