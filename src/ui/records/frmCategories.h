// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog in which the categories of every site are kept. Every change is written at once.
#pragma once

#include <QDialog>

class QComboBox;
class clsCategoryGrid;
class clsCategoryModel;
class clsDatabase;

/// Caption "Categories". Show it with exec(), then ask whether the main window is to show its categories anew.
class frmCategories final : public QDialog
{
    Q_OBJECT

public:
    explicit frmCategories(clsDatabase& database, QWidget* parent = nullptr);

    /// Whether categories of the main window's site have changed.
    [[nodiscard]] bool RefillMain() const { return m_refillMain; }

    /// Stays open while something that was typed cannot be written; not when the program is told to end.
    void done(int result) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    enum Button
    {
        Add = 0,
        Delete = 1,
        Close = 2
    };
    void FillSites(clsDatabase& database);
    void SiteChosen();
    void ButtonPressed(int index);
    void DeleteHighlighted();

    QComboBox* m_cboxSites;
    clsCategoryModel* m_categories;
    clsCategoryGrid* m_gridCategory;
    QString m_site; ///< the one whose categories are shown
    bool m_told = false;
    bool m_refillMain = false;
};
