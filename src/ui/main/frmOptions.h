// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog in which the user sets how the program behaves, what new sites begin with, and the message types.
#pragma once

#include "shell/modBrambury.h"

#include <QDialog>
#include <array>
#include <functional>
#include <vector>

class QCheckBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTabWidget;
class clsDatabase;

/// Caption "Program Options". Show it with exec(). "&OK" and "&Apply" save settings and message types at once, so
/// whatever shows either has to look again afterwards, however the dialog was left.
class frmOptions final : public QDialog
{
    Q_OBJECT

public:
    explicit frmOptions(clsDatabase& database, QWidget* parent = nullptr);

    /// Asks about changes that have not been saved, unless the program is told to end.
    void reject() override;

private:
    static constexpr std::size_t TypeCount = 8;
    enum Button
    {
        OK = 0,
        Cancel = 1,
        Apply = 2,
        Help = 3,
        Browse = 4,
        Play = 5
    };

    QWidget* BuildGeneral();
    QGroupBox* BuildProgramOptions();
    QGroupBox* BuildMailOptions();
    QWidget* BuildDefaults();
    QWidget* BuildTypes();
    QLayout* BuildButtons();
    QPushButton* MakeButton(Button index, const QString& caption);
    /// A check box that shows a setting.
    QCheckBox* Option(const QString& caption, QString clsProgramSettings::*flag);
    /// A box that shows a default of new sites. @param field  of the sites' table, which limits its size.
    QLineEdit* Default(const QString& name, QString clsProgramSettings::*text, const QString& field);
    QSpinBox* Number(const QString& name, int least, int most, int value);

    void Changed();
    void ShowTypes();
    [[nodiscard]] std::vector<modBrambury::MessageType> Types() const;
    void ButtonPressed(int index);
    bool Save();
    void BrowseSound();
    void PlaySound() const;

    clsDatabase& m_database;
    QTabWidget* m_tabs;
    std::vector<QCheckBox*> m_options;                                 ///< ProgramOpt
    std::vector<std::function<void(clsProgramSettings&)>> m_takeBacks; ///< put what a control shows into its setting
    QLineEdit* m_audioFile = nullptr;
    std::array<QLineEdit*, TypeCount> m_titles{};
    std::array<QCheckBox*, TypeCount> m_offers{};
    bool m_showing = true; ///< the controls change by the program's hand
    bool m_changed = false;
};
