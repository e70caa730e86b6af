// SPDX-License-Identifier: GPL-3.0-or-later
// The bar of the program's main commands.
#pragma once

#include <QToolBar>

/// Shows every button whatever the width: captions become smaller and then go, before a button does.
class clsCommandBar : public QToolBar
{
    Q_OBJECT

public:
    explicit clsCommandBar(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void ChooseLook();
    [[nodiscard]] int WantedWidth() const;

    bool m_choosing = false;
};
