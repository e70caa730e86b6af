// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modSample.h"

#include "data/clsSiteRecord.h"
#include "data/modLinks.h"
#include "data/modSampleMarks.h"
#include "data/modSites.h"
#include "data/sample_pages.h"
#include "data/sample_statements.h"
#include "platform/clsDatabase.h"
#include "shell/modCommonFunctions.h"

#include <QCryptographicHash>
#include <QHash>
#include <QSet>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::MsgBox;
using modCommonFunctions::TextOf;

namespace
{
const QStringList SampleSites{u"Green Thumb Garden"_s, u"Old Mill Pottery"_s};

/// A table of which the sample has records. What runs write of themselves (results, queues, dates) is not the user's
/// work, and does not count as content.
struct Kind
{
    QString table;
    QString key;
    QStringList content;
};
const Kind Sites{modSampleMarks::SitesTable,
                 u"SiteID"_s,
                 {u"SiteID"_s, u"SiteName"_s, u"SiteDescription"_s, u"HomePage"_s, u"LinkPage"_s, u"ImageFile"_s,
                  u"FullName"_s, u"Email"_s, u"Sender"_s, u"SignatureBlock"_s, u"HostName"_s, u"MailPort"_s,
                  u"MailUser"_s, u"LinkHTML"_s, u"GraphicHTML"_s, u"SpecialText"_s}};
const Kind Categories{u"tblCategory"_s, u"ID"_s, {u"Category"_s}};
const Kind Links{u"tblLinkList"_s,
                 u"ID"_s,
                 {u"Title"_s, u"Description"_s, u"HomePage"_s, u"LinkPage"_s, u"ImageFile"_s, u"FullName"_s, u"Email"_s,
                  u"Comments"_s}};
const Kind Templates{
    u"tblMailMessages"_s, u"MessageID"_s, {u"Type"_s, u"Template"_s, u"Subject"_s, u"Body"_s, u"AttachedFile"_s}};

struct Record
{
    clsBookmark bookmark = 0;
    modSampleMarks::Mark mark; ///< as one made now would be
};

std::vector<Record> Read(const clsRecordset& records, const Kind& kind)
{
    std::vector<Record> found;
    const auto rows = records.Rows(0, records.RecordCount(), QStringList{kind.key} + kind.content);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].empty())
            continue;
        QCryptographicHash digest(QCryptographicHash::Sha256);
        for (auto value = rows[i].cbegin() + 1; value != rows[i].cend(); ++value)
            digest.addData(TextOf(*value).toUtf8() + '\0');
        found.push_back({records.BookmarkAt(static_cast<qint64>(i)),
                         {0, kind.table, TextOf(rows[i][0]), QString::fromLatin1(digest.result().toHex())}});
    }
    return found;
}

std::vector<Record> LinksOf(clsDatabase& database, const QString& site)
{
    return Read(*modLinks::Of(database, site), Links);
}

std::vector<Record> CategoriesOf(clsDatabase& database, const QString& site)
{
    const auto query = database.QueryDef(u"qryCategories"_s);
    query->SetParameter(u"Site"_s, site);
    return Read(*query->OpenRecordset(), Categories);
}

std::vector<Record> TemplatesOf(clsDatabase& database)
{
    return Read(*database.OpenRecordset(Templates.table), Templates);
}

/// What has become of the records that came with the sample, and what has come to them since.
class clsStock
{
public:
    explicit clsStock(clsDatabase& database) : m_database(database)
    {
        for (const modSampleMarks::Mark& mark : modSampleMarks::Read(database))
            m_marks.insert({mark.table, mark.record.toCaseFolded()}, mark.content);
        for (const Record& site : Read(*database.OpenRecordset(Sites.table), Sites)) {
            if (!Marked(site))
                continue;
            Site here{.siteID = site.mark.record, .links = LinksOf(database, site.mark.record), .categories = {}};
            here.categories = CategoriesOf(database, here.siteID);
            const int before = m_changed + m_added;
            Count(site);
            for (const std::vector<Record>* records : {&here.links, &here.categories})
                std::for_each(records->begin(), records->end(), [this](const Record& record) { Count(record); });
            here.usersToo = m_changed + m_added > before;
            m_sites.push_back(std::move(here));
        }
        for (const Record& record : TemplatesOf(database)) {
            if (!Marked(record))
                continue;
            Count(record);
            m_templates.push_back(record);
        }
    }

    [[nodiscard]] int Changed() const { return m_changed; }
    [[nodiscard]] int Added() const { return m_added; }

    /// @param keepUsers  what the user has changed or added stays, with the site that it belongs to.
    void Remove(bool keepUsers)
    {
        clsTransaction transaction(m_database);
        for (const Site& site : m_sites) {
            if (keepUsers && site.usersToo)
                Thin(site);
            else
                modSites::Delete(m_database, site.siteID);
        }
        // Sites that are left are the user's own by now.
        const QSet<qint64> used = UsedTemplates();
        std::vector<clsBookmark> gone;
        for (const Record& record : m_templates) {
            if (!used.contains(record.bookmark) && !(keepUsers && !AsLaid(record)))
                gone.push_back(record.bookmark);
        }
        m_database.DeleteRecords(Templates.table, gone);
        modSampleMarks::Clear(m_database);
        transaction.Commit();
    }

private:
    struct Site
    {
        QString siteID;
        std::vector<Record> links;
        std::vector<Record> categories;
        bool usersToo = false; ///< some of it was changed or added by the user
    };
    using Key = std::pair<QString, QString>;
    static Key KeyOf(const Record& record) { return {record.mark.table, record.mark.record.toCaseFolded()}; }
    [[nodiscard]] bool Marked(const Record& record) const { return m_marks.contains(KeyOf(record)); }
    [[nodiscard]] bool AsLaid(const Record& record) const
    {
        return m_marks.value(KeyOf(record)) == record.mark.content;
    }
    void Count(const Record& record)
    {
        if (!Marked(record))
            ++m_added;
        else if (!AsLaid(record))
            ++m_changed;
    }

    /// Leaves of a site what the user has made of it.
    void Thin(const Site& site)
    {
        std::vector<clsBookmark> gone;
        for (const Record& link : site.links) {
            if (AsLaid(link))
                gone.push_back(link.bookmark);
        }
        m_database.DeleteRecords(Links.table, gone);
        QSet<qint64> used;
        const auto left =
            m_database.OpenRecordset(u"SELECT ID, CategoryID FROM tblLinkList WHERE CategoryID IS NOT NULL"_s);
        for (const auto& row : left->Rows(0, left->RecordCount(), {u"CategoryID"_s})) {
            if (!row.empty())
                used.insert(row[0].toLongLong());
        }
        gone.clear();
        for (const Record& category : site.categories) {
            if (AsLaid(category) && !used.contains(category.bookmark))
                gone.push_back(category.bookmark);
        }
        m_database.DeleteRecords(Categories.table, gone);
    }

    /// The templates that a site's record names.
    [[nodiscard]] QSet<qint64> UsedTemplates() const
    {
        QStringList fields;
        for (int type = 0; type < clsSiteRecord::MessageTypeCount; ++type)
            fields << clsSiteRecord::TemplateField(type);
        QSet<qint64> used;
        const auto sites = m_database.OpenRecordset(Sites.table);
        for (const auto& row : sites->Rows(0, sites->RecordCount(), fields)) {
            for (const QVariant& field : row)
                used.insert(field.toLongLong());
        }
        return used;
    }

    clsDatabase& m_database;
    QHash<Key, QString> m_marks;
    std::vector<Site> m_sites;
    std::vector<Record> m_templates;
    int m_changed = 0;
    int m_added = 0;
};

/// Whether a site that came with the sample is still there.
bool AnySite(clsDatabase& database, const std::vector<modSampleMarks::Mark>& marks)
{
    const auto sites = database.OpenRecordset(Sites.table);
    return std::any_of(marks.begin(), marks.end(), [&](const modSampleMarks::Mark& mark) {
        return mark.table == Sites.table && modSites::Find(*sites, mark.record);
    });
}
} // namespace

bool modSample::There(clsDatabase& database)
{
    const auto templates = database.OpenRecordset(Templates.table);
    const std::vector<modSampleMarks::Mark> marks = modSampleMarks::Read(database);
    return AnySite(database, marks) || std::any_of(marks.begin(), marks.end(), [&](const modSampleMarks::Mark& mark) {
               return mark.table == Templates.table && templates->PositionOf(mark.record.toLongLong()) >= 0;
           });
}

QString modSample::Problem(clsDatabase& database)
{
    if (AnySite(database, modSampleMarks::Read(database)))
        return u"The sample is there already."_s;
    const auto sites = database.OpenRecordset(Sites.table);
    for (const QString& site : SampleSites) {
        if (modSites::Find(*sites, site))
            return u"A site of the sample is called %1, and you have one of that name."_s.arg(site);
    }
    return {};
}

QString modSample::Add(clsDatabase& database)
{
    clsTransaction transaction(database);
    clsStock(database).Remove(true); // templates of an earlier one, whose sites were deleted by hand
    QSet<clsBookmark> own;
    for (const Record& record : TemplatesOf(database))
        own.insert(record.bookmark);
    database.Declare(modStatements::SampleStatements);
    std::vector<modSampleMarks::Mark> marks;
    const auto take = [&marks](const std::vector<Record>& records) {
        for (const Record& record : records)
            marks.push_back(record.mark);
    };
    std::vector<Record> sites = Read(*database.OpenRecordset(Sites.table), Sites);
    std::erase_if(sites, [](const Record& site) { return !SampleSites.contains(site.mark.record); });
    take(sites);
    for (const QString& site : SampleSites) {
        take(CategoriesOf(database, site));
        take(LinksOf(database, site));
    }
    std::vector<Record> templates = TemplatesOf(database);
    std::erase_if(templates, [&own](const Record& record) { return own.contains(record.bookmark); });
    take(templates);
    modSampleMarks::Add(database, marks);
    transaction.Commit();
    return SampleSites.first();
}

bool modSample::Remove(clsDatabase& database)
{
    clsStock stock(database);
    bool keep = false;
    if (stock.Changed() > 0 || stock.Added() > 0) {
        const auto answer =
            MsgBox(u"Of what the sample holds now, you have changed %1 and added %2 record(s).\r\n"
                   "\r\n"
                   "Do you wish to remove these too?\r\n"
                   "\r\n"
                   "Yes removes everything.  No keeps what you have changed or added, and the "
                   "sites that it belongs to."_s.arg(stock.Changed())
                       .arg(stock.Added()),
                   clsDialogs::Buttons::YesNoCancel, clsDialogs::Icon::Question, u"Remove the Sample"_s);
        if (answer == clsDialogs::Answer::Cancel)
            return false;
        keep = answer == clsDialogs::Answer::No;
    }
    stock.Remove(keep);
    return true;
}

QByteArray modSample::Pages()
{
    return PagesOfPartners;
}

void modSample::TellPortTaken()
{
    MsgBox(u"Another program has port %1 of this machine, at which the sample's partners answer.  Their links are "
           u"tested against that program, and may fail for this reason alone."_s.arg(PagesPort),
           clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}
