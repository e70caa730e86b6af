// SPDX-License-Identifier: GPL-3.0-or-later
// The real small parts of the platform: settings file, files and locks, the one running copy, sound.
#include "platform/clsDisk.h"
#include "platform/clsSettingsStore.h"
#include "platform/clsSound.h"
#include "platform/modPlatformImpl.h"
#include "support/faults.h"
#include "support/table.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using Share = clsDisk::Share;

class tst_small_parts : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<clsDisk> m_disk = modPlatformImpl::MakeDisk();

    QString Path(const QString& name) const { return m_dir->filePath(name); }
    std::unique_ptr<clsSettingsStore> Store() const { return modPlatformImpl::MakeSettingsStore(Path(u"s.ini"_s)); }

private Q_SLOTS:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void SettingsRoundTrip_data()
    {
        const testTable<QString, QString, QString> row; // section, key, value
        const QString general = u"General"_s;
        row("empty is not missing", general, u"a"_s, u""_s);
        row("quotes, blanks at the ends", general, u"a"_s, u" \"x\" ; # = "_s);
        row("lines", general, u"a"_s, u"one\r\n\ttwo\n"_s);
        row("beyond Latin", general, u"\u00fc\u4e2d"_s, u"\u2022 \U0001F600"_s);
        row("looks like a type", general, u"a"_s, u"@Variant(\\0\\x1)"_s);
        row("NUL", general, u"a"_s, QString::fromUtf16(u"a\0b", 3));
        row("tilde and percent", u"LinkGrid"_s, u"~%2F%41%"_s, u"1"_s);
        row("slashes are part of the name", u"a/b"_s, u"/c\\d//e/"_s, u"1"_s);
    }
    void SettingsRoundTrip()
    {
        const auto [section, key, value] = testRow<QString, QString, QString>();
        {
            const auto store = Store();
            store->SaveSetting(section, key, value);
            store->Flush();
        }
        const auto store = Store();
        QVERIFY(store->HasSetting(section, key));
        QCOMPARE(store->GetSetting(section, key, u"default"_s), value);
        QCOMPARE(store->Sections(), QStringList{section});
        const auto all = store->GetAllSettings(section);
        QCOMPARE(all.front(), qMakePair(key, value));
    }

    void SettingsSections()
    {
        m_disk->WriteFile(Path(u"s.ini"_s), "[Brambury]\nGeneral\\DefaultSignatureBlock=Jo, Ann\nGeneral\\Sort=3\n"
                                            "a line that is none\n");
        const auto store = Store();
        QCOMPARE(store->GetSetting(u"General"_s, u"Sort"_s), u"3"_s);
        QVERIFY(store->GetSetting(u"General"_s, u"DefaultSignatureBlock"_s).contains(u"Ann"_s));
        // The damaged line does not keep the rest from being written, and General stays a section like any other.
        store->SaveSetting(u"General"_s, u"Sort"_s, u"4"_s);
        store->SaveSetting(u"LinkGrid"_s, u"b"_s, u"1"_s);
        store->SaveSetting(u"LinkGrid"_s, u"*a"_s, u"2"_s);
        store->SaveSetting(u"LinkGridder"_s, u"c"_s, u"3"_s);
        store->Flush();
        const QByteArray written = m_disk->ReadFile(Path(u"s.ini"_s));
        QVERIFY2(written.startsWith("[Brambury]\n") && written.contains("\nGeneral\\Sort=4\n"), written);
        QCOMPARE(store->GetAllSettings(u"LinkGrid"_s).front().first, u"*a"_s);

        const auto other = Store();
        store->DeleteSection(u"LinkGrid"_s);
        store->DeleteSetting(u"General"_s, u"Sort"_s);
        store->Flush();
        QCOMPARE(other->Sections(), QStringList({u"General"_s, u"LinkGridder"_s}));
        QVERIFY(!other->HasSetting(u"LinkGrid"_s, u"b"_s));
        QCOMPARE(other->GetSetting(u"General"_s, u"Sort"_s, u"none"_s), u"none"_s);
    }

    void SettingsThatCannotBeWritten()
    {
        const auto store = Store();
        store->SaveSetting(u"General"_s, u"Site"_s, u"Shop"_s);
        store->Flush();
        const QByteArray before = m_disk->ReadFile(Path(u"s.ini"_s));

        store->SaveSetting(u"General"_s, u"Site"_s, QString(1000, u'x'));
        for (const int room : {4, 200}) { // for not even a copy of the file, and for less than the new one
            const fullDisk limit(static_cast<rlim_t>(room));
            QCOMPARE(ErrorOf([&] { store->Flush(); }), clsError::DiskFull);
            QCOMPARE(m_disk->ReadFile(Path(u"s.ini"_s)), before);
        }
        store->Flush(); // what failed once is not lost and does not fail for ever
        QCOMPARE(m_disk->ReadFile(Path(u"s.ini"_s)).count('x'), 1000);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{u"s.ini"_s});
    }

    void FilesAndFolders()
    {
        m_disk->MakeFolder(Path(u"a/b"_s));
        const QString name = Path(u"a/b/\u00fc\u4e2d.txt"_s);
        m_disk->AppendFile(name, "one");
        m_disk->AppendFile(name, "two");
        QCOMPARE(m_disk->ReadFile(name), "onetwo");
        m_disk->WriteFile(name, "3"); // nothing of the longer old content stays
        QCOMPARE(m_disk->ReadFile(name), "3");
        // What is copied from a read-only share must be the user's to change.
        QFile::setPermissions(name, QFile::ReadOwner);
        m_disk->CopyFile(name, Path(u"copy"_s));
        QVERIFY(QFile::permissions(Path(u"copy"_s)) & QFile::WriteOwner);
        // What is replaced through a link stays where it is, for whom it was for.
        QVERIFY(QFile::link(Path(u"copy"_s), Path(u"link"_s)));
        QFile::setPermissions(Path(u"copy"_s), QFile::ReadOwner | QFile::WriteOwner);
        m_disk->ReplaceContent(Path(u"link"_s), "4");
        QVERIFY(QFileInfo(Path(u"link"_s)).isSymLink());
        QCOMPARE(m_disk->ReadFile(Path(u"copy"_s)), "4");
        QVERIFY(!(QFile::permissions(Path(u"copy"_s)) & QFile::ReadOther));
    }

    void FileErrors()
    {
        m_disk->WriteFile(Path(u"a"_s), "a");
        m_disk->WriteFile(Path(u"b"_s), "b");
        m_disk->MakeFolder(Path(u"folder"_s));
        const auto fails = [](int number, const std::function<void()>& action) { return ErrorOf(action) == number; };
        QVERIFY(fails(53, [&] { (void)m_disk->ReadFile(Path(u"no"_s)); }));
        QVERIFY(fails(76, [&] { m_disk->WriteFile(Path(u"no/x"_s), "x"); }));
        QVERIFY(fails(76, [&] { m_disk->AppendFile(Path(u"a/x"_s), "x"); })); // below a file
        QVERIFY(fails(58, [&] { m_disk->RenameFile(Path(u"a"_s), Path(u"b"_s)); }));
        QVERIFY(fails(70, [&] { m_disk->WriteFile(Path(u"folder"_s), "x"); }));
        QCOMPARE(m_disk->ReadFile(Path(u"a"_s)) + m_disk->ReadFile(Path(u"b"_s)), "ab");

        m_disk->MakeFolder(Path(u"closed"_s));
        QFile::setPermissions(m_dir->path(), QFile::Permissions(0x5555) | QFile::WriteOwner);
        QFile::setPermissions(Path(u"closed"_s), QFile::Permissions(0x5555));
        const ordinaryUser user;
        QVERIFY(user.Ok());
        QVERIFY(fails(70, [&] { m_disk->WriteFile(Path(u"closed/x"_s), "x"); }));
    }

    void FullDisk()
    {
        const QByteArray big(300'000, 'n');
        m_disk->WriteFile(Path(u"big"_s), big);
        m_disk->WriteFile(Path(u"old"_s), "old");
        m_disk->WriteFile(Path(u"second"_s), QByteArray(400'000, 'o'));
        {
            const fullDisk limit(200'000);
            QCOMPARE(ErrorOf([&] { m_disk->CopyFile(Path(u"big"_s), Path(u"old"_s)); }), clsError::DiskFull);
            QCOMPARE(ErrorOf([&] { m_disk->WriteFile(Path(u"new"_s), big); }), clsError::DiskFull);
            QCOMPARE(ErrorOf([&] { m_disk->AppendFile(Path(u"big"_s), "x"); }), clsError::DiskFull);
            QCOMPARE(ErrorOf([&] { m_disk->WriteFile(Path(u"second"_s), big); }), clsError::DiskFull);
        }
        QCOMPARE(m_disk->ReadFile(Path(u"second"_s)), big.first(200'000)); // no old tail behind the new beginning
        // A restore that ran out of room leaves the file that was there, and nothing half beside it.
        QCOMPARE(m_disk->ReadFile(Path(u"old"_s)), "old");
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).join(u' '), u"big new old second"_s);
        m_disk->CopyFile(Path(u"big"_s), Path(u"old"_s));
        QCOMPARE(m_disk->ReadFile(Path(u"old"_s)), big);
    }

    void LocksBetweenProcesses()
    {
        const QString file = Path(u"Bramdat.use"_s);
        std::unique_ptr<clsFileLock> held;
        otherProcess reader([&] { held = m_disk->Lock(file, Share::Shared); });
        QVERIFY(reader.Ready());
        QVERIFY(m_disk->Lock(file, Share::Shared));
        QVERIFY(!m_disk->Lock(file, Share::Exclusive));
        reader.Kill(); // dies without a chance to clean up
        auto exclusive = m_disk->Lock(file, Share::Exclusive);
        QVERIFY(exclusive);
        QVERIFY(!m_disk->Lock(file, Share::Shared));
        // A browser that was started meanwhile lives on, but must not keep the lock.
        QProcess browser;
        browser.start(u"sleep"_s, {u"60"_s});
        QVERIFY(browser.waitForStarted());
        exclusive.reset();
        QVERIFY(m_disk->Lock(file, Share::Shared));
        browser.kill();
        QVERIFY(browser.waitForFinished());
        QVERIFY(m_disk->FileExists(file));
    }

    void SecondCopy()
    {
        int raised = 0;
        auto first = modPlatformImpl::MakeInstance(m_dir->path(), [&] { ++raised; });
        QVERIFY(!first->PrevInstance());
        QVERIFY(!first->PrevInstance()); // a restart in the same process is no second copy

        // The same folder by another name.
        QVERIFY(QFile::link(m_dir->path(), m_dir->path() + u"-link"_s));
        auto second = modPlatformImpl::MakeInstance(m_dir->path() + u"-link/"_s, [] {});
        QVERIFY(second->PrevInstance());
        second->ActivatePrev();
        QTRY_COMPARE(raised, 1);
        QFile::remove(m_dir->path() + u"-link"_s);

        const QTemporaryDir elsewhere;
        QVERIFY(!modPlatformImpl::MakeInstance(elsewhere.path(), [] {})->PrevInstance());
        // What is wrong with a folder is for the later steps of the start to say; it is not a second copy.
        QVERIFY(!modPlatformImpl::MakeInstance(Path(u"missing"_s), [] {})->PrevInstance());

        first->Release();
        second = modPlatformImpl::MakeInstance(m_dir->path(), [] {});
        QVERIFY(!second->PrevInstance());
        second.reset();
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList());
    }

    void KilledCopyLeavesThePlace()
    {
        std::unique_ptr<clsInstance> held;
        otherProcess killed([&] {
            held = modPlatformImpl::MakeInstance(m_dir->path(), [] {});
            if (held->PrevInstance())
                _exit(1);
        });
        QVERIFY(killed.Ready());
        int raised = 0;
        auto mine = modPlatformImpl::MakeInstance(m_dir->path(), [&] { ++raised; });
        QVERIFY(mine->PrevInstance());
        killed.Kill(); // lock file and socket stay behind
        QVERIFY(!mine->PrevInstance());
        const auto later = modPlatformImpl::MakeInstance(m_dir->path(), [] {});
        QVERIFY(later->PrevInstance());
        later->ActivatePrev();
        QTRY_COMPARE(raised, 1);
    }

    void SoundNeverHoldsUp()
    {
        // Opening a pipe without a writer waits for ever, as a sound server may that does not answer.
        const QString pipe = Path(u"silence.wav"_s);
        const QByteArray name = QFile::encodeName(pipe);
        QCOMPARE(mkfifo(name.constData(), 0600), 0);
        qputenv("CANBERRA_DRIVER", "alsa"); // the driver that opens the file before it looks for a device
        int writer = -1;
        QElapsedTimer timer;
        {
            const auto sound = modPlatformImpl::MakeSound();
            sound->Play(pipe);
            // A writer finds the pipe open as soon as the sound hangs in it, where it stays until something is written.
            QTRY_VERIFY((writer = ::open(name.constData(), O_WRONLY | O_NONBLOCK)) >= 0);
            timer.start();
            sound->Play(Path(u"missing.wav"_s));
            sound->Play(QString());
            QVERIFY2(timer.elapsed() < 100, "Play held up its caller");
        }
        QVERIFY2(timer.elapsed() < 2000, "a sound that hangs held up the end");
        ::close(writer);
        qunsetenv("CANBERRA_DRIVER");
    }
};

QTEST_GUILESS_MAIN(tst_small_parts)
#include "tst_small_parts.moc"
