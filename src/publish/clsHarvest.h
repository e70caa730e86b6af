// SPDX-License-Identifier: GPL-3.0-or-later
// The link harvest: the hyperlinks of one web page, or the links of a file, filtered, marked where they are partners
// already, and added to a site. What the wizard's pages and the command line do alike.
#pragma once

#include "platform/clsPlatform.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class clsDatabase;
class clsHTTPEngine;
class clsPageList;
class clsRecordset;

/// Shows its messages itself and reports its failures. Whoever starts a run clears the stop flag.
class clsHarvest
{
public:
    /// What it works with; not owned.
    struct Collaborators
    {
        clsPlatform Platform;
        clsDatabase* Database = nullptr;
        /// Makes the page fetcher of a run; empty: the real one.
        std::function<std::unique_ptr<clsHTTPEngine>()> MakeEngine = {};
    };

    /// What the user wants harvested.
    struct Wish
    {
        QString site; ///< SiteID of the site that gets the links
        QString url;  ///< the page; or a file, by its whole path or as "file:" address
        bool FilterDuplicates = true;
        bool FilterBaseURL = true; ///< leave out links to the page's own host; a file has none
    };

    /// How a run ended; all but Done have told the user why, but for a stop when nothing was waited for from the net.
    enum class Ending
    {
        Done,         ///< there is a list; it may be empty when the filters left nothing
        NoLinks,      ///< the page or file has no hyperlinks
        Stopped,      ///< the stop flag
        NoConnection, ///< not connected to the Internet
        PageFailed,   ///< the page could not be fetched, or the file not be understood
        UnknownSite,  ///< the site is not there any more
        Failed,       ///< an error that was reported
    };

    /// One harvested hyperlink.
    struct Link
    {
        QString address;
        QString suggestion; ///< a title for it: how the page calls it; may be empty
        QStringList marks;  ///< what speaks against adding it, in words; mostly empty
    };

    explicit clsHarvest(Collaborators collaborators);
    ~clsHarvest();
    clsHarvest(const clsHarvest&) = delete;
    clsHarvest& operator=(const clsHarvest&) = delete;

    /// Drops the list of the last run. A "file:" address becomes a path.
    void SetWish(Wish wish);
    /// Whether what the user has given as address names a file of this machine.
    static bool NamesFile(const QString& url);
    [[nodiscard]] const Wish& Wished() const { return m_wish; }
    /// Why there can be no run with this wish, as the message says it; empty when there can.
    [[nodiscard]] QString Problem() const;
    /// What a run would do, in lines that end in CR LF.
    [[nodiscard]] QString Summary() const;

    /// Fetches the page and lists its links. Problem() must be empty.
    Ending Run();
    /// Ends a run whose outcome nobody wants any more, by the stop flag and without a message.
    void Abandon();
    [[nodiscard]] const std::vector<Link>& Links() const { return m_links; }
    /// "12 links were harvested from this web page."
    [[nodiscard]] QString CountText() const;

    /// Adds the chosen links to the site as offers, all or none, and tells the user. @param chosen  indices of Links().
    /// @return whether they were written.
    bool Add(const std::vector<std::size_t>& chosen);

    /// The form by which two home page addresses are compared: without scheme, "www.", default port, fragment, final
    /// "/" and the usual name of an index page; the host in lower case. Empty for what is no web address.
    static QString ComparedForm(const QString& address);

private:
    Ending Harvest();
    Ending HarvestFile();
    [[nodiscard]] std::unique_ptr<clsRecordset> FindSite() const;
    void Take(const clsPageList& page, const QString& host);
    /// @return false when it was stopped.
    bool MarkPartners();
    bool Write(const std::vector<std::size_t>& chosen);

    const Collaborators m_with;
    Wish m_wish;
    std::vector<Link> m_links;
    bool m_abandoned = false;
};
