// SPDX-License-Identifier: GPL-3.0-or-later
// Links that were deleted by hand since the program started, so that the last deletion can be taken back.
#pragma once

#include <QStringList>
#include <QVariant>
#include <vector>

class clsDatabase;

class clsDeletedLinks
{
public:
    /// Deletes links and remembers them: all of them, or none when it fails. @param ids  in any order.
    /// @return how many were deleted.  @throws clsError
    qint64 Delete(clsDatabase& database, const std::vector<qint64>& ids);
    /// Puts the links of the last deletion back as they were, under their own numbers; those whose site is gone by now
    /// stay deleted. All of them, or none when it fails: then they can be put back later.
    /// @return the numbers of the links that are back; empty when there is nothing to take back.  @throws clsError
    std::vector<qint64> Restore(clsDatabase& database);
    [[nodiscard]] bool Any() const { return !m_deletions.empty(); }

    /// Links of a renamed site come back under its new name.
    void SiteRenamed(const QString& from, const QString& to);

private:
    struct Deletion
    {
        QStringList fields;
        std::vector<std::vector<QVariant>> rows;
    };
    std::vector<Deletion> m_deletions; ///< oldest first
};
