// SPDX-License-Identifier: GPL-3.0-or-later
#include "publish/modIO.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr qsizetype WidestCell = 60;
constexpr char ColumnGap[] = "  ";

bool IsNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

QString AsText(const QVariant& value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? u"1"_s : u"0"_s;
    return value.toString();
}

/// The text on one line of a terminal: partners' texts may hold line breaks, and control characters that the terminal
/// would obey.
QString OnOneLine(QString text)
{
    for (QChar& letter : text) {
        if (letter.category() == QChar::Other_Control || letter == QChar::LineSeparator ||
            letter == QChar::ParagraphSeparator)
            letter = u' ';
    }
    text = text.trimmed();
    return text.size() > WidestCell ? text.left(WidestCell - 1) + u'\u2026' : text;
}

QByteArray CsvField(const QVariant& value)
{
    if (!value.isValid())
        return {};
    QByteArray text = AsText(value).toUtf8();
    const bool quoted = text.isEmpty() || std::any_of(text.cbegin(), text.cend(), [](char letter) {
                            return letter == ',' || letter == '"' || letter == '\r' || letter == '\n';
                        });
    return quoted ? '"' + text.replace('"', "\"\"") + '"' : text;
}

QByteArray JsonValue(const QVariant& value)
{
    QJsonValue json;
    if (!value.isValid())
        json = QJsonValue::Null;
    else if (value.typeId() == QMetaType::Bool || IsNumber(value))
        json = QJsonValue::fromVariant(value);
    else
        json = AsText(value);
    const QByteArray array = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}
} // namespace

modIO::clsTableWriter::clsTableWriter(TableForm form, QStringList columns, std::function<void(const QByteArray&)> write)
    : m_form(form), m_columns(std::move(columns)), m_write(std::move(write))
{
    switch (m_form) {
    case TableForm::People:
        break;
    case TableForm::Csv:
        CsvRow(std::vector<QVariant>(m_columns.cbegin(), m_columns.cend()));
        break;
    case TableForm::Json:
        for (const QString& column : m_columns)
            m_keys.push_back(JsonValue(column));
        m_write("[");
        break;
    }
}

void modIO::clsTableWriter::Row(const std::vector<QVariant>& values)
{
    switch (m_form) {
    case TableForm::People:
        PeopleRow(values);
        break;
    case TableForm::Csv:
        CsvRow(values);
        break;
    case TableForm::Json:
        JsonRow(values);
        break;
    }
    m_anyRow = true;
}

void modIO::clsTableWriter::End()
{
    if (m_form == TableForm::Json)
        m_write(m_anyRow ? "\n]\n" : "]\n");
    else if (m_form == TableForm::People)
        WritePeople();
}

void modIO::clsTableWriter::CsvRow(const std::vector<QVariant>& values)
{
    QByteArray line;
    for (std::size_t i = 0; i < values.size(); ++i)
        line += (i > 0 ? "," : "") + CsvField(values[i]);
    m_write(line + "\r\n");
}

void modIO::clsTableWriter::JsonRow(const std::vector<QVariant>& values)
{
    QByteArray object = m_anyRow ? ",\n{" : "\n{";
    for (std::size_t i = 0; i < values.size(); ++i)
        object += (i > 0 ? "," : "") + m_keys.at(i) + ':' + JsonValue(values[i]);
    m_write(object + '}');
}

void modIO::clsTableWriter::PeopleRow(const std::vector<QVariant>& values)
{
    std::vector<Cell> cells;
    cells.reserve(values.size());
    for (const QVariant& value : values)
        cells.push_back({OnOneLine(AsText(value)), IsNumber(value)});
    m_cells.push_back(std::move(cells));
}

void modIO::clsTableWriter::WritePeople()
{
    std::vector<qsizetype> widths;
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        qsizetype widest = m_columns.at(i).size();
        for (const auto& row : m_cells)
            widest = std::max(widest, row.at(static_cast<std::size_t>(i)).text.size());
        widths.push_back(widest);
    }
    std::vector<Cell> headings;
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        const bool number = !m_cells.empty() && m_cells.front().at(static_cast<std::size_t>(i)).number;
        headings.push_back({m_columns.at(i), number});
    }
    m_cells.insert(m_cells.begin(), std::move(headings));
    for (const auto& row : m_cells) {
        QString line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0)
                line += QLatin1String(ColumnGap);
            line += row[i].number ? row[i].text.rightJustified(widths[i]) : row[i].text.leftJustified(widths[i]);
        }
        while (line.endsWith(u' '))
            line.chop(1);
        m_write(line.toUtf8() + '\n');
    }
    m_cells.clear();
}
