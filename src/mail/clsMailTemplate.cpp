// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/clsMailTemplate.h"

#include "shell/modErrorHandler.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Above every message type; the query's bounds are exclusive.
constexpr int AboveAllTypes = 999;
} // namespace

clsMailTemplate::clsMailTemplate(clsDatabase& database) : m_database(database)
{
    BuildNewQuery(0);
}

bool clsMailTemplate::BuildNewQuery(qint16 type)
{
    m_templates.reset();
    guarded("clsMailTemplate", "BuildNewQuery", [&] {
        const auto query = m_database.QueryDef(u"qryMailMessages"_s);
        query->SetParameter(u"IDLow"_s, type < 1 ? 0 : type - 1);
        query->SetParameter(u"IDHigh"_s, type < 1 ? AboveAllTypes : type + 1);
        m_templates = query->OpenRecordset();
    });
    return m_templates != nullptr;
}
