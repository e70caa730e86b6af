// SPDX-License-Identifier: GPL-3.0-or-later
// A temporary program folder with a real encrypted database made from the shipped statements.
#pragma once

#include "platform/clsDatabase.h"

#include <QHash>
#include <QString>
#include <QTemporaryDir>
#include <memory>

/// Field names and values of a record to be added; what is not named keeps its default.
using clsRecordValues = QHash<QString, QVariant>;

class clsTestInstallation
{
public:
    enum class Content
    {
        Empty,
        Sample
    };

    explicit clsTestInstallation(Content content = Content::Empty);

    /// The program folder; holds Data/. Without a final separator.
    [[nodiscard]] QString Folder() const { return m_folder.path(); }
    /// The setting DataPath of this installation, with its final separator.
    [[nodiscard]] QString DataPath() const { return Folder() + QStringLiteral("/Data/"); }
    [[nodiscard]] QString DatabasePath() const { return DataPath() + QStringLiteral("Bramdat.mdb"); }

    /// Opens the database in a session of its own, as another program would. Keep the session as long as the database.
    struct Opened
    {
        std::unique_ptr<clsWorkspace> workspace;
        std::unique_ptr<clsDatabase> database;
        clsDatabase* operator->() const { return database.get(); }
        clsDatabase& operator*() const { return *database; }
    };
    [[nodiscard]] Opened Open() const;

    /// Adds a site that has what a run needs; `values` come on top.
    static void AddSite(clsDatabase& database, const QString& siteID, const clsRecordValues& values = {});
    /// An Active link with nothing but its title; `values` come on top. @return its ID.
    static qint64 AddLink(clsDatabase& database, const QString& siteID, const QString& title,
                          const clsRecordValues& values = {});
    /// @return the new category's ID.
    static qint64 AddCategory(clsDatabase& database, const QString& siteID, const QString& category);
    /// Adds `count` links to a site in one transaction, in all statuses, titled "Partner nnnnnn" in no order.
    static void AddLinks(clsDatabase& database, const QString& siteID, int count);
    /// One field of the link with this ID.
    static QVariant LinkField(clsDatabase& database, qint64 id, const QString& field);

    /// The files of statements, in the order in which they are run.
    static QStringList Statements(Content content);

private:
    QTemporaryDir m_folder;
};
