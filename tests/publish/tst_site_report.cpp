// SPDX-License-Identifier: GPL-3.0-or-later
// The site report as it reaches the paper: real database, real pages, read back from the PDF file.
#include "data/modSites.h"
#include "platform/clsPrinter.h"
#include "platform/widgets/modWidgets.h"
#include "publish/modSiteReport.h"
#include "support/command_line.h"
#include "support/faults.h"
#include "support/program.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using modSiteReport::Outcome;

namespace
{
const QString Headings = u"Title Home Page URL Link Page URL Email"_s;

/// Reports of a temporary installation.
struct Report
{
    clsTestProgram program;
    std::unique_ptr<clsPrinter> printer = modWidgets::MakePrinter(&program.settings);
    QString path = program.installation.Folder() + u"/report.pdf"_s;

    clsDatabase& Database() const { return *modBrambury::State().Database; }
    Outcome Print(const QStringList& sites, const modSiteReport::Progress& progress = {}) const
    {
        printer->SetOutputFile(path);
        return modSiteReport::Print(Database(), *printer, sites, progress);
    }
    /// The pages as lines, in which any white space is one blank.
    QList<QStringList> Pages() const
    {
        QProcess reader;
        reader.start(u"pdftotext"_s, {u"-layout"_s, path, u"-"_s});
        if (!reader.waitForFinished() || reader.exitCode() != 0)
            return {};
        QStringList texts = QString::fromUtf8(reader.readAllStandardOutput()).split(u'\f');
        texts.removeLast(); // each page ends in a form feed
        QList<QStringList> pages;
        for (const QString& text : std::as_const(texts)) {
            QStringList lines;
            for (const QString& line : text.split(u'\n'))
                if (!line.trimmed().isEmpty())
                    lines << line.simplified();
            pages << lines;
        }
        return pages;
    }
    QByteArray File() const { return program.disk->FileExists(path) ? program.disk->ReadFile(path) : QByteArray(); }
};
} // namespace

class tst_site_report : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLine()
    {
        Report report;
        clsTestInstallation::AddSite(report.Database(), u"Shop"_s,
                                     {{u"SiteName"_s, u"Caf\u00e9 & <b>Shop</b>"_s},
                                      {u"SiteDescription"_s, QVariant()},
                                      {u"HomePage"_s, u"http://shop.example/"_s},
                                      {u"LinkPage"_s, u"http://shop.example/links.htm"_s},
                                      {u"ImageFile"_s, u"logo.gif"_s},
                                      {u"FullName"_s, u"Ann Bee"_s},
                                      {u"Email"_s, u"ann@shop.example"_s},
                                      {u"Sender"_s, u"Ann <ann@shop.example>"_s},
                                      {u"SignatureBlock"_s, u"Yours\r\n\r\nAnn"_s},
                                      {u"LinkHTML"_s, u"<a href=\"x\">\nShop</a>"_s},
                                      {u"GraphicHTML"_s, u"<img>"_s},
                                      {u"SpecialText"_s, u"None"_s}});
        clsTestInstallation::AddLink(report.Database(), u"Shop"_s, u"Zinc"_s,
                                     {{u"Status"_s, 5}, {u"HomePage"_s, u"http://z.example/"_s}});
        clsTestInstallation::AddLink(
            report.Database(), u"Shop"_s, u"Amber"_s,
            {{u"Status"_s, 0}, {u"LinkPage"_s, u"http://a.example/l"_s}, {u"Email"_s, u"a@b.c"_s}});
        QCOMPARE(report.Print({u"Shop"_s}), Outcome::Printed);
        QCOMPARE(report.Pages(),
                 (QList<QStringList>{
                     {u"Site Report"_s, u"Site Title: Caf\u00e9 & <b>Shop</b>"_s, u"Site Description:"_s,
                      u"Home Page URL: http://shop.example/"_s, u"Link Page URL: http://shop.example/links.htm"_s,
                      u"Image File: logo.gif"_s, u"Webmaster: Ann Bee"_s, u"E-mail Address: ann@shop.example"_s,
                      u"E-mail Sender: Ann <ann@shop.example>"_s, u"E-mail Signature: Yours"_s, u"Ann"_s,
                      u"Text Link HTML: <a href=\"x\">"_s, u"Shop</a>"_s, u"Image Link HTML: <img>"_s,
                      u"Special Instructions: None"_s, Headings, u"Zinc http://z.example/"_s,
                      u"Amber http://a.example/l a@b.c"_s, u"Monday, January 5, 2026 Page No: 1"_s}}));
    }

    void pagesOfAllSites()
    {
        Report report;
        clsTestInstallation::AddSite(report.Database(), u"Big"_s, {{u"SiteName"_s, u"Big"_s}});
        clsTestInstallation::AddLinks(report.Database(), u"Big"_s, 300);
        clsTestInstallation::AddLink(report.Database(), u"Big"_s, u"Long"_s,
                                     {{u"HomePage"_s, u"http://"_s + QString(240, u'X')}});
        clsTestInstallation::AddSite(report.Database(), u"None"_s,
                                     {{u"SiteName"_s, u"None"_s}, {u"SpecialText"_s, u"word\n"_s.repeated(200)}});
        QCOMPARE(modSites::Names(report.Database()), (QStringList{u"Big"_s, u"None"_s}));
        report.program.dialogs.Expect(u"An error occured.  Could not find site Gone"_s);
        QCOMPARE(report.Print({u"Big"_s, u"Gone"_s, u"None"_s}), Outcome::Printed);

        const QList<QStringList> pages = report.Pages();
        int number = 0;
        int partners = 0;
        int words = 0;
        int wide = 0;
        bool second = false;
        for (const QStringList& page : pages) {
            if (page.value(1) == u"Site Title: None") {
                QVERIFY(number > 4);
                second = true;
                number = 0;
            }
            ++number;
            QCOMPARE(page.last(), u"Monday, January 5, 2026 Page No: %1"_s.arg(number));
            if (number == 1 || !second)
                QCOMPARE(page.first(), number == 1 ? u"Site Report"_s : Headings);
            for (const QString& line : page) {
                partners += line.startsWith("Partner "_L1) ? 1 : 0;
                wide += static_cast<int>(line.count(u'X'));
                words += line.endsWith("word"_L1) ? 1 : 0;
            }
        }
        QVERIFY(second && number > 2);
        QCOMPARE(partners, 300);
        QCOMPARE(wide, 240);
        QCOMPARE(words, 200);
        // A site without links has the table's headings all the same.
        QCOMPARE(pages.last().at(pages.last().size() - 2), Headings);
    }

    void commandLine()
    {
        const Report report;
        for (const QString& site : {u"Shop"_s, u"Other"_s})
            clsTestInstallation::AddSite(report.Database(), site, {{u"SiteName"_s, u"The "_s + site}});
        clsTestInstallation::AddLink(report.Database(), u"Shop"_s, u"Amber"_s);
        const auto run = [&](const QStringList& words) {
            return commandLine::Run(report.program.installation.Folder(), QStringList{u"report"_s} + words).code;
        };
        QCOMPARE(run({u"Nowhere"_s, report.path}), 2);
        QCOMPARE(run({u"Shop"_s, report.program.installation.Folder()}), 2);
        QVERIFY(report.File().isNull());
        QCOMPARE(run({u"shop"_s, report.path}), 0);
        QCOMPARE(report.Pages().size(), 1);
        QCOMPARE(report.Pages().at(0).value(1), u"Site Title: The Shop"_s);
        QVERIFY(report.Pages().at(0).contains(u"Amber"_s));
        QCOMPARE(run({u"--all"_s, report.path}), 2); // nobody has said yes
        QCOMPARE(report.Pages().size(), 1);
        QCOMPARE(run({u"--all"_s, report.path, u"--yes"_s}), 0);
        QCOMPARE(report.Pages().size(), 2);
        QCOMPARE(report.Pages().at(1).value(1), u"Site Title: The Other"_s);
        QCOMPARE(run({u"Shop"_s, report.program.installation.Folder() + u"/no/report.pdf"_s}), 3);
    }

    /// Whatever ends the report early, the file stays as it was, and the next report is whole.
    void oldFileSurvives()
    {
        Report report;
        clsTestInstallation::AddSite(report.Database(), u"Shop"_s);
        clsTestInstallation::AddLinks(report.Database(), u"Shop"_s, 3000);
        report.program.disk->WriteFile(report.path, "old");
        const auto clock = modPlatformImpl::MakeClock();
        modBrambury::Platform().Clock = clock.get();
        int asked = 0;
        const auto untilHalf = [&](double done) {
            ++asked;
            return done < 0.5;
        };
        QCOMPARE(report.Print({u"Shop"_s}, untilHalf), Outcome::Cancelled);
        QVERIFY(asked > 4);
        {
            const fullDisk full(4096);
            QCOMPARE(ErrorOf([&] { report.Print({u"Shop"_s}); }), clsError::DiskFull);
        }
        QCOMPARE(report.File(), QByteArray("old"));
        const QString good = std::exchange(report.path, report.program.installation.Folder() + u"/no/report.pdf"_s);
        QCOMPARE(ErrorOf([&] { report.Print({u"Shop"_s}); }), clsError::PathNotFound);
        report.path = report.program.installation.Folder();
        QCOMPARE(ErrorOf([&] { report.Print({u"Shop"_s}); }), clsError::PermissionDenied);
        report.path = good;

        // While it is made, the event loop has its turns; nowhere in between is a pause that a user would notice.
        QElapsedTimer turn;
        qint64 longest = 0;
        QTimer idle;
        idle.callOnTimeout([&] { longest = std::max(longest, turn.restart()); });
        idle.start(0);
        QCoreApplication::processEvents();
        turn.start();
        QCOMPARE(report.Print({u"Shop"_s}), Outcome::Printed);
        QCoreApplication::processEvents();
        QVERIFY2(longest < 1000, qPrintable(u"%1 ms"_s.arg(longest)));
        QVERIFY(report.Pages().size() > 30);
    }
};

QTEST_MAIN(tst_site_report)
#include "tst_site_report.moc"
