// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog that shows one message as it would be sent, and asks whether to send it.
#pragma once

#include <QDialog>

class QLineEdit;

/// Show it with exec(), then ask for the reply.
class frmPreview final : public QDialog
{
    Q_OBJECT

public:
    /// @param caption  empty: "Preview E-mail".  @param text  the whole of what is shown, to the letter.
    /// @param attachment  name and size of the attached file; empty: none.
    frmPreview(const QString& caption, const QString& text, const QString& attachment, QWidget* parent = nullptr);

    /// "1" to send, "2" not to send this one, "3" to send nothing more; "0" when the window was closed by its box.
    [[nodiscard]] QString Reply() const;

private:
    QLineEdit* m_txtReply;
};
