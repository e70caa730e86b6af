// SPDX-License-Identifier: GPL-3.0-or-later
// A label of one line that gives way where there is no room for the whole of it.
#pragma once

#include <QLabel>

/// Ends in an ellipsis when it is too narrow, and tells the rest in its tool tip where it has none of its own. Plain
/// text without a mnemonic, also with a buddy.
class clsElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit clsElidedLabel(const QString& text = {}, QWidget* parent = nullptr);
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
};
