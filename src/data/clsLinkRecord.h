// SPDX-License-Identifier: GPL-3.0-or-later
// A link partner of the selected site being edited: a row of tblLinkList.
#pragma once

#include "data/clsRecordEditor.h"
#include "data/modDataModel.h"

class QDateTime;

class clsLinkRecord final : public clsRecordEditor
{
public:
    /// The links that belong to `siteID`. @param testsMyLink  the site tests for its link on the partners' pages.
    clsLinkRecord(clsDatabase& database, QString siteID, bool testsMyLink);

    /// Begins with a link of the site. @param bounds  of the status view whose links are its neighbours.
    /// @return false, with a warning, when the view does not hold it; false after an error.
    bool Open(qint64 linkID, modDataModel::StatusBounds bounds);
    /// Begins with a link that is added when it is saved: an offer that nobody has made yet.
    bool OpenNew(modDataModel::StatusBounds bounds);
    /// Whether a link is among the neighbours of the one that was opened.
    [[nodiscard]] bool Holds(qint64 linkID) const { return Records().PositionOf(linkID) >= 0; }
    /// Goes on to one of the neighbours, or to another new link. What has been typed and not saved is dropped.
    /// @return false, with a warning, when it is not there any more; false after an error.
    bool GoTo(qint64 linkID);
    void GoToNew();

    /// 0 while the link has not been saved.
    [[nodiscard]] qint64 LinkID() const { return Value(QStringLiteral("ID")).toLongLong(); }
    /// The title.
    [[nodiscard]] QString Name() const override { return Text(QStringLiteral("Title")); }

    /// The failures of a test result, highest code first, one numbered line each, lines separated by CR LF. Empty for
    /// a result that names no failure.
    static QString ResultsText(int results);
    /// Comments with a stamp of the time at their end: "Entry;  Monday, January 5, 2026 - 03:07 PM:  ".
    static QString Stamped(const QString& comments, const QDateTime& now);

protected:
    [[nodiscard]] std::optional<Refusal> Check() const override;
    [[nodiscard]] QHash<QString, QVariant> OwnValues() const override;

private:
    const QString m_siteID;
    const bool m_testsMyLink;
};
