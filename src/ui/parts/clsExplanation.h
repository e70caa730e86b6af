// SPDX-License-Identifier: GPL-3.0-or-later
// A few sentences in a dialog, wrapped, and never cut off.
#pragma once

#include <QLabel>

/// Sees to its own height: forms and pages do not ask a wrapped text how high it gets at the width that they give it.
class clsExplanation final : public QLabel
{
    Q_OBJECT

public:
    explicit clsExplanation(const QString& text, QWidget* parent = nullptr);
    /// Another text, of another height.
    void Tell(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void TakeHeight();
};
