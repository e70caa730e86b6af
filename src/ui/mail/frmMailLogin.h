// SPDX-License-Identifier: GPL-3.0-or-later
// How a site connects to its mail server: encryption and port, who logs in there, where the password is kept, and how
// fast messages may follow each other. Tries it out on the server.
#pragma once

#include "data/modMailSecrets.h"
#include "mail/modTokenCommand.h"

#include <QDialog>
#include <functional>
#include <vector>

class QButtonGroup;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;
class QTabWidget;
class clsExplanation;
class clsSiteRecord;
struct clsMailLogin;

/// What is entered reaches the record with OK, and the database, with its password, when the record is saved. Only what
/// was changed reaches it.
class frmMailLogin final : public QDialog
{
    Q_OBJECT

public:
    /// @param site  being edited; must outlive this.
    explicit frmMailLogin(clsSiteRecord& site, QWidget* parent = nullptr);

    void accept() override;
    /// While something is waited for, that is stopped first. Asks what is to become of changes.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* BuildLogin();
    QWidget* BuildAdvanced();
    QWidget* BuildTest();
    QSpinBox* Pace(const QString& name, const QString& field, int most, const QString& unit);
    void ShowRecord();
    /// All that can be typed or chosen by typing.
    [[nodiscard]] QStringList Entries() const;
    void SecurityChosen();
    void ShowPlaces();
    [[nodiscard]] modMailSecrets::Place ChosenPlace() const;
    [[nodiscard]] int Port() const;
    /// What cannot be taken as it stands. @return whether all can; the user has been told.
    [[nodiscard]] bool Check();
    /// Whether the user has entered the token command, rather than found it here.
    [[nodiscard]] bool CommandTyped() const;
    [[nodiscard]] modTokenCommand::Use Token() const;
    void TakeOver();
    void TestPressed();
    void Test();
    /// @return false when there is no password to test with; the user has been told.
    [[nodiscard]] bool Fill(clsMailLogin& login);
    /// Does something that waits: meanwhile only Stop and closing answer.
    void Waiting(const std::function<void()>& body);

    clsSiteRecord& m_site;
    QTabWidget* m_tabs;
    QWidget* m_loginPage = nullptr;
    QWidget* m_advancedPage = nullptr;
    QComboBox* m_cbSecurity = nullptr;
    QComboBox* m_cbPort = nullptr;
    QLineEdit* m_txtUser = nullptr;
    QLineEdit* m_txtPassword = nullptr;
    QButtonGroup* m_places = nullptr;
    clsExplanation* m_lblKeyring = nullptr;
    QLineEdit* m_txtTokenCommand = nullptr;
    QString m_tokenShown; ///< in it at first
    QStringList m_entriesShown;
    clsExplanation* m_lblAdvice = nullptr;
    QPlainTextEdit* m_txtReport = nullptr;
    QPushButton* m_buttonTest = nullptr;
    QPushButton* m_buttonOK = nullptr;
    std::vector<std::function<void()>> m_paces; ///< take the numbers of the pace over
    QString m_noKeyring;                        ///< why there is none; empty when there is
    bool m_looked = false;                      ///< for the keyring
    bool m_waiting = false;
    bool m_stopped = false;
    bool m_closing = false; ///< as soon as nothing is waited for any more
};
