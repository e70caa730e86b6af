// SPDX-License-Identifier: GPL-3.0-or-later
// What the link list asks of the database, with 100,000 links of one site: milliseconds, and how often each fits into
// the 0.3 seconds that a user takes for "at once".
#include "data/clsDeletedLinks.h"
#include "data/modLinks.h"
#include "linktest/modTestQueue.h"
#include "support/installation.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>
#include <ctime>
#include <functional>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Links = 100'000;
constexpr double AtOnceMilliseconds = 300;

QTextStream& Out()
{
    static QTextStream out(stdout);
    return out;
}

/// Runs `work` and prints its time, that of the processor alone (which a busy machine does not stretch), and the ratio.
void Measure(const QString& what, const std::function<void()>& work)
{
    const std::clock_t processorStart = std::clock();
    QElapsedTimer timer;
    timer.start();
    work();
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    const double processor = 1000.0 * static_cast<double>(std::clock() - processorStart) / CLOCKS_PER_SEC;
    const auto number = [](double value) { return QString::number(value, 'f', 1).rightJustified(9); };
    Out() << what.leftJustified(46) << number(milliseconds) << " ms" << number(processor) << " ms CPU"
          << number(AtOnceMilliseconds / milliseconds) << " x goal\n";
    Out().flush();
}

/// Peak memory of this process in MiB.
double PeakMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified().split(' ').value(0).toDouble() / 1024;
    }
    return 0;
}

std::unique_ptr<clsRecordset> OpenLinks(clsDatabase& database, int low, int high)
{
    const auto query = database.QueryDef(u"qryLinkList"_s);
    query->SetParameter(u"Site"_s, u"Shop"_s);
    query->SetParameter(u"StatusLow"_s, low);
    query->SetParameter(u"StatusHigh"_s, high);
    return query->OpenRecordset();
}

void MeasureAll(const clsTestInstallation& installation)
{
    const QStringList shown{u"EmailQueue"_s, u"TestQueue"_s, u"Title"_s,  u"Description"_s, u"HomePage"_s,
                            u"LinkPage"_s,   u"FullName"_s,  u"Status"_s, u"Results"_s,     u"Comments"_s,
                            u"SiteName"_s,   u"ID"_s,        u"Offers"_s, u"Email"_s,       u"ImageFile"_s};
    std::optional<clsTestInstallation::Opened> file;
    Measure(u"open the file"_s, [&] { file = installation.Open(); });
    clsDatabase& database = **file;
    std::unique_ptr<clsRecordset> links;
    Measure(u"open the list"_s, [&] { links = OpenLinks(database, -1, 99); });
    Measure(u"refill the list"_s, [&] { links->Requery(); });
    Measure(u"filter one status"_s, [&] { (void)OpenLinks(database, 1, 3); });
    Measure(u"read 50 rows in the middle"_s, [&] { (void)links->Rows(Links / 2, 50, shown); });
    Measure(u"find a number"_s, [&] { (void)links->FindFirst(u"ID = %1"_s.arg(Links - 1)); });
    Measure(u"find a title"_s, [&] { (void)links->FindFirst(u"Title = \"partner 000000\""_s); });
    Measure(u"step 1,000 records, reading one field"_s, [&] {
        links->MoveFirst();
        for (int i = 0; i < 1000; ++i) {
            (void)links->Field(u"Title"_s);
            links->MoveNext();
        }
    });
    Measure(u"step through all, reading one field"_s, [&] {
        for (links->MoveFirst(); !links->AfterLast(); links->MoveNext())
            (void)links->Field(u"Title"_s);
    });
    for (const auto& field : {u"Title"_s, u"HomePage"_s, u"Email"_s, u"FullName"_s, u"Status"_s, u"TestQueue"_s,
                              u"CategoryID"_s, u"Description"_s}) {
        Measure(u"sort by "_s + field, [&] {
            links->SetSort(field);
            (void)links->OpenRecordset();
        });
    }
    Measure(u"open the test queue (half of the links)"_s, [&] { (void)database.OpenRecordset(u"qryTestLinks"_s); });
    Measure(u"write 100 verdicts"_s, [&] {
        links->MoveFirst();
        for (int i = 0; i < 100; ++i) {
            links->Edit();
            links->SetField(u"Status"_s, 2);
            links->SetField(u"Results"_s, 1);
            links->SetField(u"LastSuccessfulTest"_s, u"2026-01-05 15:07:09"_s);
            links->SetField(u"TestQueue"_s, false);
            links->Update();
            links->MoveNext();
        }
    });
    std::vector<qint64> chosen; // every tenth link, scattered over the whole file
    for (qint64 position = 0; position < Links; position += 10)
        chosen.push_back(links->BookmarkAt(position));
    Measure(u"queue 10,000 scattered links"_s, [&] {
        modLinks::SetFields(database, chosen, {{u"TestQueue"_s, true}});
    });
    Measure(u"change the status of 10,000"_s, [&] { modLinks::SetFields(database, chosen, {{u"Status"_s, 4}}); });
    Measure(u"turn the queue flag of 10,000 round"_s, [&] { modTestQueue::Toggle(database, chosen); });
    Out() << "peak memory so far " << QString::number(PeakMemory(), 'f', 1) << " MiB\n";
    Measure(u"read every row, all columns shown"_s, [&] { (void)links->Rows(0, Links, shown); });
    clsDeletedLinks deleted;
    Measure(u"delete 10,000 links and remember them"_s, [&] { deleted.Delete(database, chosen); });
    Measure(u"bring 10,000 back"_s, [&] { deleted.Restore(database); });
    Measure(u"delete 10,000 links"_s, [&] { modLinks::Delete(database, chosen); });
    Measure(u"take 10,000 out of the list"_s, [&] { links->Forget(chosen); });
}
} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const clsTestInstallation installation;
    Measure(u"make %1 links (no goal)"_s.arg(Links), [&] {
        const auto file = installation.Open();
        clsTestInstallation::AddSite(*file, u"Shop"_s);
        clsTestInstallation::AddLinks(*file, u"Shop"_s, Links);
    });
    MeasureAll(installation);
    Out() << "file " << QFile(installation.DatabasePath()).size() / 1048576 << " MiB, peak memory "
          << QString::number(PeakMemory(), 'f', 1) << " MiB\n";
    return 0;
}
