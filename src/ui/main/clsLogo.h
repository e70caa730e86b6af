// SPDX-License-Identifier: GPL-3.0-or-later
// The logo in the toolbar, which moves while a run is busy.
#pragma once

#include <QTimer>
#include <QWidget>

/// `Logo` and its `LogoTimer` in one: a picture that is animated between Start and Stop.
class clsLogo : public QWidget
{
    Q_OBJECT

public:
    explicit clsLogo(QWidget* parent = nullptr);
    void Start();
    void Stop();
    [[nodiscard]] bool Running() const { return m_timer.isActive(); }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QTimer m_timer; ///< LogoTimer
    int m_step = 0;
};
