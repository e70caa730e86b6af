// SPDX-License-Identifier: GPL-3.0-or-later
// The Link Harvest Wizard: the links of a web page or of a file become links of a site.
#pragma once

#include "publish/clsHarvest.h"

#include <QWizard>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class clsHarvestList;
class clsRunProgress;

/// Show it with exec(). Nothing is written before "Finish".
class frmImportWizard final : public QWizard
{
    Q_OBJECT

public:
    /// In their order.
    enum Page : int
    {
        Source,  ///< site, address and filters
        Summary, ///< what will be done
        Harvest, ///< under way; nobody stays here
        List,    ///< the links to choose from
        Result   ///< what will be written
    };

    explicit frmImportWizard(clsHarvest::Collaborators collaborators, QWidget* parent = nullptr);

    bool validateCurrentPage() override;
    /// Asks, unless the program is told to end. A harvest that is under way is stopped first.
    void reject() override;

protected:
    void initializePage(int id) override;

private:
    QWizardPage* MakeSourcePage();
    QWizardPage* MakeSummaryPage();
    QWizardPage* MakeHarvestPage();
    QWizardPage* MakeListPage();
    QWizardPage* MakeResultPage();
    void AddPage(Page id, QWizardPage* page, const QString& title);
    void NameButtons();
    void PageShown(int id);
    void FillSites();
    /// @return whether the address can be harvested; the user has been told why not.
    bool TakeWish();
    /// Lets the user choose a file instead of an address.
    void ChooseFile();
    void RunHarvest();

    clsHarvest::Collaborators m_with;
    clsHarvest m_harvest;
    QComboBox* m_comboSiteList = nullptr;
    QLineEdit* m_txtURL = nullptr;
    QCheckBox* m_filterDuplicates = nullptr;
    QCheckBox* m_filterBaseURL = nullptr;
    QPlainTextEdit* m_summary = nullptr;
    QPlainTextEdit* m_address = nullptr;
    clsRunProgress* m_progress = nullptr;
    clsHarvestList* m_list = nullptr;
    QLabel* m_result = nullptr;
    bool m_begin = false;      ///< the harvest page has been come to from before
    bool m_harvesting = false; ///< a run is under way
    bool m_leaving = false;    ///< the wizard closes when the run has returned
};
