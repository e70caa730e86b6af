// SPDX-License-Identifier: GPL-3.0-or-later
// The report of a site on paper: its own settings, and below them its link partners as a table.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class clsDatabase;
class clsPrinter;

namespace modSiteReport
{
enum class Outcome
{
    Printed,
    Nothing,  ///< none of the sites was there, and nothing has been printed
    Cancelled ///< nothing has been printed either
};

/// Asked several times a second while the pages are made. @param done  of the whole, from 0 to 1.
/// @return false to cancel.
using Progress = std::function<bool(double done)>;

/// Whether the site is there; the user is told when it is not.
[[nodiscard]] bool Find(clsDatabase& database, const QString& siteID);
/// Prints the sites as one document, each from a new page with the number 1. A site that is missing is told to the user
/// and left out. Between the links the event loop gets its turn. @throws clsError
Outcome Print(clsDatabase& database, clsPrinter& printer, const QStringList& siteIDs, const Progress& progress = {});
} // namespace modSiteReport
