// SPDX-License-Identifier: GPL-3.0-or-later
// A record under the user's hands: what has been typed so far, and the rules by which it is checked, saved, left and
// stepped away from. A dialog only moves values between its controls and this; the command line does without a dialog.
#pragma once

#include "platform/clsDatabase.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class clsRecordEditor
{
public:
    enum class Kind
    {
        Text,   ///< a text; empty is stored as the empty text
        Number, ///< a whole number, or Null
        Port,   ///< a TCP port, 1 to 65535; Null while none is given
        Switch  ///< 1 or 0
    };
    static constexpr int MostPort = 65535;
    /// A field that is edited.
    struct Field
    {
        QString name;
        Kind kind = Kind::Text;
        QString missing; ///< how a message calls it when it is required and empty, with a blank before; empty: optional
    };
    enum class Step
    {
        Next,
        Previous
    };
    enum class Saved
    {
        Yes,
        Refused, ///< a value does not pass; the user has been told, FieldAtFault says which
        Failed   ///< the error has been reported, or the record is gone; nothing was written
    };

    virtual ~clsRecordEditor();
    clsRecordEditor(const clsRecordEditor&) = delete;
    clsRecordEditor& operator=(const clsRecordEditor&) = delete;

    [[nodiscard]] const std::vector<Field>& Fields() const { return m_fields; }
    /// The field of this name, letter case ignored; null when it is none of those that are edited.
    [[nodiscard]] const Field* FieldNamed(const QString& name) const;
    /// A text field's size in characters, 0: unlimited.
    [[nodiscard]] int Size(const QString& field) const;

    /// A field as it stands now, edited or only shown. Null is an invalid QVariant.
    [[nodiscard]] QVariant Value(const QString& field) const { return m_values.value(field); }
    [[nodiscard]] QString Text(const QString& field) const;
    [[nodiscard]] bool On(const QString& field) const { return Value(field).toInt() != 0; }
    /// What the user has entered; the record counts as changed from now on, until it is saved or another one is shown.
    void SetValue(const QString& field, const QVariant& value);
    /// The same for a value written as text. @return why it cannot be: a sentence; empty when it was taken.
    [[nodiscard]] QString Assign(const Field& field, const QString& text);

    [[nodiscard]] bool Changed() const { return m_changed; }
    /// Not in the table yet.
    [[nodiscard]] bool IsNew() const { return m_new; }
    /// What a caption calls the record.
    [[nodiscard]] virtual QString Name() const = 0;

    /// Checks every value, in the fixed order, and writes the record.
    Saved Save();
    /// The field that the last attempt to save or leave was refused for; empty when it was not.
    [[nodiscard]] const QString& FieldAtFault() const { return m_fault; }
    /// May this record be left? Asks when there is something unsaved; saves when the user says so.
    bool MayLeave();
    /// Leaves this record for its neighbour, if it may be left. @return whether the values are to be shown anew; at
    /// either end they are those of the same record, and the user has been told.
    bool Move(Step step);

    /// Called whenever the record has been written, while it still is the one under the user's hands.
    void OnSaved(std::function<void()> follow) { m_onSaved = std::move(follow); }

    /// "Could not locate this record's properties." and what to do about it.
    static QString MissingRecordText();

protected:
    /// A value that does not pass.
    struct Refusal
    {
        QString text;
        QString field;
    };

    /// @param table  the table whose record is edited.
    clsRecordEditor(clsDatabase& database, QString table, std::vector<Field> fields);

    /// What is wrong with the values beyond what is missing; the first thing only.
    [[nodiscard]] virtual std::optional<Refusal> Check() const = 0;
    /// Fields that the program fills in by itself whenever it saves.
    [[nodiscard]] virtual QHash<QString, QVariant> OwnValues() const = 0;
    /// A record has come under the user's hands, or a new one has been written.
    virtual void Shown() {}
    /// Every value has passed: what has to be done elsewhere before the record is written. @return why it cannot be.
    [[nodiscard]] virtual std::optional<Refusal> Prepare() { return std::nullopt; }
    /// What Prepare did is to be kept, or undone. @param written  whether the record was.
    virtual void Ended(bool /*written*/) {}

    /// Shows the user MissingRecordText.
    static void TellMissing();
    /// Shows the current record of `records`. @return false, with a warning, when it is not there any more.
    bool Begin(std::unique_ptr<clsRecordset> records);
    /// Begins with a record that does not exist yet. @param records  its later neighbours.
    void BeginNew(std::unique_ptr<clsRecordset> records, QHash<QString, QVariant> values);
    /// The same for another record of the set that is open, without a question. @throws clsError NoCurrentRecord
    bool BeginAt(clsBookmark bookmark);
    void BeginNew(QHash<QString, QVariant> values);
    [[nodiscard]] clsRecordset& Records() const { return *m_records; }
    [[nodiscard]] clsDatabase& Database() const { return m_database; }

    // Checks that sites and partners share.
    /// The e-mail address and those of the pages, as far as they are given.
    [[nodiscard]] std::optional<Refusal> CheckAddresses() const;
    [[nodiscard]] std::optional<Refusal> CheckImageFile() const;

private:
    [[nodiscard]] std::optional<Refusal> CheckMissing() const;
    [[nodiscard]] std::optional<Refusal> CheckSizes() const;
    /// Takes over the current record's values. @return false, and nothing is changed, when it is not there any more.
    bool Read();
    /// The same, and a warning then.
    bool ReadOrTell();
    /// @return false when the record is not there any more. @param written  set once it was, whatever follows.
    bool Write(bool& written);

    clsDatabase& m_database;
    const QString m_table;
    const std::vector<Field> m_fields;
    std::unique_ptr<clsRecordset> m_records;
    QHash<QString, QVariant> m_values;
    QHash<QString, QVariant> m_stored; ///< the values as they were read
    QString m_fault;
    std::function<void()> m_onSaved;
    bool m_changed = false;
    bool m_new = false;
};
