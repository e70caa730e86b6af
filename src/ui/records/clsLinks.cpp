// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/clsLinks.h"

#include "data/clsLinkRecord.h"
#include "shell/modBrambury.h"
#include "ui/records/frmLinks.h"

clsLinks::clsLinks(clsDatabase& database, QWidget* owner) : m_database(database), m_owner(owner) {}

qint64 clsLinks::LinkProperties(qint64 linkID, modDataModel::StatusBounds bounds)
{
    const modBrambury::ProcessState& state = modBrambury::State();
    clsLinkRecord link(m_database, state.CurrentSite, state.Tests.MyLinkAtRecipSite);
    if (!(linkID == NewLink ? link.OpenNew(bounds) : link.Open(linkID, bounds)))
        return 0;
    frmLinks dialog(link, m_database, m_owner);
    qint64 shown = link.LinkID();
    connect(&dialog, &clsRecordDialog::RecordSaved, this, [&] {
        const bool added = shown == NewLink;
        shown = link.LinkID();
        Q_EMIT LinkSaved(shown, added);
    });
    connect(&dialog, &clsRecordDialog::RecordShown, this, [&] {
        if (shown == link.LinkID())
            return;
        shown = link.LinkID();
        Q_EMIT LinkShown(shown);
    });
    dialog.exec();
    return shown;
}
