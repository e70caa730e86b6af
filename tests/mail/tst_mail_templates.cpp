// SPDX-License-Identifier: GPL-3.0-or-later
// Field tags put in and replaced by values, and templates kept in a real database.
#include "mail/clsMailTemplate.h"
#include "mail/modFieldTags.h"
#include "platform/clsDisk.h"
#include "platform/clsError.h"
#include "platform/clsSpelling.h"
#include "platform/impl/modPlatformImpl.h"
#include "shell/modBrambury.h"
#include "shell/modErrorHandler.h"
#include "support/fakes.h"
#include "support/installation.h"
#include "support/table.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Values by "table.field"; every one that is fetched is counted.
struct Values
{
    QHash<QString, QVariant> all;
    int fetched = 0;
    QVariant operator()(const QString& table, const QString& field)
    {
        ++fetched;
        const auto value = all.constFind(table + u'.' + field);
        if (value == all.cend())
            throw clsError(clsError::UnknownItem, u"No field "_s + field, u"test"_s);
        return *value;
    }
};
} // namespace

class tst_mail_templates : public QObject
{
    Q_OBJECT

private:
    fakeEventLoop m_loop;
    fakeClock m_clock;
    fakeWindows m_windows;
    std::unique_ptr<clsDisk> m_disk = modPlatformImpl::MakeDisk();
    std::unique_ptr<clsTestInstallation> m_installation;
    clsTestInstallation::Opened m_opened;
    Values m_values;
    bool m_stop = false;

    /// The database as it is shipped.
    void SetUp()
    {
        m_opened = {};
        m_installation = std::make_unique<clsTestInstallation>();
        m_opened = m_installation->Open();
        modBrambury::SetProgramFolder(m_installation->Folder());
    }
    /// @param rows  "tag=table.field", in the order of the list.
    void SetTags(const QStringList& rows)
    {
        const auto tags = m_opened->OpenRecordset(u"tblTagList"_s);
        while (tags->RecordCount() > 0)
            tags->Delete();
        int id = 0;
        clsTransaction transaction(*m_opened);
        for (const QString& row : rows) {
            tags->AddNew();
            tags->SetField(u"ID"_s, ++id);
            tags->SetField(u"FieldTag"_s, row.section(u'=', 0, 0));
            tags->SetField(u"TableMap"_s, row.section(u'=', 1).section(u'.', 0, 0));
            tags->SetField(u"FieldMap"_s, row.section(u'.', -1));
            tags->Update();
        }
        transaction.Commit();
    }
    QString Expanded(QString text)
    {
        const auto tags = m_opened->OpenRecordset(u"tblTagList"_s);
        const QString result =
            modFieldTags::AddTags(text, *tags, std::ref(m_values), m_loop, [this] { return m_stop; });
        if (result != text)
            QTest::qFail("the text itself must be expanded too", __FILE__, __LINE__);
        return result;
    }
    qint32 ErrorOf(QString text)
    {
        const QString before = text;
        const auto tags = m_opened->OpenRecordset(u"tblTagList"_s);
        const auto error = failureOf(
            [&] { modFieldTags::AddTags(text, *tags, std::ref(m_values), m_loop, [this] { return m_stop; }); });
        return text != before ? -1 : error ? error->Number() : 0;
    }
    QStringList Names(const clsMailTemplate& templates, qint16 type, bool emptyFirst = false)
    {
        std::vector<clsMailTemplate::Name> list;
        templates.LoadMessageNames(list, type, emptyFirst);
        QStringList names;
        for (const auto& entry : list)
            names << entry.name;
        return names;
    }
    qint32 Stored(clsMailTemplate& templates, const QString& name, qint16 type)
    {
        templates.NewRecord();
        templates.Template = name;
        templates.TemplateType = type;
        return templates.Update() ? templates.MessageID : 0;
    }

private Q_SLOTS:
    void initTestCase()
    {
        modBrambury::State().Platform.Clock = &m_clock;
        modBrambury::State().Platform.Windows = &m_windows;
        modBrambury::State().Platform.Disk = m_disk.get();
        SetUp();
    }
    void cleanupTestCase() { modBrambury::State() = {}; }
    void init()
    {
        m_windows.calls.clear();
        m_values = {};
        m_stop = false;
    }

    void TagsAreReplaced_data()
    {
        const testTable<QString, QString, QString> row; // tags, text, what comes out
        row("every occurrence, in any letter case", u"[A]=tblSites.a"_s, u"[A] [a]x[A]"_s, u"1 1x1"_s);
        row("unknown tags stay", u"[A]=tblSites.a"_s, u"[B] [A"_s, u"[B] [A"_s);
        row("the table's name is the values' affair", u"[A]=tblsites.a"_s, u"[A]"_s, u"link"_s);
        row("a value is expanded by later tags", u"[A]=tblSites.b;[B]=tblSites.a"_s, u"[A]"_s, u"<[1"_s);
        row("but not by earlier ones", u"[B]=tblSites.a;[A]=tblSites.b"_s, u"[A]"_s, u"<[[B]"_s);
        row("the search begins again at the start", u"ab=tblSites.empty"_s, u"aaabbb-aabb"_s, u"-"_s);
        row("a tag comes about across the end of a value", u"[A]=tblSites.half"_s, u"[A]A]!"_s, u"11[!"_s);
        row("no value", u"[A]=tblSites.null"_s, u"<[A]>"_s, u"<>"_s);
        row("an empty tag is none", u"=tblSites.a;[A]=tblSites.a"_s, u"[A]"_s, u"1"_s);
        row("letters outside ASCII", u"[\u00C4]=tblSites.a"_s, u"\U0001F600[\u00e4]\U0001F600"_s,
            u"\U0001F6001\U0001F600"_s);
        row("true, false, a date, a number", u"[T]=tblSites.true;[F]=tblSites.false;[D]=tblSites.date;[N]=tblSites.n"_s,
            u"[T] [F] [D] [N]"_s, u"True False 1/5/2026 3:07:09 PM 7"_s);
    }
    void TagsAreReplaced()
    {
        const auto [tags, text, expected] = testRow<QString, QString, QString>();
        SetTags(tags.split(u';'));
        m_values.all = {{u"tblSites.a"_s, u"1"_s},         {u"tblsites.a"_s, u"link"_s},
                        {u"tblSites.b"_s, u"<[[B]"_s},     {u"tblSites.empty"_s, QString()},
                        {u"tblSites.null"_s, QVariant()},  {u"tblSites.half"_s, u"1["_s},
                        {u"tblSites.true"_s, true},        {u"tblSites.false"_s, false},
                        {u"tblSites.date"_s, m_clock.now}, {u"tblSites.n"_s, 7}};
        QCOMPARE(Expanded(text), expected);
    }

    void EndlessTagsAreGivenUp()
    {
        SetTags({u"[A]=tblSites.a"_s});
        m_values.all = {{u"tblSites.a"_s, u"x[a]y"_s}};
        QElapsedTimer time;
        time.start();
        QCOMPARE(ErrorOf(u"[A]"_s), modFieldTags::TextTooLong);
        QCOMPARE(m_values.fetched, modFieldTags::MostReplacements);
        m_values.all[u"tblSites.a"_s] = QString(100'000, u'-') + u"[A]"_s;
        QCOMPARE(ErrorOf(u"[A]"_s), modFieldTags::TextTooLong);
        QVERIFY2(time.elapsed() < 5000, "it takes too long to see it");
        m_values.all[u"tblSites.a"_s] = u"[A]"_s;
        m_loop.yields = 0;
        QCOMPARE(ErrorOf(u"[A]"_s), modFieldTags::TextTooLong);
        QVERIFY2(m_loop.yields > 50, "the window would stand still");
        m_values.all[u"tblSites.a"_s] = u"-"_s;
        QCOMPARE(Expanded(u"[A]"_s.repeated(modFieldTags::MostReplacements)).size(), modFieldTags::MostReplacements);
        m_values.all.clear();
        QCOMPARE(ErrorOf(u"[A]"_s), clsError::UnknownItem);
        m_stop = true;
        QCOMPARE(ErrorOf(u"[A]"_s), clsError::WorkStopped);
    }

    void LongTextsAreExpandedAtOnce()
    {
        QStringList tags;
        QString text;
        for (int i = 0; i < 1000; ++i) {
            tags << u"[Tag %1]=tblSites.a"_s.arg(i);
            text += u"[tag %1]"_s.arg(i) + u"Some words of an ordinary letter, as people write them. "_s.repeated(18);
        }
        QVERIFY(text.size() > 1'000'000);
        SetTags(tags);
        m_values.all = {{u"tblSites.a"_s, u"value"_s}};
        QElapsedTimer time;
        time.start();
        const QString expanded = Expanded(text);
        qInfo("%lld characters, 1,000 tags: %lld ms", text.size(), time.elapsed());
        QCOMPARE(expanded.count(u"value"_s), 1000);
        QVERIFY(!expanded.contains(u"[tag"_s));
        QVERIFY2(time.elapsed() < 15'000, "much too slow");
    }

    void FieldsHaveTheirTypes()
    {
        const qint64 id = clsTestInstallation::AddLink(
            *m_opened, u"Shop"_s, u"T"_s, {{u"TestQueue"_s, 1}, {u"LastSuccessfulTest"_s, u"2026-01-05 15:07:09"_s}});
        const auto link = m_opened->OpenRecordset(u"SELECT * FROM tblLinkList WHERE ID = %1"_s.arg(id));
        const auto text = [&](const QString& field) {
            return modFieldTags::TextOf(modFieldTags::ValueOf(*link, field));
        };
        QCOMPARE(text(u"TestQueue"_s), u"True"_s);
        QCOMPARE(text(u"LastSuccessfulTest"_s), u"1/5/2026 3:07:09 PM"_s);
        QCOMPARE(text(u"FullName"_s), QString());
        QCOMPARE(text(u"Status"_s), u"2"_s);
    }

    void TagsArePutInAtTheCaret_data()
    {
        const testTable<QString, QString>
            row; // with | at the caret, or around the selection; what comes out, | its caret
        row("an empty text", u"|"_s, u"[T] |"_s);
        row("at the start", u"|word"_s, u"[T] |word"_s);
        row("at the start, before blanks", u"|  word"_s, u"[T] |word"_s);
        row("at the end", u"word|"_s, u"word [T] |"_s);
        row("in the middle of a word", u"wo|rd"_s, u"wo [T] |rd"_s);
        row("among blanks", u"one  |   two"_s, u"one [T] |two"_s);
        row("after blanks alone", u"  |x"_s, u" [T] |x"_s);
        row("at the start of a line", u"one\n|two"_s, u"one\n[T] |two"_s);
        row("after blanks at the start of a line", u"one\n  |two"_s, u"one\n[T] |two"_s);
        row("before a line end", u"one|\n two"_s, u"one [T] |\n two"_s);
        row("instead of a selection", u"one |two| three"_s, u"one [T] |three"_s);
        row("instead of everything", u"|all|"_s, u"[T] |"_s);
        row("tabs are no blanks", u"\t|\tx"_s, u"\t [T] |\tx"_s);
    }
    void TagsArePutInAtTheCaret()
    {
        const auto [given, expected] = testRow<QString, QString>();
        QString text = given;
        const qsizetype from = text.indexOf(u'|');
        text.remove(from, 1);
        qsizetype to = text.indexOf(u'|');
        if (to < 0)
            to = from;
        else
            text.remove(to, 1);
        const modFieldTags::Insertion put = modFieldTags::Insert(text, from, to, u"[T]"_s);
        QCOMPARE(text.first(put.from) + put.text + u'|' + text.sliced(put.to), expected);
    }

    void SpellingNeedsItsListsAndKeepsTheUsersWords()
    {
        const QTemporaryDir folder;
        const auto path = [&](const QString& name) { return folder.filePath(name); };
        clsLexicons lists{path(u"a.aff"_s), path(u"a.dic"_s), path(u"user"_s), path(u"corrections"_s)};
        const auto spelling = modPlatformImpl::MakeSpelling(*m_disk);
        const auto unavailable = [&](const QByteArray& affixes, const QByteArray& dictionary) {
            m_disk->WriteFile(lists.affixes, affixes);
            m_disk->WriteFile(lists.dictionary, dictionary);
            spelling->SetLexicons(lists);
            return !spelling->Unavailable().isEmpty();
        };
        spelling->SetLexicons(lists);
        QVERIFY(spelling->Unavailable().contains(lists.affixes));
        QVERIFY(spelling->Correct(u"anything"_s));
        QVERIFY(unavailable("SET UTF-8\n", ""));
        QVERIFY(unavailable("SET UTF-8\n", "<html>"));
        QVERIFY(unavailable("SET KOI8-R\n", "1\nword\n"));
        QVERIFY(!unavailable("SET ISO8859-1\n", "2\nword\n\xfc"
                                                "bung\n"));
        QVERIFY(spelling->Correct(u"\u00fcbung"_s));
        QVERIFY(!spelling->Correct(u"\u0416"_s)); // no letter of this list

        m_disk->WriteFile(lists.userWords, "mine"); // its line has no end
        m_disk->WriteFile(lists.corrections, "wrod\tword\nno pair\n\tnothing\n");
        spelling->SetLexicons(lists);
        QVERIFY(spelling->Correct(u"mine"_s));
        QCOMPARE(spelling->Suggestions(u"Wrod"_s).value(0), u"word"_s);
        spelling->Add(u"yours"_s);
        QVERIFY(spelling->Correct(u"yours"_s));
        QCOMPARE(m_disk->ReadFile(lists.userWords), "mine\nyours\n");
        QVERIFY(!spelling->Correct(QString(100'000, u'x')));
        QVERIFY(spelling->Suggestions(QString(100'000, u'x')).isEmpty());
    }

    void TemplatesAreFoundListedAndFiltered()
    {
        SetUp();
        clsMailTemplate templates(*m_opened);
        QCOMPARE(templates.Templates()->RecordCount(), 8);
        Stored(templates, u"Zebra"_s, 3);
        const qint32 second = Stored(templates, u"Say \"thanks\""_s, 3);
        QCOMPARE(Names(templates, 3), QStringList({u"DEFAULT"_s, u"Say \"thanks\""_s, u"Zebra"_s}));
        QCOMPARE(Names(templates, 4, true), QStringList({QString(), u"DEFAULT"_s}));
        QCOMPARE(Names(templates, 0).size(), 10);
        QVERIFY(templates.BuildNewQuery(3));
        QCOMPARE(templates.Templates()->RecordCount(), 3);
        QVERIFY(templates.BuildNewQuery(-1));
        QCOMPARE(templates.Templates()->RecordCount(), 10);

        QVERIFY(templates.GetMessage(5));
        QVERIFY(!templates.GetMessage({}));
        QVERIFY(!templates.GetMessage(QString()));
        QVERIFY(!templates.GetMessage(4711));
        QCOMPARE(templates.MessageID, 5);
        QCOMPARE(templates.TemplateType, 5);
        QVERIFY(templates.Body.contains(u"[Partner Name]"_s));

        QVERIFY(!templates.FindMessage(u"nobody"_s, true));
        QVERIFY(templates.FindMessage(u"SAY \"Thanks\""_s));
        QCOMPARE(templates.MessageID, 5); // found, not loaded
        QCOMPARE(templates.Templates()->Field(u"MessageID"_s).toInt(), second);
        templates.ReturnToRecord();
        QCOMPARE(templates.Templates()->Field(u"MessageID"_s).toInt(), 5);
    }

    void UpdateAddsOnceThenChanges()
    {
        SetUp();
        clsMailTemplate templates(*m_opened);
        templates.NewRecord();
        templates.Template = u"N"_s.repeated(49) + u"\U0001F600ZZ"_s;
        templates.TemplateType = 2;
        templates.Subject = u"s"_s.repeated(300);
        templates.Body = u"one\r\ntwo"_s;
        QVERIFY(templates.Update());
        const qint32 id = templates.MessageID;
        QVERIFY(id > 8);
        QCOMPARE(templates.EditMode, QString());
        QCOMPARE(templates.Template, u"N"_s.repeated(49) + u"\U0001F600"_s);
        QCOMPARE(templates.Subject.size(), 255);
        QCOMPARE(templates.LastModified, m_clock.now);

        templates.Body = u"three"_s;
        m_clock.Advance(std::chrono::hours(1));
        QVERIFY(templates.Update());
        QCOMPARE(templates.MessageID, id);
        templates.EditMode = u"Copy"_s;
        templates.Template = u"Copy"_s;
        QVERIFY(templates.Update());
        QVERIFY(templates.MessageID != id);
        QVERIFY(templates.FindMessage(u"DEFAULT"_s));
        templates.EditMode = u"Replace"_s;
        QVERIFY(templates.Update()); // over the one that was found
        QCOMPARE(templates.MessageID, 1);

        clsMailTemplate other(*m_opened);
        QVERIFY(other.GetMessage(id));
        QCOMPARE(other.Body, u"three"_s);
        QCOMPARE(other.LastModified, m_clock.now);
        QCOMPARE(other.Templates()->RecordCount(), 10);
    }

    void DeleteGoesBackOneAndLeavesNothingBehind()
    {
        SetUp();
        clsMailTemplate templates(*m_opened);
        QVERIFY(templates.BuildNewQuery(8));
        const qint32 b = Stored(templates, u"b"_s, 8);
        const qint32 c = Stored(templates, u"c"_s, 8);
        QVERIFY(templates.GetMessage(b));
        QVERIFY(templates.Delete());
        QCOMPARE(templates.MessageID, 8);
        QVERIFY(templates.Delete()); // the first: the new first one is current
        QCOMPARE(templates.MessageID, c);
        templates.NewRecord();
        QVERIFY(!templates.Delete());
        QVERIFY(templates.GetMessage(c));
        QVERIFY(templates.Delete());
        QCOMPARE(templates.MessageID, 0);
        QCOMPARE(templates.Template, QString());
        QVERIFY(m_windows.calls.isEmpty());
    }

    void ATemplateThatIsGoneIsReportedAndKeepsItsTexts()
    {
        SetUp();
        clsMailTemplate templates(*m_opened);
        QVERIFY(templates.GetMessage(3));
        QVERIFY(m_opened->DeleteRecords(u"tblMailMessages"_s, {3}) == 1);
        templates.Body = u"new text"_s;
        QVERIFY(!templates.Update());
        QCOMPARE(m_windows.calls, QStringList{u"error exclamation"_s});
        QVERIFY(m_windows.lastDetails.contains(u"Sub/Func: \tUpdate"_s));
        QCOMPARE(templates.Body, u"new text"_s);
        templates.EditMode = u"Copy"_s;
        QVERIFY(templates.Update());
        QVERIFY(!templates.StoredName(u"  name  "_s).contains(u' '));
        QVERIFY(clsMailTemplate::IsDefault(u"Default  "_s));
        QVERIFY(!clsMailTemplate::IsDefault(u" DEFAULT"_s));
    }
};

QTEST_GUILESS_MAIN(tst_mail_templates)
#include "tst_mail_templates.moc"
