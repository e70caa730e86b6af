// SPDX-License-Identifier: GPL-3.0-or-later
// What the editors of sites and of links share: controls bound to a record's fields, and the buttons that save the
// record, step to its neighbours and leave it. What may be saved and left is the record's to say.
#pragma once

#include "data/clsRecordEditor.h"

#include <QDialog>
#include <functional>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTabWidget;
class clsPortBox;

/// A value reaches the record only when its control is changed: what is only shown stays as it is stored, also where
/// the control cannot show it as it is. The window's size and place are not kept.
class clsRecordDialog : public QDialog
{
    Q_OBJECT

public:
    /// Leaves the record as Cancel does. Esc and the close box come here too. Does not ask when the program is told to
    /// end.
    void reject() override;

Q_SIGNALS:
    /// The record has been written and still is the one that is edited.
    void RecordSaved();
    /// Next or Prev has come to a record, perhaps to the same one.
    void RecordShown();

protected:
    /// What differs between the editors.
    struct Look
    {
        QString name;       ///< of the window, as an object
        QString caption;    ///< before the record's name
        QString buttonName; ///< of the buttons, before "_" and their index
        int helpTopic;
    };
    /// @param editor  has begun with a record; must outlive this.
    clsRecordDialog(clsRecordEditor& editor, Look look, QWidget* parent);
    ~clsRecordDialog() override;

    [[nodiscard]] clsRecordEditor& Editor() const { return m_editor; }

    // The window is built from these; each control is named and bound to its field at once.
    /// A new page of the tab control.
    QWidget* AddPage(const QString& caption);
    QLineEdit* Line(const QString& name, const QString& field);
    /// Lines in the database end in CR LF. @param lines  how many are seen at least.
    QPlainTextEdit* TextBox(const QString& name, const QString& field, int lines);
    /// Half checked when the field holds `halfChecked`, and only then can it be half checked again.
    QCheckBox* Check(const QString& caption, const QString& name, const QString& field, int halfChecked = -1);
    /// Entries carry the field's values as their data; without an entry of its value it shows the one without data, or
    /// none.
    QComboBox* List(const QString& name, const QString& field);
    clsPortBox* Port(const QString& name, const QString& field);
    /// Something that is only shown. @param show  called whenever a record is shown.
    void Shows(std::function<void()> show) { m_shows.push_back(std::move(show)); }

    /// The label of a control; red, bold and spoken as required when its field is.
    QLabel* LabelFor(QWidget* control, const QString& caption);
    /// The caption with a mnemonic that is none of `taken`, which it joins; without one when no letter is left.
    static QString WithMnemonic(const QString& caption, QString& taken);
    /// What the red labels mean.
    QLabel* Legend();
    // Rows at the end of a grid of five columns.
    /// A control that spans them all.
    void AddRow(QGridLayout& grid, QWidget* control, const QString& caption);
    /// An address with its button. @param index  of the button.  @param preview  its caption.
    void AddAddressRow(QGridLayout& grid, QLineEdit* address, const QString& caption, int index,
                       const QString& preview);
    // In a given row: the label in column 0 or 2, the control in the next one, or from there to the end.
    void AddField(QGridLayout& grid, QWidget* control, const QString& caption, int row, int column);
    /// The field IPAddress, which nobody has to fill in.
    void AddIPAddress(QGridLayout& grid, int row, int column, const QString& caption);
    /// A button of its own of a page. Its failures are reported.
    QPushButton* PageButton(const QString& caption, const QString& name, const std::function<void()>& press);
    /// When the pages are built: adds the rest, and shows the record. The Tab key goes through the controls in the
    /// order in which they have come into the layouts.
    void Begin();
    /// Shows the record's values, and its name in the caption.
    void ShowRecord();

    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum Button
    {
        OK = 0,
        Next = 1,
        Prev = 2,
        Cancel = 3,
        Apply = 4,
        Help = 5
    };
    struct Binding
    {
        QString field;
        QWidget* control;
    };
    void Bind(QWidget* control, const QString& name, const QString& field, std::function<void()> show);
    /// What a control's change does.
    void Enter(const QString& field, const QVariant& value);
    void ButtonPressed(int index);
    bool Save();
    void Move(clsRecordEditor::Step step);
    void FocusFault();
    void Colour();

    clsRecordEditor& m_editor;
    const Look m_look;
    QTabWidget* m_tabs;
    std::vector<Binding> m_bindings;
    std::vector<std::function<void()>> m_shows;
    std::vector<QLabel*> m_redLabels;
    bool m_showing = true; ///< the controls change by the program's hand: also while the window is being built
};
