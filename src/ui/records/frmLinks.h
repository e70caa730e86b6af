// SPDX-License-Identifier: GPL-3.0-or-later
// The editor of a link partner of the selected site.
#pragma once

#include "ui/records/clsRecordDialog.h"

class clsLinkRecord;

/// Caption "Link Properties  [", the link's title, "]".
class frmLinks final : public clsRecordDialog
{
    Q_OBJECT

public:
    /// @param link  has begun with a link or a new one; must outlive this.  @param database  of the categories.
    frmLinks(clsLinkRecord& link, clsDatabase& database, QWidget* parent = nullptr);

private:
    void BuildGeneral(clsDatabase& database);
    void BuildComments(clsDatabase& database);
    [[nodiscard]] QWidget* Information(clsDatabase& database);
    [[nodiscard]] QWidget* Results();
    void Stamp(QPlainTextEdit& comments);
};
