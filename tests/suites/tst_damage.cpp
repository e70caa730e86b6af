// SPDX-License-Identifier: GPL-3.0-or-later
// Damaged database files of every kind, met on the command line and in the window: what can be read is saved and the
// rest is told, or the repair is refused and a backup leads out. Nothing is lost in silence, and no damaged file takes
// the place of a sound one.
#include "main_window_fixture.h"
#include "platform/database/clsPageFile.h"
#include "suites/suite_program.h"
#include "support/files.h"
#include "support/suite_report.h"
#include "ui/main/clsResultsBox.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int Findings = 1;
constexpr int Failed = 3;
constexpr qsizetype PageSize = clsPageFile::PageSize;

struct damagedFile
{
    QByteArray name;
    QByteArray content;
};

/// No backup first, and Yes to everything else.
struct agreeingDialogs : fakeDialogs
{
    Answer MsgBox(const QString& text, Buttons buttons, Icon, const QString&) override
    {
        shown << text;
        return buttons == Buttons::OK            ? Answer::OK
               : buttons == Buttons::RetryCancel ? Answer::Cancel
               : buttons == Buttons::YesNoCancel ? Answer::No
                                                 : Answer::Yes;
    }
};
} // namespace

class tst_damage : public QObject
{
    Q_OBJECT

private:
    QByteArray m_whole;    ///< the undamaged file
    fileContent m_content; ///< of it
    QList<damagedFile> m_corpus;
    QMap<QString, int> m_counts; ///< by what became of a file, and by whom
    qint64 m_rows = 0;
    qint64 m_saved = 0;
    bool m_failed = false;

    /// The pages of each kind that are damaged: all, or the first one and another.
    void AddPages(const QString& path)
    {
        QMap<quint8, QList<quint32>> kinds;
        clsPageFile pages(path, u"SandDune"_s);
        for (quint32 page = 2; page <= pages.Count(); ++page)
            kinds[static_cast<quint8>(pages.Page(page)->at(0))] << page;
        QVERIFY(kinds.size() >= 5); // branches and leaves of tables and indexes, pages without a kind
        QRandomGenerator random(suiteReport::Seed());
        for (const QList<quint32>& all : std::as_const(kinds)) {
            const QList<quint32> some{all.first(), all[random.bounded(all.size())]};
            for (const quint32 page : suiteReport::Long() ? all : some) {
                const qsizetype start = (page - 1) * PageSize;
                QByteArray flipped = m_whole;
                flipped[start + random.bounded(clsPageFile::UsableSize)] ^= 0x10;
                QByteArray zeroed = m_whole;
                zeroed.replace(start, PageSize, QByteArray(PageSize, '\0'));
                m_corpus << damagedFile{"flipped, page " + QByteArray::number(page), flipped}
                         << damagedFile{"zeroed, page " + QByteArray::number(page), zeroed};
            }
        }
        const auto count = static_cast<int>(pages.Count());
        for (int left = 1; left < count; left += suiteReport::Long() ? 1 : 1 + random.bounded(count / 2))
            m_corpus << damagedFile{"cut after page " + QByteArray::number(left), m_whole.left(left * PageSize)};
    }

    /// Whether what is there now is all that was there, or the report tells of what is not.
    void Judge(const QString& path, const QString& report, const QByteArray& story)
    {
        const fileContent now = ContentOf(path);
        QVERIFY2(now.complaint.isEmpty(), story + now.complaint);
        bool complete = true;
        for (const QByteArray& table : {QByteArray("tblSites"), QByteArray("tblLinkList"), QByteArray("tblCategory")}) {
            QByteArrayList left = now.tables[table];
            int saved = 0;
            for (const QByteArray& row : m_content.tables[table])
                saved += left.removeOne(row) ? 1 : 0;
            m_rows += m_content.tables[table].size();
            m_saved += saved;
            const bool all = left.isEmpty() && saved == m_content.tables[table].size();
            QVERIFY2(all || report.contains(QString::fromLatin1(table) + u": "_s), story + report.toUtf8());
            complete = complete && all;
        }
        QVERIFY2(!report.contains(u"Every record"_s) || complete, story + report.toUtf8());
    }

private Q_SLOTS:
    void cleanup() { m_failed = m_failed || QTest::currentTestFailed(); }

    void initTestCase()
    {
        const clsTestInstallation installation;
        {
            const auto database = installation.Open();
            clsTestInstallation::AddSite(*database, u"Shop"_s);
            clsTestInstallation::AddLinks(*database, u"Shop"_s, 60);
            for (int i = 0; i < 10; ++i) {
                clsTestInstallation::AddCategory(*database, u"Shop"_s, u"Category %1"_s.arg(i));
                clsTestInstallation::AddLink(*database, u"Shop"_s, u"Talker %1"_s.arg(i),
                                             {{u"Comments"_s, u"Said on day %1. "_s.arg(i).repeated(80 + 40 * i)}});
            }
            database->DeleteRecords(u"tblLinkList"_s, {5, 6, 7, 8, 9, 63, 70}); // gaps, and pages that are free
        }
        m_whole = ReadAll(installation.DatabasePath());
        m_content = ContentOf(installation.DatabasePath());
        AddPages(installation.DatabasePath());
        for (const int byte : {3, 500}) {
            QByteArray content = m_whole;
            content[byte] ^= 0x10;
            m_corpus << damagedFile{"flipped, byte " + QByteArray::number(byte), content};
        }
        QByteArray otherKey = m_whole;
        const clsTestInstallation other;
        m_corpus << damagedFile{"emptied", {}}
                 << damagedFile{"foreign", QByteArray("GIF89a, and then what a picture has. ").repeated(999)}
                 << damagedFile{"another key", otherKey.replace(0, 16, ReadAll(other.DatabasePath()).left(16))};
    }

    void OnTheCommandLine()
    {
        const clsTestInstallation installation;
        const QString path = installation.DatabasePath();
        const QString backup = installation.Folder() + u"/Backup"_s;
        const auto run = [&](const QStringList& words) { return suiteProgram(installation.Folder()).Run(words); };
        for (const damagedFile& damaged : std::as_const(m_corpus)) {
            QDir(installation.DataPath()).removeRecursively();
            QDir().mkpath(installation.DataPath());
            QDir().mkpath(backup);
            WriteAll(backup + u"/Bramdat.mdb"_s, m_whole);
            WriteAll(path, damaged.content);
            const programRun checked = run({u"check"_s});
            const programRun kept = run({u"backup"_s, backup, u"--yes"_s});
            const programRun repaired = run({u"repair"_s});
            const QByteArray story = damaged.name + "\n-- check " + checked.Story() + "-- backup " + kept.Story() +
                                     "-- repair " + repaired.Story();
            // What is not seen to be sound takes the place of no backup.
            QVERIFY2((kept.code == 0) == (checked.code == 0), story);
            QVERIFY2(ReadAll(backup + u"/Bramdat.mdb"_s) == (kept.code == 0 ? damaged.content : m_whole), story);
            if (checked.code == 0) {
                QVERIFY2(repaired.code == 0 && repaired.out.isEmpty(), story);
                ++m_counts[u"harmless | command line"_s];
            } else if (repaired.code == Failed) {
                QVERIFY2(repaired.err.contains("cannot be repaired; please restore the newest backup"), story);
                QVERIFY2(ReadAll(path) == damaged.content, story);
                const programRun restored = run({u"restore"_s, backup, u"--yes"_s});
                QVERIFY2(restored.code == 0, story + restored.Story());
                ++m_counts[u"refused | command line"_s];
            } else {
                QVERIFY2(repaired.code == Findings && repaired.out.startsWith("The damaged database is kept"), story);
                const QStringList files = QDir(installation.DataPath()).entryList({u"*-damaged.mdb"_s}, QDir::Files);
                QVERIFY2(files.size() == 1 && ReadAll(installation.DataPath() + files[0]) == damaged.content, story);
                // As a backup it is refused, and the database stays.
                const QByteArray now = ReadAll(path);
                const QString bad = installation.Folder() + u"/bad.mdb"_s;
                WriteAll(bad, damaged.content);
                const programRun refused = run({u"restore"_s, bad, u"--yes"_s});
                QVERIFY2(refused.code == Failed && ReadAll(path) == now, story + refused.Story());
                ++m_counts[u"repaired | command line"_s];
            }
            Judge(path, QString::fromUtf8(repaired.out), story);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void InTheWindow()
    {
        QTimer reports; // error windows, and tips
        connect(&reports, &QTimer::timeout, this, [] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->reject();
        });
        reports.start(20);
        for (const damagedFile& damaged : std::as_const(m_corpus)) {
            clsTestWindow program;
            agreeingDialogs dialogs;
            modBrambury::State().Platform.Dialogs = &dialogs;
            const QString path = program.installation.DatabasePath();
            const QString dated = program.installation.Folder() + u"/Backup/Dated/"_s;
            program.opened = {};
            QDir().mkpath(dated);
            WriteAll(dated + u"Bramdat-2026-01-01-120000-1-sites-63-links.mdb"_s, m_whole);
            WriteAll(path, damaged.content);
            QVERIFY2(modBrambury::Main(), damaged.name + dialogs.shown.join(u'\n').toUtf8() +
                                              ReadAll(program.installation.Folder() + u"/Error.log"_s));
            QString report = program.Find<clsResultsBox>(u"txtResults"_s).Text();
            QString became = u"mended at the start | window"_s;
            if (report.isEmpty()) {
                became = u"repaired | window"_s;
                program.Trigger(u"ToolsMenuElement_3"_s);
                QVERIFY2(modBrambury::NextStep() == modBrambury::Next::Restart,
                         damaged.name + dialogs.shown.join(u'\n').toUtf8() +
                             ReadAll(program.installation.Folder() + u"/Error.log"_s));
                QTRY_COMPARE(program.closed, 1);
                program.windows.Discard();
                QVERIFY2(modBrambury::Main(), damaged.name);
                report = program.Find<clsResultsBox>(u"txtResults"_s).Text(); // it outlives the restart
                became = report.isEmpty() ? u"harmless | window"_s : became;
            }
            ++m_counts[became];
            program.Close();
            QCOMPARE(report.contains(u"The damaged database is kept as "_s), !report.isEmpty());
            Judge(path, report, damaged.name + dialogs.shown.join(u'\n').toUtf8());
            if (QTest::currentTestFailed())
                return;
        }
    }

    void cleanupTestCase()
    {
        QStringList rows;
        for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it)
            rows << u"| %1 | %2 |\n"_s.arg(it.key()).arg(*it);
        std::printf("damage: %lld files, of %lld records %lld whole\n%s", qlonglong{m_corpus.size()}, qlonglong{m_rows},
                    qlonglong{m_saved}, qPrintable(rows.join(QString())));
        if (suiteReport::Counts() && !m_failed)
            suiteReport::WritePart(
                u"Damaged files"_s,
                u"%1: %2 files, each met on the command line and in the window: a flipped byte in every page, every "
                "page zeroed, cut\nafter every page, emptied, foreign, under another key. Of %3 records %4 were there "
                "afterwards as they had been; each\nother one was on the damaged pages, and told of. A repair that "
                "was refused left the file alone, and a backup led\nout.\n\n| What became of it | Where | Files "
                "|\n|---|---|---|\n%5"_s.arg(QDate::currentDate().toString(Qt::ISODate))
                    .arg(m_corpus.size())
                    .arg(m_rows)
                    .arg(m_saved)
                    .arg(rows.join(QString())));
    }
};

QTEST_MAIN(tst_damage)
#include "tst_damage.moc"
