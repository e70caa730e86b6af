// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/modCsv.h"

#include "platform/clsError.h"

#include <QStringDecoder>
#include <csv.h>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Of a record; no table has more, and a file of commas would fill the memory.
constexpr qsizetype MostFields = 1000;

/// The parser, and the record that it is in.
class clsParser
{
public:
    clsParser()
    {
        if (csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI) != 0)
            Raise();
        // Blanks around a field belong to it.
        csv_set_space_func(&m_parser, [](unsigned char) { return 0; });
    }
    ~clsParser() { csv_free(&m_parser); }
    clsParser(const clsParser&) = delete;
    clsParser& operator=(const clsParser&) = delete;

    /// @param bytes  at most one line, its end included.  @return false when they cannot stand here.
    bool Feed(QByteArrayView bytes)
    {
        const auto size = static_cast<std::size_t>(bytes.size());
        return csv_parse(&m_parser, bytes.data(), size, &TakeField, &TakeEnd, this) == size || Malformed();
    }
    /// @return false when the end of the file cannot stand here.
    bool Finish() { return csv_fini(&m_parser, &TakeField, &TakeEnd, this) == 0 || Malformed(); }

    /// The record that is complete, once.
    [[nodiscard]] std::optional<QByteArrayList> Completed()
    {
        if (!m_complete)
            return std::nullopt;
        m_complete = false;
        return std::exchange(m_fields, {});
    }

private:
    // Called from within the library: nothing may be thrown through it.
    static void TakeField(void* field, std::size_t size, void* parser) noexcept
    {
        QByteArrayList& fields = static_cast<clsParser*>(parser)->m_fields;
        if (fields.size() <= MostFields)
            fields.append(QByteArray(static_cast<const char*>(field), static_cast<qsizetype>(size)));
    }
    static void TakeEnd(int /*terminator*/, void* parser) noexcept
    {
        static_cast<clsParser*>(parser)->m_complete = true;
    }

    [[noreturn]] void Raise()
    {
        throw clsError(clsError::EngineFailure, QString::fromLatin1(csv_strerror(csv_error(&m_parser))), u"libcsv"_s);
    }
    /// False for a fault of the file; everything else is an error.
    bool Malformed()
    {
        if (csv_error(&m_parser) != CSV_EPARSE)
            Raise();
        return false;
    }

    csv_parser m_parser = {};
    QByteArrayList m_fields;
    bool m_complete = false;
};

/// The first line of a text, with its end.
QByteArrayView LineOf(QByteArrayView bytes)
{
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n')
            return bytes.first(i + 1);
        if (bytes[i] == '\r')
            return bytes.first(i + 1 < bytes.size() && bytes[i + 1] == '\n' ? i + 2 : i + 1);
    }
    return bytes;
}

/// @return false when the fields are no UTF-8.
bool Decode(const QByteArrayList& fields, QStringList& texts)
{
    for (const QByteArray& field : fields) {
        QStringDecoder decoder(QStringDecoder::Utf8,
                               QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        texts.append(decoder(field));
        if (decoder.hasError())
            return false;
    }
    return true;
}
} // namespace

std::optional<modCsv::Problem> modCsv::Read(const QByteArray& bytes, const std::function<bool(const Record&)>& take)
{
    constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");
    QByteArrayView rest(bytes);
    if (rest.startsWith(byteOrderMark))
        rest = rest.sliced(byteOrderMark.size());

    clsParser parser;
    int line = 1;
    int firstLine = 0; // of the record being read, 0 between two of them
    for (bool atEnd = false; !atEnd; ++line) {
        atEnd = rest.isEmpty();
        const QByteArrayView next = LineOf(rest);
        rest = rest.sliced(next.size());
        if (firstLine == 0 && next.trimmed().isEmpty() && !atEnd)
            continue;
        if (firstLine == 0)
            firstLine = line;
        if (!(atEnd ? parser.Finish() : parser.Feed(next)))
            return Problem{firstLine, u"The quotation marks are not those of a CSV file."_s};
        const std::optional<QByteArrayList> fields = parser.Completed();
        if (!fields)
            continue;
        Record record{std::exchange(firstLine, 0), {}};
        if (fields->size() > MostFields)
            return Problem{record.line, u"It has more than %1 values."_s.arg(MostFields)};
        if (!Decode(*fields, record.fields))
            return Problem{record.line, u"The text is not encoded in UTF-8."_s};
        if (!take(record))
            break;
    }
    return std::nullopt;
}
