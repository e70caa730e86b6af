// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/modSites.h"

#include "data/clsDAO.h"
#include "data/modLinks.h"
#include "data/modMailSecrets.h"
#include "data/modSampleMarks.h"
#include "platform/clsError.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::MsgBox;

namespace
{
bool Exists(clsDatabase& database, const QString& siteID)
{
    return modSites::Find(*database.OpenRecordset(u"tblSites"_s), siteID);
}

/// The first name for a copy that is free. A name that would be too long loses the end of the source's.
QString CopyName(clsDatabase& database, const QString& siteID)
{
    for (int n = 1;; ++n) {
        const QString prefix = n == 1 ? u"Copy of "_s : u"Copy (%1) of "_s.arg(n);
        const QString name =
            modSites::Trimmed(prefix + modCommonFunctions::Leftmost(siteID, modSites::NameSize - prefix.size()));
        if (!Exists(database, name))
            return name;
    }
}

/// What an older file's stored query does not copy. The password stays the source's alone: that of the copy is asked
/// for until it gets one of its own.
void CopyMailFields(clsDatabase& database, const QString& from, const QString& to)
{
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (!modSites::Find(*sites, from))
        return;
    clsFieldValues values;
    for (const QString& field :
         {u"MailSecurity"_s, u"MailUser"_s, u"MailTokenCommand"_s, u"MailGap"_s, u"MailPerHour"_s, u"MailPerDay"_s})
        values.emplace_back(field, sites->Field(field));
    if (modSites::Find(*sites, to))
        database.UpdateRecords(u"tblSites"_s, {sites->Bookmark()}, values);
}

std::vector<clsBookmark> KeysOf(const clsRecordset& records)
{
    std::vector<clsBookmark> keys;
    keys.reserve(static_cast<std::size_t>(records.RecordCount()));
    for (qint64 i = 0; i < records.RecordCount(); ++i)
        keys.push_back(records.BookmarkAt(i));
    return keys;
}

std::vector<clsBookmark> LinksOf(clsDatabase& database, const QString& siteID)
{
    return KeysOf(*modLinks::Of(database, siteID));
}

std::vector<clsBookmark> CategoriesOf(clsDatabase& database, const QString& siteID)
{
    const auto query = database.QueryDef(u"qryCategories"_s);
    query->SetParameter(u"Site"_s, siteID);
    return KeysOf(*query->OpenRecordset());
}
} // namespace

QStringList modSites::Names(clsDatabase& database)
{
    QStringList names;
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    for (const auto& row : sites->Rows(0, sites->RecordCount(), {u"SiteID"_s})) {
        if (!row.empty())
            names << modCommonFunctions::TextOf(row[0]);
    }
    return names;
}

bool modSites::Find(clsRecordset& sites, const QString& siteID)
{
    return sites.FindFirst(clsDAO::TextCriteria(u"SiteID"_s, siteID));
}

bool modSites::MoveToLastUsed(clsRecordset& sites, const QString& lastUsed)
{
    if (sites.RecordCount() == 0)
        return false;
    if (lastUsed.isEmpty() || !Find(sites, lastUsed))
        sites.MoveFirst();
    return true;
}

void modSites::Select(const clsRecordset& sites)
{
    modBrambury::ProcessState& state = modBrambury::State();
    // Any number but zero is on, Null is off.
    const auto on = [&](const QString& field) { return sites.Field(field).toInt() != 0; };
    state.CurrentSite = modCommonFunctions::TextOf(sites.Field(u"SiteID"_s));
    state.Tests = {.MyLinkAtRecipSite = on(u"TestForMyLinkAtRecipSite"_s),
                   .MyImageAtRecipSite = on(u"TestForMyImageAtRecipSite"_s),
                   .RecipLinkAtMySite = on(u"TestForRecipLinkAtMySite"_s),
                   .RecipImageAtMySite = on(u"TestForRecipImageAtMySite"_s)};
}

QString modSites::Trimmed(QString name)
{
    while (!name.isEmpty() && name.back().isSpace())
        name.chop(1);
    return name;
}

QString modSites::NameProblem(clsDatabase& database, const QString& name, NameFor purpose, const QString& renamed)
{
    if (name.toUpper() == modBrambury::NewSiteID.toUpper())
        return u"This name is reserved for system use.  Please choose another name."_s;
    if (name.toUcs4().size() > NameSize)
        return u"The site name must be 50 characters or less."_s;
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (!Find(*sites, name))
        return {};
    if (purpose == NameFor::NewSite)
        return u"This site name is already in use.  Please enter a new site name."_s;
    // A site may take its own name in other letters.
    const clsBookmark found = sites->Bookmark();
    if (Find(*sites, renamed) && sites->Bookmark() == found)
        return {};
    return u"This site name is already in use."_s;
}

void modSites::Rename(clsDatabase& database, const QString& siteID, const QString& name)
{
    clsTransaction transaction(database);
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    if (!Find(*sites, siteID))
        throw clsError(clsError::NoCurrentRecord, u"There is no site %1."_s.arg(siteID), u"modSites"_s);
    const std::vector<clsBookmark> links = LinksOf(database, siteID);
    const std::vector<clsBookmark> categories = CategoriesOf(database, siteID);
    sites->Edit();
    sites->SetField(u"SiteID"_s, name);
    sites->Update();
    database.UpdateRecords(u"tblLinkList"_s, links, {{u"SiteName"_s, name}});
    database.UpdateRecords(u"tblCategory"_s, categories, {{u"SiteID"_s, name}});
    modSampleMarks::SiteRenamed(database, siteID, name);
    transaction.Commit();
    modBrambury::ProcessState& state = modBrambury::State();
    if (state.CurrentSite.compare(siteID, Qt::CaseInsensitive) == 0)
        state.CurrentSite = name;
    if (state.Settings.Site.compare(siteID, Qt::CaseInsensitive) == 0)
        state.Settings.Site = name;
}

QString modSites::Copy(clsDatabase& database, const QString& siteID)
{
    const QString name = CopyName(database, siteID);
    {
        clsTransaction transaction(database);
        const auto query = database.QueryDef(u"qryCopySite"_s);
        query->SetParameter(u"SiteID"_s, siteID);
        query->SetParameter(u"NewSiteID"_s, name);
        query->Execute();
        CopyMailFields(database, siteID, name);
        transaction.Commit();
    }
    if (Exists(database, name))
        return name;
    MsgBox(u"Could not copy site."_s);
    return {};
}

bool modSites::ConfirmDelete(const QString& siteID)
{
    return MsgBox(u"By deleting this site, all corresponding links in your "
                  "reciprocal link list will be removed.\r\n"
                  "\r\n"
                  "Do you wish to continue?"_s,
                  clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question,
                  u"Delete Site \"%1\""_s.arg(siteID)) == clsDialogs::Answer::Yes;
}

void modSites::Delete(clsDatabase& database, const QString& siteID)
{
    clsTransaction transaction(database);
    database.DeleteRecords(u"tblLinkList"_s, LinksOf(database, siteID));
    database.DeleteRecords(u"tblCategory"_s, CategoriesOf(database, siteID));
    modSampleMarks::SiteDeleted(database, siteID);
    const auto sites = database.OpenRecordset(u"tblSites"_s);
    QString key;
    if (Find(*sites, siteID)) {
        key = modCommonFunctions::TextOf(sites->Field(u"MailKey"_s));
        sites->Delete();
    }
    const bool inKeyring = modMailSecrets::PlaceOf(key) == modMailSecrets::Place::Keyring;
    if (!inKeyring)
        modMailSecrets::Remove(database, key);
    transaction.Commit();
    // A keyring that does not answer keeps a password that nobody asks for any more.
    if (inKeyring)
        ignoringErrors([&] { modMailSecrets::Remove(database, key); });
}
