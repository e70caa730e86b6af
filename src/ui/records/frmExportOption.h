// SPDX-License-Identifier: GPL-3.0-or-later
// The small dialog that asks which links an export takes, and as what. It only collects the choice.
#pragma once

#include "publish/modLinksPage.h"

#include <QDialog>
#include <array>

class QComboBox;
class QRadioButton;

/// Caption "Export". A new one for each export: it begins with all links and the classic page.
class frmExportOption final : public QDialog
{
    Q_OBJECT

public:
    explicit frmExportOption(QWidget* parent = nullptr);

    /// Shows the dialog and waits. @return nothing when the user cancelled.
    static std::optional<modIO::ExportOptions> Ask(QWidget* parent);

    void done(int result) override;

private:
    enum Option : std::size_t
    {
        All = 0,
        NewOnly = 1,
        UserCanceled = 2, ///< never seen: it is set when the dialog was cancelled
    };

    std::array<QRadioButton*, 3> m_optExport{};
    QComboBox* m_pageStyle = nullptr;
};
