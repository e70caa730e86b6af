// SPDX-License-Identifier: GPL-3.0-or-later
// A site's partners in the forms in which other programs exchange links. The harvest reads each of them again.
#pragma once

#include "publish/modLinksPage.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <vector>

namespace modLinkLists
{
/// A table (RFC 4180), or an array with one object a link (JSON): category, title, home page and description, as they
/// are. @param links  of every status; those that are active are written, here and below.
QByteArray Table(modIO::PageStyle style, const std::vector<modIO::PageLink>& links);
/// An outline (OPML 2.0), a branch a category. What is no web address is left out.
/// @param title  of the list.  @param now  in any zone.
QByteArray Outline(const QString& title, const QDateTime& now, const std::vector<modIO::PageLink>& links);
/// A file of bookmarks as browsers export and import them, a folder a category. What is no web address is left out.
QByteArray Bookmarks(const QString& title, const std::vector<modIO::PageLink>& links);
} // namespace modLinkLists
