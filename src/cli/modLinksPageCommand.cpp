// SPDX-License-Identifier: GPL-3.0-or-later
// links-page: a site's partners as a web page, or as a table, for the site's visitors.
#include "cli/clsCommandSession.h"
#include "cli/modCommands.h"
#include "cli/modConsole.h"
#include "platform/clsDatabase.h"
#include "platform/clsDisk.h"
#include "platform/parts/clsPlatformParts.h"
#include "publish/modLinksPage.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace
{
struct Request
{
    QString siteID;
    QString file;
    modIO::ExportOptions options;
};

ExitCode Export(const clsCommandSession& session, clsDatabase& database, const Request& request)
{
    const clsDisk& disk = *modBrambury::Platform().Disk;
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (const ExitCode found = clsCommandSession::FindSite(*sites, request.siteID); found != ExitCode::Done)
        return found;
    if (request.file.isEmpty() || disk.FolderExists(request.file))
        return clsCommandSession::Refuse(u"\"%1\" is no name of a file."_s.arg(request.file));
    if (!modCommands::MayReplace(request.file))
        return ExitCode::Refused;
    // Where no window has been open since the template came with the program, it is not laid down yet.
    if (!disk.FileExists(modBrambury::FolderPath(u"\\"_s + modIO::TemplateFile)))
        session.Parts().Complete();
    const QString siteID = modCommonFunctions::TextOf(sites->Field(u"SiteID"_s));
    const std::optional<qint64> written =
        modIO::ExportLinks(database, siteID, request.options, QFileInfo(request.file).absoluteFilePath());
    if (!written) {
        modCommonFunctions::MsgBox(u"There no links to export."_s, clsDialogs::Buttons::OK,
                                   clsDialogs::Icon::Information);
        return ExitCode::Findings;
    }
    modConsole::WriteLine(u"%1 link(s) written to %2."_s.arg(*written).arg(request.file));
    return *written > 0 ? ExitCode::Done : ExitCode::Findings;
}

modIO::PageStyle StyleOf(const modCommands::Word& word)
{
    QStringList words;
    for (const modIO::PageStyleName& style : modIO::PageStyles()) {
        if (word.option->count() == 0 || style.word == word.Text())
            return style.style;
        words << style.word;
    }
    throw CLI::ValidationError(
        word.option->get_name(),
        u"there is no style \"%1\"; the styles are %2"_s.arg(word.Text(), words.join(u", "_s)).toStdString());
}
} // namespace

void modCommands::AddPage(CLI::App& app, clsCommand& chosen)
{
    struct Words
    {
        Word site;
        Word file;
        Word style;
        bool newOnly = false;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* page = app.add_subcommand("links-page", "Write the active links of a site as a web page or a table");
    words->site.option = page->add_option("site", words->site.text, "The site")->required()->type_name("SITEID");
    words->file.option = page->add_option("file", words->file.text, "The page to write")->required()->type_name("FILE");
    page->add_flag("--new-only", words->newOnly, "Only links that have never been exported");
    words->style.option =
        page->add_option("--style", words->style.text,
                         "classic (if none is given), modern, alphabetical, csv, json, opml or bookmarks")
            ->type_name("NAME");
    page->callback([&chosen, words] {
        const Request request{.siteID = words->site.Text(),
                              .file = words->file.Text(),
                              .options = {.includeAll = !words->newOnly, .style = StyleOf(words->style)}};
        chosen = [request](clsCommandSession& session) {
            return InDatabase([&](clsDatabase& database) { return Export(session, database, request); })(session);
        };
    });
}
