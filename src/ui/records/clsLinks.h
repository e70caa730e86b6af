// SPDX-License-Identifier: GPL-3.0-or-later
// Where the rest of the program opens the editor of a link.
#pragma once

#include "data/modDataModel.h"

#include <QObject>

class QWidget;
class clsDatabase;

class clsLinks final : public QObject
{
    Q_OBJECT

public:
    /// @param database  must outlive this.  @param owner  the window that the editor belongs to; may be null.
    explicit clsLinks(clsDatabase& database, QWidget* owner = nullptr);

    /// For a link of the selected site that does not exist yet.
    static constexpr qint64 NewLink = 0;
    /// Opens the editor and returns when it has been closed.
    /// @param linkID  of a link of the selected site, or NewLink.
    /// @param bounds  of the status view whose links are its neighbours.
    /// @return the ID of the link shown last, 0 when there is none: not found, or a new one that was not saved.
    qint64 LinkProperties(qint64 linkID, modDataModel::StatusBounds bounds);

Q_SIGNALS:
    /// The editor is open still. Added says whether the link has just been added.
    void LinkSaved(qint64 linkID, bool added);
    /// Next or Prev has come to another link.
    void LinkShown(qint64 linkID);

private:
    clsDatabase& m_database;
    QWidget* m_owner;
};
