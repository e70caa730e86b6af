// SPDX-License-Identifier: GPL-3.0-or-later
// The careful database operations and the opening of the process's database, on real files.
#include "data/clsDAO.h"
#include "data/modDBFunctions.h"
#include "data/modDataModel.h"
#include "platform/database/modDatabaseMaker.h"
#include "support/program.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;

class tst_data : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<clsTestProgram> m_program;

    /// The database of the process; opened, with one site.
    clsDatabase& Db()
    {
        if (!State().Database && modDBFunctions::OpenProcessDatabase())
            clsTestInstallation::AddSite(*State().Database, u"Shop"_s);
        return *State().Database;
    }
    qint64 Link(const QString& title, const clsRecordValues& values = {}, const QString& site = u"Shop"_s)
    {
        return clsTestInstallation::AddLink(Db(), site, title, values);
    }
    /// Puts a database made from these statements in the place of the installation's.
    void MakeDatabase(const QByteArray& statements)
    {
        const QString file = m_program->installation.Folder() + u"/statements.sql"_s;
        m_program->disk->WriteFile(file, statements);
        modDatabaseMaker::MakeDatabase(m_program->installation.DatabasePath(), u"SandDune"_s, {file});
    }
    /// Number and routine of the error last shown.
    QString LastError() const
    {
        const QStringList lines = m_program->windows.lastDetails.split(u"\r\n"_s);
        return lines.value(1).section(u'\t', 1) + u' ' + lines.value(5).section(u'\t', 1);
    }

private Q_SLOTS:
    void init()
    {
        m_program = std::make_unique<clsTestProgram>();
        modBrambury::CloseProcessDatabase();
    }
    void cleanup()
    {
        QVERIFY(m_program->dialogs.expected.isEmpty());
        m_program.reset();
    }

    void search()
    {
        clsDAO dao(State().Workspace.get());
        const auto links = dao.OpenTable(Db(), u"tblLinkList"_s);
        QVERIFY(!dao.Search(*links, u"this is no criteria at all"_s)); // an empty set is not searched
        for (const auto& title : {u"a"_s, u"b"_s, u"c"_s})
            Link(title);
        links->Requery();
        const auto from = [&](const QString& criteria, bool keep) {
            links->MoveLast();
            const bool found = dao.Search(*links, criteria, keep);
            return links->Field(u"Title"_s).toString() + (found ? u" found"_s : u" not found"_s);
        };
        QCOMPARE(from(u"Title = \"A\""_s, false), u"a found"_s);
        QCOMPARE(from(u"Title = \"a\""_s, true), u"c found"_s); // the place is kept
        QCOMPARE(from(u"Title = \"x\""_s, false), u"c not found"_s);
        QVERIFY(dao.Search(*links, clsDAO::NumberCriteria(u"ID"_s, links->BookmarkAt(1))));
        links->MoveLast();
        links->MoveNext();
        QVERIFY(dao.Search(*links, u"Title = \"a\""_s, true)); // no place to go back to
        QVERIFY(!links->AfterLast());

        const QStringList names{u"the \"old\" mill"_s, u"\""_s, u"it's"_s, u"a = \"b\""_s};
        for (const QString& name : names)
            clsTestInstallation::AddSite(Db(), name);
        const auto sites = Db().OpenRecordset(u"tblSites"_s);
        for (const QString& name : names) {
            QVERIFY(dao.Search(*sites, clsDAO::TextCriteria(u"SiteID"_s, name.toUpper())));
            QCOMPARE(sites->Field(u"SiteID"_s).toString(), name);
        }
        QVERIFY(m_program->windows.lastDetails.isEmpty());
    }

    void failuresAreReported()
    {
        clsDAO dao(State().Workspace.get());
        QVERIFY(!dao.OpenTable(Db(), u"tblNothing"_s));
        QCOMPARE(LastError(), u"3265 OpenTable"_s);
        Link(u"a"_s);
        QVERIFY(!dao.Search(*Db().OpenRecordset(u"tblLinkList"_s), u"Nothing = 1"_s));
        QCOMPARE(LastError(), u"3265 Search"_s);
        QVERIFY(!dao.AddField(Db(), u"tblNothing"_s, u"x"_s, 10, 5));
        QCOMPARE(LastError(), u"3265 AddField"_s);
        QVERIFY(!State().Terminating);

        modBrambury::CloseProcessDatabase();
        QFile::remove(m_program->installation.DatabasePath());
        QVERIFY(!modDBFunctions::OpenProcessDatabase());
        QCOMPARE(LastError(), u"3024 OpenDB"_s);
        QVERIFY(State().Terminating);
        QVERIFY(!State().FileInUse);
        QVERIFY(
            m_program->disk->Lock(m_program->installation.DataPath() + u"Bramdat.use"_s, clsDisk::Share::Exclusive));
    }

    void openProcessDatabase()
    {
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QCOMPARE(State().StatusNames.value(modDataModel::InProcess), u"In-Process"_s);
        QCOMPARE(State().MessageTypes.size(), 8u);
        QVERIFY(State().MessageTypes[0].Offer && !State().MessageTypes[7].Offer);
        // Others may open it as well, but nobody may have it for himself until it is closed.
        const QString lock = m_program->installation.DataPath() + u"Bramdat.use"_s;
        QVERIFY(m_program->disk->Lock(lock, clsDisk::Share::Shared));
        QVERIFY(!m_program->disk->Lock(lock, clsDisk::Share::Exclusive));
        modBrambury::CloseProcessDatabase();
        const auto theirs = m_program->disk->Lock(lock, clsDisk::Share::Exclusive);
        QVERIFY(theirs);
        m_program->dialogs.Expect(
            u"The database is being backed up, restored, compacted or repaired by another copy of "
            u"Brambury.  Please try again when that has ended."_s);
        QVERIFY(!modDBFunctions::OpenProcessDatabase());
        QVERIFY(State().FileInUse);
        QVERIFY(!State().Database && m_program->windows.lastDetails.isEmpty());
    }

    /// A file of an older version gets everything that a new one has.
    void databaseOfAnotherVersion()
    {
        const auto made = [this] {
            QStringList all;
            const auto later = Db().OpenRecordset(
                u"SELECT sql FROM sqlite_master WHERE tbl_name IN ('tblSendLedger', 'tblMailSecrets') ORDER BY name"_s);
            for (; !later->AfterLast(); later->MoveNext())
                all << later->Field(u"sql"_s).toString();
            for (const auto& table : {u"tblSites"_s, u"tblLinkList"_s}) {
                QStringList fields = Db().Fields(table);
                fields.sort();
                for (const QString& field : std::as_const(fields))
                    all << field + u' ' + QString::number(Db().FieldSize(table, field));
            }
            return all;
        };
        const QStringList fresh = made();
        modBrambury::CloseProcessDatabase();
        static const QRegularExpression later(u"^ +(IPAddress|Mail(Security|User|TokenCommand|Key|Gap|Per\\w+)) "_s);
        QByteArray older;
        for (const QByteArray& line :
             m_program->disk
                 ->ReadFile(clsTestInstallation::Statements(clsTestInstallation::Content::Empty).constFirst())
                 .split('\n'))
            older += later.match(QString::fromUtf8(line)).hasMatch() ? QByteArray() : line + '\n';
        MakeDatabase(older);
        QVERIFY(!m_program->installation.Open()->Fields(u"tblSites"_s).contains(u"MailKey"_s));
        QCOMPARE(made(), fresh);
        // A field that is there already stays as it is.
        clsDAO dao(State().Workspace.get());
        QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"TITLE"_s, 10, 5));
        QCOMPARE(Db().FieldSize(u"tblLinkList"_s, u"Title"_s), 255);
        QVERIFY(dao.AddField(Db(), u"tblLinkList"_s, u"Rank"_s, 4, 0, 7));
        const qint64 id = Link(u"a"_s);
        QCOMPARE(clsTestInstallation::LinkField(Db(), id, u"Rank"_s).toInt(), 7);

        modBrambury::CloseProcessDatabase();
        m_program->windows.calls.clear();
        MakeDatabase("CREATE TABLE tblSites (SiteID VARCHAR(50) PRIMARY KEY);");
        QVERIFY(modDBFunctions::OpenProcessDatabase());
        QCOMPARE(m_program->windows.calls, (QStringList{u"error exclamation"_s, u"error exclamation"_s}));
        QCOMPARE(LastError(), u"3265 LoadMessageTypes"_s);
    }

    void shippedTemplatesAndTags()
    {
        QStringList tags;
        const auto list = Db().OpenRecordset(u"qryTagListPro"_s);
        for (; !list->AfterLast(); list->MoveNext()) {
            tags << list->Field(u"FieldTag"_s).toString();
            QVERIFY2(Db().Fields(list->Field(u"TableMap"_s).toString()).contains(list->Field(u"FieldMap"_s).toString()),
                     qPrintable(tags.constLast()));
        }
        static const QRegularExpression tag(u"\\[[^\\]]*\\]"_s);
        const auto templates = Db().OpenRecordset(u"tblMailMessages"_s);
        QList<int> types;
        for (; !templates->AfterLast(); templates->MoveNext()) {
            QCOMPARE(templates->Field(u"Template"_s), QVariant(u"DEFAULT"_s));
            types << templates->Field(u"Type"_s).toInt();
            const QString text = templates->Field(u"Subject"_s).toString() + templates->Field(u"Body"_s).toString();
            for (auto used = tag.globalMatch(text); used.hasNext();) {
                const QString name = used.next().captured();
                QVERIFY2(tags.contains(name), qPrintable(name)); // any other would be sent as it stands
            }
        }
        QCOMPARE(types, (QList<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    }
};

QTEST_GUILESS_MAIN(tst_data)
#include "tst_data.moc"
