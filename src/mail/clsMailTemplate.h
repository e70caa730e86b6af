// SPDX-License-Identifier: GPL-3.0-or-later
// The message templates of the database, as far as they are read: every template, or those of one message type.
#pragma once

#include "platform/clsDatabase.h"

#include <QString>
#include <memory>

class clsMailTemplate
{
public:
    /// Opens the templates of all types. @param database  must outlive this.
    explicit clsMailTemplate(clsDatabase& database);

    /// Opens the templates of one message type anew. @param type  1 to 8; below 1: all types.
    /// @return false when that failed; the failure has been reported, no template is open then.
    bool BuildNewQuery(qint16 type);
    /// The templates by name: MessageID, Type, Template, Subject, Body, AttachedFile, LastModified. Empty after a
    /// failure.
    [[nodiscard]] const clsRecordset* Templates() const { return m_templates.get(); }

private:
    clsDatabase& m_database;
    std::unique_ptr<clsRecordset> m_templates;
};
