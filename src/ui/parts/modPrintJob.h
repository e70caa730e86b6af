// SPDX-License-Identifier: GPL-3.0-or-later
// Printing on paper, or into a PDF file where there is no printer.
#pragma once

#include <QString>
#include <functional>

namespace modPrintJob
{
/// Prints one document. @return whether it did.
using Job = std::function<bool()>;

/// Lets the user choose the printer and prints; without a printer offers a PDF file.
/// @param what  in the question: "the report".  @param fileName  offered for the PDF file; may hold what no file's name
/// may.  @return whether it was printed. @throws clsError DialogCancelled
bool OnPaper(const Job& job, const QString& what, const QString& fileName);
/// The same on the printer that is set up, which is not asked for.
bool OnUsualPrinter(const Job& job, const QString& what, const QString& fileName);
/// Asks for a PDF file and prints into it. @return whether it was written. @throws clsError DialogCancelled
bool IntoPdf(const Job& job, const QString& fileName);
} // namespace modPrintJob
