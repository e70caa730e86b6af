// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/clsRecordEditor.h"

#include "platform/clsDialogs.h"
#include "shell/clsHourglass.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

#include <QScopeGuard>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "clsRecordEditor";
/// Stands before each line of a list in a message.
constexpr QChar Bullet(0x00B0);

bool IsEmpty(const clsRecordEditor::Field& field, const QVariant& value)
{
    if (field.kind != clsRecordEditor::Kind::Port)
        return value.toString().isEmpty();
    // What an older file holds may be no port at all.
    const qlonglong port = value.toLongLong();
    return port < 1 || port > clsRecordEditor::MostPort;
}
} // namespace

clsRecordEditor::clsRecordEditor(clsDatabase& database, QString table, std::vector<Field> fields)
    : m_database(database), m_table(std::move(table)), m_fields(std::move(fields))
{
}

clsRecordEditor::~clsRecordEditor() = default;

const clsRecordEditor::Field* clsRecordEditor::FieldNamed(const QString& name) const
{
    const auto found = std::find_if(m_fields.cbegin(), m_fields.cend(), [&](const Field& field) {
        return field.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == m_fields.cend() ? nullptr : &*found;
}

int clsRecordEditor::Size(const QString& field) const
{
    int size = 0;
    guarded(Module, "Size", [&] { size = m_database.FieldSize(m_table, field); });
    return size;
}

QString clsRecordEditor::Text(const QString& field) const
{
    return modCommonFunctions::TextOf(Value(field));
}

void clsRecordEditor::SetValue(const QString& field, const QVariant& value)
{
    m_values.insert(field, value);
    m_changed = true;
}

QString clsRecordEditor::Assign(const Field& field, const QString& text)
{
    bool whole = true;
    const qlonglong number = text.toLongLong(&whole);
    switch (field.kind) {
    case Kind::Text:
        SetValue(field.name, text);
        return {};
    case Kind::Number:
        if (!whole && !text.isEmpty())
            return u"%1 is a whole number, which \"%2\" is not."_s.arg(field.name, text);
        SetValue(field.name, text.isEmpty() ? QVariant() : QVariant(number));
        return {};
    case Kind::Port:
        if (!text.isEmpty() && (!whole || number < 1 || number > MostPort))
            return u"%1 is a number from 1 to %2, which \"%3\" is not."_s.arg(field.name).arg(MostPort).arg(text);
        SetValue(field.name, text.isEmpty() ? QVariant() : QVariant(number));
        return {};
    case Kind::Switch:
        if (!whole || number < 0 || number > 1)
            return u"%1 is 1 (on) or 0 (off), not \"%2\"."_s.arg(field.name, text);
        SetValue(field.name, number);
        return {};
    }
    return {};
}

bool clsRecordEditor::Begin(std::unique_ptr<clsRecordset> records)
{
    m_records = std::move(records);
    return ReadOrTell();
}

void clsRecordEditor::BeginNew(std::unique_ptr<clsRecordset> records, QHash<QString, QVariant> values)
{
    m_records = std::move(records);
    BeginNew(std::move(values));
}

bool clsRecordEditor::BeginAt(clsBookmark bookmark)
{
    m_records->MoveTo(bookmark);
    return ReadOrTell();
}

void clsRecordEditor::BeginNew(QHash<QString, QVariant> values)
{
    m_values = std::move(values);
    m_stored.clear();
    m_new = true;
    m_changed = false;
}

bool clsRecordEditor::Read()
{
    // Stepping finds no record when all have been deleted elsewhere.
    if (m_records->BeforeFirst() || m_records->AfterLast() || !m_records->Refresh())
        return false;
    // Not even a failure half-way may cost what has been typed.
    QHash<QString, QVariant> values;
    for (const QString& field : m_records->FieldNames())
        values.insert(field, m_records->Field(field));
    m_values = std::move(values);
    m_stored = m_values;
    m_new = false;
    m_changed = false;
    Shown();
    return true;
}

bool clsRecordEditor::ReadOrTell()
{
    if (Read())
        return true;
    TellMissing();
    return false;
}

clsRecordEditor::Saved clsRecordEditor::Save()
{
    const clsHourglass hourglass; // another program's lock is waited for
    m_fault.clear();
    std::optional<Refusal> refusal = CheckMissing();
    if (!refusal)
        refusal = Check();
    if (!refusal)
        refusal = CheckSizes();
    if (!refusal)
        refusal = Prepare();
    if (refusal) {
        m_fault = refusal->field;
        MsgBox(refusal->text, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
        return Saved::Refused;
    }
    bool there = true;
    bool written = false;
    const Guarded ended = guardedAloud(Module, "Save", [&] { there = Write(written); });
    Ended(written);
    if (!there)
        TellMissing();
    if (!there || ended != Guarded::Done)
        return Saved::Failed;
    if (m_onSaved)
        m_onSaved();
    return Saved::Yes;
}

bool clsRecordEditor::Write(bool& written)
{
    if (!m_new && !m_records->Refresh())
        return false;
    {
        // A change that was refused must not linger in the set.
        const auto drop = qScopeGuard([this] { ignoringErrors([this] { m_records->CancelUpdate(); }); });
        if (m_new)
            m_records->AddNew();
        else
            m_records->Edit();
        for (const Field& field : m_fields) {
            const QVariant value = Value(field.name);
            if (field.kind == Kind::Text)
                m_records->SetField(field.name, modCommonFunctions::TextOf(value));
            else
                m_records->SetField(field.name, value);
        }
        const QHash<QString, QVariant> own = OwnValues();
        for (auto it = own.cbegin(); it != own.cend(); ++it)
            m_records->SetField(it.key(), it.value());
        m_records->Update();
    }
    written = true;
    // Whatever happens from here on, it must not be added twice.
    m_new = false;
    m_records->MoveTo(m_records->LastModified());
    return Read();
}

bool clsRecordEditor::MayLeave()
{
    m_fault.clear();
    return modCommonFunctions::MayLeave(m_changed, [this] { return Save() == Saved::Yes; });
}

bool clsRecordEditor::Move(Step step)
{
    const QString end = step == Step::Next ? u"This is the last record."_s : u"This is the first record."_s;
    const auto tellEnd = [&] { MsgBox(end, clsDialogs::Buttons::OK, clsDialogs::Icon::Information); };
    if (m_records->RecordCount() == 0) {
        tellEnd();
        return false;
    }
    if (!MayLeave())
        return false;
    bool shown = false;
    guarded(Module, "Move", [&] {
        const clsHourglass hourglass; // another program's lock is waited for
        bool atEnd = false;
        // What stands in the controls must never be written to another record.
        auto back = qScopeGuard([this, place = m_new ? clsBookmark{} : m_records->Bookmark()] {
            if (!m_new)
                ignoringErrors([&] { m_records->MoveTo(place); });
        });
        if (m_new) {
            // A record that does not exist yet has its place behind all others.
            m_records->MoveLast();
            atEnd = step == Step::Next;
        } else if (step == Step::Next) {
            m_records->MoveNext();
            atEnd = m_records->AfterLast();
            if (atEnd)
                m_records->MoveLast();
        } else {
            m_records->MovePrevious();
            atEnd = m_records->BeforeFirst();
            if (atEnd)
                m_records->MoveFirst();
        }
        shown = ReadOrTell();
        if (!shown)
            return;
        back.dismiss();
        if (atEnd)
            tellEnd();
    });
    return shown;
}

std::optional<clsRecordEditor::Refusal> clsRecordEditor::CheckMissing() const
{
    QStringList lines{u"Required information, which is shown in red on the properties screen, is missing."_s, QString(),
                      u"Please ensure that this information is provided before saving:"_s};
    QString first;
    for (const Field& field : m_fields) {
        if (field.missing.isEmpty() || !IsEmpty(field, Value(field.name)))
            continue;
        lines << Bullet + field.missing;
        if (first.isEmpty())
            first = field.name;
    }
    if (first.isEmpty())
        return std::nullopt;
    return Refusal{lines.join("\r\n"_L1), first};
}

std::optional<clsRecordEditor::Refusal> clsRecordEditor::CheckSizes() const
{
    for (const Field& field : m_fields) {
        if (field.kind != Kind::Text)
            continue;
        const QString text = Text(field.name);
        // What an older file holds may stay as it is.
        if (text == modCommonFunctions::TextOf(m_stored.value(field.name)))
            continue;
        const int size = Size(field.name);
        if (size > 0 && text.toUcs4().size() > size)
            return Refusal{u"%1 is too long: at most %2 characters can be kept."_s.arg(field.name).arg(size),
                           field.name};
    }
    return std::nullopt;
}

std::optional<clsRecordEditor::Refusal> clsRecordEditor::CheckAddresses() const
{
    const QString email = Text(u"Email"_s);
    if (!email.isEmpty() && !modCommonFunctions::IsEmailAddress(email))
        return Refusal{u"The e-mail address is improperly formatted.  (Example: webmaster@example.com)"_s, u"Email"_s};
    for (const auto& [field, called] : {std::pair(u"HomePage"_s, u"Home Page"_s), {u"LinkPage"_s, u"Link Page"_s}}) {
        const QString page = Text(field);
        if (!page.isEmpty() && !modCommonFunctions::HasWebPrefix(page))
            return Refusal{u"The %1 URL is improperly formatted.  (Example: http://www.example.com/)"_s.arg(called),
                           field};
    }
    return std::nullopt;
}

std::optional<clsRecordEditor::Refusal> clsRecordEditor::CheckImageFile() const
{
    const QString name = Text(u"ImageFile"_s);
    if (!name.contains(u'/') && !name.contains(u'\\'))
        return std::nullopt;
    return Refusal{u"The Image file appears to contain a path.  Specify only the file name.  (Example: mybanner.gif)"_s,
                   u"ImageFile"_s};
}

void clsRecordEditor::TellMissing()
{
    MsgBox(MissingRecordText(), clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
}

QString clsRecordEditor::MissingRecordText()
{
    return u"Could not locate this record's properties.\r\n"
           "If this problem persists, exit Brambury and restart \r\n"
           "the program.  If it still persists, try repairing the \r\n"
           "database by selecting the Repair Database option in \r\n"
           "the Tools menu."_s;
}
