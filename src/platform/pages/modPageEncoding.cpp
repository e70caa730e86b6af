// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/modPageEncoding.h"

#include <QRegularExpression>
#include <QStringDecoder>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype MetaWithin = 4096; ///< how far into a page its meta element is looked for

/// Name by which the decoder knows what a page calls its encoding; the old Latin names all mean windows-1252 on the
/// web (WHATWG Encoding Standard). Empty when unknown.
QByteArray Canonical(const QByteArray& label)
{
    const QByteArray name = label.trimmed().toLower();
    static const QByteArray western[] = {"iso-8859-1", "iso8859-1", "iso_8859-1", "latin1", "latin-1", "l1",
                                         "us-ascii",   "ascii",     "ansi",       "cp1252", "x-cp1252"};
    for (const QByteArray& known : western) {
        if (name == known)
            return "windows-1252";
    }
    if (name == "utf8")
        return "utf-8";
    return !name.isEmpty() && QStringDecoder(name.constData()).isValid() ? name : QByteArray();
}

QByteArray MetaCharset(const QByteArray& body)
{
    QString head = QString::fromLatin1(body.left(MetaWithin));
    static const QRegularExpression comment(u"<!--.*?-->"_s, QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression meta(u"<meta[\\s/][^>]*charset\\s*=\\s*[\"']?\\s*([^\\s\"'/>;]+)"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = meta.match(head.remove(comment));
    const QByteArray label = match.captured(1).toLatin1().toLower();
    // The declaration could be read as single bytes, so the page is not written in sixteen-bit units.
    return label.startsWith("utf-16") ? QByteArray("utf-8") : label;
}

QByteArray Decoded(const QByteArray& body, const QByteArray& encoding)
{
    QStringDecoder decoder(encoding.constData());
    if (!decoder.isValid())
        return QString::fromLatin1(body).toUtf8();
    const QString text = decoder(body);
    return text.toUtf8();
}
} // namespace

QByteArray modPageEncoding::CharsetOf(const QByteArray& contentType)
{
    static const QRegularExpression charset(u";\\s*charset\\s*=\\s*[\"']?\\s*([^\\s\"';]+)"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return charset.match(QString::fromLatin1(contentType)).captured(1).toLatin1();
}

QByteArray modPageEncoding::ToUtf8(const QByteArray& body, const QByteArray& charset)
{
    if (body.startsWith("\xEF\xBB\xBF"))
        return body.sliced(3).isValidUtf8() ? body.sliced(3) : Decoded(body.sliced(3), "utf-8");
    if (body.startsWith("\xFE\xFF"))
        return Decoded(body.sliced(2), "utf-16be");
    if (body.startsWith("\xFF\xFE"))
        return Decoded(body.sliced(2), "utf-16le");
    QByteArray encoding = Canonical(charset);
    if (encoding.isEmpty())
        encoding = Canonical(MetaCharset(body));
    if (encoding.isEmpty() || encoding == "utf-8") {
        if (body.isValidUtf8())
            return body;
        if (encoding.isEmpty())
            encoding = "windows-1252";
    }
    return Decoded(body, encoding);
}
