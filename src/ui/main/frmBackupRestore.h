// SPDX-License-Identifier: GPL-3.0-or-later
// The window in which the database is copied to a folder of the user's choice, or a copy is put back in its place.
#pragma once

#include <QDialog>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QTreeWidget;

/// Caption "Backup/Restore Database". Show it with exec(), then ask whether it has done its work.
class frmBackupRestore final : public QDialog
{
    Q_OBJECT

public:
    explicit frmBackupRestore(QWidget* parent = nullptr);

    /// Whether a backup or a restore was made.
    [[nodiscard]] bool Completed() const { return m_completed; }

    /// While a copy is being made this stops it, and the window stays.
    void reject() override;

private:
    enum Mode
    {
        Backup = 0,
        Restore = 1
    };
    void SetMode(int mode);
    /// Shows a folder in the lists, and in the path that the user chooses unless it is being typed.
    void SetFolder(const QString& folder);
    void ShowFolder(const QString& folder);
    void ListDated();
    void Start();
    void SetWorking(bool working);
    bool ShowProgress(int percent);
    [[nodiscard]] QLineEdit& ChosenPath() const { return m_mode == Backup ? *m_toPath : *m_fromPath; }

    QButtonGroup* m_modes;
    QFormLayout* m_form;
    QTreeWidget* m_dated;
    QCheckBox* m_keepDated;
    QComboBox* m_drive1;
    QListWidget* m_dir1;
    QLineEdit* m_fromPath;
    QLineEdit* m_toPath;
    QLabel* m_lblBackup;
    QProgressBar* m_progress;
    QPushButton* m_buttonBR;
    QPushButton* m_close;
    Mode m_mode = Backup;
    bool m_working = false;
    bool m_stop = false;
    bool m_completed = false;
};
