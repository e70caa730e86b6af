// SPDX-License-Identifier: GPL-3.0-or-later
// The default printer, or a PDF file in its place.
#pragma once

#include <QString>

/// Text printing, line by line; a new page is begun when one is full. Lengths are twips (1440 to the inch).
/// Every operation raises clsError (DeviceUnavailable when there is no printer).
class clsPrinter
{
public:
    virtual ~clsPrinter() = default;
    /// Begins a document. @param left, top  margins in twips.
    virtual void StartDoc(const QString& title, int left, int top) = 0;
    /// Font of the lines to come. @param points  size in points.
    virtual void SetFont(const QString& family, double points, bool bold) = 0;
    /// Prints one line at the left margin and moves down by its height; an empty text moves down only.
    virtual void PrintLine(const QString& text) = 0;
    virtual void EndDoc() = 0;
    /// Prints into this PDF file instead of the printer; empty: the printer again.
    virtual void SetOutputFile(const QString& path) = 0;
};
