// SPDX-License-Identifier: GPL-3.0-or-later
// A box for the number of a TCP port that may be left empty.
#pragma once

#include <QSpinBox>

/// Holds 0 while it is empty.
class clsPortBox final : public QSpinBox
{
    Q_OBJECT

public:
    explicit clsPortBox(QWidget* parent = nullptr);

protected:
    [[nodiscard]] QString textFromValue(int value) const override;
    [[nodiscard]] int valueFromText(const QString& text) const override;
    QValidator::State validate(QString& input, int& position) const override;
};
