// SPDX-License-Identifier: GPL-3.0-or-later
// Windows and their controls under a test's hands.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

/// The control of this name; there must be one.
template <typename Control> Control& controlOf(const QWidget& window, const QString& name)
{
    auto* control = window.findChild<Control*>(name);
    if (!control)
        qFatal("no control %s", qPrintable(name));
    return *control;
}

/// Presses a button as the mouse does.
inline void clickIn(const QWidget& window, const QString& button)
{
    QTest::mouseClick(&controlOf<QPushButton>(window, button), Qt::LeftButton);
}

/// Does `work` in the dialog that opens next, and sees to its end.
inline void inNextDialog(const std::function<void(QDialog&)>& work)
{
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, work] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer->stop();
        timer->deleteLater();
        work(*dialog);
        if (dialog != QApplication::activeModalWidget())
            return;
        QTest::qFail("the dialog did not close", __FILE__, __LINE__);
        dialog->reject();
    });
    timer->start(0);
}
