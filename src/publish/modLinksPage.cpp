// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/modLinksPage.h"

#include "data/modDataModel.h"
#include "data/modLinks.h"
#include "data/modSites.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "publish/clsPageTemplate.h"
#include "publish/modLinkLists.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QSet>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modCommonFunctions::MsgBox;
using modCommonFunctions::TextOf;
using modIO::IsWebAddress;
using modIO::PageLink;
using modIO::PageStyle;

namespace
{
/// Records read at once.
constexpr qint64 BatchSize = 500;

/// Where a page's copy lies: a name of the program's own, so that no file of the user's is taken for a leftover.
QString AsideOf(const QString& path)
{
    return path + u".brambury-old"_s;
}

/// The file that is to be replaced: a copy of it lies beside it until the new one is final, and takes its place again
/// if that never happens. What a process that was killed meanwhile has left there serves nobody: the page itself is
/// whole, the old one or the new one.
class clsOldPage
{
public:
    clsOldPage(clsDisk& disk, const QString& path)
        : m_disk(disk), m_path(path), m_aside(AsideOf(path)), m_existed(disk.FileExists(path))
    {
        if (m_existed)
            disk.CopyFile(path, m_aside);
    }
    ~clsOldPage()
    {
        ignoringErrors([this] {
            if (m_replaced && m_existed)
                return m_disk.ReplaceFile(m_aside, m_path);
            if (m_replaced)
                m_disk.RemoveFile(m_path);
            m_disk.RemoveFile(m_aside);
        });
    }
    clsOldPage(const clsOldPage&) = delete;
    clsOldPage& operator=(const clsOldPage&) = delete;

    void ReplaceBy(const QByteArray& page)
    {
        m_disk.ReplaceContent(m_path, page);
        m_replaced = true;
    }
    /// The new page stays.
    void Forget() { m_replaced = false; }

private:
    clsDisk& m_disk;
    const QString m_path;
    const QString m_aside;
    const bool m_existed;
    bool m_replaced = false; ///< by a page that is not final yet
};

QString Today()
{
    return Platform().Clock->Now().date().toString(u"MM/dd/yyyy"_s);
}

std::vector<PageLink> ReadLinks(const clsRecordset& records)
{
    const QStringList fields{u"ID"_s, u"Status"_s, u"LinkCategory"_s, u"HomePage"_s, u"Title"_s, u"Description"_s};
    std::vector<PageLink> links;
    const qint64 count = records.RecordCount();
    links.reserve(static_cast<std::size_t>(count));
    for (qint64 first = 0; first < count; first += BatchSize) {
        for (const auto& row : records.Rows(first, BatchSize, fields)) {
            if (row.empty())
                continue;
            const QString category = modCommonFunctions::NullToDefault(row[2], u"Miscellaneous"_s).toString();
            links.push_back({row[0].toLongLong(), row[1].toInt() == modDataModel::Active, category, TextOf(row[3]),
                             TextOf(row[4]), TextOf(row[5])});
        }
    }
    return links;
}

// --- the classic page

/// A line of the classic page, which names no charset: what is not ASCII becomes a number that every browser shows
/// rightly.
void Line(QByteArray& page, QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar letter = text[i];
        char32_t code = letter.unicode();
        if (letter.isSurrogate()) {
            const bool whole = letter.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
            code = whole ? QChar::surrogateToUcs4(letter, text[++i]) : char32_t{QChar::ReplacementCharacter};
        }
        if (code < 128)
            page += static_cast<char>(code);
        else
            page += "&#" + QByteArray::number(static_cast<uint>(code)) + ';';
    }
    page += "\r\n";
}

QByteArray ClassicPage(const QString& siteName, const std::vector<PageLink>& links)
{
    const QString returnRow = u"    <tr>      <td colspan=\"2\"><font face=\"Arial\" size=\"1\"><a href=\"#Top\">"
                              "Return to top</a></font></td>      </tr>"_s;
    QByteArray page = "<!-- This document was created by Brambury -->\r\n"
                      "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 3.2 Final//EN\" >\r\n"
                      "\r\n"
                      "<HTML>\r\n"
                      "<HEAD>\r\n";
    Line(page, u"    <TITLE>"_s + siteName + u" Links Page</TITLE>"_s);
    page += "</HEAD>\r\n"
            "<BODY>\r\n";
    Line(page, u"<p><font size=\"5\" face=\"Arial\"><a name=\"Top\">"_s + siteName + u" Links Page</font></p>"_s);
    page += modIO::WriteCategoryIndex(links);
    page += "<div align=\"left\">\r\n"
            "      <table border=\"0\" width=\"450\" cellpadding=\"3\">\r\n";
    modIO::ByCategory(
        links,
        [&page](const QString& category) {
            Line(page, u"    <tr>      <td colspan=\"2\"><font face=\"Arial\" size=\"3\"><b><a name=\""_s + category +
                           u"\">"_s + category + u"</a></b></font></td>      </tr>"_s);
        },
        [&page](const PageLink& link) {
            page += "    <tr>\r\n"
                    "      <td><font face=\"Arial\" size=\"2\">&nbsp;</font></td>\r\n";
            const QString cell = u"      <td><font face=\"Arial\" size=\"2\">"_s;
            if (link.HomePage.isEmpty())
                Line(page, cell + link.Title + u"<br>"_s);
            else
                Line(page, cell + u"<a href=\""_s + link.HomePage + u"\">"_s + link.Title + u"</a><br>"_s);
            Line(page, u"        "_s + link.Description + u"</font></td>"_s);
            page += "    </tr>\r\n";
        },
        [&] { Line(page, returnRow); });
    page += "      </table>\r\n"
            "</div>\r\n"
            "<p><font face=\"Arial\"><br>\r\n"
            "</font></p>\r\n"
            "\r\n"
            "\r\n"
            "</BODY>\r\n"
            "</HTML>\r\n";
    return page;
}

// --- the page from the template

/// The category's name in an address: letters and digits of ASCII, the rest as dashes; no two alike.
QString AnchorOf(const QString& category, QSet<QString>& taken)
{
    QString name;
    for (const QChar letter : category.toLower()) {
        if (letter.unicode() < 128 && letter.isLetterOrNumber())
            name += letter;
        else if (!name.isEmpty() && !name.endsWith(u'-'))
            name += u'-';
    }
    if (name.endsWith(u'-'))
        name.chop(1);
    if (name.isEmpty() || name.at(0).isDigit())
        name = name.isEmpty() ? u"category"_s : u"category-"_s + name;
    QString anchor = name;
    for (int i = 2; taken.contains(anchor); ++i)
        anchor = u"%1-%2"_s.arg(name).arg(i);
    taken.insert(anchor);
    return anchor;
}

clsPageValues ValuesOf(const PageLink& link)
{
    return {.texts = {{u"title"_s, link.Title},
                      {u"home-page"_s, IsWebAddress(link.HomePage) ? link.HomePage.trimmed() : QString()},
                      {u"description"_s, link.Description}},
            .lists = {}};
}

/// What a page says of the site that it belongs to.
struct Owner
{
    QString title; ///< never empty
    QString homePage;
};

Owner OwnerOf(clsDatabase& database, const QString& siteName)
{
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (!modSites::Find(*sites, siteName))
        return {siteName, {}};
    const QString title = TextOf(sites->Field(u"SiteName"_s));
    return {title.isEmpty() ? siteName : title, TextOf(sites->Field(u"HomePage"_s))};
}

QByteArray TemplatePage(const Owner& owner, PageStyle style, const std::vector<PageLink>& links)
{
    std::vector<clsPageValues> all;
    std::vector<clsPageValues> categories;
    QSet<QString> anchors{u"top"_s};
    const PageLink* previous = nullptr;
    qsizetype count = 0;
    for (const PageLink& link : links) {
        if (!link.Active)
            continue;
        ++count;
        std::vector<clsPageValues>* list = &all;
        if (style == PageStyle::ByCategory) {
            if (!previous || link.Category != previous->Category)
                categories.push_back(
                    {.texts = {{u"category"_s, link.Category}, {u"anchor"_s, AnchorOf(link.Category, anchors)}},
                     .lists = {{u"links"_s, {}}}});
            list = &categories.back().lists[u"links"_s];
        }
        list->push_back(ValuesOf(link));
        previous = &link;
    }
    for (clsPageValues& category : categories)
        category.texts[u"count"_s] = QString::number(category.lists[u"links"_s].size());
    const auto given = [style](PageStyle wanted) { return style == wanted ? u"yes"_s : QString(); };
    const clsPageValues values{
        .texts = {{u"site"_s, owner.title},
                  {u"site-home-page"_s, IsWebAddress(owner.homePage) ? owner.homePage.trimmed() : QString()},
                  {u"date"_s, Platform().Clock->Now().date().toString(Qt::ISODate)},
                  {u"count"_s, QString::number(count)},
                  {u"by-category"_s, given(PageStyle::ByCategory)},
                  {u"alphabetical"_s, given(PageStyle::Alphabetical)}},
        .lists = {{u"categories"_s, std::move(categories)}, {u"links"_s, std::move(all)}}};
    const QByteArray text = Platform().Disk->ReadFile(modBrambury::FolderPath(u"\\"_s + modIO::TemplateFile));
    return clsPageTemplate(modIO::TemplateFile, QString::fromUtf8(text)).Page(values);
}

QByteArray PageOf(clsDatabase& database, const QString& siteName, PageStyle style, const std::vector<PageLink>& links)
{
    switch (style) {
    case PageStyle::Classic:
        return ClassicPage(siteName, links);
    case PageStyle::ByCategory:
    case PageStyle::Alphabetical:
        return TemplatePage(OwnerOf(database, siteName), style, links);
    case PageStyle::Csv:
    case PageStyle::Json:
        return modLinkLists::Table(style, links);
    case PageStyle::Opml:
        return modLinkLists::Outline(OwnerOf(database, siteName).title + u" Links"_s, Platform().Clock->Now(), links);
    case PageStyle::Bookmarks:
        break;
    }
    return modLinkLists::Bookmarks(OwnerOf(database, siteName).title + u" Links"_s, links);
}

const modIO::PageStyleName& NameOf(PageStyle style)
{
    return modIO::PageStyles().at(static_cast<std::size_t>(style));
}

/// Tells that the file is there, and shows it if it is a page that the user wants to see.
void Finish(PageStyle style, const QString& file)
{
    if (style >= PageStyle::Csv) {
        MsgBox(u"The file \"%1\" was created."_s.arg(file), clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
        return;
    }
    const QString question =
        u"The HTML Document \""_s + file + u"\" was created.\r\nDo you wish to preview this document now?"_s;
    if (MsgBox(question, clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) == clsDialogs::Answer::Yes)
        modCommonFunctions::OpenWebBrowser(file);
}
} // namespace

const std::vector<modIO::PageStyleName>& modIO::PageStyles()
{
    const QString pageTitle = u"Save HTML Document"_s;
    const QString pages = u"HTML Documents|*.htm;*.html"_s;
    const QString page = u"MyLinks.htm"_s;
    static const std::vector<PageStyleName> styles{
        {PageStyle::Classic, u"classic"_s, u"Classic page"_s, pageTitle, pages, page},
        {PageStyle::ByCategory, u"modern"_s, u"Modern page, by category"_s, pageTitle, pages, page},
        {PageStyle::Alphabetical, u"alphabetical"_s, u"Modern page, alphabetical"_s, pageTitle, pages, page},
        {PageStyle::Csv, u"csv"_s, u"Table (CSV)"_s, u"Save Table"_s, u"Tables (CSV)|*.csv"_s, u"MyLinks.csv"_s},
        {PageStyle::Json, u"json"_s, u"List (JSON)"_s, u"Save List"_s, u"Lists (JSON)|*.json"_s, u"MyLinks.json"_s},
        {PageStyle::Opml, u"opml"_s, u"Outline (OPML)"_s, u"Save Outline"_s, u"Outlines (OPML)|*.opml"_s,
         u"MyLinks.opml"_s},
        {PageStyle::Bookmarks, u"bookmarks"_s, u"Browser bookmarks (HTML)"_s, u"Save Bookmarks"_s,
         u"Bookmarks (HTML)|*.html;*.htm"_s, u"MyBookmarks.html"_s},
    };
    return styles;
}

bool modIO::WriteLinksPage(clsDatabase& database, const QString& siteName, const AskExportOptions& ask)
{
    bool written = false;
    guarded("modIO", "WriteLinksPage", [&] {
        const std::optional<ExportOptions> options = ask();
        if (!options)
            return;
        const QString file = AskLinksPageFile(options->style);
        if (file.isEmpty())
            return;
        written = ExportLinks(database, siteName, *options, file).has_value();
        if (written)
            Finish(options->style, file);
        else
            MsgBox(u"There no links to export."_s, clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
    });
    return written;
}

QString modIO::AskLinksPageFile(PageStyle style)
{
    const PageStyleName& name = NameOf(style);
    return Platform().Dialogs->SaveFile({.title = name.title,
                                         .filter = name.filter,
                                         .fileName = name.fileName,
                                         .folder = {},
                                         .confirmOverwrite = true});
}

std::optional<qint64> modIO::ExportLinks(clsDatabase& database, const QString& siteName, const ExportOptions& options,
                                         const QString& file)
{
    // Begun before the links are read, so that exactly those are stamped that are written.
    clsTransaction transaction(database);
    const auto query = database.QueryDef(u"qryLinkListView"_s);
    query->SetParameter(u"Site"_s, siteName);
    query->SetParameter(u"IncludeAll"_s, options.includeAll);
    auto records = query->OpenRecordset();
    if (options.style == PageStyle::Alphabetical) {
        records->SetSort(u"Title"_s);
        records = records->OpenRecordset();
    }
    const std::vector<PageLink> links = ReadLinks(*records);
    if (links.empty()) {
        Platform().Disk->RemoveFile(file);
        Platform().Disk->RemoveFile(AsideOf(file));
        return std::nullopt;
    }
    std::vector<qint64> written;
    for (const PageLink& link : links) {
        if (link.Active)
            written.push_back(link.ID);
    }
    const QByteArray page = PageOf(database, siteName, options.style, links);
    modLinks::SetFields(database, written, {{u"Exported"_s, Today()}});
    clsOldPage old(*Platform().Disk, file);
    old.ReplaceBy(page);
    transaction.Commit();
    old.Forget();
    return std::ssize(written);
}

bool modIO::IsWebAddress(const QString& address)
{
    const QUrl url(address.trimmed(), QUrl::TolerantMode);
    return (url.scheme() == "http"_L1 || url.scheme() == "https"_L1) && !url.host().isEmpty();
}

void modIO::ByCategory(const std::vector<PageLink>& links, const std::function<void(const QString& category)>& begin,
                       const std::function<void(const PageLink&)>& take, const std::function<void()>& end)
{
    const PageLink* previous = nullptr;
    for (const PageLink& link : links) {
        if (!link.Active)
            continue;
        if (!previous || link.Category != previous->Category) {
            if (previous)
                end();
            begin(link.Category);
        }
        take(link);
        previous = &link;
    }
    if (previous)
        end();
}

QByteArray modIO::WriteCategoryIndex(const std::vector<PageLink>& links)
{
    QByteArray index = "<hr width=\"450\" align=\"left\">\r\n"
                       "<p><font face=\"Arial\">The following categories are available:</font></p>\r\n";
    if (links.empty())
        return index;
    index += "<p>\r\n";
    const PageLink* previous = nullptr;
    for (const PageLink& link : links) {
        if (!previous || link.Category != previous->Category)
            Line(index, u"<font face=\"Arial\" size=\"3\"><a href=\"#"_s + link.Category + u"\">"_s + link.Category +
                            u"</a><br>"_s);
        previous = &link;
    }
    index += "</p>\r\n";
    return index;
}
