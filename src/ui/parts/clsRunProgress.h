// SPDX-License-Identifier: GPL-3.0-or-later
// How far a run is: a slim bar, "12 of 40", and the time it has taken.
#pragma once

#include <QTimer>
#include <QWidget>
#include <chrono>

class QLabel;
class QProgressBar;

/// Invisible while nothing runs. Brought up to date a few times a second at most, however fast the run is.
class clsRunProgress : public QWidget
{
    Q_OBJECT

public:
    explicit clsRunProgress(QWidget* parent = nullptr);
    void Start();
    void Stop();
    void Show(qint64 done, qint64 total);
    /// The run waits of its own accord. @param left  zero: it goes on.
    void ShowWait(std::chrono::milliseconds left, const QString& why);
    /// "12 of 40, 1:05"; without a total the time only.
    [[nodiscard]] static QString Text(qint64 done, qint64 total, std::chrono::seconds elapsed);

private:
    void Refresh();

    QProgressBar* m_bar;
    QLabel* m_label;
    QTimer m_timer;
    std::chrono::milliseconds m_start{0};
    qint64 m_done = 0;
    qint64 m_total = 0;
    QString m_wait;
};
