// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsPortBox.h"

#include "data/clsRecordEditor.h"

clsPortBox::clsPortBox(QWidget* parent) : QSpinBox(parent)
{
    setRange(0, clsRecordEditor::MostPort);
}

QString clsPortBox::textFromValue(int value) const
{
    return value == 0 ? QString() : QSpinBox::textFromValue(value);
}

int clsPortBox::valueFromText(const QString& text) const
{
    return text.isEmpty() ? 0 : QSpinBox::valueFromText(text);
}

QValidator::State clsPortBox::validate(QString& input, int& position) const
{
    return input.isEmpty() ? QValidator::Acceptable : QSpinBox::validate(input, position);
}
