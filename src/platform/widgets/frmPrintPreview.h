// SPDX-License-Identifier: GPL-3.0-or-later
// The pages of a document on the screen, before they are printed.
#pragma once

#include <QDialog>
#include <functional>

class QLabel;
class QPrintPreviewWidget;
class QPrinter;
class QToolBar;

/// Shows what Make has painted; what is to be done with it is the caller's.
class frmPrintPreview final : public QDialog
{
    Q_OBJECT

public:
    enum class Choice
    {
        Close,
        Print,
        SavePdf,
        SetUp ///< and then a new preview
    };

    /// @param printer  is painted on; must outlive this.
    frmPrintPreview(QPrinter& printer, QWidget* parent);
    /// Paints the pages. @param print  on the printer; raises nothing.  @return what it returns.
    [[nodiscard]] bool Make(const std::function<bool()>& print);
    [[nodiscard]] Choice Chosen() const { return m_choice; }

private:
    void AddCommand(const char* name, const QString& text, const QKeySequence& key, const std::function<void()>& run);
    void Choose(Choice choice);
    void Turn(int pages);

    QPrintPreviewWidget* m_preview;
    QToolBar* m_bar;
    QLabel* m_place;
    Choice m_choice = Choice::Close;
};
