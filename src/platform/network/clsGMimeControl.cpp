// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/network/clsGMimeControl.h"

#include "platform/modMailAddress.h"
#include "platform/modPlatformImpl.h"
#include "platform/network/modMailText.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <algorithm>
#include <fcntl.h>
#include <gmime/gmime.h>
#include <mutex>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int NoError = 1;
constexpr int CannotRead = 2;
constexpr int CannotWrite = 3;
/// A word of more than this is encoded, so that a header can be folded within modMailText::MostLine.
constexpr qsizetype MostWord = 900;

/// Gives an object of GMime back.
struct Unref
{
    template <class Object> void operator()(Object* object) const { g_object_unref(object); }
};
template <class Object> using Owned = std::unique_ptr<Object, Unref>;

/// Takes over a text that GMime made.
QString Taken(char* text)
{
    const QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

/// A file's name in plain letters, for programs that know nothing else.
QString PlainName(const QString& name)
{
    QString plain;
    for (const QChar c : name.normalized(QString::NormalizationForm_KD)) {
        if (c.isMark() || c.isLowSurrogate())
            continue;
        plain += c.unicode() < 0x80 ? c : QChar(u'_');
    }
    return plain;
}

QString TypeOf(const QFileInfo& file)
{
    const QString name = QMimeDatabase().mimeTypeForFile(file).name();
    // What is empty, or no file in the common sense, has types of the desktop's own.
    return file.size() == 0 || name.startsWith(u"inode/") || !name.contains(u'/') ? u"application/octet-stream"_s
                                                                                  : name;
}

void SetName(GMimeParamList* parameters, const char* parameter, const QString& name)
{
    g_mime_param_list_set_parameter(parameters, parameter, name.toUtf8().constData());
    GMimeParam* set = g_mime_param_list_get_parameter(parameters, parameter);
    g_mime_param_set_charset(set, "utf-8");
    g_mime_param_set_encoding_method(set, GMIME_PARAM_ENCODING_METHOD_RFC2231);
}

/// Runs on the worker thread. @return see clsMimeEvents::EncodeError.
int EncodeFile(const QString& inputFile, const QString& outputFile)
{
    const QFileInfo file(inputFile);
    const Owned<GMimeStream> input(
        g_mime_stream_fs_open(QFile::encodeName(inputFile).constData(), O_RDONLY | O_CLOEXEC, 0, nullptr));
    if (!input || !file.isFile())
        return CannotRead;
    const Owned<GMimeStream> output(g_mime_stream_fs_open(QFile::encodeName(outputFile).constData(),
                                                          O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600, nullptr));
    if (!output)
        return CannotWrite;
    const QStringList type = TypeOf(file).split(u'/');
    const Owned<GMimePart> part(
        g_mime_part_new_with_type(type[0].toLatin1().constData(), type[1].toLatin1().constData()));
    GMimeObject* object = GMIME_OBJECT(part.get());
    const QString name = modMailText::OnOneLine(file.fileName());
    g_mime_object_set_disposition(object, GMIME_DISPOSITION_ATTACHMENT);
    SetName(g_mime_content_type_get_parameters(g_mime_object_get_content_type(object)), "name", PlainName(name));
    SetName(g_mime_content_disposition_get_parameters(g_mime_object_get_content_disposition(object)), "filename", name);
    const Owned<GMimeDataWrapper> content(
        g_mime_data_wrapper_new_with_stream(input.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(part.get(), content.get());
    g_mime_part_set_content_encoding(part.get(), GMIME_CONTENT_ENCODING_BASE64);
    GMimeFormatOptions* options = g_mime_format_options_new();
    g_mime_format_options_set_newline_format(options, GMIME_NEWLINE_FORMAT_DOS);
    const bool written =
        g_mime_object_write_to_stream(object, options, output.get()) >= 0 && g_mime_stream_flush(output.get()) == 0;
    g_mime_format_options_free(options);
    return written ? NoError : CannotWrite;
}

/// A text as bytes of a line-ended kind that quoted-printable keeps.
QByteArray QuotedPrintable(const QByteArray& text)
{
    const Owned<GMimeStream> memory(g_mime_stream_mem_new());
    const Owned<GMimeStream> filtered(g_mime_stream_filter_new(memory.get()));
    const Owned<GMimeFilter> encoder(g_mime_filter_basic_new(GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE, TRUE));
    g_mime_stream_filter_add(reinterpret_cast<GMimeStreamFilter*>(filtered.get()), encoder.get());
    g_mime_stream_write(filtered.get(), text.constData(), static_cast<std::size_t>(text.size()));
    g_mime_stream_flush(filtered.get());
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(reinterpret_cast<GMimeStreamMem*>(memory.get()));
    return {reinterpret_cast<const char*>(bytes->data), static_cast<qsizetype>(bytes->len)};
}

bool IsPlain(QChar c)
{
    const char16_t code = c.unicode();
    return (code >= 0x20 && code < 0x7F) || code == u'\t' || code == u'\r' || code == u'\n';
}

/// Whether a text of CR LF lines can travel as it is.
bool MayTravelAsItIs(const QString& text)
{
    if (!std::all_of(text.cbegin(), text.cend(), IsPlain))
        return false;
    for (qsizetype from = 0; from <= text.size();) {
        const qsizetype end = text.indexOf(u"\r\n"_s, from);
        const qsizetype stop = end < 0 ? text.size() : end;
        if (stop - from > modMailText::MostLine)
            return false;
        from = stop + 2;
    }
    return true;
}
} // namespace

clsGMimeControl::clsGMimeControl()
{
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

void clsGMimeControl::Encode(const QString& inputFile, const QString& outputFile)
{
    m_encoding = m_worker.Give([inputFile, outputFile] { return EncodeFile(inputFile, outputFile); },
                               [this](int code) {
                                   if (m_events && code == NoError)
                                       m_events->Complete();
                                   else if (m_events)
                                       m_events->EncodeError(code);
                               });
}

clsMimeControl::Text clsGMimeControl::EncodeText(const QString& text) const
{
    const QString lines = modMailText::WithCrLf(text);
    if (MayTravelAsItIs(lines))
        return {u"us-ascii"_s, {}, lines};
    // The encoder keeps line feeds as line ends, and would write a carriage return out.
    const QByteArray encoded = QuotedPrintable(QString(lines).replace(u"\r\n"_s, u"\n"_s).toUtf8());
    return {u"utf-8"_s, u"quoted-printable"_s, modMailText::WithCrLf(QString::fromLatin1(encoded))};
}

QString clsGMimeControl::EncodeHeader(const QString& text) const
{
    return Taken(g_mime_utils_header_encode_text(nullptr, modMailText::OnOneLine(text).toUtf8().constData(), "utf-8"));
}

QString clsGMimeControl::EncodeAddress(const QString& name, const QString& address) const
{
    const QByteArray onOneLine = modMailText::OnOneLine(name).toUtf8();
    const Owned<InternetAddress> mailbox(internet_address_mailbox_new(
        onOneLine.constData(), modMailAddress::WithAsciiDomain(address).toUtf8().constData()));
    internet_address_set_charset(mailbox.get(), "utf-8");
    return Taken(internet_address_to_string(mailbox.get(), nullptr, TRUE));
}

std::unique_ptr<clsMimeControl> modPlatformImpl::MakeMimeControl()
{
    return std::make_unique<clsGMimeControl>();
}
