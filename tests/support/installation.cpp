// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/installation.h"

#include "platform/database/modDatabaseMaker.h"
#include "platform/modPlatformImpl.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

namespace
{
qint64 Add(clsDatabase& database, const QString& source, const clsRecordValues& values)
{
    const auto records = database.OpenRecordset(source);
    records->AddNew();
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        records->SetField(value.key(), value.value());
    records->Update();
    return records->LastModified();
}

/// A set for adding alone: no record is read for it.
QString NoneOf(const QString& table)
{
    return u"SELECT * FROM %1 WHERE 0"_s.arg(table);
}
} // namespace

QStringList clsTestInstallation::Statements(Content content)
{
    QStringList names{u"schema"_s,        u"ledger"_s,    u"mail-secrets"_s, u"sample-marks"_s, u"queries"_s,
                      u"message-types"_s, u"templates"_s, u"tags"_s,         u"tips"_s};
    if (content == Content::Sample)
        names << u"sample"_s;
    QStringList paths;
    for (const QString& name : std::as_const(names))
        paths << QStringLiteral(BRAMBURY_DATABASE_STATEMENTS) + u'/' + name + ".sql"_L1;
    return paths;
}

clsTestInstallation::clsTestInstallation(Content content)
{
    QDir(Folder()).mkdir(u"Data"_s);
    modDatabaseMaker::MakeDatabase(DatabasePath(), u"SandDune"_s, Statements(content));
}

clsTestInstallation::Opened clsTestInstallation::Open() const
{
    Opened opened;
    opened.workspace = modPlatformImpl::MakeDBEngine()->CreateWorkspace({}, u"admin"_s, {});
    opened.database = opened.workspace->OpenDatabase(DatabasePath(), u";pwd=SandDune"_s);
    return opened;
}

void clsTestInstallation::AddSite(clsDatabase& database, const QString& siteID, const clsRecordValues& values)
{
    clsRecordValues all{{u"SiteID"_s, siteID},
                        {u"SiteName"_s, siteID},
                        {u"HomePage"_s, u"http://www.mysite.example/"_s},
                        {u"LinkPage"_s, u"http://www.mysite.example/links.html"_s},
                        {u"Email"_s, u"me@mysite.example"_s},
                        {u"HostName"_s, u"mail.mysite.example"_s},
                        {u"MailPort"_s, 25},
                        {u"HTTPPort"_s, 80}};
    all.insert(values);
    Add(database, u"tblSites"_s, all);
}

qint64 clsTestInstallation::AddLink(clsDatabase& database, const QString& siteID, const QString& title,
                                    const clsRecordValues& values)
{
    clsRecordValues all{{u"SiteName"_s, siteID}, {u"Title"_s, title}, {u"Status"_s, 2}};
    all.insert(values);
    return Add(database, NoneOf(u"tblLinkList"_s), all);
}

qint64 clsTestInstallation::AddCategory(clsDatabase& database, const QString& siteID, const QString& category)
{
    return Add(database, NoneOf(u"tblCategory"_s), {{u"SiteID"_s, siteID}, {u"Category"_s, category}});
}

void clsTestInstallation::AddLinks(clsDatabase& database, const QString& siteID, int count)
{
    clsTransaction transaction(database);
    const auto links = database.OpenRecordset(NoneOf(u"tblLinkList"_s));
    for (int number = 1; number <= count; ++number) {
        // A step that has no factor in common with the count scatters the names over the order of the numbers.
        const qint64 scattered = number * 7919LL % 1000003;
        const QString name = u"Partner %1"_s.arg(scattered, 6, 10, QLatin1Char('0'));
        const QString host = u"www.partner%1.example"_s.arg(number);
        links->AddNew();
        links->SetField(u"SiteName"_s, siteID);
        links->SetField(u"Title"_s, name);
        links->SetField(u"Description"_s,
                        u"What the visitor finds at %1, told in a line of an ordinary length."_s.arg(name));
        links->SetField(u"HomePage"_s, u"http://%1/"_s.arg(host));
        links->SetField(u"LinkPage"_s, u"http://%1/links.html"_s.arg(host));
        links->SetField(u"FullName"_s, u"Webmaster %1"_s.arg(scattered % 977));
        links->SetField(u"Email"_s, u"webmaster@%1"_s.arg(host));
        links->SetField(u"Status"_s, number % 6);
        links->SetField(u"Results"_s, number % 3 == 0 ? 1 : 4 * (number % 5));
        links->SetField(u"Offers"_s, number % 4);
        links->SetField(u"TestQueue"_s, number % 2);
        links->Update();
    }
    transaction.Commit();
}

QVariant clsTestInstallation::LinkField(clsDatabase& database, qint64 id, const QString& field)
{
    return database.OpenRecordset(u"SELECT * FROM tblLinkList WHERE ID = %1"_s.arg(id))->Field(field);
}
