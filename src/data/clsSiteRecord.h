// SPDX-License-Identifier: GPL-3.0-or-later
// One of the user's sites being edited: a row of tblSites.
#pragma once

#include "data/clsRecordEditor.h"

class clsSiteRecord final : public clsRecordEditor
{
public:
    static constexpr int MessageTypeCount = 8;

    explicit clsSiteRecord(clsDatabase& database);

    /// Begins with the site of this key. @return false, with a warning, when there is none; false after an error.
    bool Open(const QString& siteID);
    /// Begins with a site that is added when it is saved: empty but for the defaults of new sites.
    /// @param siteID  a name that modSites::NameProblem has nothing against.
    bool OpenNew(const QString& siteID);

    /// The site's key, of a new one too.
    [[nodiscard]] QString Name() const override { return m_siteID; }
    /// The usual rules: links of both directions, no images.
    void SetDefaultRules();

    /// The field with the template of a message type. @param type  0-based.
    static QString TemplateField(int type);

protected:
    [[nodiscard]] std::optional<Refusal> Check() const override;
    [[nodiscard]] QHash<QString, QVariant> OwnValues() const override;
    /// The site becomes the selected one.
    void Shown() override;

private:
    QString m_siteID;
};
