// SPDX-License-Identifier: GPL-3.0-or-later
// What stands right above the list of links: the strip of status tabs, and the filter box.
#pragma once

#include <QWidget>

class QLineEdit;
class QTabBar;

/// Puts the box beside the tabs as long as both have room, at first with and then without the tabs' pictures; else
/// above them.
class clsLinkHead : public QWidget
{
    Q_OBJECT

public:
    /// Takes both over.
    clsLinkHead(QTabBar* tabs, QLineEdit* filter, QWidget* parent = nullptr);

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Plan
    {
        bool pictures = true;
        bool beside = true;
    };
    [[nodiscard]] Plan PlanFor(int width) const;
    [[nodiscard]] int TabsWidth(bool pictures) const;
    void LayOut();

    QTabBar* m_tabs;
    QLineEdit* m_filter;
};
