// SPDX-License-Identifier: GPL-3.0-or-later
// The links page: the classic page's bytes, the modern page before a judge of HTML, which links are stamped, and the
// page of before when something fails.
#include "platform/clsBrowser.h"
#include "publish/clsPageTemplate.h"
#include "publish/modLinksPage.h"
#include "support/command_line.h"
#include "support/faults.h"
#include "support/program.h"
#include "support/table.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Answer = clsDialogs::Answer;
using modIO::PageStyle;

namespace
{
const QString Site = u"Café"_s;
const QString Today = u"01/05/2026"_s;

class fakeBrowser final : public clsBrowser
{
public:
    QStringList opened;
    Outcome Open(const QString& address) override
    {
        opened << address;
        return Outcome::Opened;
    }
};
} // namespace

class tst_links_page : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;
    fakeBrowser m_browser;

    clsDatabase& Db() const { return *modBrambury::State().Database; }
    /// The folder of the page holds nothing else.
    QString Folder() const { return m_program->installation.Folder() + u"/web"_s; }
    QString File() const { return Folder() + u"/My Links.htm"_s; }
    QByteArray Content() const { return m_program->disk->ReadFile(File()); }
    std::optional<qint64> Export(PageStyle style, bool all = true) const
    {
        return modIO::ExportLinks(Db(), Site, {.includeAll = all, .style = style}, File());
    }
    QByteArray Exported(PageStyle style) const
    {
        Export(style);
        return Content();
    }
    void Add(const QString& category, const QString& title, clsRecordValues values = {}) const
    {
        if (!category.isEmpty())
            values.insert(u"CategoryID"_s, clsTestInstallation::AddCategory(Db(), Site, category));
        clsTestInstallation::AddLink(Db(), Site, title, values);
    }
    /// Titles of the links that carry today's date.
    QString Stamped() const
    {
        const auto records =
            Db().OpenRecordset(u"SELECT * FROM tblLinkList WHERE Exported = '%1' ORDER BY ID"_s.arg(Today));
        QStringList titles;
        for (; !records->AfterLast(); records->MoveNext())
            titles << records->Field(u"Title"_s).toString();
        return titles.join(u'|');
    }
    bool Window(const std::optional<modIO::ExportOptions>& options) const
    {
        return modIO::WriteLinksPage(Db(), Site, [options] { return options; });
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        modBrambury::Platform().Browser = &m_browser;
        m_program->disk->MakeFolder(Folder());
        m_program->disk->CopyFile(QStringLiteral(BRAMBURY_SOURCE_DIR "/resources/page/LinksPage.html"),
                                  m_program->installation.Folder() + u"/LinksPage.html"_s);
        clsTestInstallation::AddSite(Db(), Site, {{u"SiteName"_s, u"Café <Zentral>"_s}});
        clsTestInstallation::AddLinks(Db(), u"Other"_s, 300);
        Add(u"Miscellaneous"_s, u"Zebra"_s, {{u"Exported"_s, u"12/31/2025"_s}});
        Add({}, u"a page of its own"_s, {{u"HomePage"_s, QString(u""_s)}});
        Add(u"Bells"_s, u"Broken"_s, {{u"Status"_s, 3}});
        Add(u"art & \"crafts\""_s, u"Script"_s,
            {{u"HomePage"_s, u"javascript:alert(1)"_s}, {u"Description"_s, u"two\r\nlines"_s}});
        Add(u"Art & \"Crafts\""_s, u"Tom's \"Pots\" & <Pans>"_s,
            {{u"HomePage"_s, u"http://pots.example/?a=1&b=2"_s}, {u"Description"_s, u"Größe 😀"_s}});
        Add(u"Art & \"Crafts\""_s, u"An offer"_s, {{u"Status"_s, 0}});
    }
    void cleanup() { m_program.reset(); }

    void ClassicPageByteForByte()
    {
        m_program->disk->WriteFile(File(), QByteArray(100'000, 'o'));
        m_program->disk->WriteFile(File() + u".brambury-old"_s, "left behind by an export that was killed");
        QCOMPARE(Export(PageStyle::Classic), 4);
        const QList<QByteArray> lines = Content().split('\n');
        // Written by hand, with plain line feeds.
        const QString file = QStringLiteral(BRAMBURY_SOURCE_DIR "/tests/publish/classic.htm");
        const QList<QByteArray> expected = m_program->disk->ReadFile(file).replace("\n", "\r\n").split('\n');
        for (qsizetype i = 0; i < std::min(lines.size(), expected.size()); ++i)
            QCOMPARE(lines[i], expected[i]);
        QCOMPARE(lines.size(), expected.size());
        QCOMPARE(Stamped(), u"Zebra|a page of its own|Script|Tom's \"Pots\" & <Pans>"_s);
        QCOMPARE(QDir(Folder()).entryList(QDir::Files), QStringList{u"My Links.htm"_s});
    }

    /// The window's questions, with every way out of them.
    void QuestionsOfTheWindow()
    {
        const modIO::ExportOptions newOnly{.includeAll = false, .style = PageStyle::Classic};
        QVERIFY(!Window({}));
        QVERIFY(m_program->dialogs.fileRequests.isEmpty());
        QVERIFY(!Window(newOnly)); // the file dialog is cancelled
        QVERIFY(!Window(modIO::ExportOptions{.style = PageStyle::Csv}));
        const auto& requests = m_program->dialogs.fileRequests;
        QCOMPARE(requests.at(0).title + u'/' + requests.at(0).filter + u'/' + requests.at(0).fileName,
                 u"Save HTML Document/HTML Documents|*.htm;*.html/MyLinks.htm"_s);
        QVERIFY(requests.at(0).confirmOverwrite);
        QCOMPARE(requests.at(1).fileName, u"MyLinks.csv"_s);
        QCOMPARE(Stamped(), QString());
        QVERIFY(m_program->windows.lastMessage.isEmpty());

        const QString created = u"The HTML Document \"%1\" was created.\r\n"
                                "Do you wish to preview this document now?"_s.arg(File());
        m_program->dialogs.filesToChoose << File() << File() << File();
        m_program->dialogs.Expect(created, Answer::Yes);
        QVERIFY(Window(newOnly)); // not the one that has been exported before
        QVERIFY(!Content().contains("Zebra") && Content().contains("Script"));
        QCOMPARE(m_browser.opened, QStringList{File()});
        QCOMPARE(Stamped(), u"a page of its own|Script|Tom's \"Pots\" & <Pans>"_s);

        // The links that are not active have never been exported, so there is still something to choose from.
        m_program->dialogs.Expect(created, Answer::No);
        QVERIFY(Window(newOnly));
        QVERIFY(Content().contains("#Bells") && !Content().contains("Script"));
        QCOMPARE(m_browser.opened.size(), 1);
        for (const QString& title : {u"Broken"_s, u"An offer"_s})
            Db().OpenRecordset(u"SELECT ID FROM tblLinkList WHERE Title = '%1'"_s.arg(title))->Delete();
        m_program->dialogs.Expect(u"There no links to export."_s);
        QVERIFY(!Window(newOnly));
        QVERIFY(!QFile::exists(File()));
        QVERIFY(m_program->dialogs.expected.isEmpty());
    }

    void FailureLeavesThePageOfBefore_data()
    {
        const testTable<QString, int> row;
        row("the folder is not writable", u"folder"_s, clsError::PermissionDenied);
        row("another program writes to the database", u"locked"_s, clsError::RecordLocked);
        row("the template is damaged", u"template"_s, clsError::TypeMismatch);
    }
    void FailureLeavesThePageOfBefore()
    {
        const auto [fault, number] = testRow<QString, int>();
        const QFile::Permissions everybody(0x7777);
        for (const QString& folder : {m_program->installation.Folder(), m_program->installation.DataPath()})
            QFile::setPermissions(folder, everybody);
        QFile::setPermissions(m_program->installation.DatabasePath(), QFile::Permissions(0x6666));
        Db().SetPatience(std::chrono::milliseconds(20));
        for (const bool before : {true, false}) {
            if (before)
                m_program->disk->WriteFile(File(), "old");
            else
                QVERIFY(QFile::remove(File()));
            int raised = 0;
            if (fault == u"folder"_s) {
                QFile::setPermissions(Folder(), QFile::Permissions(0x5555));
                const ordinaryUser user;
                QVERIFY(user.Ok());
                raised = ErrorOf([&] { Export(PageStyle::Classic); });
            } else if (fault == u"locked"_s) {
                const auto other = m_program->installation.Open();
                const clsTransaction transaction(*other);
                raised = ErrorOf([&] { Export(PageStyle::Classic); });
            } else {
                m_program->disk->WriteFile(m_program->installation.Folder() + u"/LinksPage.html"_s, "\n{{#links}}");
                raised = ErrorOf([&] { Export(PageStyle::ByCategory); });
            }
            QFile::setPermissions(Folder(), everybody);
            QCOMPARE(raised, number);
            QCOMPARE(QDir(Folder()).entryList(QDir::Files), before ? QStringList{u"My Links.htm"_s} : QStringList());
            QCOMPARE(before ? Content() : "old", "old");
            QCOMPARE(Stamped(), QString());
        }
        QCOMPARE(Export(PageStyle::Classic), 4); // nothing is left behind
    }

    /// The dates are the last thing that is written, and the old page comes back over the new one.
    void DiskIsFullAtAnyMoment()
    {
        const QDateTime longAgo(QDate(2000, 1, 1), QTime(12, 0));
        int untouched = 0;
        int putBack = 0;
        for (rlim_t room = 500;; room += room / 4) {
            m_program->disk->WriteFile(File(), "old");
            {
                QFile file(File());
                QVERIFY(file.open(QIODevice::ReadWrite) &&
                        file.setFileTime(longAgo, QFileDevice::FileModificationTime));
            }
            enum clsError::Number raised = {};
            {
                const fullDisk full(room);
                raised = ErrorOf([&] { Export(PageStyle::Classic); });
            }
            QCOMPARE(QDir(Folder()).entryList(QDir::Files), QStringList{u"My Links.htm"_s});
            if (raised == 0)
                break;
            QCOMPARE(raised, clsError::DiskFull);
            QCOMPARE(Content(), "old");
            QCOMPARE(Stamped(), QString());
            ++(QFileInfo(File()).lastModified() == longAgo ? untouched : putBack);
        }
        QVERIFY(untouched > 0 && putBack > 0);
        QCOMPARE(Stamped().count(u'|'), 3);
    }

    void ModernPage()
    {
        const QByteArray page = Exported(PageStyle::ByCategory);
        QProcess tidy;
        tidy.start(u"tidy"_s, {u"-q"_s, u"-e"_s, u"-utf8"_s, File()});
        QVERIFY2(tidy.waitForFinished() && tidy.error() == QProcess::UnknownError, "tidy is missing");
        QCOMPARE(QString::fromUtf8(tidy.readAllStandardError()), QString());
        QCOMPARE(tidy.exitCode(), 0);

        // Every entry of the index leads to its section; categories without an active link have neither.
        QStringList targets;
        const QString text = QString::fromUtf8(page);
        static const QRegularExpression jump(u"<a href=\"#([^\"]*)\""_s);
        for (const auto& match : jump.globalMatch(text.section(u"</nav>"_s, 0, 0))) {
            targets << match.captured(1);
            QCOMPARE(text.count(u"id=\"%1\""_s.arg(targets.last())), 1);
        }
        const QStringList expected{u"art-crafts"_s, u"art-crafts-2"_s, u"miscellaneous"_s};
        QCOMPARE(targets, expected);
        QVERIFY(text.contains(u"<title>Café &lt;Zentral&gt; Links Page</title>"_s));
        QVERIFY(text.contains(u"<a href=\"http://pots.example/?a=1&amp;b=2\" rel=\"noopener\">"
                              "Tom&#39;s &quot;Pots&quot; &amp; &lt;Pans&gt;</a>"_s));
        QVERIFY(text.contains(u"<strong>Script</strong>"_s) && !text.contains(u"javascript"_s));
        QVERIFY(!text.contains(u"{{"_s) && text.contains(u"datetime=\"2026-01-05\""_s));

        const QString byTitle = QString::fromUtf8(Exported(PageStyle::Alphabetical));
        static const QRegularExpression title(u"<strong>(?:<a[^>]*>)?(\\w+)"_s);
        QStringList titles;
        for (const auto& match : title.globalMatch(byTitle))
            titles << match.captured(1);
        QCOMPARE(titles.join(u' '), u"a Script Tom Zebra"_s);
        QVERIFY(!byTitle.contains(u"<nav"_s));

        QCOMPARE(Exported(PageStyle::Csv).split('\n').at(1),
                 QByteArray("\"Art & \"\"Crafts\"\"\",\"Tom's \"\"Pots\"\" & <Pans>\","
                            "http://pots.example/?a=1&b=2,Größe 😀\r"));
    }

    void CommandLine()
    {
        clsTestInstallation::AddSite(Db(), u"Empty"_s);
        const auto run = [this](const QString& site, const QStringList& options) {
            return commandLine::Run(m_program->installation.Folder(),
                                    QStringList{u"links-page"_s, site, File()} + options)
                .code;
        };
        QCOMPARE(run(u"Nowhere"_s, {}), 2);
        QCOMPARE(run(Site, {u"--style"_s, u"fancy"_s}), 2);
        QVERIFY(!QFile::exists(File()));
        QCOMPARE(run(Site, {u"--new-only"_s, u"--style"_s, u"alphabetical"_s}), 0);
        const QByteArray page = Content();
        QVERIFY(page.contains("Script") && !page.contains("Zebra"));
        QCOMPARE(run(Site, {}), 2); // nobody has said yes
        QCOMPARE(Content(), page);
        QCOMPARE(run(Site, {u"--new-only"_s, u"--yes"_s}), 1);
        QCOMPARE(run(Site, {u"--yes"_s}), 0);
        QVERIFY(Content().contains("Zebra"));
        QCOMPARE(run(u"Empty"_s, {u"--yes"_s}), 1);
        QVERIFY(!QFile::exists(File()));
    }

    void TemplateLanguage()
    {
        const clsPageValues one{.texts = {{u"x"_s, u"1"_s}}, .lists = {}};
        const clsPageValues two{.texts = {{u"x"_s, u"2"_s}}, .lists = {}};
        const clsPageValues values{.texts = {{u"a"_s, u"<"_s}, {u"nothing"_s, {}}}, .lists = {{u"list"_s, {one, two}}}};
        const std::vector<std::pair<QString, QString>> rows{
            {u"{{a}}[{{#list}}{{ x }}{{a}},{{/list}}]"_s, u"&lt;[1&lt;,2&lt;,]"_s},
            {u"{{#a}}yes{{/a}}{{#nothing}}no{{/nothing}}"_s, u"yes"_s},
            {u"1\n  {{#list}}\n{{x}}\n{{/list}}\n{{!-- {{a}}\n --}}\n2"_s, u"1\n1\n2\n2"_s},
            {u"1{{! a }}\n2 {{#a}}3{{/a}}\n4"_s, u"1\n2 3\n4"_s},
            {u"\n{{#list}}{{#a}}{{/a}}"_s, u"T, line 2: {{/list}} is missing."_s},
            {u"{{#a}}\n{{/list}}"_s, u"T, line 2: {{/list}} ends nothing that began."_s},
            {u"\n\n{{b}}"_s, u"T, line 3: there is no b here."_s},
            {u"{{list}}"_s, u"T, line 1: list is a list: {{#list}}...{{/list}}."_s},
            {u"{{a}"_s, u"T, line 1: }} is missing."_s},
        };
        for (const auto& [text, expected] : rows) {
            QString page;
            try {
                page = QString::fromUtf8(clsPageTemplate(u"T"_s, text).Page(values));
            } catch (const clsError& error) {
                page = error.Description();
            }
            QCOMPARE(page, expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_links_page)
#include "tst_links_page.moc"
