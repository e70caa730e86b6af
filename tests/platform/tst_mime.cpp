// SPDX-License-Identifier: GPL-3.0-or-later
// What texts, names and files become on their way into a message.
#include "platform/clsEventLoop.h"
#include "platform/clsMimeControl.h"
#include "platform/impl/modPlatformImpl.h"
#include "support/table.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

class tst_mime : public QObject, private clsMimeEvents
{
    Q_OBJECT

    const std::unique_ptr<clsMimeControl> m_mime = modPlatformImpl::MakeMimeControl();
    const std::unique_ptr<clsEventLoop> m_loop = modPlatformImpl::MakeEventLoop();
    QTemporaryDir m_folder;
    int m_ended = 0; ///< 1 well, else the error's code
    void Complete() override { m_ended = 1; }
    void EncodeError(int code) override { m_ended = code; }

    int Encode(const QString& file, const QString& to)
    {
        m_ended = 0;
        m_mime->SetEvents(this);
        m_mime->Encode(file, to);
        static_cast<void>(m_loop->Wait([this] { return m_ended != 0; }, 30s));
        return m_ended;
    }
    QString NewFile(const QString& name, const QByteArray& content) const
    {
        QFile file(m_folder.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName() : QString();
    }
    static QByteArray ReadFile(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void Texts_data()
    {
        const testTable<QString, QString, QString> row;
        row("ASCII", u"a\r\nb"_s, {}, u"a\r\nb"_s);
        row("line ends", u"a\nb\rc\r\n\n.\n"_s, {}, u"a\r\nb\r\nc\r\n\r\n.\r\n"_s);
        row("998", QString(998, u'x'), {}, QString(998, u'x'));
        row("999", u"x\n"_s + QString(999, u'y'), u"quoted-printable"_s, {});
        row("umlaut", u"Gr\u00FC\u00DFe = 1 \nx\t\n"_s, u"quoted-printable"_s,
            u"Gr=C3=BC=C3=9Fe =3D 1=20\r\nx=09\r\n"_s);
        row("a null", u"a"_s + QChar(u'\0') + u"b"_s, u"quoted-printable"_s, u"a=00b"_s);
    }
    void Texts()
    {
        const auto [text, encoding, expected] = testRow<QString, QString, QString>();
        const clsMimeControl::Text encoded = m_mime->EncodeText(text);
        QCOMPARE(encoded.encoding, encoding);
        QCOMPARE(encoded.charset, encoding.isEmpty() ? u"us-ascii"_s : u"utf-8"_s);
        if (!expected.isEmpty())
            QCOMPARE(encoded.text, expected);
        for (const QString& line : encoded.text.split(u"\r\n"_s))
            QVERIFY(line.size() <= 998 && !line.contains(u'\n') && !line.contains(u'\r'));
    }

    void Headers()
    {
        QCOMPARE(m_mime->EncodeHeader(u"Re: links, \"now\"  (x)"_s), u"Re: links, \"now\"  (x)"_s);
        QCOMPARE(m_mime->EncodeHeader(u"a\r\nBcc: x@example.org\n\rb"_s), u"a Bcc: x@example.org  b"_s);
        QVERIFY(modPlatformImpl::MakeMimeControl()->EncodeHeader(u"Gr\u00FC\u00DFe"_s).startsWith(u"=?"));
        const QString address = u"a@example.org"_s;
        QCOMPARE(m_mime->EncodeAddress(u"Ann Smith"_s, address), u"Ann Smith <a@example.org>"_s);
        QCOMPARE(m_mime->EncodeAddress(u"Smith, Ann"_s, address), u"\"Smith, Ann\" <a@example.org>"_s);
        QCOMPARE(m_mime->EncodeAddress(u"The \"Links\" Team"_s, address),
                 u"\"The \\\"Links\\\" Team\" <a@example.org>"_s);
        QCOMPARE(m_mime->EncodeAddress(u"A\r\nBcc: b@example.org"_s, address).count(u'\n'), 0);
        QVERIFY(m_mime->EncodeAddress(u"J\u00F6rg"_s, address).startsWith(u"=?"));
        QCOMPARE(m_mime->EncodeAddress(u"Ann"_s, u"a@b\u00FCcher.example"_s), u"Ann <a@xn--bcher-kva.example>"_s);
    }

    void Files()
    {
        const QString to = m_folder.filePath(u"part.tmp"_s);
        QCOMPARE(Encode(NewFile(u"note.txt"_s, "x\n"), to), 1);
        const QByteArray part = ReadFile(to);
        QVERIFY2(part.startsWith("Content-Type: text/plain; name=note.txt\r\n"), part);
        QVERIFY2(part.endsWith("\r\n\r\neAo=\r\n"), part);
        QVERIFY2(part.contains("\r\nContent-Disposition: attachment; filename=note.txt\r\n"), part);
        QVERIFY2(part.contains("\r\nContent-Transfer-Encoding: base64\r\n"), part);
        QCOMPARE(Encode(NewFile(u"Gr\u00FC\u00DFe.txt"_s, "x"), to), 1);
        QVERIFY2(ReadFile(to).contains("name=Gru_e.txt\r\n"), ReadFile(to)); // for old programs
        QVERIFY2(ReadFile(to).contains("filename*=UTF-8''Gr%C3%BC%C3%9Fe.txt\r\n"), ReadFile(to));
        QVERIFY(Encode(m_folder.path(), to) > 1);
        QVERIFY(Encode(m_folder.filePath(u"no such file"_s), to) > 1);
        QVERIFY(Encode(m_folder.filePath(u"note.txt"_s), m_folder.filePath(u"no/part.tmp"_s)) > 1);
    }

    /// 20 MB are encoded while the window goes on, in lines that any server takes.
    void LargeFile()
    {
        const QByteArray content = QByteArray("0123456789").repeated(2 << 20);
        const QString file = NewFile(u"large.bin"_s, content);
        const QString to = m_folder.filePath(u"part.tmp"_s);
        int turns = 0;
        QTimer window;
        window.callOnTimeout([&] { ++turns; });
        window.start(1ms);
        QCOMPARE(Encode(file, to), 1);
        QVERIFY2(turns >= 5, qPrintable(QString::number(turns)));
        const QByteArray part = ReadFile(to);
        const qsizetype body = part.indexOf("\r\n\r\n") + 4;
        QVERIFY(part.indexOf("\r\n", body) - body <= 76);
        QCOMPARE(QByteArray::fromBase64(part.sliced(body)), content);
    }
};

QTEST_GUILESS_MAIN(tst_mime)
#include "tst_mime.moc"
