// SPDX-License-Identifier: GPL-3.0-or-later
// Field tags put in and replaced by values, and templates kept in a real database.
#include "mail/clsMailTemplate.h"
#include "mail/modFieldTags.h"
#include "platform/clsError.h"
#include "platform/clsSpelling.h"
#include "shell/modErrorHandler.h"
#include "support/program.h"
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
    std::unique_ptr<clsTestProgram> m_program;
    Values m_values;
    bool m_stop = false;

    static clsDatabase& Db() { return *modBrambury::State().Database; }
    /// @param rows  "tag=table.field", in the order of the list.
    void SetTags(const QStringList& rows)
    {
        const auto tags = Db().OpenRecordset(u"tblTagList"_s);
        while (tags->RecordCount() > 0)
            tags->Delete();
        int id = 0;
        clsTransaction transaction(Db());
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
        const auto tags = Db().OpenRecordset(u"tblTagList"_s);
        const QString result =
            modFieldTags::AddTags(text, *tags, std::ref(m_values), m_loop, [this] { return m_stop; });
        if (result != text)
            QTest::qFail("the text itself must be expanded too", __FILE__, __LINE__);
        return result;
    }
    qint32 ErrorOf(QString text)
    {
        const QString before = text;
        const auto tags = Db().OpenRecordset(u"tblTagList"_s);
        const auto error = failureOf(
            [&] { modFieldTags::AddTags(text, *tags, std::ref(m_values), m_loop, [this] { return m_stop; }); });
        return text != before ? -1 : error ? error->Number() : 0;
    }

private Q_SLOTS:
    void initTestCase() { m_program = std::make_unique<clsTestProgram>(); }
    void init()
    {
        m_values = {};
        m_stop = false;
    }
    void cleanupTestCase() { m_program.reset(); }

    void TagsAreReplaced_data()
    {
        const testTable<QString, QString, QString> row; // tags, text, what comes out
        row("every occurrence, in any letter case", u"[A]=tblSites.a"_s, u"[A] [a]x[A]"_s, u"1 1x1"_s);
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
        m_values.all = {{u"tblSites.a"_s, u"1"_s},

                        {u"tblSites.b"_s, u"<[[B]"_s},
                        {u"tblSites.empty"_s, QString()},
                        {u"tblSites.null"_s, QVariant()},
                        {u"tblSites.half"_s, u"1["_s},
                        {u"tblSites.true"_s, true},
                        {u"tblSites.false"_s, false},
                        {u"tblSites.date"_s, m_program->clock.now},
                        {u"tblSites.n"_s, 7}};
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

    void TagsArePutInAtTheCaret_data()
    {
        const testTable<QString, QString>
            row; // with | at the caret, or around the selection; what comes out, | its caret
        row("at the start", u"|word"_s, u"[T] |word"_s);
        row("at the end", u"word|"_s, u"word [T] |"_s);
        row("in the middle of a word", u"wo|rd"_s, u"wo [T] |rd"_s);
        row("among blanks", u"one  |   two"_s, u"one [T] |two"_s);
        row("after blanks alone", u"  |x"_s, u" [T] |x"_s);
        row("at the start of a line", u"one\n|two"_s, u"one\n[T] |two"_s);
        row("before a line end", u"one|\n two"_s, u"one [T] |\n two"_s);
        row("instead of a selection", u"one |two| three"_s, u"one [T] |three"_s);
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
        const auto spelling = modPlatformImpl::MakeSpelling(*m_program->disk);
        const auto unavailable = [&](const QByteArray& affixes, const QByteArray& dictionary) {
            m_program->disk->WriteFile(lists.affixes, affixes);
            m_program->disk->WriteFile(lists.dictionary, dictionary);
            spelling->SetLexicons(lists);
            return !spelling->Unavailable().isEmpty();
        };
        QVERIFY(unavailable("SET UTF-8\n", "<html>"));
        QVERIFY(unavailable("SET KOI8-R\n", "1\nword\n"));
        QVERIFY(!unavailable("SET ISO8859-1\n", "1\nword\n"));
        QVERIFY(!spelling->Correct(u"\u0416"_s)); // no letter of this list

        m_program->disk->WriteFile(lists.userWords, "mine"); // its line has no end
        m_program->disk->WriteFile(lists.corrections, "no pair\n\tnothing\n");
        spelling->SetLexicons(lists);
        QVERIFY(spelling->Correct(u"mine"_s));
        spelling->Add(u"yours"_s);
        QCOMPARE(m_program->disk->ReadFile(lists.userWords), "mine\nyours\n");
        QVERIFY(!spelling->Correct(QString(100'000, u'x')));
        QVERIFY(spelling->Suggestions(QString(100'000, u'x')).isEmpty());
    }

    void ATemplateThatIsGoneIsReportedAndKeepsItsTexts()
    {
        clsMailTemplate templates(Db());
        QVERIFY(templates.GetMessage(3));
        QVERIFY(Db().DeleteRecords(u"tblMailMessages"_s, {3}) == 1);
        templates.Body = u"new text"_s;
        QVERIFY(!templates.Update());
        QCOMPARE(m_program->windows.calls, QStringList{u"error exclamation"_s});
        QVERIFY(m_program->windows.lastDetails.contains(u"Sub/Func: \tUpdate"_s));
        QCOMPARE(templates.Body, u"new text"_s);
        templates.EditMode = u"Copy"_s;
        QVERIFY(templates.Update());
        QVERIFY(clsMailTemplate::IsDefault(u"Default  "_s));
        QVERIFY(!clsMailTemplate::IsDefault(u" DEFAULT"_s));
    }
};

QTEST_GUILESS_MAIN(tst_mail_templates)
#include "tst_mail_templates.moc"
