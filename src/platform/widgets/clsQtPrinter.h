// SPDX-License-Identifier: GPL-3.0-or-later
// Documents on a printer, in a PDF file or in a preview, and the dialogs in which that is chosen and set up.
#pragma once

#include "platform/clsPrinter.h"

#include <QPageLayout>
#include <functional>
#include <memory>

class QPagedPaintDevice;
class QPrinter;
class QWidget;
class clsPagePainter;
class clsPdfFile;
class clsSettingsStore;

/// The set-up is kept in the section Print of the settings; what a print dialog chooses counts for one document.
class clsQtPrinter final : public clsPrinter
{
public:
    /// @param settings  null: nothing is set up, nor can be.  @param owner  of the dialogs.
    clsQtPrinter(clsSettingsStore* settings, std::function<QWidget*()> owner);
    ~clsQtPrinter() override;

    void StartDoc(const QString& title, int left, int top) override;
    void SetFooter(const QString& text) override;
    void SetFont(const QString& family, double points, bool bold) override;
    void PrintLine(const QString& text) override;
    void PrintField(const QString& label, const QString& value) override;
    void StartTable(const std::vector<Column>& columns) override;
    void PrintRow(const QStringList& cells) override;
    void EndTable() override;
    void RestartPages() override;
    void EndDoc() override;
    void CancelDoc() noexcept override;

    void SetOutputFile(const QString& path) override { m_outputFile = path; }
    [[nodiscard]] bool Available() const override;
    [[nodiscard]] bool AskPrinter() override;
    [[nodiscard]] Choice Preview(const std::function<bool()>& print) override;
    void SetUp() override;

private:
    [[nodiscard]] clsPagePainter& Pages() const;
    [[nodiscard]] std::unique_ptr<QPrinter> SetUpPrinter() const;
    [[nodiscard]] QPageLayout StoredLayout(const QPageLayout& standard) const;
    /// @param chosen  empty: the one that is set up.
    void OpenPrinter(std::unique_ptr<QPrinter> chosen, const QString& title);
    void OpenPdf(const QString& path, const QString& title, const QPageLayout& layout);
    void NextPage(QPagedPaintDevice& device) const;

    clsSettingsStore* m_settings;
    std::function<QWidget*()> m_owner;
    QString m_outputFile;
    std::unique_ptr<QPrinter> m_chosen; ///< for the next document, by a print dialog
    QPrinter* m_shown = nullptr;        ///< of the preview that is being made

    // The open document: what is painted on goes after what paints, and the file after what writes to it.
    std::unique_ptr<clsPdfFile> m_file;
    std::unique_ptr<QPagedPaintDevice> m_device; ///< empty for a preview
    std::unique_ptr<clsPagePainter> m_pages;
};
