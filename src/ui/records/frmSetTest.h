// SPDX-License-Identifier: GPL-3.0-or-later
// The small dialog in which links are chosen for testing by their status. It only collects the choice.
#pragma once

#include <QDialog>
#include <array>

class QCheckBox;

/// Caption "Set Links for Testing". Show it with exec(), then read the choice.
class frmSetTest : public QDialog
{
    Q_OBJECT

public:
    enum class Choice
    {
        Select = 0,
        Unselect = 1,
        Cancel = 2
    };

    explicit frmSetTest(QWidget* parent = nullptr);

    /// Empty until a button is pressed; closing the window leaves Cancel.
    [[nodiscard]] QString UserChoice() const { return m_userChoice; }
    [[nodiscard]] Choice Chosen() const;
    /// Whether a status (0 to 5) is checked.
    [[nodiscard]] bool StatusToTest(int status) const;
    [[nodiscard]] bool SelectAllSites() const;

private:
    void ButtonPressed(int index);

    std::array<QCheckBox*, 6> m_statusToTest{};
    QCheckBox* m_selectAllSites = nullptr;
    QString m_userChoice;
};
