// SPDX-License-Identifier: GPL-3.0-or-later
// Windows and their controls under a test's hands.
#pragma once

#include <QPointer>
#include <QtTest>
#include <QtWidgets> // tests look at controls of every kind
#include <functional>
#include <type_traits>

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
    QTest::mouseClick(&controlOf<QAbstractButton>(window, button), Qt::LeftButton);
}

inline void typeIn(const QWidget& window, const QString& line, const QString& text)
{
    auto& box = controlOf<QLineEdit>(window, line);
    box.selectAll();
    QTest::keyClicks(&box, text);
}

/// What boxes, lists and labels show, joined by "|".
inline QString shownIn(const QWidget& window, const QStringList& names)
{
    QStringList texts;
    for (const QString& name : names) {
        const auto& control = controlOf<QWidget>(window, name);
        QVariant text = control.property("currentText");
        for (const char* other : {"plainText", "text"})
            text = text.isValid() ? text : control.property(other);
        texts << text.toString();
    }
    return texts.join(u'|');
}

/// Does `work` in the dialog of this kind that opens next, and sees to its end. Deleting what it returns gives up.
template <typename Dialog = QDialog>
QPointer<QTimer> inNextDialog(const std::type_identity_t<std::function<void(Dialog&)>>& work)
{
    auto* timer = new QTimer(qApp);
    timer->callOnTimeout([timer, work] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible() || !dialog->isActiveWindow())
            return;
        timer->stop();
        timer->deleteLater();
        const QPointer<QDialog> shown = dialog;
        work(*dialog);
        // A letter with Alt presses its button for a moment first.
        if (QTest::qWaitFor([&] { return !shown || shown != QApplication::activeModalWidget(); }, 1000))
            return;
        QTest::qFail("the dialog did not close", __FILE__, __LINE__);
        shown->done(QDialog::Rejected);
    });
    timer->start(0);
    return timer;
}
