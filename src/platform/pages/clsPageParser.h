// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes of a page into the lists of what it links to and shows.
#pragma once

#include "platform/clsHTTPControl.h"

#include <QByteArray>
#include <QString>

/// What stands on a page.
struct clsPageLists
{
    clsPageList hyperlinks; ///< href of a and area
    clsPageList images;     ///< src of img
    qsizetype bytes = 0;    ///< about what the two take in memory
};

/// Reads pages as a browser does (HTML5), so that broken markup yields the same links as it shows there.
class clsPageParser
{
public:
    /// Never fails; time and memory are bounded by the size of `body`. May run on any thread.
    /// @param charset  of the answer's Content-Type, may be empty.  @param url  of the page, redirects followed.
    /// @param texts  of the hyperlinks are wanted too.
    static clsPageLists Parse(const QByteArray& body, const QByteArray& charset, const QString& url,
                              bool texts = false);
};
