// SPDX-License-Identifier: GPL-3.0-or-later
// What every test of the link test starts from: the site of Ann, partners beside it, and a run over what is queued.
#pragma once

#include "data/modDataModel.h"
#include "linktest/clsHTTP.h"
#include "platform/clsDatabase.h"
#include "shell/modBrambury.h"
#include "support/program.h"

#include <QVariantMap>

/// Hears a run as the main window would.
class recordingParent : public clsRunParent
{
public:
    QStringList highlighted;
    QStringList progress;
    std::function<void(qint64 linkID)> onHighLight;
    std::function<void(qint64 done)> onProgress;

    void HighLightLink(qint64 linkID, const QString& siteName) override
    {
        highlighted << QStringLiteral("%1 %2").arg(linkID).arg(siteName);
        if (onHighLight)
            onHighLight(linkID);
    }
    void RunProgress(qint64 done, qint64 total) override
    {
        progress << QStringLiteral("%1/%2").arg(done).arg(total);
        if (onProgress)
            onProgress(done);
    }
};

/// A fresh installation with an empty database for every test function.
class linktestFixture
{
public:
    linktestFixture()
    {
        modBrambury::State().CurrentSite = QStringLiteral("Shop");
        modBrambury::State().Tests = {true, true, true, true};
    }

    clsTestProgram program;
    recordingParent parent;
    fakeLogWindow log;
    std::function<std::unique_ptr<clsHTTPEngine>()> makeEngine;
    clsHTTP::Ending ending = clsHTTP::Ending::Failed;
    qint64 failed = -1;

    static clsDatabase& Database() { return *modBrambury::State().Database; }

    static qint64 Add(const QString& table, const QVariantMap& fields)
    {
        const auto records = Database().OpenRecordset(table);
        records->AddNew();
        for (auto field = fields.cbegin(); field != fields.cend(); ++field)
            records->SetField(field.key(), field.value());
        records->Update();
        return records->LastModified();
    }
    /// The site "Shop", titled "Ann's Shop", unless `fields` say otherwise.
    static void AddSite(const QVariantMap& fields = {})
    {
        QVariantMap site{{QStringLiteral("SiteID"), QStringLiteral("Shop")},
                         {QStringLiteral("SiteName"), QStringLiteral("Ann's Shop")},
                         {QStringLiteral("HomePage"), QStringLiteral("http://www.shop.example/")},
                         {QStringLiteral("LinkPage"), QStringLiteral("http://www.shop.example/links.htm")},
                         {QStringLiteral("ImageFile"), QStringLiteral("shop.gif")}};
        site.insert(fields);
        Add(QStringLiteral("tblSites"), site);
    }
    /// A queued, active partner "Bob" of "Shop", unless `fields` say otherwise. @return its ID
    static qint64 AddLink(const QVariantMap& fields = {})
    {
        QVariantMap link{{QStringLiteral("SiteName"), QStringLiteral("Shop")},
                         {QStringLiteral("Title"), QStringLiteral("Bob")},
                         {QStringLiteral("HomePage"), QStringLiteral("http://www.bob.example/")},
                         {QStringLiteral("LinkPage"), QStringLiteral("http://www.bob.example/links.htm")},
                         {QStringLiteral("ImageFile"), QStringLiteral("bob.gif")},
                         {QStringLiteral("Status"), modDataModel::Active},
                         {QStringLiteral("TestQueue"), true}};
        link.insert(fields);
        return Add(QStringLiteral("tblLinkList"), link);
    }
    static QVariant Field(qint64 linkID, const char* name)
    {
        const auto records = Database().OpenRecordset(QStringLiteral("tblLinkList"));
        records->MoveTo(linkID);
        return records->Field(QString::fromLatin1(name));
    }
    static int Results(qint64 linkID) { return Field(linkID, "Results").toInt(); }
    static int Status(qint64 linkID) { return Field(linkID, "Status").toInt(); }
    static bool Queued(qint64 linkID) { return Field(linkID, "TestQueue").toBool(); }

    void Run()
    {
        clsHTTP test({.Parent = &parent,
                      .LogWindow = &log,
                      .Platform = modBrambury::Platform(),
                      .Database = &Database()},
                     makeEngine);
        test.CheckLinks();
        ending = test.LastEnding();
        failed = test.FailedLinks();
    }
    [[nodiscard]] QStringList Lines() const { return log.Text().split(QStringLiteral("\r\n")); }
};
