// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog that goes through text boxes and asks what to do about each word that is not in the dictionary.
#pragma once

#include "mail/modSpellWords.h"

#include <QDialog>
#include <QHash>

class QLineEdit;
class QListWidget;
class clsExplanation;
class clsSpellCheck;

class frmSpelling final : public QDialog
{
    Q_OBJECT

public:
    frmSpelling(clsSpellCheck& check, QWidget* parent);

    /// Goes to the first word that is wrong, from the start of the first box that is watched, and shows it; after that
    /// exec() goes on to the end of the last. @return false when there is none.
    bool Begin() { return Next(); }

private:
    enum Button
    {
        Ignore = 0,
        IgnoreAll = 1,
        AddToDictionary = 2,
        Change = 3,
        ChangeAll = 4,
        Close = 5
    };
    void ButtonPressed(int index);
    /// Goes to the next word that is wrong, and shows it. @return false at the end.
    bool Next();
    void ShowWord(const QString& text);
    void ChangeTo(const QString& replacement);

    clsSpellCheck& m_check;
    clsExplanation* m_lblContext;
    QLineEdit* m_txtChangeTo;
    QListWidget* m_lstSuggestions;
    std::size_t m_box = 0;
    qsizetype m_from = 0; ///< what lies before this has been looked at
    modSpellWords::Word m_place{};
    QString m_word;
    QHash<QString, QString> m_changeAll; ///< by the wrong word
};
