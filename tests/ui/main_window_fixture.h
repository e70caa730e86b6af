// SPDX-License-Identifier: GPL-3.0-or-later
// The main window on a temporary installation: real database, event loop and HTTP, scripted answers to boxes.
#pragma once

#include "data/modSites.h"
#include "platform/clsBrowser.h"
#include "platform/clsDatabaseFiles.h"
#include "platform/clsDisk.h"
#include "platform/clsLinkFiles.h"
#include "platform/clsPrinter.h"
#include "platform/frmResources.h"
#include "platform/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "support/dialogs.h"
#include "support/fakes.h"
#include "support/installation.h"
#include "support/table.h"
#include "ui/lists/clsLinkGrid.h"
#include "ui/main/clsUIWindows.h"
#include "ui/main/frmMain.h"

class fakeBrowser : public clsBrowser
{
public:
    QStringList opened;
    Outcome outcome = Outcome::Opened;
    Outcome Open(const QString& address) override
    {
        opened << address;
        return outcome;
    }
};

class fakePrinter : public clsPrinter
{
public:
    QStringList lines;
    void StartDoc(const QString&, int, int) override {}
    void SetFont(const QString&, double, bool) override {}
    void SetFooter(const QString&) override {}
    void PrintLine(const QString& text) override { lines << text; }
    void PrintField(const QString& label, const QString& value) override { lines << label + value; }
    void StartTable(const std::vector<Column>&) override {}
    void PrintRow(const QStringList& cells) override { lines << cells.join(u'|'); }
    void EndTable() override {}
    void RestartPages() override {}
    void EndDoc() override {}
    void CancelDoc() noexcept override {}
    void SetOutputFile(const QString&) override {}
    bool Available() const override { return true; }
    bool AskPrinter() override { return true; }
    Choice Preview(const std::function<bool()>&) override { return Choice::Print; }
    void SetUp() override {}
};

/// One at a time. The program stands as after its start, and is not loaded yet: Open() does that. A box that is still
/// expected at its end fails the test.
class clsTestWindow
{
public:
    clsTestWindow()
    {
        modBrambury::State() = {};
        modBrambury::State().Platform = {.DBEngine = engine.get(),
                                         .DatabaseFiles = databaseFiles.get(),
                                         .LinkFiles = linkFiles.get(),
                                         .Settings = &settings,
                                         .EventLoop = eventLoop.get(),
                                         .Clock = clock.get(),
                                         .Dialogs = &dialogs,
                                         .Windows = &windows,
                                         .Connection = &connection,
                                         .Printer = &printer,
                                         .Sound = &sound,
                                         .Browser = &browser,
                                         .Disk = disk.get(),
                                         .Resources = &resources};
        modBrambury::SetProgramFolder(installation.Folder());
        Set(QStringLiteral("General"), QStringLiteral("AutoBackup"), QStringLiteral("No"));
        Set(QStringLiteral("Backup"), QStringLiteral("KeepDated"), QStringLiteral("No"));
        // Neither the guide of a first start nor a tip stands in the way.
        Set(QStringLiteral("General"), QStringLiteral("LastEntry"), QStringLiteral("2026-01-01"));
        windows.HoldTips();
        opened = installation.Open();
    }
    ~clsTestWindow()
    {
        if (!dialogs.expected.isEmpty() && !QTest::currentTestFailed())
            QTest::qFail(qPrintable(QStringLiteral("a box did not come: ") + dialogs.expected[0].text), __FILE__,
                         __LINE__);
        Close();
        modBrambury::State() = {};
    }
    clsTestWindow(const clsTestWindow&) = delete;
    clsTestWindow& operator=(const clsTestWindow&) = delete;

    /// The site Shop with the tests of both directions, and a link of each status, titled by it.
    void Fill()
    {
        clsTestInstallation::AddSite(*opened, QStringLiteral("Shop"));
        for (int status = 0; status < 6; ++status)
            ids << clsTestInstallation::AddLink(*opened, QStringLiteral("Shop"), StatusTitle(status),
                                                {{QStringLiteral("Status"), status}});
    }
    static QString StatusTitle(int status) { return QStringLiteral("Partner %1").arg(status); }

    /// Starts the program: the main window is loaded.
    frmMain& Open()
    {
        if (!modBrambury::Main())
            qFatal("the main window did not load");
        return *windows.Main();
    }
    void Close()
    {
        if (!windows.Main())
            return;
        windows.Main()->close();
        windows.Discard();
    }

    frmMain& Window() const { return *windows.Main(); }
    clsLinkGrid& Grid() const { return *Window().findChild<clsLinkGrid*>(); }
    template <typename Control = QWidget> Control& Find(const QString& name) const
    {
        return controlOf<Control>(Window(), name);
    }
    QTreeWidget& Sites() const { return Find<QTreeWidget>(QStringLiteral("SiteList")); }
    void ShowTab(int index) const { Find<QTabBar>(QStringLiteral("LinksTab")).setCurrentIndex(index); }
    /// Chooses a menu entry or toolbar button by its name.
    void Trigger(const QString& name) const { Find<QAction>(name).trigger(); }
    /// Chooses entries that do nothing but show this box.
    void Refused(const QString& menu, const QList<int>& entries, const QString& text)
    {
        for (const int entry : entries) {
            dialogs.Expect(text, {}, QStringLiteral("Brambury"));
            Trigger(menu + QString::number(entry));
            QVERIFY(dialogs.expected.isEmpty());
        }
    }
    [[nodiscard]] QString Counter() const { return Find<QLabel>(QStringLiteral("lblLinksInView")).text(); }
    void SelectRows(int first, int last) const
    {
        Grid().selectionModel()->select({Grid().model()->index(first, 0), Grid().model()->index(last, 0)},
                                        QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    /// What the rows show in a column.
    [[nodiscard]] QStringList Shown(int column) const
    {
        QStringList texts;
        for (int row = 0; row < Grid().Links().rowCount(); ++row)
            texts << Grid().Links().index(row, column).data().toString();
        return texts;
    }
    [[nodiscard]] QString Style(int row, int column) const
    {
        return Grid().Links().index(row, column).data(clsLinkModel::StyleRole).toString();
    }
    /// A field of one of the links that Fill made, and fields of a site, as another program sees and changes them.
    [[nodiscard]] QVariant Link(int n, const QString& field) const
    {
        return clsTestInstallation::LinkField(*opened, ids.at(n), field);
    }
    [[nodiscard]] QString Site(const QString& siteID, const QStringList& fields) const
    {
        const auto sites = opened->OpenRecordset(QStringLiteral("tblSites"));
        if (!modSites::Find(*sites, siteID))
            return QStringLiteral("no site");
        QStringList values;
        for (const QString& field : fields)
            values << sites->Field(field).toString();
        return values.join(u'|');
    }
    void SetSite(const QString& siteID, const clsFieldValues& values) const
    {
        const auto sites = opened->OpenRecordset(QStringLiteral("tblSites"));
        if (modSites::Find(*sites, siteID))
            opened->UpdateRecords(QStringLiteral("tblSites"), {sites->Bookmark()}, values);
    }
    void Set(const QString& section, const QString& key, const QString& value)
    {
        settings.SaveSetting(section, key, value);
    }
    [[nodiscard]] QString Setting(const QString& section, const QString& key) const
    {
        return settings.GetSetting(section, key, {});
    }

    clsTestInstallation installation;
    clsTestInstallation::Opened opened; ///< the database as another program sees it
    QList<qint64> ids;                  ///< of the links that Fill made
    int closed = 0;

    fakeSettings settings;
    fakeDialogs dialogs;
    fakeConnection connection;
    fakeSound sound;
    fakeBrowser browser;
    fakePrinter printer;
    clsUIWindows windows{[this] { ++closed; }};

    const std::unique_ptr<clsClock> clock = modPlatformImpl::MakeClock();
    const std::unique_ptr<clsDBEngine> engine = modPlatformImpl::MakeDBEngine();
    const std::unique_ptr<clsDisk> disk = modPlatformImpl::MakeDisk();
    const std::unique_ptr<clsEventLoop> eventLoop = modPlatformImpl::MakeEventLoop();
    const std::unique_ptr<clsDatabaseFiles> databaseFiles = modPlatformImpl::MakeDatabaseFiles(*eventLoop, *disk);
    const std::unique_ptr<clsLinkFiles> linkFiles = modPlatformImpl::MakeLinkFiles(*eventLoop, *disk);
    frmResources resources{modPlatformImpl::MakeHTTPControl(*disk), modPlatformImpl::MakeSmtpControl(*eventLoop),
                           modPlatformImpl::MakeMimeControl()};
};
