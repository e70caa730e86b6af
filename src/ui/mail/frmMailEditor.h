// SPDX-License-Identifier: GPL-3.0-or-later
// The window in which the message templates are written and kept.
#pragma once

#include "mail/clsMailTemplate.h"

#include <QDialog>
#include <array>

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenuBar;
class QPlainTextEdit;
class QPushButton;
class clsDatabase;
class clsElidedLabel;
class clsSpellCheck;

/// Caption "E-mail Templates". Show it with exec(). It starts with a new template, and asks for its type.
class frmMailEditor final : public QDialog
{
    Q_OBJECT

public:
    /// @param database  must outlive this.
    explicit frmMailEditor(clsDatabase& database, QWidget* parent = nullptr);

    /// Shows a template instead, unless the user wants to keep what is there.
    void Open(qint64 messageID);
    /// Closes the window, unless the user wants to keep what has been changed.
    void reject() override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// The commands, in the order of the menus.
    enum Command
    {
        New,
        OpenTemplate,
        Save,
        SaveAs,
        Delete,
        Print,
        PrintSetup,
        Exit,
        AttachFile,
        RemoveAttachment,
        Undo,
        CheckSpelling,
        Help,
        CommandCount
    };
    void BuildCommands();
    QWidget* BuildToolbar();
    QMenuBar* BuildMenus();
    QWidget* BuildAttachment();
    void BuildTexts();
    void FillTypes();
    void Do(Command command);

    [[nodiscard]] bool MayLeave();
    void TypeChosen();
    void NameChosen();
    void NewTemplate();
    /// @param mode  "New" or "Copy": a name is asked for; empty: the template is stored under the one it has.
    bool Store(const QString& mode);
    /// Asks for a name and sets EditMode and Template for it. @return false when the user thinks better of it.
    bool AskName(const QString& mode);
    void DeleteTemplate();
    void PrintTemplate();
    void Attach();
    void UndoChanges();
    void Spell();
    void InsertFieldTag();
    /// Where the caret or the selection of the subject is.
    void RememberSubject();

    void Show(qint64 messageID);
    /// What happens to the texts: those of a template that was just stored stay, and with them what can be undone.
    enum class Texts
    {
        Fill,
        Keep
    };
    /// Fills the controls from the template object.
    void ShowFields(Texts texts);
    void ShowAttachment();
    void ShowNew();
    void LoadNames();
    void DropDown(QComboBox& list);
    void Changed();

    clsDatabase& m_database;
    clsMailTemplate m_template;
    clsSpellCheck* m_spelling;
    std::array<QAction*, CommandCount> m_commands{};
    QComboBox* m_templateType;
    QComboBox* m_templateName;
    QLineEdit* m_tSubject;
    QPlainTextEdit* m_tBody;
    QPushButton* m_attachButton = nullptr;
    QPushButton* m_removeAttachButton = nullptr;
    std::array<clsElidedLabel*, 3> m_lblFileInfo{};
    QLabel* m_lblLastModified;
    qint16 m_type = 0;    ///< the type that is chosen; 0: none yet
    bool m_begun = false; ///< the window has had the keyboard
    QString m_attachment; ///< path as it would be stored
    bool m_inBody = true; ///< which of the two texts had the focus last
    qsizetype m_subjectFrom = 0;
    qsizetype m_subjectTo = 0;
    bool m_loading = false;
};
