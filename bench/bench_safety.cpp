// SPDX-License-Identifier: GPL-3.0-or-later
// Work on the whole file of a database with 100,000 links against a plain copy of as many bytes, flushed to the medium
// as they are: the median of some rounds in turns, with the least and the most, and the ratio.
#include "platform/clsDatabaseFiles.h"
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/modPlatformImpl.h"
#include "support/installation.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTextStream>
#include <algorithm>
#include <functional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Links = 100'000;
constexpr int Rounds = 7;

struct Contender
{
    QString name;
    std::function<void()> work;
    std::vector<double> seconds = {};
};
} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    const clsTestInstallation installation;
    const QString database = installation.DatabasePath();
    const QString connect = u";pwd=SandDune"_s;
    {
        const auto file = installation.Open();
        clsTestInstallation::AddSite(*file, u"Shop"_s);
        clsTestInstallation::AddLinks(*file, u"Shop"_s, Links);
    }
    const auto disk = modPlatformImpl::MakeDisk();
    const auto eventLoop = modPlatformImpl::MakeEventLoop();
    const auto files = modPlatformImpl::MakeDatabaseFiles(*eventLoop, *disk);
    const auto beside = [&](const QString& name) { return installation.DataPath() + name; };

    std::vector<Contender> contenders{
        {u"plain copy"_s, [&] { disk->CopyFile(database, beside(u"plain.mdb"_s)); }},
        {u"backup: copied and proved"_s, [&] { files->Copy(database, beside(u"backup.mdb"_s), connect, {}); }},
        {u"compact: read, written anew and proved"_s,
         [&] {
             const auto rows = files->Read(database, connect, {});
             files->Compact(database, beside(u"compact.mdb"_s), connect, {}, rows, {});
         }},
        {u"check"_s, [&] { static_cast<void>(files->Check(database, connect, {})); }},
    };
    for (int round = 0; round < Rounds; ++round) {
        for (Contender& one : contenders) {
            QElapsedTimer timer;
            timer.start();
            one.work();
            one.seconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e9);
        }
    }
    out << Links << " links, " << QFileInfo(database).size() / 1048576 << " MiB\n";
    double plain = 0;
    for (Contender& one : contenders) {
        std::sort(one.seconds.begin(), one.seconds.end());
        const double median = one.seconds[Rounds / 2];
        plain = plain > 0 ? plain : median;
        const auto number = [](double value) { return QString::number(value, 'f', 2); };
        out << one.name.leftJustified(42) << number(median) << " s (" << number(one.seconds.front()) << " to "
            << number(one.seconds.back()) << "), " << QString::number(median / plain, 'f', 1) << " x plain copy\n";
    }
    return 0;
}
