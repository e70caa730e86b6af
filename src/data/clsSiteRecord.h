// SPDX-License-Identifier: GPL-3.0-or-later
// One of the user's sites being edited: a row of tblSites.
#pragma once

#include "data/clsRecordEditor.h"
#include "data/modMailSecrets.h"

class clsSiteRecord final : public clsRecordEditor
{
public:
    static constexpr int MessageTypeCount = 8;
    /// Of a mail server whose site names no port.
    static constexpr int UsualMailPort = 25;

    explicit clsSiteRecord(clsDatabase& database);
    ~clsSiteRecord() override;

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

    // The password of its mail server's log-in. What is entered here takes its place when the record is saved.
    /// Where it is kept, or will be.
    [[nodiscard]] modMailSecrets::Place MailSecretPlace() const;
    /// The password entered, else the one that is kept; empty when there is neither. @throws clsError
    [[nodiscard]] std::optional<QByteArray> MailSecret() const;
    /// @param place  not Nowhere.
    void SetMailSecret(modMailSecrets::Place place, const QByteArray& secret);
    /// None is to be kept.
    void ForgetMailSecret();

protected:
    [[nodiscard]] std::optional<Refusal> Check() const override;
    [[nodiscard]] QHash<QString, QVariant> OwnValues() const override;
    /// The site becomes the selected one.
    void Shown() override;
    [[nodiscard]] std::optional<Refusal> Prepare() override;
    void Ended(bool written) override;

private:
    struct Secret
    {
        modMailSecrets::Place place = modMailSecrets::Place::Nowhere; ///< Nowhere: it is to be forgotten
        QByteArray bytes;
    };
    void DropSecret();
    [[nodiscard]] std::optional<Refusal> CheckMail() const;

    QString m_siteID;
    std::optional<Secret> m_secret; ///< what has been entered since the record was shown
    QString m_keyBefore;            ///< while it is being saved
};
