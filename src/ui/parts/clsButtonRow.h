// SPDX-License-Identifier: GPL-3.0-or-later
// A row of tool buttons that adapts to the width there is.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

class QToolButton;

/// Shows its buttons with picture and caption where they fit into one row, else with captions only, else in rows of
/// equal columns; where those would be many, in rows of as many as fit.
class clsButtonRow : public QWidget
{
    Q_OBJECT

public:
    explicit clsButtonRow(QWidget* parent = nullptr);
    /// Takes the button over.
    void Add(QToolButton* button);

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    enum class Look
    {
        PictureAndCaption,
        Caption
    };
    struct Plan
    {
        Look look = Look::PictureAndCaption;
        int columns = 1;     ///< 0: as many in each row as fit
        int columnWidth = 0; ///< 0: each button as wide as it wants to be
    };
    [[nodiscard]] Plan PlanFor(int width) const;
    [[nodiscard]] int WidthOf(const QToolButton& button, Look look) const;
    [[nodiscard]] int ButtonHeight() const;
    /// Hands each button its place. @return the height of them all.
    int PlaceButtons(int width, const std::function<void(QToolButton&, const QRect&)>& place) const;
    void LayOut();

    std::vector<QToolButton*> m_buttons;
};
