// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/modSiteReport.h"

#include "data/modLinks.h"
#include "data/modSites.h"
#include "platform/clsClock.h"
#include "platform/clsDatabase.h"
#include "platform/clsEventLoop.h"
#include "platform/clsPrinter.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <chrono>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;
using modCommonFunctions::TextOf;

namespace
{
const QString SiteTable = u"tblSites"_s;
const QString Title = u"Site Report"_s;
const QString FontFamily = u"Arial"_s;
constexpr double TitlePoints = 14;
constexpr double TextPoints = 10;
constexpr double TablePoints = 8;
/// Links that are held in memory at a time.
constexpr qint64 BatchSize = 100;
/// How long the event loop waits for its turn.
constexpr std::chrono::milliseconds SliceLength{40};

struct Setting
{
    QString label;
    QString field;
};

/// The lines at the head of a report, in order.
const std::vector<Setting>& Settings()
{
    static const std::vector<Setting> settings{{u"Site Title: "_s, u"SiteName"_s},
                                               {u"Site Description: "_s, u"SiteDescription"_s},
                                               {u"Home Page URL: "_s, u"HomePage"_s},
                                               {u"Link Page URL: "_s, u"LinkPage"_s},
                                               {u"Image File: "_s, u"ImageFile"_s},
                                               {u"Webmaster: "_s, u"FullName"_s},
                                               {u"E-mail Address: "_s, u"Email"_s},
                                               {u"E-mail Sender: "_s, u"Sender"_s},
                                               {u"E-mail Signature: "_s, u"SignatureBlock"_s},
                                               {u"Text Link HTML: "_s, u"LinkHTML"_s},
                                               {u"Image Link HTML: "_s, u"GraphicHTML"_s},
                                               {u"Special Instructions: "_s, u"SpecialText"_s}};
    return settings;
}

/// Divides the work into turns of the event loop, and hears there whether it is to go on.
class clsSlices
{
public:
    clsSlices(const modSiteReport::Progress& progress, qsizetype sites) : m_progress(progress), m_sites(sites) {}

    /// @param site  0-based place of the one that is being printed.  @param done  of its links, from 0 to 1.
    /// @return false when the user has cancelled.
    bool GoOn(qsizetype site, double done)
    {
        const std::chrono::milliseconds now = Platform().Clock->Monotonic();
        if (now - m_begin < SliceLength)
            return true;
        const double whole = (static_cast<double>(site) + done) / static_cast<double>(m_sites);
        if (m_progress && !m_progress(whole))
            return false;
        Platform().EventLoop->Yield();
        m_begin = Platform().Clock->Monotonic();
        return !m_progress || m_progress(whole);
    }

private:
    const modSiteReport::Progress& m_progress;
    const qsizetype m_sites;
    std::chrono::milliseconds m_begin = Platform().Clock->Monotonic();
};

/// The site's record; empty when there is no such site, and the user has been told.
std::unique_ptr<clsRecordset> OpenSite(clsDatabase& database, const QString& siteID)
{
    auto sites = database.OpenRecordset(SiteTable);
    if (modSites::Find(*sites, siteID))
        return sites;
    modCommonFunctions::MsgBox(u"An error occured.  Could not find site "_s + siteID, clsDialogs::Buttons::OK,
                               clsDialogs::Icon::Exclamation);
    return {};
}

void PrintSettings(const clsRecordset& site, clsPrinter& printer)
{
    printer.SetFont(FontFamily, TitlePoints, true);
    printer.PrintLine(Title);
    printer.SetFont(FontFamily, TextPoints, false);
    printer.PrintLine({});
    for (const Setting& setting : Settings())
        printer.PrintField(setting.label, TextOf(site.Field(setting.field)));
    printer.PrintLine({});
}

/// @return false when `goOn` has: it is told how much of the table is done.
bool PrintLinks(clsDatabase& database, const QString& siteID, clsPrinter& printer,
                const std::function<bool(double)>& goOn)
{
    const auto links = modLinks::Of(database, siteID);
    const qint64 count = links->RecordCount();
    const QStringList fields{u"Title"_s, u"HomePage"_s, u"LinkPage"_s, u"Email"_s};

    printer.SetFont(FontFamily, TablePoints, false);
    printer.StartTable({{u"Title"_s, 22}, {u"Home Page URL"_s, 27}, {u"Link Page URL"_s, 28}, {u"Email"_s, 23}});
    qint64 done = 0;
    for (qint64 first = 0; first < count; first += BatchSize) {
        for (const std::vector<QVariant>& row : links->Rows(first, BatchSize, fields)) {
            if (!goOn(static_cast<double>(done++) / static_cast<double>(count)))
                return false;
            QStringList cells;
            for (const QVariant& value : row)
                cells << TextOf(value);
            if (!cells.isEmpty()) // it has not been deleted meanwhile
                printer.PrintRow(cells);
        }
    }
    printer.EndTable();
    return true;
}
} // namespace

bool modSiteReport::Find(clsDatabase& database, const QString& siteID)
{
    return OpenSite(database, siteID) != nullptr;
}

modSiteReport::Outcome modSiteReport::Print(clsDatabase& database, clsPrinter& printer, const QStringList& siteIDs,
                                            const Progress& progress)
{
    clsSlices slices(progress, siteIDs.size());
    const QString today = modCommonFunctions::LongDate(Platform().Clock->Now());
    std::optional<clsPrintDocument> document;
    for (qsizetype i = 0; i < siteIDs.size(); ++i) {
        const auto site = OpenSite(database, siteIDs[i]);
        if (!site)
            continue;
        if (document)
            printer.RestartPages();
        else
            document.emplace(printer, Title, clsPrinter::MarginOfSetUp, clsPrinter::MarginOfSetUp);
        printer.SetFooter(today);
        PrintSettings(*site, printer);
        if (!PrintLinks(database, siteIDs[i], printer, [&](double done) { return slices.GoOn(i, done); }))
            return Outcome::Cancelled;
    }
    if (!document)
        return Outcome::Nothing;
    document->End();
    return Outcome::Printed;
}
