// SPDX-License-Identifier: GPL-3.0-or-later
// Loading and saving the settings, against the real file where the file matters.
#include "platform/clsSettingsStore.h"
#include "shell_fixture.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::LoadProgramSettings;
using modBrambury::SaveProgramSettings;
using modBrambury::State;

class tst_settings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void FirstStart();
    void RoundTripThroughTheFile();
    void TextThatDoesNotConvert();
};

namespace
{
/// Every value as text, in the table's order.
QStringList Values()
{
    QStringList all;
    for (const clsSettingEntry& entry : SettingsTable())
        all << std::visit([](auto member) { return QVariant(State().Settings.*member).toString(); }, entry.value);
    return all;
}
} // namespace

void tst_settings::FirstStart()
{
    shellFixture f;
    State().Settings.Site = u"of the last run"_s;
    LoadProgramSettings();
    QCOMPARE(Values().join(u'|'),
             f.dir.path() + u"/Data/||14|1|Yes|0||Yes|Yes|Yes|"_s + f.dir.path() +
                 u"/Musfall.wav|Yes||7||||||25||80|0|4230|1690|0|9480|6555|-1|-1|1|Yes|60|32|4||0|0|0"_s);
    QVERIFY(f.settings.values.isEmpty());
    QCOMPARE(DefaultOf(*EntryOf(u"Interface"_s, u"PaneTop"_s)), u"4230"_s);
    QVERIFY(!EntryOf(u"Interface"_s, u"DataPath"_s));
}

void tst_settings::RoundTripThroughTheFile()
{
    shellFixture f;
    const QString file = f.dir.filePath(u"Brambury.ini"_s);
    auto store = modPlatformImpl::MakeSettingsStore(file);
    modBrambury::Platform().Settings = store.get();
    LoadProgramSettings();
    clsProgramSettings& settings = State().Settings;
    settings.DefaultSignatureBlock = u"Best wishes,\r\n\"Jo\" \u00fc; a=b\\c @x %41\t"_s;
    settings.SoundComplete.clear();
    settings.DefaultMailPort = 65535;
    settings.Sort = -3;
    settings.DataPath = u"/elsewhere/"_s;
    settings.Timeout = 5;
    settings.ShowTips = u"yes"_s;
    settings.WindowTop = u"-15"_s;
    SaveProgramSettings();

    // What is outside the program's reach, or the user's own choice, is not written.
    store = modPlatformImpl::MakeSettingsStore(file);
    modBrambury::Platform().Settings = store.get();
    QVERIFY(!store->HasSetting(u"General"_s, u"DataPath"_s));
    QCOMPARE(store->GetSetting(u"Interface"_s, u"WindowTop"_s), u"-15"_s);
    QCOMPARE(store->Sections(), QStringList({u"General"_s, u"Interface"_s}));

    QStringList expected = Values();
    expected.first() = f.dir.path() + u"/Data/"_s;
    expected[expected.size() - 7] = u"60"_s;
    settings = {};
    LoadProgramSettings();
    QCOMPARE(Values(), expected);
    QVERIFY(settings.SoundComplete.isEmpty()); // stored empty is not missing
    QVERIFY(!IsOn(settings.ShowTips));
}

void tst_settings::TextThatDoesNotConvert()
{
    shellFixture f;
    f.settings.values[u"General"_s] = {
        {u"Site"_s, u"Shop"_s}, {u"DaysToReminder"_s, u"abc"_s}, {u"DefaultEmail"_s, u"a@b.example"_s}};
    f.settings.values[u"Interface"_s] = {{u"PaneTop"_s, u"1"_s}};
    LoadProgramSettings();
    QCOMPARE(State().Settings.Site, u"Shop"_s);
    QCOMPARE(State().Settings.DaysToReminder, qint16(7));
    QCOMPARE(State().Settings.DefaultEmail, QString());
    QCOMPARE(State().Settings.PaneTop, u"4230"_s);
    QCOMPARE(f.windows.calls, QStringList());
    QVERIFY(f.ErrorLog().startsWith("\"2026-01-05 15:07:09\",\"13\",\"Type mismatch\",\"Brambury\",\"modBrambury\","
                                    "\"LoadProgramSettings\""));
    QCOMPARE(f.ErrorLog().count("\r\n"), 1);

    f.settings.values[u"General"_s][u"DaysToReminder"_s] = u"40000"_s;
    LoadProgramSettings();
    QCOMPARE(f.windows.calls, QStringList{u"error exclamation"_s});
}

QTEST_GUILESS_MAIN(tst_settings)
#include "tst_settings.moc"
