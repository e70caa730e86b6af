// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog in which a field tag is chosen.
#pragma once

#include <QDialog>
#include <memory>

class QTableView;
class clsDatabase;
class clsRecordset;

/// Caption "Field Tags". Show it with exec(), then ask for the tag.
class frmFieldTags final : public QDialog
{
    Q_OBJECT

public:
    explicit frmFieldTags(clsDatabase& database, QWidget* parent = nullptr);
    ~frmFieldTags() override;

    /// The tag of the row that was chosen; empty when none was.
    [[nodiscard]] QString FieldTag() const;

private:
    enum Button
    {
        Insert = 0,
        Close = 1
    };
    std::unique_ptr<clsRecordset> m_tags;
    QTableView* m_fieldTagGrid;
};
