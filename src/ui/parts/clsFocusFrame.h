// SPDX-License-Identifier: GPL-3.0-or-later
// A line around a text that is only read while the keyboard is for it.
#pragma once

#include <QWidget>

class QAbstractScrollArea;

/// For texts whose caret or link may be scrolled out of sight, or that have none. Lies over the text, and belongs to
/// it; the mouse goes through.
class clsFocusFrame final : public QWidget
{
    Q_OBJECT

public:
    explicit clsFocusFrame(QAbstractScrollArea& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QAbstractScrollArea& m_text;
};
