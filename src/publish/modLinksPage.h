// SPDX-License-Identifier: GPL-3.0-or-later
// The links page: a site's partners written as a web page, or as a table, for the site's visitors.
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class clsDatabase;

namespace modIO
{
/// How the links are written.
enum class PageStyle
{
    Classic,      ///< HTML 3.2, the same bytes for ever
    ByCategory,   ///< HTML 5 from the template that the user may change
    Alphabetical, ///< the same, without categories
    // For other programs:
    Csv,       ///< a table (RFC 4180)
    Json,      ///< an array with one object a link
    Opml,      ///< an outline
    Bookmarks, ///< for browsers
};
struct PageStyleName
{
    PageStyle style;
    QString word;    ///< on the command line
    QString caption; ///< in the dialog
    // of the save dialog:
    QString title;
    QString filter;
    QString fileName;
};
/// The template's name in the program folder.
inline const QString TemplateFile = QStringLiteral("LinksPage.html");
/// All styles in the order of the enumeration; the first one is the usual one.
const std::vector<PageStyleName>& PageStyles();

struct ExportOptions
{
    bool includeAll = true; ///< else only links that have never been exported
    PageStyle style = PageStyle::Classic;
};
/// Puts the options to the user. @return nothing when he cancels.
using AskExportOptions = std::function<std::optional<ExportOptions>()>;

/// The whole export as the window has it: options, file, page, preview. @param siteName  the site's key.
/// @return whether a page was written; the user has been told what went wrong.
bool WriteLinksPage(clsDatabase& database, const QString& siteName, const AskExportOptions& ask);
/// Asks for the file. @throws clsError DialogCancelled
QString AskLinksPageFile(PageStyle style);

/// Writes the active links of a site into `file` and stamps them with today's date. When it fails the old file is
/// there again and no link is stamped; when the site has no links to choose from the old file is deleted.
/// @return how many links were written; nothing when there were none to choose from.  @throws clsError
std::optional<qint64> ExportLinks(clsDatabase& database, const QString& siteName, const ExportOptions& options,
                                  const QString& file);

/// A link of the set that is exported.
struct PageLink
{
    qint64 ID = 0;
    bool Active = false; ///< others only have their category in the classic page's index
    QString Category;
    QString HomePage;
    QString Title;
    QString Description;
};
/// Only what a browser goes to: an address that a partner has thought up may be a script.
bool IsWebAddress(const QString& address);
/// Gives the active links of each category in turn, a category without any not at all. @param links  by category.
void ByCategory(const std::vector<PageLink>& links, const std::function<void(const QString& category)>& begin,
                const std::function<void(const PageLink&)>& take, const std::function<void()>& end);
/// The classic page's list of categories, of links of every status. @param links  by category.
QByteArray WriteCategoryIndex(const std::vector<PageLink>& links);
} // namespace modIO
