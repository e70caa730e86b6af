// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailTemplate.h"

#include "data/clsDAO.h"
#include "platform/clsClock.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;
using modCommonFunctions::Leftmost;
using modCommonFunctions::TextOf;

namespace
{
constexpr char Module[] = "clsMailTemplate";
/// Above every message type; the query's bounds are exclusive.
constexpr int AboveAllTypes = 999;

const QString Table = u"tblMailMessages"_s;
const QString KeyField = u"MessageID"_s;
const QString TypeField = u"Type"_s;
const QString NameField = u"Template"_s;
const QString SubjectField = u"Subject"_s;
const QString BodyField = u"Body"_s;
const QString FileField = u"AttachedFile"_s;
const QString DateField = u"LastModified"_s;
} // namespace

clsMailTemplate::clsMailTemplate(clsDatabase& database) : m_database(database)
{
    BuildNewQuery(0);
}

std::unique_ptr<clsRecordset> clsMailTemplate::Open(qint16 type) const
{
    const auto query = m_database.QueryDef(u"qryMailMessages"_s);
    query->SetParameter(u"IDLow"_s, type < 1 ? 0 : type - 1);
    query->SetParameter(u"IDHigh"_s, type < 1 ? AboveAllTypes : type + 1);
    return query->OpenRecordset();
}

bool clsMailTemplate::BuildNewQuery(qint16 type)
{
    m_templates.reset();
    m_position.reset();
    guarded(Module, "BuildNewQuery", [&] { m_templates = Open(type); });
    return m_templates != nullptr;
}

void clsMailTemplate::Clear()
{
    MessageID = 0;
    TemplateType = 0;
    for (QString* text : {&Template, &Subject, &Body, &AttachedFile, &EditMode})
        text->clear();
    LastModified = {};
}

void clsMailTemplate::LoadCurrent()
{
    // All is read before the first field is given up.
    const clsRecordset& records = *m_templates;
    const qint32 id = records.Field(KeyField).toInt();
    const auto type = static_cast<qint16>(records.Field(TypeField).toInt());
    const QString name = TextOf(records.Field(NameField));
    const QString subject = TextOf(records.Field(SubjectField));
    const QString body = TextOf(records.Field(BodyField));
    const QString file = TextOf(records.Field(FileField));
    const QString date = TextOf(records.Field(DateField));
    m_position = records.Bookmark();
    Clear();
    MessageID = id;
    TemplateType = type;
    Template = name;
    Subject = subject;
    Body = body;
    AttachedFile = file;
    LastModified = modCommonFunctions::FromStoredDate(date);
}

bool clsMailTemplate::Delete()
{
    // A template that was never stored must not cost another one its life.
    if (!m_templates || EditMode == "New"_L1)
        return false;
    return guarded(Module, "Delete", [&] {
               m_templates->Delete();
               m_position.reset();
               if (m_templates->RecordCount() == 0)
                   return Clear();
               m_templates->MovePrevious();
               if (m_templates->BeforeFirst())
                   m_templates->MoveFirst();
               LoadCurrent();
           }) == Guarded::Done;
}

void clsMailTemplate::NewRecord()
{
    Clear();
    EditMode = u"New"_s;
}

bool clsMailTemplate::FindMessage(const QString& name, bool bReturnToRecord)
{
    bool found = false;
    guarded(Module, "FindMessage", [&] {
        if (!m_templates)
            return;
        found = m_templates->FindFirst(clsDAO::TextCriteria(NameField, name));
        if (!found && bReturnToRecord && m_position)
            m_templates->MoveTo(*m_position);
    });
    return found;
}

void clsMailTemplate::ReturnToRecord()
{
    guarded(Module, "FindMessage", [&] {
        if (m_templates && m_position)
            m_templates->MoveTo(*m_position);
    });
}

bool clsMailTemplate::GetMessage(const QVariant& id)
{
    if (id.isNull() || id.toString().isEmpty())
        return false;
    bool found = false;
    guarded(Module, "GetMessage", [&] {
        if (!m_templates || !m_templates->FindFirst(clsDAO::NumberCriteria(KeyField, id.toLongLong())))
            return;
        LoadCurrent();
        found = true;
    });
    return found;
}

bool clsMailTemplate::Update()
{
    if (!m_templates)
        return false;
    const Guarded ending = guarded(Module, "Update", [&] {
        if (EditMode == "New"_L1 || EditMode == "Copy"_L1)
            m_templates->AddNew();
        else
            m_templates->Edit();
        const QDateTime now = modBrambury::Platform().Clock->Now();
        m_templates->SetField(TypeField, TemplateType);
        m_templates->SetField(NameField, Leftmost(Template, m_database.FieldSize(Table, NameField)));
        m_templates->SetField(SubjectField, Leftmost(Subject, SubjectSize()));
        m_templates->SetField(BodyField, Body);
        m_templates->SetField(FileField, AttachedFile);
        m_templates->SetField(DateField, modCommonFunctions::StoredDateTime(now));
        m_templates->Update();
        m_templates->MoveTo(m_templates->LastModified());
        LoadCurrent();
    });
    if (ending != Guarded::Done)
        ignoringErrors([&] { m_templates->CancelUpdate(); });
    return ending == Guarded::Done;
}

bool clsMailTemplate::LoadMessageNames(std::vector<Name>& list, qint16 type, bool emptyFirst) const
{
    return guarded(Module, "LoadMessageNames", [&] {
               const auto records = Open(type);
               std::vector<Name> names;
               if (emptyFirst)
                   names.emplace_back();
               for (const auto& row : records->Rows(0, records->RecordCount(), {NameField, KeyField, TypeField})) {
                   if (!row.empty()) // deleted meanwhile
                       names.push_back({TextOf(row[0]), row[1].toLongLong(), static_cast<qint16>(row[2].toInt())});
               }
               list = std::move(names);
           }) == Guarded::Done;
}

QString clsMailTemplate::StoredName(const QString& name) const
{
    return Leftmost(name.trimmed(), m_database.FieldSize(Table, NameField)).trimmed();
}

bool clsMailTemplate::IsDefault(const QString& name)
{
    qsizetype size = name.size();
    while (size > 0 && name[size - 1].isSpace())
        --size;
    return name.first(size).compare("DEFAULT"_L1, Qt::CaseInsensitive) == 0;
}

int clsMailTemplate::SubjectSize() const
{
    return m_database.FieldSize(Table, SubjectField);
}
