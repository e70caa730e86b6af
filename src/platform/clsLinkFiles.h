// SPDX-License-Identifier: GPL-3.0-or-later
// Files in which other programs keep links: bookmarks, outlines, tables.
#pragma once

#include "platform/clsHTTPControl.h"

#include <QString>
#include <functional>
#include <optional>

/// Reads a file whole or not at all.
class clsLinkFiles
{
public:
    static constexpr qint64 MostBytes = qint64{16} * 1024 * 1024; ///< of a file
    static constexpr int MostLinks = 200'000;                     ///< in a file

    struct Content
    {
        clsPageList links; ///< in the file's order, with texts; absolute addresses alone
        QString problem;   ///< why there are none, in a sentence; empty for a file that merely holds none
    };

    virtual ~clsLinkFiles() = default;
    /// Reads bookmarks or any other web page (HTML), an outline (OPML), a table with a column of addresses (CSV), or
    /// JSON; the content says which. Waits in the event loop. @param stopped  asked after every event.
    /// @return nothing when stopped.  @throws clsError when the file cannot be read.
    [[nodiscard]] virtual std::optional<Content> Read(const QString& path, const std::function<bool()>& stopped) = 0;
};
