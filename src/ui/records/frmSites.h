// SPDX-License-Identifier: GPL-3.0-or-later
// The editor of one of the user's own sites.
#pragma once

#include "ui/records/clsRecordDialog.h"

class clsSiteRecord;

/// Caption "Site Properties  [", the site's name, "]".
class frmSites final : public clsRecordDialog
{
    Q_OBJECT

public:
    /// @param site  has begun with a site or a new one; must outlive this.  @param database  of the templates.
    frmSites(clsSiteRecord& site, clsDatabase& database, QWidget* parent = nullptr);

private:
    void BuildGeneral();
    void BuildTemplates(clsDatabase& database);
    void BuildRules();
    void BuildHTML();
    void EditLogin();

    clsSiteRecord& m_site;
};
