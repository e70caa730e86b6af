// SPDX-License-Identifier: GPL-3.0-or-later
// The message templates of the database: one at a time as a record to be read and written, and their names as lists.
#pragma once

#include "platform/clsDatabase.h"

#include <QDateTime>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

/// Failures of its operations have been reported when they return.
class clsMailTemplate
{
public:
    /// Opens the templates of all types. @param database  must outlive this.
    explicit clsMailTemplate(clsDatabase& database);

    // The loaded template. Texts that the database does not have are empty.
    qint32 MessageID = 0;    ///< 0: none
    qint16 TemplateType = 0; ///< 1 to 8
    QString Template;        ///< its name
    QString Subject;
    QString Body;         ///< lines end in CR LF
    QString AttachedFile; ///< full path, empty: none
    QDateTime LastModified;
    QString EditMode;   ///< "New", "Copy": Update adds a record; "Replace" or empty: it changes the current one
    bool Dirty = false; ///< for whoever edits the texts: they have changed since they were loaded or stored

    /// Deletes the current record. The one before it becomes current and is loaded, or the first; when there is none
    /// left the fields are cleared.
    bool Delete();
    /// Clears the fields for a template that is not in the database yet.
    void NewRecord();
    /// Makes the template of this name current, letter case ignored, without loading it; the first of several.
    /// @param bReturnToRecord  go back to the loaded record when there is none of this name.
    bool FindMessage(const QString& name, bool bReturnToRecord = false);
    /// Loads a template. @param id  Null or empty: nothing is found. When nothing is, everything stays as it is.
    bool GetMessage(const QVariant& id);
    /// Opens the templates of one message type anew. @param type  1 to 8; below 1: all types.
    /// @return false when that failed; no template is open then.
    bool BuildNewQuery(qint16 type);
    /// Stores the fields: name and subject are cut to what their fields hold, LastModified becomes now. The stored
    /// record becomes current, and EditMode empty.
    bool Update();
    /// Makes the record current again that was loaded or stored last; FindMessage has moved away from it.
    void ReturnToRecord();

    /// An entry of a list of templates.
    struct Name
    {
        QString name;
        qint64 id = 0; ///< MessageID; 0 in the empty entry
        qint16 type = 0;
    };
    /// The templates of a type by name, as the database has them now. @param type  as for BuildNewQuery.
    /// @param emptyFirst  an empty entry comes first.  @return false when that failed: `list` is as it was.
    bool LoadMessageNames(std::vector<Name>& list, qint16 type, bool emptyFirst = false) const;

    /// The open templates by name: MessageID, Type, Template, Subject, Body, AttachedFile, LastModified. Empty after a
    /// failure.
    [[nodiscard]] const clsRecordset* Templates() const { return m_templates.get(); }
    /// A name as it is stored: without blanks around it, and not longer than its field. @throws clsError
    [[nodiscard]] QString StoredName(const QString& name) const;
    /// Whether a name is that of the templates that cannot be deleted.
    [[nodiscard]] static bool IsDefault(const QString& name);
    /// The most characters of a subject. @throws clsError
    [[nodiscard]] int SubjectSize() const;

private:
    [[nodiscard]] std::unique_ptr<clsRecordset> Open(qint16 type) const;
    void Clear();
    void LoadCurrent();

    clsDatabase& m_database;
    std::unique_ptr<clsRecordset> m_templates;
    std::optional<clsBookmark> m_position; ///< of the record that was loaded or stored last
};
