// SPDX-License-Identifier: GPL-3.0-or-later
// The list of messages that were sent to a link partner, and what the server said to each.
#pragma once

#include <QDialog>

class QTreeWidget;
class clsDatabase;

/// Caption "Mail History  [", the link's title, "]". Show it with exec().
class frmMailHistory final : public QDialog
{
    Q_OBJECT

public:
    frmMailHistory(clsDatabase& database, qint64 linkID, const QString& title, QWidget* parent = nullptr);

private:
    void Fill(clsDatabase& database, qint64 linkID);

    QTreeWidget* m_list;
};
