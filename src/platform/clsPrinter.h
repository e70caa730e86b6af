// SPDX-License-Identifier: GPL-3.0-or-later
// Pages of text: on the printer, in a PDF file in its place, or on the screen for a look before they are printed.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

/// Text printing from top to bottom; a new page is begun when one is full. Lengths are twips (1440 to the inch). What
/// is too wide for its place goes on in the next line, and line feeds inside a text begin a new one. Every operation
/// raises clsError: DeviceUnavailable when there is no printer, for a PDF file what is wrong with it.
class clsPrinter
{
public:
    /// A column of a table.
    struct Column
    {
        QString heading;
        int share = 1; ///< of the width, in proportion to the other columns
    };
    /// What the user made of a preview.
    enum class Choice
    {
        Close, ///< nothing is to be printed
        Print,
        SavePdf
    };
    /// In place of a margin: the one that the user has set up.
    static constexpr int MarginOfSetUp = -1;

    virtual ~clsPrinter() = default;

    /// Begins a document; one that was left open is dropped. @param left, top  margins in twips, or MarginOfSetUp; the
    /// right and the bottom one are as wide, or those of the set-up.
    virtual void StartDoc(const QString& title, int left, int top) = 0;
    /// From the next page on, which is the first when nothing is printed yet, each page has `text` at its foot, and
    /// "Page No: " with its number.
    virtual void SetFooter(const QString& text) = 0;
    /// Font of what is to come. @param points  size in points.
    virtual void SetFont(const QString& family, double points, bool bold) = 0;
    /// Prints one line at the left margin and moves down by its height; an empty text moves down only.
    virtual void PrintLine(const QString& text) = 0;
    /// Prints a bold label and beside it the value, whose further lines stand below its first one.
    virtual void PrintField(const QString& label, const QString& value) = 0;
    /// The rows to come are those of a table, whose headings stand above them on every page.
    virtual void StartTable(const std::vector<Column>& columns) = 0;
    /// A row is on one page, unless it is higher than one. @param cells  one for each column.
    virtual void PrintRow(const QStringList& cells) = 0;
    /// Ends the table; one without rows has its headings all the same.
    virtual void EndTable() = 0;
    /// What follows begins a page that has the number 1.
    virtual void RestartPages() = 0;
    virtual void EndDoc() = 0;
    /// Drops the document: a PDF file stays as it was, or away.
    virtual void CancelDoc() noexcept = 0;

    /// Prints into this PDF file instead of the printer; empty: the printer again. A file that exists is replaced when
    /// the document ends.
    virtual void SetOutputFile(const QString& path) = 0;
    /// Whether there is something to print on.
    [[nodiscard]] virtual bool Available() const = 0;
    /// Asks how the next document is to be printed: printer, copies, paper. @return false when the user cancels.
    [[nodiscard]] virtual bool AskPrinter() = 0;
    /// Shows what would be printed. @param print  prints one document, each time it is called, and raises nothing;
    /// returns false when there is nothing to be shown.
    [[nodiscard]] virtual Choice Preview(const std::function<bool()>& print) = 0;
    /// Lets the user set up printer and page for all documents to come, in this run of the program and the next ones.
    virtual void SetUp() = 0;
};

/// A document that is dropped unless it is ended.
class clsPrintDocument
{
public:
    clsPrintDocument(clsPrinter& printer, const QString& title, int left, int top) : m_printer(&printer)
    {
        printer.StartDoc(title, left, top);
    }
    ~clsPrintDocument()
    {
        if (m_printer)
            m_printer->CancelDoc();
    }
    clsPrintDocument(const clsPrintDocument&) = delete;
    clsPrintDocument& operator=(const clsPrintDocument&) = delete;
    void End()
    {
        m_printer->EndDoc();
        m_printer = nullptr;
    }

private:
    clsPrinter* m_printer;
};
